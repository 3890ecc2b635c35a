// The unknown device detector's dialog: the PCI devices of the machine in a two-column list,
// named from the device database, with the details of a clicked device below.
#pragma once

#include <string_view>
#include <vector>

#include "app/View.h"
#include "devices/Detection.h"

namespace vantrel {

class App;
class Dialogs;

inline constexpr char kFrmDetectUnknown[] = "FrmDetectUnknown";
inline constexpr char kLvwDevices[] = "LvwDevices";
inline constexpr char kTxtDevice[] = "TxtDevice";

// The two columns: the name takes three quarters of the list, the class the rest.
std::vector<int> DeviceListColumnWidths(int width);

class DetectUnknownPage {
public:
    DetectUnknownPage(App& app, View& view, Dialogs& dialogs);

    // The dialog opens: columns, texts, and Timer1 for the detection. False when the
    // database is missing: the message has been shown and the dialog closes.
    bool Load();
    // The first tick of Timer1 runs the detection, once.
    void OnTimer1();
    bool OnColumnClick(std::string_view list, int column);
    bool OnRowClick(std::string_view list, int row);

    const std::vector<DetectedDevice>& Devices() const { return devices; }

private:
    App& app;
    View& view;
    Dialogs& dialogs;
    std::vector<DetectedDevice> devices;
    ListSort sort;
    bool detected = false;
};

} // namespace vantrel
