// The restore catalogue of every backup form, made by the backup's own packaging, and what
// the unpacking into "\UnzipDriver" does with stale, unsafe and foreign content.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "RestoreFixture.h"
#include "ZipTestSupport.h"
#include "archive/ArchiveCallback.h"
#include "backup/Packaging.h"
#include "platform/System.h"
#include "restore/RestoreCatalog.h"

namespace vantrel {
namespace {

using namespace test;

constexpr char kUnzip[] = "C:\\Users\\User\\AppData\\Local\\Temp\\UnzipDriver";

class Percentages : public ArchiveCallback {
public:
    void Progress(double percent) override { seen.push_back(percent); }
    std::vector<double> seen;
};

class CatalogMachine : public RestoreMachine {
public:
    CatalogMachine() {
        auto& items = machine.Image().Resources().items;
        items[kResSfxStub] = "MZ stub " + std::string(3000, 'S');
        items[kResAutoSetupWizard] = "MZ wizard";
        items[kResAutoSetupLauncher] = "MZ launcher " + std::string(700, 'L');
        items[kResDrvInstall64] = "MZ installer";
        AddAll({{"Net card", "Acme", "net", "PCI\\VEN_1&DEV_2"},
                {"Disk", "Microsoft", "diskdrive", "IDE\\DISK"}});
        CreateDirectories(Fs(), "C:\\out");
        CreateDirectories(Fs(), machine.Ports().system.GetTempPath());
    }
    // The backup root in one of the one-file forms, made as a backup run makes it.
    std::string Package(const std::string& form) {
        Platform& ports = machine.Ports();
        PackagingContext context{ports.fs, ports.system, ports.resources, nullptr};
        std::string path = "C:\\out\\backup." + form;
        for (const char* driver : {"Net card", "Disk"}) {
            PackageJob job{path, kBackupRoot, std::string(driver) + "\\*.*", true, ""};
            int code = form == "zip"   ? ZipProcess(context, job)
                       : form == "sfx" ? SelfExtractExeProcess(context, job)
                                       : SelfExtractAutoExeProcess(context, job);
            EXPECT_EQ(code, kPackOk) << form;
        }
        if (form == "auto") {
            EXPECT_TRUE(FinishAutoSetupPackage(context, path));
        }
        return path;
    }
    std::string Read(const std::string& path) {
        std::string bytes;
        ReadWholeFile(Fs(), path, &bytes);
        return bytes;
    }
    // Every file of the image's drive C:, as relative host paths.
    std::vector<std::string> Files() {
        std::vector<std::string> out;
        auto root = machine.ImageFolder() / "drive_c";
        for (const auto& item : std::filesystem::recursive_directory_iterator(root))
            if (item.is_regular_file())
                out.push_back(std::filesystem::relative(item.path(), root).generic_string());
        std::sort(out.begin(), out.end());
        return out;
    }
};

std::vector<std::string> Descriptions(const CatalogResult& result) {
    std::vector<std::string> out;
    for (const auto& entry : result.entries)
        out.push_back(entry.driverDesc);
    std::sort(out.begin(), out.end());
    return out;
}

TEST(RestoreCatalog, EveryBackupFormListsItsDrivers) {
    const std::pair<const char*, RestoreSourceKind> forms[] = {{"folder", RestoreSourceKind::Folder},
                                                               {"zip", RestoreSourceKind::Zip},
                                                               {"sfx", RestoreSourceKind::Sfx},
                                                               {"auto", RestoreSourceKind::AutoSetup}};
    for (const auto& [form, kind] : forms) {
        CatalogMachine m;
        std::string source =
            std::string(form) == "folder" ? std::string(kBackupRoot) + "\\" : m.Package(form);
        EXPECT_EQ(DetectRestoreSource(m.machine.Ports(), source), kind) << form;
        Percentages progress;
        CatalogResult result = LoadRestoreCatalog(m.machine.Ports(), source, &progress);
        ASSERT_TRUE(result.ok) << form << ": " << result.error;
        EXPECT_EQ(Descriptions(result), (std::vector<std::string>{"Disk", "Net card"})) << form;
        EXPECT_TRUE(result.refused.empty()) << form;
        bool archive = kind != RestoreSourceKind::Folder;
        EXPECT_EQ(result.folder, archive ? kUnzip : kBackupRoot) << form;
        // The entries lead to their INFs wherever they were unpacked.
        for (const auto& entry : result.entries)
            EXPECT_EQ(m.Read(EntryInfPath(entry)).substr(0, 9), "[Version]") << form << " " << entry.folder;
        if (archive) {
            ASSERT_FALSE(progress.seen.empty()) << form;
            EXPECT_TRUE(std::is_sorted(progress.seen.begin(), progress.seen.end())) << form;
            EXPECT_EQ(progress.seen.back(), 100.0) << form;
        } else {
            EXPECT_TRUE(progress.seen.empty());
        }
        if (kind == RestoreSourceKind::AutoSetup) {
            EXPECT_EQ(m.Read(std::string(kUnzip) + "\\DrvInstall64.exe"), "MZ installer");
        }
    }
}

TEST(RestoreCatalog, UnzipDriverIsEmptiedBeforeAnArchiveIsUnpacked) {
    CatalogMachine m;
    std::string zip = m.Package("zip");
    // What an earlier archive left: a driver that must not show up again, in nested folders.
    m.Add({"Stale driver", "Acme", "net", "PCI\\OLD"});
    Platform& ports = m.machine.Ports();
    for (const char* path :
         {"\\Stale driver\\drvbck.pdb", "\\Stale driver\\deep\\er\\x.sys", "\\loose.txt"}) {
        std::string target = std::string(kUnzip) + path;
        CreateDirectories(ports.fs, target.substr(0, target.rfind('\\')));
        ASSERT_TRUE(WriteWholeFile(ports.fs, target,
                                   m.Read(std::string(kBackupRoot) + "\\Stale driver\\drvbck.pdb")));
    }
    CatalogResult result = LoadRestoreCatalog(ports, zip, nullptr);
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(Descriptions(result), (std::vector<std::string>{"Disk", "Net card"}));
    EXPECT_FALSE(ports.fs.Exists(std::string(kUnzip) + "\\Stale driver"));
    EXPECT_FALSE(ports.fs.Exists(std::string(kUnzip) + "\\loose.txt"));
}

TEST(RestoreCatalog, UnsafeEntriesAreRefusedAndNothingLandsOutsideUnzipDriver) {
    CatalogMachine m;
    std::string pdb = m.Read(std::string(kBackupRoot) + "\\Net card\\drvbck.pdb");
    std::vector<ziptest::RawEntry> entries = {ziptest::StoredEntry("Net card/drvbck.pdb", pdb),
                                              ziptest::StoredEntry("Net card/drv.inf", "[Version]\r\n"),
                                              ziptest::StoredEntry("../../escape.txt", "evil"),
                                              ziptest::StoredEntry("C:\\Windows\\inf\\oem9.inf", "evil"),
                                              ziptest::StoredEntry("Net card/../../../up.sys", "evil")};
    ASSERT_TRUE(WriteWholeFile(m.Fs(), "C:\\out\\evil.zip", ziptest::BuildRawZip(entries)));
    std::vector<std::string> before = m.Files();

    CatalogResult result = LoadRestoreCatalog(m.machine.Ports(), "C:\\out\\evil.zip", nullptr);
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(Descriptions(result), std::vector<std::string>{"Net card"});
    ASSERT_EQ(result.refused.size(), 3u);
    EXPECT_EQ(result.refused[0].rfind("../../escape.txt: ", 0), 0u) << result.refused[0];
    std::vector<std::string> added;
    for (const auto& file : m.Files())
        if (std::find(before.begin(), before.end(), file) == before.end())
            added.push_back(file);
    EXPECT_EQ(added,
              (std::vector<std::string>{"Users/User/AppData/Local/Temp/UnzipDriver/Net card/drv.inf",
                                        "Users/User/AppData/Local/Temp/UnzipDriver/Net card/drvbck.pdb"}));
}

TEST(RestoreCatalog, ForeignDamagedAndMissingSourcesSayWhy) {
    CatalogMachine m;
    Platform& ports = m.machine.Ports();
    // An honest zip without any backup in it.
    ASSERT_TRUE(WriteWholeFile(m.Fs(), "C:\\out\\photos.zip",
                               ziptest::BuildRawZip({ziptest::StoredEntry("holiday/beach.jpg", "jpeg")})));
    CatalogResult foreign = LoadRestoreCatalog(ports, "C:\\out\\photos.zip", nullptr);
    EXPECT_TRUE(foreign.ok);
    EXPECT_TRUE(foreign.entries.empty());
    EXPECT_EQ(foreign.error, "This is a wrong driver backup file, please select the right one.");

    // A self-extractor cut short, as an interrupted download leaves it.
    std::string sfx = m.Read(m.Package("sfx"));
    ASSERT_TRUE(WriteWholeFile(m.Fs(), "C:\\out\\cut.exe", sfx.substr(0, sfx.size() - 40)));
    EXPECT_EQ(DetectRestoreSource(ports, "C:\\out\\cut.exe"), RestoreSourceKind::Unknown);
    CatalogResult cut = LoadRestoreCatalog(ports, "C:\\out\\cut.exe", nullptr);
    EXPECT_FALSE(cut.ok);
    EXPECT_TRUE(cut.entries.empty());
    EXPECT_NE(cut.error.find("truncated"), std::string::npos) << cut.error;

    CatalogResult missing = LoadRestoreCatalog(ports, "C:\\out\\gone.zip", nullptr);
    EXPECT_FALSE(missing.ok);
    EXPECT_NE(missing.error.find("gone.zip"), std::string::npos);
}

TEST(RestoreCatalog, UnzipDriverFolderHasOneBackslash) {
    const std::pair<const char*, const char*> table[] = {{"D:\\Temp", "D:\\Temp\\UnzipDriver"},
                                                         {"C:\\", "C:\\UnzipDriver"}};
    for (const auto& [temp, folder] : table) {
        MachineFacts facts;
        facts.temp = temp;
        RestoreMachine m(facts);
        EXPECT_EQ(UnzipDriverFolder(m.machine.Ports()), folder) << temp;
    }
}

} // namespace
} // namespace vantrel
