#include "personal/PersonalData.h"

#include <algorithm>

#include "app/Settings.h"
#include "archive/ArchiveCallback.h"
#include "archive/ZipReader.h"
#include "archive/ZipWriter.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "platform/Registry.h"
#include "platform/Shell.h"
#include "util/Text.h"

namespace vantrel {

namespace {

// Archive progress and skipped files go to the run's observer.
class ItemCallback : public ArchiveCallback {
public:
    ItemCallback(PersonalObserver& observer, PersonalRunResult& result)
        : observer(observer), result(result) {}
    void ItemSkipped(const std::string& name, const std::string& why) override {
        result.skipped.push_back(name + ": " + why);
        observer.FileSkipped(name, why);
    }
    void Progress(double percent) override { observer.Progress(percent); }

private:
    PersonalObserver& observer;
    PersonalRunResult& result;
};

std::string InFolder(std::string_view folder, std::string_view name) {
    return WithBackslash(folder) + std::string(name);
}

bool PackFolder(Platform& platform, const std::string& source, const std::string& archive, int level,
                ItemCallback& callback) {
    if (source.empty() || !platform.fs.IsDirectory(source))
        return false;
    ZipWriter writer(platform.fs);
    writer.SetLevel(level);
    if (!writer.Create(archive) || !writer.AddFolder(source, source, true))
        return false;
    return writer.Close(&callback);
}

bool PackRegistry(Platform& platform, const std::string& folder, const std::string& archive, int level,
                  RegistryTransfer& transfer, ItemCallback& callback) {
    std::string exported = InFolder(folder, kRegistryExportName);
    platform.fs.DeleteFile(exported);
    if (!transfer.Export(exported) || !platform.fs.Exists(exported))
        return false;
    ZipWriter writer(platform.fs);
    writer.SetLevel(level);
    bool ok = writer.Create(archive) && writer.AddFile(exported, kRegistryEntryName) &&
              writer.Close(&callback) && writer.Skipped().empty();
    // The archive holds it now; a stale export would only confuse the next restore.
    platform.fs.DeleteFile(exported);
    return ok;
}

bool Unpack(Platform& platform, const std::string& archive, const std::string& target,
            ItemCallback& callback) {
    if (target.empty())
        return false;
    ZipReader reader(platform.fs);
    if (!reader.Open(archive))
        return false;
    ZipExtractOptions options;
    options.overwrite = true;
    ZipResult result = reader.Extract(target, options, &callback);
    return result.ok && result.problems.empty();
}

} // namespace

const PersonalItemInfo& ItemInfo(PersonalItem item) {
    for (const auto& info : kPersonalItems) {
        if (info.item == item)
            return info;
    }
    return kPersonalItems[0];
}

bool ParsePersonalItem(std::string_view text, PersonalItem* item) {
    std::string word = Trim(text);
    for (const auto& info : kPersonalItems) {
        if (EqualsNoCase(word, info.english) || EqualsNoCase(word, info.cliName)) {
            *item = info.item;
            return true;
        }
    }
    return false;
}

ShellFolders ReadShellFolders(Registry& registry) {
    ShellFolders folders;
    RegKey key(registry);
    if (key.Open(kHkeyCurrentUser, kShellFoldersKey) != kErrorSuccess)
        return folders;
    auto read = [&](const char* name, std::string* out) {
        std::string text;
        if (RegReadString(registry, key.Handle(), name, kPathBufferChars, &text))
            *out = CleanText(text);
    };
    read("Favorites", &folders.favorites);
    read("Personal", &folders.personal);
    read("Desktop", &folders.desktop);
    return folders;
}

std::string ItemFolder(const ShellFolders& folders, PersonalItem item) {
    switch (item) {
    case PersonalItem::Favorites:
        return folders.favorites;
    case PersonalItem::Documents:
        return folders.personal;
    case PersonalItem::Desktop:
        return folders.desktop;
    case PersonalItem::Registry:
        break;
    }
    return {};
}

bool RegeditTransfer::Export(const std::string& file) {
    // The export can take minutes on a large registry; it is waited for to its end.
    ProcessResult run = platform.processes.RunAndWaitFor("regedit.exe /e \"" + file + "\"", 0);
    return run.started && run.exitCode == 0;
}

bool RegeditTransfer::Import(const std::string& file) {
    return platform.shell.Execute("open", "regedit.exe", "/s \"" + file + "\"", "C:\\");
}

namespace {

// Runs step for each chosen item in the items' order; a stop takes effect between items,
// never before the first.
template <typename Step>
PersonalRunResult RunChosenItems(Platform& platform, const std::vector<PersonalItem>& items,
                                 PersonalObserver& observer, Step step) {
    PersonalRunResult result;
    ShellFolders folders = ReadShellFolders(platform.registry);
    ItemCallback callback(observer, result);
    for (const auto& info : kPersonalItems) {
        if (std::find(items.begin(), items.end(), info.item) == items.end())
            continue;
        if (result.done.size() + result.failed.size() > 0 && observer.StopRequested()) {
            result.stopped = true;
            break;
        }
        observer.ItemStarted(info.item);
        observer.Progress(0);
        bool ok = step(info, folders, callback);
        (ok ? result.done : result.failed).push_back(info.item);
    }
    return result;
}

} // namespace

PersonalRunResult BackUpPersonalItems(Platform& platform, const std::vector<PersonalItem>& items,
                                      std::string_view folder, int zipLevel, RegistryTransfer& transfer,
                                      PersonalObserver& observer) {
    return RunChosenItems(
        platform, items, observer,
        [&](const auto& info, const ShellFolders& folders, ItemCallback& callback) {
            std::string archive = InFolder(folder, info.packedAs);
            return info.item == PersonalItem::Registry
                       ? PackRegistry(platform, std::string(folder), archive, zipLevel, transfer, callback)
                       : PackFolder(platform, ItemFolder(folders, info.item), archive, zipLevel, callback);
        });
}

std::vector<PersonalItem> RestorableItems(FileSystem& fs, std::string_view folder) {
    std::vector<PersonalItem> found;
    for (const auto& info : kPersonalItems) {
        if (fs.Exists(InFolder(folder, info.listedAs)))
            found.push_back(info.item);
    }
    return found;
}

PersonalRunResult RestorePersonalItems(Platform& platform, const std::vector<PersonalItem>& items,
                                       std::string_view folder, RegistryTransfer& transfer,
                                       PersonalObserver& observer) {
    return RunChosenItems(platform, items, observer,
                          [&](const auto& info, const ShellFolders& folders, ItemCallback& callback) {
                              std::string archive = InFolder(folder, info.unpackedFrom);
                              if (info.item != PersonalItem::Registry)
                                  return Unpack(platform, archive, ItemFolder(folders, info.item), callback);
                              std::string exported = InFolder(folder, kRegistryExportName);
                              platform.fs.DeleteFile(exported);
                              return Unpack(platform, archive, std::string(folder), callback) &&
                                     platform.fs.Exists(exported) && transfer.Import(exported);
                          });
}

} // namespace vantrel
