#include <gtest/gtest.h>

#include <random>

#include "InventoryFixture.h"
#include "inventory/Enumeration.h"

namespace vantrel {
namespace {

using test::InventoryMachine;
using test::kMediaClass;
using test::kNetClass;

std::vector<std::string> Descriptions(const DriverList& list) {
    std::vector<std::string> out;
    for (int i = 1; i <= list.Count(); ++i)
        out.push_back(list[i].driverDesc.Trimmed());
    return out;
}

// A Realtek-like network driver, a driverless device, and devices whose driver key is
// unusable, on the given Windows.
void AddNtDevices(InventoryMachine& m) {
    m.Class(kNetClass, "Net", "Network adapters");
    m.Class(kMediaClass, "MEDIA", "Sound, video and game controllers");
    m.Driver("PCI\\VEN_10EC&DEV_8168&SUBSYS_1\\4&1", "0001",
             {{"DriverDesc", "Acme Gigabit Ethernet"},
              {"ProviderName", "Acme"},
              {"InfPath", "oem3.inf"},
              {"InfSection", "ACME8168.ndi"},
              {"DriverDate", "6-21-2006"},
              {"DriverVersion", "10.1.505.2015"}},
             {"PCI\\VEN_10EC&DEV_8168&SUBSYS_1", "PCI\\VEN_10EC&DEV_8168"});
    std::string audio = std::string(kMediaClass) + "\\0000";
    m.Device("HDAUDIO\\FUNC_01&VEN_10EC\\4&2", audio, {"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0269"});
    m.DriverKey(audio, {{"DriverDesc", "High Definition Audio Device"},
                        {"ProviderName", "Microsoft"},
                        {"InfPath", "hdaudio.inf"}});
    m.Device("ACPI\\PNP0303\\0", "");                                        // no driver installed
    m.Driver("ROOT\\NOINF\\0000", "0002", {{"DriverDesc", "No INF value"}}); // class key lacks infpath
    m.Device("ROOT\\DANGLING\\0000", std::string(kNetClass) + "\\0099");     // driver key missing
}

TEST(InventoryNtWalk, JoinsDevicesToTheirDriverKeys) {
    InventoryMachine m;
    AddNtDevices(m);
    RefreshDriverList(m.inventory);
    const DriverList& list = m.inventory.drivers;
    // Enumerators come in registry order: HDAUDIO before PCI; the other three are skipped.
    ASSERT_EQ(Descriptions(list),
              (std::vector<std::string>{"High Definition Audio Device", "Acme Gigabit Ethernet"}));
    const DriverRecord& nic = list[2];
    EXPECT_EQ(nic.hardwareId.Trimmed(), "PCI\\VEN_10EC&DEV_8168&SUBSYS_1");
    EXPECT_EQ(nic.driverDate.Trimmed(), "2006-06-21");
    EXPECT_EQ(nic.driverVersion.Trimmed(), "10.1.505.2015");
    EXPECT_EQ(nic.providerName.Trimmed(), "Acme");
    EXPECT_EQ(nic.infPath.Trimmed(), "oem3.inf");
    EXPECT_EQ(nic.infSection.Trimmed(), "ACME8168.ndi");
    EXPECT_EQ(nic.className.Trimmed(), "Net");
    EXPECT_EQ(list[1].className.Trimmed(), "MEDIA");
    // Every field keeps its full width, blank-padded.
    EXPECT_EQ(nic.driverDesc.Raw().size(), 80u);
    EXPECT_EQ(nic.driverDate.Raw().size(), 30u);
    EXPECT_EQ(nic.deviceVxds.Raw(), std::string(100, ' '));
}

TEST(InventoryNtWalk, ClassNameIsTheShortNameFromWindows8On) {
    struct Case {
        int major, minor;
        const char* className;
    } cases[] = {
        {5, 1, "Network adapters"}, {6, 1, "Network adapters"}, {6, 2, "Net"}, {6, 3, "Net"}, {10, 0, "Net"}};
    for (const auto& c : cases) {
        InventoryMachine m(test::Windows(c.major, c.minor));
        AddNtDevices(m);
        RefreshDriverList(m.inventory);
        ASSERT_EQ(m.inventory.drivers.Count(), 2);
        EXPECT_EQ(m.inventory.drivers[2].className.Trimmed(), c.className) << c.major << "." << c.minor;
    }
}

TEST(InventoryNtWalk, VersionChoosesTheWalk) {
    struct Case {
        int major, minor;
        const char* found; // "" for an empty inventory
    } cases[] = {{4, 0, ""},          {4, 10, "9x driver"}, {4, 90, "9x driver"}, {5, 0, "NT driver"},
                 {6, 0, "NT driver"}, {10, 0, "NT driver"}, {3, 51, ""},          {11, 0, ""}};
    for (const auto& c : cases) {
        InventoryMachine m(test::Windows(c.major, c.minor));
        m.Driver("ROOT\\NT\\0000", "0000", {{"DriverDesc", "NT driver"}, {"InfPath", "a.inf"}});
        m.Set("System\\CurrentControlSet\\Services\\Class\\Net\\0000", "InfPath", "b.inf");
        m.Set("System\\CurrentControlSet\\Services\\Class\\Net\\0000", "DriverDesc", "9x driver");
        RefreshDriverList(m.inventory);
        std::vector<std::string> expected;
        if (*c.found)
            expected.push_back(c.found);
        EXPECT_EQ(Descriptions(m.inventory.drivers), expected) << c.major << "." << c.minor;
    }
}

TEST(InventoryNtWalk, LongValuesAreCutAndWrongTypesIgnored) {
    InventoryMachine m;
    std::string longDesc(120, 'd');
    std::string vxds = std::string(99, 'v') + "XYZ";
    std::string longInf = std::string(90, 'i') + ".inf"; // too long for the field, not for the probe
    m.Driver("ROOT\\LONG\\0000", "0000",
             {{"DriverDesc", longDesc},
              {"InfPath", longInf},
              {"DeviceVxds", vxds},
              {"ProviderName", "Microsoft"},
              {"DriverVersion", std::string(40, '9')}},
             {std::string(600, 'h'), std::string(600, 'x')});
    // A value of the wrong type reads as missing: no description, and no record at all
    // when it is the INF name.
    m.Driver("ROOT\\WRONG\\0000", "0001", {{"InfPath", "ok.inf"}});
    m.Set(std::string("SYSTEM\\CurrentControlSet\\Control\\Class\\") + kNetClass + "\\0001", "DriverDesc",
          "\x05\x00\x00\x00", kRegDword);
    m.Driver("ROOT\\WRONG\\0001", "0002", {{"DriverDesc", "dword inf"}});
    m.Set(std::string("SYSTEM\\CurrentControlSet\\Control\\Class\\") + kNetClass + "\\0002", "InfPath",
          "\x05\x00\x00\x00", kRegDword);
    RefreshDriverList(m.inventory);
    const DriverList& list = m.inventory.drivers;
    ASSERT_EQ(list.Count(), 2);
    EXPECT_EQ(list[1].driverDesc.Raw(), std::string(80, 'd'));
    EXPECT_EQ(list[1].infPath.Raw(), longInf.substr(0, 80));
    EXPECT_EQ(list[1].deviceVxds.Raw(), vxds.substr(0, 100));
    EXPECT_EQ(list[1].driverVersion.Raw(), std::string(30, '9'));
    // The hardware ID list is longer than its buffer: the first ID is still read, cut to the field.
    EXPECT_EQ(list[1].hardwareId.Raw(), std::string(80, 'h'));
    EXPECT_EQ(list[2].driverDesc.Trimmed(), "");
    EXPECT_EQ(list[2].infPath.Trimmed(), "ok.inf");
}

TEST(InventoryNtWalk, TwoDevicesWithOneDescriptionGiveOneRecord) {
    InventoryMachine m;
    m.Driver("USB\\ROOT_HUB30\\1", "0001", {{"DriverDesc", "USB Root Hub"}, {"InfPath", "usbhub.inf"}},
             {"first"});
    m.Driver("USB\\ROOT_HUB30\\2", "0002", {{"DriverDesc", "USB Root Hub"}, {"InfPath", "usbhub.inf"}},
             {"second"});
    m.Driver("USB\\ROOT_HUB30\\3", "0003", {{"DriverDesc", "Other"}, {"InfPath", "x.inf"}});
    RefreshDriverList(m.inventory);
    ASSERT_EQ(Descriptions(m.inventory.drivers), (std::vector<std::string>{"USB Root Hub", "Other"}));
    EXPECT_EQ(m.inventory.drivers[1].hardwareId.Trimmed(), "first");
}

TEST(InventoryDateCompletion, NonMicrosoftBlanksComeFromTheInfOrBecomeNull) {
    InventoryMachine m;
    m.Inf("oem1.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\nDriverVer = 3/7/2019, 2.4.0.1\r\n");
    m.File("inf\\other\\oem2.inf", "[version]\ndrivever=x\nDRIVERVER=12-31-2020,5.0\n");
    m.Inf("oem3.inf", "[Version]\nDriverVer=1/2/2003\n");
    m.Inf("oem4.inf", test::Utf16WithBom("[Version]\r\nDriverVer=11/30/2021,7.7.7.7\r\n"));
    m.File("elsewhere\\own.inf", "[Version]\nDriverVer=1/1/2001,1.0\n");
    struct Case {
        const char* desc;
        std::map<std::string, std::string> values;
        const char* date;
        const char* version;
    } cases[] = {
        {"from inf", {{"InfPath", "oem1.inf"}, {"ProviderName", "Acme"}}, "2019-03-07", "2.4.0.1"},
        {"from inf other", {{"InfPath", "oem2.inf"}}, "2020-12-31", "5.0"},
        {"version only", {{"InfPath", "oem1.inf"}, {"DriverDate", "5-5-2015"}}, "2015-05-05", "2.4.0.1"},
        {"date only", {{"InfPath", "oem1.inf"}, {"DriverVersion", "9.9"}}, "2019-03-07", "9.9"},
        {"no comma", {{"InfPath", "oem3.inf"}}, "2003-01-02", "null"},
        {"utf16", {{"InfPath", "oem4.inf"}}, "2021-11-30", "7.7.7.7"},
        {"no inf", {{"InfPath", "gone.inf"}, {"ProviderName", "Microsoft Corp."}}, "null", "null"},
        // Completion looks only in the INF folders, not at a path of its own.
        {"own path", {{"InfPath", "C:\\WINDOWS\\elsewhere\\own.inf"}}, "null", "null"},
        {"microsoft", {{"InfPath", "oem1.inf"}, {"ProviderName", " MICROSOFT CORPORATION "}}, "", ""},
        {"standard", {{"InfPath", "oem1.inf"}, {"ProviderName", "(Standard disk drives)"}}, "", ""},
    };
    int n = 0;
    for (const auto& c : cases) {
        auto values = c.values;
        values["DriverDesc"] = c.desc;
        std::string number = std::to_string(1000 + n);
        m.Driver("ROOT\\CASE\\" + number, number, values);
        ++n;
    }
    RefreshDriverList(m.inventory);
    ASSERT_EQ(m.inventory.drivers.Count(), n);
    for (int i = 1; i <= n; ++i) {
        const DriverRecord& r = m.inventory.drivers[i];
        const Case& c = cases[i - 1];
        ASSERT_EQ(r.driverDesc.Trimmed(), c.desc);
        EXPECT_EQ(r.driverDate.Trimmed(), c.date) << c.desc;
        EXPECT_EQ(r.driverVersion.Trimmed(), c.version) << c.desc;
    }
}

TEST(Inventory9xWalk, WalksClassTreeDepthFirst) {
    InventoryMachine m(test::Windows(4, 10));
    const std::string root = "System\\CurrentControlSet\\Services\\Class\\";
    m.Set(root + "Net", "Class", "Net");
    m.Set(root + "Net\\0000", "InfPath", "net1.inf");
    m.Set(root + "Net\\0000", "DriverDesc", "first");
    m.Set(root + "Net\\0000", "MatchingDeviceId", "pci\\ven_8086&dev_1229");
    m.Set(root + "Net\\0000", "DeviceVxds", "e100b.sys");
    m.Set(root + "Net\\0000\\Inner", "InfPath", "x.inf");
    m.Set(root + "Net\\0000\\Inner", "DriverDesc", "nested");
    m.Set(root + "Net\\0001", "DriverDesc", "no infpath, no record");
    m.Set(root + "Net\\0002", "InfPath", "net2.inf");
    m.Set(root + "Net\\0002", "DriverDesc", "second");
    m.Set(root + "Display", "InfPath", "disp.inf"); // a class key may carry a driver itself
    m.Set(root + "Display", "DriverDesc", "class key");
    m.Set(root + "Display", "Class", "Display");
    RefreshDriverList(m.inventory);
    const DriverList& list = m.inventory.drivers;
    ASSERT_EQ(Descriptions(list), (std::vector<std::string>{"class key", "first", "nested", "second"}));
    EXPECT_EQ(list[2].hardwareId.Trimmed(), "pci\\ven_8086&dev_1229");
    EXPECT_EQ(list[2].deviceVxds.Trimmed(), "e100b.sys");
    EXPECT_EQ(list[1].className.Trimmed(), "Display");
    EXPECT_EQ(list[3].className.Trimmed(), "Net");
    EXPECT_EQ(list[4].driverDate.Trimmed(), "null"); // Non-Microsoft without a date
}

TEST(Inventory9xWalk, SurvivesATreeNested500Deep) {
    InventoryMachine m(test::Windows(4, 90));
    Registry& reg = m.Reg();
    RegKey parent(reg);
    ASSERT_EQ(parent.Create(kHkeyLocalMachine, "System\\CurrentControlSet\\Services\\Class\\Deep"),
              kErrorSuccess);
    RegHandle current = parent.Handle();
    std::vector<RegHandle> opened;
    for (int depth = 1; depth <= 500; ++depth) {
        RegHandle child = 0;
        ASSERT_EQ(reg.CreateKey(current, "k", &child), kErrorSuccess);
        RegWriteString(reg, child, "InfPath", "deep.inf");
        RegWriteString(reg, child, "DriverDesc", "level " + std::to_string(depth));
        opened.push_back(child);
        current = child;
    }
    for (RegHandle h : opened)
        reg.CloseKey(h);
    RefreshDriverList(m.inventory);
    ASSERT_EQ(m.inventory.drivers.Count(), 500);
    EXPECT_EQ(m.inventory.drivers[1].driverDesc.Trimmed(), "level 1");
    EXPECT_EQ(m.inventory.drivers[500].driverDesc.Trimmed(), "level 500");
}

TEST(InventoryRecord, FieldsAreCutToTheirWidthAndPadded) {
    FixedText field(5);
    field.Set("ab");
    EXPECT_EQ(field.Raw(), "ab   ");
    field.Set("abcdefgh");
    EXPECT_EQ(field.Raw(), "abcde");
    EXPECT_EQ(field.Trimmed(), "abcde");
    // A cut never splits a UTF-8 character; the blank takes its place.
    field.Set("abcd\xC3\xA9");
    EXPECT_EQ(field.Raw(), "abcd ");
    field.Set("ab\xE2\x82\xAC"
              "x");
    EXPECT_EQ(field.Raw(), "ab\xE2\x82\xAC");
}

TEST(InventoryRecord, ProviderRule) {
    for (const char* p : {"Microsoft", "microsoft", "  MICROSOFT CORPORATION  ", "(Standard disk drives)",
                          "(Generic USB Hub)", "  (x"})
        EXPECT_TRUE(IsMicrosoftProvider(p)) << p;
    for (const char* p :
         {"", "   ", "Microsoft Corp.", "Microsoft  Corporation", "Acme (Microsoft)", "Intel"})
        EXPECT_FALSE(IsMicrosoftProvider(p)) << p;
}

TEST(InventoryRecord, ListStopsAt32767Records) {
    DriverList list;
    for (int i = 0; i < DriverList::kMaxCount; ++i)
        ASSERT_NE(list.Append(), nullptr);
    EXPECT_EQ(list.Append(), nullptr);
    EXPECT_EQ(list.Count(), 32767);
    list.Reset();
    EXPECT_EQ(list.Count(), 0);
    ASSERT_NE(list.Append(), nullptr);
    EXPECT_EQ(list[1].driverDesc.Trimmed(), "");
}

DriverList ListOf(const std::vector<std::string>& descriptions) {
    DriverList list;
    for (const auto& d : descriptions)
        list.Append()->driverDesc.Set(d);
    return list;
}

// The removal as plain copies over an array of descriptions, to compare against.
std::vector<std::string> ReferenceRemoval(std::vector<std::string> descriptions) {
    std::vector<std::string> slot(1);
    for (auto& d : descriptions) {
        d.resize(80, ' ');
        slot.push_back(d);
    }
    int count = static_cast<int>(descriptions.size());
    const int outerEnd = count - 1;
    for (int i = 1; i <= outerEnd; ++i) {
        const int innerEnd = count;
        for (int j = i + 1; j <= innerEnd; ++j) {
            if (slot[j] != slot[i])
                continue;
            for (int k = j + 1; k <= count; ++k)
                slot[k - 1] = slot[k];
            bool blank = slot[count].find_first_not_of(' ') == std::string::npos;
            slot[count] = blank ? "ljj" + std::string(77, ' ') : std::string(80, ' ');
            --count;
        }
    }
    std::vector<std::string> out;
    for (int i = 1; i <= count; ++i)
        out.push_back(slot[i].substr(0, slot[i].find_last_not_of(' ') + 1));
    return out;
}

TEST(InventoryDuplicates, KeepsTheFirstOfEachDescription) {
    struct Case {
        std::vector<std::string> in, out;
    } cases[] = {
        {{"A", "B", "A", "C", "B"}, {"A", "B", "C"}},
        // The record that moves into a removed slot is not compared again.
        {{"A", "A", "A"}, {"A", "A"}},
        {{"A", "A", "B", "A"}, {"A", "B"}},
        {{"a", "A"}, {"a", "A"}},
        {{}, {}},
        {{"only"}, {"only"}},
    };
    for (const auto& c : cases) {
        DriverList list = ListOf(c.in);
        RemoveDuplicateDrivers(list);
        EXPECT_EQ(Descriptions(list), c.out);
    }
}

TEST(InventoryDuplicates, MatchesThePlainInPlaceRemoval) {
    // Blank descriptions meet the vacated slots, which is where the in-place procedure is
    // at its strangest; a small alphabet makes every pattern of neighbours likely.
    std::mt19937 random(7);
    const char* alphabet[] = {"", "A", "B", "ljj"};
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::string> in(random() % 9);
        for (auto& d : in)
            d = alphabet[random() % 4];
        DriverList list = ListOf(in);
        RemoveDuplicateDrivers(list);
        ASSERT_EQ(Descriptions(list), ReferenceRemoval(in)) << "round " << round;
    }
}

} // namespace
} // namespace vantrel
