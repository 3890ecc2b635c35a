#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "HostTempDir.h"
#include "platform/image/ImageFileSystem.h"

namespace vantrel {

namespace fs = std::filesystem;

TEST(FileSystemImageMapping, DriveCIsCreatedOnFirstWriteOtherDrivesMustExist) {
    HostTempDir host;
    ImageFileSystem files(host.String());
    EXPECT_FALSE(files.Exists("C:\\"));
    EXPECT_EQ(files.OpenRead("C:\\boot.ini"), nullptr);
    ASSERT_TRUE(WriteWholeFile(files, "C:\\boot.ini", "[boot]"));
    EXPECT_EQ(host.Read("drive_c/boot.ini"), "[boot]");

    EXPECT_FALSE(WriteWholeFile(files, "D:\\x.txt", "x"));
    EXPECT_FALSE(fs::exists(host.Path() / "drive_d"));
    fs::create_directory(host.Path() / "drive_d");
    EXPECT_TRUE(WriteWholeFile(files, "d:/x.txt", "x"));
    EXPECT_EQ(host.Read("drive_d/x.txt"), "x");

    // Relative, drive-less and network paths map nowhere.
    fs::path mapped;
    EXPECT_FALSE(files.MapPath("boot.ini", &mapped));
    EXPECT_FALSE(files.MapPath("\\boot.ini", &mapped));
    EXPECT_FALSE(files.MapPath("\\\\server\\share\\boot.ini", &mapped));
}

TEST(FileSystemImageMapping, ExistingHostNamesMatchInAnyCase) {
    HostTempDir host;
    host.Write("drive_c/Windows/INF/OEM3.inf", "[Version]");
    ImageFileSystem files(host.String());

    fs::path mapped;
    ASSERT_TRUE(files.MapPath("C:\\WINDOWS\\inf\\oem3.INF", &mapped));
    EXPECT_EQ(mapped, host.Path() / "drive_c" / "Windows" / "INF" / "OEM3.inf");
    // New names keep the caller's spelling under the existing folders.
    ASSERT_TRUE(WriteWholeFile(files, "c:\\windows\\inf\\New.PNF", "pnf"));
    ASSERT_TRUE(CreateDirectories(files, "C:\\WINDOWS\\Inf\\Other\\Deeper"));
    auto names = [](const fs::path& folder) {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder))
            found.push_back(entry.path().filename().string());
        std::sort(found.begin(), found.end());
        return found;
    };
    EXPECT_EQ(names(host.Path() / "drive_c"), std::vector<std::string>{"Windows"});
    EXPECT_EQ(names(host.Path() / "drive_c" / "Windows" / "INF"),
              (std::vector<std::string>{"New.PNF", "OEM3.inf", "Other"}));
    EXPECT_TRUE(fs::is_directory(host.Path() / "drive_c" / "Windows" / "INF" / "Other" / "Deeper"));

    FindData info;
    ASSERT_TRUE(files.GetInfo("C:\\windows\\inf\\oem3.inf", &info));
    EXPECT_EQ(info.name, "OEM3.inf");
    EXPECT_EQ(info.size, 9u);
    EXPECT_NE(info.attributes & kFileAttributeArchive, 0u);
    EXPECT_GT(info.lastWrite, 1600000000);
}

TEST(FileSystemImageMapping, DotsAndTrailingDotsAsWindowsReadsThem) {
    HostTempDir host;
    host.Write("drive_c/Windows/win.ini", "w");
    ImageFileSystem files(host.String());
    std::string bytes;
    EXPECT_TRUE(ReadWholeFile(files, "C:\\WINDOWS\\system32\\..\\.\\WIN.INI", &bytes));
    EXPECT_TRUE(ReadWholeFile(files, "C:\\WINDOWS.\\win.ini. ", &bytes));
    EXPECT_TRUE(ReadWholeFile(files, "C:\\..\\..\\windows\\win.ini", &bytes));
    EXPECT_EQ(bytes, "w");
}

TEST(FileSystemImageMapping, MountsWinLongestFirstAndIgnoreCase) {
    HostTempDir host, program, language;
    program.Write("DriverDB.dat", "db");
    language.Write("English.ini", "[FormMain]");
    ImageFileSystem files(host.String());
    files.AddMount("C:\\Program Files\\Vantrel", program.String());
    files.AddMount("C:\\Program Files\\Vantrel\\Language", language.String());

    std::string bytes;
    EXPECT_TRUE(ReadWholeFile(files, "c:\\PROGRAM FILES\\vantrel\\driverdb.dat", &bytes));
    EXPECT_EQ(bytes, "db");
    EXPECT_TRUE(ReadWholeFile(files, "C:\\Program Files\\Vantrel\\LANGUAGE\\english.ini", &bytes));
    EXPECT_EQ(bytes, "[FormMain]");
    std::vector<FindData> found;
    ASSERT_TRUE(files.FindFiles("C:\\Program Files\\Vantrel\\Language\\*.ini", &found));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].name, "English.ini");
    // A name that only starts like the mount is not inside it.
    EXPECT_FALSE(files.Exists("C:\\Program Files\\VantrelOther\\DriverDB.dat"));
    EXPECT_FALSE(files.RemoveDirectory("C:\\Program Files\\Vantrel\\Language"));
    // Outside the mounts the drive folder applies.
    ASSERT_TRUE(CreateDirectories(files, "C:\\Program Files\\Other"));
    EXPECT_TRUE(fs::is_directory(host.Path() / "drive_c" / "Program Files" / "Other"));
}

TEST(FileSystemImageMapping, SeesFilesCreatedBehindItsBack) {
    HostTempDir host;
    host.Write("drive_c/inf/a.inf", "a");
    ImageFileSystem files(host.String());
    EXPECT_FALSE(files.Exists("C:\\INF\\B.INF"));
    host.Write("drive_c/inf/b.inf", "b");
    EXPECT_TRUE(files.Exists("C:\\INF\\B.INF"));
    fs::remove(host.Path() / "drive_c" / "inf" / "b.inf");
    EXPECT_FALSE(files.Exists("C:\\INF\\B.INF"));
}

TEST(FileSystemImageMapping, OutputSeekOverwritesInPlace) {
    HostTempDir host;
    ImageFileSystem files(host.String());
    auto out = files.OpenWrite("C:\\header.bin");
    ASSERT_NE(out, nullptr);
    ASSERT_TRUE(out->Write("0000payload", 11));
    ASSERT_TRUE(out->Seek(0));
    ASSERT_TRUE(out->Write("SIZE", 4));
    EXPECT_EQ(out->Tell(), 4u);
    ASSERT_TRUE(out->Close());
    EXPECT_FALSE(out->Write("late", 4));
    EXPECT_EQ(host.Read("drive_c/header.bin"), "SIZEpayload");
}

TEST(FileSystemImageMapping, CopyKeepsTheTimeOfLastWrite) {
    HostTempDir host;
    host.Write("drive_c/old.sys", "driver");
    auto old = fs::last_write_time(host.Path() / "drive_c" / "old.sys") - std::chrono::hours(24 * 400);
    fs::last_write_time(host.Path() / "drive_c" / "old.sys", old);
    ImageFileSystem files(host.String());
    ASSERT_TRUE(files.CopyFile("C:\\OLD.sys", "C:\\copy.sys", true));
    FindData a, b;
    ASSERT_TRUE(files.GetInfo("C:\\old.sys", &a));
    ASSERT_TRUE(files.GetInfo("C:\\copy.sys", &b));
    EXPECT_EQ(a.lastWrite, b.lastWrite);
}

TEST(FileSystemImageFaults, KthWriteCallFailsOnce) {
    HostTempDir host;
    ImageFileSystem files(host.String());
    auto out = files.OpenWrite("C:\\f.bin");
    ASSERT_NE(out, nullptr);
    std::uint64_t before = files.WriteCalls();
    files.FailWriteCall(2);
    EXPECT_TRUE(out->Write("a", 1));
    EXPECT_FALSE(out->Write("b", 1));
    EXPECT_TRUE(out->Write("c", 1));
    EXPECT_EQ(files.WriteCalls(), before + 3);
    ASSERT_TRUE(out->Close());
    EXPECT_EQ(host.Read("drive_c/f.bin"), "ac");

    // Counted across files: the first write of another file can be the one that fails.
    files.FailWriteCall(1);
    EXPECT_FALSE(WriteWholeFile(files, "C:\\g.bin", "data"));
    EXPECT_TRUE(WriteWholeFile(files, "C:\\g.bin", "data"));
}

TEST(FileSystemImageFaults, DiskFullAfterNBytes) {
    HostTempDir host;
    ImageFileSystem files(host.String());
    ASSERT_TRUE(WriteWholeFile(files, "C:\\src.bin", "12345"));
    files.SetDiskFullAfter(10);
    auto out = files.OpenWrite("C:\\f.bin");
    ASSERT_NE(out, nullptr);
    EXPECT_TRUE(out->Write("abcdef", 6));
    EXPECT_FALSE(out->Write("ghijkl", 6));
    EXPECT_FALSE(out->Write("m", 1));
    ASSERT_TRUE(out->Close());
    EXPECT_EQ(host.Read("drive_c/f.bin"), "abcdefghij");
    EXPECT_FALSE(files.CopyFile("C:\\src.bin", "C:\\copy.bin", false));
    EXPECT_FALSE(files.Exists("C:\\copy.bin"));

    files.ClearFaults();
    EXPECT_TRUE(files.CopyFile("C:\\src.bin", "C:\\copy.bin", false));
    EXPECT_TRUE(WriteWholeFile(files, "C:\\f.bin", "after"));
}

} // namespace vantrel
