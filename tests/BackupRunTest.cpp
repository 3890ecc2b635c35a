// The backup run on small purpose-built machines: folders, the file search, packages, stopping.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "BackupRunFixture.h"
#include "backup/BackupInfo.h"
#include "backup/Packaging.h"
#include "backup/SelfExtract.h"
#include "inventory/DriverFiles.h"

namespace vantrel {
namespace {

using namespace test;

// The image's system port, recording when redirection is switched.
class RedirectionSpy : public System {
public:
    explicit RedirectionSpy(System& inner) : inner(inner) {}
    OsVersion GetVersion() override { return inner.GetVersion(); }
    std::string GetWindowsDirectory() override { return inner.GetWindowsDirectory(); }
    std::string GetSystemDirectory() override { return inner.GetSystemDirectory(); }
    std::string GetTempPath() override { return inner.GetTempPath(); }
    std::string GetModuleFolder() override { return inner.GetModuleFolder(); }
    std::string GetSpecialFolder(int csidl) override { return inner.GetSpecialFolder(csidl); }
    bool IsWow64Process() override { return inner.IsWow64Process(); }
    bool Is64BitWindows() override { return inner.Is64BitWindows(); }
    bool DisableFsRedirection() override {
        ++switchedOff;
        off = true;
        return true;
    }
    void RevertFsRedirection() override { off = false; }
    std::string FormatDate(int year, int month, int day, const std::string& picture) override {
        return inner.FormatDate(year, month, day, picture);
    }

    System& inner;
    int switchedOff = 0;
    bool off = false;
};

TEST(BackupRunNames, FolderNamesAndTargets) {
    EXPECT_EQ(BackupFolderName("  a*b\\c|d/e:f?g>h<i\"j  "), "a b c d e f g h i j");
    EXPECT_EQ(BackupFolderName("**"), "_"); // nothing left but blanks
    // Windows cannot create these names; the folder gets a mark, drvbck.pdb keeps the name.
    EXPECT_EQ(BackupFolderName("CON"), "CON_");
    EXPECT_EQ(BackupFolderName("lpt1"), "lpt1_");
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

TEST(BackupRunFolder, EveryFileUnderItsSourceNameAndTheInformationFileByteForByte) {
    BackupMachine m;
    m.Class(kNetClass, "Net", "Network adapters");
    RefreshDriverList(m.inventory);
    m.SetOption("BckFolder");
    auto items = m.Items();
    ASSERT_EQ(items.size(), 2u);
    BackupSummary summary = m.Run(items);

    EXPECT_FALSE(summary.stopped);
    EXPECT_EQ(summary.target, kRootPath);
    EXPECT_EQ(summary.driversSaved, 2);
    EXPECT_EQ(summary.filesCopied, 6);
    EXPECT_EQ(summary.filesMissing, std::vector<std::string>{"acmegone.sys"});
    EXPECT_TRUE(summary.filesFailed.empty());

    // Nothing more and nothing less than the found files (acme.sys under its source name).
    std::map<std::string, std::string> saved;
    for (const char* folder : {kAcmeFolder, "Birch Audio"}) {
        for (const auto& [name, bytes] : m.Contents(BackupFolder(folder))) {
            if (name != "drvbck.pdb")
                saved[std::string(folder) + "/" + name] = bytes;
        }
    }
    EXPECT_EQ(saved, ExpectedBackupFiles());
    EXPECT_EQ(m.Contents(kRootPath).size(), 2u);

    EXPECT_EQ(m.Read(BackupFolder(kAcmeFolder) + "\\drvbck.pdb"),
              "[driver backup information]\r\n"
              "driverdesc=Acme: Net/Adapter <2.5G>\r\n"
              "infpath=oem1.inf\r\n"
              "infsection=Acme\r\n"
              "MatchingDeviceId=PCI\\VEN_1\r\n"
              "driverversion=1.2.3.4\r\n"
              "driverdate=2021-05-06\r\n"
              "providername=Acme\r\n"
              "class=Net\r\n"
              "filenum=5\r\n" // the missing file counts: the list has five entries
              "signature=Windows 2000, Windows XP, Windows 2003\r\n"
              "needrestore=yes\r\n"
              "backuptime=Saturday, November 14, 2026\r\n");
    EXPECT_EQ(ScanBackupFolder(m.machine.Ports(), kRootPath).size(), 2u);

    // The log of the last driver and the rows in order.
    EXPECT_EQ(m.observer.rows, (std::vector<int>{0, 1}));
    EXPECT_EQ(m.observer.log, "Backing up drivers of 'Birch Audio', please wait patiently ..."
                              "\r\n Searching oem2.inf..."
                              "\r\n Searching birch.sys..."
                              "\r\n Backing up C:\\WINDOWS\\inf\\oem2.inf"
                              "\r\n Backing up C:\\WINDOWS\\system32\\drivers\\birch.sys");
    // Each driver is half the bar and each of its files an equal part of that; the search stays
    // within the first file's part, so the bar never goes back.
    EXPECT_EQ(m.observer.progress, (std::vector<int>{2, 4, 6, 8, 10, /* copy */ 10, 20, 30, 40, 50, //
                                                     62, 75, /* copy */ 75, 100, /* end */ 100}));
    // The stop flag is asked before every file of the list, found or not.
    EXPECT_EQ(m.observer.cancelQuestions, 5 + 2);
}

TEST(BackupRunFolder, DriverWithoutInfIsSkippedAndUnknownOptionKeepsFolders) {
    BackupMachine m;
    m.SetOption("Whatever");
    m.Set("SYSTEM\\CurrentControlSet\\Control\\Class\\" + std::string(kNetClass) + "\\0002", "InfPath",
          "gone.inf");
    RefreshDriverList(m.inventory);
    auto items = m.Items(false);
    BackupSummary summary = m.Run(items);
    EXPECT_EQ(summary.driversSkipped + summary.driversSaved, static_cast<int>(items.size()));
    EXPECT_FALSE(m.Exists(BackupFolder("Birch Audio")));
    EXPECT_TRUE(m.Exists(BackupFolder(kAcmeFolder) + "\\drvbck.pdb"));
}

TEST(BackupRunFolder, StopBeforeTheNextFileLeavesWhatWasCopied) {
    BackupMachine m;
    m.SetOption("BckFolder");
    m.observer.stopAfterCopies = 2;
    BackupSummary summary = m.Run(m.Items());
    EXPECT_TRUE(summary.stopped);
    EXPECT_EQ(summary.filesCopied, 2);
    auto left = m.Contents(BackupFolder(kAcmeFolder));
    EXPECT_EQ(left.size(), 3u); // drvbck.pdb and the two files copied before the stop
    EXPECT_EQ(left["oem1.inf"], kAcmeInf);
    EXPECT_EQ(left["acme.cat"], "catalog");
    EXPECT_FALSE(m.Exists(BackupFolder("Birch Audio")));
    EXPECT_NE(m.observer.progress.back(), 100);
}

TEST(BackupRunFolder, ReservedAndLongNamesUnderADeepRoot) {
    BackupMachine m;
    m.SetOption("BckFolder");
    std::string longName(80, 'L');
    m.Set("SYSTEM\\CurrentControlSet\\Control\\Class\\" + std::string(kNetClass) + "\\0001", "DriverDesc",
          "CON");
    m.Set("SYSTEM\\CurrentControlSet\\Control\\Class\\" + std::string(kNetClass) + "\\0002", "DriverDesc",
          longName + "tail");
    RefreshDriverList(m.inventory);
    std::string deep =
        "D:\\Backups\\" + std::string(60, 'a') + "\\" + std::string(60, 'b') + "\\Drivers Backup";
    ASSERT_TRUE(CreateDirectories(m.machine.Ports().fs, deep));
    BackupSummary summary = m.Run(m.Items(), deep);
    EXPECT_EQ(summary.driversSaved, 2);
    EXPECT_EQ(summary.filesFailed, std::vector<std::string>{});
    // The folder is marked, the restore side still reads the driver's own name.
    EXPECT_EQ(ReadBackupInfo(m.machine.Ports(), deep + "\\CON_").driverDesc, "CON");
    EXPECT_EQ(m.Read(deep + "\\" + longName + "\\birch.sys"), std::string(5000, 'B')); // cut to 80
    EXPECT_EQ(ScanBackupFolder(m.machine.Ports(), deep).size(), 2u);
}

TEST(BackupRunFolder, TargetBlockedByAFileCopiesNothingAndSaysSo) {
    BackupMachine m;
    m.SetOption("BckFolder");
    ASSERT_TRUE(WriteWholeFile(m.machine.Ports().fs, "D:\\Blocked", "a file, not a folder"));
    BackupSummary summary = m.Run(m.Items(), "D:\\Blocked\\Drivers Backup");
    EXPECT_FALSE(summary.stopped);
    EXPECT_EQ(summary.filesCopied, 0);
    EXPECT_EQ(summary.filesFailed.size(), 6u); // every found file is named, none is lost silently
    EXPECT_EQ(m.Read("D:\\Blocked"), "a file, not a folder");
    EXPECT_EQ(m.observer.progress.back(), 100);
}

TEST(BackupRunSearch, OneIndexOfTheSystemAndWindowsTreesFirstTreeWins) {
    TestMachine machine;
    auto& fs = machine.Ports().fs;
    for (const char* folder : {"C:\\WINDOWS\\a", "C:\\WINDOWS\\system32\\drivers", "C:\\WINDOWS\\z"})
        ASSERT_TRUE(CreateDirectories(fs, folder));
    ASSERT_TRUE(WriteWholeFile(fs, "C:\\WINDOWS\\a\\both.sys", "windows"));
    ASSERT_TRUE(WriteWholeFile(fs, "C:\\WINDOWS\\system32\\drivers\\both.sys", "system"));
    ASSERT_TRUE(WriteWholeFile(fs, "C:\\WINDOWS\\z\\late.sys", "z"));

    FileFinder finder(fs);
    const std::vector<std::string> trees = {"C:\\WINDOWS\\system32", "C:\\WINDOWS\\"};
    EXPECT_EQ(finder.FindFileInTrees(trees, "BOTH.SYS"), "C:\\WINDOWS\\system32\\drivers\\both.sys");
    EXPECT_EQ(finder.FindFileInTrees(trees, "late.sys"), "C:\\WINDOWS\\z\\late.sys");
    EXPECT_EQ(finder.FindFileInTrees(trees, "none.sys"), "");
    std::size_t listed = finder.FoldersListed();
    // WINDOWS, a, z, system32, drivers and whatever else the image holds: each once, and the
    // questions after the first list nothing.
    std::vector<FindData> top;
    fs.FindFiles("C:\\WINDOWS\\*", &top);
    EXPECT_LT(listed, top.size() + 4);
    finder.FindFileInTrees(trees, "late.sys");
    EXPECT_EQ(finder.FoldersListed(), listed);
    // Windows first: the system folder lies inside it and is not listed again.
    EXPECT_EQ(finder.FindFileInTrees({"C:\\WINDOWS", "C:\\WINDOWS\\system32"}, "both.sys"),
              "C:\\WINDOWS\\a\\both.sys");
    EXPECT_EQ(finder.FoldersListed(), 2 * listed);
    EXPECT_EQ(finder.FindFileInTrees({}, "both.sys"), "");
}

// Under WOW64 the 32-bit program looks in SysWOW64 first, with redirection off for the run.
TEST(BackupRunSearch, SystemFolderFollowsWow64AndRedirectionIsOffForTheRunOnly) {
    for (const char* arch : {"x64", "x86"}) {
        MachineFacts facts = BackupDay();
        facts.arch = arch;
        BackupMachine m(facts);
        m.SetOption("BckFolder");
        m.File("SysWOW64\\drivers\\birch.sys", "wow64");
        m.File("Aaa\\birch.sys", "windows");
        Platform& real = m.machine.Ports();
        RedirectionSpy spy(real.system);
        Platform ports{real.registry, real.fs,        spy,          real.processes,
                       real.shell,    real.resources, real.profile, real.clock};
        App app(ports);
        Inventory inventory(ports);
        RefreshDriverList(inventory);
        std::vector<bool> offWhileCopying;
        m.observer.onLog = [&] { offWhileCopying.push_back(spy.off); };
        BackupRun run(app, inventory);
        run.Run(kRootPath, m.Items(), m.observer);

        bool wow64 = std::string(arch) == "x64";
        EXPECT_EQ(m.Read(BackupFolder("Birch Audio") + "\\birch.sys"),
                  wow64 ? "wow64" : std::string(5000, 'B'))
            << arch;
        EXPECT_EQ(spy.switchedOff, wow64 ? 1 : 0) << arch;
        EXPECT_FALSE(spy.off) << arch;
        ASSERT_FALSE(offWhileCopying.empty());
        EXPECT_EQ(std::count(offWhileCopying.begin(), offWhileCopying.end(), wow64),
                  static_cast<long>(offWhileCopying.size()))
            << arch;
    }
}

TEST(BackupRunZip, TwoRunsAddToOneArchiveAndLeaveNoWorkingCopies) {
    BackupMachine m;
    m.SetOption("BckZip");
    auto items = m.Items();
    BackupSummary first = m.Run({items[0]});
    EXPECT_EQ(first.target, std::string(kRootPath) + "\\MyDrivers.zip");
    EXPECT_EQ(first.packageErrors, 0);
    EXPECT_NE(m.observer.log.find("\r\nCompressing driver files..."), std::string::npos);
    BackupSummary second = m.Run({items[1]});
    EXPECT_EQ(second.packageErrors, 0);

    std::string error;
    auto stored = m.ZipContents(first.target, &error);
    EXPECT_EQ(error, "");
    std::map<std::string, std::string> files;
    for (const auto& [name, bytes] : stored) {
        if (name.back() != '/' && !name.ends_with("/drvbck.pdb"))
            files[name] = bytes;
    }
    EXPECT_EQ(files, ExpectedBackupFiles());
    EXPECT_EQ(stored.count(std::string(kAcmeFolder) + "/drvbck.pdb"), 1u);
    EXPECT_EQ(stored.count("Birch Audio/drvbck.pdb"), 1u);
    // Only the package lies in the root; the working folders in the temporary folder are gone.
    EXPECT_EQ(m.Contents(kRootPath).size(), 1u);
    std::string temp = m.machine.Ports().system.GetTempPath();
    EXPECT_FALSE(m.Exists(temp + kAcmeFolder));
    EXPECT_FALSE(m.Exists(temp + "Birch Audio"));

    // Outside tools agree when the machine has them.
    std::string host = m.Host(first.target).string();
    if (HasTool("unzip")) {
        EXPECT_EQ(std::system(("unzip -tq '" + host + "' >/dev/null 2>&1").c_str()), 0);
    }
    for (const char* sevenZip : {"7z", "7za"}) {
        if (HasTool(sevenZip)) {
            EXPECT_EQ(std::system((std::string(sevenZip) + " t '" + host + "' >/dev/null 2>&1").c_str()), 0);
            break;
        }
    }
}

TEST(BackupRunZip, WorkingFolderKeepsWhatWasThereBeforeTheRun) {
    BackupMachine m;
    m.SetOption("BckZip");
    std::string folder = m.machine.Ports().system.GetTempPath() + "Birch Audio";
    ASSERT_TRUE(CreateDirectories(m.machine.Ports().fs, folder));
    ASSERT_TRUE(WriteWholeFile(m.machine.Ports().fs, folder + "\\notes.txt", "mine"));
    BackupSummary summary = m.Run({m.Items()[1]});
    EXPECT_EQ(summary.packageErrors, 0);
    EXPECT_EQ(m.Contents(folder), (std::map<std::string, std::string>{{"notes.txt", "mine"}}));
}

// The package bytes themselves are PackagingTest's; here, that the run hands over its drivers,
// texts and resources and says so.
TEST(BackupRunPackages, SelfExtractorKeepsStubSettingsAndArchive) {
    BackupMachine m;
    m.SetOption("BckSfx");
    m.AddResource(kResSfxStub, "MZ-stub-bytes");
    BackupSummary summary = m.Run(m.Items());
    ASSERT_EQ(summary.packageErrors, 0);
    EXPECT_NE(m.observer.log.find("\r\nAdding driver files to self-extractor..."), std::string::npos);
    EXPECT_EQ(m.Read(summary.target).rfind("MZ-stub-bytes", 0), 0u);
    EXPECT_EQ(m.ZipContents(summary.target).size(), 10u); // two folders, eight files
    SfxSettings settings;
    ASSERT_TRUE(ReadSfxSettings(m.machine.Ports().fs, summary.target, &settings));
    EXPECT_EQ(settings.title, kSfxTitle);
    EXPECT_EQ(settings.introduction, kSfxIntroduction);
    EXPECT_FALSE(settings.silent);
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
        EXPECT_NE(m.observer.log.find("\r\nAdding driver files to auto-setup package..."), std::string::npos);
        std::string bytes = m.Read(summary.target);
        ASSERT_GT(bytes.size(), 12u);
        EXPECT_EQ(bytes.rfind("LAUNCHER", 0), 0u);
        std::uint32_t length = 0;
        std::memcpy(&length, bytes.data() + bytes.size() - 4, 4); // little-endian, as the tests run
        EXPECT_EQ(length, bytes.size() - 4 - 8) << "run " << run;
        ASSERT_TRUE(WriteWholeFile(m.machine.Ports().fs, "D:\\inner.exe", bytes.substr(8, length)));
        auto stored = m.ZipContents("D:\\inner.exe");
        EXPECT_EQ(stored.size(), 11u);
        EXPECT_EQ(stored["DriverAutoInstall.exe"], "WIZARD-PROGRAM");
        SfxSettings settings;
        ASSERT_TRUE(ReadSfxSettings(m.machine.Ports().fs, "D:\\inner.exe", &settings));
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

} // namespace
} // namespace vantrel
