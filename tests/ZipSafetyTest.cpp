// Hostile archives: nothing may land outside the target folder, on a device or behind a link,
// and bombs are refused before they are inflated.
#include <gtest/gtest.h>

#include "ZipTestSupport.h"
#include "archive/ZipFormat.h"
#include "archive/ZipReader.h"
#include "archive/ZipSafety.h"

namespace vantrel {

using namespace ziptest;

TEST(ZipSafety, EntryNamesThatEscapeOrMisleadAreRefused) {
    const std::vector<std::vector<std::string>> refused = {
        {"../x", "..\\x", "a/../../x", "a\\..\\..\\x", "..", "a/.."},    // parents, either separator
        {"/x", "\\x", "\\\\server\\share\\x", "//server/share/x"},       // roots, network paths
        {"C:\\x", "C:x", "c:/x", "a:stream", "d/f.txt:s", "f::$DATA"},   // drives, data streams
        {"CON", "nul.txt", "d/Com1.inf", "LPT9", "aux .txt", "COM\xB9"}, // devices
        {"d/name.", "d/name ", "..."},                                   // renamed by Windows
        {"a*b", "a?b", "a|b", "a<b", "a\"b", std::string("a\0b", 3)},    // not storable
        {"", "/", "./"},
    };
    for (const auto& group : refused) {
        for (const std::string& name : group) {
            std::string relative = "untouched", why;
            EXPECT_FALSE(SanitizeEntryPath(name, &relative, &why)) << name << " gave " << relative;
            EXPECT_FALSE(why.empty()) << name;
            EXPECT_EQ(relative, "untouched") << name;
        }
    }
    const std::vector<std::pair<std::string, std::string>> accepted = {
        {"Drv1/oem3.inf", "Drv1\\oem3.inf"},
        {"Drv1\\sub\\x.sys", "Drv1\\sub\\x.sys"},
        {"folder/", "folder"},
        {"./a//b", "a\\b"},
        {"..a/b..c", "..a\\b..c"},
        {"CONSOLE.txt", "CONSOLE.txt"},
        {"com10", "com10"},
        {"caf\xE9.inf", "caf\xE9.inf"},
        {".hidden", ".hidden"}};
    for (const auto& [name, expected] : accepted) {
        std::string relative, why;
        EXPECT_TRUE(SanitizeEntryPath(name, &relative, &why)) << name << ": " << why;
        EXPECT_EQ(relative, expected);
    }
}

TEST(ZipSafety, HostileEntriesAreRefusedAndNothingLandsOutside) {
    Sandbox box;
    std::vector<RawEntry> entries;
    for (const char* name :
         {"../up.txt", "..\\up2.txt", "sub/../../up3.txt", "C:\\abs.txt", "/root.txt",
          "\\\\server\\share\\unc.txt", "CON", "nul.txt", "a:stream", "ok/../../../../x.txt"})
        entries.push_back(StoredEntry(name, "evil"));
    RawEntry link = StoredEntry("link", "../../../etc");
    link.madeBy = 3 << 8 | 30;
    link.attributes = 0120777u << 16;
    entries.push_back(link);
    RawEntry reparse = StoredEntry("junction", "C:\\Windows");
    reparse.attributes = 0x400;
    entries.push_back(reparse);
    entries.push_back(DeflatedEntry("good/ok.txt", "fine"));
    box.Write("C:\\evil.zip", BuildRawZip(entries));

    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\evil.zip")) << reader.Error();
    ZipResult result = reader.Extract("C:\\Out\\target", {});
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.problems.size(), entries.size() - 1);
    EXPECT_EQ(result.filesWritten, 1u);
    EXPECT_EQ(box.Read("C:\\Out\\target\\good\\ok.txt"), "fine");
    EXPECT_NE(result.error.find("../up.txt"), std::string::npos) << result.error;
    EXPECT_EQ(box.Listing(), (std::vector<std::string>{
                                 "drive_c", "drive_c/Out", "drive_c/Out/target", "drive_c/Out/target/good",
                                 "drive_c/Out/target/good/ok.txt", "drive_c/evil.zip"}));
}

TEST(ZipSafety, OverlappingEntriesAreRefusedWhole) {
    Sandbox box;
    // Two directory records share one local entry, the trick of the flat bombs.
    std::vector<RawEntry> shared = {StoredEntry("a.txt", "payload"), StoredEntry("b.txt", "payload")};
    shared[1].offsetOverride = 0;
    box.Write("C:\\shared.zip", BuildRawZip(shared));
    // One entry's declared data runs into the next one.
    std::vector<RawEntry> into = {StoredEntry("a.txt", "0123456789"), StoredEntry("b.txt", "x")};
    into[1].offsetOverride = 35; // inside a.txt's data
    box.Write("C:\\into.zip", BuildRawZip(into));
    for (const char* zip : {"C:\\shared.zip", "C:\\into.zip"}) {
        ZipReader reader(box.Fs());
        EXPECT_FALSE(reader.Open(zip)) << zip;
        EXPECT_NE(reader.Error().find("overlap"), std::string::npos) << reader.Error();
        EXPECT_FALSE(reader.Extract("C:\\Out", {}).ok);
    }
    EXPECT_FALSE(box.Fs().Exists("C:\\Out"));
}

TEST(ZipSafety, BombsAreRefusedBeforeInflating) {
    Sandbox box;
    // Real deflate of 48 MiB of zeros: past a thousand to one.
    RawEntry zeros = DeflatedEntry("zeros.bin", std::string(48 << 20, '\0'));
    box.Write("C:\\bomb.zip", BuildRawZip({zeros, StoredEntry("small.txt", "s")}));
    // A small stream that claims a huge size.
    RawEntry liar = DeflatedEntry("liar.bin", "short");
    liar.size = 3000000000u;
    box.Write("C:\\liar.zip", BuildRawZip({liar}));
    for (const char* zip : {"C:\\bomb.zip", "C:\\liar.zip"}) {
        ZipReader reader(box.Fs());
        ASSERT_TRUE(reader.Open(zip)) << reader.Error();
        ZipResult result = reader.Extract("C:\\Out", {});
        EXPECT_FALSE(result.ok);
        EXPECT_NE(result.error.find("decompression bomb"), std::string::npos) << result.error;
        EXPECT_FALSE(reader.Test("").ok);
        std::string data, why;
        EXPECT_FALSE(reader.ReadEntry(0, "", &data, &why));
    }
    EXPECT_FALSE(box.Fs().Exists("C:\\Out\\small.txt"));
    EXPECT_FALSE(IsAbsurdRatio(100 << 20, 200 << 10)); // 500:1
    EXPECT_FALSE(IsAbsurdRatio(16 << 20, 16 << 10));   // a driver's 16 MiB of zeros

    // A stream that inflates past its declared size is cut off where the size says.
    RawEntry grows = DeflatedEntry("grows.txt", std::string(5000, 'a'));
    grows.size = 100;
    grows.crc = Crc(std::string(100, 'a'));
    box.Write("C:\\grows.zip", BuildRawZip({grows}));
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\grows.zip"));
    ZipResult result = reader.Extract("C:\\Out", {});
    EXPECT_NE(result.error.find("more data than its declared size"), std::string::npos) << result.error;
    EXPECT_FALSE(box.Fs().Exists("C:\\Out\\grows.txt"));
}

} // namespace vantrel
