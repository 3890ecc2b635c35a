#include "FrmLiveUpdate.h"

#include <algorithm>

#include "app/App.h"
#include "liveupdate/LiveUpdate.h"
#include "resource.h"

namespace vantrel {

namespace {

constexpr char kDialogClass[] = "VantrelLiveUpdate";
constexpr char kCmdBack[] = "CmdBack";
constexpr char kCmdNext[] = "CmdNext";
constexpr char kCmdCancel[] = "CmdCancel";
// Sizes in units of a 96-dpi screen.
constexpr int kWidth = 500;
constexpr int kHeight = 360;
constexpr int kMinWidth = 400;
constexpr int kMinHeight = 320;
constexpr int kMargin = 12;
constexpr int kGap = 8;
constexpr int kLineHeight = 20;
constexpr int kBarHeight = 18;
constexpr int kButtonWidth = 84;
constexpr int kButtonHeight = 25;

} // namespace

FrmLiveUpdate::FrmLiveUpdate(App& app, Dialogs* dialogs)
    : FormWindow(kFrmLiveUpdate), dialogs(dialogs ? *dialogs : ownDialogs), http(CreateHttp()),
      page(app, *this, this->dialogs, *http, ReadUpdateServer(app.platform.registry)) {}

void FrmLiveUpdate::ShowModal(HWND owner) {
    if (!CreateForm(kDialogClass, WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_CLIPCHILDREN,
                    WS_EX_DLGMODALFRAME, owner, nullptr))
        return;
    AddControl("LblWelcome", IDC_LULBLWELCOME, Kind::Text);
    AddControl("Lbl2", IDC_LULBL2, Kind::Text);
    AddControl("Lbl3", IDC_LULBL3, Kind::Text);
    AddControl("Label1", IDC_LULABEL1, Kind::Text);
    HWND list = AddControl("Lvw", IDC_LULVW, Kind::List);
    SendMessageA(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
    AddControl("Label2", IDC_LULABEL2, Kind::Text);
    AddControl("LblCurrent", IDC_LULBLCURRENT, Kind::Label);
    AddControl("PgBarCurrent", IDC_LUPGBARCURRENT, Kind::Progress);
    AddControl("LblTotal", IDC_LULBLTOTAL, Kind::Label);
    AddControl("PgBarTotal", IDC_LUPGBARTOTAL, Kind::Progress);
    AddControl(kCmdBack, IDC_LUCMDBACK, Kind::Button);
    HWND next = AddControl(kCmdNext, IDC_LUCMDNEXT, Kind::Button);
    SetWindowLongA(next, GWL_STYLE, GetWindowLongA(next, GWL_STYLE) | BS_DEFPUSHBUTTON);
    AddControl(kCmdCancel, IDC_LUCMDCANCEL, Kind::Button);
    SetMinimumSize(kMinWidth, kMinHeight);
    FinishForm(kWidth, kHeight, owner);

    ownDialogs.SetOwner(hwnd);
    page.Load();
    RunModal(owner);
}

void FrmLiveUpdate::Layout() {
    RECT client;
    GetClientRect(hwnd, &client);
    int margin = Scale(kMargin), gap = Scale(kGap), line = Scale(kLineHeight);
    int inner = std::max<int>(0, client.right - 2 * margin);
    auto place = [&](const char* name, int top, int height) {
        MoveWindow(Control(name), margin, top, inner, std::max(0, height), TRUE);
    };

    // The buttons along the bottom, Back and Next side by side as wizards have them.
    int buttonTop = client.bottom - margin - Scale(kButtonHeight);
    int x = client.right - margin;
    for (const char* name : {kCmdCancel, kCmdNext, kCmdBack}) {
        int width = std::max(Scale(kButtonWidth), TextWidth(Control(name)) + 2 * gap);
        x -= width;
        MoveWindow(Control(name), x, buttonTop, width, Scale(kButtonHeight), TRUE);
        x -= name == kCmdCancel ? gap : 0;
    }

    // The welcome page's three texts.
    int welcomeHeight = 4 * line;
    place("LblWelcome", margin, welcomeHeight);
    place("Lbl2", margin + welcomeHeight + gap, 2 * line);
    place("Lbl3", margin + welcomeHeight + 2 * line + 2 * gap, line);

    // The other pages: title, list, state, and the two bars at the bottom.
    int barsHeight = 2 * (line + Scale(kBarHeight)) + gap;
    int barsTop = buttonTop - gap - barsHeight;
    place("LblCurrent", barsTop, line);
    place("PgBarCurrent", barsTop + line, Scale(kBarHeight));
    place("LblTotal", barsTop + line + Scale(kBarHeight) + gap, line);
    place("PgBarTotal", barsTop + 2 * line + Scale(kBarHeight) + gap, Scale(kBarHeight));
    int stateTop = barsTop - gap - 2 * line;
    place("Label2", stateTop, 2 * line);
    // The longest titles take two lines on a narrow window.
    place("Label1", margin, 2 * line);
    int listTop = margin + 2 * line + gap;
    place("Lvw", listTop, stateTop - gap - listTop);
}

bool FrmLiveUpdate::CanCancel() const {
    HWND cancel = Control(kCmdCancel);
    return cancel && IsWindowEnabled(cancel);
}

void FrmLiveUpdate::OnControlCommand(std::string_view name) {
    if (name == kCmdNext) {
        if (page.OnNext())
            EndModal(IDOK);
    } else if (name == kCmdBack) {
        page.OnBack();
    } else if (name == kCmdCancel) {
        if (page.OnCancel())
            EndModal(IDCANCEL);
    }
}

void FrmLiveUpdate::OnCancel() {
    if (CanCancel())
        FormWindow::OnCancel();
}

LRESULT FrmLiveUpdate::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    // A transfer under way runs inside this window's loop: it cannot be left half done.
    if (message == WM_CLOSE && IsModal() && !CanCancel())
        return 0;
    return FormWindow::HandleMessage(message, wParam, lParam);
}

bool LiveUpdateCommand::HandleCommand(std::string_view control) {
    if (control != "MnuLiveupdate")
        return false;
    Open();
    return true;
}

void LiveUpdateCommand::RemindIfOld() {
    if (ShowDatabaseAgeReminder(app, mainDialogs))
        Open();
}

void LiveUpdateCommand::Open() {
    if (open)
        return;
    FrmLiveUpdate dialog(app, dialogs);
    open = &dialog;
    dialog.ShowModal(owner.Handle());
    open = nullptr;
}

} // namespace vantrel
