// The file-system port on real files in a scratch folder.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "platform/win32/Win32Ports.h"
#include "win32/Win32TestSupport.h"

namespace vantrel {
namespace {

class Win32FileSystemPort : public ::testing::Test {
protected:
    Win32FileSystem fs;
    test::ScratchFolder folder{fs};

    std::string Contents(const std::string& path) {
        std::string bytes;
        EXPECT_TRUE(ReadWholeFile(fs, path, &bytes)) << path;
        return bytes;
    }
    void Make(const std::string& name, const std::string& bytes) {
        ASSERT_TRUE(WriteWholeFile(fs, folder / name, bytes)) << name;
    }
};

TEST_F(Win32FileSystemPort, WritesInPiecesOfAnySizeAndReadsThemBack) {
    std::string expected;
    auto out = fs.OpenWrite(folder / "data.bin");
    ASSERT_TRUE(out);
    // Small pieces, one larger than the write buffer, and pieces that straddle it.
    for (std::size_t size : {1u, 100u, 70000u, 3u, 65535u, 65537u, 10u}) {
        std::string piece(size, static_cast<char>('a' + expected.size() % 26));
        piece[0] = static_cast<char>(size);
        ASSERT_TRUE(out->Write(piece.data(), piece.size()));
        expected += piece;
        EXPECT_EQ(out->Tell(), expected.size());
    }
    EXPECT_TRUE(out->Close());

    auto in = fs.OpenRead(folder / "data.bin");
    ASSERT_TRUE(in);
    EXPECT_EQ(in->Size(), expected.size());
    std::string read;
    char buffer[4096];
    for (std::int64_t n; (n = in->Read(buffer, sizeof buffer)) > 0;)
        read.append(buffer, static_cast<std::size_t>(n));
    EXPECT_EQ(read, expected);
    EXPECT_EQ(in->Read(buffer, sizeof buffer), 0);

    ASSERT_TRUE(in->Seek(101));
    ASSERT_EQ(in->Read(buffer, 3), 3);
    EXPECT_EQ(std::string(buffer, 3), expected.substr(101, 3));
}

TEST_F(Win32FileSystemPort, SeekBackRewritesWithoutLosingBufferedBytes) {
    auto out = fs.OpenWrite(folder / "patched.bin");
    ASSERT_TRUE(out);
    ASSERT_TRUE(out->Write("0000header-body", 15));
    ASSERT_TRUE(out->Seek(0));
    EXPECT_EQ(out->Tell(), 0u);
    ASSERT_TRUE(out->Write("1234", 4));
    ASSERT_TRUE(out->Seek(15));
    ASSERT_TRUE(out->Write("!", 1));
    EXPECT_TRUE(out->Close());
    EXPECT_EQ(Contents(folder / "patched.bin"), "1234header-body!");

    out = fs.OpenWrite(folder / "patched.bin", true);
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Tell(), 16u);
}

TEST_F(Win32FileSystemPort, OffsetsBeyondFourGigabytes) {
    const std::uint64_t far = (5ull << 30) + 7;
    auto out = fs.OpenWrite(folder / "sparse.bin");
    ASSERT_TRUE(out);
    ASSERT_TRUE(out->Seek(far));
    ASSERT_TRUE(out->Write("x", 1));
    EXPECT_EQ(out->Tell(), far + 1);
    ASSERT_TRUE(out->Close());

    FindData info;
    ASSERT_TRUE(fs.GetInfo(folder / "sparse.bin", &info));
    EXPECT_EQ(info.size, far + 1);
    std::vector<FindData> found;
    ASSERT_TRUE(fs.FindFiles(folder / "sparse.*", &found));
    EXPECT_EQ(found.at(0).size, far + 1);
    auto in = fs.OpenRead(folder / "sparse.bin");
    ASSERT_TRUE(in);
    EXPECT_EQ(in->Size(), far + 1);
    ASSERT_TRUE(in->Seek(far));
    char byte = 0;
    EXPECT_EQ(in->Read(&byte, 1), 1);
    EXPECT_EQ(byte, 'x');
}

TEST_F(Win32FileSystemPort, GetInfoGivesStoredNameSizeAndTime) {
    Make("Driver.INF", "12345");
    FindData info;
    ASSERT_TRUE(fs.GetInfo(folder / "DRIVER.inf", &info));
    EXPECT_EQ(info.name, "Driver.INF");
    EXPECT_EQ(info.size, 5u);
    EXPECT_FALSE(info.IsDirectory());
    EXPECT_LT(std::llabs(info.lastWrite - static_cast<std::int64_t>(std::time(nullptr))), 300);

    EXPECT_TRUE(fs.Exists(folder / "driver.inf"));
    EXPECT_FALSE(fs.IsDirectory(folder / "driver.inf"));
    EXPECT_TRUE(fs.IsDirectory(folder.Path()));
    EXPECT_FALSE(fs.Exists(folder / "missing.inf"));
    EXPECT_FALSE(fs.GetInfo(folder / "missing.inf", &info));

    // An empty folder holds only "." and "..", which are never found.
    ASSERT_TRUE(fs.CreateDirectory(folder / "Sub"));
    std::vector<FindData> found;
    EXPECT_FALSE(fs.FindFiles(folder / "Sub\\*", &found));
    EXPECT_TRUE(found.empty());
}

// What Windows 9x falls back on, since its MoveFileExA only fails.
TEST_F(Win32FileSystemPort, MoveWithoutExReplacesFilesButNeverFolders) {
    Make("new.inf", "new");
    Make("old.inf", "old");
    ASSERT_TRUE(MoveFileWithoutEx(folder / "new.inf", folder / "old.inf"));
    EXPECT_EQ(Contents(folder / "old.inf"), "new");
    EXPECT_FALSE(fs.Exists(folder / "new.inf"));

    ASSERT_TRUE(MoveFileWithoutEx(folder / "old.inf", folder / "renamed.inf"));
    EXPECT_EQ(Contents(folder / "renamed.inf"), "new");

    ASSERT_TRUE(fs.CreateDirectory(folder / "Dir"));
    EXPECT_FALSE(MoveFileWithoutEx(folder / "Dir", folder / "renamed.inf"));
    EXPECT_TRUE(fs.IsDirectory(folder / "Dir"));
    EXPECT_EQ(Contents(folder / "renamed.inf"), "new");
    EXPECT_FALSE(MoveFileWithoutEx(folder / "missing.inf", folder / "renamed.inf"));
    EXPECT_EQ(Contents(folder / "renamed.inf"), "new");
}

} // namespace
} // namespace vantrel
