// vantrel uninstall: the Uninstall tab's removal of the named drivers from the command line.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "Cli.h"
#include "inventory/BackupListPage.h"
#include "inventory/Enumeration.h"
#include "platform/System.h"
#include "removal/Removal.h"
#include "restore/DrvInstallCodes.h"

namespace vantrel {

namespace {

constexpr char kUsage[] = "usage: vantrel uninstall --driver \"DESC\"... [--yes] [--backup-to DIR] "
                          "[--timeout SECONDS]";
constexpr unsigned kDefaultTimeoutSeconds = 300;

class ConsoleRemoval : public RemovalObserver {
public:
    void DriverStarted(int) override {}
    void Removing(const std::string& description) override {
        std::fprintf(stderr, "Removing '%s' ...\n", description.c_str());
    }
    void Pump() override { std::fflush(stderr); }
};

bool NeedsRestart(const RemovedDriver& driver) {
    return !driver.outcome.scheduled.empty() ||
           (driver.outcome.helper.started && !driver.outcome.helper.timedOut &&
            driver.outcome.helper.exitCode == kDrvInstallNeedsReboot);
}

} // namespace

int RunUninstall(CliArgs& args) {
    std::string error, imageDir, backupTo, timeoutText;
    args.TakeValue("--image", &imageDir, &error);
    args.TakeValue("--backup-to", &backupTo, &error);
    args.TakeValue("--timeout", &timeoutText, &error);
    std::vector<std::string> given = args.TakeValues("--driver", &error);
    bool yes = args.TakeFlag("--yes");
    unsigned timeout = kDefaultTimeoutSeconds;
    if (error.empty() && !timeoutText.empty())
        ParseTimeoutSeconds(timeoutText, "--timeout", &timeout, &error);
    // Nothing is ever removed that was not named.
    if (error.empty() && given.empty())
        error = "name each driver to remove with --driver \"DESC\"";
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr, "vantrel uninstall: %s\n%s\n",
                     error.empty() ? "unexpected argument" : error.c_str(), kUsage);
        return 2;
    }
#ifdef _WIN32
    bool windows = imageDir.empty();
#else
    bool windows = false;
#endif
    if (!windows) {
        std::fprintf(stderr,
                     "vantrel uninstall: removing drivers needs Windows, where the driver installer "
                     "takes the devices away; a machine image is never changed. Nothing was removed.\n");
        return 1;
    }

    Machine machine;
    if (!OpenInventory("uninstall", imageDir, &machine))
        return 1;
    App& app = *machine.app;
    Inventory& inventory = *machine.inventory;
    std::vector<std::string> names;
    for (const auto& name : given) {
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    // The same drivers the Uninstall tab lists: every one whose INF is present.
    std::vector<ListedDriver> listed = CollectListedDrivers(inventory, false);
    for (const auto& name : names) {
        if (std::none_of(listed.begin(), listed.end(),
                         [&](const ListedDriver& d) { return d.row.cells.at(0) == name; })) {
            std::fprintf(
                stderr, "vantrel uninstall: no driver \"%s\" with its INF present (see vantrel list --all)\n",
                name.c_str());
            return 1;
        }
    }
    if (RemovalUnavailable(machine.set->Ports().system.GetVersion())) {
        std::fprintf(stderr, "vantrel uninstall: %s\n", RemovalUnavailableText(app).c_str());
        return 1;
    }
    if (!yes && !AskYesNo(RemovalCautionText(app))) {
        std::printf("Nothing was removed.\n");
        return 1;
    }
    if (!backupTo.empty()) {
        BackupRequest request;
        request.to = backupTo;
        request.names = names;
        if (BackUpDrivers("uninstall", machine, imageDir, request) != 0) {
            std::fprintf(stderr, "vantrel uninstall: the backup did not succeed, so nothing was removed\n");
            return 1;
        }
    }

    ConsoleRemoval observer;
    RemovalRunResult result = RemoveDrivers(inventory, names, observer, timeout * 1000u);
    if (!result.helperWritten) {
        std::fprintf(stderr,
                     "vantrel uninstall: the driver removal program could not be written to %s; nothing was "
                     "removed\n",
                     result.helperPath.c_str());
        return 1;
    }

    // What went is what the drivers, read again, no longer hold.
    RefreshDriverList(inventory);
    int removed = 0;
    bool restart = false;
    std::string lines;
    for (const auto& driver : result.drivers) {
        bool gone = inventory.drivers.FindByDescription(driver.description) == 0;
        if (gone)
            ++removed;
        lines += (gone ? "removed: " : "not removed: ") + driver.description;
        if (!gone)
            lines += " (" + RemovalReason(driver.outcome.helper) + ")";
        lines += "\n";
        for (const auto& path : driver.outcome.deleted)
            lines += "  deleted " + path + "\n";
        for (const auto& path : driver.outcome.scheduled)
            lines += "  " + path + " is in use: Windows deletes it at the next restart\n";
        if (driver.outcome.infRefused)
            lines += "  its INF \"" + driver.infName + "\" is not a plain file name and was left alone\n";
        restart = restart || NeedsRestart(driver);
    }
    std::printf("%d of %zu drivers removed\n%s", removed, result.drivers.size(), lines.c_str());
    if (restart)
        std::printf("Restart Windows to finish the removal.\n");
    return removed == static_cast<int>(result.drivers.size()) ? 0 : 1;
}

} // namespace vantrel
