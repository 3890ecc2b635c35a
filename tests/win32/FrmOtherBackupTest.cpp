// The personal data dialog opened from the main window's menu: its back-up list, and the
// restore page reached through the tab control listing what the chosen folder holds.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

#include "DialogTestSupport.h"
#include "FakeDialogs.h"
#include "FrmMain.h"
#include "FrmOtherBackup.h"
#include "Win32TestSupport.h"
#include "app/App.h"
#include "app/Settings.h"
#include "resource.h"

namespace vantrel {
namespace {

class Win32FrmOtherBackup : public ::testing::Test {
protected:
    void SetUp() override {
        saved = settings.ReadSetting(kSetMoreBackupPath, kPathBufferChars);
        Forget();
        window.SetQuitOnClose(false);
        window.Page().AddPart(command);
        ASSERT_TRUE(window.Create());
        window.Show(SW_SHOWNORMAL);
    }
    void TearDown() override {
        if (saved)
            settings.WriteSetting(kSetMoreBackupPath, *saved);
        else
            Forget();
    }
    void Forget() {
        RegKey key(platform->Ports().registry);
        if (key.Open(kHkeyCurrentUser, kSettingsKey) == kErrorSuccess)
            platform->Ports().registry.DeleteValue(key.Handle(), kSetMoreBackupPath);
    }
    static std::vector<std::string> Rows(FormWindow& dialog, const char* list) {
        std::vector<std::string> rows;
        for (int i = 0; i < dialog.RowCount(list); ++i)
            rows.push_back(dialog.GetRow(list, i).cells[0]);
        return rows;
    }

    std::unique_ptr<PlatformSet> platform = CreateWin32Platform();
    SettingsStore settings{platform->Ports().registry};
    std::optional<std::string> saved;
    App app{platform->Ports()};
    test::ScratchFolder folder{platform->Ports().fs};
    test::FakeDialogs dialogs, dialogDialogs;
    FrmMain window{app, &dialogs};
    OtherBackupCommand command{app, window, &dialogDialogs};
};

TEST_F(Win32FrmOtherBackup, OpensCentredAndTheRestoreTabListsTheFolderBackups) {
    std::ofstream(folder / "document.zip", std::ios::binary) << "PK";
    dialogDialogs.folders = {folder.Path()};
    std::string caption, tabs, start;
    std::vector<std::string> backupRows, restoreRows;
    bool centred = false, restoreShown = false, backupHidden = false;
    bool closed = test::RunDialog(
        [&] { SendMessageA(window.Handle(), WM_COMMAND, MAKEWPARAM(IDM_MNUMOREBACKUP, 0), 0); },
        [this] { return command.OpenDialog(); },
        [&](FormWindow& dialog) {
            caption = WindowText(dialog.Handle());
            centred = test::CentredOn(dialog.Handle(), window.Handle());
            tabs = dialog.GetCaption("TabOtherPage1") + "|" + dialog.GetCaption("TabOtherPage2");
            backupRows = Rows(dialog, "lvwother");
            // The user turns the tab to its restore page.
            HWND tab = dialog.Control("TabOther");
            SendMessageA(tab, TCM_SETCURSEL, 1, 0);
            NMHDR change{tab, IDC_OTHERTAB, static_cast<UINT>(TCN_SELCHANGE)};
            SendMessageA(dialog.Handle(), WM_NOTIFY, IDC_OTHERTAB, reinterpret_cast<LPARAM>(&change));
            restoreRows = Rows(dialog, "LvwOtherRestore");
            restoreShown = IsWindowVisible(dialog.Control("LvwOtherRestore")) != FALSE;
            backupHidden = !IsWindowVisible(dialog.Control("lvwother"));
            start = dialog.GetCaption("cmdstart");
            test::Click(dialog, "cmdexit");
        });
    ASSERT_TRUE(closed);
    EXPECT_EQ(caption, "More Backup and Restoration");
    EXPECT_TRUE(centred);
    EXPECT_EQ(tabs, "Back Up|Restore");
    EXPECT_EQ(backupRows, (std::vector<std::string>{"Internet Explorer Favorites Folder", "Registry",
                                                    "My Documents", "Desktop"}));
    EXPECT_EQ(restoreRows, std::vector<std::string>{"My Documents"});
    EXPECT_TRUE(restoreShown && backupHidden);
    EXPECT_EQ(start, "&Start Restoration");
    EXPECT_EQ(settings.ReadSettingOr(kSetMoreBackupPath, "", kPathBufferChars), folder.Path() + "\\");
    EXPECT_TRUE(IsWindowEnabled(window.Handle()));
    EXPECT_EQ(command.OpenDialog(), nullptr);
}

} // namespace
} // namespace vantrel
