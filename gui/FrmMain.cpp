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
constexpr UINT_PTR kTimer1Id = 1;
constexpr UINT kTimer1Interval = 200;
constexpr UINT kWmDpiChanged = 0x02E0;

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

UINT WindowDpi(HWND window) {
    // Windows 10 1607 and later know each monitor's scale; older ones have one for all.
    using GetDpiForWindowFn = UINT(WINAPI*)(HWND);
    static const auto getDpiForWindow = reinterpret_cast<GetDpiForWindowFn>(
        GetProcAddress(GetModuleHandleA("user32.dll"), "GetDpiForWindow"));
    if (getDpiForWindow && window)
        return getDpiForWindow(window);
    HDC screen = GetDC(nullptr);
    UINT dpi = static_cast<UINT>(GetDeviceCaps(screen, LOGPIXELSY));
    ReleaseDC(nullptr, screen);
    return dpi ? dpi : 96;
}

bool Themed() {
    // The theme library arrived with Windows XP; before it every window is classic.
    using IsAppThemedFn = BOOL(WINAPI*)();
    static const auto isAppThemed = [] {
        HMODULE library = LoadLibraryA("uxtheme.dll");
        return library ? reinterpret_cast<IsAppThemedFn>(GetProcAddress(library, "IsAppThemed")) : nullptr;
    }();
    return isAppThemed && isAppThemed();
}

HBRUSH PageBrush() {
    // With visual styles the tab body is window-coloured; classic tabs are button-coloured.
    return GetSysColorBrush(Themed() ? COLOR_WINDOW : COLOR_BTNFACE);
}

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
        FillRect(reinterpret_cast<HDC>(wParam), &area, PageBrush());
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

HFONT MakeFont(UINT dpi, int points, int weight) {
    NONCLIENTMETRICSA metrics{};
    // The size without the Vista field: older Windows refuse the larger one.
    metrics.cbSize = sizeof(metrics) - sizeof(metrics.iPaddedBorderWidth);
    SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, metrics.cbSize, &metrics, 0);
    LOGFONTA face = metrics.lfMessageFont;
    face.lfHeight = -MulDiv(points, static_cast<int>(dpi), 72);
    face.lfWidth = 0;
    face.lfWeight = weight;
    return CreateFontIndirectA(&face);
}

std::string WindowText(HWND window) {
    int length = GetWindowTextLengthA(window);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    GetWindowTextA(window, text.data(), length + 1);
    text.resize(std::strlen(text.c_str()));
    return text;
}

} // namespace

FrmMain::FrmMain(App& app, Dialogs* dialogs)
    : app(app), dialogs(dialogs ? *dialogs : ownDialogs), page(app, *this, this->dialogs) {}

FrmMain::~FrmMain() {
    DestroyQuietly();
    for (HFONT f : {font, titleFont, bannerFont}) {
        if (f)
            DeleteObject(f);
    }
    for (auto& [id, icon] : buttonIcons)
        DestroyIcon(icon);
    for (HICON icon : {bigIcon, smallIcon}) {
        if (icon)
            DestroyIcon(icon);
    }
    if (sortIcons)
        ImageList_Destroy(sortIcons);
}

bool FrmMain::Create() {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    if (!RegisterPageClass())
        return false;
    HMENU menu = LoadMenuA(instance, MAKEINTRESOURCEA(IDR_MAINMENU));
    auto classIcon =
        static_cast<HICON>(LoadImageA(instance, "NewIcon", IMAGE_ICON, 0, 0, LR_DEFAULTSIZE | LR_SHARED));
    if (!CreateBase(kMainClass, classIcon, "", WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, WS_EX_CONTROLPARENT,
                    CW_USEDEFAULT, CW_USEDEFAULT, kStartWidth, kStartHeight, nullptr, menu))
        return false;
    ownDialogs.SetOwner(hwnd);
    for (const auto& entry : kMenuNames)
        menuNames[entry.id] = entry.name;
    for (std::size_t i = 0; i < std::size(kMenuLanguages); ++i)
        menuNames[IDM_MNULANFIRST + static_cast<UINT>(i)] = std::string("MnuLan") + kMenuLanguages[i];
    BuildMenuIndex(GetMenu(hwnd), true);

    CreateControls();
    ApplyDpi(WindowDpi(hwnd));

    // The first size: the design size on this screen, centred on the work area.
    RECT outer, inner, work;
    GetWindowRect(hwnd, &outer);
    GetClientRect(hwnd, &inner);
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    int width = Scale(kStartWidth) + (outer.right - outer.left) - inner.right;
    int height = Scale(kStartHeight) + (outer.bottom - outer.top) - inner.bottom;
    width = std::min<int>(width, work.right - work.left);
    height = std::min<int>(height, work.bottom - work.top);
    SetWindowPos(hwnd, nullptr, work.left + (work.right - work.left - width) / 2,
                 work.top + (work.bottom - work.top - height) / 2, width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    Layout();

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
    return IsDialogMessageA(hwnd, message) != FALSE;
}

HWND FrmMain::Control(std::string_view name) const {
    const ControlInfo* info = Find(name);
    return info ? info->window : nullptr;
}

int FrmMain::CurrentPage() const {
    return static_cast<int>(SendMessageA(tab, TCM_GETCURSEL, 0, 0));
}

void FrmMain::CreateControls() {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    auto add = [&](const char* name, int id, int pageIndex, Kind kind) {
        const char* windowClass = "STATIC";
        DWORD style = WS_CHILD | WS_VISIBLE;
        DWORD exStyle = 0;
        switch (kind) {
        case Kind::Banner:
            style |= SS_OWNERDRAW;
            break;
        case Kind::CommandButton:
            windowClass = "BUTTON";
            style |= BS_OWNERDRAW | WS_TABSTOP;
            break;
        case Kind::Tab:
            windowClass = WC_TABCONTROLA;
            style |= WS_TABSTOP | WS_CLIPSIBLINGS | TCS_FOCUSONBUTTONDOWN;
            break;
        case Kind::Title:
            style |= SS_LEFT | SS_NOPREFIX | SS_CENTERIMAGE;
            break;
        case Kind::Label:
            style |= SS_LEFT | SS_CENTERIMAGE;
            break;
        case Kind::List:
            windowClass = WC_LISTVIEWA;
            style |= LVS_REPORT | LVS_SHOWSELALWAYS | WS_TABSTOP;
            exStyle = WS_EX_CLIENTEDGE;
            break;
        case Kind::TextBox:
            windowClass = "EDIT";
            style |= ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_TABSTOP;
            exStyle = WS_EX_CLIENTEDGE;
            break;
        case Kind::Progress:
            windowClass = PROGRESS_CLASSA;
            break;
        case Kind::Button:
            windowClass = "BUTTON";
            style |= BS_PUSHBUTTON | WS_TABSTOP;
            break;
        case Kind::Combo:
            windowClass = "COMBOBOX";
            style |= CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP;
            break;
        }
        HWND parent = pageIndex >= 0 ? pages[pageIndex] : hwnd;
        HWND window = CreateWindowExA(exStyle, windowClass, "", style, 0, 0, 10, 10, parent,
                                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), instance, nullptr);
        controls.push_back({name, id, pageIndex, kind, window});
        return window;
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

void FrmMain::BuildMenuIndex(HMENU menu, bool onBar) {
    int count = GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        MENUITEMINFOA info{};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_ID | MIIM_SUBMENU;
        if (!GetMenuItemInfoA(menu, i, TRUE, &info))
            continue;
        auto name = menuNames.find(info.wID);
        if (name != menuNames.end())
            menuItems.push_back({name->second, menu, static_cast<UINT>(i), onBar});
        if (info.hSubMenu)
            BuildMenuIndex(info.hSubMenu, false);
    }
}

void FrmMain::ApplyDpi(UINT newDpi) {
    UINT oldDpi = dpi;
    dpi = newDpi;
    for (HFONT f : {font, titleFont, bannerFont}) {
        if (f)
            DeleteObject(f);
    }
    font = MakeFont(dpi, 9, FW_NORMAL);
    titleFont = MakeFont(dpi, 11, FW_BOLD);
    bannerFont = MakeFont(dpi, 16, FW_BOLD);
    for (const auto& control : controls) {
        HFONT chosen = control.kind == Kind::Title ? titleFont : font;
        SendMessageA(control.window, WM_SETFONT, reinterpret_cast<WPARAM>(chosen), FALSE);
    }
    SendMessageA(tab, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);

    HINSTANCE instance = GetModuleHandleA(nullptr);
    for (HICON* icon : {&bigIcon, &smallIcon}) {
        if (*icon)
            DestroyIcon(*icon);
    }
    bigIcon = static_cast<HICON>(LoadImageA(instance, "NewIcon", IMAGE_ICON, Scale(32), Scale(32), 0));
    smallIcon = static_cast<HICON>(LoadImageA(instance, "NewIcon", IMAGE_ICON, Scale(16), Scale(16), 0));
    SendMessageA(hwnd, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(bigIcon));
    SendMessageA(hwnd, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon));
    for (auto& [id, icon] : buttonIcons)
        DestroyIcon(icon);
    buttonIcons.clear();
    for (int i = 0; i < 6; ++i) {
        buttonIcons[IDC_CMDBACKUPDRIVERS + i] = static_cast<HICON>(LoadImageA(
            instance, kCommandButtons[i], IMAGE_ICON, Scale(kCommandIcon), Scale(kCommandIcon), 0));
    }

    if (sortIcons)
        ImageList_Destroy(sortIcons);
    sortIcons = LoadSortIcons(ComputeAppPath(app.platform), Scale(16));
    for (const char* list : {"Lvw", "LvwRestore", "LvwUninstall"})
        SetHeaderImages(Control(list), sortIcons);

    // Columns keep their share of the list on a screen of another scale.
    if (oldDpi != dpi) {
        for (const auto& control : controls) {
            if (control.kind != Kind::List)
                continue;
            auto columns = GetListColumns(control.window);
            for (std::size_t i = 0; i < columns.size(); ++i) {
                int width = MulDiv(columns[i].width, static_cast<int>(dpi), static_cast<int>(oldDpi));
                SendMessageA(control.window, LVM_SETCOLUMNWIDTH, i, width);
            }
        }
    }
}

int FrmMain::Scale(int units) const {
    return MulDiv(units, static_cast<int>(dpi), 96);
}

int FrmMain::TextWidth(HWND control) const {
    std::string text = WindowText(control);
    HDC dc = GetDC(control);
    HGDIOBJ old = SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageA(control, WM_GETFONT, 0, 0)));
    RECT bounds = {0, 0, 0, 0};
    DrawTextA(dc, text.c_str(), -1, &bounds, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(dc, old);
    ReleaseDC(control, dc);
    return bounds.right;
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
    case WM_SIZE:
        Layout();
        return 0;
    case WM_GETMINMAXINFO: {
        auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
        RECT outer, inner;
        GetWindowRect(hwnd, &outer);
        GetClientRect(hwnd, &inner);
        limits->ptMinTrackSize.x = Scale(kMinWidth) + (outer.right - outer.left) - inner.right;
        limits->ptMinTrackSize.y = Scale(kMinHeight) + (outer.bottom - outer.top) - inner.bottom;
        return 0;
    }
    case kWmDpiChanged: {
        ApplyDpi(HIWORD(wParam));
        const auto* suggested = reinterpret_cast<const RECT*>(lParam);
        SetWindowPos(hwnd, nullptr, suggested->left, suggested->top, suggested->right - suggested->left,
                     suggested->bottom - suggested->top, SWP_NOZORDER | SWP_NOACTIVATE);
        Layout();
        return 0;
    }
    case WM_COMMAND:
        OnCommand(LOWORD(wParam), HIWORD(wParam), reinterpret_cast<HWND>(lParam));
        return 0;
    case WM_NOTIFY:
        return OnNotify(reinterpret_cast<NMHDR*>(lParam));
    case WM_DRAWITEM: {
        const auto* draw = reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
        if (draw->CtlType == ODT_STATIC && draw->CtlID == IDC_PICTURE1)
            DrawBanner(draw);
        else if (draw->CtlType == ODT_BUTTON)
            DrawCommandButton(draw);
        return TRUE;
    }
    case WM_CTLCOLORSTATIC: {
        HDC dc = reinterpret_cast<HDC>(wParam);
        HWND control = reinterpret_cast<HWND>(lParam);
        char className[16] = {};
        GetClassNameA(control, className, sizeof(className));
        if (lstrcmpiA(className, "Edit") == 0) {
            // Read-only boxes keep the look of text boxes.
            SetBkColor(dc, GetSysColor(COLOR_WINDOW));
            return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
        }
        if (GetParent(control) == hwnd)
            return DefWindowProcA(hwnd, message, wParam, lParam);
        SetBkMode(dc, TRANSPARENT);
        const ControlInfo* info = FindById(GetDlgCtrlID(control));
        SetTextColor(dc, info && info->kind == Kind::Title ? RGB(0, 51, 153) : GetSysColor(COLOR_WINDOWTEXT));
        return reinterpret_cast<LRESULT>(PageBrush());
    }
    case WM_TIMER:
        if (wParam == kTimer1Id)
            page.OnTimer1();
        return 0;
    case WM_CLOSE:
        // A backup in progress runs inside this window's message loop: it ends first.
        if (page.QueryClose())
            DestroyWindow(hwnd);
        return 0;
    case WM_DESTROY:
        KillTimer(hwnd, kTimer1Id);
        page.Unload();
        if (quitOnClose)
            PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcA(hwnd, message, wParam, lParam);
    }
}

void FrmMain::OnCommand(int id, int code, HWND from) {
    if (!from) {
        auto name = menuNames.find(static_cast<UINT>(id));
        if (name != menuNames.end())
            page.HandleCommand(name->second);
        return;
    }
    const ControlInfo* info = FindById(id);
    if (!info)
        return;
    bool clicked = (info->kind == Kind::Button || info->kind == Kind::CommandButton) && code == BN_CLICKED;
    bool chosen = info->kind == Kind::Combo && code == CBN_SELCHANGE;
    if (clicked || chosen)
        page.HandleCommand(info->name);
}

LRESULT FrmMain::OnNotify(NMHDR* header) {
    const ControlInfo* info = FindById(static_cast<int>(header->idFrom));
    if (!info || info->window != header->hwndFrom)
        return 0;
    if (info->kind == Kind::Tab) {
        if (header->code == TCN_SELCHANGE)
            ShowPage(CurrentPage());
        return 0;
    }
    if (info->kind != Kind::List)
        return 0;
    switch (header->code) {
    case NM_CUSTOMDRAW:
        return DrawListRow(reinterpret_cast<NMLVCUSTOMDRAW*>(header));
    case LVN_COLUMNCLICK:
        page.OnColumnClick(info->name, reinterpret_cast<NMLISTVIEW*>(header)->iSubItem);
        return 0;
    case NM_CLICK: {
        int item = reinterpret_cast<NMITEMACTIVATE*>(header)->iItem;
        if (item >= 0)
            page.OnRowClick(info->name, item);
        return 0;
    }
    default:
        return 0;
    }
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
    HGDIOBJ old = SelectObject(dc, font);
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
    if (bigIcon)
        DrawIconEx(dc, area.left + Scale(kMargin), area.top + (height - iconSize) / 2, bigIcon, iconSize,
                   iconSize, 0, nullptr, DI_NORMAL);
    RECT textArea = {area.left + Scale(kMargin) * 2 + iconSize, area.top, area.right, area.bottom};
    HGDIOBJ old = SelectObject(dc, bannerFont);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(255, 255, 255));
    DrawTextA(dc, kProductName, -1, &textArea, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
    SelectObject(dc, old);
}

const FrmMain::ControlInfo* FrmMain::Find(std::string_view name) const {
    // Names are matched as the forms did, without regard to case ("cmdselectall").
    for (const auto& control : controls) {
        if (EqualsNoCase(control.name, name))
            return &control;
    }
    return nullptr;
}

const FrmMain::ControlInfo* FrmMain::FindById(int id) const {
    for (const auto& control : controls) {
        if (control.id == id)
            return &control;
    }
    return nullptr;
}

const FrmMain::MenuRef* FrmMain::FindMenu(std::string_view name) const {
    for (const auto& item : menuItems) {
        if (EqualsNoCase(item.name, name))
            return &item;
    }
    return nullptr;
}

// ---- View ----

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
    if (EqualsNoCase(control, "FrmMain")) {
        SetWindowTextA(hwnd, text.c_str());
        return;
    }
    if (int index = TabPageIndex(control); index >= 0) {
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        item.pszText = const_cast<char*>(text.c_str());
        SendMessageA(tab, TCM_SETITEMA, index, reinterpret_cast<LPARAM>(&item));
        Layout(); // the tab row may need another height
        return;
    }
    const ControlInfo* info = Find(control);
    if (!info)
        return;
    SetWindowTextA(info->window, text.c_str());
    if (info->kind == Kind::Button || info->kind == Kind::Label)
        Layout(); // these are as wide as their captions
}

std::string FrmMain::GetCaption(std::string_view control) {
    if (EqualsNoCase(control, "FrmMain"))
        return WindowText(hwnd);
    if (int index = TabPageIndex(control); index >= 0) {
        char text[1024] = {};
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        item.pszText = text;
        item.cchTextMax = sizeof(text);
        SendMessageA(tab, TCM_GETITEMA, index, reinterpret_cast<LPARAM>(&item));
        return text;
    }
    HWND window = Control(control);
    return window ? WindowText(window) : std::string();
}

void FrmMain::SetEnabled(std::string_view control, bool enabled) {
    if (EqualsNoCase(control, "Timer1")) {
        if (enabled)
            SetTimer(hwnd, kTimer1Id, kTimer1Interval, nullptr);
        else
            KillTimer(hwnd, kTimer1Id);
        return;
    }
    if (HWND window = Control(control))
        EnableWindow(window, enabled);
}

void FrmMain::SetVisible(std::string_view control, bool visible) {
    if (HWND window = Control(control))
        ShowWindow(window, visible ? SW_SHOW : SW_HIDE);
}

std::vector<std::string> FrmMain::MenuItemNames() {
    std::vector<std::string> names;
    for (const auto& item : menuItems)
        names.push_back(item.name);
    return names;
}

std::string FrmMain::GetMenuCaption(std::string_view item) {
    const MenuRef* ref = FindMenu(item);
    if (!ref)
        return {};
    char text[1024] = {};
    MENUITEMINFOA info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_STRING;
    info.dwTypeData = text;
    info.cch = sizeof(text);
    GetMenuItemInfoA(ref->parent, ref->position, TRUE, &info);
    return text;
}

void FrmMain::SetMenuCaption(std::string_view item, const std::string& text) {
    const MenuRef* ref = FindMenu(item);
    if (!ref)
        return;
    MENUITEMINFOA info{};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_STRING;
    info.dwTypeData = const_cast<char*>(text.c_str());
    SetMenuItemInfoA(ref->parent, ref->position, TRUE, &info);
    if (ref->onBar)
        DrawMenuBar(hwnd);
}

bool FrmMain::IsMenuChecked(std::string_view item) {
    const MenuRef* ref = FindMenu(item);
    return ref && (GetMenuState(ref->parent, ref->position, MF_BYPOSITION) & MF_CHECKED) != 0;
}

void FrmMain::SetMenuChecked(std::string_view item, bool checked) {
    if (const MenuRef* ref = FindMenu(item))
        CheckMenuItem(ref->parent, ref->position, MF_BYPOSITION | (checked ? MF_CHECKED : MF_UNCHECKED));
}

int FrmMain::ListWidth(std::string_view list) {
    RECT area = {0, 0, 0, 0};
    if (HWND window = Control(list))
        GetClientRect(window, &area);
    return area.right;
}

void FrmMain::SetColumns(std::string_view list, const std::vector<ListColumn>& columns) {
    if (HWND window = Control(list))
        SetListColumns(window, columns);
}

std::vector<ListColumn> FrmMain::GetColumns(std::string_view list) {
    HWND window = Control(list);
    return window ? GetListColumns(window) : std::vector<ListColumn>();
}

void FrmMain::SetColumnHeader(std::string_view list, int column, const std::string& text) {
    if (HWND window = Control(list))
        SetListColumnHeader(window, column, text);
}

void FrmMain::ClearRows(std::string_view list) {
    if (HWND window = Control(list))
        SendMessageA(window, LVM_DELETEALLITEMS, 0, 0);
}

void FrmMain::AddRow(std::string_view list, const ListRow& row) {
    if (HWND window = Control(list))
        AddListRow(window, row);
}

int FrmMain::RowCount(std::string_view list) {
    HWND window = Control(list);
    return window ? static_cast<int>(SendMessageA(window, LVM_GETITEMCOUNT, 0, 0)) : 0;
}

ListRow FrmMain::GetRow(std::string_view list, int index) {
    HWND window = Control(list);
    return window ? GetListRow(window, index) : ListRow();
}

void FrmMain::SetRowChecked(std::string_view list, int index, bool checked) {
    if (HWND window = Control(list))
        SetListRowChecked(window, index, checked);
}

void FrmMain::SelectRow(std::string_view list, int index) {
    HWND window = Control(list);
    if (!window)
        return;
    LVITEMA item{};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    item.state = 0;
    SendMessageA(window, LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&item));
    item.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageA(window, LVM_SETITEMSTATE, index, reinterpret_cast<LPARAM>(&item));
    SendMessageA(window, LVM_ENSUREVISIBLE, index, FALSE);
    UpdateWindow(window);
}

void FrmMain::SortRows(std::string_view list, int column, bool ascending) {
    if (HWND window = Control(list))
        SortListRows(window, column, ascending);
}

void FrmMain::SetSortMark(std::string_view list, int column, bool ascending) {
    if (HWND window = Control(list))
        SortListByColumn(window, column + 1, ascending ? kSortAscendingImage : kSortDescendingImage);
}

void FrmMain::SetText(std::string_view box, const std::string& text) {
    if (HWND window = Control(box))
        SetWindowTextA(window, text.c_str());
}

void FrmMain::AppendText(std::string_view box, const std::string& text) {
    HWND window = Control(box);
    if (!window)
        return;
    SendMessageA(window, EM_SETLIMITTEXT, 0, 0); // a long log outgrows the 32K default
    int length = GetWindowTextLengthA(window);
    SendMessageA(window, EM_SETSEL, length, length);
    SendMessageA(window, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
    SendMessageA(window, EM_SCROLLCARET, 0, 0);
}

std::string FrmMain::GetText(std::string_view box) {
    HWND window = Control(box);
    return window ? WindowText(window) : std::string();
}

void FrmMain::SetProgress(std::string_view bar, int value, int max) {
    HWND window = Control(bar);
    if (!window)
        return;
    SendMessageA(window, PBM_SETRANGE32, 0, max);
    SendMessageA(window, PBM_SETPOS, value, 0);
}

void FrmMain::SetComboItems(std::string_view combo, const std::vector<std::string>& items) {
    HWND window = Control(combo);
    if (!window)
        return;
    SendMessageA(window, CB_RESETCONTENT, 0, 0);
    for (const auto& item : items)
        SendMessageA(window, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item.c_str()));
}

std::vector<std::string> FrmMain::GetComboItems(std::string_view combo) {
    std::vector<std::string> items;
    HWND window = Control(combo);
    if (!window)
        return items;
    int count = static_cast<int>(SendMessageA(window, CB_GETCOUNT, 0, 0));
    for (int i = 0; i < count; ++i) {
        int length = static_cast<int>(SendMessageA(window, CB_GETLBTEXTLEN, i, 0));
        std::string text(static_cast<std::size_t>(std::max(length, 0)) + 1, '\0');
        SendMessageA(window, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text.data()));
        text.resize(std::strlen(text.c_str()));
        items.push_back(text);
    }
    return items;
}

int FrmMain::GetComboSelection(std::string_view combo) {
    HWND window = Control(combo);
    return window ? static_cast<int>(SendMessageA(window, CB_GETCURSEL, 0, 0)) : -1;
}

void FrmMain::SetComboSelection(std::string_view combo, int index) {
    if (HWND window = Control(combo))
        SendMessageA(window, CB_SETCURSEL, index, 0);
}

void FrmMain::SelectTab(std::string_view tabControl, int index) {
    if (!EqualsNoCase(tabControl, "TabMain"))
        return;
    SendMessageA(tab, TCM_SETCURSEL, index, 0);
    ShowPage(CurrentPage());
}

void FrmMain::PumpMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            // Leave it for the main loop.
            PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        if (!PreTranslate(&message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
}

std::uintptr_t FrmMain::FindTopLevelWindow(const std::string& title) {
    return reinterpret_cast<std::uintptr_t>(FindWindowA(nullptr, title.c_str()));
}

void FrmMain::PostClose(std::uintptr_t window) {
    PostMessageA(reinterpret_cast<HWND>(window), WM_CLOSE, 0, 0);
}

} // namespace vantrel
