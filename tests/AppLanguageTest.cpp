#include <gtest/gtest.h>

#include "TestMachine.h"
#include "app/App.h"
#include "app/Startup.h"

namespace vantrel {
namespace {

using test::TestMachine;

class LanguageText : public ::testing::Test {
protected:
    void SetUp() override {
        RunStartup(app);
        ASSERT_EQ(app.languageFile, "C:\\Program Files\\Vantrel\\Language\\English.ini");
    }
    void WriteLanguage(const std::string& text) { machine.ProgramFile("Language/English.ini", text); }

    TestMachine machine;
    App app{machine.Ports()};
};

TEST_F(LanguageText, MissingFileGivesTheDefault) {
    EXPECT_EQ(app.GetLangText("FormMain", "CmdOptions", "Options"), "Options");
}

TEST_F(LanguageText, MissingKeyOrEmptyValueGivesTheDefault) {
    WriteLanguage("[FormMain]\nCmdOptions=Optionen\nCmdLiveUpdate=\nEmptyAfterBlanks=   \n");
    EXPECT_EQ(app.GetLangText("FormMain", "CmdOptions", "Options"), "Optionen");
    EXPECT_EQ(app.GetLangText("FormMain", "CmdLiveUpdate", "LiveUpdate"), "LiveUpdate");
    EXPECT_EQ(app.GetLangText("FormMain", "Nowhere", "Default"), "Default");
    EXPECT_EQ(app.GetLangText("FormUpdate", "CmdOptions", "Options"), "Options");
    // A value of blanks only counts as empty for the profile reader too.
    EXPECT_EQ(app.GetLangText("FormMain", "EmptyAfterBlanks", "Fallback"), "Fallback");
}

TEST_F(LanguageText, OuterBlanksGoInnerBlanksStay) {
    WriteLanguage("[FormMain]\nLblDriverBackup=   Sauvegarde  des pilotes   \n");
    EXPECT_EQ(app.GetLangText("FormMain", "LblDriverBackup", "Driver Backup"), "Sauvegarde  des pilotes");
}

TEST_F(LanguageText, LongValuesAreCutTo1023Characters) {
    std::string exact(1023, 'a');
    std::string longer = std::string(1023, 'b') + "tail";
    WriteLanguage("[FormMain]\nExact=" + exact + "\nLonger=" + longer + "\n");
    EXPECT_EQ(app.GetLangText("FormMain", "Exact", "x"), exact);
    EXPECT_EQ(app.GetLangText("FormMain", "Longer", "x"), std::string(1023, 'b'));
}

TEST_F(LanguageText, NonAsciiTextPassesThroughAsUtf8) {
    WriteLanguage("[FormMain]\nCmdOptions=Параметры\n");
    EXPECT_EQ(app.GetLangText("FormMain", "CmdOptions", "Options"), "Параметры");
}

TEST(LanguageFiles, EnglishFileHoldsTheCodeDefaults) {
    // The English file ships beside the program; its texts are the reference texts.
    std::string english = test::ReadHostFile(std::string(VANTREL_SOURCE_DIR) + "/data/Language/English.ini");
    EXPECT_NE(
        english.find("MsgLangLost=The selected language file doesn't exist, please re-install the software."),
        std::string::npos);
    EXPECT_NE(english.find("[Module]"), std::string::npos);
}

} // namespace
} // namespace vantrel
