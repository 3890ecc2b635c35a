#include "FrmOptions.h"

#include <algorithm>
#include <iterator>

#include "app/App.h"
#include "resource.h"

namespace vantrel {

namespace {

constexpr char kDialogClass[] = "VantrelOptions";
constexpr char kTab[] = "TabOption";
// Sizes in units of a 96-dpi screen.
constexpr int kWidth = 440;
constexpr int kHeight = 250;
constexpr int kMargin = 10;
constexpr int kGap = 8;
constexpr int kRowHeight = 24;
constexpr int kComboWidth = 120;
constexpr int kButtonWidth = 84;
constexpr int kButtonHeight = 25;

// The controls of each tab page, top to bottom.
constexpr const char* kBackupPage[] = {"OptBckFolder",  "OptBckZip", "OptBckSfx",
                                       "OptBckAutoEXE", "Label1",    "CboLevel"};
constexpr const char* kRestorePage[] = {"OptRstFolder", "OptRstZip", "OptRstSfx",
                                        "FrameOther",   "ChkAlert",  "ChkReboot"};

void AddStyle(HWND window, LONG style) {
    SetWindowLongA(window, GWL_STYLE, GetWindowLongA(window, GWL_STYLE) | style);
}

} // namespace

FrmOptions::FrmOptions(App& app) : FormWindow("frmOptions"), page(app, *this) {}

int FrmOptions::ShowModal(HWND owner) {
    if (!CreateForm(kDialogClass, WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN, WS_EX_DLGMODALFRAME,
                    owner, nullptr))
        return IDCANCEL;
    AddControl(kTab, IDC_OPTTABOPTION, Kind::Tab);
    // Each group of option buttons starts a group, so that a click clears only its own.
    AddStyle(AddControl("OptBckFolder", IDC_OPTBCKFOLDER, Kind::Option), WS_GROUP | WS_TABSTOP);
    AddControl("OptBckZip", IDC_OPTBCKZIP, Kind::Option);
    AddControl("OptBckSfx", IDC_OPTBCKSFX, Kind::Option);
    AddControl("OptBckAutoEXE", IDC_OPTBCKAUTOEXE, Kind::Option);
    AddStyle(AddControl("Label1", IDC_OPTLABEL1, Kind::Label), WS_GROUP);
    AddControl("CboLevel", IDC_OPTCBOLEVEL, Kind::Combo);
    AddStyle(AddControl("OptRstFolder", IDC_OPTRSTFOLDER, Kind::Option), WS_GROUP | WS_TABSTOP);
    AddControl("OptRstZip", IDC_OPTRSTZIP, Kind::Option);
    AddControl("OptRstSfx", IDC_OPTRSTSFX, Kind::Option);
    AddStyle(AddControl("FrameOther", IDC_OPTFRAMEOTHER, Kind::Frame), WS_GROUP);
    AddControl("ChkAlert", IDC_OPTCHKALERT, Kind::Check);
    AddControl("ChkReboot", IDC_OPTCHKREBOOT, Kind::Check);
    AddStyle(AddControl("CmdOK", IDC_OPTCMDOK, Kind::Button), WS_GROUP | BS_DEFPUSHBUTTON);
    AddControl("CmdCancel", IDC_OPTCMDCANCEL, Kind::Button);
    UseTabPages(kTab, "TabControlPage",
                {{std::begin(kBackupPage), std::end(kBackupPage)},
                 {std::begin(kRestorePage), std::end(kRestorePage)}});
    FinishForm(kWidth, kHeight, owner);

    page.Load();
    return RunModal(owner);
}

void FrmOptions::Layout() {
    RECT client;
    GetClientRect(hwnd, &client);
    int margin = Scale(kMargin), gap = Scale(kGap), row = Scale(kRowHeight);
    int buttonTop = client.bottom - margin - Scale(kButtonHeight);
    int x = client.right - margin;
    for (const char* name : {"CmdCancel", "CmdOK"}) {
        int width = std::max(Scale(kButtonWidth), TextWidth(Control(name)) + 2 * gap);
        x -= width;
        MoveWindow(Control(name), x, buttonTop, width, Scale(kButtonHeight), TRUE);
        x -= gap;
    }

    HWND tab = Control(kTab);
    RECT area = {margin, margin, client.right - margin, std::max<LONG>(margin, buttonTop - gap)};
    MoveWindow(tab, area.left, area.top, area.right - area.left, area.bottom - area.top, TRUE);
    // The pages' controls lie over the tab control's display area.
    SendMessageA(tab, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
    int left = area.left + gap, width = std::max<int>(0, area.right - area.left - 2 * gap);
    int top = area.top + gap;
    for (int i = 0; i < 4; ++i)
        MoveWindow(Control(kBackupPage[i]), left, top + i * row, width, row, TRUE);
    int levelTop = top + 4 * row + gap;
    int labelWidth = TextWidth(Control("Label1")) + gap;
    MoveWindow(Control("Label1"), left, levelTop, labelWidth, row, TRUE);
    // The list drops below the box.
    MoveWindow(Control("CboLevel"), left + labelWidth, levelTop, Scale(kComboWidth), 6 * row, TRUE);

    for (int i = 0; i < 3; ++i)
        MoveWindow(Control(kRestorePage[i]), left, top + i * row, width, row, TRUE);
    int frameTop = top + 3 * row + gap;
    MoveWindow(Control("FrameOther"), left, frameTop, width, 3 * row, TRUE);
    MoveWindow(Control("ChkAlert"), left + gap, frameTop + row * 3 / 4, width - 2 * gap, row, TRUE);
    MoveWindow(Control("ChkReboot"), left + gap, frameTop + row * 7 / 4, width - 2 * gap, row, TRUE);
}

void FrmOptions::OnControlCommand(std::string_view name) {
    const ControlInfo* info = Find(name);
    bool checked = info && SendMessageA(info->window, BM_GETCHECK, 0, 0) == BST_CHECKED;
    page.OnClick(name, checked);
    if (page.Done())
        EndModal(name == "CmdOK" ? IDOK : IDCANCEL);
}

LRESULT FrmOptions::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CTLCOLORSTATIC || message == WM_CTLCOLORBTN) {
        // What lies on the tab takes the colour of its body.
        const ControlInfo* info = FindById(GetDlgCtrlID(reinterpret_cast<HWND>(lParam)));
        if (info && info->kind != Kind::Button && info->kind != Kind::Tab) {
            SetBkMode(reinterpret_cast<HDC>(wParam), TRANSPARENT);
            return reinterpret_cast<LRESULT>(TabBodyBrush());
        }
    }
    return FormWindow::HandleMessage(message, wParam, lParam);
}

bool OptionsCommand::HandleCommand(std::string_view control) {
    if (control != "MnuOptions")
        return false;
    FrmOptions dialog(app);
    open = &dialog;
    dialog.ShowModal(owner.Handle());
    open = nullptr;
    return true;
}

} // namespace vantrel
