// What a page (the behaviour of a window) may do to its window. Controls are named as in
// the program's forms ("CmdBackup", "Lvw", "TxtBackup", "MnuBckAll", "TabControlPage1", ...).
// The Win32 window implements it; tests use a fake that records everything.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

struct ListColumn {
    std::string header;
    int width = 0;
};

struct ListRow {
    std::vector<std::string> cells; // first cell is the item text
    bool checked = false;
    bool red = false; // drawn in red (a driver that does not ship with Windows)
};

class View {
public:
    virtual ~View() = default;

    // Window, buttons, labels, tab pages, check boxes and option buttons.
    virtual void SetCaption(std::string_view control, const std::string& text) = 0;
    virtual std::string GetCaption(std::string_view control) = 0;
    virtual void SetEnabled(std::string_view control, bool enabled) = 0;
    virtual void SetVisible(std::string_view control, bool visible) = 0;
    // Check boxes and option buttons of dialogs; the main window has none. Clicks come back
    // to the page with the new state, so the page never reads them.
    virtual void SetChecked(std::string_view control, bool checked) {
        (void)control;
        (void)checked;
    }

    // Menu items, in menu order, by name.
    virtual std::vector<std::string> MenuItemNames() = 0;
    virtual std::string GetMenuCaption(std::string_view item) = 0;
    virtual void SetMenuCaption(std::string_view item, const std::string& text) = 0;
    virtual bool IsMenuChecked(std::string_view item) = 0;
    virtual void SetMenuChecked(std::string_view item, bool checked) = 0;

    // List views. Columns and rows are 0-based here; the 1-based column numbers of the
    // program's routines are converted by the pages.
    virtual int ListWidth(std::string_view list) = 0;
    virtual void SetColumns(std::string_view list, const std::vector<ListColumn>& columns) = 0;
    virtual std::vector<ListColumn> GetColumns(std::string_view list) = 0;
    virtual void SetColumnHeader(std::string_view list, int column, const std::string& text) = 0;
    virtual void ClearRows(std::string_view list) = 0;
    virtual void AddRow(std::string_view list, const ListRow& row) = 0;
    virtual int RowCount(std::string_view list) = 0;
    virtual ListRow GetRow(std::string_view list, int index) = 0;
    virtual void SetRowChecked(std::string_view list, int index, bool checked) = 0;
    // Selects one row and scrolls it into view.
    virtual void SelectRow(std::string_view list, int index) = 0;
    // The list's own text sort by one column.
    virtual void SortRows(std::string_view list, int column, bool ascending) = 0;
    // The arrow in the header of the sorted column; every other column loses its arrow.
    virtual void SetSortMark(std::string_view list, int column, bool ascending) = 0;

    // Multi-line text boxes.
    virtual void SetText(std::string_view box, const std::string& text) = 0;
    virtual std::string GetText(std::string_view box) = 0;
    // Adds to the end of a log box and leaves the caret there, so the newest line shows.
    virtual void AppendText(std::string_view box, const std::string& text) = 0;

    // Progress bars (0..max).
    virtual void SetProgress(std::string_view bar, int value, int max) = 0;

    // Combo boxes.
    virtual void SetComboItems(std::string_view combo, const std::vector<std::string>& items) = 0;
    virtual std::vector<std::string> GetComboItems(std::string_view combo) = 0;
    virtual int GetComboSelection(std::string_view combo) = 0; // -1 when none
    virtual void SetComboSelection(std::string_view combo, int index) = 0;

    virtual void SelectTab(std::string_view tabControl, int page) = 0;

    // Lets pending window messages run between items of a long run.
    virtual void PumpMessages() = 0;

    // Top-level windows of other programs (the help viewer): 0 when none has that title.
    virtual std::uintptr_t FindTopLevelWindow(const std::string& title) = 0;
    virtual void PostClose(std::uintptr_t window) = 0;
};

// A list's sort column and direction as its header clicks set them: the same column again
// turns the direction, another column sorts ascending.
struct ListSort {
    int column = -1; // none yet
    bool ascending = true;

    void Click(View& view, std::string_view list, int clicked) {
        ascending = clicked == column ? !ascending : true;
        column = clicked;
        view.SortRows(list, column, ascending);
        view.SetSortMark(list, column, ascending);
    }
    // The first column marked, without sorting: the order the list was filled in.
    void MarkFirst(View& view, std::string_view list) {
        column = 0;
        ascending = true;
        view.SetSortMark(list, column, ascending);
    }
};

} // namespace vantrel
