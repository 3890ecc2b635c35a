// A window that only remembers what the page did to it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "app/View.h"

namespace vantrel::test {

class FakeView : public View {
public:
    struct List {
        int width = 600;
        std::vector<ListColumn> columns;
        std::vector<ListRow> rows;
        int sortColumn = -1;
        bool sortAscending = true;
    };
    struct Control {
        std::string caption;
        bool enabled = true;
        bool visible = true;
        bool checked = false;
    };
    struct MenuItem {
        std::string name;
        std::string caption;
        bool checked = false;
    };

    void SetCaption(std::string_view control, const std::string& text) override {
        controls[Key(control)].caption = text;
    }
    std::string GetCaption(std::string_view control) override { return controls[Key(control)].caption; }
    void SetEnabled(std::string_view control, bool enabled) override {
        controls[Key(control)].enabled = enabled;
    }
    void SetVisible(std::string_view control, bool visible) override {
        controls[Key(control)].visible = visible;
    }
    void SetChecked(std::string_view control, bool checked) override {
        controls[Key(control)].checked = checked;
    }

    std::vector<std::string> MenuItemNames() override {
        std::vector<std::string> names;
        for (const auto& item : menu)
            names.push_back(item.name);
        return names;
    }
    std::string GetMenuCaption(std::string_view item) override { return Menu(item).caption; }
    void SetMenuCaption(std::string_view item, const std::string& text) override {
        Menu(item).caption = text;
    }
    bool IsMenuChecked(std::string_view item) override { return Menu(item).checked; }
    void SetMenuChecked(std::string_view item, bool checked) override { Menu(item).checked = checked; }

    int ListWidth(std::string_view list) override { return lists[Key(list)].width; }
    void SetColumns(std::string_view list, const std::vector<ListColumn>& columns) override {
        lists[Key(list)].columns = columns;
    }
    std::vector<ListColumn> GetColumns(std::string_view list) override { return lists[Key(list)].columns; }
    void SetColumnHeader(std::string_view list, int column, const std::string& text) override {
        auto& columns = lists[Key(list)].columns;
        if (column >= 0 && column < static_cast<int>(columns.size()))
            columns[column].header = text;
    }
    void ClearRows(std::string_view list) override { lists[Key(list)].rows.clear(); }
    void AddRow(std::string_view list, const ListRow& row) override { lists[Key(list)].rows.push_back(row); }
    int RowCount(std::string_view list) override { return static_cast<int>(lists[Key(list)].rows.size()); }
    ListRow GetRow(std::string_view list, int index) override { return lists[Key(list)].rows.at(index); }
    void SetRowChecked(std::string_view list, int index, bool checked) override {
        lists[Key(list)].rows.at(index).checked = checked;
    }
    void SelectRow(std::string_view list, int index) override {
        lists[Key(list)].rows.at(index); // a row that is not there is a fault of the page
        selectedRows.push_back(index);
    }
    void SortRows(std::string_view list, int column, bool ascending) override {
        auto& rows = lists[Key(list)].rows;
        auto cell = [column](const ListRow& row) {
            return column < static_cast<int>(row.cells.size()) ? row.cells[column] : std::string();
        };
        std::stable_sort(rows.begin(), rows.end(), [&](const ListRow& a, const ListRow& b) {
            return ascending ? cell(a) < cell(b) : cell(b) < cell(a);
        });
    }
    void SetSortMark(std::string_view list, int column, bool ascending) override {
        lists[Key(list)].sortColumn = column;
        lists[Key(list)].sortAscending = ascending;
    }

    void SetText(std::string_view box, const std::string& text) override { texts[Key(box)] = text; }
    void AppendText(std::string_view box, const std::string& text) override { texts[Key(box)] += text; }
    std::string GetText(std::string_view box) override { return texts[Key(box)]; }

    void SetProgress(std::string_view bar, int value, int max) override { progress[Key(bar)] = {value, max}; }

    void SetComboItems(std::string_view combo, const std::vector<std::string>& items) override {
        combos[Key(combo)] = items;
    }
    std::vector<std::string> GetComboItems(std::string_view combo) override { return combos[Key(combo)]; }
    int GetComboSelection(std::string_view combo) override {
        auto it = comboSelection.find(Key(combo));
        return it == comboSelection.end() ? -1 : it->second;
    }
    void SetComboSelection(std::string_view combo, int index) override { comboSelection[Key(combo)] = index; }

    void SelectTab(std::string_view tabControl, int page) override { tabs[Key(tabControl)] = page; }
    void PumpMessages() override {
        ++pumps;
        if (onPump)
            onPump();
    }

    std::uintptr_t FindTopLevelWindow(const std::string& title) override {
        auto it = topWindows.find(title);
        return it == topWindows.end() ? 0 : it->second;
    }
    void PostClose(std::uintptr_t window) override {
        closePosts.push_back(window);
        if (onPostClose)
            onPostClose(window);
    }

    // Adds menu items in order, each captioned as given.
    void AddMenuItem(const std::string& name, const std::string& caption) {
        menu.push_back({name, caption, false});
    }

    std::map<std::string, Control> controls;
    std::vector<MenuItem> menu;
    std::map<std::string, List> lists;
    std::vector<int> selectedRows;
    std::map<std::string, std::string> texts;
    std::map<std::string, std::pair<int, int>> progress;
    std::map<std::string, std::vector<std::string>> combos;
    std::map<std::string, int> comboSelection;
    std::map<std::string, int> tabs;
    int pumps = 0;
    std::function<void()> onPump;                     // lets a test act "during" a long run, e.g. press Stop
    std::map<std::string, std::uintptr_t> topWindows; // other programs' windows by title
    std::vector<std::uintptr_t> closePosts;
    std::function<void(std::uintptr_t)> onPostClose; // e.g. the window goes away

private:
    static std::string Key(std::string_view name) { return std::string(name); }
    MenuItem& Menu(std::string_view name) {
        for (auto& item : menu) {
            if (item.name == name)
                return item;
        }
        menu.push_back({std::string(name), {}, false});
        return menu.back();
    }
};

} // namespace vantrel::test
