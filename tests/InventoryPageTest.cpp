#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "InventoryFixture.h"
#include "app/MainPage.h"
#include "inventory/BackupListPage.h"

namespace vantrel {
namespace {

using test::InventoryMachine;

const char kTip2[] =
    "The above is all Non-Microsoft device drivers in your computer, which means they are not "
    "contained in Microsoft Windows operating system, therefore you should back them up for "
    "restoration after system crash.";
const char kTip3[] = "For more information of each device, please click it and the detailed information will "
                     "show in this textbox. To show all device drivers in your computer, please click Driver "
                     "Backup/Search All Drivers in the menu bar.";
const char kTip1[] =
    "The above is all device drivers in your computer, the red ones are not contained in Microsoft "
    "Windows, so you should back them up. The others are packaged within Windows operating "
    "system and are automatically installed when detected by it; therefore it is NOT necessary "
    "to back them up. ";

class InventoryBackupList : public ::testing::Test {
protected:
    InventoryBackupList() {
        m.Class(test::kNetClass, "Net", "Network adapters");
        m.Inf("oem3.inf", "[Version]\nCatalogFile=zeta.cat\n[Zeta]\nCopyFiles=@zeta.sys\n");
        m.File("inf\\other\\oem7.inf", "[Version]\nDriverVer=1/1/2010,2.0\n");
        m.Inf("netstd.inf", "[Version]\nSignature=$Windows NT$\n");
        m.Driver("PCI\\VEN_1\\1", "0001",
                 {{"DriverDesc", "Zeta Wireless"},
                  {"ProviderName", "Zeta"},
                  {"InfPath", "oem3.inf"},
                  {"InfSection", "zeta"},
                  {"DriverDate", "2-3-2021"},
                  {"DriverVersion", "3.1"}},
                 {"PCI\\VEN_1&DEV_2", "PCI\\VEN_1"});
        m.Driver("PCI\\VEN_1\\2", "0002",
                 {{"DriverDesc", "Alpha Camera"}, {"ProviderName", "Alpha"}, {"InfPath", "oem7.inf"}});
        m.Driver("PCI\\VEN_1\\3", "0003",
                 {{"DriverDesc", "Basic Adapter"},
                  {"ProviderName", "Microsoft"},
                  {"InfPath", "netstd.inf"},
                  {"DriverVersion", "10.0"}});
        m.Driver("PCI\\VEN_1\\4", "0004",
                 {{"DriverDesc", "Deleted Driver"}, {"ProviderName", "Gone Inc"}, {"InfPath", "oem9.inf"}});
        main.AddPart(page);
    }

    std::vector<std::string> Column(int column) {
        std::vector<std::string> out;
        for (const auto& row : view.lists["Lvw"].rows)
            out.push_back(row.cells.at(column));
        return out;
    }
    void UseLanguage(const std::string& text) {
        m.machine.ProgramFile("Language/Test.ini", text);
        app.languageFile = "C:\\Program Files\\Vantrel\\Language\\Test.ini";
    }

    InventoryMachine m;
    App app{m.machine.Ports()};
    test::FakeView view;
    test::FakeDialogs dialogs;
    MainPage main{app, view, dialogs};
    BackupListPage page{app, view, main, m.inventory};
};

TEST_F(InventoryBackupList, NonMicrosoftSearchListsOnlyRedRowsWithInfOnDisk) {
    view.SelectTab("TabMain", 2);
    ASSERT_TRUE(main.HandleCommand("CmdBackupDrivers"));
    EXPECT_EQ(view.tabs["TabMain"], 0);
    EXPECT_EQ(Column(0), (std::vector<std::string>{"Zeta Wireless", "Alpha Camera"}));
    for (const auto& row : view.lists["Lvw"].rows)
        EXPECT_TRUE(row.red);
    EXPECT_EQ(view.lists["Lvw"].rows[0].cells,
              (std::vector<std::string>{"Zeta Wireless", "Net", "3.1", "2021-02-03", "Zeta"}));
    // Completed from the INF under inf\other.
    EXPECT_EQ(view.lists["Lvw"].rows[1].cells[2], "2.0");
    EXPECT_EQ(view.texts["TxtBackup"], std::string(kTip2) + "\r\n\r\n" + kTip3);
    // The first search marks the first column as sorted, ascending.
    EXPECT_EQ(view.lists["Lvw"].sortColumn, 0);
    EXPECT_TRUE(view.lists["Lvw"].sortAscending);
}

TEST_F(InventoryBackupList, AllDriversSearchShowsMicrosoftRowsInTheDefaultColour) {
    ASSERT_TRUE(main.HandleCommand("MnuBckAll"));
    EXPECT_EQ(Column(0), (std::vector<std::string>{"Zeta Wireless", "Alpha Camera", "Basic Adapter"}));
    std::vector<bool> red;
    for (const auto& row : view.lists["Lvw"].rows)
        red.push_back(row.red);
    EXPECT_EQ(red, (std::vector<bool>{true, true, false}));
    EXPECT_EQ(view.texts["TxtBackup"], kTip1);
    // The record of the deleted INF is kept, only not listed.
    EXPECT_EQ(m.inventory.drivers.Count(), 4);
}

TEST_F(InventoryBackupList, RowClickDescribesTheDriver) {
    main.HandleCommand("MnuBckAll");
    ASSERT_TRUE(main.OnRowClick("Lvw", 0));
    EXPECT_EQ(
        view.texts["TxtBackup"],
        "Device ID: PCI\\VEN_1&DEV_2\r\n"
        "Device Information File: C:\\WINDOWS\\inf\\oem3.inf\r\n"
        "Driver Files Number of This Device: 3\r\n\r\n"
        "Driver files of this device are not contained in Microsoft Windows, so it is necessary to back "
        "them up.");
    main.OnRowClick("Lvw", 2);
    EXPECT_EQ(
        view.texts["TxtBackup"],
        "Device ID: \r\n"
        "Device Information File: C:\\WINDOWS\\inf\\netstd.inf\r\n"
        "Driver Files Number of This Device: 1\r\n\r\n"
        "Driver files of this device are contained in Microsoft Windows and are automatically installed "
        "by it when detected, so it is NOT necessary to back them up.");
    main.OnRowClick("Lvw", 1);
    EXPECT_NE(view.texts["TxtBackup"].find("C:\\WINDOWS\\inf\\other\\oem7.inf\r\n"), std::string::npos);
}

TEST_F(InventoryBackupList, RowClickFollowsTheDescriptionAfterSorting) {
    main.HandleCommand("MnuBckAll");
    main.OnColumnClick("Lvw", 0); // already the sort column: now descending
    EXPECT_EQ(Column(0), (std::vector<std::string>{"Zeta Wireless", "Basic Adapter", "Alpha Camera"}));
    main.OnRowClick("Lvw", 2);
    EXPECT_NE(view.texts["TxtBackup"].find("oem7.inf"), std::string::npos);
}

TEST_F(InventoryBackupList, ColumnClicksSortAndMoveTheArrow) {
    main.HandleCommand("MnuBckAll");
    auto& list = view.lists["Lvw"];
    main.OnColumnClick("Lvw", 2);
    EXPECT_EQ(Column(2), (std::vector<std::string>{"10.0", "2.0", "3.1"}));
    EXPECT_EQ(list.sortColumn, 2);
    EXPECT_TRUE(list.sortAscending);
    main.OnColumnClick("Lvw", 2);
    EXPECT_EQ(Column(2), (std::vector<std::string>{"3.1", "2.0", "10.0"}));
    EXPECT_FALSE(list.sortAscending);
    main.OnColumnClick("Lvw", 4);
    EXPECT_EQ(Column(4), (std::vector<std::string>{"Alpha", "Microsoft", "Zeta"}));
    EXPECT_EQ(list.sortColumn, 4);
    EXPECT_TRUE(list.sortAscending);
    // Other lists belong to other pages.
    EXPECT_FALSE(main.OnColumnClick("LvwRestore", 0));
}

TEST_F(InventoryBackupList, SelectAllThenNone) {
    main.HandleCommand("MnuBckAll");
    main.HandleCommand("CmdSelectAll");
    for (const auto& row : view.lists["Lvw"].rows)
        EXPECT_TRUE(row.checked);
    EXPECT_EQ(view.controls["CmdSelectAll"].caption, "Select &None");
    EXPECT_EQ(main.Tag("CmdSelectAll"), "select none");
    main.HandleCommand("CmdSelectAll");
    for (const auto& row : view.lists["Lvw"].rows)
        EXPECT_FALSE(row.checked);
    EXPECT_EQ(view.controls["CmdSelectAll"].caption, "Select &All");
    EXPECT_EQ(main.Tag("CmdSelectAll"), "select all");

    // A new search drops the ticks and resets the button.
    main.HandleCommand("CmdSelectAll");
    main.HandleCommand("MnuBckNeeded");
    EXPECT_FALSE(view.lists["Lvw"].rows[0].checked);
    EXPECT_EQ(main.Tag("CmdSelectAll"), "select all");
    EXPECT_EQ(view.controls["CmdSelectAll"].caption, "Select &All");
}

TEST(InventoryBackupListEmpty, EmptyInventoryIgnoresSelectAllAndClicks) {
    InventoryMachine m;
    App app(m.machine.Ports());
    test::FakeView view;
    test::FakeDialogs dialogs;
    MainPage main(app, view, dialogs);
    BackupListPage page(app, view, main, m.inventory);
    main.AddPart(page);
    main.HandleCommand("MnuBckAll");
    EXPECT_EQ(view.lists["Lvw"].rows.size(), 0u);
    view.SetCaption("CmdSelectAll", "unchanged");
    main.HandleCommand("CmdSelectAll");
    EXPECT_EQ(view.controls["CmdSelectAll"].caption, "unchanged");
    EXPECT_EQ(main.Tag("CmdSelectAll"), "select all");
    std::string before = view.texts["TxtBackup"];
    EXPECT_TRUE(main.OnRowClick("Lvw", 0));
    EXPECT_EQ(view.texts["TxtBackup"], before);
}

TEST_F(InventoryBackupList, TextsComeFromTheLanguageFileAndFollowASwitch) {
    UseLanguage("[FormMain]\nMsgTip2=Nur fremde Treiber.\nMsgTip3=Klicken Sie.\nStrDeviceID=Geraete-ID\n"
                "CmdSelectNone=Keine\n");
    main.HandleCommand("MnuBckNeeded");
    EXPECT_EQ(view.texts["TxtBackup"], "Nur fremde Treiber.\r\n\r\nKlicken Sie.");
    main.HandleCommand("CmdSelectAll");
    EXPECT_EQ(view.controls["CmdSelectAll"].caption, "Keine");

    main.OnRowClick("Lvw", 0);
    EXPECT_EQ(view.texts["TxtBackup"].rfind("Geraete-ID: PCI\\VEN_1&DEV_2\r\n", 0), 0u);
    // A switch back to English re-texts what the page showed.
    app.languageFile.clear();
    page.OnLanguageApplied();
    EXPECT_EQ(view.texts["TxtBackup"].rfind("Device ID: PCI\\VEN_1&DEV_2\r\n", 0), 0u);
    // Text that another part wrote (a backup log) is left alone.
    view.SetText("TxtBackup", "Backing up drivers of 'Zeta Wireless', please wait patiently ...");
    UseLanguage("[FormMain]\nStrDeviceID=ID\n");
    page.OnLanguageApplied();
    EXPECT_EQ(view.texts["TxtBackup"], "Backing up drivers of 'Zeta Wireless', please wait patiently ...");
}

TEST_F(InventoryBackupList, CollectedRowsAndInfPathsForOtherFrontEnds) {
    main.HandleCommand("MnuBckAll");
    std::vector<ListedDriver> listed = CollectListedDrivers(m.inventory, true);
    ASSERT_EQ(listed.size(), 2u);
    EXPECT_EQ(GetInfDisplayPath(m.inventory, listed[0].recordIndex), "C:\\WINDOWS\\inf\\oem3.inf");
    EXPECT_EQ(GetInfDisplayPath(m.inventory, 4), "Not exist");
    EXPECT_EQ(GetInfDisplayPath(m.inventory, 99), "Not exist");
}

} // namespace
} // namespace vantrel
