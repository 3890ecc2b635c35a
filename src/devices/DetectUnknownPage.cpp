#include "devices/DetectUnknownPage.h"

#include "app/App.h"
#include "app/Dialogs.h"
#include "platform/FileSystem.h"
#include "platform/System.h"

namespace vantrel {

namespace {

constexpr char kTimer1[] = "Timer1";

} // namespace

std::vector<int> DeviceListColumnWidths(int width) {
    int first = width * 3 / 4;
    return {first, width - first};
}

DetectUnknownPage::DetectUnknownPage(App& app, View& view, Dialogs& dialogs)
    : app(app), view(view), dialogs(dialogs) {}

bool DetectUnknownPage::Load() {
    std::vector<int> widths = DeviceListColumnWidths(view.ListWidth(kLvwDevices));
    view.SetColumns(
        kLvwDevices,
        {{app.GetLangText("FormUnknownDevice", "LvwHeader1", "Device Name in Device Manager"), widths[0]},
         {app.GetLangText("FormUnknownDevice", "LvwHeader2", "Class"), widths[1]}});
    view.SetCaption(kFrmDetectUnknown,
                    app.GetLangText("FormUnknownDevice", "Caption", "Detect Unknown Devices"));

    if (!app.platform.fs.Exists(app.appPath + kDeviceDatabaseFile)) {
        dialogs.MessageBox(MissingDatabaseMessage(app), kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return false;
    }
    view.SetText(kTxtDevice,
                 app.GetLangText("FormUnknownDevice", "MsgTip1", "Detecting devices, please wait patiently") +
                     "...");
    view.SetEnabled(kTimer1, true);
    return true;
}

void DetectUnknownPage::OnTimer1() {
    view.SetEnabled(kTimer1, false);
    if (detected)
        return;
    detected = true;

    std::string enumKey = PciEnumKeyFor(app.platform.system.GetVersion());
    if (enumKey.empty()) {
        dialogs.MessageBox(UnsupportedWindowsMessage(app), kProductName, MsgButtons::Ok,
                           MsgIcon::Exclamation);
        return;
    }
    // Read once for all devices; a file that went away since the opening names nothing.
    DeviceDatabase db;
    LoadDeviceDatabase(app.platform.fs, app.appPath + kDeviceDatabaseFile, &db);
    devices = DetectDevices(app.platform.registry, enumKey, db);
    view.ClearRows(kLvwDevices);
    for (const auto& device : devices)
        view.AddRow(kLvwDevices, ListRow{{device.name, device.className}});
    view.SetText(kTxtDevice,
                 app.GetLangText("FormUnknownDevice", "MsgTip2",
                                 "The above is PCI, AGP, PCI-X and PCIe devices in your computer with their "
                                 "corresponding class detected by Vantrel. For more "
                                 "information of each device, please click it and the detailed information "
                                 "will show in this textbox."));
}

bool DetectUnknownPage::OnColumnClick(std::string_view list, int column) {
    if (list != kLvwDevices)
        return false;
    sort.Click(view, kLvwDevices, column);
    return true;
}

bool DetectUnknownPage::OnRowClick(std::string_view list, int row) {
    if (list != kLvwDevices)
        return false;
    if (row < 0 || row >= view.RowCount(kLvwDevices))
        return true;
    // Rows are tied to devices by their texts; of devices that look alike, the n-th such row
    // is the n-th such device.
    ListRow clicked = view.GetRow(kLvwDevices, row);
    int alike = 0;
    for (int i = 0; i < row; ++i) {
        if (view.GetRow(kLvwDevices, i).cells == clicked.cells)
            ++alike;
    }
    for (const auto& device : devices) {
        if (std::vector<std::string>{device.name, device.className} == clicked.cells && alike-- == 0) {
            view.SetText(kTxtDevice, DeviceDetails(app, device));
            break;
        }
    }
    return true;
}

} // namespace vantrel
