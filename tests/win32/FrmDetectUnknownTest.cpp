// The unknown device dialog opened from the main window's menu, over PCI devices written into
// the registry and a small device database; what it shows is read back from its controls
// while its own message loop runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "DialogTestSupport.h"
#include "FakeDialogs.h"
#include "FrmDetectUnknown.h"
#include "FrmMain.h"
#include "GuiApi.h"
#include "Win32TestSupport.h"
#include "app/App.h"
#include "platform/Registry.h"
#include "resource.h"

namespace vantrel {
namespace {

const std::string kPciKey = "System\\CurrentControlSet\\Enum\\PCI\\";

struct PciFixture {
    const char* key;
    const char* desc;
    const char* className;
};
const PciFixture kDevices[] = {
    {"VEN_F1E5&DEV_0001&SUBSYS_1100F1E6&REV_02", "Test Storage Controller", "SCSIAdapter"},
    {"VEN_F1E5&DEV_0002", "Test Network Adapter", "Net"},
};

constexpr char kDatabase[] = "20240101=fixture\r\n"
                             "F1E5=Fixture Silicon\r\n"
                             "F1E5:0001=Fixture Storage Chip\r\n"
                             "F1E5:0001:1100:F1E6=Fixture OEM Storage\r\n"
                             "F1E6=Fixture Boards\r\n";

class Win32FrmDetectUnknown : public ::testing::Test {
protected:
    void SetUp() override {
        Registry& registry = platform->Ports().registry;
        for (const auto& device : kDevices) {
            RegKey key(registry);
            ASSERT_EQ(key.Create(kHkeyLocalMachine, kPciKey + device.key + "\\VantrelTest"), kErrorSuccess);
            std::string id = std::string("PCI\\") + device.key;
            registry.SetValue(key.Handle(), "HardwareID", kRegMultiSz, id + '\0' + '\0');
            RegWriteString(registry, key.Handle(), "DeviceDesc", device.desc);
            RegWriteString(registry, key.Handle(), "Class", device.className);
        }
        dialogApp.appPath = folder.Path() + "\\";
        window.SetQuitOnClose(false);
        window.Page().AddPart(command);
        ASSERT_TRUE(window.Create());
        window.Show(SW_SHOWNORMAL);
    }
    void TearDown() override {
        for (const auto& device : kDevices)
            test::DeleteRegistryTree(platform->Ports().registry, kHkeyLocalMachine, kPciKey + device.key);
    }

    // Runs the menu command with step called inside the dialog's loop until it closes.
    bool OpenWith(std::function<void(FrmDetectUnknown&)> step, DWORD limit = 30000) {
        return test::RunDialog(
            [this] { SendMessageA(window.Handle(), WM_COMMAND, MAKEWPARAM(IDM_MNUDETECTUNKNOWN, 0), 0); },
            [this] { return command.OpenDialog(); },
            [&](FormWindow& dialog) { step(static_cast<FrmDetectUnknown&>(dialog)); }, limit);
    }

    std::unique_ptr<PlatformSet> platform = CreateWin32Platform();
    App app{platform->Ports()};
    App dialogApp{platform->Ports()};
    test::ScratchFolder folder{platform->Ports().fs};
    test::FakeDialogs dialogs, dialogDialogs;
    FrmMain window{app, &dialogs};
    DetectUnknownCommand command{dialogApp, window, &dialogDialogs};
};

TEST_F(Win32FrmDetectUnknown, OpensCentredOverTheDisabledMainWindowListsAndClosesOnEsc) {
    std::ofstream(folder / "pcidevs.txt", std::ios::binary) << kDatabase;
    bool ownerDisabled = false, centred = false, done = false;
    std::vector<ListRow> rows;
    std::string details, caption;
    int markedColumn = -1;
    bool closed = OpenWith([&](FrmDetectUnknown& dialog) {
        int count = dialog.RowCount(kLvwDevices);
        if (done || count < 2)
            return; // the detection has not run yet
        done = true;
        ownerDisabled = !IsWindowEnabled(window.Handle());
        centred = test::CentredOn(dialog.Handle(), window.Handle());
        caption = WindowText(dialog.Handle());
        HWND list = dialog.Control(kLvwDevices);
        for (int i = 0; i < count; ++i)
            rows.push_back(dialog.GetRow(kLvwDevices, i));
        auto storage = std::find_if(rows.begin(), rows.end(), [](const ListRow& row) {
            return row.cells[0] == "Test Storage Controller";
        });
        NMITEMACTIVATE click{};
        click.hdr = {list, IDC_LVWDEVICES, static_cast<UINT>(NM_CLICK)};
        click.iItem = static_cast<int>(storage - rows.begin());
        SendMessageA(dialog.Handle(), WM_NOTIFY, IDC_LVWDEVICES, reinterpret_cast<LPARAM>(&click));
        details = dialog.GetText(kTxtDevice);

        NMLISTVIEW header{};
        header.hdr = {list, IDC_LVWDEVICES, static_cast<UINT>(LVN_COLUMNCLICK)};
        header.iItem = -1;
        header.iSubItem = 1;
        SendMessageA(dialog.Handle(), WM_NOTIFY, IDC_LVWDEVICES, reinterpret_cast<LPARAM>(&header));
        HWND headerControl = reinterpret_cast<HWND>(SendMessageA(list, LVM_GETHEADER, 0, 0));
        for (int i = 0; i < 2; ++i) {
            HDITEMA item{};
            item.mask = HDI_FORMAT;
            SendMessageA(headerControl, HDM_GETITEMA, i, reinterpret_cast<LPARAM>(&item));
            if (item.fmt & HDF_IMAGE)
                markedColumn = i;
        }
        SetFocus(list);
        test::PressEsc(dialog);
    });

    ASSERT_TRUE(closed) << (done ? "the dialog did not close on Esc" : "the dialog listed no devices");
    EXPECT_EQ(caption, "Detect Unknown Devices");
    EXPECT_TRUE(ownerDisabled);
    EXPECT_TRUE(centred);
    // Wine may list devices of its own beside the fixtures.
    for (const auto& device : kDevices) {
        EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](const ListRow& row) {
            return row.cells == std::vector<std::string>{device.desc, device.className};
        })) << device.desc;
    }
    EXPECT_EQ(details, "Device ID: PCI\\VEN_F1E5&DEV_0001&SUBSYS_1100F1E6&REV_02\r\n"
                       "Detected Chip Name: Fixture Storage Chip\r\n"
                       "Chip Vender: Fixture Silicon\r\n"
                       "OEM Device Name: Fixture OEM Storage\r\n"
                       "OEM Device Vender: Fixture Boards\r\n");
    EXPECT_EQ(markedColumn, 1);
    EXPECT_TRUE(IsWindowEnabled(window.Handle()));
    EXPECT_EQ(command.OpenDialog(), nullptr);
    EXPECT_TRUE(dialogDialogs.messages.empty());
}

TEST_F(Win32FrmDetectUnknown, WithoutDatabaseSaysSoAndDoesNotOpen) {
    bool opened = false;
    OpenWith([&](FrmDetectUnknown& dialog) {
        opened = true;
        PostMessageA(dialog.Handle(), WM_CLOSE, 0, 0);
    });
    EXPECT_FALSE(opened);
    ASSERT_EQ(dialogDialogs.messages.size(), 1u);
    EXPECT_EQ(dialogDialogs.messages[0].text,
              "Device database file doesn't exist, please re-install the software.");
    EXPECT_TRUE(IsWindowEnabled(window.Handle()));
}

} // namespace
} // namespace vantrel
