// The backup run when writes fail: each write of a small run fails in turn, and the disk
// fills up. The run must end as usual, and what it wrote before must stay usable.
#include <gtest/gtest.h>

#include "BackupRunFixture.h"
#include "FakeDialogs.h"
#include "FakeView.h"
#include "app/MainPage.h"
#include "backup/BackupInfo.h"
#include "backup/BackupRunPage.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kZip[] = "D:\\Backups\\Drivers Backup\\MyDrivers.zip";

// One press of the Backup tab's button with every row checked, into D:\Backups.
struct TabRun {
    explicit TabRun(BackupMachine& m) : m(m) {
        main.AddPart(page);
        main.AddPart(list);
        list.SearchNonMicrosoftDrivers();
        for (int i = 0; i < view.RowCount("Lvw"); ++i)
            view.SetRowChecked("Lvw", i, true);
        dialogs.folders.push_back("D:\\Backups");
    }
    void Press() { page.OnBackupClick(); }
    std::vector<std::string> Messages() const {
        std::vector<std::string> texts;
        for (const auto& message : dialogs.messages)
            texts.push_back(message.text);
        return texts;
    }

    BackupMachine& m;
    FakeView view;
    FakeDialogs dialogs;
    MainPage main{m.app, view, dialogs};
    BackupRunPage page{m.app, view, dialogs, main, m.inventory};
    BackupListPage list{m.app, view, main, m.inventory};
};

std::uint64_t WritesOfACleanRun(const char* option) {
    BackupMachine m;
    m.SetOption(option);
    TabRun tab(m);
    std::uint64_t before = m.machine.Image().Files().WriteCalls();
    tab.Press();
    return m.machine.Image().Files().WriteCalls() - before;
}

// The driver files of an archive that differ from the expected ones or are missing, by name;
// folders and drvbck.pdb entries are left out.
std::vector<std::string> WrongFiles(const std::map<std::string, std::string>& stored, bool allNeeded) {
    const auto expected = ExpectedBackupFiles();
    std::vector<std::string> wrong;
    for (const auto& [name, bytes] : stored) {
        if (name.back() == '/' || name.ends_with("/drvbck.pdb"))
            continue;
        auto want = expected.find(name);
        if (want == expected.end() || want->second != bytes)
            wrong.push_back(name);
    }
    for (const auto& [name, bytes] : expected) {
        if (allNeeded && stored.count(name) == 0)
            wrong.push_back(name + " (missing)");
    }
    return wrong;
}

TEST(BackupRunFaults, EachFailedWriteOfAZipRunEndsNormallyAndKeepsWholeFiles) {
    std::uint64_t calls = WritesOfACleanRun("BckZip");
    ASSERT_GT(calls, 4u);
    for (std::uint64_t k = 1; k <= calls; ++k) {
        SCOPED_TRACE("failed write " + std::to_string(k) + " of " + std::to_string(calls));
        // The window's run ends as usual whatever failed.
        {
            BackupMachine m;
            m.SetOption("BckZip");
            TabRun tab(m);
            m.machine.Image().Files().FailWriteCall(k);
            tab.Press();
            EXPECT_EQ(tab.Messages(), std::vector<std::string>{"Driver backup finished successfully."});
            EXPECT_EQ(tab.main.Tag("CmdBackup"), "start backup");
            EXPECT_FALSE(tab.page.Running());
        }

        // The core's account of the same run, and what the archive holds afterwards.
        BackupMachine m;
        m.SetOption("BckZip");
        m.machine.Image().Files().FailWriteCall(k);
        BackupSummary summary = m.Run(m.Items());
        EXPECT_EQ(m.observer.progress.back(), 100);
        std::string error;
        auto stored = m.ZipContents(kZip, &error);
        if (!error.empty()) {
            // An archive the run could not finish is not left behind half written.
            EXPECT_GT(summary.packageErrors, 0) << error;
            EXPECT_FALSE(m.machine.Ports().fs.Exists(kZip)) << error;
            continue;
        }
        EXPECT_EQ(WrongFiles(stored, false), std::vector<std::string>{});
        ZipReader reader(m.machine.Ports().fs);
        ASSERT_TRUE(reader.Open(kZip));
        EXPECT_TRUE(reader.Test("").ok);

        // A readable archive takes the next run's drivers on a sound disk.
        m.machine.Image().Files().ClearFaults();
        BackupSummary again = m.Run(m.Items());
        EXPECT_EQ(again.packageErrors, 0);
        EXPECT_EQ(WrongFiles(m.ZipContents(kZip, &error), true), std::vector<std::string>{});
        EXPECT_EQ(error, "");
    }
}

TEST(BackupRunFaults, EachFailedWriteOfAFolderRunLeavesOnlyWholeFiles) {
    std::uint64_t calls = WritesOfACleanRun("BckFolder");
    ASSERT_GE(calls, 2u); // the information files; copies are not write calls
    const auto expected = ExpectedBackupFiles();
    for (std::uint64_t k = 1; k <= calls; ++k) {
        SCOPED_TRACE("failed write " + std::to_string(k) + " of " + std::to_string(calls));
        BackupMachine m;
        m.SetOption("BckFolder");
        TabRun tab(m);
        m.machine.Image().Files().FailWriteCall(k);
        tab.Press();
        EXPECT_EQ(tab.Messages(), std::vector<std::string>{"Driver backup finished successfully."});

        for (const char* folder : {kAcmeFolder, "Birch Audio"}) {
            for (const auto& [name, bytes] : m.Contents(BackupFolder(folder))) {
                if (name == "drvbck.pdb")
                    EXPECT_TRUE(IsValidBackupInfo(m.machine.Ports(), BackupFolder(folder) + "\\drvbck.pdb"));
                else
                    EXPECT_EQ(bytes, expected.at(std::string(folder) + "/" + name)) << name;
            }
        }
        // One failed write costs at most one file or one information file.
        std::size_t copied =
            m.Contents(BackupFolder(kAcmeFolder)).size() + m.Contents(BackupFolder("Birch Audio")).size();
        EXPECT_GE(copied + 1, expected.size() + 2);
    }
}

TEST(BackupRunFaults, FullDiskIsReportedAndALaterRunOnASoundDiskCompletes) {
    for (std::uint64_t room : {0u, 100u, 4000u, 9000u}) {
        SCOPED_TRACE("room " + std::to_string(room));
        BackupMachine m;
        m.SetOption("BckZip");
        m.machine.Image().Files().SetDiskFullAfter(room);
        BackupSummary full = m.Run(m.Items());
        EXPECT_FALSE(full.stopped);
        EXPECT_EQ(m.observer.progress.back(), 100);
        EXPECT_GT(full.filesFailed.size() + static_cast<std::size_t>(full.packageErrors), 0u);

        // The full disk leaves a readable archive or none, so the next run can go on.
        m.machine.Image().Files().ClearFaults();
        std::string error;
        m.ZipContents(kZip, &error);
        EXPECT_TRUE(error.empty() || !m.machine.Ports().fs.Exists(kZip)) << error;
        BackupSummary again = m.Run(m.Items());
        EXPECT_EQ(again.packageErrors, 0);
        EXPECT_TRUE(again.filesFailed.empty());
        error.clear();
        EXPECT_EQ(WrongFiles(m.ZipContents(kZip, &error), true), std::vector<std::string>{});
        EXPECT_EQ(error, "");
    }
}

TEST(BackupRunFaults, AFullDiskNeverCostsWhatAnEarlierRunArchived) {
    for (std::uint64_t room : {0u, 100u, 4000u, 20000u}) {
        SCOPED_TRACE("room " + std::to_string(room));
        BackupMachine m;
        m.SetOption("BckZip");
        ASSERT_EQ(m.Run(m.Items()).packageErrors, 0);
        m.machine.Image().Files().SetDiskFullAfter(room);
        m.Run(m.Items());
        m.machine.Image().Files().ClearFaults();
        std::string error;
        EXPECT_EQ(WrongFiles(m.ZipContents(kZip, &error), true), std::vector<std::string>{});
        EXPECT_EQ(error, "");
    }
}

} // namespace
} // namespace vantrel
