// The options dialog over a scripted window: what it shows for the stored settings and what
// OK and Cancel leave in the registry.
#include <gtest/gtest.h>

#include <map>

#include "FakeView.h"
#include "TestMachine.h"
#include "app/App.h"
#include "app/OptionsPage.h"
#include "app/Settings.h"
#include "platform/Registry.h"

namespace vantrel {
namespace {

using Stored = std::map<std::string, std::string>;

class OptionsDialog : public ::testing::Test {
protected:
    void Store(const Stored& values) {
        SettingsStore settings(machine.Ports().registry);
        for (const auto& [name, text] : values)
            settings.WriteSetting(name, text);
    }
    Stored Read() {
        Stored out;
        SettingsStore settings(machine.Ports().registry);
        for (const char* name : {kSetBackupOption, kSetRestorationOption, kSetCompressionLevel,
                                 kSetRestoreAlert, kSetRestoreReboot}) {
            if (auto value = settings.ReadSetting(name, kOptionBufferChars))
                out[name] = *value;
        }
        return out;
    }
    test::TestMachine machine;
    App app{machine.Ports()};
    test::FakeView view;
    OptionsPage page{app, view};
};

const Stored kUserChoice = {{kSetBackupOption, "BckSfx"},
                            {kSetRestorationOption, "RstZip"},
                            {kSetCompressionLevel, "High"},
                            {kSetRestoreAlert, "0"},
                            {kSetRestoreReboot, "1"}};
const Stored kDefaults = {{kSetBackupOption, "BckFolder"},
                          {kSetRestorationOption, "RstFolder"},
                          {kSetCompressionLevel, "Medium"},
                          {kSetRestoreAlert, "1"},
                          {kSetRestoreReboot, "0"}};

TEST_F(OptionsDialog, CaptionsComeFromTheLanguageFile) {
    machine.ProgramFile("Language/Test.ini", "[FormOptions]\nB2=Nach ZIP\nC4=Hoch\n");
    app.languageFile = "C:\\Program Files\\Vantrel\\Language\\Test.ini";
    page.Load();
    EXPECT_EQ(view.controls["OptBckZip"].caption, "Nach ZIP");
    EXPECT_EQ(view.controls["OptBckFolder"].caption, "Back up drivers to folders");
    EXPECT_EQ(view.controls["ChkReboot"].caption, "Reboot computer after drivers restoration without prompt");
    EXPECT_EQ(view.controls["TabControlPage2"].caption, "Driver Restoration");
    EXPECT_EQ(view.combos["CboLevel"], (std::vector<std::string>{"None", "Low", "Medium", "Hoch"}));
}

TEST_F(OptionsDialog, ShowsTheStoredChoices) {
    struct Case {
        const char* what;
        Stored stored;
        std::vector<std::string> checked;
        int level;
        bool levelEnabled;
        Stored afterLoad; // what the registry holds once the dialog has opened
    };
    const Case cases[] = {
        {"user choice", kUserChoice, {"ChkReboot", "OptBckSfx", "OptRstZip"}, 3, true, kUserChoice},
        {"nothing stored: defaults written and shown",
         {},
         {"ChkAlert", "OptBckFolder", "OptRstFolder"},
         2,
         false,
         kDefaults},
        {"foreign words shown as defaults, left stored",
         {{kSetBackupOption, "bckzip"},
          {kSetRestorationOption, "Floppy"},
          {kSetCompressionLevel, "Ultra"},
          {kSetRestoreAlert, "yes"},
          {kSetRestoreReboot, ""}},
         {"ChkAlert", "OptBckFolder", "OptRstFolder"},
         2,
         false,
         {{kSetBackupOption, "bckzip"},
          {kSetRestorationOption, "Floppy"},
          {kSetCompressionLevel, "Ultra"},
          {kSetRestoreAlert, "yes"},
          {kSetRestoreReboot, ""}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::TestMachine fresh;
        App freshApp{fresh.Ports()};
        test::FakeView freshView;
        {
            SettingsStore settings(fresh.Ports().registry);
            for (const auto& [name, text] : c.stored)
                settings.WriteSetting(name, text);
        }
        OptionsPage freshPage(freshApp, freshView);
        freshPage.Load();
        std::vector<std::string> checked;
        for (const auto& [name, control] : freshView.controls) {
            if (control.checked)
                checked.push_back(name);
        }
        EXPECT_EQ(checked, c.checked);
        EXPECT_EQ(freshView.GetComboSelection("CboLevel"), c.level);
        EXPECT_EQ(freshView.controls["CboLevel"].enabled, c.levelEnabled);
        Stored now;
        SettingsStore settings(fresh.Ports().registry);
        for (const auto& [name, text] : c.afterLoad)
            now[name] = settings.ReadSettingOr(name, "<missing>");
        EXPECT_EQ(now, c.afterLoad);
    }
}

TEST_F(OptionsDialog, OkWritesTheFiveSettingsCancelNothing) {
    struct Case {
        const char* what;
        std::vector<std::pair<std::string, bool>> clicks; // control, new check state
        int level;                                        // combo position chosen, -1 unchanged
        Stored expected;
    };
    const Case cases[] = {
        {"unchanged", {{"CmdOK", true}}, -1, kUserChoice},
        {"every control",
         {{"OptBckZip", true},
          {"OptRstSfx", true},
          {"ChkAlert", true},
          {"ChkReboot", false},
          {"CmdOK", true}},
         0,
         {{kSetBackupOption, "BckZip"},
          {kSetRestorationOption, "RstSfx"},
          {kSetCompressionLevel, "None"},
          {kSetRestoreAlert, "1"},
          {kSetRestoreReboot, "0"}}},
        {"level kept while folders disable it",
         {{"OptBckAutoEXE", true}, {"OptBckFolder", true}, {"CmdOK", true}},
         1,
         {{kSetBackupOption, "BckFolder"},
          {kSetRestorationOption, "RstZip"},
          {kSetCompressionLevel, "Low"},
          {kSetRestoreAlert, "0"},
          {kSetRestoreReboot, "1"}}},
        {"cancel", {{"OptBckZip", true}, {"ChkAlert", true}, {"CmdCancel", true}}, 0, kUserChoice},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Store(kUserChoice);
        OptionsPage dialog(app, view);
        dialog.Load();
        if (c.level >= 0)
            view.SetComboSelection("CboLevel", c.level);
        for (const auto& [control, checked] : c.clicks) {
            EXPECT_FALSE(dialog.Done());
            dialog.OnClick(control, checked);
        }
        EXPECT_TRUE(dialog.Done());
        EXPECT_EQ(Read(), c.expected);
    }
}

TEST_F(OptionsDialog, LevelFollowsTheBackupKind) {
    Store(kUserChoice);
    page.Load();
    for (const auto& [button, enabled] : std::vector<std::pair<const char*, bool>>{{"OptBckFolder", false},
                                                                                   {"OptBckZip", true},
                                                                                   {"OptBckFolder", false},
                                                                                   {"OptBckAutoEXE", true}}) {
        page.OnClick(button);
        EXPECT_EQ(view.controls["CboLevel"].enabled, enabled) << button;
    }
}

TEST(OptionChanges, TakeOnlyTheDialogsWords) {
    struct Case {
        const char* assignment;
        bool ok;
        std::string OptionValues::*field;
        const char* stored;
    };
    const Case cases[] = {
        {"Backup option=bckautoexe", true, &OptionValues::backupOption, "BckAutoEXE"},
        {"restoration option = RstSfx", true, &OptionValues::restorationOption, "RstSfx"},
        {"compressionlevel=high", true, &OptionValues::compressionLevel, "High"},
        {"RestoreReboot=1", true, &OptionValues::restoreReboot, "1"},
        {"RestoreAlert=yes", false, &OptionValues::restoreAlert, "1"},
        {"CompressionLevel=Ultra", false, &OptionValues::compressionLevel, "Medium"},
        {"Language=German", false, nullptr, nullptr},
        {"BckZip", false, nullptr, nullptr},
    };
    for (const auto& c : cases) {
        OptionValues values;
        std::string error;
        EXPECT_EQ(ApplyOptionChange(&values, c.assignment, &error), c.ok) << c.assignment;
        EXPECT_EQ(error.empty(), c.ok) << c.assignment;
        if (c.field) {
            EXPECT_EQ(values.*c.field, c.stored) << c.assignment;
        }
    }
}

} // namespace
} // namespace vantrel
