#include <gtest/gtest.h>

#include <map>

#include "ZipTestSupport.h"
#include "archive/ArchiveCallback.h"
#include "archive/ZipFormat.h"
#include "archive/ZipReader.h"
#include "archive/ZipWriter.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"

namespace vantrel {

using namespace ziptest;

namespace {

// A backup-like tree: two driver folders under the temporary folder.
std::map<std::string, std::string> MakeTree(Sandbox& box) {
    std::map<std::string, std::string> files = {
        {"Drv1\\oem3.inf", TextData(20000, 1)},
        {"Drv1\\empty.dat", ""},
        {"Drv1\\sys\\noise.sys", NoiseData(300000, 3)},
        {"Drv1\\sys\\big.bin", TextData(2500000, 4) + NoiseData(600000, 5)}, // several blocks
        {"Drv2\\oem9.inf", TextData(5000, 6)},
    };
    for (auto& [name, data] : files)
        box.Write("C:\\Temp\\" + name, data);
    box.Fs().CreateDirectory("C:\\Temp\\Drv1\\nothing");
    return files;
}

bool WriteArchive(Sandbox& box, const std::string& zip, int level, const std::string& password = {},
                  ArchiveCallback* callback = nullptr) {
    ZipWriter writer(box.Fs());
    writer.SetLevel(level);
    writer.SetPassword(password);
    return writer.Create(zip) && writer.AddFolder("C:\\Temp\\Drv1", "C:\\Temp", true) &&
           writer.AddFolder("C:\\Temp\\Drv2\\", "C:\\Temp\\", true) && writer.Close(callback);
}

std::vector<std::string> Names(const ZipReader& reader) {
    std::vector<std::string> names;
    for (const ZipEntry& e : reader.Entries())
        names.push_back(e.name);
    return names;
}

class Recorder : public ArchiveCallback {
public:
    void ItemStarted(const std::string& name) override { started.push_back(name); }
    void ItemSkipped(const std::string& name, const std::string& why) override {
        skipped.push_back(name + ": " + why);
    }
    void Progress(double percent) override {
        backwards = backwards || percent < last;
        last = percent;
    }
    bool Cancelled() override { return cancelAfter >= 0 && static_cast<int>(started.size()) > cancelAfter; }

    std::vector<std::string> started, skipped;
    double last = -1;
    bool backwards = false;
    int cancelAfter = -1;
};

} // namespace

TEST(ZipRoundTrip, EveryLevelGivesBackTheTreeWithRelativeNames) {
    for (int level : {0, 1, 6, 9}) {
        SCOPED_TRACE("level " + std::to_string(level));
        Sandbox box;
        auto files = MakeTree(box);
        ASSERT_TRUE(WriteArchive(box, "C:\\Backup\\MyDrivers.zip", level));
        ZipReader reader(box.Fs());
        ASSERT_TRUE(reader.Open("C:\\Backup\\MyDrivers.zip")) << reader.Error();
        EXPECT_EQ(Names(reader), (std::vector<std::string>{"Drv1/", "Drv1/empty.dat", "Drv1/nothing/",
                                                           "Drv1/oem3.inf", "Drv1/sys/", "Drv1/sys/big.bin",
                                                           "Drv1/sys/noise.sys", "Drv2/", "Drv2/oem9.inf"}));
        const ZipEntry& inf = reader.Entries()[3];
        EXPECT_EQ(inf.method, level == 0 ? zipfmt::kMethodStored : zipfmt::kMethodDeflated);
        EXPECT_EQ(reader.Entries()[6].method, zipfmt::kMethodStored); // deflate cannot shrink noise
        EXPECT_EQ(reader.Entries()[2].externalAttributes & 0x10, 0x10u);
        if (level == 6) {
            // The blocks of a large file, deflated apart, cost almost nothing over one stream.
            std::string big = files["Drv1\\sys\\big.bin"];
            EXPECT_LT(reader.Entries()[5].compressedSize, Deflate(big, 6).size() * 1.005);
            EXPECT_LT(inf.compressedSize, inf.size / 3);
        }
        ZipResult result = reader.Extract("C:\\Restore", {});
        ASSERT_TRUE(result.ok) << result.error;
        EXPECT_EQ(result.filesWritten, files.size());
        for (auto& [name, data] : files)
            EXPECT_EQ(box.Read("C:\\Restore\\" + name), data) << name;
        EXPECT_TRUE(box.Fs().IsDirectory("C:\\Restore\\Drv1\\nothing"));
    }
}

TEST(ZipRoundTrip, AppendKeepsEntriesAndReplacesOnesOfTheSameName) {
    Sandbox box;
    box.Write("C:\\Temp\\Drv1\\a.inf", "first run");
    box.Write("C:\\Temp\\Drv2\\b.inf", TextData(3000, 1));
    ZipWriter writer(box.Fs());
    ASSERT_TRUE(writer.Append("C:\\B\\MyDrivers.zip")); // missing: a new archive
    ASSERT_TRUE(writer.AddFolder("C:\\Temp\\Drv1", "C:\\Temp", true) && writer.Close());
    ASSERT_TRUE(writer.Append("C:\\B\\MyDrivers.zip"));
    ASSERT_TRUE(writer.AddFolder("C:\\Temp\\Drv2", "C:\\Temp", true) && writer.Close());
    box.Write("C:\\Temp\\Drv1\\A.INF", "second run, longer than the first");
    ASSERT_TRUE(writer.Append("C:\\B\\MyDrivers.zip"));
    ASSERT_TRUE(writer.AddFile("C:\\Temp\\Drv1\\A.INF", "Drv1\\A.INF") && writer.Close());

    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\B\\MyDrivers.zip")) << reader.Error();
    EXPECT_EQ(Names(reader), (std::vector<std::string>{"Drv1/", "Drv2/", "Drv2/b.inf", "Drv1/A.INF"}));
    ASSERT_TRUE(reader.Extract("C:\\Out", {}).ok);
    EXPECT_EQ(box.Read("C:\\Out\\Drv1\\A.INF"), "second run, longer than the first");
    EXPECT_EQ(box.Read("C:\\Out\\Drv2\\b.inf"), TextData(3000, 1));
}

TEST(ZipRoundTrip, ArchivesBehindAProgramOpenWhateverTheirOffsetsCountFrom) {
    Sandbox box;
    std::string stub = "MZ" + NoiseData(5000, 4);
    box.Write("C:\\in\\x.inf", TextData(4000, 2));
    ZipWriter writer(box.Fs());
    ASSERT_TRUE(writer.Create("C:\\sfx.exe", stub) && writer.AddFile("C:\\in\\x.inf", "Drv\\x.inf") &&
                writer.Close());
    std::string sfx = box.Read("C:\\sfx.exe");
    EXPECT_EQ(sfx.substr(0, stub.size()), stub);
    ASSERT_TRUE(writer.Create("C:\\plain.zip") && writer.AddFile("C:\\in\\x.inf", "Drv\\x.inf") &&
                writer.Close());
    // A stub put in front afterwards; a launcher with a length trailer after the archive.
    std::string plain = box.Read("C:\\plain.zip"), trailer;
    zipfmt::Put32(trailer, static_cast<std::uint32_t>(plain.size()));
    box.Write("C:\\later.exe", stub + plain);
    box.Write("C:\\setup.exe", stub + sfx + trailer);

    for (const char* path : {"C:\\sfx.exe", "C:\\later.exe", "C:\\setup.exe"}) {
        SCOPED_TRACE(path);
        ZipReader reader(box.Fs());
        ASSERT_TRUE(reader.Open(path)) << reader.Error();
        ASSERT_EQ(reader.Entries().size(), 1u);
        EXPECT_GE(reader.Entries()[0].localHeaderOffset, stub.size());
        EXPECT_TRUE(reader.Test("").ok);
    }
    // Adding to an archive whose offsets were relative makes them absolute.
    box.Write("C:\\in\\y.inf", "more");
    ASSERT_TRUE(writer.Append("C:\\later.exe") && writer.AddFile("C:\\in\\y.inf", "Drv\\y.inf") &&
                writer.Close());
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\later.exe")) << reader.Error();
    EXPECT_TRUE(reader.Test("").ok);
    EXPECT_EQ(reader.Entries().size(), 2u);
}

TEST(ZipRoundTrip, Zip64ForCountsAndWhenForced) {
    Sandbox box;
    ZipWriter writer(box.Fs());
    ASSERT_TRUE(writer.Create("C:\\many.zip"));
    const int count = 65600;
    for (int i = 0; i < count; ++i)
        writer.AddBytes("d/" + std::to_string(i), std::to_string(i * 7), 1700000000);
    ASSERT_TRUE(writer.Close());
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\many.zip")) << reader.Error();
    ASSERT_EQ(reader.Entries().size(), static_cast<std::size_t>(count));
    std::string back, why, out;
    ASSERT_TRUE(reader.ReadEntry(count - 1, "", &back, &why)) << why;
    EXPECT_EQ(back, "459193");
    if (HaveTool("python3")) {
        EXPECT_EQ(RunTool("python3 -c \"import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); "
                          "print(len(z.infolist()), z.testzip(), z.read('d/65599'))\" " +
                              Quote(box.Host("C:\\many.zip")),
                          &out),
                  0);
        EXPECT_EQ(out, "65600 None b'459193'\n");
    }

    box.Write("C:\\in\\big.txt", TextData(2200000, 3));
    writer.SetForceZip64(true);
    writer.SetPassword("pw"); // the descriptor then carries 8-byte sizes
    ASSERT_TRUE(writer.Create("C:\\forced.zip") && writer.AddFile("C:\\in\\big.txt", "big.txt"));
    writer.AddBytes("small.txt", "small", 1700000000);
    writer.AddDirectory("folder", 1700000000);
    ASSERT_TRUE(writer.Close());
    ZipReader forced(box.Fs());
    ASSERT_TRUE(forced.Open("C:\\forced.zip")) << forced.Error();
    EXPECT_EQ(Names(forced), (std::vector<std::string>{"big.txt", "small.txt", "folder/"}));
    EXPECT_EQ(forced.Entries()[0].size, 2200000u);
    ZipResult result = forced.Test("pw");
    EXPECT_TRUE(result.ok) << result.error;
}

TEST(ZipRoundTrip, PasswordProtectedEntries) {
    Sandbox box;
    auto files = MakeTree(box);
    ASSERT_TRUE(WriteArchive(box, "C:\\enc.zip", 6, "xqz.secret"));
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\enc.zip"));
    EXPECT_TRUE(reader.Entries()[3].IsEncrypted());
    ZipExtractOptions options;
    options.password = "xqz.secreT";
    ZipResult wrong = reader.Extract("C:\\Wrong", options);
    EXPECT_NE(wrong.error.find("wrong password"), std::string::npos) << wrong.error;
    EXPECT_FALSE(box.Fs().Exists("C:\\Wrong\\Drv1\\oem3.inf"));
    EXPECT_NE(reader.Test("").error.find("password required"), std::string::npos);

    options.password = "xqz.secret";
    ZipResult right = reader.Extract("C:\\Right", options);
    ASSERT_TRUE(right.ok) << right.error;
    for (auto& [name, data] : files)
        EXPECT_EQ(box.Read("C:\\Right\\" + name), data) << name;
}

TEST(ZipRoundTrip, ProgressClimbsToAHundredAndCancelStopsCleanly) {
    Sandbox box;
    MakeTree(box);
    Recorder packing;
    ASSERT_TRUE(WriteArchive(box, "C:\\p.zip", 6, {}, &packing));
    EXPECT_FALSE(packing.backwards);
    EXPECT_EQ(packing.last, 100.0);
    EXPECT_EQ(packing.started.size(), 9u);
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\p.zip"));
    Recorder unpacking;
    ASSERT_TRUE(reader.Extract("C:\\Out", {}, &unpacking).ok);
    EXPECT_FALSE(unpacking.backwards);
    EXPECT_EQ(unpacking.last, 100.0);

    // A cancelled packing leaves a readable archive of the entries finished; the large file
    // under way when the answer came is left out, its first block unreferenced.
    Recorder cancel;
    cancel.cancelAfter = 5;
    EXPECT_FALSE(WriteArchive(box, "C:\\c.zip", 6, {}, &cancel));
    EXPECT_EQ(cancel.started.back(), "Drv1/sys/big.bin");
    ZipReader partial(box.Fs());
    ASSERT_TRUE(partial.Open("C:\\c.zip")) << partial.Error();
    EXPECT_EQ(Names(partial), (std::vector<std::string>{"Drv1/", "Drv1/empty.dat", "Drv1/nothing/",
                                                        "Drv1/oem3.inf", "Drv1/sys/"}));
    EXPECT_TRUE(partial.Test("").ok);
    Recorder stop;
    stop.cancelAfter = 2;
    EXPECT_EQ(reader.Extract("C:\\Stopped", {}, &stop).error, "Cancelled");
    EXPECT_FALSE(box.Fs().Exists("C:\\Stopped\\Drv1\\oem3.inf"));
}

TEST(ZipRoundTrip, UnreadableFilesAreLeftOutAndReported) {
    Sandbox box;
    for (const char* name : {"a.txt", "gone.txt", "c.txt"})
        box.Write(std::string("C:\\in\\") + name, name);
    ZipWriter writer(box.Fs());
    ASSERT_TRUE(writer.Create("C:\\u.zip") && writer.AddFolder("C:\\in", "C:\\", false));
    std::filesystem::remove(box.Host("C:\\in\\gone.txt"));
    Recorder recorder;
    ASSERT_TRUE(writer.Close(&recorder)) << writer.Error();
    EXPECT_EQ(writer.Skipped(), (std::vector<std::string>{"in/gone.txt: cannot open the file"}));
    EXPECT_EQ(recorder.skipped, writer.Skipped());
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\u.zip"));
    EXPECT_EQ(Names(reader), (std::vector<std::string>{"in/", "in/a.txt", "in/c.txt"}));
}

#ifdef _WIN32
// The same through the real Windows files: adding reopens the archive and writes over its old
// directory, replacing a file goes through a move.
TEST(ZipRoundTrip, OnTheWindowsFileSystem) {
    auto platform = CreateWin32Platform();
    FileSystem& files = platform->Ports().fs;
    test::TempDir temp;
    std::string root = temp.Path().string();
    ASSERT_TRUE(WriteWholeFile(files, root + "\\a.inf", TextData(3000000, 1)));
    ASSERT_TRUE(WriteWholeFile(files, root + "\\b.inf", "second"));
    ZipWriter writer(files);
    ASSERT_TRUE(writer.Create(root + "\\z\\w.zip") && writer.AddFile(root + "\\a.inf", "d\\a.inf") &&
                writer.Close());
    ASSERT_TRUE(writer.Append(root + "\\z\\w.zip") && writer.AddFile(root + "\\b.inf", "d\\b.inf") &&
                writer.Close());
    ZipReader reader(files);
    ASSERT_TRUE(reader.Open(root + "\\z\\w.zip")) << reader.Error();
    EXPECT_EQ(Names(reader), (std::vector<std::string>{"d/a.inf", "d/b.inf"}));
    ASSERT_TRUE(CreateDirectories(files, root + "\\out\\d") &&
                WriteWholeFile(files, root + "\\out\\d\\b.inf", "old"));
    ZipResult result = reader.Extract(root + "\\out", {});
    ASSERT_TRUE(result.ok) << result.error;
    std::string a, b;
    ASSERT_TRUE(ReadWholeFile(files, root + "\\out\\d\\a.inf", &a) &&
                ReadWholeFile(files, root + "\\out\\d\\b.inf", &b));
    EXPECT_EQ(a, TextData(3000000, 1));
    EXPECT_EQ(b, "second");
}
#endif

TEST(ZipLevel, SettingTextsMapToLevels) {
    EXPECT_EQ(ZipLevelFromSetting("High", 4), 9);
    EXPECT_EQ(ZipLevelFromSetting("Medium", 4), 6);
    EXPECT_EQ(ZipLevelFromSetting("Low", 4), 1);
    EXPECT_EQ(ZipLevelFromSetting("None", 4), 0);
    EXPECT_EQ(ZipLevelFromSetting("high", 4), 4);
    EXPECT_EQ(ZipLevelFromSetting("", 7), 7);
}

} // namespace vantrel
