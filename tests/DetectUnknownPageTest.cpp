// The unknown device dialog's behaviour on the fake window: opening, the detection on the
// first timer tick in the layout of each Windows, sorting and the details of a clicked row.
#include <gtest/gtest.h>

#include <algorithm>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "TestMachine.h"
#include "devices/DetectUnknownPage.h"
#include "platform/Registry.h"

namespace vantrel {
namespace {

constexpr char kDatabase[] = "20240101=test\r\n"
                             "8086=Intel\r\n"
                             "8086:1234=Bridge chip\r\n"
                             "8086:1234:0001:1028=Dell bridge\r\n"
                             "1028=Dell\r\n";

void AddDevice(Registry& registry, const std::string& key, const std::string& hardwareId,
               const std::string& desc, const std::string& className) {
    RegKey device(registry);
    ASSERT_EQ(device.Create(kHkeyLocalMachine, key), kErrorSuccess);
    registry.SetValue(device.Handle(), "HardwareID", kRegMultiSz, hardwareId + '\0' + '\0');
    RegWriteString(registry, device.Handle(), "DeviceDesc", desc);
    RegWriteString(registry, device.Handle(), "Class", className);
}

struct Fixture {
    explicit Fixture(int major, int minor, bool database = true) : machine(Facts(major, minor)) {
        app.appPath = ComputeAppPath(machine.Ports());
        if (database)
            machine.ProgramFile(kDeviceDatabaseFile, kDatabase);
        Registry& registry = machine.Ports().registry;
        std::string pci = std::string(kPciEnumKey) + "\\";
        // Two bridges that look alike but are not, and a device of an unknown vendor.
        AddDevice(registry, pci + "VEN_8086&DEV_1234&SUBSYS_00011028&REV_03\\1",
                  "PCI\\VEN_8086&DEV_1234&SUBSYS_00011028&REV_03", "Bridge", "System");
        AddDevice(registry, pci + "VEN_8086&DEV_1234\\2", "PCI\\VEN_8086&DEV_1234", "Bridge", "System");
        AddDevice(registry, pci + "VEN_ABCD&DEV_0001\\3", "PCI\\VEN_ABCD&DEV_0001", "Adapter", "Net");
        AddDevice(registry, std::string(kPciEnumKey9x) + "\\VEN_8086&DEV_1234\\BUS_00",
                  "PCI\\VEN_8086&DEV_1234", "Old bridge", "System");
    }
    static MachineFacts Facts(int major, int minor) {
        MachineFacts facts;
        facts.version.major = major;
        facts.version.minor = minor;
        return facts;
    }
    std::vector<std::vector<std::string>> Rows() {
        std::vector<std::vector<std::string>> rows;
        for (const auto& row : view.lists[kLvwDevices].rows)
            rows.push_back(row.cells);
        return rows;
    }

    test::TestMachine machine;
    App app{machine.Ports()};
    test::FakeView view;
    test::FakeDialogs dialogs;
    DetectUnknownPage page{app, view, dialogs};
};

TEST(DetectUnknownPage, OpensWithColumnsAndTipThenDetectsOnceOnTheFirstTick) {
    Fixture f(10, 0);
    f.machine.ProgramFile("Language/Test.ini",
                          "[FormUnknownDevice]\r\nCaption=Geräte\r\nLvwHeader2=Klasse\r\n");
    f.app.languageFile = f.app.appPath + "Language\\Test.ini";
    ASSERT_TRUE(f.page.Load());
    EXPECT_EQ(f.view.GetCaption(kFrmDetectUnknown), "Geräte");
    auto columns = f.view.lists[kLvwDevices].columns;
    ASSERT_EQ(columns.size(), 2u);
    EXPECT_EQ(columns[0].header, "Device Name in Device Manager");
    EXPECT_EQ(columns[1].header, "Klasse");
    EXPECT_EQ(columns[0].width + columns[1].width, 600);
    EXPECT_EQ(f.view.texts[kTxtDevice], "Detecting devices, please wait patiently...");
    EXPECT_TRUE(f.view.controls["Timer1"].enabled);
    EXPECT_TRUE(f.Rows().empty()); // nothing before the window has painted

    f.page.OnTimer1();
    EXPECT_FALSE(f.view.controls["Timer1"].enabled);
    using Rows = std::vector<std::vector<std::string>>;
    Rows rows = f.Rows();
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows, (Rows{{"Adapter", "Net"}, {"Bridge", "System"}, {"Bridge", "System"}}));
    EXPECT_TRUE(f.view.texts[kTxtDevice].starts_with("The above is PCI, AGP, PCI-X and PCIe devices"));
    f.page.OnTimer1();
    EXPECT_EQ(f.Rows().size(), 3u);
    EXPECT_TRUE(f.dialogs.messages.empty());
}

TEST(DetectUnknownPage, ListsTheLayoutOfEachWindowsOrRefusesAnUnknownOne) {
    struct Case {
        int major, minor;
        std::size_t rows;
        bool refused;
    };
    for (const Case& c : {Case{10, 0, 3, false}, Case{5, 1, 3, false}, Case{4, 90, 1, false},
                          Case{4, 10, 1, false}, Case{4, 0, 0, true}, Case{11, 0, 0, true}}) {
        SCOPED_TRACE(std::to_string(c.major) + "." + std::to_string(c.minor));
        Fixture f(c.major, c.minor);
        ASSERT_TRUE(f.page.Load());
        f.page.OnTimer1();
        EXPECT_EQ(f.Rows().size(), c.rows);
        ASSERT_EQ(f.dialogs.messages.size(), c.refused ? 1u : 0u);
        if (c.refused) {
            EXPECT_EQ(f.dialogs.messages[0].text, "This version of Windows is not supported by Vantrel.");
            EXPECT_EQ(f.dialogs.messages[0].title, "Vantrel");
        }
    }
}

TEST(DetectUnknownPage, MissingDatabaseSaysSoAndDoesNotStart) {
    Fixture f(10, 0, false);
    EXPECT_FALSE(f.page.Load());
    ASSERT_EQ(f.dialogs.messages.size(), 1u);
    EXPECT_EQ(f.dialogs.messages[0].text,
              "Device database file doesn't exist, please re-install the software.");
    EXPECT_EQ(f.dialogs.messages[0].title, "Vantrel");
    EXPECT_EQ(f.dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_EQ(f.view.controls.count("Timer1"), 0u); // never started
}

TEST(DetectUnknownPage, SortedRowsStillShowTheirOwnDevice) {
    Fixture f(10, 0);
    ASSERT_TRUE(f.page.Load());
    f.page.OnTimer1();
    f.page.OnColumnClick(kLvwDevices, 0);
    f.page.OnColumnClick(kLvwDevices, 0);
    EXPECT_EQ(f.view.lists[kLvwDevices].sortColumn, 0);
    EXPECT_FALSE(f.view.lists[kLvwDevices].sortAscending);
    ASSERT_EQ(f.Rows()[2][0], "Adapter");

    f.page.OnRowClick(kLvwDevices, 2);
    EXPECT_EQ(f.view.texts[kTxtDevice], "Device ID: PCI\\VEN_ABCD&DEV_0001\r\n"
                                        "Detected Chip Name: device not in the database\r\n"
                                        "Chip Vender: vender not in the database\r\n");
    // The two bridges look alike: each row still names its own.
    f.page.OnRowClick(kLvwDevices, 0);
    std::string first = f.view.texts[kTxtDevice];
    f.page.OnRowClick(kLvwDevices, 1);
    std::string second = f.view.texts[kTxtDevice];
    if (first > second)
        std::swap(first, second);
    EXPECT_EQ(first, "Device ID: PCI\\VEN_8086&DEV_1234\r\n"
                     "Detected Chip Name: Bridge chip\r\n"
                     "Chip Vender: Intel\r\n");
    EXPECT_NE(second.find("OEM Device Name: Dell bridge\r\nOEM Device Vender: Dell"), std::string::npos);
    EXPECT_FALSE(f.page.OnRowClick("Other", 0));
}

} // namespace
} // namespace vantrel
