// The registry port against the real registry of the machine (Wine's under test).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/win32/Win32Ports.h"
#include "win32/Win32TestSupport.h"

namespace vantrel {
namespace {

using namespace std::string_literals;

class Win32RegistryPort : public ::testing::Test {
protected:
    Win32Registry registry;
    test::ScratchKey scratch{registry};
    RegHandle key = scratch.Handle();

    std::string Query(std::string_view name, std::uint32_t bufferBytes, long* rc,
                      std::uint32_t* type = nullptr) {
        std::string data = "stale";
        *rc = registry.QueryValue(key, name, bufferBytes, type, &data);
        return data;
    }
};

TEST_F(Win32RegistryPort, RootsAndOpenedKeysReachTheRealKeys) {
    ASSERT_NE(key, 0u);
    RegHandle classes = 0;
    ASSERT_EQ(registry.OpenKey(kHkeyLocalMachine, "System\\CurrentControlSet\\Control\\Class", &classes),
              kErrorSuccess);
    RegKeyInfo info;
    EXPECT_EQ(registry.QueryInfoKey(classes, &info), kErrorSuccess);
    EXPECT_GT(info.subKeys, 0u);
    registry.CloseKey(classes);

    // A key opened again through HKCU and through the scratch handle is the same key.
    ASSERT_EQ(registry.SetValue(key, "Mark", kRegSz, "here\0"s), kErrorSuccess);
    RegHandle again = 0;
    ASSERT_EQ(registry.OpenKey(kHkeyCurrentUser, scratch.Path(), &again), kErrorSuccess);
    std::string text;
    EXPECT_TRUE(RegReadString(registry, again, "Mark", 30, &text));
    EXPECT_EQ(text, "here");
    registry.CloseKey(again);

    // An empty subkey opens the root itself; Windows hands back the root's own handle.
    RegHandle user = 0;
    ASSERT_EQ(registry.OpenKey(kHkeyCurrentUser, "", &user), kErrorSuccess);
    ASSERT_EQ(registry.OpenKey(user, scratch.Path(), &again), kErrorSuccess);
    registry.CloseKey(again);
    registry.CloseKey(user);

    RegHandle missing = 123;
    EXPECT_EQ(registry.OpenKey(key, "No\\Such\\Key", &missing), kErrorFileNotFound);
    EXPECT_EQ(missing, 0u);
}

TEST_F(Win32RegistryPort, OpenKeyReadsOnlyCreateKeyWrites) {
    RegHandle readOnly = 0;
    ASSERT_EQ(registry.OpenKey(kHkeyCurrentUser, scratch.Path(), &readOnly), kErrorSuccess);
    EXPECT_EQ(registry.SetValue(readOnly, "x", kRegSz, "1\0"s), kErrorAccessDenied);
    registry.CloseKey(readOnly);

    RegHandle writable = 0;
    ASSERT_EQ(registry.CreateKey(kHkeyCurrentUser, scratch.Path(), &writable), kErrorSuccess);
    EXPECT_EQ(registry.SetValue(writable, "x", kRegSz, "1\0"s), kErrorSuccess);
    registry.CloseKey(writable);
}

TEST_F(Win32RegistryPort, StringsKeepExactlyTheBytesStored) {
    // From a std::string a NUL follows the counted bytes in memory; it must not be stored.
    std::string word = "BckFolder";
    ASSERT_EQ(registry.SetValue(key, "Backup option", kRegSz, word), kErrorSuccess);
    long rc = 0;
    EXPECT_EQ(Query("Backup option", 9, &rc), "BckFolder");
    EXPECT_EQ(rc, kErrorSuccess);
    std::string text;
    EXPECT_TRUE(RegReadString(registry, key, "Backup option", 30, &text));
    EXPECT_EQ(text, "BckFolder");

    // The contract allows Windows an added NUL; this port promises none.
    EXPECT_EQ(Query("Backup option", 8, &rc), "");
    EXPECT_EQ(rc, kErrorMoreData);

    // A zero-byte buffer still fails for data and fits an empty value.
    Query("Backup option", 0, &rc);
    EXPECT_EQ(rc, kErrorMoreData);
    ASSERT_EQ(registry.SetValue(key, "Empty", kRegSz, ""), kErrorSuccess);
    EXPECT_EQ(Query("Empty", 0, &rc), "");
    EXPECT_EQ(rc, kErrorSuccess);

    const std::string binary = "\x00\xff\x80\x01"s;
    std::uint32_t type = 0;
    ASSERT_EQ(registry.SetValue(key, "Binary", kRegBinary, binary), kErrorSuccess);
    EXPECT_EQ(Query("Binary", 4, &rc, &type), binary);
    EXPECT_EQ(type, kRegBinary);
}

TEST_F(Win32RegistryPort, EnumValueTakesLongNames) {
    const std::string longName(1000, 'n');
    ASSERT_EQ(registry.SetValue(key, longName, kRegBinary, "b"), kErrorSuccess);
    std::string name;
    std::uint32_t type = 0;
    ASSERT_EQ(registry.EnumValue(key, 0, &name, &type), kErrorSuccess);
    EXPECT_EQ(name, longName);
    EXPECT_EQ(type, kRegBinary);
}

} // namespace
} // namespace vantrel
