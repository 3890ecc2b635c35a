#include <gtest/gtest.h>

#include "TestMachine.h"
#include "app/App.h"
#include "app/Settings.h"
#include "app/Startup.h"
#include "platform/Registry.h"

namespace vantrel {
namespace {

using test::TestMachine;

std::string RawValue(Platform& platform, const std::string& name) {
    RegKey key(platform.registry);
    if (key.Open(kHkeyCurrentUser, kSettingsKey) != kErrorSuccess)
        return "<no key>";
    std::uint32_t type = 0;
    std::string data;
    if (platform.registry.QueryValue(key.Handle(), name, 4096, &type, &data) != kErrorSuccess)
        return "<missing>";
    return data;
}

void SetRaw(Platform& platform, const std::string& name, const std::string& bytes) {
    RegKey key(platform.registry);
    ASSERT_EQ(key.Create(kHkeyCurrentUser, kSettingsKey), kErrorSuccess);
    ASSERT_EQ(platform.registry.SetValue(key.Handle(), name, kRegSz, bytes), kErrorSuccess);
}

TEST(SettingsStore, WritesWithNulAndReadsBackClean) {
    TestMachine machine;
    SettingsStore settings(machine.Ports().registry);
    ASSERT_TRUE(settings.WriteSetting(kSetBackupOption, "BckZip"));
    EXPECT_EQ(RawValue(machine.Ports(), kSetBackupOption), std::string("BckZip\0", 7));

    // Without NUL, with trailing NULs or blanks: the same clean word.
    for (std::string raw :
         {std::string("BckSfx"), std::string("BckSfx\0\0\0", 9), std::string("BckSfx   \0", 10)}) {
        SetRaw(machine.Ports(), kSetBackupOption, raw);
        EXPECT_EQ(settings.ReadSetting(kSetBackupOption, kOptionBufferChars), "BckSfx");
    }
}

TEST(SettingsStore, ValueThatDoesNotFitItsBufferIsMissing) {
    TestMachine machine;
    SettingsStore settings(machine.Ports().registry);
    // 29 characters and the NUL fill a 30-character buffer exactly; one more does not fit.
    settings.WriteSetting(kSetCompressionLevel, std::string(29, 'x'));
    EXPECT_EQ(settings.ReadSetting(kSetCompressionLevel, kOptionBufferChars), std::string(29, 'x'));
    settings.WriteSetting(kSetCompressionLevel, std::string(30, 'x'));
    EXPECT_FALSE(settings.ReadSetting(kSetCompressionLevel, kOptionBufferChars));
    EXPECT_EQ(settings.ReadSettingOr(kSetCompressionLevel, "Medium"), "Medium");
    EXPECT_FALSE(settings.ReadSetting("never written", kOptionBufferChars));
}

TEST(Startup, FirstRunWritesTheDefaultsAndEnglish) {
    TestMachine machine;
    App app(machine.Ports());
    StartupResult result = RunStartup(app);
    EXPECT_TRUE(result.firstRun);
    EXPECT_TRUE(result.languageDefaulted);

    EXPECT_EQ(RawValue(machine.Ports(), "Backup option"), std::string("BckFolder\0", 10));
    EXPECT_EQ(RawValue(machine.Ports(), "restoration option"), std::string("RstFolder\0", 10));
    EXPECT_EQ(RawValue(machine.Ports(), "CompressionLevel"), std::string("Medium\0", 7));
    EXPECT_EQ(RawValue(machine.Ports(), "RestoreAlert"), std::string("1\0", 2));
    EXPECT_EQ(RawValue(machine.Ports(), "RestoreReboot"), std::string("0\0", 2));
    EXPECT_EQ(RawValue(machine.Ports(), "Language"), std::string("English\0", 8));
    EXPECT_EQ(app.appPath, "C:\\Program Files\\Vantrel\\");
    EXPECT_EQ(app.languageFile, "C:\\Program Files\\Vantrel\\Language\\English.ini");

    // The defaults are written in the order of the first-run set.
    RegKey key(machine.Ports().registry);
    ASSERT_EQ(key.Open(kHkeyCurrentUser, kSettingsKey), kErrorSuccess);
    std::vector<std::string> order;
    std::string name;
    std::uint32_t type = 0;
    for (std::uint32_t i = 0;
         machine.Ports().registry.EnumValue(key.Handle(), i, &name, &type) == kErrorSuccess; ++i)
        order.push_back(name);
    EXPECT_EQ(order, (std::vector<std::string>{"Backup option", "restoration option", "CompressionLevel",
                                               "RestoreAlert", "RestoreReboot", "Language"}));
}

TEST(Startup, LaterRunKeepsTheUsersChoices) {
    TestMachine machine;
    App first(machine.Ports());
    RunStartup(first);
    SettingsStore settings(machine.Ports().registry);
    settings.WriteSetting(kSetCompressionLevel, "High");
    settings.WriteSetting(kSetLanguage, "German");

    App second(machine.Ports());
    StartupResult result = RunStartup(second);
    EXPECT_FALSE(result.firstRun);
    EXPECT_FALSE(result.languageDefaulted);
    EXPECT_EQ(settings.ReadSetting(kSetCompressionLevel, kOptionBufferChars), "High");
    EXPECT_EQ(second.languageFile, "C:\\Program Files\\Vantrel\\Language\\German.ini");
}

TEST(Startup, MissingBackupOptionRewritesAllFiveDefaults) {
    TestMachine machine;
    SettingsStore settings(machine.Ports().registry);
    settings.WriteSetting(kSetCompressionLevel, "High");
    settings.WriteSetting(kSetRestoreAlert, "0");
    settings.WriteSetting(kSetLanguage, "French");

    App app(machine.Ports());
    EXPECT_TRUE(RunStartup(app).firstRun);
    EXPECT_EQ(settings.ReadSetting(kSetCompressionLevel, kOptionBufferChars), "Medium");
    EXPECT_EQ(settings.ReadSetting(kSetRestoreAlert, kOptionBufferChars), "1");
    // The language is not part of the first-run set.
    EXPECT_EQ(settings.ReadSetting(kSetLanguage, kLanguageBufferChars), "French");
}

TEST(Startup, LanguageValueIsCutAtNulAndTrimmed) {
    TestMachine machine;
    SetRaw(machine.Ports(), kSetLanguage, std::string("  Dutch  \0\0garbage", 18));
    App app(machine.Ports());
    RunStartup(app);
    EXPECT_EQ(app.languageFile, "C:\\Program Files\\Vantrel\\Language\\Dutch.ini");
}

TEST(Startup, OverlongLanguageIsTreatedAsMissing) {
    TestMachine machine;
    SettingsStore settings(machine.Ports().registry);
    settings.WriteSetting(kSetLanguage, std::string(254, 'L')); // 254 + NUL fits 255
    App fits(machine.Ports());
    RunStartup(fits);
    EXPECT_EQ(fits.languageFile, "C:\\Program Files\\Vantrel\\Language\\" + std::string(254, 'L') + ".ini");

    settings.WriteSetting(kSetLanguage, std::string(255, 'L'));
    App app(machine.Ports());
    EXPECT_TRUE(RunStartup(app).languageDefaulted);
    EXPECT_EQ(app.languageFile, "C:\\Program Files\\Vantrel\\Language\\English.ini");
    EXPECT_EQ(settings.ReadSetting(kSetLanguage, kLanguageBufferChars), "English");
}

TEST(Startup, DriveRootProgramFolderGetsOneBackslash) {
    MachineFacts facts;
    facts.programDir = "D:\\";
    TestMachine machine(facts);
    App app(machine.Ports());
    RunStartup(app);
    EXPECT_EQ(app.appPath, "D:\\");
    EXPECT_EQ(app.languageFile, "D:\\Language\\English.ini");
}

} // namespace
} // namespace vantrel
