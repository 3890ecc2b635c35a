// The LiveUpdate wizard opened from the main window's menu and from the start-up reminder,
// searching a real server on 127.0.0.1; what it shows is read back from its controls.
#include <gtest/gtest.h>

#include <optional>

#include "DialogTestSupport.h"
#include "FakeDialogs.h"
#include "FrmLiveUpdate.h"
#include "FrmMain.h"
#include "HttpTestServer.h"
#include "Win32TestSupport.h"
#include "app/App.h"
#include "app/Settings.h"
#include "platform/FileSystem.h"
#include "platform/Registry.h"
#include "resource.h"
#include "updates/UpdateDatabase.h"

namespace vantrel {
namespace {

constexpr char kInstalledDate[] = "20240105";

std::string DriverDbText(const std::string& date) {
    return date + "\r\nPCI\\VEN_8086&DEV_1234:000001A000001A\r\n";
}

// yyyymmdd of the local date so many days ago.
std::string DaysAgo(int days) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    FILETIME file;
    SystemTimeToFileTime(&now, &file);
    ULARGE_INTEGER ticks{{file.dwLowDateTime, file.dwHighDateTime}};
    ticks.QuadPart -= static_cast<ULONGLONG>(days) * 24 * 3600 * 10000000ULL;
    file = {ticks.LowPart, ticks.HighPart};
    SYSTEMTIME then;
    FileTimeToSystemTime(&file, &then);
    char text[16];
    snprintf(text, sizeof(text), "%04u%02u%02u", then.wYear, then.wMonth, then.wDay);
    return text;
}

class Win32FrmLiveUpdate : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.Running());
        savedServer = settings.ReadSetting(kSetUpdateServer, kPathBufferChars);
        settings.WriteSetting(kSetUpdateServer, server.Url());
        dialogApp.appPath = folder.Path() + "\\";
        InstallDriverDb(kInstalledDate);
        ASSERT_TRUE(WriteWholeFile(Fs(), folder / "pcidevs.txt", "20240101=pci.ids\r\n8086=Intel\r\n"));
        window.SetQuitOnClose(false);
        window.Page().AddPart(command);
        ASSERT_TRUE(window.Create());
        window.Show(SW_SHOWNORMAL);
    }
    void TearDown() override {
        if (savedServer) {
            settings.WriteSetting(kSetUpdateServer, *savedServer);
            return;
        }
        RegKey key(platform->Ports().registry);
        if (key.Open(kHkeyCurrentUser, kSettingsKey) == kErrorSuccess)
            platform->Ports().registry.DeleteValue(key.Handle(), kSetUpdateServer);
    }

    FileSystem& Fs() { return platform->Ports().fs; }
    void InstallDriverDb(const std::string& date) {
        std::string error;
        ASSERT_TRUE(WriteUpdateDatabase(Fs(), folder / "DriverDB.dat", DriverDbText(date), &error)) << error;
    }
    bool Open(const std::function<void()>& open, std::function<void(FrmLiveUpdate&)> step) {
        return test::RunDialog(
            open, [this] { return command.OpenDialog(); },
            [&](FormWindow& dialog) { step(static_cast<FrmLiveUpdate&>(dialog)); });
    }
    bool Shown(FrmLiveUpdate& dialog, const char* control) {
        return IsWindowVisible(dialog.Control(control)) != FALSE;
    }
    std::string Enabled(FrmLiveUpdate& dialog) {
        std::string buttons;
        for (const char* name : {"CmdBack", "CmdNext", "CmdCancel"})
            buttons += IsWindowEnabled(dialog.Control(name)) ? '1' : '0';
        return buttons;
    }

    test::HttpTestServer server;
    std::unique_ptr<PlatformSet> platform = CreateWin32Platform();
    SettingsStore settings{platform->Ports().registry};
    std::optional<std::string> savedServer;
    App app{platform->Ports()};
    App dialogApp{platform->Ports()};
    test::ScratchFolder folder{platform->Ports().fs};
    test::FakeDialogs dialogs, wizardDialogs;
    FrmMain window{app, &dialogs};
    LiveUpdateCommand command{dialogApp, window, dialogs, &wizardDialogs};
};

TEST_F(Win32FrmLiveUpdate, MenuOpensTheWizardCentredAndItsButtonsWalkThePages) {
    // Only the driver database is newer on the server.
    server.Put("update11/update.txt", "[update]\r\nUnKnownDBDate=20240101\r\nUnknownDBSize=10\r\n"
                                      "DriverDBDate=20990101\r\nDriverDBSize=4321\r\n");
    struct Seen {
        std::string caption, welcome, buttons, label2, next;
        bool centred = false, ownerDisabled = false, listShown = false;
        std::vector<ListRow> rows;
    } welcome, search, back;
    int phase = 0;
    bool closed =
        Open([&] { SendMessageA(window.Handle(), WM_COMMAND, MAKEWPARAM(IDM_MNULIVEUPDATE, 0), 0); },
             [&](FrmLiveUpdate& dialog) {
                 auto see = [&](Seen& seen) {
                     seen.caption = WindowText(dialog.Handle());
                     seen.welcome = Shown(dialog, "LblWelcome") ? dialog.GetCaption("LblWelcome") : "";
                     seen.buttons = Enabled(dialog);
                     seen.label2 = dialog.GetCaption("Label2");
                     seen.next = dialog.GetCaption("CmdNext");
                     seen.centred = test::CentredOn(dialog.Handle(), window.Handle());
                     seen.ownerDisabled = !IsWindowEnabled(window.Handle());
                     seen.listShown = Shown(dialog, "Lvw");
                     for (int i = 0; i < dialog.RowCount("Lvw"); ++i)
                         seen.rows.push_back(dialog.GetRow("Lvw", i));
                 };
                 switch (phase++) {
                 case 0:
                     see(welcome);
                     test::Click(dialog, "CmdNext"); // the search runs inside the click
                     see(search);
                     test::Click(dialog, "CmdBack");
                     see(back);
                     test::PressEsc(dialog);
                     break;
                 default:
                     break;
                 }
             });
    ASSERT_TRUE(closed) << "the wizard did not close on Esc";
    EXPECT_EQ(welcome.caption, "Database LiveUpdate");
    EXPECT_TRUE(welcome.centred);
    EXPECT_TRUE(welcome.ownerDisabled);
    EXPECT_EQ(welcome.welcome, "Welcome to LiveUpdate of Vantrel. The following components are installed on "
                               "your computer:\r\nDevice Identifier Database\r\nDrivers Update Database");
    EXPECT_FALSE(welcome.listShown);
    EXPECT_EQ(welcome.buttons, "011");
    EXPECT_EQ(welcome.next, "&Next >");

    EXPECT_EQ(search.welcome, "");
    EXPECT_TRUE(search.listShown);
    ASSERT_EQ(search.rows.size(), 1u);
    EXPECT_EQ(search.rows[0].cells, (std::vector<std::string>{"Drivers Update Database", "4321 bytes"}));
    EXPECT_EQ(search.label2,
              "There is one update for your computer, please click Next to download and install it.");
    EXPECT_EQ(search.buttons, "111");

    EXPECT_FALSE(back.welcome.empty());
    EXPECT_EQ(back.buttons, "011");
    EXPECT_TRUE(IsWindowEnabled(window.Handle()));
    EXPECT_EQ(command.OpenDialog(), nullptr);
    EXPECT_TRUE(wizardDialogs.messages.empty());
    std::string text, error;
    ASSERT_TRUE(ReadUpdateDatabase(Fs(), folder / "DriverDB.dat", &text, &error)) << error;
    EXPECT_EQ(text, DriverDbText(kInstalledDate)); // nothing was downloaded
}

TEST_F(Win32FrmLiveUpdate, StartupReminderOpensTheWizardOnlyWhenTheUserAgrees) {
    InstallDriverDb(DaysAgo(20));
    for (MsgAnswer answer : {MsgAnswer::No, MsgAnswer::Yes}) {
        dialogs.messages.clear();
        dialogs.answers = {answer};
        bool opened = false, centred = false;
        bool closed = Open([&] { command.RemindIfOld(); },
                           [&](FrmLiveUpdate& dialog) {
                               opened = true;
                               centred = test::CentredOn(dialog.Handle(), window.Handle());
                               test::PressEsc(dialog);
                           });
        ASSERT_TRUE(closed);
        ASSERT_EQ(dialogs.messages.size(), 1u);
        EXPECT_EQ(dialogs.messages[0].text,
                  "Drivers Update database hasn't been updated for more than 15 days, "
                  "do you want to update it now?");
        EXPECT_EQ(opened, answer == MsgAnswer::Yes);
        EXPECT_EQ(centred, answer == MsgAnswer::Yes);
    }
}

} // namespace
} // namespace vantrel
