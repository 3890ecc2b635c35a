// Whether a restored driver took, why not, and the plan the command line prints: against
// device trees and driver keys written into a test image.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "InventoryFixture.h"
#include "inventory/Enumeration.h"
#include "restore/DrvInstallCodes.h"
#include "restore/RestoreCatalog.h"
#include "restore/RestoreCheck.h"
#include "platform/image/ImagePorts.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kId[] = "PCI\\VEN_1&DEV_2";
constexpr char kBackupInf[] = "[Version]\r\nClass=Net\r\n; the backed-up one\r\n";

// A backed-up driver whose folder holds drv.inf (unless inf is null).
BackupEntry Backed(InventoryMachine& m, const std::string& desc, const std::string& id, const char* inf,
                   const std::string& provider = "Acme") {
    BackupEntry entry;
    entry.driverDesc = desc;
    entry.infPath = "drv.inf";
    entry.matchingDeviceId = id;
    entry.providerName = provider;
    entry.driverVersion = "1.2.3.4";
    entry.driverDate = "2024-05-06";
    entry.folder = "C:\\Backup\\" + desc;
    CreateDirectories(m.machine.Ports().fs, entry.folder);
    if (inf)
        WriteWholeFile(m.machine.Ports().fs, EntryInfPath(entry), inf);
    return entry;
}

TEST(RestoreCheck, DriverCountsAsInstalledWhenADeviceWithTheIdUsesTheSameInf) {
    struct Case {
        const char* name;
        std::function<void(InventoryMachine&)> setUp;
        bool backupInf;
        bool deviceFound, installed;
        const char* infName;
    };
    auto device = [](InventoryMachine& m, const char* instance, const char* number, const char* infName,
                     std::vector<std::string> ids) {
        m.Driver(instance, number, {{"InfPath", infName}}, ids);
    };
    const Case cases[] = {
        {"same bytes; the ID second and in other case",
         [&](InventoryMachine& m) {
             device(m, "PCI\\VEN_1&DEV_2&SUBSYS_9\\3&1", "0001", "oem3.inf",
                    {"PCI\\VEN_1&DEV_2&SUBSYS_9", "pci\\ven_1&dev_2"});
             m.Inf("oem3.inf", kBackupInf);
         },
         true, true, true, "oem3.inf"},
        {"another INF of the same name",
         [&](InventoryMachine& m) {
             device(m, "PCI\\VEN_1&DEV_2\\3&1", "0001", "oem3.inf", {kId});
             m.Inf("oem3.inf", "[Version]\r\nClass=Net\r\n; another vendor's\r\n");
         },
         true, true, false, "oem3.inf"},
        {"second of two devices took it",
         [&](InventoryMachine& m) {
             device(m, "PCI\\VEN_1&DEV_2\\3&1", "0001", "oem3.inf", {kId});
             device(m, "PCI\\VEN_1&DEV_2\\3&2", "0002", "oem4.inf", {kId});
             m.Inf("oem3.inf", "old");
             m.Inf("oem4.inf", kBackupInf);
         },
         true, true, true, "oem4.inf"},
        {"only a device with a longer ID",
         [&](InventoryMachine& m) {
             device(m, "PCI\\VEN_1&DEV_22\\3&1", "0001", "oem3.inf", {"PCI\\VEN_1&DEV_22"});
             m.Inf("oem3.inf", kBackupInf);
         },
         true, false, false, ""},
        {"device without a driver",
         [&](InventoryMachine& m) { m.Device("PCI\\VEN_1&DEV_2\\3&1", "", {kId}); }, true, true, false, ""},
        {"driver key names an INF that is gone",
         [&](InventoryMachine& m) { device(m, "PCI\\VEN_1&DEV_2\\3&1", "0001", "oem7.inf", {kId}); }, true,
         true, false, "oem7.inf"},
        {"backed-up INF missing",
         [&](InventoryMachine& m) {
             device(m, "PCI\\VEN_1&DEV_2\\3&1", "0001", "oem3.inf", {kId});
             m.Inf("oem3.inf", kBackupInf);
         },
         false, true, false, "oem3.inf"},
    };
    for (const auto& c : cases) {
        InventoryMachine m;
        c.setUp(m);
        BackupEntry entry =
            Backed(m, "Net card", std::string(" ") + kId + " ", c.backupInf ? kBackupInf : nullptr);
        InstallCheck check = CheckDriverInstalled(m.machine.Ports(), entry);
        EXPECT_EQ(check.hardwareId, kId) << c.name;
        EXPECT_EQ(check.deviceFound, c.deviceFound) << c.name;
        EXPECT_EQ(check.installed, c.installed) << c.name;
        EXPECT_EQ(check.infName, c.infName) << c.name;
    }
}

TEST(RestoreCheck, ReasonSaysWhyADriverDidNotTake) {
    InstallCheck none{kId, false, false, ""};
    InstallCheck other{kId, true, false, "oem3.inf"};
    InstallCheck took{kId, true, true, "oem3.inf"};
    struct Case {
        ProcessResult run;
        bool attempted, skipped;
        InstallCheck check;
        std::string reason;
    };
    const Case cases[] = {
        {{}, false, true, none, "ships with Windows: not installed"},
        {{true, false, 5}, true, false, took, "installed"},
        {{}, false, false, none, "the installer did not run"},
        {{}, true, false, none, "the installer could not start"},
        {{true, true, 1}, true, false, other, "the installer did not end in time and was stopped"},
        {{true, false, kDrvInstallFilesMissing},
         true,
         false,
         other,
         "installer exit code 5: files the INF copies are missing beside it"},
        {{true, false, 77},
         true,
         false,
         none,
         "installer exit code 77: the installer ended with an unknown code"},
        {{true, false, kDrvInstallNeedsReboot},
         true,
         false,
         other,
         "installed; Windows needs a restart to finish"},
        {{true, false, 0}, true, false, none, "no device with hardware ID PCI\\VEN_1&DEV_2 is present"},
        {{true, false, 0},
         true,
         false,
         other,
         "no device with hardware ID PCI\\VEN_1&DEV_2 uses the backed-up INF (its driver names oem3.inf)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RestoreResultReason(c.run, c.attempted, c.skipped, c.check), c.reason);

    // Every code the installer knows has a reason of its own.
    std::set<std::string> reasons;
    for (std::uint32_t code = kDrvInstallOk; code <= kDrvInstallNeedsReboot; ++code)
        reasons.insert(DrvInstallReason(code));
    reasons.insert(DrvInstallReason(kDrvInstallNeedsReboot + 1));
    EXPECT_EQ(reasons.size(), kDrvInstallNeedsReboot + 2u);
}

TEST(RestorePlan, ComparesWithWhatTheInventoryListsAndChangesNothing) {
    struct Row {
        const char* desc;
        const char* installedVersion; // null: no device has the ID
        const char* installedDate;
        const char* provider;
        bool inf;
        bool device, same, newer;
        std::string action;
    };
    const Row rows[] = {
        {"Same", "1.2.3.4", "5-6-2024", "Acme", true, true, true, false,
         "reinstall: same driver already installed"},
        {"Later date", "1.0.0.0", "1-1-2025", "Acme", true, true, false, true,
         "install: a newer driver 1.0.0.0 (2025-01-01) is installed, Windows may keep it"},
        {"Higher version", "1.2.10.0", "5-6-2024", "Acme", true, true, false, true,
         "install: a newer driver 1.2.10.0 (2024-05-06) is installed, Windows may keep it"},
        {"Older", "1.2.3.3", "1-1-2023", "Acme", true, true, false, false,
         "install: replaces the installed driver 1.2.3.3 (2023-01-01)"},
        {"Absent", nullptr, nullptr, "Acme", true, false, false, false,
         "install: no device has the hardware ID, one is created for it"},
        {"Standard", "1.2.3.4", "5-6-2024", "Microsoft", true, true, true, false, "skip: ships with Windows"},
        {"No INF", nullptr, nullptr, "Acme", false, false, false, false,
         "install fails: the backed-up INF drv.inf is missing"},
    };
    InventoryMachine m;
    std::vector<BackupEntry> entries;
    int number = 0;
    for (const auto& row : rows) {
        std::string id = std::string("PCI\\VEN_9&DEV_") + row.desc;
        if (row.installedVersion) {
            std::string driver = "000" + std::to_string(++number);
            m.Driver(id + "\\1", driver,
                     {{"InfPath", "oem1.inf"},
                      {"DriverDesc", row.desc},
                      {"ProviderName", row.provider},
                      {"DriverVersion", row.installedVersion},
                      {"DriverDate", row.installedDate}},
                     {id});
        }
        entries.push_back(Backed(m, row.desc, id, row.inf ? kBackupInf : nullptr, row.provider));
    }
    RefreshDriverList(m.inventory);
    auto plan = PlanRestore(m.inventory, entries);
    EXPECT_TRUE(m.machine.Image().Processes().calls.empty());
    ASSERT_EQ(plan.size(), std::size(rows));
    for (std::size_t i = 0; i < plan.size(); ++i) {
        const Row& row = rows[i];
        EXPECT_EQ(plan[i].entry.driverDesc, row.desc);
        EXPECT_EQ(plan[i].deviceFound, row.device) << row.desc;
        EXPECT_EQ(plan[i].sameInstalled, row.same) << row.desc;
        EXPECT_EQ(plan[i].newerInstalled, row.newer) << row.desc;
        EXPECT_EQ(plan[i].action, row.action) << row.desc;
    }
}

} // namespace
} // namespace vantrel
