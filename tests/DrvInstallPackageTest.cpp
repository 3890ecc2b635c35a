#include <gtest/gtest.h>

#include <filesystem>

#include "HostTempDir.h"
#include "inventory/InfFile.h"
#include "inventory/InfInstall.h"
#include "platform/image/ImageFileSystem.h"
#include "restore/DrvInstallPackage.h"

namespace vantrel {
namespace {

TEST(DrvInstallCommandLine, TakesTheLinesTheRestoreAndRemovalRunsWrite) {
    using Mode = DrvInstallCommand::Mode;
    struct Case {
        const char* line;
        bool ok;
        Mode mode;
        const char* inf;
        const char* hardwareId;
    };
    const std::vector<Case> cases = {
        {"C:\\Temp\\DrvInstall.exe /i \"C:\\My Backup\\a.inf\" \"PCI\\VEN_1&DEV_2\"", true, Mode::Install,
         "C:\\My Backup\\a.inf", "PCI\\VEN_1&DEV_2"},
        // The program's own path comes unquoted, blanks and all.
        {"C:\\Documents and Settings\\Me\\Temp\\DrvInstall.exe /r \"USB\\Acme Pad \"2\"\"", true,
         Mode::Remove, "", "USB\\Acme Pad \"2\""},
        {"\"C:\\a b\\DrvInstall.exe\"  /I  \"x.inf\"   \"ROOT\\ACME\"  ", true, Mode::Install, "x.inf",
         "ROOT\\ACME"},
        {"DrvInstall.exe /i x.inf ROOT\\PLAIN ID", true, Mode::Install, "x.inf", "ROOT\\PLAIN ID"},
        {"DrvInstall.exe /i \"x.inf\"", false, Mode::Install, "", ""},
        {"DrvInstall.exe /r \"\"", false, Mode::Install, "", ""},
        {"DrvInstall.exe /x \"ID\"", false, Mode::Install, "", ""},
        {"C:\\dir/i\\DrvInstall.exe", false, Mode::Install, "", ""},
    };
    for (const Case& c : cases) {
        DrvInstallCommand command;
        ASSERT_EQ(ParseDrvInstallCommandLine(c.line, &command), c.ok) << c.line;
        if (!c.ok)
            continue;
        EXPECT_EQ(command.mode, c.mode) << c.line;
        EXPECT_EQ(command.infPath, c.inf) << c.line;
        EXPECT_EQ(command.hardwareId, c.hardwareId) << c.line;
    }
    using namespace std::string_view_literals;
    EXPECT_TRUE(IdListHas("ROOT\\A\0pci\\ven_1\0\0"sv, "PCI\\VEN_1"));
    EXPECT_FALSE(IdListHas("ROOT\\A\0PCI\\VEN_12\0\0"sv, "PCI\\VEN_1"));
}

const char kPackageInf[] = "[Version]\n"
                           "CatalogFile = acme.cat\n"
                           "[Manufacturer]\n"
                           "Acme = Models, NTamd64\n"
                           "[Models.NTamd64]\n"
                           "Acme = Inst, ROOT\\ACME\n"
                           "[Inst.NTamd64]\n"
                           "CopyFiles = Files\n"
                           "[Files]\n"
                           "acme.sys, acme_x64.sys\n"
                           "acmeco.dll\n"
                           "[SourceDisksNames.amd64]\n"
                           "1 = Disk,,,\\amd64\n"
                           "[SourceDisksFiles.amd64]\n"
                           "acme_x64.sys = 1, drv\n"
                           "acmeco.dll = 1\n";

class DrvInstallPackage : public ::testing::Test {
protected:
    DrvInstallPackage() : files(host.String()) {
        host.Write("drive_c/Backup/Acme.INF", kPackageInf);
        host.Write("drive_c/Backup/ACME.CAT", "catalog");
        host.Write("drive_c/Backup/ACMECO.DLL", "co");
        EXPECT_EQ(AnalyzeInfInstall(inf, "root\\acme", {"amd64"}, &info), InfInstallResult::Ok);
        files.CreateDirectory("C:\\Stage");
    }
    HostTempDir host;
    ImageFileSystem files;
    InfText inf{kPackageInf};
    InfInstallInfo info;
};

TEST_F(DrvInstallPackage, NamesMissingFilesThenStagesByTheMediumLayoutAndCleansUp) {
    EXPECT_EQ(MissingPackageFiles(files, "C:\\Backup", info),
              std::vector<std::string>{"acme.sys (as acme_x64.sys)"});
    // Found by its installed name as a backup keeps it.
    host.Write("drive_c/Backup/acme.sys", "driver");
    EXPECT_TRUE(MissingPackageFiles(files, "C:\\Backup", info).empty());

    {
        PackageStage stage(files, "C:\\Stage");
        std::string error;
        ASSERT_TRUE(stage.Stage("C:\\Backup\\Acme.INF", info, &error)) << error;
        EXPECT_EQ(stage.InfPath(), "C:\\Stage\\Acme.INF");
        EXPECT_EQ(host.Read("drive_c/Stage/amd64/drv/acme_x64.sys"), "driver");
        EXPECT_EQ(host.Read("drive_c/Stage/amd64/acmeco.dll"), "co");
        EXPECT_EQ(host.Read("drive_c/Stage/acme.cat"), "catalog");
        // A package already laid out is taken from its own place.
        host.Write("drive_c/Backup/amd64/drv/acme_x64.sys", "laid out");
        EXPECT_EQ(MissingPackageFiles(files, "C:\\Backup", info), std::vector<std::string>{});
        EXPECT_EQ(PackageFiles(files, "C:\\Backup").Locate("amd64\\drv", "acme_x64.sys", "acme.sys"),
                  "C:\\Backup\\amd64\\drv\\acme_x64.sys");
    }
    EXPECT_FALSE(std::filesystem::exists(host.Path() / "drive_c/Stage"));
}

TEST_F(DrvInstallPackage, RefusesMediumFoldersOutsideTheStage) {
    host.Write("drive_c/Backup/acme.sys", "driver");
    for (const char* folder : {"..\\..\\Windows", "C:\\Windows", "amd64\\.\\x"}) {
        files.CreateDirectory("C:\\Stage");
        InfInstallInfo bad = info;
        bad.files[0].sourceFolder = folder;
        PackageStage stage(files, "C:\\Stage");
        std::string error;
        EXPECT_FALSE(stage.Stage("C:\\Backup\\Acme.INF", bad, &error)) << folder;
        EXPECT_NE(error.find("outside"), std::string::npos) << error;
        stage.Remove();
        EXPECT_FALSE(std::filesystem::exists(host.Path() / "drive_c/Stage")) << folder;
    }
}

} // namespace
} // namespace vantrel
