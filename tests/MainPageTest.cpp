#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "TestMachine.h"
#include "app/App.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "app/Startup.h"
#include "app/TabPage.h"

namespace vantrel {
namespace {

using test::FakeDialogs;
using test::FakeView;
using test::TestMachine;

// A part that records what reaches it and takes the commands it is told to.
class RecordingPart : public TabPage {
public:
    bool HandleCommand(std::string_view control) override {
        commands.emplace_back(control);
        if (onCommand)
            onCommand(control);
        return takesAll || std::find(takes.begin(), takes.end(), control) != takes.end();
    }
    bool OnColumnClick(std::string_view list, int column) override {
        clicks.push_back(std::string(list) + ":" + std::to_string(column));
        return true;
    }
    void OnLanguageApplied() override { ++languageApplied; }

    bool takesAll = true;
    std::vector<std::string> takes;
    std::vector<std::string> commands;
    std::vector<std::string> clicks;
    int languageApplied = 0;
    std::function<void(std::string_view)> onCommand;
};

class MainPageTest : public ::testing::Test {
protected:
    MainPageTest() {
        for (const auto& caption : DesignerCaptions())
            view.SetCaption(caption.control, caption.caption);
        for (const auto& entry : MainMenu())
            view.AddMenuItem(entry.name, entry.caption);
        page.AddPart(part);
    }

    void Language(const std::string& name, const std::string& text) {
        machine.ProgramFile("Language/" + name + ".ini", text);
    }
    std::string Setting(const char* name) {
        return settings.ReadSettingOr(name, "<missing>", kLanguageBufferChars);
    }
    std::vector<std::string> CheckedMenuItems() {
        std::vector<std::string> checked;
        for (const auto& item : view.menu) {
            if (item.checked)
                checked.push_back(item.name);
        }
        return checked;
    }
    std::vector<std::string> Headers(const std::string& list) {
        std::vector<std::string> headers;
        for (const auto& column : view.lists[list].columns)
            headers.push_back(column.header);
        return headers;
    }
    std::vector<int> Widths(const std::string& list) {
        std::vector<int> widths;
        for (const auto& column : view.lists[list].columns)
            widths.push_back(column.width);
        return widths;
    }

    TestMachine machine;
    App app{machine.Ports()};
    SettingsStore settings{machine.Ports().registry};
    FakeView view;
    FakeDialogs dialogs;
    MainPage page{app, view, dialogs};
    RecordingPart part;
};

using MainPageLoad = MainPageTest;

TEST_F(MainPageLoad, FirstRunComesUpInEnglishThenListsDriversThenArmsTheTimer) {
    Language("English", "[FormMain]\nCaption=Vantrel V6.5 English\nMnuDrvBck=Driver &Backup\n");
    ASSERT_TRUE(RunStartup(app).firstRun);

    // The driver search must see a window already in its language, with the timer still off.
    part.onCommand = [this](std::string_view command) {
        if (command != "MnuBckNeeded")
            return;
        EXPECT_EQ(view.GetCaption("FrmMain"), "Vantrel V6.5 English");
        EXPECT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanEnglish"});
        EXPECT_EQ(part.languageApplied, 1);
        EXPECT_FALSE(view.controls.count("Timer1"));
    };
    page.Load();

    EXPECT_EQ(part.commands, std::vector<std::string>{"MnuBckNeeded"});
    EXPECT_TRUE(view.controls["Timer1"].enabled);
    EXPECT_EQ(view.tabs["TabMain"], 0);
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(Setting(kSetLanguage), "English");
    EXPECT_EQ(Setting(kSetRestorationOption), "RstFolder");
    EXPECT_EQ(app.appPath, "C:\\Program Files\\Vantrel\\");

    std::vector<std::string> driverHeaders = {"Driver Description", "Class", "Version", "Date", "Provider"};
    for (const char* list : {"Lvw", "LvwRestore", "LvwUninstall"})
        EXPECT_EQ(Headers(list), driverHeaders) << list;
    EXPECT_EQ(Headers("LvwUpdate"), (std::vector<std::string>{"Driver Description", "Class"}));

    const auto& os = view.combos["CmbOS"];
    ASSERT_EQ(os.size(), 18u);
    EXPECT_EQ(os.front(), "Windows 98");
    EXPECT_EQ(os[4], "Windows XP x64");
    EXPECT_EQ(os[13], "Windows 8.1 x86");
    EXPECT_EQ(os.back(), "Windows 11");
}

TEST_F(MainPageLoad, StoredLanguageWithoutFileWarnsAndRunsInEnglish) {
    RunStartup(app);
    settings.WriteSetting(kSetLanguage, "French");
    page.Load();

    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text,
              "The selected language file doesn't exist, please re-install the software.");
    EXPECT_EQ(dialogs.messages[0].title, "Vantrel");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_TRUE(CheckedMenuItems().empty());
    EXPECT_EQ(Setting(kSetLanguage), "French");
    EXPECT_EQ(view.GetCaption("CmdBackup"), "&Start Backup");
    // The rest of the load still happens.
    EXPECT_EQ(part.commands, std::vector<std::string>{"MnuBckNeeded"});
    EXPECT_TRUE(view.controls["Timer1"].enabled);
}

TEST_F(MainPageLoad, ColumnWidthsFollowEachListsWidth) {
    RunStartup(app);
    view.lists["Lvw"].width = 0;
    view.lists["LvwRestore"].width = 21;
    view.lists["LvwUninstall"].width = 601;
    view.lists["LvwUpdate"].width = 7;
    page.Load();
    EXPECT_EQ(Widths("Lvw"), (std::vector<int>{0, 0, 0, 0, 0}));
    EXPECT_EQ(Widths("LvwRestore"), (std::vector<int>{7, 3, 2, 2, 4}));
    EXPECT_EQ(Widths("LvwUninstall"), (std::vector<int>{218, 109, 81, 81, 110}));
    EXPECT_EQ(Widths("LvwUpdate"), (std::vector<int>{5, 2}));
}

TEST(MainPageColumns, WholeNumberFormulaLeavesTheCutOffWidthUnused) {
    EXPECT_EQ(DriverListColumnWidths(0), (std::vector<int>{0, 0, 0, 0, 0}));
    // 22 divides evenly: the five fill the list exactly.
    EXPECT_EQ(DriverListColumnWidths(22), (std::vector<int>{8, 4, 3, 3, 4}));
    EXPECT_EQ(DriverListColumnWidths(44), (std::vector<int>{16, 8, 6, 6, 8}));
    // Otherwise each product is cut on its own, and the fifth only takes W - (W*18) div 22.
    auto widths = DriverListColumnWidths(43);
    EXPECT_EQ(widths, (std::vector<int>{15, 7, 5, 5, 8}));
    EXPECT_EQ(widths[0] + widths[1] + widths[2] + widths[3] + widths[4], 40);
    EXPECT_EQ(UpdateListColumnWidths(0), (std::vector<int>{0, 0}));
    EXPECT_EQ(UpdateListColumnWidths(501), (std::vector<int>{400, 101}));
}

using MainPageLanguage = MainPageTest;

TEST_F(MainPageLanguage, PartialFileGivesMixedWindowAndMovesTheCheckMark) {
    Language("English", "[FormMain]\nCaption=Vantrel V6.5\n");
    Language("French", "[FormMain]\nMnuDrvBck=&Sauvegarde\nCmdOptions=Réglages\nLvwHeader1=Description\n"
                       "CmdSelectAll=Tout &sélectionner\nTabControlPage2=Restauration\n"
                       "[FormUpdate]\nLblOS=Système\nLvwHeader2=Catégorie\n"
                       "[FormRemove]\nLvwHeader5=Éditeur\n");
    RunStartup(app);
    page.Load();
    ASSERT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanEnglish"});
    ASSERT_EQ(Headers("LvwUninstall").size(), 5u);

    page.ApplyLanguage("French");
    EXPECT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanFrench"});
    EXPECT_EQ(Setting(kSetLanguage), "French");
    EXPECT_EQ(app.languageFile, "C:\\Program Files\\Vantrel\\Language\\French.ini");

    EXPECT_EQ(view.GetMenuCaption("MnuDrvBck"), "&Sauvegarde");
    EXPECT_EQ(view.GetMenuCaption("MnuRst"), "Driver &Restoration");
    EXPECT_EQ(view.GetCaption("CmdOptions"), "Réglages");
    EXPECT_EQ(view.GetCaption("CmdLiveUpdate"), "LiveUpdate");
    EXPECT_EQ(view.GetCaption("TabControlPage2"), "Restauration");
    EXPECT_EQ(view.GetCaption("TabControlPage1"), "Backup");
    // One key serves both select-all buttons; the colon is the page's.
    EXPECT_EQ(view.GetCaption("CmdSelectAll"), "Tout &sélectionner");
    EXPECT_EQ(view.GetCaption("CmdSelectAllRestore"), "Tout &sélectionner");
    EXPECT_EQ(view.GetCaption("LblOS"), "Système:");
    // Lvw and LvwRestore share the FormMain headers; the other lists have their own sections.
    EXPECT_EQ(Headers("Lvw")[0], "Description");
    EXPECT_EQ(Headers("LvwRestore")[0], "Description");
    EXPECT_EQ(Headers("LvwUninstall")[0], "Driver Description");
    EXPECT_EQ(Headers("LvwUninstall")[4], "Éditeur");
    EXPECT_EQ(Headers("LvwUpdate")[1], "Catégorie");
    EXPECT_EQ(page.Tag("CmdBackup"), "start backup");
    EXPECT_EQ(page.Tag("CmdSelectAllRestore"), "select all");
    EXPECT_EQ(part.languageApplied, 2);
    // Only MnuBckNeeded from the load: a language change searches nothing.
    EXPECT_EQ(part.commands, std::vector<std::string>{"MnuBckNeeded"});

    // A file without a key leaves the caption as it now is (French), not English, and the
    // colon is not doubled.
    Language("German", "[FormMain]\nCmdLiveUpdate=Online-Aktualisierung\n");
    page.ApplyLanguage("German");
    EXPECT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanGerman"});
    EXPECT_EQ(view.GetCaption("CmdOptions"), "Réglages");
    EXPECT_EQ(view.GetCaption("CmdLiveUpdate"), "Online-Aktualisierung");
    EXPECT_EQ(view.GetCaption("LblOS"), "Système:");
}

TEST_F(MainPageLanguage, MissingFileChangesNothingAndSpeaksTheCurrentLanguage) {
    Language("German", "[FormMain]\nCmdOptions=Optionen\nMsgLangLost=Sprachdatei fehlt.\n");
    RunStartup(app);
    page.ApplyLanguage("German");
    auto captions = view.controls;
    auto menu = view.menu;

    page.ApplyLanguage("Klingon");
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "Sprachdatei fehlt.");
    EXPECT_EQ(dialogs.messages[0].title, "Vantrel");
    EXPECT_EQ(Setting(kSetLanguage), "German");
    EXPECT_EQ(app.languageFile, "C:\\Program Files\\Vantrel\\Language\\German.ini");
    EXPECT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanGerman"});
    EXPECT_EQ(view.menu.size(), menu.size());
    for (std::size_t i = 0; i < menu.size(); ++i)
        EXPECT_EQ(view.menu[i].caption, menu[i].caption) << menu[i].name;
    EXPECT_EQ(view.GetCaption("CmdOptions"), captions["CmdOptions"].caption);
    EXPECT_EQ(part.languageApplied, 1);
}

TEST_F(MainPageLanguage, MenuCommandsSwitchLanguageAndNoItemIsSkipped) {
    // Every item is looked up, the language items too; a file with a key for one of them
    // re-captions it (and the check mark then no longer finds it).
    Language("German", "[FormMain]\nMnuLanguage=&Sprache\nMnuLanGerman=Deutsch\n");
    Language("Russian", "[FormMain]\nMnuOptions=&Параметры\n");
    RunStartup(app);

    EXPECT_TRUE(page.HandleCommand("MnuLanGerman"));
    EXPECT_EQ(view.GetMenuCaption("MnuLanguage"), "&Sprache");
    EXPECT_EQ(view.GetMenuCaption("MnuLanGerman"), "Deutsch");
    EXPECT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanGerman"});

    // The hidden Russian command: no item is captioned with its name, so none gets the mark,
    // and the German item, now captioned "Deutsch", keeps its stale one.
    EXPECT_TRUE(page.HandleCommand("MnuLanRussian"));
    EXPECT_EQ(Setting(kSetLanguage), "Russian");
    EXPECT_EQ(view.GetMenuCaption("MnuOptions"), "&Параметры");
    EXPECT_EQ(CheckedMenuItems(), std::vector<std::string>{"MnuLanGerman"});

    // Language commands never reach the parts.
    EXPECT_TRUE(part.commands.empty());
}

using MainPageCommands = MainPageTest;

TEST_F(MainPageCommands, RestoreButtonFollowsTheRestorationOption) {
    RunStartup(app);
    const std::pair<const char*, const char*> cases[] = {
        {"RstFolder", "MnuRstFolder"}, {"RstZip", "MnuRstZip"}, {"RstSfx", "MnuRstSfx"}};
    for (const auto& [option, command] : cases) {
        settings.WriteSetting(kSetRestorationOption, option);
        part.commands.clear();
        EXPECT_TRUE(page.HandleCommand("CmdRestoreDrivers"));
        EXPECT_EQ(part.commands, std::vector<std::string>{command}) << option;
    }
    // A word the options dialog never writes chooses nothing; a missing value is the default.
    settings.WriteSetting(kSetRestorationOption, "RstTape");
    part.commands.clear();
    page.HandleCommand("CmdRestoreDrivers");
    EXPECT_TRUE(part.commands.empty());
    settings.WriteSetting(kSetRestorationOption, std::string(40, 'x'));
    page.HandleCommand("CmdRestoreDrivers");
    EXPECT_EQ(part.commands, std::vector<std::string>{"MnuRstFolder"});
}

TEST_F(MainPageCommands, CommandRowRunsMenuCommandsAndPartsAreAskedInOrder) {
    RunStartup(app);
    const std::pair<const char*, const char*> row[] = {{"CmdBackupDrivers", "MnuBckNeeded"},
                                                       {"CmdUpdateDrivers", "MnuUpdate"},
                                                       {"CmdUninstallDrivers", "MnuRemoveDriver"},
                                                       {"CmdLiveUpdate", "MnuLiveupdate"},
                                                       {"CmdOptions", "MnuOptions"}};
    for (const auto& [button, command] : row) {
        part.commands.clear();
        page.HandleCommand(button);
        EXPECT_EQ(part.commands, std::vector<std::string>{command}) << button;
    }

    RecordingPart second;
    page.AddPart(second);
    part.takesAll = false;
    part.takes = {"MnuBckAll"};
    second.takesAll = false;
    EXPECT_TRUE(page.HandleCommand("MnuBckAll"));
    EXPECT_TRUE(second.commands.empty());
    // Nobody builds this one yet: both are asked, nothing happens.
    EXPECT_FALSE(page.HandleCommand("MnuDetectUnknown"));
    EXPECT_EQ(second.commands, std::vector<std::string>{"MnuDetectUnknown"});
    EXPECT_TRUE(page.OnColumnClick("LvwRestore", 2));
    EXPECT_EQ(part.clicks, std::vector<std::string>{"LvwRestore:2"});
}

TEST_F(MainPageCommands, TimerRunsTheStartupCheckOnce) {
    int checks = 0;
    page.SetStartupCheck([&] { ++checks; });
    view.SetEnabled("Timer1", true);
    page.OnTimer1();
    EXPECT_FALSE(view.controls["Timer1"].enabled);
    page.OnTimer1();
    EXPECT_EQ(checks, 1);
}

TEST_F(MainPageCommands, UnloadClosesOnlyTheHelpViewerThisRunOpened) {
    view.topWindows[kHelpWindowTitle] = 77;
    page.Unload();
    EXPECT_TRUE(view.closePosts.empty());

    // Another window of that title is not ours.
    page.RememberHelpWindow(55);
    page.Unload();
    EXPECT_TRUE(view.closePosts.empty());

    // Ours is asked until it is gone...
    page.RememberHelpWindow(77);
    view.onPostClose = [this](std::uintptr_t) {
        if (view.closePosts.size() == 3)
            view.topWindows.clear();
    };
    page.Unload();
    EXPECT_EQ(view.closePosts, (std::vector<std::uintptr_t>{77, 77, 77}));

    // ...but one that never closes does not hold the exit up.
    view.closePosts.clear();
    view.onPostClose = nullptr;
    view.topWindows[kHelpWindowTitle] = 77;
    page.Unload();
    EXPECT_GT(view.closePosts.size(), 3u);
    EXPECT_LE(view.closePosts.size(), 1000u);
}

} // namespace
} // namespace vantrel
