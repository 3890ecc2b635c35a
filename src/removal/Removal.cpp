#include "removal/Removal.h"

#include "app/App.h"
#include "app/SystemServices.h"
#include "inventory/DriverRecord.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "restore/DrvInstallCodes.h"
#include "restore/DrvInstallFile.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr const char* kInfFolders[] = {"\\inf\\", "\\inf\\other\\"};

} // namespace

std::string RemovalCommandLine(const std::string& helperPath, std::string_view hardwareId) {
    return helperPath + " /r \"" + std::string(hardwareId) + "\"";
}

bool IsPlainInfName(std::string_view infName) {
    return !infName.empty() && infName.find_first_of("\\/:") == std::string_view::npos &&
           infName.find("..") == std::string_view::npos;
}

bool RemoveDriver(Platform& platform, std::string_view hardwareId, const std::string& helperPath,
                  std::string_view infName, const RemovalOptions& options, RemovalOutcome* outcome) {
    RemovalOutcome local;
    RemovalOutcome& done = outcome != nullptr ? *outcome : local;
    done = RemovalOutcome{};
    done.helper =
        platform.processes.RunAndWaitFor(RemovalCommandLine(helperPath, hardwareId), options.helperTimeoutMs);

    // The registry names the INF by its bare name; anything else could reach outside the
    // INF folders, so it is not deleted.
    std::string name = Trim(infName);
    done.infRefused = !name.empty() && !IsPlainInfName(name);
    if (IsPlainInfName(name)) {
        std::string windows = GetWindowsFolder(platform);
        for (const char* folder : kInfFolders) {
            std::string path = windows + folder + name;
            FindData info;
            if (!platform.fs.GetInfo(path, &info) || info.IsDirectory())
                continue;
            platform.fs.SetAttributes(path, kFileAttributeArchive);
            if (platform.fs.DeleteFile(path)) {
                done.deleted.push_back(path);
            } else {
                platform.fs.DeleteAtReboot(path);
                done.scheduled.push_back(path);
            }
        }
    }
    if (options.pump)
        options.pump();
    return !done.scheduled.empty();
}

bool RemovalUnavailable(const OsVersion& version) {
    return version.major == 4 && (version.minor == 10 || version.minor == 90);
}

std::string RemovalUnavailableText(const App& app) {
    return app.GetLangText("FormRemove", "MsgTip3", "Drivers removal is not available in Windows 98 and ME.");
}

std::string RemovalCautionText(const App& app) {
    return app.GetLangText(
        "FormRemove", "MsgConfirmRemoval",
        "Please be cautious about uninstalling drivers. If you uninstall some system device "
        "drivers, your computer may crash. Only advanced users who know what they are doing "
        "should use this function. Do you want to continue?");
}

std::string RemovalReason(const ProcessResult& run) {
    if (!run.started)
        return "the removal program could not be started";
    if (run.timedOut)
        return "the removal program did not end in time and was stopped";
    switch (run.exitCode) {
    case kDrvInstallOk:
        return "removed";
    case kDrvInstallNoDevice:
        return "no device has the hardware ID";
    case kDrvInstallFailed:
        return "Windows refused the removal";
    case kDrvInstallNeedsReboot:
        return "removed; Windows needs a restart to finish";
    default:
        return DrvInstallReason(run.exitCode);
    }
}

RemovalRunResult RemoveDrivers(Inventory& inventory, const std::vector<std::string>& descriptions,
                               RemovalObserver& observer, std::uint32_t helperTimeoutMs) {
    RemovalRunResult result;
    Platform& platform = inventory.platform;
    result.helperWritten = WriteDrvInstall(platform, &result.helperPath);
    if (!result.helperWritten)
        return result;

    RemovalOptions options;
    options.helperTimeoutMs = helperTimeoutMs;
    options.pump = [&observer] { observer.Pump(); };
    for (std::size_t i = 0; i < descriptions.size(); ++i) {
        RemovedDriver driver;
        driver.description = descriptions[i];
        observer.DriverStarted(static_cast<int>(i));
        int index = inventory.drivers.FindByDescription(driver.description);
        if (index > 0) {
            DriverRecord& record = inventory.drivers[index];
            driver.found = true;
            driver.hardwareId = record.hardwareId.Trimmed();
            driver.infName = record.infPath.Trimmed();
            // Cleared before the helper runs: the messages let through meanwhile may read the
            // drivers again, and the record is not touched after that.
            record.infPath.Clear();
            observer.Removing(driver.description);
            RemoveDriver(platform, driver.hardwareId, result.helperPath, driver.infName, options,
                         &driver.outcome);
        }
        result.drivers.push_back(std::move(driver));
    }
    return result;
}

} // namespace vantrel
