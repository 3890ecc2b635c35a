#include "PortContracts.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Profile.h"

namespace vantrel {

std::string PortImplementationName(const ::testing::TestParamInfo<PortImplementation>& info) {
    return info.param.name;
}

namespace {

using namespace std::string_literals;

long Query(Registry& registry, RegHandle key, std::string_view name, std::uint32_t bufferBytes,
           std::string* data, std::uint32_t* type = nullptr) {
    std::uint32_t ignored = 0;
    return registry.QueryValue(key, name, bufferBytes, type != nullptr ? type : &ignored, data);
}

std::vector<std::string> SubkeyNames(Registry& registry, RegHandle key) {
    std::vector<std::string> names;
    std::string name;
    for (std::uint32_t i = 0; registry.EnumKey(key, i, 256, &name) == kErrorSuccess; ++i)
        names.push_back(name);
    return names;
}

} // namespace

// ---- Registry ----

TEST_P(RegistryContract, StringNeedsRoomForItsNul) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    ASSERT_EQ(RegWriteString(reg, root, "Language", "English"), kErrorSuccess);

    std::string data = "stale";
    std::uint32_t type = 0;
    EXPECT_EQ(Query(reg, root, "Language", 7, &data, &type), kErrorMoreData);
    EXPECT_EQ(type, kRegSz);
    EXPECT_EQ(Query(reg, root, "Language", 8, &data, &type), kErrorSuccess);
    EXPECT_EQ(data, "English\0"s);
    std::string text;
    EXPECT_FALSE(RegReadString(reg, root, "Language", 7, &text));
    EXPECT_TRUE(RegReadString(reg, root, "Language", 8, &text));
    EXPECT_EQ(text, "English");
}

TEST_P(RegistryContract, RawDataKeepsTrailingNulsAndBlanks) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    ASSERT_EQ(reg.SetValue(root, "Padded", kRegSz, "Medium \0\0"s), kErrorSuccess);
    std::string data;
    EXPECT_EQ(Query(reg, root, "Padded", 8, &data), kErrorMoreData);
    ASSERT_EQ(Query(reg, root, "Padded", 9, &data), kErrorSuccess);
    EXPECT_EQ(data, "Medium \0\0"s);
    EXPECT_EQ(RegStringData(data), "Medium ");
}

TEST_P(RegistryContract, StringStoredWithoutNulReadsAsTheWord) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    ASSERT_EQ(reg.SetValue(root, "Bare", kRegSz, "BckFolder"), kErrorSuccess);
    std::string data;
    ASSERT_EQ(Query(reg, root, "Bare", 30, &data), kErrorSuccess);
    // Windows may hand the ANSI text back with a NUL added; the image returns what was stored.
    EXPECT_EQ(data.substr(0, 9), "BckFolder");
    EXPECT_LE(data.size(), 10u);
    EXPECT_EQ(RegStringData(data), "BckFolder");
}

TEST_P(RegistryContract, MultiStringExpandStringAndDword) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    const std::string multi = "PCI\\VEN_8086\0*PNP0A03\0\0"s;
    ASSERT_EQ(reg.SetValue(root, "HardwareID", kRegMultiSz, multi), kErrorSuccess);
    ASSERT_EQ(reg.SetValue(root, "Path", kRegExpandSz, "%SystemRoot%\\inf\0"s), kErrorSuccess);
    ASSERT_EQ(reg.SetValue(root, "Count", kRegDword, "\x1f\0\0\0"s), kErrorSuccess);

    std::string data;
    std::uint32_t type = 0;
    EXPECT_EQ(Query(reg, root, "HardwareID", static_cast<std::uint32_t>(multi.size() - 1), &data),
              kErrorMoreData);
    ASSERT_EQ(Query(reg, root, "HardwareID", static_cast<std::uint32_t>(multi.size()), &data, &type),
              kErrorSuccess);
    EXPECT_EQ(type, kRegMultiSz);
    EXPECT_EQ(data, multi);
    ASSERT_EQ(Query(reg, root, "Path", 64, &data, &type), kErrorSuccess);
    EXPECT_EQ(type, kRegExpandSz);
    EXPECT_EQ(data, "%SystemRoot%\\inf\0"s);
    ASSERT_EQ(Query(reg, root, "Count", 4, &data, &type), kErrorSuccess);
    EXPECT_EQ(type, kRegDword);
    EXPECT_EQ(data, "\x1f\0\0\0"s);
}

TEST_P(RegistryContract, ValueNamesIgnoreCase) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    ASSERT_EQ(RegWriteString(reg, root, "Backup option", "BckZip"), kErrorSuccess);
    ASSERT_EQ(RegWriteString(reg, root, "BACKUP OPTION", "BckSfx"), kErrorSuccess);
    std::string text;
    EXPECT_TRUE(RegReadString(reg, root, "backup Option", 30, &text));
    EXPECT_EQ(text, "BckSfx");
    RegKeyInfo info;
    ASSERT_EQ(reg.QueryInfoKey(root, &info), kErrorSuccess);
    EXPECT_EQ(info.values, 1u);
    EXPECT_EQ(reg.DeleteValue(root, "backup OPTION"), kErrorSuccess);
    EXPECT_EQ(Query(reg, root, "Backup option", 30, &text), kErrorFileNotFound);
}

TEST_P(RegistryContract, MissingValuesAndKeysAreNotFound) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    std::string data;
    EXPECT_EQ(Query(reg, root, "Nothing", 100, &data), kErrorFileNotFound);
    EXPECT_EQ(reg.DeleteValue(root, "Nothing"), kErrorFileNotFound);
    RegHandle key = 0;
    EXPECT_EQ(reg.OpenKey(root, "No\\Such\\Key", &key), kErrorFileNotFound);
    EXPECT_EQ(reg.DeleteKey(root, "NoSuchKey"), kErrorFileNotFound);
}

TEST_P(RegistryContract, DefaultValueHasTheEmptyName) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    ASSERT_EQ(RegWriteString(reg, root, "", "Display adapters"), kErrorSuccess);
    std::string text;
    EXPECT_TRUE(RegReadString(reg, root, "", 64, &text));
    EXPECT_EQ(text, "Display adapters");
    std::string name = "x";
    std::uint32_t type = 0;
    ASSERT_EQ(reg.EnumValue(root, 0, &name, &type), kErrorSuccess);
    EXPECT_EQ(name, "");
    EXPECT_EQ(type, kRegSz);
}

TEST_P(RegistryContract, KeyNamesIgnoreCaseAndKeepTheirSpelling) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    RegKey created(reg), again(reg), opened(reg);
    ASSERT_EQ(created.Create(root, "Settings\\Inner"), kErrorSuccess);
    ASSERT_EQ(again.Create(root, "SETTINGS"), kErrorSuccess);
    ASSERT_EQ(opened.Open(root, "settings\\INNER"), kErrorSuccess);
    ASSERT_EQ(RegWriteString(reg, created.Handle(), "Via", "first"), kErrorSuccess);
    std::string text;
    EXPECT_TRUE(RegReadString(reg, opened.Handle(), "via", 16, &text));
    EXPECT_EQ(SubkeyNames(reg, root), std::vector<std::string>{"Settings"});
}

TEST_P(RegistryContract, CreateKeyMakesEveryMissingLevel) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    RegKey deep(reg), middle(reg);
    ASSERT_EQ(deep.Create(root, "One\\Two\\Three"), kErrorSuccess);
    ASSERT_EQ(middle.Open(root, "One\\Two"), kErrorSuccess);
    EXPECT_EQ(SubkeyNames(reg, middle.Handle()), std::vector<std::string>{"Three"});
}

TEST_P(RegistryContract, SubkeysEnumerateAlphabeticallyIgnoringCase) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    for (const char* name : {"b", "A", "c", "_x", "Z1", "a2"}) {
        RegKey key(reg);
        ASSERT_EQ(key.Create(root, name), kErrorSuccess) << name;
    }
    // Windows and the image compare upper-cased names, so "_" (0x5F) sorts after the letters;
    // Wine, where the Windows port's tests run, compares lower-cased ones.
    if (GetParam().name == "Image")
        EXPECT_EQ(SubkeyNames(reg, root), (std::vector<std::string>{"A", "a2", "b", "c", "Z1", "_x"}));
    else
        EXPECT_EQ(SubkeyNames(reg, root), (std::vector<std::string>{"_x", "A", "a2", "b", "c", "Z1"}));
    std::string name;
    EXPECT_EQ(reg.EnumKey(root, 6, 256, &name), kErrorNoMoreItems);
}

TEST_P(RegistryContract, EnumKeyNeedsRoomForNameAndNul) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    RegKey key(reg);
    ASSERT_EQ(key.Create(root, "abcde"), kErrorSuccess);
    std::string name;
    EXPECT_EQ(reg.EnumKey(root, 0, 5, &name), kErrorMoreData);
    ASSERT_EQ(reg.EnumKey(root, 0, 6, &name), kErrorSuccess);
    EXPECT_EQ(name, "abcde");
}

TEST_P(RegistryContract, ValuesEnumerateOnceEachWithTheirTypes) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    ASSERT_EQ(RegWriteString(reg, root, "zeta", "1"), kErrorSuccess);
    ASSERT_EQ(reg.SetValue(root, "alpha", kRegDword, "\1\0\0\0"s), kErrorSuccess);
    ASSERT_EQ(reg.SetValue(root, "Mid", kRegBinary, "\xff"s), kErrorSuccess);
    ASSERT_EQ(reg.SetValue(root, "ALPHA", kRegDword, "\2\0\0\0"s), kErrorSuccess);
    std::vector<std::pair<std::string, std::uint32_t>> seen;
    std::string name;
    std::uint32_t type;
    std::uint32_t i = 0;
    for (; reg.EnumValue(root, i, &name, &type) == kErrorSuccess; ++i)
        seen.emplace_back(name, type);
    EXPECT_EQ(reg.EnumValue(root, i, &name, &type), kErrorNoMoreItems);
    // Windows keeps the order of writing and Wine sorts, so only the set is shared.
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, (std::vector<std::pair<std::string, std::uint32_t>>{
                        {"Mid", kRegBinary}, {"alpha", kRegDword}, {"zeta", kRegSz}}));
}

TEST_P(RegistryContract, QueryInfoKeyCountsSubkeysAndValues) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    RegKey a(reg), b(reg);
    ASSERT_EQ(a.Create(root, "Short"), kErrorSuccess);
    ASSERT_EQ(b.Create(root, "LongerName"), kErrorSuccess);
    ASSERT_EQ(RegWriteString(reg, root, "v", "0123456789"), kErrorSuccess); // 11 bytes
    ASSERT_EQ(reg.SetValue(root, "ValueName", kRegDword, "\0\0\0\0"s), kErrorSuccess);
    RegKeyInfo info;
    ASSERT_EQ(reg.QueryInfoKey(root, &info), kErrorSuccess);
    EXPECT_EQ(info.subKeys, 2u);
    EXPECT_EQ(info.maxSubKeyLen, 10u);
    EXPECT_EQ(info.values, 2u);
    EXPECT_EQ(info.maxValueNameLen, 9u);
    EXPECT_GE(info.maxValueLen, 11u); // Windows counts the stored (UTF-16) size
}

TEST_P(RegistryContract, DeleteKeyRefusesKeyWithSubkeys) {
    Registry& reg = ports->registry();
    RegHandle root = ports->testRoot();
    {
        RegKey key(reg);
        ASSERT_EQ(key.Create(root, "Parent\\Child"), kErrorSuccess);
    }
    EXPECT_EQ(reg.DeleteKey(root, "Parent"), kErrorAccessDenied);
    EXPECT_EQ(reg.DeleteKey(root, "PARENT\\child"), kErrorSuccess);
    EXPECT_EQ(reg.DeleteKey(root, "Parent"), kErrorSuccess);
    RegHandle gone = 0;
    EXPECT_EQ(reg.OpenKey(root, "Parent", &gone), kErrorFileNotFound);
    EXPECT_TRUE(SubkeyNames(reg, root).empty());
}

TEST_P(RegistryContract, ClosedHandleIsInvalid) {
    Registry& reg = ports->registry();
    RegHandle key = 0;
    ASSERT_EQ(reg.CreateKey(ports->testRoot(), "Temp", &key), kErrorSuccess);
    ASSERT_EQ(reg.CloseKey(key), kErrorSuccess);
    RegKeyInfo info;
    EXPECT_EQ(reg.QueryInfoKey(key, &info), kErrorInvalidHandle);
    EXPECT_EQ(reg.CloseKey(key), kErrorInvalidHandle);
}

// ---- File system ----

namespace {

std::vector<std::string> FoundNames(FileSystem& fs, const std::string& pattern) {
    std::vector<FindData> found;
    bool any = fs.FindFiles(pattern, &found);
    std::vector<std::string> names;
    for (const auto& f : found)
        names.push_back(f.name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(any, !names.empty()) << pattern;
    return names;
}

std::string ReadAll(FileSystem& fs, const std::string& path) {
    std::string bytes;
    EXPECT_TRUE(ReadWholeFile(fs, path, &bytes)) << path;
    return bytes;
}

} // namespace

TEST_P(FileSystemContract, LargeFileRoundTripWithSeek) {
    FileSystem& fs = ports->fs();
    const std::string path = ports->tempDir() + "\\big.bin";
    std::string bytes(300000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>((i * 7 + i / 256) & 0xFF);
    {
        auto out = fs.OpenWrite(path);
        ASSERT_NE(out, nullptr);
        for (std::size_t i = 0; i < bytes.size(); i += 4096)
            ASSERT_TRUE(out->Write(bytes.data() + i, std::min<std::size_t>(4096, bytes.size() - i)));
        EXPECT_EQ(out->Tell(), bytes.size());
        EXPECT_TRUE(out->Close());
    }
    auto in = fs.OpenRead(path);
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(in->Size(), bytes.size());
    ASSERT_TRUE(in->Seek(299990));
    char tail[32];
    EXPECT_EQ(in->Read(tail, sizeof tail), 10);
    EXPECT_EQ(std::string(tail, 10), bytes.substr(299990));
    EXPECT_EQ(in->Read(tail, sizeof tail), 0);
    in.reset();
    EXPECT_EQ(ReadAll(fs, path), bytes);
}

TEST_P(FileSystemContract, ReadAllHoldsTheWholeFileOrNothing) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir();
    std::string bytes = "[Version]\r\n" + std::string(70000, 'x') + std::string("\0\xFF end", 6);
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\Net.inf", bytes));
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\empty.inf", ""));
    auto whole = fs.ReadAll(dir + "\\NET.INF", bytes.size());
    ASSERT_NE(whole, nullptr);
    EXPECT_EQ(whole->View(), bytes);
    // Another file read while the first is held does not disturb it.
    auto empty = fs.ReadAll(dir + "\\empty.inf", 100);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->View(), "");
    EXPECT_EQ(whole->View().substr(0, 9), "[Version]");
    EXPECT_EQ(fs.ReadAll(dir + "\\net.inf", bytes.size() - 1), nullptr);
    EXPECT_EQ(fs.ReadAll(dir + "\\none.inf", 100), nullptr);
    EXPECT_EQ(fs.ReadAll(dir, 1 << 20), nullptr);

    // Large files may be taken another way than small ones; the contract is the same.
    std::string large(3 << 19, 'L');
    large[large.size() - 1] = 'E';
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\large.cab", large));
    auto held = fs.ReadAll(dir + "\\large.cab", large.size());
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(held->View(), large);
    EXPECT_EQ(fs.ReadAll(dir + "\\large.cab", large.size() - 1), nullptr);
}

TEST_P(FileSystemContract, WriteTruncatesAndAppendAdds) {
    FileSystem& fs = ports->fs();
    const std::string path = ports->tempDir() + "\\log.txt";
    ASSERT_TRUE(WriteWholeFile(fs, path, "first line, long"));
    ASSERT_TRUE(WriteWholeFile(fs, path, "abc"));
    auto out = fs.OpenWrite(path, true);
    ASSERT_NE(out, nullptr);
    ASSERT_TRUE(out->Write("def", 3));
    ASSERT_TRUE(out->Close());
    EXPECT_EQ(ReadAll(fs, path), "abcdef");

    // Cutting takes back written and still gathered bytes alike, and writing goes on there.
    out = fs.OpenWrite(path, true);
    ASSERT_NE(out, nullptr);
    std::string more(100000, 'x');
    ASSERT_TRUE(out->Write(more.data(), more.size()));
    ASSERT_TRUE(out->Write("gathered", 8));
    ASSERT_TRUE(out->Truncate(4));
    EXPECT_EQ(out->Tell(), 4u);
    ASSERT_TRUE(out->Write("XY", 2));
    ASSERT_TRUE(out->Close());
    EXPECT_EQ(ReadAll(fs, path), "abcdXY");
}

TEST_P(FileSystemContract, FindFilesMatchesWildcardsIgnoringCase) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir();
    for (const char* name : {"Alpha.TXT", "beta.txt", "gamma.inf", "nodot"})
        ASSERT_TRUE(WriteWholeFile(fs, dir + "\\" + name, name));
    ASSERT_TRUE(fs.CreateDirectory(dir + "\\Sub"));

    using Names = std::vector<std::string>;
    EXPECT_EQ(FoundNames(fs, dir + "\\*.txt"), (Names{"Alpha.TXT", "beta.txt"}));
    EXPECT_EQ(FoundNames(fs, dir + "\\*.TXT"), (Names{"Alpha.TXT", "beta.txt"}));
    EXPECT_EQ(FoundNames(fs, dir + "\\?ETA.*"), (Names{"beta.txt"}));
    EXPECT_EQ(FoundNames(fs, dir + "\\alpha.txt"), (Names{"Alpha.TXT"}));
    EXPECT_EQ(FoundNames(fs, dir + "\\*.*"), (Names{"Alpha.TXT", "Sub", "beta.txt", "gamma.inf", "nodot"}));
    EXPECT_EQ(FoundNames(fs, dir + "\\*"), (Names{"Alpha.TXT", "Sub", "beta.txt", "gamma.inf", "nodot"}));
    EXPECT_EQ(FoundNames(fs, dir + "\\*.doc"), Names{});
    EXPECT_EQ(FoundNames(fs, dir + "\\Missing\\*.*"), Names{});

    std::vector<FindData> found;
    ASSERT_TRUE(fs.FindFiles(dir + "\\g*", &found));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].size, 9u);
    EXPECT_FALSE(found[0].IsDirectory());
    ASSERT_TRUE(fs.FindFiles(dir + "\\SUB", &found));
    EXPECT_TRUE(found[0].IsDirectory());

    // The cheaper listing: files only, in any order.
    Names names;
    ASSERT_TRUE(fs.FileNames(dir, &names));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Names{"Alpha.TXT", "beta.txt", "gamma.inf", "nodot"}));
    EXPECT_TRUE(fs.FileNames(dir + "\\Sub", &names));
    EXPECT_EQ(names, Names{});
    EXPECT_FALSE(fs.FileNames(dir + "\\Missing", &names));
}

TEST_P(FileSystemContract, PathsIgnoreCaseAndTakeEitherSlash) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir();
    ASSERT_TRUE(fs.CreateDirectory(dir + "\\Drivers"));
    ASSERT_TRUE(WriteWholeFile(fs, dir + "/Drivers/Net.SYS", "driver"));
    EXPECT_EQ(ReadAll(fs, dir + "\\DRIVERS\\net.sys"), "driver");
    EXPECT_TRUE(fs.Exists(dir + "\\drivers"));
    EXPECT_TRUE(fs.IsDirectory(dir + "\\drivers\\"));
    EXPECT_FALSE(fs.IsDirectory(dir + "\\drivers\\NET.sys"));
    FindData info;
    ASSERT_TRUE(fs.GetInfo(dir + "\\drivers\\net.sys", &info));
    EXPECT_EQ(info.size, 6u);
    EXPECT_FALSE(info.IsDirectory());
    EXPECT_EQ(fs.OpenRead(dir + "\\drivers\\none.sys"), nullptr);
    EXPECT_EQ(fs.OpenWrite(dir + "\\NoFolder\\x.sys"), nullptr);
}

TEST_P(FileSystemContract, CopyFileHonoursFailIfExists) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir();
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\a.inf", "new contents"));
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\b.inf", "old"));
    EXPECT_FALSE(fs.CopyFile(dir + "\\a.inf", dir + "\\b.inf", true));
    EXPECT_EQ(ReadAll(fs, dir + "\\b.inf"), "old");
    EXPECT_TRUE(fs.CopyFile(dir + "\\a.inf", dir + "\\B.INF", false));
    EXPECT_EQ(ReadAll(fs, dir + "\\b.inf"), "new contents");
    EXPECT_TRUE(fs.CopyFile(dir + "\\a.inf", dir + "\\c.inf", true));
    EXPECT_EQ(ReadAll(fs, dir + "\\c.inf"), "new contents");
    EXPECT_FALSE(fs.CopyFile(dir + "\\missing.inf", dir + "\\d.inf", false));
    EXPECT_FALSE(fs.Exists(dir + "\\d.inf"));
}

TEST_P(FileSystemContract, MoveFileReplacesAndMovesFolders) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir();
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\new.txt", "new"));
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\old.txt", "old"));
    EXPECT_TRUE(fs.MoveFile(dir + "\\new.txt", dir + "\\OLD.txt"));
    EXPECT_FALSE(fs.Exists(dir + "\\new.txt"));
    EXPECT_EQ(ReadAll(fs, dir + "\\old.txt"), "new");

    ASSERT_TRUE(fs.CreateDirectory(dir + "\\Folder"));
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\Folder\\inside.txt", "x"));
    EXPECT_TRUE(fs.MoveFile(dir + "\\Folder", dir + "\\Renamed"));
    EXPECT_EQ(ReadAll(fs, dir + "\\Renamed\\inside.txt"), "x");
    EXPECT_FALSE(fs.Exists(dir + "\\Folder"));
    EXPECT_FALSE(fs.MoveFile(dir + "\\missing.txt", dir + "\\other.txt"));
}

TEST_P(FileSystemContract, DeleteFileAndRemoveDirectory) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir() + "\\Folder";
    ASSERT_TRUE(fs.CreateDirectory(dir));
    ASSERT_TRUE(WriteWholeFile(fs, dir + "\\file.txt", "x"));
    EXPECT_FALSE(fs.RemoveDirectory(dir));
    EXPECT_FALSE(fs.DeleteFile(dir));
    EXPECT_TRUE(fs.DeleteFile(dir + "\\FILE.txt"));
    EXPECT_FALSE(fs.DeleteFile(dir + "\\file.txt"));
    EXPECT_TRUE(fs.RemoveDirectory(dir));
    EXPECT_FALSE(fs.Exists(dir));
    EXPECT_FALSE(fs.RemoveDirectory(dir));
}

TEST_P(FileSystemContract, ReadOnlyAttributeIsSetAndCleared) {
    FileSystem& fs = ports->fs();
    const std::string file = ports->tempDir() + "\\oem1.inf";
    ASSERT_TRUE(WriteWholeFile(fs, file, "x"));
    FindData info;
    ASSERT_TRUE(fs.SetAttributes(file, kFileAttributeReadOnly | kFileAttributeHidden));
    ASSERT_TRUE(fs.GetInfo(file, &info));
    EXPECT_NE(info.attributes & kFileAttributeReadOnly, 0u);
    ASSERT_TRUE(fs.SetAttributes(file, kFileAttributeArchive));
    ASSERT_TRUE(fs.GetInfo(file, &info));
    EXPECT_EQ(info.attributes & (kFileAttributeReadOnly | kFileAttributeHidden), 0u);
    EXPECT_TRUE(fs.DeleteFile(file));
    EXPECT_FALSE(fs.SetAttributes(file, kFileAttributeArchive));
}

TEST_P(FileSystemContract, CreateDirectoryIsOneLevelCreateDirectoriesAll) {
    FileSystem& fs = ports->fs();
    const std::string dir = ports->tempDir();
    EXPECT_FALSE(fs.CreateDirectory(dir + "\\x\\y"));
    EXPECT_FALSE(fs.Exists(dir + "\\x"));
    EXPECT_TRUE(CreateDirectories(fs, dir + "\\Drivers Backup\\Net\\Intel\\"));
    EXPECT_TRUE(fs.IsDirectory(dir + "\\drivers backup\\net\\intel"));
    EXPECT_FALSE(fs.CreateDirectory(dir + "\\Drivers Backup"));
    EXPECT_TRUE(CreateDirectories(fs, dir + "\\Drivers Backup"));
}

// ---- Profile ----

namespace {

const char kIni[] = "; settings of the test\r\n"
                    "[Main]\r\n"
                    "  Greeting  =   Hello there   \r\n"
                    "Empty=\r\n"
                    "Quoted=\"  padded  \"\r\n"
                    "Single='x'\r\n"
                    "Digits=0123456789\r\n"
                    "no equals sign here\r\n"
                    "[Other]\r\n"
                    "Greeting=other section\r\n"
                    "[MAIN]\r\n"
                    "Greeting=a second Main is never read\r\n"
                    "Late=never read either\r\n";

} // namespace

TEST_P(ProfileContract, TrimsBlanksAndIgnoresCase) {
    std::string file = ports->tempDir() + "\\Test.ini";
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, kIni));
    std::string text;
    EXPECT_EQ(ports->profile().GetString("Main", "Greeting", "d", 1024, file, &text), 11u);
    EXPECT_EQ(text, "Hello there");
    EXPECT_EQ(ports->profile().GetString("mAIN", "GREETING", "d", 1024, file, &text), 11u);
    EXPECT_EQ(text, "Hello there");
    EXPECT_EQ(ports->profile().GetString("other", "greeting", "d", 1024, file, &text), 13u);
    EXPECT_EQ(text, "other section");
}

TEST_P(ProfileContract, QuotesAreRemovedAndEmptyValueCountsZero) {
    std::string file = ports->tempDir() + "\\Test.ini";
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, kIni));
    std::string text;
    EXPECT_EQ(ports->profile().GetString("Main", "Quoted", "d", 1024, file, &text), 10u);
    EXPECT_EQ(text, "  padded  ");
    EXPECT_EQ(ports->profile().GetString("Main", "Single", "d", 1024, file, &text), 1u);
    EXPECT_EQ(text, "x");
    EXPECT_EQ(ports->profile().GetString("Main", "Empty", "default", 1024, file, &text), 0u);
    EXPECT_EQ(text, "");
}

TEST_P(ProfileContract, MissingKeySectionOrFileGiveTheDefault) {
    std::string file = ports->tempDir() + "\\Test.ini";
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, kIni));
    Profile& profile = ports->profile();
    std::string text;
    EXPECT_EQ(profile.GetString("Main", "Absent", "Fallback", 1024, file, &text), 8u);
    EXPECT_EQ(text, "Fallback");
    EXPECT_EQ(profile.GetString("Nowhere", "Greeting", "Fallback", 1024, file, &text), 8u);
    EXPECT_EQ(text, "Fallback");
    EXPECT_EQ(profile.GetString("Main", "Greeting", "Fallback", 1024, ports->tempDir() + "\\none.ini", &text),
              8u);
    EXPECT_EQ(text, "Fallback");
    EXPECT_EQ(profile.GetString("Main", "no equals sign here", "Fallback", 1024, file, &text), 8u);
    // Trailing blanks of the default go; it is cut to the buffer like any value.
    EXPECT_EQ(profile.GetString("Main", "Absent", "Fallback   ", 1024, file, &text), 8u);
    EXPECT_EQ(text, "Fallback");
    EXPECT_EQ(profile.GetString("Main", "Absent", "Fallback", 4, file, &text), 3u);
    EXPECT_EQ(text, "Fal");
}

TEST_P(ProfileContract, BufferOfNReturnsAtMostNMinusOne) {
    std::string file = ports->tempDir() + "\\Test.ini";
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, kIni));
    std::string text;
    EXPECT_EQ(ports->profile().GetString("Main", "Digits", "d", 11, file, &text), 10u);
    EXPECT_EQ(text, "0123456789");
    EXPECT_EQ(ports->profile().GetString("Main", "Digits", "d", 10, file, &text), 9u);
    EXPECT_EQ(text, "012345678");
    EXPECT_EQ(ports->profile().GetString("Main", "Digits", "d", 2, file, &text), 1u);
    EXPECT_EQ(text, "0");
}

TEST_P(ProfileContract, FirstSectionOfANameWins) {
    std::string file = ports->tempDir() + "\\Test.ini";
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, kIni));
    std::string text;
    EXPECT_EQ(ports->profile().GetString("Main", "Greeting", "d", 1024, file, &text), 11u);
    EXPECT_EQ(text, "Hello there");
    EXPECT_EQ(ports->profile().GetString("Main", "Late", "d", 1024, file, &text), 1u);
    EXPECT_EQ(text, "d");
}

TEST_P(ProfileContract, ReadsUtf16FileWithBom) {
    std::string file = ports->tempDir() + "\\Unicode.ini";
    std::string utf16 = "\xff\xfe"s;
    for (char c : std::string("[FormMain]\r\nCmdOptions= Options \r\n"))
        utf16 += std::string(1, c) + '\0';
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, utf16));
    std::string text;
    EXPECT_EQ(ports->profile().GetString("formmain", "cmdoptions", "d", 1024, file, &text), 7u);
    EXPECT_EQ(text, "Options");
}

TEST_P(ProfileContract, SeesAFileRewritten) {
    std::string file = ports->tempDir() + "\\Lang.ini";
    std::string text;
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, "[S]\r\nK=before\r\n"));
    EXPECT_EQ(ports->profile().GetString("S", "K", "d", 64, file, &text), 6u);
    ASSERT_TRUE(WriteWholeFile(ports->fs(), file, "[S]\r\nK=after, longer\r\n"));
    EXPECT_EQ(ports->profile().GetString("S", "K", "d", 64, file, &text), 13u);
    EXPECT_EQ(text, "after, longer");
}

} // namespace vantrel
