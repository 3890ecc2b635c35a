// The device database: made from pci.ids, read once, looked up with the more specific line
// winning; and the PCI devices found in both registry layouts.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "TestMachine.h"
#include "devices/Detection.h"
#include "devices/PciIds.h"
#include "platform/Registry.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {
namespace {

namespace fs = std::filesystem;

TEST(DevicesPciIds, ConvertsVendorsDevicesAndSubsystemsUntilTheClasses) {
    const std::string source = "#\n#\tVersion: 2023.04.10\n#\tDate:    2023-04-10 20:08:02\n#\n"
                               "# Syntax:\n# vendor  vendor_name\n\n"
                               "10ec  Realtek Semiconductor Co., Ltd.\r\n"
                               "# a comment between devices\n"
                               "\t8168  RTL8111/8168  Gigabit \n"
                               "\t\t1043 8554  P8P67 \xE2\x82\xAC X\xC2\xB2 f\xC3\xBCr \xE6\x97\xA5\n"
                               "\tzz12  not hex\n"
                               "15cf  Hilscher Gesellschaft f\xC3\xBCr Systemautomation mbH\n"
                               "C 03  Display controller\n"
                               "\t00  VGA compatible controller\n"
                               "ffff  Illegal Vendor ID\n";
    std::string out, error;
    ASSERT_TRUE(ConvertPciIds(source, &out, &error)) << error;
    EXPECT_EQ(out, "20230410=pci.ids 2023.04.10\r\n"
                   "10EC=Realtek Semiconductor Co., Ltd.\r\n"
                   "10EC:8168=RTL8111/8168  Gigabit\r\n"
                   "10EC:8168:8554:1043=P8P67 \x80 X\xB2 f\xFCr ?\r\n"
                   "15CF=Hilscher Gesellschaft f\xFCr Systemautomation mbH\r\n");

    EXPECT_FALSE(ConvertPciIds("10ec  Realtek\n", &out, &error));           // no date, no database
    EXPECT_EQ(Utf8ToWindows1252("\xC3(\xFC\xE2\x82"), "\xC3(\xFC\xE2\x82"); // not UTF-8: kept
}

// One database for the lookups: lower-case keys and odd lines as a hand-edited file has them.
DeviceDatabase SampleDatabase() {
    DeviceDatabase db;
    db.Load("20230410=pci.ids\r\n"
            "8086=Intel\r\n"
            "8086:1234=Chip\r\n"
            "8086:1234:02=Chip rev 2\r\n"
            "8086:1234:0001:1028=Dell board\r\n"
            "8086:1234:0001:1028:03=Dell board rev 3\r\n"
            "1028=Dell\r\n"
            "10de:0a0b=lower-case key\n"
            "10DE=Nvidia\n"
            "1002:=odd key\n"
            "1002:00001=odd key\n"
            "1002:0001:0001:0001:001=odd key\n"
            "1002 no separator\n"
            "1002:0002=   \n"
            "=no key\n");
    return db;
}

TEST(DevicesDatabase, MoreSpecificLinesWinAndMissingOnesLeaveThePlaceholders) {
    DeviceDatabase db = SampleDatabase();
    struct Case {
        PciIds ids;
        const char* chipName;
        const char* chipVendor;
        const char* oemName;
        const char* oemVendor;
    };
    const Case cases[] = {
        {{"8086", "1234", "00000000", ""}, "Chip", "Intel", "Chip", kOemVendorUnknown},
        {{"8086", "1234", "00000000", "02"}, "Chip rev 2", "Intel", "Chip rev 2", kOemVendorUnknown},
        {{"8086", "1234", "00011028", "02"}, "Chip rev 2", "Intel", "Dell board", "Dell"},
        {{"8086", "1234", "00011028", "03"}, "Chip", "Intel", "Dell board rev 3", "Dell"},
        {{"8086", "1234", "10280001", ""}, "Chip", "Intel", "Chip", kOemVendorUnknown}, // halves swapped
        {{"8086", "9999", "00021028", ""}, kChipNameUnknown, "Intel", kChipNameUnknown, "Dell"},
        {{"10de", "0a0b", "00000000", ""}, "lower-case key", "Nvidia", "lower-case key", kOemVendorUnknown},
        {{"1002", "0002", "00000000", ""},
         kChipNameUnknown,
         kChipVendorUnknown,
         kChipNameUnknown,
         kOemVendorUnknown},
        {{"", "", "00000000", ""}, kChipNameUnknown, kChipVendorUnknown, kChipNameUnknown, kOemVendorUnknown},
        {{"80G6", "1234", "0001102X", "0Z"},
         kChipNameUnknown,
         kChipVendorUnknown,
         kChipNameUnknown,
         kOemVendorUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ids.vendor + ":" + c.ids.device + " " + c.ids.subsystem + " " + c.ids.revision);
        PciNames names = db.Lookup(c.ids);
        EXPECT_EQ(names.chipName, c.chipName);
        EXPECT_EQ(names.chipVendor, c.chipVendor);
        EXPECT_EQ(names.oemName, c.oemName);
        EXPECT_EQ(names.oemVendor, c.oemVendor);
    }
    DeviceDatabase empty;
    empty.Load("");
    EXPECT_TRUE(empty.Empty());
    EXPECT_EQ(empty.Lookup({"8086", "1234", "00011028", "02"}).chipVendor, kChipVendorUnknown);
}

TEST(DevicesHardwareId, FieldsComeFromTheirFixedPlaces) {
    struct Case {
        const char* id;
        PciIds expected;
    };
    const Case cases[] = {
        {"PCI\\VEN_8086&DEV_1234&SUBSYS_00011028&REV_02", {"8086", "1234", "00011028", "02"}},
        {"pci\\ven_10de&dev_1b80&subsys_85911043&rev_a1", {"10de", "1b80", "85911043", "a1"}},
        {"PCI\\VEN_8086&DEV_1234&REV_05", {"8086", "1234", "00000000", "05"}},
        {"PCI\\VEN_8086&DEV_1234", {"8086", "1234", "00000000", ""}},
        {"PCI\\VEN_8086&DEV_12", {"8086", "", "00000000", ""}},
        {"PCI\\VEN_80", {"", "", "00000000", ""}},
        {"PCI\\VEN_XY86&DEV_1234&SUBSYS_0001102G&REV_02", {"", "1234", "00000000", ""}},
        {"PCI\\VEN_8086&DEV_1234&CC_030000", {"8086", "1234", "00000000", ""}},
        {"USB\\VID_046D&PID_C52B", {"", "", "00000000", ""}},
        {"", {"", "", "00000000", ""}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        PciIds ids = SplitHardwareId(c.id);
        EXPECT_EQ(ids.vendor, c.expected.vendor);
        EXPECT_EQ(ids.device, c.expected.device);
        EXPECT_EQ(ids.subsystem, c.expected.subsystem);
        EXPECT_EQ(ids.revision, c.expected.revision);
    }
}

void AddDevice(Registry& registry, const std::string& path, const std::string& hardwareId,
               const std::string& desc, const std::string& className) {
    RegKey key(registry);
    ASSERT_EQ(key.Create(kHkeyLocalMachine, path), kErrorSuccess);
    if (!hardwareId.empty())
        registry.SetValue(key.Handle(), "HardwareID", kRegMultiSz,
                          hardwareId + '\0' + "PCI\\VEN_0000" + '\0' + '\0');
    if (!desc.empty())
        RegWriteString(registry, key.Handle(), "DeviceDesc", desc);
    if (!className.empty())
        RegWriteString(registry, key.Handle(), "Class", className);
}

TEST(DevicesDetection, FindsVenKeysInTheLayoutOfTheWindowsVersion) {
    auto version = [](int major, int minor) {
        OsVersion v;
        v.major = major;
        v.minor = minor;
        return v;
    };
    EXPECT_EQ(PciEnumKeyFor(version(10, 0)), kPciEnumKey);
    EXPECT_EQ(PciEnumKeyFor(version(5, 1)), kPciEnumKey);
    EXPECT_EQ(PciEnumKeyFor(version(6, 3)), kPciEnumKey);
    EXPECT_EQ(PciEnumKeyFor(version(4, 90)), kPciEnumKey9x);
    EXPECT_EQ(PciEnumKeyFor(version(4, 10)), kPciEnumKey9x);
    EXPECT_EQ(PciEnumKeyFor(version(4, 0)), "");
    EXPECT_EQ(PciEnumKeyFor(version(11, 0)), "");

    test::TestMachine machine;
    Registry& registry = machine.Ports().registry;
    std::string pci = std::string(kPciEnumKey) + "\\";
    AddDevice(registry, pci + "VEN_8086&DEV_1234&SUBSYS_00011028&REV_03\\3&11583659&0&10",
              "PCI\\VEN_8086&DEV_1234&SUBSYS_00011028&REV_03", "@oem4.inf,%desc%;Board Controller", "System");
    AddDevice(registry, pci + "VEN_ABCD&DEV_0001\\1", "", "", "");
    AddDevice(registry, pci + "ROOT_HUB\\1", "PCI\\VEN_8086&DEV_1234", "Not a device", "USB");
    AddDevice(registry, "Enum\\pci\\VEN_8086&DEV_1234&REV_02\\BUS_00&DEV_02&FUNC_00",
              "PCI\\VEN_8086&DEV_1234&REV_02,PCI\\VEN_8086&DEV_1234", "Old layout", "Display");

    DeviceDatabase db = SampleDatabase();
    auto devices = DetectDevices(registry, kPciEnumKey, db);
    ASSERT_EQ(devices.size(), 2u);
    EXPECT_EQ(devices[0].name, "Board Controller");
    EXPECT_EQ(devices[0].className, "System");
    EXPECT_EQ(devices[0].names.oemName, "Dell board rev 3");
    EXPECT_EQ(devices[1].name, "Unknown");
    EXPECT_EQ(devices[1].className, "UNKNOWN");
    EXPECT_EQ(devices[1].hardwareId, "PCI\\VEN_ABCD&DEV_0001");
    EXPECT_EQ(devices[1].names.chipVendor, kChipVendorUnknown);

    auto old = DetectDevices(registry, kPciEnumKey9x, db);
    ASSERT_EQ(old.size(), 1u);
    EXPECT_EQ(old[0].hardwareId, "PCI\\VEN_8086&DEV_1234&REV_02");
    EXPECT_EQ(old[0].names.chipName, "Chip rev 2");
    EXPECT_TRUE(DetectDevices(registry, "", db).empty());

    App app(machine.Ports());
    EXPECT_EQ(DeviceDetails(app, devices[0]), "Device ID: PCI\\VEN_8086&DEV_1234&SUBSYS_00011028&REV_03\r\n"
                                              "Detected Chip Name: Chip\r\n"
                                              "Chip Vender: Intel\r\n"
                                              "OEM Device Name: Dell board rev 3\r\n"
                                              "OEM Device Vender: Dell\r\n");
    EXPECT_EQ(DeviceDetails(app, old[0]), "Device ID: PCI\\VEN_8086&DEV_1234&REV_02\r\n"
                                          "Detected Chip Name: Chip rev 2\r\n"
                                          "Chip Vender: Intel\r\n");
}

TEST(DevicesDetection, MissingEmptyAndHugeDatabases) {
    test::TestMachine machine;
    App app(machine.Ports());
    app.appPath = ComputeAppPath(machine.Ports());
    DeviceDatabase db;
    EXPECT_FALSE(LoadDeviceDatabase(machine.Ports().fs, app.appPath + kDeviceDatabaseFile, &db));
    machine.ProgramFile(kDeviceDatabaseFile, "");
    EXPECT_TRUE(LoadDeviceDatabase(machine.Ports().fs, app.appPath + kDeviceDatabaseFile, &db));
    EXPECT_TRUE(db.Empty());

    // 40 MB of junk around the lines that count: the first line of a key still wins.
    std::string huge = "8086=Intel\n";
    const std::string junk =
        std::string(200, 'x') + "\n8086:12345678=bad key\n8086" + std::string(300, '=') + "\n";
    while (huge.size() < (40u << 20))
        huge += junk;
    huge += "8086=Other\n8086:1234=Late chip";
    machine.ProgramFile(kDeviceDatabaseFile, huge);
    ASSERT_TRUE(LoadDeviceDatabase(machine.Ports().fs, app.appPath + kDeviceDatabaseFile, &db));
    EXPECT_FALSE(db.Empty());
    PciNames names = db.Lookup({"8086", "1234", kNoSubsystem, ""});
    EXPECT_EQ(names.chipVendor, "Intel");
    EXPECT_EQ(names.chipName, "Late chip");
}

#ifndef _WIN32
// lspci names devices from a configuration-space dump with the same pci.ids: our database,
// made from that file, must give the same vendor, chip and subsystem names.
TEST(DevicesLspci, NamesAgreeWithLspciOnTheRealRepository) {
    const fs::path ids = "/usr/share/misc/pci.ids";
    if (!fs::exists(ids) || std::system("lspci --version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "pci.ids or lspci is not installed";
    std::string text, error;
    ASSERT_TRUE(ConvertPciIds(test::ReadHostFile(ids), &text, &error)) << error;
    DeviceDatabase db;
    db.Load(text);

    const std::array<PciIds, 5> devices = {{
        {"8086", "1912", "00000000", "06"},
        {"10EC", "8168", "02831028", "15"},
        {"10DE", "1B80", "00000000", "A1"},
        {"8086", "1E31", "00000000", "04"},
        {"10EC", "8168", "81681019", "06"},
    }};
    test::TempDir dir;
    std::string dump;
    auto hex = [](const std::string& id, int at) { return id.substr(at, 2); };
    for (std::size_t i = 0; i < devices.size(); ++i) {
        const PciIds& d = devices[i];
        std::string row0 = hex(d.vendor, 2) + " " + hex(d.vendor, 0) + " " + hex(d.device, 2) + " " +
                           hex(d.device, 0) + " 07 00 10 00 " + d.revision + " 00 00 02 00 00 00 00";
        // Subsystem vendor at 0x2c, subsystem at 0x2e; SUBSYS_ holds the subsystem first.
        std::string row2 = "00 00 00 00 00 00 00 00 00 00 00 00 " + hex(d.subsystem, 6) + " " +
                           hex(d.subsystem, 4) + " " + hex(d.subsystem, 2) + " " + hex(d.subsystem, 0);
        char slot[16];
        std::snprintf(slot, sizeof slot, "00:%02zx.0", i + 1);
        dump += std::string(slot) + " device\n00: " + row0 +
                "\n10: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n" + "20: " + row2 +
                "\n30: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n\n";
    }
    test::WriteHostFile(dir.Path() / "dump.txt", dump);
    std::string command = "lspci -F '" + (dir.Path() / "dump.txt").string() + "' -i '" + ids.string() +
                          "' -O hwdb.disable=1 -mm -nn > '" + (dir.Path() / "out.txt").string() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::string out = Utf8ToWindows1252(test::ReadHostFile(dir.Path() / "out.txt"));

    // 00:01.0 "Class [0200]" "Vendor [10ec]" "Device [8168]" -r15 "SubVendor [1028]" "Subsystem [0283]"
    static const std::regex quoted(R"re("([^"]*) \[[0-9a-f]{4}\]")re");
    std::size_t i = 0;
    for (const std::string& line : Split(out, '\n')) {
        if (line.empty())
            continue;
        ASSERT_LT(i, devices.size());
        std::vector<std::string> names;
        for (std::sregex_iterator it(line.begin(), line.end(), quoted), end; it != end; ++it)
            names.push_back((*it)[1]);
        SCOPED_TRACE(line);
        PciNames ours = db.Lookup(devices[i]);
        ASSERT_GE(names.size(), 3u);
        EXPECT_EQ(ours.chipVendor, names[1]);
        EXPECT_EQ(ours.chipName, names[2]);
        if (devices[i].subsystem != kNoSubsystem) {
            ASSERT_EQ(names.size(), 5u);
            EXPECT_EQ(ours.oemVendor, names[3]);
            EXPECT_EQ(ours.oemName, names[4]);
        }
        ++i;
    }
    EXPECT_EQ(i, devices.size());
}
#endif

} // namespace
} // namespace vantrel
