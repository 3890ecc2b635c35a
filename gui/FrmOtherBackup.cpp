#include "FrmOtherBackup.h"

#include <algorithm>

#include "ListView.h"
#include "app/App.h"
#include "resource.h"

namespace vantrel {

namespace {

constexpr char kDialogClass[] = "VantrelOtherBackup";
constexpr char kTab[] = "TabOther";
// Sizes in units of a 96-dpi screen.
constexpr int kWidth = 440;
constexpr int kHeight = 340;
constexpr int kMinWidth = 360;
constexpr int kMinHeight = 280;
constexpr int kMargin = 10;
constexpr int kGap = 8;
constexpr int kLineHeight = 20;
constexpr int kBarHeight = 18;
constexpr int kButtonWidth = 96;
constexpr int kButtonHeight = 25;

} // namespace

FrmOtherBackup::FrmOtherBackup(App& app, Dialogs* dialogs)
    : FormWindow("frmotherbackup"), dialogs(dialogs ? *dialogs : ownDialogs), transfer(app.platform),
      page(app, *this, this->dialogs, transfer) {}

void FrmOtherBackup::ShowModal(HWND owner) {
    if (!CreateForm(kDialogClass, WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_CLIPCHILDREN,
                    WS_EX_DLGMODALFRAME, owner, nullptr))
        return;
    AddControl(kTab, IDC_OTHERTAB, Kind::Tab);
    SetDriverListStyle(AddControl("lvwother", IDC_OTHERLVW, Kind::List));
    SetDriverListStyle(AddControl("LvwOtherRestore", IDC_OTHERLVWRESTORE, Kind::List));
    AddControl("pgbar", IDC_OTHERPGBAR, Kind::Progress);
    AddControl("lblprogress", IDC_OTHERLBLPROGRESS, Kind::Label);
    AddControl("cmdselectall", IDC_OTHERCMDSELECTALL, Kind::Button);
    AddControl("cmdstart", IDC_OTHERCMDSTART, Kind::Button);
    AddControl("cmdexit", IDC_OTHERCMDEXIT, Kind::Button);
    UseTabPages(kTab, "TabOtherPage", {{"lvwother"}, {"LvwOtherRestore"}});
    SetMinimumSize(kMinWidth, kMinHeight);
    FinishForm(kWidth, kHeight, owner);

    ownDialogs.SetOwner(hwnd);
    page.Load();
    RunModal(owner);
}

void FrmOtherBackup::Layout() {
    RECT client;
    GetClientRect(hwnd, &client);
    int margin = Scale(kMargin), gap = Scale(kGap), line = Scale(kLineHeight);
    int inner = std::max<int>(0, client.right - 2 * margin);

    // Buttons along the bottom: the two that act on the list at the left, Exit at the right.
    int buttonTop = client.bottom - margin - Scale(kButtonHeight);
    auto width = [&](const char* name) {
        return std::max(Scale(kButtonWidth), TextWidth(Control(name)) + 2 * gap);
    };
    int x = margin;
    for (const char* name : {"cmdselectall", "cmdstart"}) {
        MoveWindow(Control(name), x, buttonTop, width(name), Scale(kButtonHeight), TRUE);
        x += width(name) + gap;
    }
    MoveWindow(Control("cmdexit"), client.right - margin - width("cmdexit"), buttonTop, width("cmdexit"),
               Scale(kButtonHeight), TRUE);

    int barTop = buttonTop - gap - Scale(kBarHeight);
    MoveWindow(Control("pgbar"), margin, barTop, inner, Scale(kBarHeight), TRUE);
    int labelTop = barTop - line;
    MoveWindow(Control("lblprogress"), margin, labelTop, inner, line, TRUE);

    HWND tab = Control(kTab);
    RECT area = {margin, margin, client.right - margin, std::max<LONG>(margin, labelTop - gap)};
    MoveWindow(tab, area.left, area.top, area.right - area.left, area.bottom - area.top, TRUE);
    SendMessageA(tab, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
    for (const char* list : {"lvwother", "LvwOtherRestore"}) {
        MoveWindow(Control(list), area.left + gap / 2, area.top + gap / 2,
                   std::max<int>(0, area.right - area.left - gap),
                   std::max<int>(0, area.bottom - area.top - gap), TRUE);
        // One column as wide as the list.
        ListView_SetColumnWidth(Control(list), 0, LVSCW_AUTOSIZE_USEHEADER);
    }
}

void FrmOtherBackup::OnControlCommand(std::string_view name) {
    if (name == "cmdstart")
        page.OnStartClick();
    else if (name == "cmdselectall")
        page.OnSelectAllClick();
    else if (name == "cmdexit" && page.QueryClose())
        EndModal(IDOK);
}

void FrmOtherBackup::OnCancel() {
    if (page.QueryClose())
        FormWindow::OnCancel();
}

LRESULT FrmOtherBackup::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    // A run goes on inside this window's loop: Stop ends it, closing does not.
    if (message == WM_CLOSE && IsModal() && !page.QueryClose())
        return 0;
    return FormWindow::HandleMessage(message, wParam, lParam);
}

bool OtherBackupCommand::HandleCommand(std::string_view control) {
    if (control != "MnuMorebackup")
        return false;
    FrmOtherBackup dialog(app, dialogs);
    open = &dialog;
    dialog.ShowModal(owner.Handle());
    open = nullptr;
    return true;
}

} // namespace vantrel
