#include "FrmAbout.h"

#include <algorithm>

#include "app/App.h"
#include "resource.h"

namespace vantrel {

namespace {

constexpr char kDialogClass[] = "VantrelAbout";
// Sizes in units of a 96-dpi screen.
constexpr int kWidth = 380;
constexpr int kHeight = 150;
constexpr int kMargin = 14;
constexpr int kGap = 8;
constexpr int kIconSize = 32;
constexpr int kLineHeight = 22;
constexpr int kButtonWidth = 84;
constexpr int kButtonHeight = 25;

bool IsLink(HWND control) {
    int id = GetDlgCtrlID(control);
    return id == IDC_ABOUTEMAIL || id == IDC_ABOUTSITE;
}

} // namespace

FrmAbout::FrmAbout(App& app) : FormWindow("frmAbout"), page(app, *this) {}

void FrmAbout::ShowModal(HWND owner) {
    if (!CreateForm(kDialogClass, WS_POPUP | WS_CAPTION | WS_SYSMENU, WS_EX_DLGMODALFRAME, owner, nullptr))
        return;
    AddControl("Picture1", IDC_ABOUTICON, Kind::Banner);
    AddControl("LblProduct", IDC_ABOUTPRODUCT, Kind::Title);
    AddControl("LblEmail", IDC_ABOUTEMAIL, Kind::Link);
    AddControl("LblSite", IDC_ABOUTSITE, Kind::Link);
    HWND ok = AddControl("cmdOK", IDC_ABOUTCMDOK, Kind::Button);
    SetWindowLongA(ok, GWL_STYLE, GetWindowLongA(ok, GWL_STYLE) | BS_DEFPUSHBUTTON);
    FinishForm(kWidth, kHeight, owner);
    page.Load();
    RunModal(owner);
}

void FrmAbout::Layout() {
    RECT client;
    GetClientRect(hwnd, &client);
    int margin = Scale(kMargin), line = Scale(kLineHeight);
    MoveWindow(Control("Picture1"), margin, margin, Scale(kIconSize), Scale(kIconSize), TRUE);
    int left = margin + Scale(kIconSize) + margin;
    int width = std::max<int>(0, client.right - left - margin);
    MoveWindow(Control("LblProduct"), left, margin, width, line, TRUE);
    // The links are only as wide as their text, so that a click beside them does nothing.
    MoveWindow(Control("LblEmail"), left, margin + line + Scale(kGap),
               std::min(width, TextWidth(Control("LblEmail"))), line, TRUE);
    MoveWindow(Control("LblSite"), left, margin + 2 * line + Scale(kGap),
               std::min(width, TextWidth(Control("LblSite"))), line, TRUE);
    int buttonWidth = std::max(Scale(kButtonWidth), TextWidth(Control("cmdOK")) + 2 * Scale(kGap));
    MoveWindow(Control("cmdOK"), client.right - margin - buttonWidth,
               client.bottom - margin - Scale(kButtonHeight), buttonWidth, Scale(kButtonHeight), TRUE);
}

void FrmAbout::OnControlCommand(std::string_view name) {
    page.OnClick(name);
    if (page.Done())
        EndModal(IDOK);
}

LRESULT FrmAbout::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_DRAWITEM: {
        const auto* draw = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
        FillRect(draw->hDC, &draw->rcItem, GetSysColorBrush(COLOR_BTNFACE));
        DrawIconEx(draw->hDC, draw->rcItem.left, draw->rcItem.top, BigIcon(),
                   draw->rcItem.right - draw->rcItem.left, draw->rcItem.bottom - draw->rcItem.top, 0, nullptr,
                   DI_NORMAL);
        return TRUE;
    }
    case WM_CTLCOLORSTATIC:
        if (IsLink(reinterpret_cast<HWND>(lParam))) {
            // Addresses look like the links they are.
            HDC dc = reinterpret_cast<HDC>(wParam);
            SetTextColor(dc, RGB(0, 51, 153));
            SetBkMode(dc, TRANSPARENT);
            return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_BTNFACE));
        }
        break;
    case WM_SETCURSOR:
        // The hand came with Windows 2000; before it the arrow stays.
        if (IsLink(reinterpret_cast<HWND>(wParam))) {
            if (HCURSOR hand = LoadCursorA(nullptr, MAKEINTRESOURCEA(32649))) {
                SetCursor(hand);
                return TRUE;
            }
        }
        break;
    default:
        break;
    }
    return FormWindow::HandleMessage(message, wParam, lParam);
}

HelpCommands::HelpCommands(App& app, FormWindow& owner, MainPage& main)
    : app(app), owner(owner), menu(app, owner, main, [this] {
          FrmAbout dialog(this->app);
          open = &dialog;
          dialog.ShowModal(this->owner.Handle());
          open = nullptr;
      }) {}

} // namespace vantrel
