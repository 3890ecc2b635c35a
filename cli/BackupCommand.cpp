// vantrel backup: the Backup tab's backup run from the command line.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Cli.h"
#include "app/Settings.h"
#include "backup/BackupInfo.h"
#include "backup/BackupRun.h"
#include "backup/Packaging.h"
#include "inventory/BackupListPage.h"
#include "platform/FileSystem.h"
#include "platform/Resources.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/MachineImage.h"

namespace vantrel {

namespace {

constexpr char kUsage[] = "usage: vantrel backup --to DIR [--format folder|zip|sfx|auto] [--all] "
                          "[--driver \"DESC\"]... [--image DIR] [--resources DIR]";
// On a machine image the target folder of the host appears as this drive.
constexpr char kImageTargetDrive[] = "V:";

// Ctrl+C stops the run before its next file, as the Stop button does.
volatile std::sig_atomic_t gStopRequested = 0;

void OnInterrupt(int) {
    gStopRequested = 1;
}

class ConsoleObserver : public BackupObserver {
public:
    explicit ConsoleObserver(const std::vector<ListedDriver>& listed) : listed(listed) {}
    void DriverStarted(int row) override {
        current = listed.at(static_cast<std::size_t>(row)).row.cells.at(0);
    }
    void ClearLog() override {}
    void AppendLog(const std::string&) override {}
    void Progress(int percent) override {
        if (percent == shown)
            return;
        shown = percent;
        std::fprintf(stderr, "\r[%3d%%] %-70.70s", percent, current.c_str());
        std::fflush(stderr);
    }
    void Pump() override {}
    bool Cancelled() override { return gStopRequested != 0; }

private:
    const std::vector<ListedDriver>& listed;
    std::string current;
    int shown = -1;
};

const char* OptionForFormat(const std::string& format) {
    if (format == "folder")
        return kBckFolder;
    if (format == "zip")
        return kBckZip;
    if (format == "sfx")
        return kBckSfx;
    if (format == "auto")
        return kBckAutoExe;
    return nullptr;
}

std::string DefaultResources() {
    return (std::filesystem::path(ProgramFolder()) / "resources").string();
}

// The carried programs a one-file form cannot do without; "" when all are there.
std::string MissingHelpers(Resources& resources, const std::string& format) {
    std::vector<std::pair<int, const char*>> needed;
    if (format == "sfx" || format == "auto")
        needed.push_back({kResSfxStub, "the self-extractor stub"});
    if (format == "auto") {
        needed.push_back({kResAutoSetupWizard, "the installation wizard"});
        needed.push_back({kResAutoSetupLauncher, "the auto-setup launcher"});
    }
    std::string missing;
    for (const auto& [id, what] : needed) {
        std::string bytes;
        if (!resources.LoadCustom(id, &bytes) || bytes.empty())
            missing += std::string(missing.empty() ? "" : ", ") + what + " (" + std::to_string(id) + ".bin)";
    }
    return missing;
}

} // namespace

int RunBackup(CliArgs& args) {
    std::string error, imageDir;
    BackupRequest request;
    request.resources = DefaultResources();
    args.TakeValue("--image", &imageDir, &error);
    args.TakeValue("--to", &request.to, &error);
    args.TakeValue("--format", &request.format, &error);
    args.TakeValue("--resources", &request.resources, &error);
    request.all = args.TakeFlag("--all");
    request.names = args.TakeValues("--driver", &error);
    std::vector<std::string> rest;
    if (error.empty() && request.to.empty())
        error = "--to DIR is needed";
    if (error.empty() && OptionForFormat(request.format) == nullptr)
        error = "unknown format \"" + request.format + "\"";
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr, "vantrel backup: %s\n%s\n",
                     error.empty() ? "unexpected argument" : error.c_str(), kUsage);
        return 2;
    }

    Machine machine;
    if (!OpenInventory("backup", imageDir, &machine))
        return 1;
    return BackUpDrivers("backup", machine, imageDir, request);
}

int BackUpDrivers(const char* command, Machine& machine, const std::string& imageDir,
                  const BackupRequest& request) {
    std::string to = request.to;
    const std::string& format = request.format;
    const std::string& resources = request.resources;
    const std::vector<std::string>& names = request.names;
    bool all = request.all;
    const char* option = OptionForFormat(format);
    if (option == nullptr) {
        std::fprintf(stderr, "vantrel %s: unknown format \"%s\"\n", command, format.c_str());
        return 2;
    }
    Platform& platform = machine.set->Ports();
    std::string root;
    if (auto* image = dynamic_cast<ImagePlatform*>(machine.set.get())) {
        std::error_code ec;
        std::filesystem::create_directories(to, ec);
        if (ec) {
            std::fprintf(stderr, "vantrel %s: cannot create %s: %s\n", command, to.c_str(),
                         ec.message().c_str());
            return 1;
        }
        image->Files().AddMount(std::string(kImageTargetDrive) + "\\",
                                std::filesystem::absolute(to).string());
        if (format == "sfx" || format == "auto")
            image->Resources().LoadFolder(resources);
        root = std::string(kImageTargetDrive) + kBackupRootName;
    } else {
        while (to.size() > 3 && (to.back() == '\\' || to.back() == '/'))
            to.pop_back();
        root = to + kBackupRootName;
    }
    if (std::string missing = MissingHelpers(platform.resources, format); !missing.empty()) {
        std::fprintf(stderr,
                     "vantrel %s: --format %s needs the helper programs, and these are missing: %s.\n",
                     command, format.c_str(), missing.c_str());
        if (!imageDir.empty())
            std::fprintf(stderr, "Put them into %s or name their folder with --resources DIR.\n",
                         resources.c_str());
        return 1;
    }
    if (!CreateDirectories(platform.fs, root)) {
        std::fprintf(stderr, "vantrel %s: cannot create the folder %s\n", command, root.c_str());
        return 1;
    }

    Inventory& inventory = *machine.inventory;
    std::vector<ListedDriver> listed = CollectListedDrivers(inventory, !all && names.empty());
    std::vector<BackupItem> items;
    for (std::size_t row = 0; row < listed.size(); ++row) {
        const std::string& desc = listed[row].row.cells.at(0);
        if (names.empty() || std::find(names.begin(), names.end(), desc) != names.end())
            items.push_back({static_cast<int>(row), listed[row].recordIndex});
    }
    for (const auto& name : names) {
        if (std::none_of(listed.begin(), listed.end(),
                         [&](const ListedDriver& d) { return d.row.cells.at(0) == name; })) {
            std::fprintf(stderr, "vantrel %s: no driver \"%s\" (see vantrel list --all)\n", command,
                         name.c_str());
            return 1;
        }
    }
    if (items.empty()) {
        std::fprintf(stderr, "vantrel %s: no drivers to back up\n", command);
        return 1;
    }

    // The form is a setting of the program; the command chooses it for this run only.
    SettingsStore settings(platform.registry);
    std::optional<std::string> oldOption = settings.ReadSetting(kSetBackupOption, kOptionBufferChars);
    settings.WriteSetting(kSetBackupOption, option);
    settings.WriteSetting(kSetBackupPath, root);
    settings.CloseSettingsKey();

    ConsoleObserver observer(listed);
    BackupRun run(*machine.app, inventory);
    gStopRequested = 0;
    auto previousHandler = std::signal(SIGINT, OnInterrupt);
    BackupSummary summary = run.Run(root, items, observer);
    std::signal(SIGINT, previousHandler == SIG_ERR ? SIG_DFL : previousHandler);
    std::fprintf(stderr, "\n");

    settings.WriteSetting(kSetBackupOption, oldOption.value_or(kBckFolder));
    settings.CloseSettingsKey();

    for (const auto& name : summary.filesMissing)
        std::printf("not found on this machine: %s\n", name.c_str());
    for (const auto& path : summary.filesFailed)
        std::printf("could not copy: %s\n", path.c_str());
    for (const auto& driver : summary.incomplete)
        std::printf("incomplete: %s: missing %s\n", driver.driverDesc.c_str(),
                    DescribeMissing(driver.missing, "catalog").c_str());
    std::string where = summary.target;
    if (!imageDir.empty()) {
        std::string relative = where.substr(3); // after "V:\"
        std::replace(relative.begin(), relative.end(), '\\', '/');
        where = (std::filesystem::path(to) / relative).string();
    }
    std::printf("%d driver(s) backed up, %d file(s) copied, %d without an INF\n", summary.driversSaved,
                summary.filesCopied, summary.driversSkipped);
    if (summary.stopped) {
        std::printf("Driver backup process was stopped by the user; what was copied is in %s\n",
                    where.c_str());
        return 1;
    }
    if (summary.packageErrors > 0) {
        std::printf("packaging failed for %d step(s)%s\n", summary.packageErrors,
                    (format == "sfx" || format == "auto") ? " (are the helper programs in --resources?)"
                                                          : "");
        return 1;
    }
    std::printf("Driver files have been backed up to %s\n", where.c_str());
    // The window goes on past a file it cannot copy; a script must hear about it.
    if (!summary.filesFailed.empty())
        return 1;
    if (format == "folder") {
        std::vector<BackupEntry> entries = ScanBackupFolder(platform, root);
        std::printf("The backup folder holds %zu driver backup(s):\n", entries.size());
        for (const auto& entry : entries)
            std::printf("  %-60s %s files, needs restore: %s\n", entry.driverDesc.c_str(),
                        entry.fileNum.c_str(), entry.needRestore.c_str());
    }
    return 0;
}

} // namespace vantrel
