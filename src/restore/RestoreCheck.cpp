#include "restore/RestoreCheck.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "app/App.h"
#include "app/SystemServices.h"
#include "inventory/DriverRecord.h"
#include "inventory/Enumeration.h"
#include "inventory/InfInstall.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/Registry.h"
#include "restore/DrvInstallCodes.h"
#include "restore/RestoreCatalog.h"
#include "restore/RestoreEngine.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kEnumNameChars = 512;
constexpr std::uint32_t kHardwareIdBytes = 4096;
constexpr std::uint32_t kDriverValueChars = 512;
constexpr std::uint32_t kInfPathChars = 260;

// One device instance of the NT tree: its hardware IDs and the driver key it names.
struct Device {
    std::vector<std::string> ids;
    std::string driver;
};

template <typename Visit> void ForEachSubKey(Registry& registry, RegHandle key, Visit visit) {
    std::string name;
    for (std::uint32_t i = 0; registry.EnumKey(key, i, kEnumNameChars, &name) == kErrorSuccess; ++i)
        visit(name);
}

// Every string of a multi-string value; a plain string counts as a list of one.
std::vector<std::string> ReadMultiString(Registry& registry, RegHandle key, std::string_view name) {
    std::uint32_t type = kRegNone;
    std::string data;
    long result = registry.QueryValue(key, name, kHardwareIdBytes, &type, &data);
    if (result == kErrorMoreData) {
        RegKeyInfo info;
        if (registry.QueryInfoKey(key, &info) == kErrorSuccess)
            result = registry.QueryValue(key, name, info.maxValueLen, &type, &data);
    }
    std::vector<std::string> ids;
    if (result != kErrorSuccess || (type != kRegMultiSz && type != kRegSz))
        return ids;
    for (const auto& part : Split(data, '\0')) {
        std::string id = Trim(part);
        if (!id.empty())
            ids.push_back(id);
    }
    return ids;
}

std::vector<Device> ReadDevices(Platform& platform) {
    Registry& registry = platform.registry;
    std::vector<Device> devices;
    RegKey enumKey(registry);
    if (enumKey.Open(kHkeyLocalMachine, kEnumKeyPath) != kErrorSuccess)
        return devices;
    ForEachSubKey(registry, enumKey.Handle(), [&](const std::string& enumerator) {
        RegKey enumeratorKey(registry);
        if (enumeratorKey.Open(enumKey.Handle(), enumerator) != kErrorSuccess)
            return;
        ForEachSubKey(registry, enumeratorKey.Handle(), [&](const std::string& device) {
            RegKey deviceKey(registry);
            if (deviceKey.Open(enumeratorKey.Handle(), device) != kErrorSuccess)
                return;
            ForEachSubKey(registry, deviceKey.Handle(), [&](const std::string& instance) {
                RegKey instanceKey(registry);
                if (instanceKey.Open(deviceKey.Handle(), instance) != kErrorSuccess)
                    return;
                Device found;
                found.ids = ReadMultiString(registry, instanceKey.Handle(), "HardwareID");
                if (found.ids.empty())
                    return;
                ReadRegText(registry, instanceKey.Handle(), "Driver", kDriverValueChars, &found.driver);
                found.driver = Trim(found.driver);
                devices.push_back(std::move(found));
            });
        });
    });
    return devices;
}

// The device carries the ID or one of its general forms: the installer takes a device of
// another revision of the same chip for it too.
bool HasId(const Device& device, std::string_view id) {
    for (const auto& general : GeneralHardwareIds(id)) {
        if (std::any_of(device.ids.begin(), device.ids.end(),
                        [&](const std::string& own) { return EqualsNoCase(own, general); }))
            return true;
    }
    return false;
}

std::string DriverInfName(Platform& platform, const std::string& driver) {
    RegKey key(platform.registry);
    std::string infPath;
    if (driver.empty() ||
        key.Open(kHkeyLocalMachine, std::string(kClassKeyPath) + "\\" + driver) != kErrorSuccess)
        return infPath;
    ReadRegText(platform.registry, key.Handle(), "InfPath", kInfPathChars, &infPath);
    return Trim(infPath);
}

// Dotted numbers ("6.1.7600.16385") part by part; nothing when either is not one.
std::optional<int> CompareVersions(const std::string& a, const std::string& b) {
    auto parse = [](const std::string& text) -> std::optional<std::vector<unsigned long long>> {
        std::vector<unsigned long long> parts;
        for (const auto& part : Split(Trim(text), '.')) {
            if (part.empty() || part.size() > 18 ||
                !std::all_of(part.begin(), part.end(), [](unsigned char c) { return std::isdigit(c); }))
                return std::nullopt;
            parts.push_back(std::stoull(part));
        }
        return parts;
    };
    auto x = parse(a), y = parse(b);
    if (!x || !y)
        return std::nullopt;
    std::size_t n = std::max(x->size(), y->size());
    x->resize(n, 0);
    y->resize(n, 0);
    return *x < *y ? -1 : (*x > *y ? 1 : 0);
}

// yyyy-mm-dd dates as the inventory normalises them; nothing for "null" and the like.
std::optional<int> CompareDates(const std::string& a, const std::string& b) {
    auto valid = [](const std::string& date) {
        return date.size() == 10 && date[4] == '-' && date[7] == '-' &&
               std::all_of(date.begin(), date.end(),
                           [](unsigned char c) { return c == '-' || std::isdigit(c); });
    };
    std::string x = Trim(a), y = Trim(b);
    if (!valid(x) || !valid(y))
        return std::nullopt;
    return x < y ? -1 : (x > y ? 1 : 0);
}

} // namespace

InstallCheck CheckDriverInstalled(Platform& platform, const BackupEntry& entry) {
    InstallCheck check;
    check.hardwareId = Trim(entry.matchingDeviceId);
    if (check.hardwareId.empty())
        return check;
    std::string backedUp;
    bool haveBackup = ReadWholeFile(platform.fs, EntryInfPath(entry), &backedUp);
    std::string infFolder = GetWindowsFolder(platform) + "\\inf\\";
    for (const auto& device : ReadDevices(platform)) {
        if (!HasId(device, check.hardwareId))
            continue;
        check.deviceFound = true;
        std::string infName = DriverInfName(platform, device.driver);
        if (infName.empty())
            continue;
        if (check.infName.empty())
            check.infName = infName;
        std::string installed;
        // The INF Windows copied must be the backed-up one byte for byte: a device that kept
        // another driver does not count.
        if (haveBackup && ReadWholeFile(platform.fs, infFolder + infName, &installed) &&
            installed == backedUp) {
            check.installed = true;
            check.infName = infName;
            return check;
        }
    }
    return check;
}

std::string RestoreResultReason(const ProcessResult& run, bool attempted, bool skipped,
                                const InstallCheck& check) {
    if (skipped)
        return "ships with Windows: not installed";
    if (check.installed)
        return "installed";
    if (!attempted)
        return "the installer did not run";
    if (!run.started)
        return "the installer could not start";
    if (run.timedOut)
        return "the installer did not end in time and was stopped";
    if (run.exitCode != kDrvInstallOk && run.exitCode != kDrvInstallNeedsReboot)
        return "installer exit code " + std::to_string(run.exitCode) + ": " + DrvInstallReason(run.exitCode);
    if (run.exitCode == kDrvInstallNeedsReboot)
        return DrvInstallReason(run.exitCode);
    if (!check.deviceFound)
        return "no device with hardware ID " + check.hardwareId + " is present";
    return "no device with hardware ID " + check.hardwareId + " uses the backed-up INF" +
           (check.infName.empty() ? std::string() : " (its driver names " + check.infName + ")");
}

std::vector<RestorePlanItem> PlanRestore(Inventory& inventory, const std::vector<BackupEntry>& entries) {
    Platform& platform = inventory.platform;
    std::vector<Device> devices = ReadDevices(platform);
    std::vector<RestorePlanItem> plan;
    for (const auto& entry : entries) {
        RestorePlanItem item;
        item.entry = entry;
        std::string id = Trim(entry.matchingDeviceId);
        item.deviceFound =
            !id.empty() && std::any_of(devices.begin(), devices.end(),
                                       [&](const Device& device) { return HasId(device, id); });
        for (int i = 1; i <= inventory.drivers.Count() && !id.empty(); ++i) {
            const DriverRecord& record = inventory.drivers[i];
            if (!EqualsNoCase(record.hardwareId.TrimmedView(), id))
                continue;
            std::string version = record.driverVersion.Trimmed(), date = record.driverDate.Trimmed();
            auto versions = CompareVersions(version, entry.driverVersion);
            auto dates = CompareDates(date, entry.driverDate);
            bool sameVersion = versions ? *versions == 0 : EqualsNoCase(version, Trim(entry.driverVersion));
            bool sameDate = dates ? *dates == 0 : EqualsNoCase(date, Trim(entry.driverDate));
            if (sameVersion && sameDate)
                item.sameInstalled = true;
            // Windows ranks drivers by date first, then by version.
            else if ((dates && *dates > 0) || ((!dates || *dates == 0) && versions && *versions > 0))
                item.newerInstalled = true;
            if (item.installedVersion.empty())
                item.installedVersion = version + " (" + date + ")";
        }
        if (IsMicrosoftProvider(entry.providerName))
            item.action = "skip: ships with Windows";
        else if (!platform.fs.Exists(EntryInfPath(entry)))
            item.action = "install fails: the backed-up INF " + entry.infPath + " is missing";
        else if (item.sameInstalled)
            item.action = "reinstall: same driver already installed";
        else if (item.newerInstalled)
            item.action =
                "install: a newer driver " + item.installedVersion + " is installed, Windows may keep it";
        else if (!item.deviceFound)
            item.action = "install: no device has the hardware ID, one is created for it";
        else if (!item.installedVersion.empty())
            item.action = "install: replaces the installed driver " + item.installedVersion;
        else
            item.action = "install";
        plan.push_back(std::move(item));
    }
    return plan;
}

std::vector<RestoreResult> CheckRestoreResults(Platform& platform,
                                               const std::vector<RestoreOutcome>& outcomes) {
    std::vector<RestoreResult> results;
    for (const auto& outcome : outcomes) {
        if (outcome.skipped)
            continue;
        InstallCheck check = CheckDriverInstalled(platform, outcome.entry);
        results.push_back({outcome.entry, check.installed,
                           check.installed
                               ? std::string()
                               : RestoreResultReason(outcome.lastRun, outcome.attempted, false, check)});
    }
    return results;
}

std::string FormatRestoreResults(const App& app, const std::vector<RestoreResult>& results) {
    if (results.empty())
        return {};
    auto lang = [&app](const char* key, const char* english) {
        return app.GetLangText("FormMain", key, english);
    };
    int installed = 0;
    std::string lines;
    for (const auto& result : results) {
        installed += result.installed ? 1 : 0;
        lines +=
            "\r\n '" + Trim(result.entry.driverDesc) + "': " +
            (result.installed ? lang("StrRestoreInstalled", "installed")
                              : lang("StrRestoreNotInstalled", "not installed") + " (" + result.reason + ")");
    }
    return "\r\n\r\n" + lang("MsgRestoreResult", "Drivers installed") + ": " + std::to_string(installed) +
           " / " + std::to_string(results.size()) + lines;
}

} // namespace vantrel
