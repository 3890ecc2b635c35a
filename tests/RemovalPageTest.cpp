// The Uninstall tab over a scripted window and scripted answers.
#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "InventoryFixture.h"
#include "app/MainPage.h"
#include "inventory/Enumeration.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "removal/UninstallPage.h"

namespace vantrel {
namespace {

using test::InventoryMachine;

constexpr char kList[] = "LvwUninstall";
constexpr char kHint[] = "Please select device drivers you want to remove, then click \"Uninstall\" button.";
constexpr char kHelper[] = "C:\\Users\\User\\AppData\\Local\\Temp\\DrvInstall.exe";
constexpr char kRestartQuestion[] =
    "Driver removal finished and system settings changed, you should reboot your "
    "machine. Do you want to reboot it now?";

class RemovalPage : public ::testing::Test {
protected:
    explicit RemovalPage(const MachineFacts& facts = MachineFacts()) : m(facts) {
        m.Class(test::kNetClass, "Net", "Network adapters");
        m.Inf("oem3.inf", "[Version]\n");
        m.File("inf\\other\\oem7.inf", "[Version]\n");
        m.Inf("netstd.inf", "[Version]\n");
        m.Driver("PCI\\VEN_1\\1", "0001",
                 {{"DriverDesc", "Zeta Wireless"},
                  {"ProviderName", "Zeta"},
                  {"InfPath", "oem3.inf"},
                  {"DriverDate", "2-3-2021"},
                  {"DriverVersion", "3.1"}},
                 {"PCI\\VEN_1&DEV_2 REV 01"});
        m.Driver("PCI\\VEN_1\\2", "0002",
                 {{"DriverDesc", "Basic Adapter"}, {"ProviderName", "Microsoft"}, {"InfPath", "netstd.inf"}},
                 {"PCI\\VEN_9"});
        m.Driver("PCI\\VEN_1\\3", "0003",
                 {{"DriverDesc", "Alpha Camera"}, {"ProviderName", "Alpha"}, {"InfPath", "oem7.inf"}},
                 {"USB\\VID_2"});
        m.Driver("PCI\\VEN_1\\4", "0004",
                 {{"DriverDesc", "Deleted Driver"}, {"ProviderName", "Gone Inc"}, {"InfPath", "oem9.inf"}});
        RefreshDriverList(m.inventory);
        m.machine.Image().Resources().items[kResDrvInstall64] = "helper";
        main.AddPart(page);
    }

    std::vector<std::string> Descriptions() {
        std::vector<std::string> out;
        for (const auto& row : view.lists[kList].rows)
            out.push_back(row.cells.at(0));
        return out;
    }
    void Tick(const std::string& desc) {
        auto names = Descriptions();
        auto at = std::find(names.begin(), names.end(), desc);
        ASSERT_NE(at, names.end()) << desc;
        view.SetRowChecked(kList, static_cast<int>(at - names.begin()), true);
    }
    std::vector<std::string> Texts() {
        std::vector<std::string> out;
        for (const auto& message : dialogs.messages)
            out.push_back(message.text);
        return out;
    }
    ImageProcesses& Processes() { return m.machine.Image().Processes(); }
    bool HelperWritten() { return m.machine.Ports().fs.Exists(kHelper); }

    InventoryMachine m;
    App app{m.machine.Ports()};
    test::FakeView view;
    test::FakeDialogs dialogs;
    MainPage main{app, view, dialogs};
    UninstallPage page{app, view, dialogs, m.inventory};
};

TEST_F(RemovalPage, ListsEveryDriverWithItsInfMicrosoftOnesInTheDefaultColour) {
    // Shown from what the list holds: a driver added since is not read.
    m.Driver("PCI\\VEN_1\\5", "0005", {{"DriverDesc", "Late Driver"}, {"InfPath", "oem3.inf"}});
    view.SetText("TxtRemove", "details of something");
    ASSERT_TRUE(main.HandleCommand("CmdUninstallDrivers"));
    EXPECT_EQ(view.tabs["TabMain"], 3);
    EXPECT_EQ(Descriptions(), (std::vector<std::string>{"Zeta Wireless", "Basic Adapter", "Alpha Camera"}));
    std::vector<bool> red;
    for (const auto& row : view.lists[kList].rows)
        red.push_back(row.red);
    EXPECT_EQ(red, (std::vector<bool>{true, false, true}));
    EXPECT_EQ(view.texts["TxtRemove"], kHint);
    EXPECT_EQ(view.lists[kList].sortColumn, 0);

    main.OnColumnClick(kList, 0);
    EXPECT_EQ(Descriptions(), (std::vector<std::string>{"Zeta Wireless", "Basic Adapter", "Alpha Camera"}));
    EXPECT_FALSE(view.lists[kList].sortAscending);
    // Each showing starts again from the first column, ascending.
    main.HandleCommand("MnuRemoveDriver");
    EXPECT_TRUE(view.lists[kList].sortAscending);

    main.OnRowClick(kList, 2);
    EXPECT_EQ(view.texts["TxtRemove"].rfind("Device ID: USB\\VID_2\r\n", 0), 0u) << view.texts["TxtRemove"];
}

TEST_F(RemovalPage, NothingTickedOrCautionAnsweredNoChangesNothing) {
    main.HandleCommand("MnuRemoveDriver");
    main.HandleCommand("CmdRemove");
    Tick("Zeta Wireless");
    dialogs.answers = {MsgAnswer::No};
    main.HandleCommand("CmdRemove");
    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(dialogs.messages[0].text, "Please select the device drivers you want to remove at first.");
    EXPECT_EQ(dialogs.messages[0].title, "Vantrel");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);
    EXPECT_EQ(
        dialogs.messages[1].text.rfind("Please be cautious about uninstalling drivers. If you uninstall", 0),
        0u);
    EXPECT_EQ(dialogs.messages[1].buttons, MsgButtons::YesNo);
    EXPECT_FALSE(HelperWritten());
    EXPECT_TRUE(Processes().calls.empty());
}

TEST_F(RemovalPage, RemovesTheTickedInRowOrderThenAsksToRestart) {
    main.HandleCommand("MnuRemoveDriver");
    Tick("Alpha Camera");
    Tick("Zeta Wireless");
    // Zeta's INF is held open: it goes at the restart, and its row must still leave the list.
    m.machine.Image().Files().FailDeleteOf("C:\\WINDOWS\\inf\\oem3.inf");
    std::vector<std::string> shownWhileRunning;
    Processes().handler = [&](const std::string&, bool) {
        shownWhileRunning.push_back(view.texts["TxtRemove"]);
        return true;
    };
    dialogs.answers = {MsgAnswer::Yes, MsgAnswer::No};
    main.HandleCommand("CmdRemove");

    std::vector<std::string> lines;
    for (const auto& call : Processes().calls)
        lines.push_back(call.commandLine);
    EXPECT_EQ(lines, (std::vector<std::string>{std::string(kHelper) + " /r \"PCI\\VEN_1&DEV_2 REV 01\"",
                                               std::string(kHelper) + " /r \"USB\\VID_2\""}));
    EXPECT_EQ(view.selectedRows, (std::vector<int>{0, 2}));
    EXPECT_EQ(shownWhileRunning,
              (std::vector<std::string>{"Removing drivers of 'Zeta Wireless', please wait patiently ...",
                                        "Removing drivers of 'Alpha Camera', please wait patiently ..."}));
    EXPECT_EQ(view.pumps, 2);
    EXPECT_EQ(m.machine.Image().Files().DeletesAtReboot(),
              std::vector<std::string>{"C:\\WINDOWS\\inf\\oem3.inf"});
    EXPECT_FALSE(m.machine.Ports().fs.Exists("C:\\WINDOWS\\inf\\other\\oem7.inf"));
    EXPECT_TRUE(m.machine.Ports().fs.Exists("C:\\WINDOWS\\inf\\netstd.inf"));

    ASSERT_EQ(dialogs.messages.size(), 2u);
    EXPECT_EQ(dialogs.messages[1].text, kRestartQuestion);
    EXPECT_EQ(dialogs.messages[1].icon, MsgIcon::Question);
    EXPECT_TRUE(Processes().exitFlags.empty());
    // Answered No: the rows stay, unticked, until the page is shown again.
    EXPECT_EQ(Descriptions().size(), 3u);
    for (const auto& row : view.lists[kList].rows)
        EXPECT_FALSE(row.checked);
    EXPECT_EQ(view.texts["TxtRemove"],
              "Driver removal finished and system settings changed, you should reboot your machine.");
    main.HandleCommand("MnuRemoveDriver");
    EXPECT_EQ(Descriptions(), std::vector<std::string>{"Basic Adapter"});
}

TEST_F(RemovalPage, RestartQuestionYesRestartsWindows) {
    main.HandleCommand("MnuRemoveDriver");
    Tick("Basic Adapter");
    dialogs.answers = {MsgAnswer::Yes, MsgAnswer::Yes};
    main.HandleCommand("CmdRemove");
    EXPECT_EQ(Processes().exitFlags, std::vector<unsigned>{kEwxReboot | kEwxForce});
    EXPECT_TRUE(view.lists[kList].rows[1].checked);
}

TEST_F(RemovalPage, WithoutItsHelperNothingIsRemovedAndNoRestartIsOffered) {
    m.machine.Image().Resources().items.clear();
    main.HandleCommand("MnuRemoveDriver");
    Tick("Zeta Wireless");
    dialogs.answers = {MsgAnswer::Yes};
    main.HandleCommand("CmdRemove");
    EXPECT_TRUE(Processes().calls.empty());
    EXPECT_EQ(Texts().back(), std::string("The driver removal program could not be written to ") + kHelper);
    EXPECT_EQ(dialogs.messages.size(), 2u);
    EXPECT_TRUE(m.machine.Ports().fs.Exists("C:\\WINDOWS\\inf\\oem3.inf"));
    main.HandleCommand("MnuRemoveDriver");
    EXPECT_EQ(Descriptions().size(), 3u);
}

TEST_F(RemovalPage, HintFollowsTheLanguage) {
    main.HandleCommand("MnuRemoveDriver");
    m.machine.ProgramFile("Language/German.ini", "[FormRemove]\r\nTxtRemove=Treiber ausw\xC3\xA4hlen\r\n");
    app.languageFile = "C:\\Program Files\\Vantrel\\Language\\German.ini";
    page.OnLanguageApplied();
    EXPECT_EQ(view.texts["TxtRemove"], "Treiber ausw\xC3\xA4hlen");
}

// Windows 98 and Me are refused after the tick check and before the caution question; every
// other version, 95 and NT 4.0 included, goes on.
class RemovalPageVersion : public RemovalPage, public ::testing::WithParamInterface<std::pair<int, int>> {
protected:
    RemovalPageVersion() : RemovalPage(Facts()) {}
    static MachineFacts Facts() { return test::Windows(GetParam().first, GetParam().second); }
};

TEST_P(RemovalPageVersion, WindowsVersionTest) {
    auto [major, minor] = GetParam();
    bool refused = major == 4 && (minor == 10 || minor == 90);
    view.AddRow(kList, ListRow{{"Zeta Wireless"}, true, true});
    dialogs.answers = {MsgAnswer::No};
    main.HandleCommand("CmdRemove");
    ASSERT_EQ(dialogs.messages.size(), 1u);
    if (refused) {
        EXPECT_EQ(dialogs.messages[0].text, "Drivers removal is not available in Windows 98 and ME.");
        EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Information);
    } else {
        EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Question);
    }
}

INSTANTIATE_TEST_SUITE_P(RemovalVersions, RemovalPageVersion,
                         ::testing::Values(std::pair{4, 10}, std::pair{4, 90}, std::pair{4, 0},
                                           std::pair{4, 3}, std::pair{5, 1}, std::pair{10, 0}));

} // namespace
} // namespace vantrel
