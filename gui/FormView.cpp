// The View of every window: controls found by name, list views through ListView.
#include "FormWindow.h"

#include <algorithm>
#include <cstring>

#include "ListView.h"
#include "util/Text.h"

namespace vantrel {

void FormWindow::SetCaption(std::string_view control, const std::string& text) {
    if (EqualsNoCase(control, formName)) {
        SetWindowTextA(hwnd, text.c_str());
        return;
    }
    if (int page = TabPageOf(control); page >= 0) {
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        item.pszText = const_cast<char*>(text.c_str());
        SendMessageA(Control(tabName), TCM_SETITEMA, page, reinterpret_cast<LPARAM>(&item));
        return;
    }
    const ControlInfo* info = Find(control);
    if (!info)
        return;
    SetWindowTextA(info->window, text.c_str());
    if (info->kind == Kind::Button || info->kind == Kind::Label || info->kind == Kind::Link)
        Layout(); // these are as wide as their captions
}

std::string FormWindow::GetCaption(std::string_view control) {
    if (EqualsNoCase(control, formName))
        return WindowText(hwnd);
    if (int page = TabPageOf(control); page >= 0) {
        char text[256] = {};
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        item.pszText = text;
        item.cchTextMax = sizeof(text);
        SendMessageA(Control(tabName), TCM_GETITEMA, page, reinterpret_cast<LPARAM>(&item));
        return text;
    }
    HWND window = Control(control);
    return window ? WindowText(window) : std::string();
}

void FormWindow::SetEnabled(std::string_view control, bool enabled) {
    if (EqualsNoCase(control, "Timer1")) {
        if (enabled)
            SetTimer(hwnd, kTimer1Id, timer1Interval, nullptr);
        else
            KillTimer(hwnd, kTimer1Id);
        return;
    }
    if (HWND window = Control(control))
        EnableWindow(window, enabled);
}

void FormWindow::SetVisible(std::string_view control, bool visible) {
    if (HWND window = Control(control))
        ShowWindow(window, visible ? SW_SHOW : SW_HIDE);
}

void FormWindow::SetChecked(std::string_view control, bool checked) {
    if (HWND window = Control(control))
        SendMessageA(window, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
}

std::vector<std::string> FormWindow::MenuItemNames() {
    std::vector<std::string> names;
    for (const auto& item : menuItems)
        names.push_back(item.name);
    return names;
}

std::string FormWindow::GetMenuCaption(std::string_view item) {
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

void FormWindow::SetMenuCaption(std::string_view item, const std::string& text) {
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

bool FormWindow::IsMenuChecked(std::string_view item) {
    const MenuRef* ref = FindMenu(item);
    return ref && (GetMenuState(ref->parent, ref->position, MF_BYPOSITION) & MF_CHECKED) != 0;
}

void FormWindow::SetMenuChecked(std::string_view item, bool checked) {
    if (const MenuRef* ref = FindMenu(item))
        CheckMenuItem(ref->parent, ref->position, MF_BYPOSITION | (checked ? MF_CHECKED : MF_UNCHECKED));
}

int FormWindow::ListWidth(std::string_view list) {
    RECT area = {0, 0, 0, 0};
    if (HWND window = Control(list))
        GetClientRect(window, &area);
    return area.right;
}

void FormWindow::SetColumns(std::string_view list, const std::vector<ListColumn>& columns) {
    if (HWND window = Control(list))
        SetListColumns(window, columns);
}

std::vector<ListColumn> FormWindow::GetColumns(std::string_view list) {
    HWND window = Control(list);
    return window ? GetListColumns(window) : std::vector<ListColumn>();
}

void FormWindow::SetColumnHeader(std::string_view list, int column, const std::string& text) {
    if (HWND window = Control(list))
        SetListColumnHeader(window, column, text);
}

void FormWindow::ClearRows(std::string_view list) {
    if (HWND window = Control(list))
        SendMessageA(window, LVM_DELETEALLITEMS, 0, 0);
}

void FormWindow::AddRow(std::string_view list, const ListRow& row) {
    if (HWND window = Control(list))
        AddListRow(window, row);
}

int FormWindow::RowCount(std::string_view list) {
    HWND window = Control(list);
    return window ? static_cast<int>(SendMessageA(window, LVM_GETITEMCOUNT, 0, 0)) : 0;
}

ListRow FormWindow::GetRow(std::string_view list, int index) {
    HWND window = Control(list);
    return window ? GetListRow(window, index) : ListRow();
}

void FormWindow::SetRowChecked(std::string_view list, int index, bool checked) {
    if (HWND window = Control(list))
        SetListRowChecked(window, index, checked);
}

void FormWindow::SelectRow(std::string_view list, int index) {
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

void FormWindow::SortRows(std::string_view list, int column, bool ascending) {
    if (HWND window = Control(list))
        SortListRows(window, column, ascending);
}

void FormWindow::SetSortMark(std::string_view list, int column, bool ascending) {
    if (HWND window = Control(list))
        SortListByColumn(window, column + 1, ascending ? kSortAscendingImage : kSortDescendingImage);
}

void FormWindow::SetText(std::string_view box, const std::string& text) {
    if (HWND window = Control(box))
        SetWindowTextA(window, text.c_str());
}

void FormWindow::AppendText(std::string_view box, const std::string& text) {
    HWND window = Control(box);
    if (!window)
        return;
    SendMessageA(window, EM_SETLIMITTEXT, 0, 0); // a long log outgrows the 32K default
    int length = GetWindowTextLengthA(window);
    SendMessageA(window, EM_SETSEL, length, length);
    SendMessageA(window, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
    SendMessageA(window, EM_SCROLLCARET, 0, 0);
}

std::string FormWindow::GetText(std::string_view box) {
    HWND window = Control(box);
    return window ? WindowText(window) : std::string();
}

void FormWindow::SetProgress(std::string_view bar, int value, int max) {
    HWND window = Control(bar);
    if (!window)
        return;
    SendMessageA(window, PBM_SETRANGE32, 0, max);
    SendMessageA(window, PBM_SETPOS, value, 0);
}

void FormWindow::SetComboItems(std::string_view combo, const std::vector<std::string>& items) {
    HWND window = Control(combo);
    if (!window)
        return;
    SendMessageA(window, CB_RESETCONTENT, 0, 0);
    for (const auto& item : items)
        SendMessageA(window, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item.c_str()));
}

std::vector<std::string> FormWindow::GetComboItems(std::string_view combo) {
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

int FormWindow::GetComboSelection(std::string_view combo) {
    HWND window = Control(combo);
    return window ? static_cast<int>(SendMessageA(window, CB_GETCURSEL, 0, 0)) : -1;
}

void FormWindow::SetComboSelection(std::string_view combo, int index) {
    if (HWND window = Control(combo))
        SendMessageA(window, CB_SETCURSEL, index, 0);
}

void FormWindow::SelectTab(std::string_view tabControl, int page) {
    if (tabName.empty() || !EqualsNoCase(tabControl, tabName))
        return;
    SendMessageA(Control(tabName), TCM_SETCURSEL, page, 0);
    ShowTabPage(page);
}

void FormWindow::PumpMessages() {
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

std::uintptr_t FormWindow::FindTopLevelWindow(const std::string& title) {
    return reinterpret_cast<std::uintptr_t>(FindWindowA(nullptr, title.c_str()));
}

void FormWindow::PostClose(std::uintptr_t window) {
    PostMessageA(reinterpret_cast<HWND>(window), WM_CLOSE, 0, 0);
}

} // namespace vantrel
