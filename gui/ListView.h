// The list-view work shared by every window with a driver list: columns, rows with check
// box and colour, the list's own text sort and the sort mark in the header.
#pragma once

#include <string>
#include <vector>

#include "GuiApi.h"
#include "app/View.h"

namespace vantrel {

inline constexpr int kSortAscendingImage = 0;
inline constexpr int kSortDescendingImage = 1;

// Full-row selection, grid lines and check boxes.
void SetDriverListStyle(HWND list);
// "sortascending.ico" and "sortdescending.ico" from the program folder, at the given size;
// a missing file leaves its slot empty.
HIMAGELIST LoadSortIcons(const std::string& appPath, int size);
void SetHeaderImages(HWND list, HIMAGELIST images);

// Marks column (1-based) with header image imageIndex; every other column loses its mark.
void SortListByColumn(HWND list, int column, int imageIndex);

void SetListColumns(HWND list, const std::vector<ListColumn>& columns);
std::vector<ListColumn> GetListColumns(HWND list);
void SetListColumnHeader(HWND list, int column, const std::string& text);

void AddListRow(HWND list, const ListRow& row);
ListRow GetListRow(HWND list, int index);
void SetListRowChecked(HWND list, int index, bool checked);
// Text order of one column, ignoring case, as the list control sorts.
void SortListRows(HWND list, int column, bool ascending);

// NM_CUSTOMDRAW of a list: rows added red are drawn in pure red.
LRESULT DrawListRow(NMLVCUSTOMDRAW* draw);

} // namespace vantrel
