// The Help menu and the About box over a scripted window: which file and address the shell
// opens, which help viewer the window closes, and the About texts.
#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "TestMachine.h"
#include "VantrelVersion.h"
#include "app/AboutPage.h"
#include "app/App.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "platform/image/ImagePorts.h"

namespace vantrel {
namespace {

class HelpAndAbout : public ::testing::Test {
protected:
    HelpAndAbout() {
        app.appPath = "C:\\Program Files\\Vantrel\\";
        main.AddPart(help);
    }
    ImageShell::Call LastCall() {
        auto& calls = machine.Image().Shell().calls;
        return calls.empty() ? ImageShell::Call{} : calls.back();
    }

    test::TestMachine machine;
    App app{machine.Ports()};
    test::FakeView view;
    test::FakeDialogs dialogs;
    MainPage main{app, view, dialogs};
    int aboutShown = 0;
    HelpMenu help{app, view, main, [this] { ++aboutShown; }};
};

TEST_F(HelpAndAbout, HelpFileFollowsTheLanguage) {
    const std::pair<const char*, const char*> cases[] = {
        {"Dutch", "C:\\Program Files\\Vantrel\\DutchHelp.chm"},
        {"English", "C:\\Program Files\\Vantrel\\help.chm"},
        {"German", "C:\\Program Files\\Vantrel\\help.chm"},
        {"dutch", "C:\\Program Files\\Vantrel\\help.chm"},
        {nullptr, "C:\\Program Files\\Vantrel\\help.chm"},
    };
    for (const auto& [language, file] : cases) {
        SettingsStore settings(machine.Ports().registry);
        if (language)
            settings.WriteSetting(kSetLanguage, std::string("  ") + language + std::string(1, '\0'));
        else
            settings.WriteSetting(kSetLanguage, std::string(300, 'D')); // too long to read
        settings.CloseSettingsKey();
        EXPECT_TRUE(main.HandleCommand("MnuHelp"));
        auto call = LastCall();
        EXPECT_EQ(call.file, file) << (language ? language : "unreadable");
        EXPECT_EQ(call.verb, "open");
        EXPECT_EQ(call.folder, "C:\\");
    }
}

TEST_F(HelpAndAbout, HomepageAndAboutFromTheMenu) {
    EXPECT_TRUE(main.HandleCommand("MnuHomepage"));
    EXPECT_EQ(LastCall().file, VANTREL_HOMEPAGE);
    EXPECT_TRUE(main.HandleCommand("MnuAbout"));
    EXPECT_EQ(aboutShown, 1);
}

TEST_F(HelpAndAbout, ClosingClosesOnlyTheViewerThisRunOpened) {
    struct Case {
        const char* what;
        std::uintptr_t before, after; // viewer window before the help was opened, at close
        bool openHelp;
        std::size_t closes;
    };
    const Case cases[] = {
        {"ours", 0, 40, true, 1},
        {"help never opened", 0, 40, false, 0},
        {"one that was open before", 40, 40, true, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::FakeView v;
        MainPage m{app, v, dialogs};
        HelpMenu h{app, v, m, nullptr};
        m.AddPart(h);
        if (c.before)
            v.topWindows[kHelpWindowTitle] = c.before;
        if (c.openHelp)
            m.HandleCommand("MnuHelp");
        v.topWindows[kHelpWindowTitle] = c.after;
        v.onPostClose = [&](std::uintptr_t) { v.topWindows.erase(kHelpWindowTitle); };
        EXPECT_TRUE(m.QueryClose());
        m.Unload();
        EXPECT_EQ(v.closePosts.size(), c.closes);
    }
}

TEST_F(HelpAndAbout, AboutBoxTextsAndLinks) {
    machine.ProgramFile("Language/Test.ini", "[FormAbout]\nStrEmail=Ondersteuning\n");
    app.languageFile = "C:\\Program Files\\Vantrel\\Language\\Test.ini";
    AboutPage about(app, view);
    about.Load();
    EXPECT_EQ(view.controls["LblProduct"].caption, "Vantrel V" VANTREL_VERSION_TEXT);
    EXPECT_EQ(view.controls["LblEmail"].caption, "Ondersteuning: " VANTREL_SUPPORT_MAIL);
    EXPECT_EQ(view.controls["LblSite"].caption, "Website: " VANTREL_HOMEPAGE);
    EXPECT_EQ(view.controls["frmAbout"].caption, "About");
    about.OnClick("LblEmail");
    EXPECT_EQ(LastCall().file, "mailto:" VANTREL_SUPPORT_MAIL);
    about.OnClick("LblSite");
    EXPECT_EQ(LastCall().file, VANTREL_HOMEPAGE);
    EXPECT_FALSE(about.Done());
    about.OnClick("cmdOK");
    EXPECT_TRUE(about.Done());
}

} // namespace
} // namespace vantrel
