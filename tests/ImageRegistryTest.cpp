#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/image/ImageRegistry.h"

namespace vantrel {

namespace {

using namespace std::string_literals;

std::vector<RegFileKey> ParseText(const std::string& body) {
    std::vector<RegFileKey> keys;
    std::string error;
    EXPECT_TRUE(ParseRegFile("Windows Registry Editor Version 5.00\r\n\r\n" + body, "t.reg", &keys, &error))
        << error;
    return keys;
}

std::string ReadString(ImageRegistry& reg, RegHandle root, const std::string& path, const std::string& name) {
    RegKey key(reg);
    if (key.Open(root, path) != kErrorSuccess)
        return "<no key>";
    std::string text;
    return RegReadString(reg, key.Handle(), name, 1024, &text) ? text : "<no value>";
}

} // namespace

TEST(RegistryImageTree, ApplyCreatesSetsAndDeletes) {
    ImageRegistry reg;
    reg.Apply(
        ParseText("[HKEY_CURRENT_USER\\Software\\Vantrel]\r\n\"Language\"=\"French\"\r\n\"Old\"=\"x\"\r\n"
                  "[HKEY_CURRENT_USER\\Software\\Vantrel\\Sub\\Deep]\r\n\"v\"=\"1\"\r\n"
                  "[HKEY_CURRENT_USER\\Software\\vantrel]\r\n\"Old\"=-\r\n\"LANGUAGE\"=\"Dutch\"\r\n"
                  "[-HKEY_CURRENT_USER\\Software\\Vantrel\\Sub]\r\n"
                  "[HKEY_CLASSES_ROOT\\.inf]\r\n@=\"inffile\"\r\n"));
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser, "Software\\Vantrel", "Language"), "Dutch");
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser, "Software\\Vantrel", "Old"), "<no value>");
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser, "Software\\Vantrel\\Sub", ""), "<no key>");
    // HKEY_CLASSES_ROOT is the machine's Classes key.
    EXPECT_EQ(ReadString(reg, kHkeyLocalMachine, "SOFTWARE\\Classes\\.INF", ""), "inffile");
}

TEST(RegistryImageTree, ExportListsParentsFirstInEnumerationOrder) {
    ImageRegistry reg;
    reg.Apply(ParseText("[HKCU\\Software\\b]\r\n\"z\"=\"1\"\r\n\"a\"=dword:00000002\r\n"
                        "[HKCU\\Software\\A\\Child]\r\n"
                        "[HKCU\\Software\\a2]\r\n@=\"d\"\r\n"));
    auto keys = reg.Export(kHkeyCurrentUser);
    std::vector<std::string> paths;
    for (const auto& k : keys)
        paths.push_back(k.path);
    EXPECT_EQ(paths, (std::vector<std::string>{
                         "HKEY_CURRENT_USER\\Software", "HKEY_CURRENT_USER\\Software\\A",
                         "HKEY_CURRENT_USER\\Software\\A\\Child", "HKEY_CURRENT_USER\\Software\\a2",
                         "HKEY_CURRENT_USER\\Software\\b"}));
    ASSERT_EQ(keys[4].values.size(), 2u);
    EXPECT_EQ(keys[4].values[0].name, "z");
    EXPECT_EQ(keys[4].values[1].data, "\2\0\0\0"s);

    auto sub = reg.Export(kHkeyCurrentUser, "SOFTWARE\\a");
    ASSERT_EQ(sub.size(), 2u);
    EXPECT_EQ(sub[0].path, "HKEY_CURRENT_USER\\Software\\A"); // stored spelling
    EXPECT_TRUE(reg.Export(kHkeyCurrentUser, "Software\\Missing").empty());
}

TEST(RegistryImageTree, SubkeysEnumerateByUpperCasedNames) {
    // Windows compares upper-cased names: "B" (0x42) and the digits sort before "_" (0x5F),
    // "[" and "^" fall between "Z" and "_", and "`" after them.
    ImageRegistry reg;
    std::string text;
    for (const char* name :
         {"COMPOSITE_BATTERY", "_root", "a1", "CompositeBus", "z^", "Z[", "ZZ", "9x", "composite`"})
        text += std::string("[HKLM\\SYSTEM\\Order\\") + name + "]\r\n";
    reg.Apply(ParseText(text));
    RegHandle key = 0;
    ASSERT_EQ(reg.OpenKey(kHkeyLocalMachine, "system\\ORDER", &key), kErrorSuccess);
    std::vector<std::string> names;
    std::string name;
    for (std::uint32_t i = 0; reg.EnumKey(key, i, 256, &name) == kErrorSuccess; ++i)
        names.push_back(name);
    reg.CloseKey(key);
    EXPECT_EQ(names, (std::vector<std::string>{"9x", "a1", "CompositeBus", "COMPOSITE_BATTERY", "composite`",
                                               "ZZ", "Z[", "z^", "_root"}));
}

TEST(RegistryImageTree, ValuesEnumerateInTheOrderFirstWritten) {
    // As Windows keeps them; rewriting a value leaves it in its place.
    ImageRegistry reg;
    RegKey key(reg);
    ASSERT_EQ(key.Create(kHkeyCurrentUser, "Software\\Order"), kErrorSuccess);
    for (const char* name : {"zeta", "alpha", "Mid", "ZETA"})
        ASSERT_EQ(RegWriteString(reg, key.Handle(), name, name), kErrorSuccess);
    ASSERT_EQ(reg.DeleteValue(key.Handle(), "alpha"), kErrorSuccess);
    ASSERT_EQ(RegWriteString(reg, key.Handle(), "Alpha", "again"), kErrorSuccess);
    std::vector<std::string> names;
    std::string name;
    for (std::uint32_t i = 0; reg.EnumValue(key.Handle(), i, &name, nullptr) == kErrorSuccess; ++i)
        names.push_back(name);
    EXPECT_EQ(names, (std::vector<std::string>{"zeta", "Mid", "Alpha"}));
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser, "Software\\Order", "zeta"), "ZETA");
}

TEST(RegistryImageTree, HandlesOfDeletedKeysAndBadHandles) {
    ImageRegistry reg;
    RegHandle key = 0;
    ASSERT_EQ(reg.CreateKey(kHkeyCurrentUser, "Software\\Doomed", &key), kErrorSuccess);
    ASSERT_EQ(reg.DeleteKey(kHkeyCurrentUser, "Software\\Doomed"), kErrorSuccess);
    std::string data;
    std::uint32_t type;
    EXPECT_EQ(reg.QueryValue(key, "x", 10, &type, &data), kErrorKeyDeleted);
    EXPECT_EQ(reg.SetValue(key, "x", kRegSz, "y"), kErrorKeyDeleted);
    EXPECT_EQ(reg.CloseKey(key), kErrorSuccess);
    EXPECT_EQ(reg.OpenHandleCount(), 0u);

    EXPECT_EQ(reg.QueryValue(0x4242, "x", 10, &type, &data), kErrorInvalidHandle);
    EXPECT_EQ(reg.OpenKey(0x4242, "x", &key), kErrorInvalidHandle);
    EXPECT_EQ(key, 0u);
    // Predefined roots need no closing and cannot be deleted.
    EXPECT_EQ(reg.CloseKey(kHkeyLocalMachine), kErrorSuccess);
    EXPECT_EQ(reg.DeleteKey(kHkeyCurrentUser, ""), kErrorAccessDenied);
    EXPECT_EQ(reg.DeleteKey(kHkeyLocalMachine, "SOFTWARE\\Classes"), kErrorAccessDenied);
}

TEST(RegistryImageTree, ClearRootKeepsClassesUsable) {
    ImageRegistry reg;
    reg.Apply(ParseText("[HKLM\\SOFTWARE\\Classes\\x]\r\n[HKLM\\SYSTEM\\y]\r\n[-HKLM\\SOFTWARE]\r\n"));
    RegKey k(reg);
    EXPECT_EQ(k.Open(kHkeyLocalMachine, "SYSTEM\\y"), kErrorSuccess);
    EXPECT_EQ(k.Create(kHkeyClassesRoot, "after"), kErrorSuccess);
    EXPECT_EQ(ReadString(reg, kHkeyLocalMachine, "SOFTWARE\\Classes\\after", "v"), "<no value>");
    reg.ClearRoot(kHkeyLocalMachine);
    EXPECT_TRUE(reg.Export(kHkeyLocalMachine, "SYSTEM").empty());
    EXPECT_EQ(k.Create(kHkeyClassesRoot, "again"), kErrorSuccess);
}

TEST(RegistryImageTree, LargeTreeEnumeratesInOrderAndFast) {
    // An Enum branch the size of a big machine: enumeration by index must stay linear.
    ImageRegistry reg;
    RegHandle pci = 0;
    ASSERT_EQ(reg.CreateKey(kHkeyLocalMachine, "SYSTEM\\CurrentControlSet\\Enum\\PCI", &pci), kErrorSuccess);
    const int count = 40000;
    for (int i = count - 1; i >= 0; --i) {
        char name[48];
        std::snprintf(name, sizeof name, "VEN_%04X&DEV_%04x", i % 5000, i);
        RegHandle dev = 0;
        ASSERT_EQ(reg.CreateKey(pci, name, &dev), kErrorSuccess);
        reg.CloseKey(dev);
    }
    auto start = std::chrono::steady_clock::now();
    std::string previous, name;
    std::uint32_t seen = 0;
    for (; reg.EnumKey(pci, seen, 256, &name) == kErrorSuccess; ++seen) {
        std::string upper = name;
        for (char& c : upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        ASSERT_LT(previous, upper);
        previous = upper;
    }
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_EQ(seen, static_cast<std::uint32_t>(count));
    EXPECT_LT(seconds, 2.0);
    reg.CloseKey(pci);
}

} // namespace vantrel
