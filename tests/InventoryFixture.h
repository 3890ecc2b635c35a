// Small purpose-built machines for the inventory tests: devices, driver keys, classes and
// INF files written through the ports of a test image.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "TestMachine.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/Registry.h"

namespace vantrel::test {

inline constexpr char kNetClass[] = "{4d36e972-e325-11ce-bfc1-08002be10318}";
inline constexpr char kMediaClass[] = "{4d36e96c-e325-11ce-bfc1-08002be10318}";

inline MachineFacts Windows(int major, int minor) {
    MachineFacts facts;
    facts.version.major = major;
    facts.version.minor = minor;
    if (major == 4) {
        facts.version.platform = kPlatformWin9x;
        facts.windir = "C:\\WINDOWS";
    }
    return facts;
}

class InventoryMachine {
public:
    explicit InventoryMachine(const MachineFacts& facts = MachineFacts())
        : machine(facts), inventory(machine.Ports()) {}

    Registry& Reg() { return machine.Ports().registry; }

    // Sets a value under HKEY_LOCAL_MACHINE\path, creating the key. Strings get their NUL.
    void Set(const std::string& path, const std::string& name, const std::string& value,
             std::uint32_t type = kRegSz) {
        RegKey key(Reg());
        ASSERT_EQ(key.Create(kHkeyLocalMachine, path), kErrorSuccess) << path;
        std::string data = value;
        if (type == kRegSz || type == kRegExpandSz)
            data.push_back('\0');
        ASSERT_EQ(Reg().SetValue(key.Handle(), name, type, data), kErrorSuccess);
    }
    void MakeKey(const std::string& path) {
        RegKey key(Reg());
        ASSERT_EQ(key.Create(kHkeyLocalMachine, path), kErrorSuccess) << path;
    }

    // A device instance of the NT tree ("PCI\VEN_1&DEV_2\3&4") bound to a driver key
    // ("{class}\0001"), with its hardware IDs as a multi-string.
    void Device(const std::string& instance, const std::string& driver,
                const std::vector<std::string>& ids = {}) {
        std::string path = "SYSTEM\\CurrentControlSet\\Enum\\" + instance;
        if (!driver.empty())
            Set(path, "Driver", driver);
        else
            MakeKey(path);
        if (!ids.empty()) {
            std::string multi;
            for (const auto& id : ids)
                multi += id + '\0';
            Set(path, "HardwareID", multi + '\0', kRegMultiSz);
        }
    }
    // A driver key with the given values (names as the registry spells them).
    void DriverKey(const std::string& driver, const std::map<std::string, std::string>& values) {
        std::string path = "SYSTEM\\CurrentControlSet\\Control\\Class\\" + driver;
        MakeKey(path);
        for (const auto& [name, value] : values)
            Set(path, name, value);
    }
    void Class(const std::string& guid, const std::string& shortName, const std::string& displayName) {
        std::string path = "SYSTEM\\CurrentControlSet\\Control\\Class\\" + guid;
        Set(path, "Class", shortName);
        Set(path, "", displayName);
    }
    // A device and its driver in one go; the class is the network class.
    void Driver(const std::string& instance, const std::string& driverNumber,
                const std::map<std::string, std::string>& values, const std::vector<std::string>& ids = {}) {
        std::string driver = std::string(kNetClass) + "\\" + driverNumber;
        Device(instance, driver, ids);
        DriverKey(driver, values);
    }

    // A file below the Windows folder, e.g. File("inf\\oem1.inf", text).
    void File(const std::string& relative, const std::string& bytes) {
        ASSERT_TRUE(CreateDirectories(machine.Ports().fs, Parent("C:\\WINDOWS\\" + relative)));
        ASSERT_TRUE(WriteWholeFile(machine.Ports().fs, "C:\\WINDOWS\\" + relative, bytes));
    }
    void Inf(const std::string& name, const std::string& text) { File("inf\\" + name, text); }

    TestMachine machine;
    Inventory inventory;

private:
    static std::string Parent(const std::string& path) { return path.substr(0, path.rfind('\\')); }
};

// UTF-16LE bytes with a byte-order mark for ASCII text.
inline std::string Utf16WithBom(const std::string& ascii) {
    std::string out = "\xFF\xFE";
    for (char c : ascii) {
        out.push_back(c);
        out.push_back('\0');
    }
    return out;
}

} // namespace vantrel::test
