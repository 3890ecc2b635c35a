#include "ListView.h"

#include <vector>

namespace vantrel {

namespace {

constexpr LPARAM kRedRow = 1;

std::string ItemText(HWND list, int item, int column) {
    std::vector<char> buffer(1024, '\0');
    LVITEMA lvItem{};
    lvItem.iSubItem = column;
    lvItem.pszText = buffer.data();
    lvItem.cchTextMax = static_cast<int>(buffer.size());
    SendMessageA(list, LVM_GETITEMTEXTA, item, reinterpret_cast<LPARAM>(&lvItem));
    return buffer.data();
}

int ColumnCount(HWND list) {
    HWND header = reinterpret_cast<HWND>(SendMessageA(list, LVM_GETHEADER, 0, 0));
    return header ? static_cast<int>(SendMessageA(header, HDM_GETITEMCOUNT, 0, 0)) : 0;
}

struct SortOrder {
    HWND list;
    int column;
    bool ascending;
};

int CALLBACK CompareRows(LPARAM first, LPARAM second, LPARAM data) {
    const auto* order = reinterpret_cast<const SortOrder*>(data);
    std::string a = ItemText(order->list, static_cast<int>(first), order->column);
    std::string b = ItemText(order->list, static_cast<int>(second), order->column);
    int result = lstrcmpiA(a.c_str(), b.c_str());
    return order->ascending ? result : -result;
}

} // namespace

void SetDriverListStyle(HWND list) {
    DWORD styles = LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES | LVS_EX_CHECKBOXES;
    SendMessageA(list, LVM_SETEXTENDEDLISTVIEWSTYLE, styles, styles);
}

HIMAGELIST LoadSortIcons(const std::string& appPath, int size) {
    HIMAGELIST images = ImageList_Create(size, size, ILC_COLOR32 | ILC_MASK, 2, 0);
    for (const char* file : {"sortascending.ico", "sortdescending.ico"}) {
        std::string path = appPath + file;
        auto icon =
            static_cast<HICON>(LoadImageA(nullptr, path.c_str(), IMAGE_ICON, size, size, LR_LOADFROMFILE));
        if (icon) {
            ImageList_ReplaceIcon(images, -1, icon);
            DestroyIcon(icon);
            continue;
        }
        // Keep the indexes: an empty picture stands in for a missing file.
        HDC screen = GetDC(nullptr);
        HDC memory = CreateCompatibleDC(screen);
        HBITMAP blank = CreateCompatibleBitmap(screen, size, size);
        HGDIOBJ old = SelectObject(memory, blank);
        RECT all = {0, 0, size, size};
        HBRUSH magenta = CreateSolidBrush(RGB(255, 0, 255));
        FillRect(memory, &all, magenta);
        DeleteObject(magenta);
        SelectObject(memory, old);
        DeleteDC(memory);
        ReleaseDC(nullptr, screen);
        ImageList_AddMasked(images, blank, RGB(255, 0, 255));
        DeleteObject(blank);
    }
    return images;
}

void SetHeaderImages(HWND list, HIMAGELIST images) {
    HWND header = reinterpret_cast<HWND>(SendMessageA(list, LVM_GETHEADER, 0, 0));
    if (header)
        SendMessageA(header, HDM_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(images));
}

void SortListByColumn(HWND list, int column, int imageIndex) {
    HWND header = reinterpret_cast<HWND>(SendMessageA(list, LVM_GETHEADER, 0, 0));
    if (!header)
        return;
    int count = static_cast<int>(SendMessageA(header, HDM_GETITEMCOUNT, 0, 0));
    for (int i = 1; i <= count; ++i) {
        HDITEMA item{};
        item.mask = HDI_FORMAT | HDI_IMAGE;
        if (i == column) {
            item.fmt = HDF_STRING | HDF_IMAGE | HDF_BITMAP_ON_RIGHT;
            item.iImage = imageIndex;
        } else {
            item.fmt = HDF_STRING;
        }
        SendMessageA(header, HDM_SETITEMA, i - 1, reinterpret_cast<LPARAM>(&item));
    }
    for (int i = 1; i <= count; ++i) {
        if (i == column)
            continue;
        LVCOLUMNA lvColumn{};
        lvColumn.mask = LVCF_FMT;
        lvColumn.fmt = LVCFMT_LEFT;
        SendMessageA(list, LVM_SETCOLUMNA, i - 1, reinterpret_cast<LPARAM>(&lvColumn));
    }
}

void SetListColumns(HWND list, const std::vector<ListColumn>& columns) {
    while (SendMessageA(list, LVM_DELETECOLUMN, 0, 0)) {
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        LVCOLUMNA lvColumn{};
        lvColumn.mask = LVCF_FMT | LVCF_TEXT | LVCF_WIDTH | LVCF_SUBITEM;
        lvColumn.fmt = LVCFMT_LEFT;
        lvColumn.cx = columns[i].width;
        lvColumn.pszText = const_cast<char*>(columns[i].header.c_str());
        lvColumn.iSubItem = static_cast<int>(i);
        SendMessageA(list, LVM_INSERTCOLUMNA, i, reinterpret_cast<LPARAM>(&lvColumn));
    }
}

std::vector<ListColumn> GetListColumns(HWND list) {
    std::vector<ListColumn> columns;
    int count = ColumnCount(list);
    for (int i = 0; i < count; ++i) {
        char text[1024] = {};
        LVCOLUMNA lvColumn{};
        lvColumn.mask = LVCF_TEXT | LVCF_WIDTH;
        lvColumn.pszText = text;
        lvColumn.cchTextMax = sizeof(text);
        SendMessageA(list, LVM_GETCOLUMNA, i, reinterpret_cast<LPARAM>(&lvColumn));
        columns.push_back({text, lvColumn.cx});
    }
    return columns;
}

void SetListColumnHeader(HWND list, int column, const std::string& text) {
    LVCOLUMNA lvColumn{};
    lvColumn.mask = LVCF_TEXT;
    lvColumn.pszText = const_cast<char*>(text.c_str());
    SendMessageA(list, LVM_SETCOLUMNA, column, reinterpret_cast<LPARAM>(&lvColumn));
}

void AddListRow(HWND list, const ListRow& row) {
    LVITEMA item{};
    item.mask = LVIF_TEXT | LVIF_PARAM;
    item.iItem = static_cast<int>(SendMessageA(list, LVM_GETITEMCOUNT, 0, 0));
    item.pszText = const_cast<char*>(row.cells.empty() ? "" : row.cells[0].c_str());
    item.lParam = row.red ? kRedRow : 0;
    int index = static_cast<int>(SendMessageA(list, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item)));
    if (index < 0)
        return;
    for (std::size_t i = 1; i < row.cells.size(); ++i) {
        LVITEMA sub{};
        sub.iSubItem = static_cast<int>(i);
        sub.pszText = const_cast<char*>(row.cells[i].c_str());
        SendMessageA(list, LVM_SETITEMTEXTA, index, reinterpret_cast<LPARAM>(&sub));
    }
    if (row.checked)
        SetListRowChecked(list, index, true);
}

ListRow GetListRow(HWND list, int index) {
    ListRow row;
    int count = ColumnCount(list);
    for (int i = 0; i < count; ++i)
        row.cells.push_back(ItemText(list, index, i));
    auto state = SendMessageA(list, LVM_GETITEMSTATE, index, LVIS_STATEIMAGEMASK);
    row.checked = ((state & LVIS_STATEIMAGEMASK) >> 12) == 2;
    LVITEMA item{};
    item.mask = LVIF_PARAM;
    item.iItem = index;
    SendMessageA(list, LVM_GETITEMA, 0, reinterpret_cast<LPARAM>(&item));
    row.red = item.lParam == kRedRow;
    return row;
}

void SetListRowChecked(HWND list, int index, bool checked) {
    LVITEMA item{};
    item.stateMask = LVIS_STATEIMAGEMASK;
    item.state = INDEXTOSTATEIMAGEMASK(checked ? 2 : 1);
    SendMessageA(list, LVM_SETITEMSTATE, index, reinterpret_cast<LPARAM>(&item));
}

void SortListRows(HWND list, int column, bool ascending) {
    SortOrder order{list, column, ascending};
    SendMessageA(list, LVM_SORTITEMSEX, reinterpret_cast<WPARAM>(&order),
                 reinterpret_cast<LPARAM>(CompareRows));
}

LRESULT DrawListRow(NMLVCUSTOMDRAW* draw) {
    switch (draw->nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
        return CDRF_NOTIFYITEMDRAW;
    case CDDS_ITEMPREPAINT:
        if (draw->nmcd.lItemlParam == kRedRow)
            draw->clrText = RGB(255, 0, 0);
        return CDRF_DODEFAULT;
    default:
        return CDRF_DODEFAULT;
    }
}

} // namespace vantrel
