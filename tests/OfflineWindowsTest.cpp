// A mounted Windows installation: hives made from the sample machine's .reg files, read back
// through the same command line as the .reg image. Linux only (hivex).
#ifndef _WIN32

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "HiveMaker.h"
#include "HostTempDir.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/OfflineHive.h"
#include "platform/image/OfflineWindows.h"

namespace vantrel {

namespace fs = std::filesystem;

namespace {

const fs::path kSample = fs::path(VANTREL_SOURCE_DIR) / "samples" / "machine";

std::string ReadHostFile(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// Every file below the folder with its bytes, and every folder: the tree byte for byte.
std::map<std::string, std::string> Snapshot(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        std::string relative = entry.path().lexically_relative(root).string();
        files[relative] = entry.is_directory() ? "<dir>" : ReadHostFile(entry.path());
    }
    return files;
}

// The sample machine as a mounted Windows: hives in Windows/System32/config, its drive_c beside.
void MakeSampleTree(const fs::path& tree, const fs::path& image) {
    fs::copy(kSample, image, fs::copy_options::recursive);
    ImageRegistry reg;
    std::string error;
    for (const char* file : {"system.reg", "devices.reg"})
        ASSERT_TRUE(reg.LoadRegFile((kSample / "registry" / file).string(), &error)) << error;
    fs::copy(kSample / "drive_c", tree, fs::copy_options::recursive);
    const fs::path config = tree / "windows" / "system32" / "config";
    ASSERT_TRUE(WriteHive(reg, "SYSTEM", config / "SYSTEM"));
    ASSERT_TRUE(WriteHive(reg, "SOFTWARE", config / "SOFTWARE"));
}

struct CliRun {
    int status;
    std::string out, err;
};

CliRun RunCli(const std::string& arguments, const fs::path& work) {
    fs::path out = work / "out.txt", err = work / "err.txt";
    std::string command = std::string("'") + VANTREL_CLI_PROGRAM + "' " + arguments + " >'" + out.string() +
                          "' 2>'" + err.string() + "' </dev/null";
    int status = std::system(command.c_str());
    return CliRun{status, ReadHostFile(out), ReadHostFile(err)};
}

} // namespace

TEST(OfflineWindows, SampleTreeReadsAsItsRegImageAndStaysUnchanged) {
    HostTempDir dir;
    const fs::path tree = dir.Path() / "mnt", image = dir.Path() / "image", work = dir.Path();
    MakeSampleTree(tree, image);
    auto before = Snapshot(tree);
    const std::string onTree = " --image '" + tree.string() + "'",
                      onImage = " --image '" + image.string() + "'";

    CliRun listed = RunCli("list --all --csv" + onTree, work);
    ASSERT_EQ(listed.status, 0) << listed.err;
    EXPECT_GT(std::count(listed.out.begin(), listed.out.end(), '\n'), 5);
    EXPECT_EQ(listed.out, RunCli("list --all --csv" + onImage, work).out);

    std::string first = listed.out.substr(listed.out.find('\n') + 1);
    first = first.substr(0, first.find(','));
    EXPECT_EQ(RunCli("show '" + first + "'" + onTree, work).out,
              RunCli("show '" + first + "'" + onImage, work).out);
    // info writes the settings: they stay in memory.
    EXPECT_EQ(RunCli("info" + onTree, work).status, 0);

    // The same backup from both; then the catalogue of each.
    for (const auto& [name, on] : {std::pair{"fromTree", onTree}, std::pair{"fromImage", onImage}}) {
        CliRun backup = RunCli("backup --all --to '" + (work / name).string() + "'" + on, work);
        ASSERT_EQ(backup.status, 0) << backup.out << backup.err;
    }
    auto fromTree = Snapshot(work / "fromTree"), fromImage = Snapshot(work / "fromImage");
    EXPECT_GT(fromTree.size(), 10u);
    EXPECT_EQ(fromTree, fromImage);
    CliRun catalog =
        RunCli("catalog '" + (work / "fromTree" / "Drivers Backup").string() + "'" + onTree, work);
    EXPECT_EQ(catalog.status, 0) << catalog.err;
    EXPECT_EQ(
        catalog.out,
        RunCli("catalog '" + (work / "fromTree" / "Drivers Backup").string() + "'" + onImage, work).out);

    EXPECT_TRUE(Snapshot(tree) == before) << "the mounted tree was written to";
}

TEST(OfflineWindows, FactsComeFromTheHivesAndTheTree) {
    HostTempDir dir;
    MakeSampleTree(dir.Path() / "mnt", dir.Path() / "image");
    std::string error;
    auto machine = OpenOfflineWindows((dir.Path() / "mnt").string(), "", {}, &error);
    ASSERT_TRUE(machine) << error;
    OsVersion v = machine->System().GetVersion();
    EXPECT_EQ(std::make_tuple(v.major, v.minor, v.build, v.productType), std::make_tuple(10, 0, 19045, 1));
    EXPECT_TRUE(machine->System().Is64BitWindows()); // windows\SysWOW64 is there
    EXPECT_EQ(machine->System().GetWindowsDirectory(), "C:\\WINDOWS");
    // A write into the mounted tree fails; the temporary folder lies outside it.
    EXPECT_EQ(machine->Files().OpenWrite("C:\\windows\\inf\\new.inf"), nullptr);
    EXPECT_FALSE(machine->Files().DeleteFile("C:\\windows\\inf\\oem14.inf"));
    EXPECT_NE(machine->Files().OpenWrite(machine->System().GetTempPath() + "scratch.txt"), nullptr);
}

TEST(OfflineWindows, SubkeysComeInWindowsOrder) {
    // hivex keeps a hive's own order, which Windows sorts by upper-cased names; the .reg image
    // sorts the same way.
    HostTempDir dir;
    ImageRegistry reg;
    RegHandle key = 0;
    for (const char* name : {"COMPOSITE_BATTERY", "_root", "a1", "CompositeBus", "9x", "ZZ"}) {
        ASSERT_EQ(reg.CreateKey(kHkeyLocalMachine, std::string("SYSTEM\\Order\\") + name, &key),
                  kErrorSuccess);
        reg.CloseKey(key);
    }
    ASSERT_TRUE(WriteHive(reg, "SYSTEM", dir.Path() / "SYSTEM"));
    std::string error;
    auto hive = HiveFile::Open((dir.Path() / "SYSTEM").string(), &error);
    ASSERT_TRUE(hive) << error;
    std::uint64_t order = 0;
    ASSERT_TRUE(hive->FindChild(hive->Root(), "order", &order));
    std::vector<RegistrySource::Child> children;
    std::vector<RegFileValue> values;
    hive->ReadKey(order, &children, &values);
    std::vector<std::string> stored;
    for (const auto& child : children)
        stored.push_back(child.name);
    EXPECT_EQ(stored,
              (std::vector<std::string>{"9x", "a1", "CompositeBus", "COMPOSITE_BATTERY", "ZZ", "_root"}));
}

TEST(OfflineWindows, BadTreesSayWhatIsWrong) {
    HostTempDir dir;
    MakeSampleTree(dir.Path() / "good", dir.Path() / "image");
    const fs::path config = fs::path("windows") / "system32" / "config";
    std::string goodSystem = ReadHostFile(dir.Path() / "good" / config / "SYSTEM");
    std::string dirty = goodSystem;
    dirty[8] = static_cast<char>(dirty[4] + 1); // the second sequence number lags
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < 0x1FC; i += 4)
        sum ^= static_cast<unsigned char>(dirty[i]) | static_cast<unsigned char>(dirty[i + 1]) << 8 |
               static_cast<unsigned char>(dirty[i + 2]) << 16 |
               static_cast<std::uint32_t>(static_cast<unsigned char>(dirty[i + 3])) << 24;
    for (int i = 0; i < 4; ++i)
        dirty[0x1FC + i] = static_cast<char>(sum >> (8 * i));
    ASSERT_TRUE(WriteEmptyHive(dir.Path() / "noSelect.hive"));
    ASSERT_TRUE(MergeIntoHive(
        dir.Path() / "noSelect.hive",
        "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\SYSTEM\\ControlSet002]\n\n",
        "HKEY_LOCAL_MACHINE\\SYSTEM"));
    std::string noSelectHive = ReadHostFile(dir.Path() / "noSelect.hive");

    struct Case {
        const char* name;
        std::string system;        // the SYSTEM file's bytes
        bool software;             // whether SOFTWARE stays
        std::string assumeVersion; //
        const char* error;         // "" when the tree opens
        const char* note;          // what the user is told, "" for nothing
    } cases[] = {
        {"good", goodSystem, true, "", "", ""},
        {"not a hive", "MZ\x90\0 not a hive at all", true, "", "not a registry hive file", ""},
        {"truncated", goodSystem.substr(0, 0x1800), true, "", "cannot be read", ""},
        {"dirty", dirty, true, "", "", "not close it cleanly"},
        {"no Select, no ControlSet001", noSelectHive, true, "", "no ControlSet001", "using ControlSet001"},
        {"no SOFTWARE", goodSystem, false, "", "version cannot be known", ""},
        {"no SOFTWARE, assumed", goodSystem, false, "10.0", "", "assuming Windows 10.0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const fs::path tree = dir.Path() / "case";
        fs::remove_all(tree);
        fs::create_directories(tree / config);
        std::ofstream(tree / config / "SYSTEM", std::ios::binary) << c.system;
        if (c.software)
            fs::copy_file(dir.Path() / "good" / config / "SOFTWARE", tree / config / "SOFTWARE");
        ASSERT_TRUE(IsWindowsInstallation(tree.string()));
        std::string error, notes;
        OfflineOptions options{c.assumeVersion, [&](const std::string& text) { notes += text + "\n"; }};
        auto machine = OpenOfflineWindows(tree.string(), "", options, &error);
        EXPECT_EQ(machine == nullptr, *c.error != '\0');
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
        EXPECT_EQ(notes.empty(), *c.note == '\0') << notes;
        EXPECT_NE(notes.find(c.note), std::string::npos) << notes;
    }
    EXPECT_FALSE(IsWindowsInstallation(dir.Path().string()));
    CliRun neither = RunCli("list --image '" + dir.Path().string() + "'", dir.Path());
    EXPECT_NE(neither.status, 0);
    EXPECT_NE(neither.err.find("neither a machine image"), std::string::npos) << neither.err;
}

} // namespace vantrel

#endif
