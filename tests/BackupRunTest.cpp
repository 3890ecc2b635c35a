// The backup run on small purpose-built machines: folders, packages, stopping and faults.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "InventoryFixture.h"
#include "app/App.h"
#include "app/Settings.h"
#include "archive/ZipReader.h"
#include "backup/BackupInfo.h"
#include "backup/BackupRun.h"
#include "backup/BackupRunPage.h"
#include "app/MainPage.h"
#include "backup/Packaging.h"
#include "inventory/BackupListPage.h"
#include "inventory/Enumeration.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"

namespace vantrel {
namespace {

using test::InventoryMachine;

constexpr char kAcmeDesc[] = "Acme: Net/Adapter <2.5G>";
constexpr char kAcmeFolder[] = "Acme  Net Adapter  2.5G";
constexpr char kRootPath[] = "D:\\Backups\\Drivers Backup";

class RecordingObserver : public BackupObserver {
public:
    void DriverStarted(int row) override { rows.push_back(row); }
    void ClearLog() override {
        logs.push_back(log);
        log.clear();
    }
    void AppendLog(const std::string& text) override {
        log += text;
        if (stopAfterCopies > 0 && text.find("Backing up C:") != std::string::npos && --stopAfterCopies == 0)
            stop = true;
    }
    void Progress(int percent) override { progress.push_back(percent); }
    void Pump() override {}

    std::vector<int> rows;
    std::vector<std::string> logs;
    std::string log;
    std::vector<int> progress;
    int stopAfterCopies = 0;
    bool stop = false;
};

// Two vendor drivers and one of Windows' own, with their INFs and files.
class BackupMachine : public InventoryMachine {
public:
    BackupMachine() {
        Driver("PCI\\VEN_1\\0", "0001",
               {{"DriverDesc", kAcmeDesc},
                {"ProviderName", "Acme"},
                {"InfPath", "oem1.inf"},
                {"InfSection", "Acme"},
                {"MatchingDeviceId", "pci\\ven_1"},
                {"DriverVersion", "1.2.3.4"},
                {"DriverDate", "5-6-2021"}},
               {"PCI\\VEN_1"});
        Inf("oem1.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\nCatalogFile=acme.cat\r\n"
                        "[Acme]\r\nCopyFiles=Acme.Copy,@acmehelp.dll\r\n"
                        "[Acme.Copy]\r\nacme.sys,acme.sy_\r\nacmegone.sys\r\n");
        File("system32\\drivers\\acme.sys", std::string(3000, 'A'));
        File("system32\\acmehelp.dll", "help");
        File("system32\\CatRoot\\acme.cat", "catalog");

        Driver("PCI\\VEN_2\\0", "0002",
               {{"DriverDesc", "Birch Audio"},
                {"ProviderName", "Birch"},
                {"InfPath", "oem2.inf"},
                {"InfSection", "Birch"},
                {"MatchingDeviceId", "pci\\ven_2"},
                {"DriverVersion", "2.0"},
                {"DriverDate", "1-2-2020"}},
               {"PCI\\VEN_2"});
        Inf("oem2.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\n[Birch]\r\nCopyFiles=@birch.sys\r\n");
        File("system32\\drivers\\birch.sys", std::string(5000, 'B'));

        Driver("PCI\\VEN_3\\0", "0003",
               {{"DriverDesc", "Standard Thing"},
                {"ProviderName", "Microsoft"},
                {"InfPath", "machine.inf"},
                {"InfSection", "Std"}},
               {"PCI\\VEN_3"});
        Inf("machine.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\n");

        auto host = machine.ImageFolder() / "drive_d";
        std::filesystem::create_directories(host);
        machine.Image().Files().AddMount("D:\\", host.string());
        EXPECT_TRUE(CreateDirectories(machine.Ports().fs, kRootPath));
        RefreshDriverList(inventory);
    }

    void SetOption(const char* option) {
        SettingsStore settings(machine.Ports().registry);
        settings.WriteSetting(kSetBackupOption, option);
    }
    std::vector<BackupItem> Items(bool nonMicrosoftOnly = true) {
        std::vector<BackupItem> items;
        auto listed = CollectListedDrivers(inventory, nonMicrosoftOnly);
        for (std::size_t i = 0; i < listed.size(); ++i)
            items.push_back({static_cast<int>(i), listed[i].recordIndex});
        return items;
    }
    BackupSummary Run(const std::vector<BackupItem>& items) {
        BackupRun run(app, inventory);
        return run.Run(kRootPath, items, observer, observer.stop);
    }
    std::string Read(const std::string& path) {
        std::string bytes;
        EXPECT_TRUE(ReadWholeFile(machine.Ports().fs, path, &bytes)) << path;
        return bytes;
    }
    bool Exists(const std::string& path) { return machine.Ports().fs.Exists(path); }
    std::filesystem::path Host(const std::string& windowsPath) {
        std::filesystem::path host;
        EXPECT_TRUE(machine.Image().Files().MapPath(windowsPath, &host));
        return host;
    }
    std::vector<std::string> ZipNames(const std::string& path) {
        ZipReader reader(machine.Ports().fs);
        EXPECT_TRUE(reader.Open(path)) << reader.Error();
        std::vector<std::string> names;
        for (const auto& entry : reader.Entries())
            names.push_back(entry.name);
        std::sort(names.begin(), names.end());
        return names;
    }
    void AddResource(int id, std::string bytes) { machine.Image().Resources().items[id] = std::move(bytes); }

    App app{machine.Ports()};
    RecordingObserver observer;
};

std::string Folder(const std::string& name) {
    return std::string(kRootPath) + "\\" + name;
}

bool HasTool(const char* tool) {
    return std::system((std::string("command -v ") + tool + " >/dev/null 2>&1").c_str()) == 0;
}

TEST(BackupRunNames, FolderNamesAndTargets) {
    EXPECT_EQ(BackupFolderName("  a*b\\c|d/e:f?g>h<i\"j  "), "a b c d e f g h i j");
    EXPECT_EQ(BackupFolderName("CON"), "CON_");
    EXPECT_EQ(BackupFolderName("nul.txt"), "nul_.txt");
    EXPECT_EQ(BackupFolderName("Console"), "Console");
    EXPECT_EQ(BackupFolderName("Net <fast>."), "Net  fast");
    EXPECT_EQ(BackupTarget("C:\\x", BackupForm::Zip), "C:\\x\\MyDrivers.zip");
    EXPECT_EQ(BackupTarget("C:\\x", BackupForm::Sfx), "C:\\x\\MyDrivers.exe");
    EXPECT_EQ(BackupTarget("C:\\x", BackupForm::AutoSetup), "C:\\x\\DriverAutoSetup.exe");
    EXPECT_EQ(BackupTarget("C:\\x", BackupForm::Folder), "C:\\x");
    EXPECT_EQ(BackupFormFromSetting("BckAutoEXE"), BackupForm::AutoSetup);
    EXPECT_EQ(BackupFormFromSetting("bckzip"), BackupForm::Folder); // exact text only
}

TEST(BackupRunFolder, CopiesEveryFoundFileUnderItsSourceName) {
    BackupMachine m;
    m.SetOption("BckFolder");
    auto items = m.Items();
    ASSERT_EQ(items.size(), 2u);
    BackupSummary summary = m.Run(items);

    EXPECT_FALSE(summary.stopped);
    EXPECT_EQ(summary.target, kRootPath);
    EXPECT_EQ(summary.driversSaved, 2);
    std::string acme = Folder(kAcmeFolder);
    EXPECT_EQ(m.Read(acme + "\\acme.sy_"), std::string(3000, 'A')); // source name wins
    EXPECT_FALSE(m.Exists(acme + "\\acme.sys"));
    EXPECT_EQ(m.Read(acme + "\\acmehelp.dll"), "help");
    EXPECT_EQ(m.Read(acme + "\\acme.cat"), "catalog");
    EXPECT_TRUE(m.Exists(acme + "\\oem1.inf"));
    EXPECT_EQ(summary.filesMissing, std::vector<std::string>{"acmegone.sys"});
    EXPECT_EQ(summary.filesCopied, 4 + 2);

    // The information file describes the driver and counts the list, missing file included.
    BackupEntry entry = ReadBackupInfo(m.machine.Ports(), acme);
    EXPECT_EQ(entry.driverDesc, kAcmeDesc);
    EXPECT_EQ(entry.infPath, "oem1.inf");
    EXPECT_EQ(entry.fileNum, "5");
    EXPECT_EQ(entry.needRestore, "yes");
    EXPECT_EQ(ScanBackupFolder(m.machine.Ports(), kRootPath).size(), 2u);

    // The log of the last driver, the rows in order, the bar ending full and never going back.
    EXPECT_EQ(m.observer.rows, (std::vector<int>{0, 1}));
    EXPECT_EQ(m.observer.log.find("Backing up drivers of 'Birch Audio', please wait patiently ..."), 0u);
    EXPECT_NE(m.observer.log.find("\r\n Searching birch.sys..."), std::string::npos);
    EXPECT_NE(m.observer.log.find("\r\n Backing up C:\\WINDOWS\\system32\\drivers\\birch.sys"),
              std::string::npos);
    EXPECT_TRUE(std::is_sorted(m.observer.progress.begin(), m.observer.progress.end()));
    EXPECT_EQ(m.observer.progress.back(), 100);
}

TEST(BackupRunFolder, DriverWithoutInfIsSkippedAndUnknownOptionKeepsFolders) {
    BackupMachine m;
    m.SetOption("Whatever");
    m.Set("SYSTEM\\CurrentControlSet\\Control\\Class\\" + std::string(test::kNetClass) + "\\0002", "InfPath",
          "gone.inf");
    RefreshDriverList(m.inventory);
    auto items = m.Items();
    BackupSummary summary = m.Run(items);
    EXPECT_EQ(summary.driversSkipped + summary.driversSaved, static_cast<int>(items.size()));
    EXPECT_FALSE(m.Exists(Folder("Birch Audio")));
    EXPECT_TRUE(m.Exists(Folder(kAcmeFolder) + "\\drvbck.pdb"));
}

TEST(BackupRunFolder, StopLeavesWhatWasCopied) {
    BackupMachine m;
    m.SetOption("BckFolder");
    m.observer.stopAfterCopies = 2;
    BackupSummary summary = m.Run(m.Items());
    EXPECT_TRUE(summary.stopped);
    EXPECT_EQ(summary.filesCopied, 2);
    std::string acme = Folder(kAcmeFolder);
    EXPECT_TRUE(m.Exists(acme + "\\drvbck.pdb"));
    EXPECT_TRUE(m.Exists(acme + "\\oem1.inf"));
    EXPECT_FALSE(m.Exists(Folder("Birch Audio")));
}

TEST(BackupRunFolder, ReservedAndLongNamesUnderADeepRoot) {
    BackupMachine m;
    m.SetOption("BckFolder");
    std::string longName(80, 'L');
    m.Set("SYSTEM\\CurrentControlSet\\Control\\Class\\" + std::string(test::kNetClass) + "\\0001",
          "DriverDesc", "CON");
    m.Set("SYSTEM\\CurrentControlSet\\Control\\Class\\" + std::string(test::kNetClass) + "\\0002",
          "DriverDesc", longName + "tail");
    RefreshDriverList(m.inventory);
    std::string deep = "D:\\Backups\\a\\bb\\ccc\\dddd\\eeeee\\Drivers Backup";
    ASSERT_TRUE(CreateDirectories(m.machine.Ports().fs, deep));
    BackupRun run(m.app, m.inventory);
    BackupSummary summary = run.Run(deep, m.Items(), m.observer, m.observer.stop);
    EXPECT_EQ(summary.driversSaved, 2);
    EXPECT_TRUE(m.Exists(deep + "\\CON_\\drvbck.pdb"));
    EXPECT_TRUE(m.Exists(deep + "\\" + longName + "\\birch.sys")); // the description was cut to 80
}

TEST(BackupRunZip, TwoRunsAddToOneArchiveAndLeaveNoWorkingCopies) {
    BackupMachine m;
    m.SetOption("BckZip");
    auto items = m.Items();
    BackupSummary first = m.Run({items[0]});
    EXPECT_EQ(first.target, std::string(kRootPath) + "\\MyDrivers.zip");
    EXPECT_EQ(first.packageErrors, 0);
    m.Run({items[1]});

    std::vector<std::string> names = m.ZipNames(first.target);
    std::vector<std::string> expected = {std::string(kAcmeFolder) + "/",
                                         "Birch Audio/",
                                         std::string(kAcmeFolder) + "/acme.cat",
                                         std::string(kAcmeFolder) + "/acme.sy_",
                                         std::string(kAcmeFolder) + "/acmehelp.dll",
                                         std::string(kAcmeFolder) + "/drvbck.pdb",
                                         std::string(kAcmeFolder) + "/oem1.inf",
                                         "Birch Audio/birch.sys",
                                         "Birch Audio/drvbck.pdb",
                                         "Birch Audio/oem2.inf"};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names, expected);
    EXPECT_NE(m.observer.log.find("\r\nCompressing driver files..."), std::string::npos);
    // The working folders lived in the temporary folder and are gone.
    std::string temp = m.machine.Ports().system.GetTempPath();
    EXPECT_FALSE(m.Exists(temp + kAcmeFolder));
    EXPECT_FALSE(m.Exists(temp + "Birch Audio"));

    ZipReader reader(m.machine.Ports().fs);
    ASSERT_TRUE(reader.Open(first.target));
    EXPECT_TRUE(reader.Test("").ok);
    if (HasTool("unzip")) {
        std::string command = "unzip -tq '" + m.Host(first.target).string() + "' >/dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
    }
}

TEST(BackupRunZip, FailedWritesEndTheRunAndLeaveAReadableArchive) {
    // How many write calls a clean run makes, then each one fails in turn.
    std::uint64_t calls = 0;
    {
        BackupMachine m;
        m.SetOption("BckZip");
        std::uint64_t before = m.machine.Image().Files().WriteCalls();
        m.Run(m.Items());
        calls = m.machine.Image().Files().WriteCalls() - before;
    }
    ASSERT_GT(calls, 4u);
    for (std::uint64_t k = 1; k <= calls; ++k) {
        BackupMachine m;
        m.SetOption("BckZip");
        m.machine.Image().Files().FailWriteCall(k);
        BackupSummary summary = m.Run(m.Items());
        EXPECT_FALSE(summary.stopped);
        EXPECT_EQ(m.observer.progress.back(), 100) << "write " << k;
        std::string zip = std::string(kRootPath) + "\\MyDrivers.zip";
        if (!m.Exists(zip))
            continue;
        ZipReader reader(m.machine.Ports().fs);
        if (reader.Open(zip))
            EXPECT_TRUE(reader.Test("").ok) << "write " << k;
        else
            EXPECT_GT(summary.packageErrors, 0) << "write " << k << ": " << reader.Error();
    }
}

TEST(BackupRunZip, FullDiskIsReportedNotHidden) {
    BackupMachine m;
    m.SetOption("BckZip");
    m.machine.Image().Files().SetDiskFullAfter(4000);
    BackupSummary summary = m.Run(m.Items());
    EXPECT_GT(summary.filesFailed.size() + static_cast<std::size_t>(summary.packageErrors), 0u);
}

TEST(BackupRunPackages, SelfExtractorKeepsStubSettingsAndArchive) {
    BackupMachine m;
    m.SetOption("BckSfx");
    m.AddResource(kResSfxStub, "MZ-stub-bytes");
    BackupSummary summary = m.Run(m.Items());
    ASSERT_EQ(summary.packageErrors, 0);
    std::string bytes = m.Read(summary.target);
    EXPECT_EQ(bytes.rfind("MZ-stub-bytes", 0), 0u);
    EXPECT_EQ(m.ZipNames(summary.target).size(), 10u); // two folders, eight files

    ZipReader reader(m.machine.Ports().fs);
    ASSERT_TRUE(reader.Open(summary.target));
    std::uint64_t first = bytes.size();
    for (const auto& entry : reader.Entries())
        first = std::min(first, entry.localHeaderOffset);
    SfxSettings settings;
    ASSERT_TRUE(FindSfxSettings(std::string_view(bytes).substr(0, first), &settings));
    EXPECT_EQ(settings.title, kSfxTitle);
    EXPECT_EQ(settings.introduction, kSfxIntroduction);
    EXPECT_FALSE(settings.silent);
    if (HasTool("unzip")) {
        std::string command = "unzip -tq '" + m.Host(summary.target).string() + "' >/dev/null 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
    }
}

TEST(BackupRunPackages, SelfExtractorWithoutStubFailsClearly) {
    BackupMachine m;
    m.SetOption("BckSfx");
    BackupSummary summary = m.Run(m.Items());
    EXPECT_EQ(summary.packageErrors, 2);
    EXPECT_FALSE(m.Exists(summary.target));
}

TEST(BackupRunPackages, AutoSetupIsLauncherThenArchiveThenLength) {
    BackupMachine m;
    m.SetOption("BckAutoEXE");
    m.AddResource(kResSfxStub, "STUB");
    m.AddResource(kResAutoSetupWizard, "WIZARD-PROGRAM");
    m.AddResource(kResAutoSetupLauncher, "LAUNCHER");
    for (int run = 0; run < 2; ++run) { // a second run builds the package afresh
        BackupSummary summary = m.Run(m.Items());
        ASSERT_EQ(summary.packageErrors, 0);
        std::string bytes = m.Read(summary.target);
        ASSERT_GT(bytes.size(), 12u);
        EXPECT_EQ(bytes.rfind("LAUNCHER", 0), 0u);
        const auto* tail = reinterpret_cast<const unsigned char*>(bytes.data() + bytes.size() - 4);
        std::uint32_t length =
            tail[0] | (tail[1] << 8) | (tail[2] << 16) | (static_cast<std::uint32_t>(tail[3]) << 24);
        EXPECT_EQ(length, bytes.size() - 4 - 8);

        std::string inner = bytes.substr(8, length);
        EXPECT_EQ(inner.rfind("STUB", 0), 0u);
        ASSERT_TRUE(WriteWholeFile(m.machine.Ports().fs, "D:\\inner.exe", inner));
        std::vector<std::string> names = m.ZipNames("D:\\inner.exe");
        EXPECT_EQ(names.size(), 11u);
        EXPECT_TRUE(std::count(names.begin(), names.end(), "DriverAutoInstall.exe"));
        SfxSettings settings;
        ASSERT_TRUE(FindSfxSettings(inner.substr(0, inner.find("PK\x03\x04")), &settings));
        EXPECT_TRUE(settings.silent);
        EXPECT_EQ(settings.extractFolder, "%t\\DrvAutoSetup");
        EXPECT_EQ(settings.runAfter, "%d\\DriverAutoInstall.exe");
    }
    EXPECT_FALSE(m.Exists(m.machine.Ports().system.GetTempPath() + "DriverAutoSetup_New.exe"));
    EXPECT_FALSE(m.Exists(m.machine.Ports().system.GetTempPath() + "DriverAutoInstall.exe"));
}

TEST(BackupPackagingSettings, RoundTripAndRejection) {
    SfxSettings settings;
    settings.title = "T\\itle";
    settings.introduction = "line one\r\nline two";
    settings.extractFolder = "%t\\X";
    settings.runAfter = "%d\\run.exe";
    settings.silent = true;
    settings.overwrite = false;
    SfxSettings back;
    ASSERT_TRUE(ParseSfxSettings(FormatSfxSettings(settings), &back));
    EXPECT_EQ(back.title, settings.title);
    EXPECT_EQ(back.introduction, settings.introduction);
    EXPECT_EQ(back.extractFolder, settings.extractFolder);
    EXPECT_EQ(back.runAfter, settings.runAfter);
    EXPECT_TRUE(back.silent);
    EXPECT_FALSE(back.overwrite);

    for (const char* bad : {"", "[sfx]\ntitle=x", "[sfx]\nbogus=1\n", "[sfx]\nsilent=2\n",
                            "[sfx]\ntitle=a\\q\n", "[other]\ntitle=x\n", "[sfx]\ntitle\n"})
        EXPECT_FALSE(ParseSfxSettings(bad, &back)) << bad;
    EXPECT_FALSE(FindSfxSettings("short", &back));
    EXPECT_FALSE(
        FindSfxSettings(std::string("\xff\xff\xff\x7f") + "VNTSFX01", &back)); // length past the start
}

// The Backup tab's button over a scripted window: the list filled by the search, answers
// given by the test.
class BackupRunTab : public ::testing::Test {
protected:
    BackupRunTab() {
        m.SetOption("BckFolder");
        main.AddPart(runPage);
        main.AddPart(listPage);
        listPage.SearchNonMicrosoftDrivers();
    }
    void CheckAll() {
        for (int i = 0; i < view.RowCount("Lvw"); ++i)
            view.SetRowChecked("Lvw", i, true);
    }
    std::string Message(std::size_t i) { return i < dialogs.messages.size() ? dialogs.messages[i].text : ""; }

    BackupMachine m;
    test::FakeView view;
    test::FakeDialogs dialogs;
    MainPage main{m.app, view, dialogs};
    BackupRunPage runPage{m.app, view, dialogs, main, m.inventory};
    BackupListPage listPage{m.app, view, main, m.inventory};
};

TEST_F(BackupRunTab, NothingCheckedAsksForASelectionFirst) {
    runPage.OnBackupClick();
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(Message(0), "Please select the device drivers you want to back up at first.");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_TRUE(dialogs.prompts.empty());
}

TEST_F(BackupRunTab, CancelledBrowserWritesNothing) {
    CheckAll();
    runPage.OnBackupClick();
    ASSERT_EQ(dialogs.prompts.size(), 1u);
    EXPECT_EQ(dialogs.prompts[0], "Please select the directory where you want to save driver backup:");
    EXPECT_FALSE(m.Exists("D:\\Backups\\Drivers Backup\\Birch Audio"));
    EXPECT_TRUE(dialogs.messages.empty());
}

TEST_F(BackupRunTab, FolderWithoutPathFallsBackAndTheRunEndsIdle) {
    view.SetRowChecked("Lvw", 1, true);
    std::string chosen = view.GetRow("Lvw", 1).cells[0];
    dialogs.folders.push_back(""); // a virtual folder such as "Computer"
    runPage.OnBackupClick();

    std::string root = "c:\\my drivers\\Drivers Backup";
    EXPECT_TRUE(m.Exists(root + "\\" + BackupFolderName(chosen) + "\\drvbck.pdb"));
    SettingsStore settings(m.machine.Ports().registry);
    EXPECT_EQ(settings.ReadSetting(kSetBackupPath, kPathBufferChars).value_or(""), root);
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(Message(0), "Driver backup finished successfully.");
    EXPECT_EQ(view.selectedRows, std::vector<int>{1});
    std::string log = view.GetText("TxtBackup");
    EXPECT_EQ(log.find("Backing up drivers of '" + chosen + "'"), 0u);
    EXPECT_NE(log.find("Driver files have been backed up to " + root + " successfully."), std::string::npos);
    EXPECT_EQ(main.Tag("CmdBackup"), "start backup");
    EXPECT_EQ(view.GetCaption("CmdBackup"), "&Start Backup");
    EXPECT_TRUE(view.controls.at("CmdSelectAll").enabled);
}

TEST_F(BackupRunTab, SecondClickAsksAndStopsAtTheNextFile) {
    CheckAll();
    dialogs.folders.push_back("D:\\Backups\\");
    bool clicked = false;
    view.onPump = [&] {
        // While the first driver's files are being copied the user clicks again.
        if (!clicked && view.GetText("TxtBackup").find("Backing up C:") != std::string::npos) {
            clicked = true;
            EXPECT_EQ(view.GetCaption("CmdBackup"), "&Stop Backup");
            EXPECT_FALSE(view.controls.at("CmdSelectAll").enabled);
            // Clicks on the list are held back while the run goes on.
            std::string log = view.GetText("TxtBackup");
            EXPECT_TRUE(main.OnRowClick("Lvw", 0));
            EXPECT_EQ(view.GetText("TxtBackup"), log);
            runPage.OnBackupClick();
        }
    };
    runPage.OnBackupClick();
    ASSERT_TRUE(clicked);
    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(Message(0), "Do you really want to stop backup process?");
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(Message(1), "Driver backup process was stopped.");
    EXPECT_EQ(view.GetText("TxtBackup"), "Driver backup process was stopped by the user.");
    EXPECT_EQ(main.Tag("CmdBackup"), "start backup");
    EXPECT_FALSE(runPage.Running());
    // The driver whose copy was under way keeps what it had.
    EXPECT_TRUE(m.Exists(Folder(kAcmeFolder) + "\\drvbck.pdb"));
}

TEST_F(BackupRunTab, ClosingTheWindowDuringARunAsksToStopAndWaits) {
    CheckAll();
    dialogs.folders.push_back("D:\\Backups");
    std::vector<bool> closeAnswers;
    bool asked = false;
    view.onPump = [&] {
        if (!asked && runPage.Running()) {
            asked = true;
            closeAnswers.push_back(main.QueryClose());
        }
    };
    EXPECT_TRUE(main.QueryClose()); // idle: nothing holds the window
    runPage.OnBackupClick();
    ASSERT_EQ(closeAnswers, std::vector<bool>{false});
    EXPECT_EQ(Message(0), "Do you really want to stop backup process?");
    EXPECT_EQ(Message(1), "Driver backup process was stopped.");
    EXPECT_TRUE(main.QueryClose());
}

TEST_F(BackupRunTab, CancelledStopQuestionLetsTheRunFinish) {
    CheckAll();
    dialogs.folders.push_back("D:\\Backups");
    dialogs.answers = {MsgAnswer::Cancel};
    bool clicked = false;
    view.onPump = [&] {
        if (!clicked && runPage.Running()) {
            clicked = true;
            runPage.OnBackupClick();
        }
    };
    runPage.OnBackupClick();
    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(Message(1), "Driver backup finished successfully.");
    EXPECT_TRUE(m.Exists(Folder("Birch Audio") + "\\birch.sys"));
}

} // namespace
} // namespace vantrel
