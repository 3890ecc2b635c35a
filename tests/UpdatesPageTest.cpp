// The Update tab over a scripted window: the system chosen, the texts, Download and Hide.
#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "TestMachine.h"
#include "app/MainPage.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/image/ImagePorts.h"
#include "updates/UpdateDatabase.h"
#include "updates/UpdatePage.h"

namespace vantrel {
namespace {

constexpr char kList[] = "LvwUpdate";
constexpr char kText[] = "TxtUpdate";
constexpr char kDatabase[] = "C:\\Program Files\\Vantrel\\DriverDB.dat";
constexpr char kHidden[] = "C:\\Users\\User\\AppData\\Roaming\\Vantrel\\HiddenUpdate.txt";
constexpr char kLanUrl[] = "https://files.alpha.example/lan.zip";

std::string Slots(int win10x64, int win11, int win7x64) {
    std::string slots;
    for (int slot = 1; slot <= 19; ++slot) {
        int number = slot == 18 ? win10x64 : slot == 19 ? win11 : slot == 15 ? win7x64 : 0;
        char text[8];
        std::snprintf(text, sizeof text, "%06d:", number);
        slots += text;
    }
    return slots;
}

std::string Summary(const std::string& system) {
    return "The above is driver update information for your computer in " + system +
           ". \r\n\r\nFor more information of each new driver, please click it and the detailed information "
           "will show in this textbox. You can also select other operating systems and find driver updates "
           "for "
           "them.\r\n\r\nPlease click Download button to download the selected driver update by the default "
           "web browser in your computer, you can also copy the download URL and use other tools to download "
           "it.";
}

MachineFacts Facts(int build) {
    MachineFacts facts;
    facts.version.build = build;
    return facts;
}

class UpdatesPage : public ::testing::TestWithParam<int> {
protected:
    UpdatesPage() : machine(Facts(GetParam())) {
        app.appPath = ComputeAppPath(machine.Ports());
        std::string source = "20250301\r\n"
                             "P1111:2222:********:" +
                             Slots(1, 1, 2) +
                             "\r\n"
                             "MDEL4014:" +
                             Slots(0, 3, 0) +
                             "\r\n"
                             "000001D:Alpha LAN Driver for Windows 10/11 x64$12.5$Alpha$20240101$2.0$Net$1$" +
                             kLanUrl +
                             "\r\n"
                             "000002D:Alpha LAN Driver for Windows 7 x64$9.1$Alpha$20190101$1.0$Net$0$"
                             "https://files.alpha.example/lan7.zip\r\n"
                             "000003D:Delta Monitor Driver for Windows 11$0.1$Delta$20220101$1.1$Monitor$0$"
                             "https://files.delta.example/mon.zip\r\n";
        std::string error;
        EXPECT_TRUE(
            WriteUpdateDatabase(machine.Ports().fs, kDatabase, EncipherRecordAddresses(source), &error));
        for (auto [desc, id] : {std::pair{"Alpha LAN", "PCI\\VEN_1111&DEV_2222&SUBSYS_00001111"},
                                std::pair{"Delta 24", "MONITOR\\DEL4014"}}) {
            DriverRecord* record = inventory.drivers.Append();
            record->driverDesc.Set(desc);
            record->hardwareId.Set(id);
            record->driverDate.Set("2021-01-01");
        }
        view.SetComboItems("CmbOS", OsChoices());
    }

    std::vector<std::string> Rows() {
        std::vector<std::string> rows;
        for (const auto& row : view.lists[kList].rows)
            rows.push_back(row.cells.at(0) + "|" + row.cells.at(1));
        return rows;
    }
    void Choose(const std::string& system) {
        auto items = view.combos["CmbOS"];
        view.SetComboSelection(
            "CmbOS", static_cast<int>(std::find(items.begin(), items.end(), system) - items.begin()));
        page.HandleCommand("CmbOS");
    }
    std::vector<std::string> Messages() {
        std::vector<std::string> texts;
        for (const auto& message : dialogs.messages) {
            EXPECT_EQ(message.title, "Vantrel");
            texts.push_back(message.text);
        }
        return texts;
    }
    ImageShell& Shell() { return machine.Image().Shell(); }

    test::TestMachine machine;
    App app{machine.Ports()};
    Inventory inventory{machine.Ports()};
    test::FakeView view;
    test::FakeDialogs dialogs;
    UpdatePage page{app, view, dialogs, inventory};
};

INSTANTIATE_TEST_SUITE_P(Builds, UpdatesPage, ::testing::Values(19045, 22631));

TEST_P(UpdatesPage, OpensOnTheRunningSystemAndSearchesEveryChoice) {
    bool windows11 = GetParam() >= 22000;
    std::string running = windows11 ? "Windows 11" : "Windows 10 x64";
    page.HandleCommand("MnuUpdate");
    EXPECT_EQ(view.tabs["TabMain"], 2);
    EXPECT_EQ(view.combos["CmbOS"].at(view.comboSelection["CmbOS"]), running);
    // Installed dates count on the running system; the monitor has a Windows 11 driver only.
    std::vector<std::string> rows = {"Alpha LAN Driver |Net"};
    if (windows11)
        rows.push_back("Delta Monitor Driver |Monitor");
    EXPECT_EQ(Rows(), rows);
    EXPECT_EQ(view.texts[kText], Summary(running));

    Choose("Windows 7 x64");
    EXPECT_EQ(Rows(), std::vector<std::string>{"Alpha LAN Driver |Net"});
    Choose("Windows XP x86");
    EXPECT_TRUE(Rows().empty());
    EXPECT_EQ(view.texts[kText],
              "There is no driver update information for your PC in Windows XP x86, please run it later.");
    EXPECT_TRUE(dialogs.messages.empty());
}

TEST_P(UpdatesPage, DetailsDownloadAndHide) {
    page.HandleCommand("MnuUpdate");
    page.HandleCommand("BtnDownload");
    page.HandleCommand("BtnHide");
    EXPECT_EQ(Messages(),
              (std::vector<std::string>{"Please select the device drivers you want to update at first.",
                                        "Please select the driver update you want to hide at first."}));
    EXPECT_TRUE(Shell().calls.empty());
    EXPECT_FALSE(machine.Ports().fs.Exists(kHidden));

    page.OnRowClick(kList, 0);
    EXPECT_EQ(view.texts[kText],
              std::string("Supported OS: Windows 10/11 x64\r\nDriver Provider: Alpha\r\n"
                          "Driver Version: 2.0\r\nDigitally Signed: Yes\r\nFile Size: 12.5MB\r\n"
                          "Download URL: ") +
                  kLanUrl + "\r\n");
    page.HandleCommand("BtnDownload");
    ASSERT_EQ(Shell().calls.size(), 1u);
    EXPECT_EQ(Shell().calls[0].verb, "open");
    EXPECT_EQ(Shell().calls[0].file, kLanUrl);
    EXPECT_EQ(Shell().calls[0].folder, "C:\\");

    dialogs.messages.clear();
    dialogs.answers = {MsgAnswer::Cancel, MsgAnswer::Ok};
    page.HandleCommand("BtnHide");
    EXPECT_FALSE(machine.Ports().fs.Exists(kHidden));
    page.HandleCommand("BtnHide");
    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(dialogs.messages[0].text,
              "Are you sure to hide this driver update?\r\nIf so, you will not be notified "
              "to update this driver again until a new version is released.");
    EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::OkCancel);
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Question);
    std::string hidden;
    ASSERT_TRUE(ReadWholeFile(machine.Ports().fs, kHidden, &hidden));
    EXPECT_EQ(hidden, std::string(kLanUrl) + "\r\n");
    bool windows11 = GetParam() >= 22000;
    EXPECT_EQ(Rows().size(), windows11 ? 1u : 0u);
    EXPECT_EQ(view.texts[kText], Summary(windows11 ? "Windows 11" : "Windows 10 x64"));
    // Hidden for every system, and nothing is selected any more.
    Choose("Windows 11");
    EXPECT_EQ(Rows(), std::vector<std::string>{"Delta Monitor Driver |Monitor"});
    dialogs.messages.clear();
    page.HandleCommand("BtnDownload");
    EXPECT_EQ(Messages(),
              std::vector<std::string>{"Please select the device drivers you want to update at first."});
}

TEST_P(UpdatesPage, MissingAndBrokenDatabase) {
    ASSERT_TRUE(WriteWholeFile(machine.Ports().fs, kDatabase, "PK\x03\x04 truncated"));
    page.HandleCommand("MnuUpdate");
    const char* broken = "Driver update database is destroyed, please re-install the software.";
    EXPECT_EQ(Messages(), std::vector<std::string>{broken});
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_EQ(view.texts[kText], broken);

    dialogs.messages.clear();
    machine.Ports().fs.DeleteFile(kDatabase);
    page.HandleCommand("MnuUpdate");
    EXPECT_EQ(Messages(), std::vector<std::string>{
                              "Drivers update database doesn't exist, please re-install the software."});
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_EQ(view.texts[kText], "Drivers update database file doesn't exist!");
}

} // namespace
} // namespace vantrel
