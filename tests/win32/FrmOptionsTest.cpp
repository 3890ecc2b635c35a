// The options and About dialogs opened from the main window's menu: centred over it, their
// controls showing the settings, and OK, Cancel and Esc as the settings see them afterwards.
#include <gtest/gtest.h>

#include <optional>

#include "DialogTestSupport.h"
#include "FakeDialogs.h"
#include "FrmAbout.h"
#include "FrmMain.h"
#include "FrmOptions.h"
#include "app/AboutPage.h"
#include "app/App.h"
#include "app/Settings.h"
#include "resource.h"

namespace vantrel {
namespace {

const char* const kOptionSettings[] = {kSetBackupOption, kSetRestorationOption, kSetCompressionLevel,
                                       kSetRestoreAlert, kSetRestoreReboot};

class Win32FrmOptionsAndAbout : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : kOptionSettings)
            saved.push_back(settings.ReadSetting(name, kOptionBufferChars));
        window.SetQuitOnClose(false);
        window.Page().AddPart(options);
        window.Page().AddPart(help);
        ASSERT_TRUE(window.Create());
        window.Show(SW_SHOWNORMAL);
    }
    void TearDown() override {
        for (std::size_t i = 0; i < saved.size(); ++i) {
            if (saved[i]) {
                settings.WriteSetting(kOptionSettings[i], *saved[i]);
                continue;
            }
            RegKey key(platform->Ports().registry);
            if (key.Open(kHkeyCurrentUser, kSettingsKey) == kErrorSuccess)
                platform->Ports().registry.DeleteValue(key.Handle(), kOptionSettings[i]);
        }
    }

    std::string Stored() {
        std::string values;
        for (const char* name : kOptionSettings)
            values += settings.ReadSettingOr(name, "?") + ";";
        return values;
    }
    bool Checked(FormWindow& dialog, const char* control) {
        return SendMessageA(dialog.Control(control), BM_GETCHECK, 0, 0) == BST_CHECKED;
    }
    bool Menu(UINT id, std::function<FormWindow*()> open, std::function<void(FormWindow&)> step) {
        return test::RunDialog([&] { SendMessageA(window.Handle(), WM_COMMAND, MAKEWPARAM(id, 0), 0); },
                               std::move(open), std::move(step));
    }

    std::unique_ptr<PlatformSet> platform = CreateWin32Platform();
    SettingsStore settings{platform->Ports().registry};
    std::vector<std::optional<std::string>> saved;
    App app{platform->Ports()};
    test::FakeDialogs dialogs;
    FrmMain window{app, &dialogs};
    OptionsCommand options{app, window};
    HelpCommands help{app, window, window.Page()};
};

TEST_F(Win32FrmOptionsAndAbout, OptionsShowTheSettingsAndOnlyOkWritesTheChanges) {
    struct Case {
        const char* close; // the button, or null for Esc
        const char* stored;
    };
    const Case cases[] = {
        {"CmdOK", "BckFolder;RstSfx;Low;0;0;"},
        {"CmdCancel", "BckZip;RstSfx;Low;1;0;"},
        {nullptr, "BckZip;RstSfx;Low;1;0;"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.close ? c.close : "Esc");
        const char* before[] = {"BckZip", "RstSfx", "Low", "1", "0"};
        for (std::size_t i = 0; i < std::size(before); ++i)
            settings.WriteSetting(kOptionSettings[i], before[i]);
        std::string caption, tabs, shown;
        bool centred = false, zip = false, sfx = false, alert = false, levelOn = false, levelOff = true;
        int level = -1;
        bool closed = Menu(
            IDM_MNUOPTIONS, [this] { return options.OpenDialog(); },
            [&](FormWindow& form) {
                auto& dialog = static_cast<FrmOptions&>(form);
                if (!caption.empty())
                    return;
                caption = WindowText(dialog.Handle());
                centred = test::CentredOn(dialog.Handle(), window.Handle());
                tabs = dialog.GetCaption("TabControlPage1") + "|" + dialog.GetCaption("TabControlPage2");
                zip = Checked(dialog, "OptBckZip");
                sfx = Checked(dialog, "OptRstSfx");
                alert = Checked(dialog, "ChkAlert");
                level = dialog.GetComboSelection("CboLevel");
                levelOn = IsWindowEnabled(dialog.Control("CboLevel"));
                test::Click(dialog, "OptBckFolder"); // folders are not compressed
                levelOff = IsWindowEnabled(dialog.Control("CboLevel"));
                dialog.SelectTab("TabOption", 1);
                shown = std::string(IsWindowVisible(dialog.Control("ChkAlert")) ? "alert" : "") +
                        (IsWindowVisible(dialog.Control("OptBckZip")) ? "zip" : "");
                test::Click(dialog, "ChkAlert");
                if (c.close)
                    test::Click(dialog, c.close);
                else
                    test::PressEsc(dialog);
            });
        ASSERT_TRUE(closed);
        EXPECT_EQ(caption, "Options");
        EXPECT_TRUE(centred);
        EXPECT_EQ(tabs, "Driver Backup|Driver Restoration");
        EXPECT_TRUE(zip && sfx && alert);
        EXPECT_EQ(level, 1);
        EXPECT_TRUE(levelOn);
        EXPECT_FALSE(levelOff);
        EXPECT_EQ(shown, "alert");
        EXPECT_EQ(Stored(), c.stored);
        EXPECT_TRUE(IsWindowEnabled(window.Handle()));
        EXPECT_EQ(options.OpenDialog(), nullptr);
    }
}

TEST_F(Win32FrmOptionsAndAbout, AboutShowsProductAndAddressesAndOkCloses) {
    std::string caption, product, mail, site;
    bool centred = false;
    bool closed = Menu(
        IDM_MNUABOUT, [this] { return help.OpenDialog(); },
        [&](FormWindow& dialog) {
            caption = WindowText(dialog.Handle());
            centred = test::CentredOn(dialog.Handle(), window.Handle());
            product = dialog.GetCaption("LblProduct");
            mail = dialog.GetCaption("LblEmail");
            site = dialog.GetCaption("LblSite");
            test::Click(dialog, "cmdOK");
        });
    ASSERT_TRUE(closed);
    EXPECT_EQ(caption, "About");
    EXPECT_TRUE(centred);
    EXPECT_EQ(product, ProductVersionLine());
    EXPECT_EQ(mail, "Support Email: " + SupportMailAddress());
    EXPECT_EQ(site, "Website: " + HomepageAddress());
    EXPECT_TRUE(IsWindowEnabled(window.Handle()));
}

} // namespace
} // namespace vantrel
