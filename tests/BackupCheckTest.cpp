// The check of a backup: whether each driver's folder holds what its INF installs on the
// backed-up machine's processor, after the run and from every form of a finished backup.
#include <gtest/gtest.h>

#include "BackupRunFixture.h"
#include "HostTempDir.h"
#include "backup/Packaging.h"
#include "platform/image/MachineImage.h"
#include "restore/BackupCheck.h"
#include "restore/RestoreCatalog.h"

namespace vantrel {
namespace {

using namespace test;

// Models, install sections and catalogs for both processors; the amd64 one has a co-installer.
constexpr char kTwoProcessorInf[] = "[Version]\r\nSignature=\"$Windows NT$\"\r\n"
                                    "CatalogFile.NTamd64=d64.cat\r\nCatalogFile.NTx86=d86.cat\r\n"
                                    "[Manufacturer]\r\n%M%=Models,NTamd64,NTx86\r\n"
                                    "[Models.NTamd64]\r\n%D%=Drv,PCI\\VEN_9\r\n"
                                    "[Models.NTx86]\r\n%D%=Drv,PCI\\VEN_9\r\n"
                                    "[Drv.NTamd64]\r\nCopyFiles=@d64.sys\r\n"
                                    "[Drv.NTamd64.CoInstallers]\r\nCopyFiles=Co64\r\n"
                                    "[Co64]\r\nco64.dll,co64_src.dll\r\n"
                                    "[Drv.NTx86]\r\nCopyFiles=@d86.sys\r\n"
                                    "[Drv]\r\nCopyFiles=@d9x.sys\r\n";

const std::vector<std::string> kAmd64Files = {"d64.sys", "co64_src.dll", "d64.cat"};
const std::vector<std::string> kX86Files = {"d86.sys", "d86.cat"};

struct SavedDriver {
    std::string infSection;
    std::string hardwareId;
    std::vector<std::string> files; // beside the INF
    bool inf = true;
};

std::string Outcome(const BackupDriverCheck& check) {
    return check.processor + ": " +
           (check.Complete() ? "complete" : DescribeMissing(check.missing, "catalog"));
}

TEST(BackupCheck, ProcessorOfTheBackedUpMachineAndWhatIsMissing) {
    struct Case {
        const char* name;
        std::vector<SavedDriver> drivers;
        std::vector<std::string> expected;
    } cases[] = {
        {"model by hardware ID", {{"Drv", "PCI\\VEN_9", kAmd64Files}}, {"amd64: complete"}},
        {"recorded decoration, ID the models lack",
         {{"Drv.NTx86", "PCI\\VEN_9&REV_01", kX86Files}},
         {"x86: complete"}},
        {"the files tell", {{"Drv", "PCI\\VEN_9&REV_01", kX86Files}}, {"x86: complete"}},
        {"nothing tells: this machine's processor",
         {{"Drv", "PCI\\VEN_9", {"d86.sys"}}},
         {"amd64: d64.sys, co64.dll (co64_src.dll), catalog d64.cat"}},
        {"another driver of the backup tells",
         {{"Drv.NTx86", "", kX86Files}, {"Drv", "PCI\\VEN_9", {"d64.sys"}}},
         {"x86: complete", "x86: d86.sys, catalog d86.cat"}},
        {"the INF itself", {{"Drv", "PCI\\VEN_9", kAmd64Files, false}}, {"amd64: oem1.inf"}},
    };
    for (const auto& c : cases) {
        TestMachine machine;
        FileSystem& fs = machine.Ports().fs;
        std::vector<BackupEntry> entries;
        for (std::size_t k = 0; k < c.drivers.size(); ++k) {
            const SavedDriver& driver = c.drivers[k];
            BackupEntry entry;
            entry.folder = "C:\\Backup\\Driver" + std::to_string(k);
            entry.infPath = "oem1.inf";
            entry.infSection = driver.infSection;
            entry.matchingDeviceId = driver.hardwareId;
            ASSERT_TRUE(CreateDirectories(fs, entry.folder));
            if (driver.inf) {
                ASSERT_TRUE(WriteWholeFile(fs, EntryInfPath(entry), kTwoProcessorInf));
            }
            for (const auto& file : driver.files)
                ASSERT_TRUE(WriteWholeFile(fs, entry.folder + "\\" + file, file));
            entries.push_back(entry);
        }
        std::vector<std::string> outcomes;
        for (const auto& check : CheckBackup(machine.Ports(), entries))
            outcomes.push_back(Outcome(check));
        EXPECT_EQ(outcomes, c.expected) << c.name;
    }

    // Windows 9x reads the plain install section and no decorated catalog.
    TestMachine machine;
    BackupEntry entry;
    entry.infPath = "oem1.inf";
    entry.infSection = "Drv";
    entry.folder = "C:\\Backup";
    ASSERT_TRUE(CreateDirectories(machine.Ports().fs, entry.folder));
    ASSERT_TRUE(WriteWholeFile(machine.Ports().fs, EntryInfPath(entry), kTwoProcessorInf));
    ASSERT_TRUE(WriteWholeFile(machine.Ports().fs, entry.folder + "\\d9x.sys", "x"));
    EXPECT_TRUE(CheckBackedUpDriver(machine.Ports(), entry, InfTarget{"x86"}, true).Complete());
    EXPECT_FALSE(CheckBackedUpDriver(machine.Ports(), entry, InfTarget{"x86"}).Complete());
}

// The run checks each driver it saved; the same check reads every form of the finished backup.
TEST(BackupCheck, RunAndEveryFormAgreeOnACompleteAndADamagedDriver) {
    const std::pair<const char*, const char*> forms[] = {{kBckFolder, ""},
                                                         {kBckZip, "\\MyDrivers.zip"},
                                                         {kBckSfx, "\\MyDrivers.exe"},
                                                         {kBckAutoExe, "\\DriverAutoSetup.exe"}};
    for (const auto& [option, package] : forms) {
        BackupMachine m; // acmegone.sys, which the Acme INF copies, is nowhere on the machine
        m.SetOption(option);
        m.AddResource(kResSfxStub, "MZ stub");
        m.AddResource(kResAutoSetupWizard, "MZ wizard");
        m.AddResource(kResAutoSetupLauncher, "MZ launcher");
        BackupSummary summary = m.Run(m.Items());
        ASSERT_EQ(summary.packageErrors, 0) << option;
        ASSERT_EQ(summary.incomplete.size(), 1u) << option;
        EXPECT_EQ(summary.incomplete[0].driverDesc, kAcmeDesc) << option;
        EXPECT_EQ(DescribeMissing(summary.incomplete[0].missing, "catalog"), "acmegone.sys") << option;

        CatalogResult catalog =
            LoadRestoreCatalog(m.machine.Ports(), std::string(kRootPath) + package, nullptr);
        ASSERT_TRUE(catalog.ok) << option << ": " << catalog.error;
        std::map<std::string, std::string> outcomes;
        auto checks = CheckBackup(m.machine.Ports(), catalog.entries);
        for (std::size_t k = 0; k < checks.size(); ++k)
            outcomes[catalog.entries[k].driverDesc] = Outcome(checks[k]);
        EXPECT_EQ(outcomes, (std::map<std::string, std::string>{{kAcmeDesc, "amd64: acmegone.sys"},
                                                                {"Birch Audio", "amd64: complete"}}))
            << option;
    }
}

// The sample machine has what real ones have: decorated-only install sections, a header with a
// blank after it, two versions of a package in the driver store, files that run from the store
// and a 32-bit namesake in SysWOW64. Its backup must hold every driver whole, in the right version.
TEST(BackupSampleMachine, EveryDriverIsSavedWholeFromItsOwnPackage) {
    std::string error;
    auto image = LoadMachineImage(std::string(VANTREL_SOURCE_DIR) + "/samples/machine", "", &error);
    ASSERT_NE(image, nullptr) << error;
    Platform& ports = image->Ports();
    HostTempDir target;
    image->Files().AddMount("V:\\", target.String());
    App app(ports);
    Inventory inventory(ports);
    RefreshDriverList(inventory);
    std::vector<BackupItem> items;
    auto listed = CollectListedDrivers(inventory, true);
    for (std::size_t i = 0; i < listed.size(); ++i)
        items.push_back({static_cast<int>(i), listed[i].recordIndex});
    RecordingObserver observer;
    BackupSummary summary = BackupRun(app, inventory).Run("V:\\Drivers Backup", items, observer);
    EXPECT_EQ(summary.driversSaved, 13);
    EXPECT_EQ(summary.filesMissing, std::vector<std::string>{});
    EXPECT_TRUE(summary.incomplete.empty());

    std::vector<BackupEntry> entries = ScanBackupFolder(ports, "V:\\Drivers Backup");
    ASSERT_EQ(entries.size(), 13u);
    for (const auto& check : CheckBackup(ports, entries))
        EXPECT_EQ(Outcome(check), "amd64: complete");
    auto bytes = [&](const std::string& path) {
        std::string data;
        EXPECT_TRUE(ReadWholeFile(ports.fs, path, &data)) << path;
        return data;
    };
    auto display = std::find_if(entries.begin(), entries.end(),
                                [](const BackupEntry& entry) { return entry.infPath == "oem11.inf"; });
    ASSERT_NE(display, entries.end());
    const std::string saved = display->folder;
    const std::string store =
        "C:\\WINDOWS\\System32\\DriverStore\\FileRepository\\tlgvireo.inf_amd64_5c1e759dd4c5e1e5";
    EXPECT_EQ(bytes(saved + "\\tlgkmd64.sys"), bytes(store + "\\tlgkmd64.sys"));
    EXPECT_EQ(bytes(saved + "\\tlgmon.dll"), bytes("C:\\WINDOWS\\system32\\tlgmon.dll"));
    EXPECT_EQ(bytes(saved + "\\tlgmon32.dll"), bytes("C:\\WINDOWS\\SysWOW64\\tlgmon.dll"));
}

} // namespace
} // namespace vantrel
