// The Backup tab's start/stop button over a scripted window and scripted answers.
#include <gtest/gtest.h>

#include "BackupRunFixture.h"
#include "FakeDialogs.h"
#include "FakeView.h"
#include "app/MainPage.h"
#include "backup/BackupRunPage.h"

namespace vantrel {
namespace {

using namespace test;

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
    std::vector<std::string> Messages() {
        std::vector<std::string> texts;
        for (const auto& message : dialogs.messages)
            texts.push_back(message.text);
        return texts;
    }
    std::string Message(std::size_t i) { return i < dialogs.messages.size() ? dialogs.messages[i].text : ""; }
    void ExpectIdle() {
        EXPECT_FALSE(runPage.Running());
        EXPECT_EQ(main.Tag("CmdBackup"), "start backup");
        EXPECT_EQ(view.GetCaption("CmdBackup"), "&Start Backup");
        EXPECT_TRUE(view.controls.at("CmdSelectAll").enabled);
        EXPECT_EQ(main.Tag("CmdSelectAll"), "select all");
        EXPECT_EQ(view.GetCaption("CmdSelectAll"), "Select &All");
        EXPECT_EQ(view.progress.at("pgbar").first, 0);
    }

    BackupMachine m;
    FakeView view;
    FakeDialogs dialogs;
    MainPage main{m.app, view, dialogs};
    BackupRunPage runPage{m.app, view, dialogs, main, m.inventory};
    BackupListPage listPage{m.app, view, main, m.inventory};
};

TEST_F(BackupRunTab, NothingCheckedAsksForASelectionFirst) {
    runPage.OnBackupClick();
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(Message(0), "Please select the device drivers you want to back up at first.");
    EXPECT_EQ(dialogs.messages[0].title, "Vantrel");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_TRUE(dialogs.prompts.empty());
}

TEST_F(BackupRunTab, EmptyListIsSilent) {
    view.ClearRows("Lvw");
    runPage.OnBackupClick();
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_TRUE(dialogs.prompts.empty());
}

TEST_F(BackupRunTab, CancelledBrowserWritesNothing) {
    CheckAll();
    SettingsStore settings(m.machine.Ports().registry);
    auto pathBefore = settings.ReadSetting(kSetBackupPath, kPathBufferChars);
    settings.CloseSettingsKey();
    runPage.OnBackupClick();
    ASSERT_EQ(dialogs.prompts.size(), 1u);
    EXPECT_EQ(dialogs.prompts[0], "Please select the directory where you want to save driver backup:");
    EXPECT_EQ(m.Contents(kRootPath).size(), 0u);
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(settings.ReadSetting(kSetBackupPath, kPathBufferChars), pathBefore);
    EXPECT_FALSE(runPage.Running());
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
    EXPECT_EQ(Messages(), std::vector<std::string>{"Driver backup finished successfully."});
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Information);
    EXPECT_EQ(view.selectedRows, std::vector<int>{1});
    std::string log = view.GetText("TxtBackup");
    EXPECT_EQ(log.find("Backing up drivers of '" + chosen + "'"), 0u);
    EXPECT_TRUE(log.ends_with("Driver files have been backed up to " + root + " successfully."));
    ExpectIdle();
}

TEST_F(BackupRunTab, ChosenFolderLosesOneTrailingBackslashAndZipTargetIsNamed) {
    m.SetOption("BckZip");
    CheckAll();
    dialogs.folders.push_back("  D:\\Backups\\  ");
    std::vector<std::string> bars;
    view.onPump = [&] { bars.push_back(view.GetCaption("lblpg")); };
    runPage.OnBackupClick();
    // The final line stays; after it, each driver whose folder lacks a file its INF installs.
    EXPECT_TRUE(
        view.GetText("TxtBackup")
            .ends_with("Driver files have been backed up to D:\\Backups\\Drivers Backup\\MyDrivers.zip "
                       "successfully.\r\n'Acme: Net/Adapter <2.5G>': incomplete backup, missing "
                       "acmegone.sys"));
    EXPECT_EQ(m.ZipContents(BackupFolder("MyDrivers.zip")).size(), 10u);
    EXPECT_EQ(view.selectedRows, (std::vector<int>{0, 1}));
    ASSERT_FALSE(bars.empty());
    EXPECT_EQ(bars.front(), "0% Completed");
    ExpectIdle();
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
            // The tab's other commands are held back while the run goes on.
            std::string log = view.GetText("TxtBackup");
            EXPECT_TRUE(main.OnRowClick("Lvw", 0));
            EXPECT_TRUE(main.HandleCommand("CmdSelectAll"));
            EXPECT_TRUE(main.HandleCommand("CmdBackupDrivers"));
            EXPECT_EQ(view.GetText("TxtBackup"), log);
            EXPECT_EQ(view.RowCount("Lvw"), 2);
            EXPECT_TRUE(view.GetRow("Lvw", 1).checked);
            runPage.OnBackupClick();
        }
    };
    runPage.OnBackupClick();
    ASSERT_TRUE(clicked);
    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(Message(0), "Do you really want to stop backup process?");
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Question);
    EXPECT_EQ(Message(1), "Driver backup process was stopped.");
    EXPECT_EQ(dialogs.messages[1].icon, MsgIcon::Information);
    EXPECT_EQ(view.GetText("TxtBackup"), "Driver backup process was stopped by the user.");
    ExpectIdle();
    // The driver whose copy was under way keeps what it had; the next one was never begun.
    EXPECT_EQ(m.Read(BackupFolder(kAcmeFolder) + "\\oem1.inf"), kAcmeInf);
    EXPECT_FALSE(m.Exists(BackupFolder("Birch Audio")));
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
            EXPECT_EQ(view.GetCaption("CmdBackup"), "&Stop Backup");
        }
    };
    runPage.OnBackupClick();
    EXPECT_EQ(Messages(), (std::vector<std::string>{"Do you really want to stop backup process?",
                                                    "Driver backup finished successfully."}));
    EXPECT_EQ(m.Read(BackupFolder("Birch Audio") + "\\birch.sys"), std::string(5000, 'B'));
}

TEST_F(BackupRunTab, ClosingTheWindowDuringARunAsksToStopAndWaits) {
    CheckAll();
    dialogs.folders.push_back("D:\\Backups");
    std::vector<bool> closeAnswers;
    bool asked = false;
    view.onPump = [&] {
        if (!asked && runPage.Running()) {
            asked = true; // the stop question pumps messages too
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

TEST_F(BackupRunTab, LanguageChangeDuringARunKeepsTheStopCaption) {
    CheckAll();
    dialogs.folders.push_back("D:\\Backups");
    std::string caption;
    view.onPump = [&] {
        if (caption.empty() && runPage.Running()) {
            main.ApplyLanguage("English");
            caption = view.GetCaption("CmdBackup");
        }
    };
    runPage.OnBackupClick();
    EXPECT_EQ(caption, "&Stop Backup");
    ExpectIdle();
}

} // namespace
} // namespace vantrel
