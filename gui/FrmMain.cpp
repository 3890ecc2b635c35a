#include "FrmMain.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ListView.h"
#include "app/App.h"
#include "resource.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kMainClass[] = "VantrelMain";
constexpr char kPageClass[] = "VantrelPage";

// Sizes in units of a 96-dpi screen.
constexpr int kMargin = 8;
constexpr int kBannerHeight = 44;
constexpr int kCommandWidth = 120;
constexpr int kCommandHeight = 74;
constexpr int kCommandGap = 4;
constexpr int kCommandIcon = 32;
constexpr int kTitleHeight = 22;
constexpr int kRowHeight = 26;
constexpr int kTextHeight = 84;
constexpr int kButtonMinWidth = 100;
constexpr int kProgressLabelWidth = 110;
constexpr int kComboWidth = 220;
constexpr int kStartWidth = 840;
constexpr int kStartHeight = 560;
// Small enough for any screen, large enough that no two controls meet.
constexpr int kMinWidth = 680;
constexpr int kMinHeight = 534;

struct MenuName {
    UINT id;
    const char* name;
};
constexpr MenuName kMenuNames[] = {
    {IDM_MNUDRVBCK, "MnuDrvBck"},
    {IDM_MNUBCKALL, "MnuBckAll"},
    {IDM_MNUBCKNEEDED, "MnuBckNeeded"},
    {IDM_MNURST, "MnuRst"},
    {IDM_MNURSTFOLDER, "MnuRstFolder"},
    {IDM_MNURSTZIP, "MnuRstZip"},
    {IDM_MNURSTSFX, "MnuRstSfx"},
    {IDM_MNURSTNEEDED, "MnuRstNeeded"},
    {IDM_MNUUP, "MnuUp"},
    {IDM_MNUUPDATE, "MnuUpdate"},
    {IDM_MNULIVEUPDATE, "MnuLiveupdate"},
    {IDM_MNUTOOL, "MnuTool"},
    {IDM_MNUOPTIONS, "MnuOptions"},
    {IDM_MNUREMOVEDRIVER, "MnuRemoveDriver"},
    {IDM_MNUDETECTUNKNOWN, "MnuDetectUnknown"},
    {IDM_MNUMOREBACKUP, "MnuMorebackup"},
    {IDM_MNULANGUAGE, "MnuLanguage"},
    {IDM_MNUHELPS, "MnuHelps"},
    {IDM_MNUHELP, "MnuHelp"},
    {IDM_MNUHOMEPAGE, "MnuHomepage"},
    {IDM_MNUABOUT, "MnuAbout"},
};

constexpr const char* kCommandButtons[] = {"CmdBackupDrivers",    "CmdRestoreDrivers", "CmdUpdateDrivers",
                                           "CmdUninstallDrivers", "CmdLiveUpdate",     "CmdOptions"};

LRESULT CALLBACK PageProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_COMMAND:
    case WM_NOTIFY:
    case WM_DRAWITEM:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORBTN:
        // A page is only a surface on the tab: its controls report to the main window.
        return SendMessageA(GetParent(window), message, wParam, lParam);
    case WM_ERASEBKGND: {
        RECT area;
        GetClientRect(window, &area);
        FillRect(reinterpret_cast<HDC>(wParam), &area, TabBodyBrush());
        return 1;
    }
    default:
        return DefWindowProcA(window, message, wParam, lParam);
    }
}

bool RegisterPageClass() {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSEXA existing{};
    existing.cbSize = sizeof(existing);
    if (GetClassInfoExA(instance, kPageClass, &existing))
        return true;
    WNDCLASSEXA pageClass{};
    pageClass.cbSize = sizeof(pageClass);
    pageClass.lpfnWndProc = PageProcedure;
    pageClass.hInstance = instance;
    pageClass.hCursor = LoadCursorA(nullptr, MAKEINTRESOURCEA(32512)); // IDC_ARROW
    pageClass.lpszClassName = kPageClass;
    return RegisterClassExA(&pageClass) != 0;
}

} // namespace

FrmMain::FrmMain(App& app, Dialogs* dialogs)
    : FormWindow("FrmMain"), app(app), dialogs(dialogs ? *dialogs : ownDialogs),
      page(app, *this, this->dialogs) {}

FrmMain::~FrmMain() {
    DestroyQuietly();
    if (bannerFont)
        DeleteObject(bannerFont);
    for (auto& [id, icon] : buttonIcons)
        DestroyIcon(icon);
}

bool FrmMain::Create() {
    if (!RegisterPageClass())
        return false;
    HMENU menu = LoadMenuA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(IDR_MAINMENU));
    if (!CreateForm(kMainClass, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, 0, nullptr, menu))
        return false;
    ownDialogs.SetOwner(hwnd);
    std::map<UINT, std::string> names;
    for (const auto& entry : kMenuNames)
        names[entry.id] = entry.name;
    for (std::size_t i = 0; i < std::size(kMenuLanguages); ++i)
        names[IDM_MNULANFIRST + static_cast<UINT>(i)] = std::string("MnuLan") + kMenuLanguages[i];
    IndexMenu(GetMenu(hwnd), names);

    CreateControls();
    UseSortIcons(ComputeAppPath(app.platform), {"Lvw", "LvwRestore", "LvwUninstall"});
    SetMinimumSize(kMinWidth, kMinHeight);
    FinishForm(kStartWidth, kStartHeight, nullptr);

    for (const auto& caption : DesignerCaptions())
        SetCaption(caption.control, caption.caption);
    SetVisible("lblpg", false);
    SetVisible("lblpgRestore", false);

    page.Load();
    return true;
}

void FrmMain::Show(int showCommand) {
    ShowWindow(hwnd, showCommand);
    UpdateWindow(hwnd);
}

int FrmMain::RunMessageLoop() {
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        if (!PreTranslate(&message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
    return static_cast<int>(message.wParam);
}

bool FrmMain::PreTranslate(MSG* message) {
    if (!hwnd || (message->hwnd != hwnd && !IsChild(hwnd, message->hwnd)))
        return false;
    // Ctrl+Tab and Ctrl+Shift+Tab turn the pages, as in any tabbed window.
    if (message->message == WM_KEYDOWN && message->wParam == VK_TAB && (GetKeyState(VK_CONTROL) & 0x8000)) {
        int count = static_cast<int>(SendMessageA(tab, TCM_GETITEMCOUNT, 0, 0));
        int step = (GetKeyState(VK_SHIFT) & 0x8000) ? count - 1 : 1;
        SelectTab("TabMain", (CurrentPage() + step) % count);
        return true;
    }
    return FormWindow::PreTranslate(message);
}

int FrmMain::CurrentPage() const {
    return static_cast<int>(SendMessageA(tab, TCM_GETCURSEL, 0, 0));
}

void FrmMain::CreateControls() {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    auto add = [&](const char* name, int id, int pageIndex, Kind kind) {
        return AddControl(name, id, kind, pageIndex >= 0 ? pages[pageIndex] : nullptr);
    };

    // Creation order is the tab order.
    add("Picture1", IDC_PICTURE1, -1, Kind::Banner);
    for (int i = 0; i < 6; ++i)
        add(kCommandButtons[i], IDC_CMDBACKUPDRIVERS + i, -1, Kind::CommandButton);
    for (int i = 0; i < 4; ++i) {
        pages[i] = CreateWindowExA(WS_EX_CONTROLPARENT, kPageClass, "", WS_CHILD | WS_CLIPSIBLINGS, 0, 0, 10,
                                   10, hwnd, nullptr, instance, nullptr);
    }
    tab = add("TabMain", IDC_TABMAIN, -1, Kind::Tab);
    for (int i = 0; i < 4; ++i) {
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        item.pszText = const_cast<char*>("");
        SendMessageA(tab, TCM_INSERTITEMA, i, reinterpret_cast<LPARAM>(&item));
    }
    // The pages lie on the tab control, so it must be below them.
    SetWindowPos(tab, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);

    add("LblDriverBackup", IDC_LBLDRIVERBACKUP, 0, Kind::Title);
    add("Lvw", IDC_LVW, 0, Kind::List);
    add("TxtBackup", IDC_TXTBACKUP, 0, Kind::TextBox);
    add("pgbar", IDC_PGBAR, 0, Kind::Progress);
    add("lblpg", IDC_LBLPG, 0, Kind::Label);
    add("CmdSelectAll", IDC_CMDSELECTALL, 0, Kind::Button);
    add("CmdBackup", IDC_CMDBACKUP, 0, Kind::Button);

    add("LblDriverRestoration", IDC_LBLDRIVERRESTORATION, 1, Kind::Title);
    add("LvwRestore", IDC_LVWRESTORE, 1, Kind::List);
    add("TxtRestore", IDC_TXTRESTORE, 1, Kind::TextBox);
    add("pgbarRestore", IDC_PGBARRESTORE, 1, Kind::Progress);
    add("lblpgRestore", IDC_LBLPGRESTORE, 1, Kind::Label);
    add("CmdSelectAllRestore", IDC_CMDSELECTALLRESTORE, 1, Kind::Button);
    add("CmdRestore", IDC_CMDRESTORE, 1, Kind::Button);

    add("LblDriverUpdate", IDC_LBLDRIVERUPDATE, 2, Kind::Title);
    add("LblOS", IDC_LBLOS, 2, Kind::Label);
    add("CmbOS", IDC_CMBOS, 2, Kind::Combo);
    add("LvwUpdate", IDC_LVWUPDATE, 2, Kind::List);
    add("TxtUpdate", IDC_TXTUPDATE, 2, Kind::TextBox);
    add("BtnDownload", IDC_BTNDOWNLOAD, 2, Kind::Button);
    add("BtnHide", IDC_BTNHIDE, 2, Kind::Button);

    add("LblDriverRemoval", IDC_LBLDRIVERREMOVAL, 3, Kind::Title);
    add("LvwUninstall", IDC_LVWUNINSTALL, 3, Kind::List);
    add("TxtRemove", IDC_TXTREMOVE, 3, Kind::TextBox);
    add("CmdRemove", IDC_CMDREMOVE, 3, Kind::Button);

    for (const char* list : {"LvwRestore", "LvwUninstall", "Lvw"})
        SetDriverListStyle(Control(list));
    SendMessageA(Control("LvwUpdate"), LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES,
                 LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    ShowPage(0);
}

void FrmMain::OnDpiApplied() {
    if (bannerFont)
        DeleteObject(bannerFont);
    bannerFont = CreateScaledFont(16, FW_BOLD);
    SendMessageA(tab, WM_SETFONT, reinterpret_cast<WPARAM>(Font()), FALSE);
    HINSTANCE instance = GetModuleHandleA(nullptr);
    for (auto& [id, icon] : buttonIcons)
        DestroyIcon(icon);
    buttonIcons.clear();
    for (int i = 0; i < 6; ++i) {
        buttonIcons[IDC_CMDBACKUPDRIVERS + i] = static_cast<HICON>(LoadImageA(
            instance, kCommandButtons[i], IMAGE_ICON, Scale(kCommandIcon), Scale(kCommandIcon), 0));
    }
}

void FrmMain::Layout() {
    if (!tab)
        return;
    RECT client;
    GetClientRect(hwnd, &client);
    int width = client.right;
    int height = client.bottom;
    int margin = Scale(kMargin);

    MoveWindow(Control("Picture1"), 0, 0, width, Scale(kBannerHeight), TRUE);
    int y = Scale(kBannerHeight) + margin;
    for (const char* name : kCommandButtons) {
        MoveWindow(Control(name), margin, y, Scale(kCommandWidth), Scale(kCommandHeight), TRUE);
        y += Scale(kCommandHeight) + Scale(kCommandGap);
    }

    RECT tabArea;
    tabArea.left = margin + Scale(kCommandWidth) + margin;
    tabArea.top = Scale(kBannerHeight) + margin;
    tabArea.right = std::max<int>(tabArea.left, width - margin);
    tabArea.bottom = std::max<int>(tabArea.top, height - margin);
    MoveWindow(tab, tabArea.left, tabArea.top, tabArea.right - tabArea.left, tabArea.bottom - tabArea.top,
               TRUE);
    RECT display = tabArea;
    SendMessageA(tab, TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&display));
    int pageWidth = std::max<int>(0, display.right - display.left);
    int pageHeight = std::max<int>(0, display.bottom - display.top);
    for (int i = 0; i < 4; ++i) {
        MoveWindow(pages[i], display.left, display.top, pageWidth, pageHeight, TRUE);
        LayoutPage(i, pageWidth, pageHeight);
    }
}

void FrmMain::LayoutPage(int index, int width, int height) {
    static const std::vector<std::vector<const char*>> titles = {
        {"LblDriverBackup", "Lvw", "TxtBackup"},
        {"LblDriverRestoration", "LvwRestore", "TxtRestore"},
        {"LblDriverUpdate", "LvwUpdate", "TxtUpdate"},
        {"LblDriverRemoval", "LvwUninstall", "TxtRemove"},
    };
    static const std::vector<std::vector<const char*>> buttons = {{"CmdSelectAll", "CmdBackup"},
                                                                  {"CmdSelectAllRestore", "CmdRestore"},
                                                                  {"BtnDownload", "BtnHide"},
                                                                  {"CmdRemove"}};
    static const std::vector<std::vector<const char*>> progress = {
        {"pgbar", "lblpg"}, {"pgbarRestore", "lblpgRestore"}, {}, {}};

    int margin = Scale(kMargin);
    int gap = Scale(6);
    int inner = std::max(0, width - 2 * margin);
    int top = margin;
    MoveWindow(Control(titles[index][0]), margin, top, inner, Scale(kTitleHeight), TRUE);
    top += Scale(kTitleHeight) + Scale(4);

    if (index == 2) {
        HWND label = Control("LblOS");
        int labelWidth = TextWidth(label) + Scale(4);
        MoveWindow(label, margin, top, labelWidth, Scale(kRowHeight) - Scale(2), TRUE);
        // A drop-down list's height includes its open list.
        MoveWindow(Control("CmbOS"), margin + labelWidth + gap, top, Scale(kComboWidth), Scale(300), TRUE);
        top += Scale(kRowHeight) + gap;
    }

    int rowTop = height - margin - Scale(kRowHeight);
    int textTop = rowTop - margin - Scale(kTextHeight);
    MoveWindow(Control(titles[index][1]), margin, top, inner, std::max(0, textTop - margin - top), TRUE);
    MoveWindow(Control(titles[index][2]), margin, textTop, inner, Scale(kTextHeight), TRUE);

    // Buttons sit on the right, as wide as their captions need.
    int right = width - margin;
    for (auto it = buttons[index].rbegin(); it != buttons[index].rend(); ++it) {
        HWND button = Control(*it);
        int buttonWidth = std::max(Scale(kButtonMinWidth), TextWidth(button) + Scale(24));
        right -= buttonWidth;
        MoveWindow(button, right, rowTop, buttonWidth, Scale(kRowHeight), TRUE);
        right -= gap;
    }
    if (!progress[index].empty()) {
        int labelWidth = Scale(kProgressLabelWidth);
        int barWidth = std::max(0, right - margin - gap - labelWidth);
        MoveWindow(Control(progress[index][0]), margin, rowTop + Scale(4), barWidth,
                   Scale(kRowHeight) - Scale(8), TRUE);
        MoveWindow(Control(progress[index][1]), margin + barWidth + gap, rowTop, labelWidth,
                   Scale(kRowHeight), TRUE);
    }
}

void FrmMain::ShowPage(int index) {
    HWND focus = GetFocus();
    for (int i = 0; i < 4; ++i) {
        if (i != index && IsChild(pages[i], focus))
            SetFocus(tab);
    }
    for (int i = 0; i < 4; ++i)
        ShowWindow(pages[i], i == index ? SW_SHOW : SW_HIDE);
}

LRESULT FrmMain::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_NOTIFY: {
        const auto* header = reinterpret_cast<const NMHDR*>(lParam);
        if (header->hwndFrom != tab)
            break;
        if (header->code == TCN_SELCHANGE)
            ShowPage(CurrentPage());
        return 0;
    }
    case WM_DRAWITEM: {
        const auto* draw = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
        if (draw->CtlType == ODT_STATIC && draw->CtlID == IDC_PICTURE1)
            DrawBanner(draw);
        else if (draw->CtlType == ODT_BUTTON)
            DrawCommandButton(draw);
        return TRUE;
    }
    case WM_CTLCOLORSTATIC: {
        HWND control = reinterpret_cast<HWND>(lParam);
        const ControlInfo* info = FindById(GetDlgCtrlID(control));
        // Labels on a page take the page's colour; the rest is the base's.
        if (GetParent(control) == hwnd || !info || info->kind == Kind::TextBox)
            break;
        HDC dc = reinterpret_cast<HDC>(wParam);
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, info->kind == Kind::Title ? RGB(0, 51, 153) : GetSysColor(COLOR_WINDOWTEXT));
        return reinterpret_cast<LRESULT>(TabBodyBrush());
    }
    case WM_CLOSE:
        // A backup in progress runs inside this window's message loop: it ends first.
        if (page.QueryClose())
            DestroyWindow(hwnd);
        return 0;
    case WM_DESTROY:
        FormWindow::HandleMessage(message, wParam, lParam);
        page.Unload();
        if (quitOnClose)
            PostQuitMessage(0);
        return 0;
    default:
        break;
    }
    return FormWindow::HandleMessage(message, wParam, lParam);
}

void FrmMain::DrawCommandButton(const DRAWITEMSTRUCT* draw) {
    HDC dc = draw->hDC;
    RECT area = draw->rcItem;
    bool pressed = (draw->itemState & ODS_SELECTED) != 0;
    bool disabled = (draw->itemState & ODS_DISABLED) != 0;
    FillRect(dc, &area, GetSysColorBrush(COLOR_BTNFACE));
    DrawEdge(dc, &area, pressed ? EDGE_SUNKEN : EDGE_RAISED, BF_RECT);

    int shift = pressed ? 1 : 0;
    int iconSize = Scale(kCommandIcon);
    int iconTop = area.top + Scale(7) + shift;
    auto icon = buttonIcons.find(static_cast<int>(draw->CtlID));
    if (icon != buttonIcons.end() && icon->second) {
        DrawIconEx(dc, (area.left + area.right - iconSize) / 2 + shift, iconTop, icon->second, iconSize,
                   iconSize, 0, nullptr, DI_NORMAL);
    }
    RECT textArea = {area.left + Scale(4) + shift, iconTop + iconSize + Scale(3),
                     area.right - Scale(4) + shift, area.bottom - Scale(3)};
    std::string text = WindowText(draw->hwndItem);
    HGDIOBJ old = SelectObject(dc, Font());
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, GetSysColor(disabled ? COLOR_GRAYTEXT : COLOR_BTNTEXT));
    DrawTextA(dc, text.c_str(), -1, &textArea, DT_CENTER | DT_WORDBREAK | DT_NOPREFIX | DT_END_ELLIPSIS);
    SelectObject(dc, old);
    if (draw->itemState & ODS_FOCUS) {
        RECT focus = area;
        InflateRect(&focus, -Scale(4), -Scale(4));
        DrawFocusRect(dc, &focus);
    }
}

void FrmMain::DrawBanner(const DRAWITEMSTRUCT* draw) {
    HDC dc = draw->hDC;
    RECT area = draw->rcItem;
    // A left-to-right blend from deep to lighter blue, in bands.
    const int bands = 64;
    int width = area.right - area.left;
    for (int i = 0; i < bands; ++i) {
        RECT band = {area.left + width * i / bands, area.top, area.left + width * (i + 1) / bands,
                     area.bottom};
        HBRUSH brush = CreateSolidBrush(RGB(16 + 40 * i / bands, 54 + 70 * i / bands, 112 + 96 * i / bands));
        FillRect(dc, &band, brush);
        DeleteObject(brush);
    }
    int iconSize = Scale(32);
    int height = area.bottom - area.top;
    if (BigIcon())
        DrawIconEx(dc, area.left + Scale(kMargin), area.top + (height - iconSize) / 2, BigIcon(), iconSize,
                   iconSize, 0, nullptr, DI_NORMAL);
    RECT textArea = {area.left + Scale(kMargin) * 2 + iconSize, area.top, area.right, area.bottom};
    HGDIOBJ old = SelectObject(dc, bannerFont);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    DrawTextA(dc, kProductName, -1, &textArea, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, old);
}

// The tab pages' captions are the tab control's items.
namespace {

int TabPageIndex(std::string_view control) {
    constexpr std::string_view prefix = "TabControlPage";
    if (control.size() != prefix.size() + 1 || !StartsWithNoCase(control, prefix))
        return -1;
    char digit = control.back();
    return digit >= '1' && digit <= '4' ? digit - '1' : -1;
}

} // namespace

void FrmMain::SetCaption(std::string_view control, const std::string& text) {
    int index = TabPageIndex(control);
    if (index < 0) {
        FormWindow::SetCaption(control, text);
        return;
    }
    TCITEMA item{};
    item.mask = TCIF_TEXT;
    item.pszText = const_cast<char*>(text.c_str());
    SendMessageA(tab, TCM_SETITEMA, index, reinterpret_cast<LPARAM>(&item));
    Layout(); // the tab row may need another height
}

std::string FrmMain::GetCaption(std::string_view control) {
    int index = TabPageIndex(control);
    if (index < 0)
        return FormWindow::GetCaption(control);
    char text[1024] = {};
    TCITEMA item{};
    item.mask = TCIF_TEXT;
    item.pszText = text;
    item.cchTextMax = sizeof(text);
    SendMessageA(tab, TCM_GETITEMA, index, reinterpret_cast<LPARAM>(&item));
    return text;
}

void FrmMain::SelectTab(std::string_view tabControl, int index) {
    if (!EqualsNoCase(tabControl, "TabMain"))
        return;
    SendMessageA(tab, TCM_SETCURSEL, index, 0);
    ShowPage(CurrentPage());
}

} // namespace vantrel
