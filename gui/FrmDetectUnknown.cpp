#include "FrmDetectUnknown.h"

#include <algorithm>

#include "app/App.h"
#include "resource.h"

namespace vantrel {

namespace {

constexpr char kDialogClass[] = "VantrelDetectUnknown";
// Sizes in units of a 96-dpi screen.
constexpr int kWidth = 560;
constexpr int kHeight = 420;
constexpr int kMinWidth = 320;
constexpr int kMinHeight = 240;
constexpr int kMargin = 8;
constexpr int kTextHeight = 110;
// Long enough for the first paint to come before the detection holds the window up.
constexpr UINT kTimer1Interval = 100;

} // namespace

FrmDetectUnknown::FrmDetectUnknown(App& app, Dialogs* dialogs)
    : FormWindow(kFrmDetectUnknown), app(app), dialogs(dialogs ? *dialogs : ownDialogs),
      page(app, *this, this->dialogs) {}

void FrmDetectUnknown::ShowModal(HWND owner) {
    if (!CreateForm(kDialogClass, WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_CLIPCHILDREN,
                    WS_EX_DLGMODALFRAME, owner, nullptr))
        return;
    HWND list = AddControl(kLvwDevices, IDC_LVWDEVICES, Kind::List);
    AddControl(kTxtDevice, IDC_TXTDEVICE, Kind::TextBox);
    SendMessageA(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES,
                 LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    UseSortIcons(app.appPath, {kLvwDevices});
    SetMinimumSize(kMinWidth, kMinHeight);
    SetTimer1Interval(kTimer1Interval);
    FinishForm(kWidth, kHeight, owner);

    // A missing database is told over the main window, before this one shows.
    ownDialogs.SetOwner(owner);
    if (!page.Load()) {
        DestroyQuietly();
        return;
    }
    ownDialogs.SetOwner(hwnd);
    RunModal(owner);
}

void FrmDetectUnknown::Layout() {
    RECT client;
    GetClientRect(hwnd, &client);
    int margin = Scale(kMargin);
    int inner = std::max<int>(0, client.right - 2 * margin);
    int textTop = std::max<int>(margin, client.bottom - margin - Scale(kTextHeight));
    MoveWindow(Control(kLvwDevices), margin, margin, inner, std::max(0, textTop - 2 * margin), TRUE);
    MoveWindow(Control(kTxtDevice), margin, textTop, inner, Scale(kTextHeight), TRUE);
}

bool DetectUnknownCommand::HandleCommand(std::string_view control) {
    if (control != "MnuDetectUnknown")
        return false;
    FrmDetectUnknown dialog(app, dialogs);
    open = &dialog;
    dialog.ShowModal(owner.Handle());
    open = nullptr;
    return true;
}

} // namespace vantrel
