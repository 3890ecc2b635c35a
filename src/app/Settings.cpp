#include "app/Settings.h"

#include "util/Text.h"

namespace vantrel {

bool SettingsStore::OpenSettingsKey() {
    if (key.IsOpen())
        return true;
    return key.Create(kHkeyCurrentUser, kSettingsKey) == kErrorSuccess;
}

std::optional<std::string> SettingsStore::ReadSetting(std::string_view name, std::uint32_t bufferChars) {
    if (!OpenSettingsKey())
        return std::nullopt;
    std::uint32_t type = 0;
    std::string data;
    if (registry.QueryValue(key.Handle(), name, bufferChars, &type, &data) != kErrorSuccess)
        return std::nullopt;
    return CleanText(data);
}

std::string SettingsStore::ReadSettingOr(std::string_view name, std::string_view fallback,
                                         std::uint32_t bufferChars) {
    auto value = ReadSetting(name, bufferChars);
    return value ? *value : std::string(fallback);
}

bool SettingsStore::WriteSetting(std::string_view name, std::string_view text) {
    if (!OpenSettingsKey())
        return false;
    return RegWriteString(registry, key.Handle(), name, text) == kErrorSuccess;
}

} // namespace vantrel
