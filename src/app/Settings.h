// The settings store: string values under HKEY_CURRENT_USER\software\Vantrel.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Registry.h"

namespace vantrel {

inline constexpr char kSettingsKey[] = "software\\Vantrel";

inline constexpr char kSetBackupOption[] = "Backup option";
inline constexpr char kSetRestorationOption[] = "restoration option";
inline constexpr char kSetCompressionLevel[] = "CompressionLevel";
inline constexpr char kSetRestoreAlert[] = "RestoreAlert";
inline constexpr char kSetRestoreReboot[] = "RestoreReboot";
inline constexpr char kSetLanguage[] = "Language";
inline constexpr char kSetBackupPath[] = "BackupPath";
inline constexpr char kSetMoreBackupPath[] = "MoreBackupPath";
// Where LiveUpdate fetches the databases; users and tests may point it elsewhere.
inline constexpr char kSetUpdateServer[] = "UpdateServer";
inline constexpr char kDefaultUpdateServer[] = "http://update.vantrel.example";

// Buffer sizes the readers use.
inline constexpr std::uint32_t kOptionBufferChars = 30;
inline constexpr std::uint32_t kLanguageBufferChars = 255;
inline constexpr std::uint32_t kPathBufferChars = 260;

struct SettingDefault {
    const char* name;
    const char* value;
};
// The first-run set, in the order it is written.
inline constexpr SettingDefault kFirstRunDefaults[] = {
    {kSetBackupOption, "BckFolder"},  {kSetRestorationOption, "RstFolder"},
    {kSetCompressionLevel, "Medium"}, {kSetRestoreAlert, "1"},
    {kSetRestoreReboot, "0"},
};

// Opens the key on first use and closes it when asked or when destroyed, so a caller
// can group several reads and writes under one open.
class SettingsStore {
public:
    explicit SettingsStore(Registry& registry) : key(registry), registry(registry) {}

    bool OpenSettingsKey();
    void CloseSettingsKey() { key.Close(); }

    // Nothing when the value cannot be read into bufferChars (missing, too long, no key);
    // otherwise the text cut at its first NUL and trimmed of blanks.
    std::optional<std::string> ReadSetting(std::string_view name, std::uint32_t bufferChars);
    // The value, or the first-run default (or "" for values without one) when unreadable.
    std::string ReadSettingOr(std::string_view name, std::string_view fallback,
                              std::uint32_t bufferChars = kOptionBufferChars);
    // Stored as REG_SZ with its terminating NUL.
    bool WriteSetting(std::string_view name, std::string_view text);

private:
    RegKey key;
    Registry& registry;
};

} // namespace vantrel
