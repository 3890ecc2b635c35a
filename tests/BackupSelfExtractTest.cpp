// The self-extractor's and launcher's portable parts: command line, tokens, settings found
// in the file, unpacking, and the trailer of an auto-setup package.
#include <gtest/gtest.h>

#include "TestMachine.h"
#include "backup/Packaging.h"
#include "backup/SelfExtract.h"
#include "platform/FileSystem.h"
#include "platform/image/ImagePorts.h"

namespace vantrel {
namespace {

TEST(BackupSelfExtractCommand, SwitchesAndQuotedFolders) {
    SfxCommand command;
    std::string error;
    ASSERT_TRUE(ParseSfxCommandLine("  /S   /d:\"C:\\My Drivers\\x\" ", &command, &error));
    EXPECT_TRUE(command.silent);
    EXPECT_EQ(command.folder, "C:\\My Drivers\\x");
    ASSERT_TRUE(ParseSfxCommandLine("", &command, &error));
    EXPECT_FALSE(command.silent);
    EXPECT_TRUE(command.folder.empty());
    EXPECT_FALSE(ParseSfxCommandLine("/x", &command, &error));
    EXPECT_NE(error.find("/x"), std::string::npos);
    EXPECT_FALSE(ParseSfxCommandLine("/d:", &command, &error));
    EXPECT_FALSE(ParseSfxCommandLine("/d:\"C:\\open", &command, &error));
}

TEST(BackupSelfExtractCommand, RunAfterGetsTheArgumentsAndIsWaitedForWithS) {
    SfxSettings autoSetup;
    autoSetup.runAfter = "%d\\DriverAutoInstall.exe";
    struct Case {
        const char* arguments;
        SfxSettings settings;
        std::string program, passed;
        bool wait;
    };
    const Case cases[] = {
        {"/s ", autoSetup, "C:\\T\\Drv\\DriverAutoInstall.exe", "/s", true},
        {"", autoSetup, "C:\\T\\Drv\\DriverAutoInstall.exe", "", false},
        {"/d:C:\\x", autoSetup, "", "", false}, // an unpacking only
        {"/s", SfxSettings{}, "", "", false},   // a self-extractor that starts nothing
    };
    for (const auto& c : cases) {
        SfxCommand command;
        std::string error;
        ASSERT_TRUE(ParseSfxCommandLine(c.arguments, &command, &error)) << c.arguments;
        SfxRunAfter run = PlanSfxRunAfter(command, c.settings, c.arguments, "C:\\T\\", "C:\\T\\Drv");
        EXPECT_EQ(run.program, c.program) << c.arguments;
        EXPECT_EQ(run.arguments, c.passed) << c.arguments;
        EXPECT_EQ(run.wait, c.wait) << c.arguments;
    }
}

TEST(BackupSelfExtractCommand, TokensExpandWithoutDoubleBackslashes) {
    EXPECT_EQ(ExpandSfxPath("%t\\DrvAutoSetup", "C:\\Temp\\", ""), "C:\\Temp\\DrvAutoSetup");
    EXPECT_EQ(ExpandSfxPath("%d\\DriverAutoInstall.exe", "", "D:\\x\\"), "D:\\x\\DriverAutoInstall.exe");
    EXPECT_EQ(ExpandSfxPath("%T and %D and 100%", "t", "d"), "t and d and 100%");
    EXPECT_EQ(ExpandSfxPath("%x%", "t", "d"), "%x%");
}

TEST(BackupSelfExtractTrailer, LengthMustFitTheFile) {
    std::uint64_t offset = 0;
    ASSERT_TRUE(LocateTrailingArchive(1000, 600, &offset));
    EXPECT_EQ(offset, 396u);
    EXPECT_TRUE(LocateTrailingArchive(1000, 996, &offset));
    EXPECT_EQ(offset, 0u);
    EXPECT_FALSE(LocateTrailingArchive(1000, 997, &offset));
    EXPECT_FALSE(LocateTrailingArchive(1000, 0, &offset));
    EXPECT_FALSE(LocateTrailingArchive(3, 1, &offset));
}

TEST(BackupSelfExtractFile, SettingsAndFilesComeBackOutOfThePackage) {
    test::TestMachine machine;
    FileSystem& fs = machine.Ports().fs;
    machine.Image().Resources().items[kResSfxStub] = std::string(5000, 'S');
    ASSERT_TRUE(CreateDirectories(fs, "C:\\work\\Drv"));
    ASSERT_TRUE(WriteWholeFile(fs, "C:\\work\\Drv\\a.sys", "driver bytes"));
    PackagingContext context{fs, machine.Ports().system, machine.Ports().resources, nullptr};
    PackageJob job{"C:\\out\\auto.exe", "C:\\work", "Drv\\*.*", true, "High"};
    ASSERT_TRUE(CreateDirectories(fs, "C:\\out"));
    ASSERT_EQ(SelfExtractAutoExeProcess(context, job), kPackOk);
    // A second driver added later keeps the settings in front of the archive.
    ASSERT_TRUE(WriteWholeFile(fs, "C:\\work\\Drv\\b.sys", "more"));
    job.filesToProcess = "Drv\\b.sys";
    ASSERT_EQ(SelfExtractAutoExeProcess(context, job), kPackOk);

    SfxSettings settings;
    ASSERT_TRUE(ReadSfxSettings(fs, "C:\\out\\auto.exe", &settings));
    EXPECT_TRUE(settings.silent);
    EXPECT_EQ(settings.runAfter, "%d\\DriverAutoInstall.exe");
    std::string error;
    ASSERT_TRUE(ExtractSelf(fs, "C:\\out\\auto.exe", "C:\\unpacked", true, nullptr, &error)) << error;
    std::string bytes;
    ASSERT_TRUE(ReadWholeFile(fs, "C:\\unpacked\\Drv\\a.sys", &bytes));
    EXPECT_EQ(bytes, "driver bytes");
    ASSERT_TRUE(ReadWholeFile(fs, "C:\\unpacked\\Drv\\b.sys", &bytes));
    EXPECT_EQ(bytes, "more");

    // A plain zip carries no settings; a missing file neither.
    ASSERT_EQ(ZipProcess(context, PackageJob{"C:\\out\\plain.zip", "C:\\work", "Drv\\*.*", true, ""}),
              kPackOk);
    EXPECT_FALSE(ReadSfxSettings(fs, "C:\\out\\plain.zip", &settings));
    EXPECT_FALSE(ReadSfxSettings(fs, "C:\\out\\none.exe", &settings));
    EXPECT_FALSE(ExtractSelf(fs, "C:\\out\\none.exe", "C:\\x", true, nullptr, &error));
    EXPECT_FALSE(error.empty());
}

} // namespace
} // namespace vantrel
