#include "FormWindow.h"

#include <algorithm>
#include <cstring>

#include "ListView.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr UINT kWmDpiChanged = 0x02E0;

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

} // namespace

HBRUSH TabBodyBrush() {
    // The theme library arrived with Windows XP; before it every window is classic.
    using IsAppThemedFn = BOOL(WINAPI*)();
    static const auto isAppThemed = [] {
        HMODULE library = LoadLibraryA("uxtheme.dll");
        return library ? reinterpret_cast<IsAppThemedFn>(GetProcAddress(library, "IsAppThemed")) : nullptr;
    }();
    // With visual styles the tab body is window-coloured; classic tabs are button-coloured.
    return GetSysColorBrush(isAppThemed && isAppThemed() ? COLOR_WINDOW : COLOR_BTNFACE);
}

std::string WindowText(HWND window) {
    int length = GetWindowTextLengthA(window);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    GetWindowTextA(window, text.data(), length + 1);
    text.resize(std::strlen(text.c_str()));
    return text;
}

FormWindow::FormWindow(std::string formName) : formName(std::move(formName)) {}

FormWindow::~FormWindow() {
    DestroyQuietly();
    for (HFONT f : {font, titleFont}) {
        if (f)
            DeleteObject(f);
    }
    for (HICON icon : {bigIcon, smallIcon}) {
        if (icon)
            DestroyIcon(icon);
    }
    if (sortIcons)
        ImageList_Destroy(sortIcons);
}

bool FormWindow::CreateForm(const char* className, DWORD style, DWORD exStyle, HWND owner, HMENU menu) {
    auto classIcon = static_cast<HICON>(
        LoadImageA(GetModuleHandleA(nullptr), "NewIcon", IMAGE_ICON, 0, 0, LR_DEFAULTSIZE | LR_SHARED));
    return CreateBase(className, classIcon, "", style, exStyle | WS_EX_CONTROLPARENT, CW_USEDEFAULT,
                      CW_USEDEFAULT, 400, 300, owner, menu);
}

void FormWindow::FinishForm(int width, int height, HWND owner) {
    ApplyDpi(WindowDpi(hwnd));
    RECT outer, inner, work;
    GetWindowRect(hwnd, &outer);
    GetClientRect(hwnd, &inner);
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &work, 0);
    int outerWidth =
        std::min<int>(Scale(width) + (outer.right - outer.left) - inner.right, work.right - work.left);
    int outerHeight =
        std::min<int>(Scale(height) + (outer.bottom - outer.top) - inner.bottom, work.bottom - work.top);
    RECT around = work;
    if (owner)
        GetWindowRect(owner, &around);
    int x = around.left + (around.right - around.left - outerWidth) / 2;
    int y = around.top + (around.bottom - around.top - outerHeight) / 2;
    // Whole on the work area, even when the owner is near its edge.
    x = std::clamp<int>(x, work.left, std::max<int>(work.left, work.right - outerWidth));
    y = std::clamp<int>(y, work.top, std::max<int>(work.top, work.bottom - outerHeight));
    SetWindowPos(hwnd, nullptr, x, y, outerWidth, outerHeight, SWP_NOZORDER | SWP_NOACTIVATE);
    Layout();
}

HWND FormWindow::AddControl(const char* name, int id, Kind kind, HWND parent) {
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
    case Kind::Check:
        windowClass = "BUTTON";
        style |= BS_AUTOCHECKBOX | WS_TABSTOP;
        break;
    case Kind::Option:
        windowClass = "BUTTON";
        style |= BS_AUTORADIOBUTTON;
        break;
    case Kind::Combo:
        windowClass = "COMBOBOX";
        style |= CBS_DROPDOWNLIST | WS_VSCROLL | WS_TABSTOP;
        break;
    case Kind::Text:
        style |= SS_LEFT;
        break;
    case Kind::Frame:
        windowClass = "BUTTON";
        style |= BS_GROUPBOX;
        break;
    case Kind::Link:
        style |= SS_LEFT | SS_NOTIFY | SS_CENTERIMAGE;
        break;
    }
    HWND window = CreateWindowExA(exStyle, windowClass, "", style, 0, 0, 10, 10, parent ? parent : hwnd,
                                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                  GetModuleHandleA(nullptr), nullptr);
    controls.push_back({name, id, kind, window});
    return window;
}

void FormWindow::IndexMenu(HMENU menu, const std::map<UINT, std::string>& names) {
    menuNames = names;
    menuItems.clear();
    IndexSubMenu(menu, true);
}

void FormWindow::IndexSubMenu(HMENU menu, bool onBar) {
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
            IndexSubMenu(info.hSubMenu, false);
    }
}

void FormWindow::UseTabPages(const char* tab, std::string captionPrefix,
                             std::vector<std::vector<std::string>> pages) {
    tabName = tab;
    tabCaptionPrefix = std::move(captionPrefix);
    tabPages = std::move(pages);
    HWND control = Control(tabName);
    for (std::size_t i = 0; i < tabPages.size(); ++i) {
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        item.pszText = const_cast<char*>("");
        SendMessageA(control, TCM_INSERTITEMA, i, reinterpret_cast<LPARAM>(&item));
    }
    ShowTabPage(0);
}

int FormWindow::CurrentTabPage() const {
    return tabName.empty() ? -1 : static_cast<int>(SendMessageA(Control(tabName), TCM_GETCURSEL, 0, 0));
}

void FormWindow::ShowTabPage(int page) {
    for (std::size_t i = 0; i < tabPages.size(); ++i) {
        for (const auto& name : tabPages[i])
            ShowWindow(Control(name), static_cast<int>(i) == page ? SW_SHOW : SW_HIDE);
    }
}

int FormWindow::TabPageOf(std::string_view control) const {
    std::string_view prefix = tabCaptionPrefix;
    if (prefix.empty() || control.size() != prefix.size() + 1 ||
        !EqualsNoCase(control.substr(0, prefix.size()), prefix))
        return -1;
    int page = control.back() - '1';
    return page >= 0 && page < static_cast<int>(tabPages.size()) ? page : -1;
}

void FormWindow::UseSortIcons(const std::string& folder, std::vector<std::string> lists) {
    sortIconFolder = folder;
    sortIconLists = std::move(lists);
}

void FormWindow::ApplyDpi(UINT newDpi) {
    UINT oldDpi = dpi;
    dpi = newDpi;
    for (HFONT f : {font, titleFont}) {
        if (f)
            DeleteObject(f);
    }
    font = MakeFont(dpi, 9, FW_NORMAL);
    titleFont = MakeFont(dpi, 11, FW_BOLD);
    for (const auto& control : controls) {
        HFONT chosen = control.kind == Kind::Title ? titleFont : font;
        SendMessageA(control.window, WM_SETFONT, reinterpret_cast<WPARAM>(chosen), FALSE);
    }

    HINSTANCE instance = GetModuleHandleA(nullptr);
    for (HICON* icon : {&bigIcon, &smallIcon}) {
        if (*icon)
            DestroyIcon(*icon);
    }
    bigIcon = static_cast<HICON>(LoadImageA(instance, "NewIcon", IMAGE_ICON, Scale(32), Scale(32), 0));
    smallIcon = static_cast<HICON>(LoadImageA(instance, "NewIcon", IMAGE_ICON, Scale(16), Scale(16), 0));
    SendMessageA(hwnd, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(bigIcon));
    SendMessageA(hwnd, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(smallIcon));

    if (!sortIconLists.empty()) {
        if (sortIcons)
            ImageList_Destroy(sortIcons);
        sortIcons = LoadSortIcons(sortIconFolder, Scale(16));
        for (const auto& list : sortIconLists)
            SetHeaderImages(Control(list), sortIcons);
    }

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
    OnDpiApplied();
}

int FormWindow::Scale(int units) const {
    return MulDiv(units, static_cast<int>(dpi), 96);
}

HFONT FormWindow::CreateScaledFont(int points, int weight) const {
    return MakeFont(dpi, points, weight);
}

int FormWindow::TextWidth(HWND control) const {
    std::string text = WindowText(control);
    HDC dc = GetDC(control);
    HGDIOBJ old = SelectObject(dc, reinterpret_cast<HGDIOBJ>(SendMessageA(control, WM_GETFONT, 0, 0)));
    RECT bounds = {0, 0, 0, 0};
    DrawTextA(dc, text.c_str(), -1, &bounds, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(dc, old);
    ReleaseDC(control, dc);
    return bounds.right;
}

bool FormWindow::PreTranslate(MSG* message) {
    if (!hwnd || (message->hwnd != hwnd && !IsChild(hwnd, message->hwnd)))
        return false;
    return IsDialogMessageA(hwnd, message) != FALSE;
}

int FormWindow::RunModal(HWND owner) {
    modal = true;
    modalDone = false;
    modalResult = IDCANCEL;
    bool ownerWasEnabled = owner && IsWindowEnabled(owner);
    if (owner)
        EnableWindow(owner, FALSE);
    ShowWindow(hwnd, SW_SHOW);
    UpdateWindow(hwnd);
    // The keyboard starts at the first control of the tab order.
    if (HWND first = GetNextDlgTabItem(hwnd, nullptr, FALSE))
        SetFocus(first);
    MSG message;
    while (!modalDone && hwnd) {
        BOOL got = GetMessageA(&message, nullptr, 0, 0);
        if (got <= 0) {
            if (got == 0)
                PostQuitMessage(static_cast<int>(message.wParam)); // for the main loop
            break;
        }
        if (!PreTranslate(&message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
    // The owner comes back before this window goes, so that it, not another program, is activated.
    if (ownerWasEnabled)
        EnableWindow(owner, TRUE);
    DestroyQuietly();
    if (owner)
        SetActiveWindow(owner);
    modal = false;
    return modalResult;
}

void FormWindow::EndModal(int result) {
    modalResult = result;
    modalDone = true;
}

void FormWindow::OnCancel() {
    if (modal)
        PostMessageA(hwnd, WM_CLOSE, 0, 0);
}

LRESULT FormWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_SIZE:
        Layout();
        return 0;
    case WM_GETMINMAXINFO: {
        auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
        RECT outer, inner;
        GetWindowRect(hwnd, &outer);
        GetClientRect(hwnd, &inner);
        limits->ptMinTrackSize.x = Scale(minWidth) + (outer.right - outer.left) - inner.right;
        limits->ptMinTrackSize.y = Scale(minHeight) + (outer.bottom - outer.top) - inner.bottom;
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
    case WM_CTLCOLORSTATIC: {
        HWND control = reinterpret_cast<HWND>(lParam);
        char className[16] = {};
        GetClassNameA(control, className, sizeof(className));
        if (lstrcmpiA(className, "Edit") == 0) {
            // Read-only boxes keep the look of text boxes.
            SetBkColor(reinterpret_cast<HDC>(wParam), GetSysColor(COLOR_WINDOW));
            return reinterpret_cast<LRESULT>(GetSysColorBrush(COLOR_WINDOW));
        }
        return DefWindowProcA(hwnd, message, wParam, lParam);
    }
    case WM_TIMER:
        if (wParam == kTimer1Id)
            OnTimer1();
        return 0;
    case WM_CLOSE:
        if (modal) {
            EndModal(IDCANCEL);
            return 0;
        }
        return DefWindowProcA(hwnd, message, wParam, lParam);
    case WM_DESTROY:
        KillTimer(hwnd, kTimer1Id);
        return 0;
    default:
        return DefWindowProcA(hwnd, message, wParam, lParam);
    }
}

void FormWindow::OnCommand(int id, int code, HWND from) {
    const ControlInfo* info = from ? FindById(id) : nullptr;
    if (!from) {
        auto name = menuNames.find(static_cast<UINT>(id));
        if (name != menuNames.end())
            OnControlCommand(name->second);
        else if (id == IDCANCEL)
            OnCancel(); // Esc, from the dialog keys
        return;
    }
    if (!info)
        return;
    bool button = info->kind == Kind::Button || info->kind == Kind::CommandButton ||
                  info->kind == Kind::Check || info->kind == Kind::Option;
    bool clicked = button && code == BN_CLICKED;
    bool chosen = info->kind == Kind::Combo && code == CBN_SELCHANGE;
    bool linked = info->kind == Kind::Link && code == STN_CLICKED;
    if (clicked || chosen || linked) {
        OnControlCommand(info->name);
        // A button that its own click disabled took the keyboard with it: without a focus
        // Esc and Tab reach no one, so the next control takes it.
        HWND focus = GetFocus();
        if (hwnd && (!focus || focus == hwnd) && GetActiveWindow() == hwnd) {
            if (HWND next = GetNextDlgTabItem(hwnd, nullptr, FALSE))
                SetFocus(next);
        }
    }
}

LRESULT FormWindow::OnNotify(NMHDR* header) {
    const ControlInfo* info = FindById(static_cast<int>(header->idFrom));
    if (info && info->kind == Kind::Tab && info->window == header->hwndFrom && info->name == tabName &&
        header->code == static_cast<UINT>(TCN_SELCHANGE)) {
        int page = CurrentTabPage();
        ShowTabPage(page);
        OnTabChange(page);
        return 0;
    }
    if (!info || info->window != header->hwndFrom || info->kind != Kind::List)
        return 0;
    switch (header->code) {
    case NM_CUSTOMDRAW:
        return DrawListRow(reinterpret_cast<NMLVCUSTOMDRAW*>(header));
    case LVN_COLUMNCLICK:
        OnColumnClick(info->name, reinterpret_cast<NMLISTVIEW*>(header)->iSubItem);
        return 0;
    case NM_CLICK: {
        int item = reinterpret_cast<NMITEMACTIVATE*>(header)->iItem;
        if (item >= 0)
            OnRowClick(info->name, item);
        return 0;
    }
    default:
        return 0;
    }
}

HWND FormWindow::Control(std::string_view name) const {
    const ControlInfo* info = Find(name);
    return info ? info->window : nullptr;
}

const FormWindow::ControlInfo* FormWindow::Find(std::string_view name) const {
    // Names are matched as the forms did, without regard to case ("cmdselectall").
    for (const auto& control : controls) {
        if (EqualsNoCase(control.name, name))
            return &control;
    }
    return nullptr;
}

const FormWindow::ControlInfo* FormWindow::FindById(int id) const {
    for (const auto& control : controls) {
        if (control.id == id)
            return &control;
    }
    return nullptr;
}

const FormWindow::MenuRef* FormWindow::FindMenu(std::string_view name) const {
    for (const auto& item : menuItems) {
        if (EqualsNoCase(item.name, name))
            return &item;
    }
    return nullptr;
}

} // namespace vantrel
