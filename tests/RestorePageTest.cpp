// The Restore tab over a scripted window and scripted answers.
#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "RestoreFixture.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "restore/RestorePage.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kNetDesc[] = "Net card";

class RestoreTab : public ::testing::Test {
protected:
    explicit RestoreTab(const MachineFacts& facts = MachineFacts()) : m(facts) {
        main.AddPart(page);
        m.Add({kNetDesc, "Acme", "net", "PCI\\VEN_1"});
        m.Add({"Disk", "(Standard disk drives)", "diskdrive", "IDE\\DISK"});
        m.machine.Image().Resources().items[kResDrvInstall64] = "installer";
    }
    void SetBackupPath(const std::string& path) {
        SettingsStore(m.machine.Ports().registry).WriteSetting(kSetBackupPath, path);
    }
    std::string Setting(const char* name) {
        return SettingsStore(m.machine.Ports().registry).ReadSettingOr(name, "<missing>");
    }
    // Lists the backup root through the detected-path question.
    void ListBackups() {
        SetBackupPath(kBackupRoot);
        dialogs.answers = {MsgAnswer::Yes};
        main.HandleCommand("MnuRstFolder");
        dialogs.messages.clear();
    }
    std::vector<std::string> Descriptions() {
        std::vector<std::string> out;
        for (const auto& row : view.lists["LvwRestore"].rows)
            out.push_back(row.cells.at(0));
        return out;
    }
    int RowOf(const std::string& desc) {
        auto names = Descriptions();
        return static_cast<int>(std::find(names.begin(), names.end(), desc) - names.begin());
    }
    std::string Log() { return view.GetText("TxtRestore"); }

    RestoreMachine m;
    FakeView view;
    FakeDialogs dialogs;
    MainPage main{m.app, view, dialogs};
    RestorePage page{m.app, view, dialogs, main};
};

TEST_F(RestoreTab, DetectedFolderIsOfferedAndNoChoosesAnother) {
    SetBackupPath(kBackupRoot);
    dialogs.answers = {MsgAnswer::No};
    dialogs.folders = {std::string(kBackupRoot) + "\\" + kNetDesc + "\\"};
    main.HandleCommand("MnuRstFolder");
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, std::string("Vantrel detects that drivers backup was saved in '") +
                                            kBackupRoot +
                                            "'. If not, please click No button and select other directory.");
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::YesNo);
    EXPECT_EQ(dialogs.prompts,
              std::vector<std::string>{
                  "Please select the directory where you saved backup of your device drivers:"});
    // A single driver's folder lists that one driver.
    EXPECT_EQ(Descriptions(), std::vector<std::string>{kNetDesc});
    EXPECT_EQ(view.tabs["TabMain"], 1);

    // Cancelling the browser keeps the list as it was.
    dialogs.answers = {MsgAnswer::No};
    main.HandleCommand("MnuRstFolder");
    EXPECT_EQ(Descriptions(), std::vector<std::string>{kNetDesc});
}

TEST_F(RestoreTab, BothViewsOfTheCatalogue) {
    ListBackups();
    ASSERT_EQ(view.lists["LvwRestore"].rows.size(), 2u);
    const ListRow& net = view.lists["LvwRestore"].rows[static_cast<std::size_t>(RowOf(kNetDesc))];
    EXPECT_EQ(net.cells, (std::vector<std::string>{kNetDesc, "net", "1.2.3.4", "2024-05-06", "Acme"}));
    EXPECT_TRUE(net.red);
    EXPECT_FALSE(view.lists["LvwRestore"].rows[static_cast<std::size_t>(RowOf("Disk"))].red);
    EXPECT_EQ(Log().rfind("The above is all the device drivers you have backed up, the red ones", 0), 0u);

    main.HandleCommand(kMnuRstNeeded);
    EXPECT_EQ(Descriptions(), std::vector<std::string>{kNetDesc});
    EXPECT_FALSE(view.lists["LvwRestore"].rows[0].red);
    EXPECT_TRUE(view.IsMenuChecked(kMnuRstNeeded));
    EXPECT_EQ(
        Log(),
        "The above is all the Non-Microsoft device drivers you have backed up. Please select those you "
        "want to restore and click the Start Restoration button.\r\nTo show all device drivers you have "
        "backed up, please click Restore/Show All Backed-Up Drivers in the toolbar.");

    main.HandleCommand(kMnuRstNeeded);
    EXPECT_EQ(view.lists["LvwRestore"].rows.size(), 2u);
    EXPECT_FALSE(view.IsMenuChecked(kMnuRstNeeded));
}

TEST_F(RestoreTab, DetailsSelectAllAndSorting) {
    ListBackups();
    main.OnRowClick("LvwRestore", RowOf(kNetDesc));
    EXPECT_EQ(
        Log().substr(0, Log().find("\r\n")),
        "Driver files of this device are not contained in Microsoft Windows operating system, so you should "
        "restore them from the backup.");
    EXPECT_NE(Log().find("\r\nDevice ID: PCI\\VEN_1\r\nBackup Time: "), std::string::npos);
    EXPECT_EQ(Log().substr(Log().rfind("\r\n")), "\r\nDriver Files Number: 2");
    main.OnRowClick("LvwRestore", RowOf("Disk"));
    EXPECT_EQ(Log().rfind("Driver files of this device are contained in Microsoft Windows", 0), 0u);

    main.HandleCommand("CmdSelectAllRestore");
    EXPECT_TRUE(view.lists["LvwRestore"].rows[0].checked && view.lists["LvwRestore"].rows[1].checked);
    EXPECT_EQ(view.GetCaption("CmdSelectAllRestore"), "Select &None");
    main.HandleCommand("CmdSelectAllRestore");
    EXPECT_FALSE(view.lists["LvwRestore"].rows[0].checked || view.lists["LvwRestore"].rows[1].checked);
    EXPECT_EQ(main.Tag("CmdSelectAllRestore"), "select all");

    main.OnColumnClick("LvwRestore", 0);
    EXPECT_EQ(Descriptions(), (std::vector<std::string>{"Disk", kNetDesc}));
    main.OnColumnClick("LvwRestore", 0);
    EXPECT_EQ(Descriptions(), (std::vector<std::string>{kNetDesc, "Disk"}));
    EXPECT_FALSE(view.lists["LvwRestore"].sortAscending);
}

TEST_F(RestoreTab, ArchiveWithoutABackupIsAWrongFile) {
    WriteWholeFile(m.Fs(), "C:\\Backup\\notes.zip", "not an archive at all");
    dialogs.files = {"C:\\Backup\\notes.zip"};
    main.HandleCommand("MnuRstZip");
    ASSERT_EQ(dialogs.prompts, std::vector<std::string>{"Select Compressed Driver Backup File"});
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "This is a wrong driver backup file, please select the right one.");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_TRUE(Descriptions().empty());

    dialogs.messages.clear();
    main.HandleCommand("MnuRstSfx"); // cancelled
    EXPECT_EQ(dialogs.prompts.back(), "Select Driver Backup Self-Extractor");
    EXPECT_TRUE(dialogs.messages.empty());
}

TEST_F(RestoreTab, RunAsksFirstAndEndsWithTheRebootQuestion) {
    ListBackups();
    main.HandleCommand("CmdRestore");
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "Please select the device drivers you want to restore at first");

    main.HandleCommand("CmdSelectAllRestore");
    dialogs.answers = {MsgAnswer::Cancel};
    main.HandleCommand("CmdRestore");
    EXPECT_TRUE(m.Processes().calls.empty());
    EXPECT_EQ(Setting(kSetRestoreReboot), "<missing>");

    dialogs.messages.clear();
    dialogs.answers = {MsgAnswer::Ok, MsgAnswer::Yes};
    main.HandleCommand("CmdRestore");
    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(dialogs.messages[1].text, "Driver restoration finished and system settings changed, you should "
                                        "reboot your machine. Do you want to reboot it now?");
    EXPECT_EQ(m.Processes().exitFlags, std::vector<unsigned>{kEwxReboot | kEwxForce});
    EXPECT_EQ(Setting(kSetRestoreAlert), "1");
    EXPECT_EQ(Setting(kSetRestoreReboot), "0");
    // Only the vendor driver runs: once to install, once to verify.
    EXPECT_EQ(m.Processes().calls.size(), 2u);
    EXPECT_EQ(view.progress["pgbarRestore"].first, 100);
    EXPECT_EQ(view.GetCaption("lblpgRestore"), "100% Completed");
    // The image has no such device, so the result says it did not take.
    EXPECT_NE(Log().find("\r\n\r\nDrivers installed: 0 / 1\r\n 'Net card': not installed ("),
              std::string::npos)
        << Log();
}

TEST_F(RestoreTab, RebootSettingRestartsWithoutAsking) {
    SettingsStore(m.machine.Ports().registry).WriteSetting(kSetRestoreReboot, "1");
    ListBackups();
    main.HandleCommand("CmdSelectAllRestore");
    dialogs.answers = {MsgAnswer::Ok};
    main.HandleCommand("CmdRestore");
    EXPECT_EQ(dialogs.messages.size(), 1u); // the confirmation only
    EXPECT_EQ(m.Processes().exitFlags, std::vector<unsigned>{kEwxReboot | kEwxForce});
}

// After a run the Select All caption comes from a section no language file has, on NT only.
class RestoreTabLanguage : public RestoreTab, public ::testing::WithParamInterface<bool> {
protected:
    RestoreTabLanguage() : RestoreTab(Facts(GetParam())) {
        m.machine.ProgramFile("Language/German.ini", "[FormMain]\r\nCmdSelectAll=Alle &ausw\xC3\xA4hlen\r\n");
        m.app.languageFile = m.app.appPath + "Language\\German.ini";
    }
    static MachineFacts Facts(bool nt) {
        MachineFacts facts;
        if (!nt) {
            facts.version.major = 4;
            facts.version.minor = 90;
            facts.version.platform = kPlatformWin9x;
            facts.arch = "x86";
            CompleteMachineFacts(&facts);
        }
        return facts;
    }
};

TEST_P(RestoreTabLanguage, SelectAllCaptionAfterTheRun) {
    bool nt = GetParam();
    ListBackups();
    main.HandleCommand("CmdSelectAllRestore");
    dialogs.answers = {MsgAnswer::Ok, MsgAnswer::Ok, MsgAnswer::No};
    main.HandleCommand("CmdRestore");
    EXPECT_EQ(view.GetCaption("CmdSelectAllRestore"), nt ? "Select &All" : "Alle &ausw\xC3\xA4hlen");
    if (!nt) {
        ASSERT_GE(dialogs.messages.size(), 2u);
        EXPECT_EQ(dialogs.messages[1].title, "Attention in Windows 98/Me");
        EXPECT_EQ(dialogs.messages[1].text.rfind("There is someting you should know", 0), 0u);
    }
    EXPECT_TRUE(m.Processes().exitFlags.empty());
}

INSTANTIATE_TEST_SUITE_P(NtAnd98, RestoreTabLanguage, ::testing::Bool());

} // namespace
} // namespace vantrel
