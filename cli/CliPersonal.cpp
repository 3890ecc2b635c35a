// vantrel personal backup|restore and vantrel options: the personal items and the options
// dialog's five settings from the command line.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "Cli.h"
#include "app/OptionsPage.h"
#include "app/Settings.h"
#include "archive/ZipWriter.h"
#include "personal/ImageRegistryTransfer.h"
#include "personal/PersonalData.h"
#include "platform/FileSystem.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/MachineImage.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kPersonalUsage[] =
    "usage: vantrel personal backup --to DIR [--items favorites,registry,documents,desktop] [--image DIR]\n"
    "       vantrel personal restore --from DIR [--items ...] [--image DIR]\n";

// Prints each item as it starts and every file left out.
class ConsoleProgress : public PersonalObserver {
public:
    void ItemStarted(PersonalItem item) override { std::printf("%s\n", ItemInfo(item).english); }
    void FileSkipped(const std::string& name, const std::string& why) override {
        std::fprintf(stderr, "  not saved: %s (%s)\n", name.c_str(), why.c_str());
    }
};

bool ParseItems(const std::string& list, std::vector<PersonalItem>* items, std::string* error) {
    if (list.empty()) {
        for (const auto& info : kPersonalItems)
            items->push_back(info.item);
        return true;
    }
    for (const auto& word : Split(list, ',')) {
        PersonalItem item;
        if (!ParsePersonalItem(word, &item)) {
            *error = "unknown item \"" + Trim(word) + "\" (favorites, registry, documents, desktop)";
            return false;
        }
        items->push_back(item);
    }
    return true;
}

int Report(Platform& platform, const char* verb, const PersonalRunResult& result, const std::string& folder) {
    for (PersonalItem item : result.done)
        std::printf("%s: %s %s\n", ItemInfo(item).cliName, verb, folder.c_str());
    // Say why where it is plain: a folder the user's Shell Folders key does not name.
    ShellFolders folders = ReadShellFolders(platform.registry);
    for (PersonalItem item : result.failed) {
        std::string source = ItemFolder(folders, item), why;
        if (item != PersonalItem::Registry && source.empty())
            why = " (the user's Shell Folders key names no such folder)";
        else if (item != PersonalItem::Registry && !platform.fs.IsDirectory(source))
            why = " (" + source + " does not exist)";
        std::fprintf(stderr, "%s: failed%s\n", ItemInfo(item).cliName, why.c_str());
    }
    return result.failed.empty() && result.skipped.empty() ? 0 : 1;
}

} // namespace

int RunPersonal(CliArgs& args) {
    std::string error, imageDir, to, from, itemList;
    std::vector<std::string> words;
    args.TakeValue("--image", &imageDir, &error);
    if (error.empty())
        args.TakeValue("--to", &to, &error);
    if (error.empty())
        args.TakeValue("--from", &from, &error);
    if (error.empty())
        args.TakeValue("--items", &itemList, &error);
    std::vector<PersonalItem> items;
    if (error.empty() && args.Rest(&words, &error) && words.size() != 1)
        error = "backup or restore?";
    bool backup = error.empty() && words[0] == "backup";
    if (error.empty() && !backup && words[0] != "restore")
        error = "unknown action \"" + words[0] + "\"";
    if (error.empty() && (backup ? to.empty() || !from.empty() : from.empty() || !to.empty()))
        error = backup ? "backup needs --to DIR" : "restore needs --from DIR";
    if (error.empty())
        ParseItems(itemList, &items, &error);
    if (!error.empty()) {
        std::fprintf(stderr, "vantrel personal: %s\n%s", error.c_str(), kPersonalUsage);
        return 2;
    }

    auto machine = OpenMachine(imageDir, &error);
    if (!machine) {
        std::fprintf(stderr, "vantrel personal: %s\n", error.c_str());
        return 1;
    }
    Platform& platform = machine->Ports();
    auto* image = dynamic_cast<ImagePlatform*>(machine.get());
    std::string given = backup ? to : from;
    if (backup && image && !(given.size() >= 3 && given[1] == ':')) {
        std::error_code ec;
        std::filesystem::create_directories(given, ec);
    }
    std::string folder;
    if (!SourcePath(*machine, given, &folder, &error)) {
        std::fprintf(stderr, "vantrel personal: %s\n", error.c_str());
        return 1;
    }
    if (backup)
        CreateDirectories(platform.fs, folder);

    // An image has no registry editor to run: its registry is written and read as .reg text.
    std::unique_ptr<RegistryTransfer> transfer;
    if (image)
        transfer = std::make_unique<ImageRegistryTransfer>(image->Registry(), platform.fs);
    else
        transfer = std::make_unique<RegeditTransfer>(platform);

    ConsoleProgress progress;
    SettingsStore settings(platform.registry);
    int code;
    if (backup) {
        settings.WriteSetting(kSetMoreBackupPath, WithBackslash(folder));
        int level = ZipLevelFromSetting(settings.ReadSettingOr(kSetCompressionLevel, "Medium"), 6);
        settings.CloseSettingsKey();
        code = Report(platform, "saved to",
                      BackUpPersonalItems(platform, items, folder, level, *transfer, progress), folder);
    } else {
        settings.CloseSettingsKey();
        std::vector<PersonalItem> present = RestorableItems(platform.fs, folder);
        std::vector<PersonalItem> chosen;
        for (PersonalItem item : items) {
            if (std::find(present.begin(), present.end(), item) != present.end())
                chosen.push_back(item);
            else if (!itemList.empty())
                std::fprintf(stderr, "%s: no %s in %s\n", ItemInfo(item).cliName, ItemInfo(item).listedAs,
                             folder.c_str());
        }
        code = Report(platform, "restored from",
                      RestorePersonalItems(platform, chosen, folder, *transfer, progress), folder);
        if (chosen.size() < items.size() && !itemList.empty())
            code = 1;
    }
    if (!machine->Save(&error)) {
        std::fprintf(stderr, "vantrel personal: could not save the settings: %s\n", error.c_str());
        return 1;
    }
    return code;
}

int RunOptions(CliArgs& args) {
    std::string error, imageDir;
    args.TakeValue("--image", &imageDir, &error);
    std::vector<std::string> changes = args.TakeValues("--set", &error);
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr,
                     "vantrel options: %s\nusage: vantrel options [--set NAME=VALUE]... [--image DIR]\n",
                     error.empty() ? "unexpected argument" : error.c_str());
        return 2;
    }
    auto machine = OpenMachine(imageDir, &error);
    if (!machine) {
        std::fprintf(stderr, "vantrel options: %s\n", error.c_str());
        return 1;
    }
    App app(machine->Ports());
    OptionValues values = ReadOptionValues(app);
    for (const auto& change : changes) {
        if (!ApplyOptionChange(&values, change, &error)) {
            std::fprintf(stderr, "vantrel options: %s\n", error.c_str());
            return 2;
        }
    }
    if (!changes.empty() && !WriteOptionValues(app, values)) {
        std::fprintf(stderr, "vantrel options: the settings could not be written\n");
        return 1;
    }
    std::printf("%s=%s\n%s=%s\n%s=%s\n%s=%s\n%s=%s\n", kSetBackupOption, values.backupOption.c_str(),
                kSetRestorationOption, values.restorationOption.c_str(), kSetCompressionLevel,
                values.compressionLevel.c_str(), kSetRestoreAlert, values.restoreAlert.c_str(),
                kSetRestoreReboot, values.restoreReboot.c_str());
    if (!machine->Save(&error)) {
        std::fprintf(stderr, "vantrel options: could not save the settings: %s\n", error.c_str());
        return 1;
    }
    return 0;
}

} // namespace vantrel
