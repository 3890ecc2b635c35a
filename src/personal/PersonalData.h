// The four personal items (favourites, registry, documents, desktop): each backed up into
// one zip in a folder the user chooses, and unpacked back where it came from.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class FileSystem;
class Registry;
struct Platform;

enum class PersonalItem { Favorites, Registry, Documents, Desktop };

struct PersonalItemInfo {
    PersonalItem item;
    const char* key;     // language key of the item text
    const char* english; // item text; the restore matches items by it
    const char* cliName;
    // The archive's name as the backup writes it, as the restore page looks for it and as
    // the restore unpacks it: the letter case differs, the file is the same on Windows.
    const char* packedAs;
    const char* listedAs;
    const char* unpackedFrom;
};

// In list order.
inline constexpr PersonalItemInfo kPersonalItems[] = {
    {PersonalItem::Favorites, "Item1", "Internet Explorer Favorites Folder", "favorites", "favorite.zip",
     "favorite.zip", "favorite.zip"},
    {PersonalItem::Registry, "Item2", "Registry", "registry", "Registry.zip", "Registry.zip", "registry.zip"},
    {PersonalItem::Documents, "Item3", "My Documents", "documents", "document.zip", "document.zip",
     "document.zip"},
    {PersonalItem::Desktop, "Item4", "Desktop", "desktop", "desktop.zip", "Desktop.zip", "desktop.zip"},
};

const PersonalItemInfo& ItemInfo(PersonalItem item);
// The item a text names (its English text or its command-line name); false when none does.
bool ParsePersonalItem(std::string_view text, PersonalItem* item);

// The registry export's file name in the backup folder, and its entry name in the archive.
inline constexpr char kRegistryExportName[] = "registry";
inline constexpr char kRegistryEntryName[] = "Registry";

inline constexpr char kShellFoldersKey[] =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

// The current user's folders as "Shell Folders" names them; empty where a value is missing.
struct ShellFolders {
    std::string favorites; // "Favorites"
    std::string personal;  // "Personal"
    std::string desktop;   // "Desktop"
};
ShellFolders ReadShellFolders(Registry& registry);
// The folder an item packs from and unpacks into; empty for the registry.
std::string ItemFolder(const ShellFolders& folders, PersonalItem item);

// Moves the whole registry in and out of a file.
class RegistryTransfer {
public:
    virtual ~RegistryTransfer() = default;
    // Writes the registry to file and returns when the file is complete.
    virtual bool Export(const std::string& file) = 0;
    // Merges the file into the registry; may return before the merge has ended.
    virtual bool Import(const std::string& file) = 0;
};

// The registry editor of the running Windows: "regedit.exe /e" waited for without a limit,
// "regedit.exe /s" opened with the shell and left to run.
class RegeditTransfer : public RegistryTransfer {
public:
    explicit RegeditTransfer(Platform& platform) : platform(platform) {}
    bool Export(const std::string& file) override;
    bool Import(const std::string& file) override;

private:
    Platform& platform;
};

// How a personal backup or restore reports back; calls come on the caller's thread.
class PersonalObserver {
public:
    virtual ~PersonalObserver() = default;
    virtual void ItemStarted(PersonalItem item) { (void)item; }
    // 0 to 100 over the archive being packed or unpacked.
    virtual void Progress(double percent) { (void)percent; }
    // A file left out (locked, unreadable) or an entry refused; the item goes on without it.
    virtual void FileSkipped(const std::string& name, const std::string& why) {
        (void)name;
        (void)why;
    }
    // Asked between items.
    virtual bool StopRequested() { return false; }
};

struct PersonalRunResult {
    std::vector<PersonalItem> done;
    std::vector<PersonalItem> failed; // its archive was not written or not unpacked
    std::vector<std::string> skipped; // "name: why" of files left out
    bool stopped = false;
};

// Packs each item, in list order, into its archive in folder. An item that fails is passed
// over; a stop is honoured between items.
PersonalRunResult BackUpPersonalItems(Platform& platform, const std::vector<PersonalItem>& items,
                                      std::string_view folder, int zipLevel, RegistryTransfer& transfer,
                                      PersonalObserver& observer);
// The items whose archive lies in folder, in list order.
std::vector<PersonalItem> RestorableItems(FileSystem& fs, std::string_view folder);
// Unpacks each item's archive over its folder (overwriting), the registry through transfer.
PersonalRunResult RestorePersonalItems(Platform& platform, const std::vector<PersonalItem>& items,
                                       std::string_view folder, RegistryTransfer& transfer,
                                       PersonalObserver& observer);

} // namespace vantrel
