// What every window of the program shares: its controls by name, created from a table; the
// View over them; the menu by item name; fonts, icons and sizes for the screen's scale; the
// sort icons of its lists; its Timer1; and a modal run over an owner window. A window only
// declares its controls, lays them out and handles what is its own.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "BaseWindow.h"
#include "app/View.h"

namespace vantrel {

class FormWindow : public BaseWindow, public View {
public:
    enum class Kind {
        Banner,
        CommandButton,
        Tab,
        Title,
        Label,
        List,
        TextBox,
        Progress,
        Button,
        Combo,
        Check,
        Option,
        Text,  // a label of several lines that wrap
        Frame, // a group box around other controls
        Link   // a label that reports clicks
    };

    // formName: the name the page gives the window itself ("FrmMain"), for its caption.
    explicit FormWindow(std::string formName);
    ~FormWindow() override;

    HWND Control(std::string_view name) const;
    // The keyboard handling a message loop gives this window first (tab order, Enter, Esc);
    // true when it took the message.
    virtual bool PreTranslate(MSG* message);

    // View
    void SetCaption(std::string_view control, const std::string& text) override;
    std::string GetCaption(std::string_view control) override;
    void SetEnabled(std::string_view control, bool enabled) override;
    void SetVisible(std::string_view control, bool visible) override;
    void SetChecked(std::string_view control, bool checked) override;
    std::vector<std::string> MenuItemNames() override;
    std::string GetMenuCaption(std::string_view item) override;
    void SetMenuCaption(std::string_view item, const std::string& text) override;
    bool IsMenuChecked(std::string_view item) override;
    void SetMenuChecked(std::string_view item, bool checked) override;
    int ListWidth(std::string_view list) override;
    void SetColumns(std::string_view list, const std::vector<ListColumn>& columns) override;
    std::vector<ListColumn> GetColumns(std::string_view list) override;
    void SetColumnHeader(std::string_view list, int column, const std::string& text) override;
    void ClearRows(std::string_view list) override;
    void AddRow(std::string_view list, const ListRow& row) override;
    int RowCount(std::string_view list) override;
    ListRow GetRow(std::string_view list, int index) override;
    void SetRowChecked(std::string_view list, int index, bool checked) override;
    void SelectRow(std::string_view list, int index) override;
    void SortRows(std::string_view list, int column, bool ascending) override;
    void SetSortMark(std::string_view list, int column, bool ascending) override;
    void SetText(std::string_view box, const std::string& text) override;
    std::string GetText(std::string_view box) override;
    void AppendText(std::string_view box, const std::string& text) override;
    void SetProgress(std::string_view bar, int value, int max) override;
    void SetComboItems(std::string_view combo, const std::vector<std::string>& items) override;
    std::vector<std::string> GetComboItems(std::string_view combo) override;
    int GetComboSelection(std::string_view combo) override;
    void SetComboSelection(std::string_view combo, int index) override;
    void SelectTab(std::string_view tabControl, int page) override;
    void PumpMessages() override;
    std::uintptr_t FindTopLevelWindow(const std::string& title) override;
    void PostClose(std::uintptr_t window) override;

protected:
    struct ControlInfo {
        std::string name;
        int id;
        Kind kind;
        HWND window = nullptr;
    };

    // Creates the hidden window; its controls come next, then FinishForm.
    bool CreateForm(const char* className, DWORD style, DWORD exStyle, HWND owner, HMENU menu);
    // Fonts and icons for the screen, a client area of width x height units (the work area at
    // most), centred on the owner or, without one, on the work area; then the layout.
    void FinishForm(int width, int height, HWND owner);
    // One control, in tab order; parent null: the window itself.
    HWND AddControl(const char* name, int id, Kind kind, HWND parent = nullptr);
    // Names the menu's items by command id, for the View's menu calls and for commands.
    void IndexMenu(HMENU menu, const std::map<UINT, std::string>& names);
    // Lists whose headers carry the sort icons from the given folder.
    void UseSortIcons(const std::string& folder, std::vector<std::string> lists);
    // A tab control whose pages show the given controls, page by page; the pages' captions
    // are captionPrefix + 1, 2, ... ("TabControlPage1"). Call after the tab was added.
    void UseTabPages(const char* tab, std::string captionPrefix, std::vector<std::vector<std::string>> pages);
    int CurrentTabPage() const;
    void SetMinimumSize(int width, int height) { minWidth = width, minHeight = height; }
    void SetTimer1Interval(UINT milliseconds) { timer1Interval = milliseconds; }

    // Fonts, icons and column widths for a screen of newDpi.
    void ApplyDpi(UINT newDpi);
    int Scale(int units) const;
    // The message font's face at a size and weight, for this screen.
    HFONT CreateScaledFont(int points, int weight) const;
    int TextWidth(HWND control) const;
    const ControlInfo* Find(std::string_view name) const;
    const ControlInfo* FindById(int id) const;
    const std::vector<ControlInfo>& Controls() const { return controls; }
    HFONT Font() const { return font; }
    HICON BigIcon() const { return bigIcon; }

    // Shows the window over its owner, which stays disabled until the window ends; runs the
    // messages until then and returns what EndModal was given (IDCANCEL when it was closed).
    int RunModal(HWND owner);
    void EndModal(int result);
    bool IsModal() const { return modal; }

    virtual void Layout() {}
    virtual void OnDpiApplied() {}
    // A button clicked, a combo box choice or a menu item, by name.
    virtual void OnControlCommand(std::string_view name) { (void)name; }
    virtual void OnColumnClick(std::string_view list, int column) {
        (void)list;
        (void)column;
    }
    virtual void OnRowClick(std::string_view list, int row) {
        (void)list;
        (void)row;
    }
    virtual void OnTimer1() {}
    // The user turned the tab control to another page.
    virtual void OnTabChange(int page) { (void)page; }
    // Esc: a modal window closes; others ignore it.
    virtual void OnCancel();

    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    static constexpr UINT_PTR kTimer1Id = 1;

    struct MenuRef {
        std::string name;
        HMENU parent;
        UINT position;
        bool onBar;
    };

    void IndexSubMenu(HMENU menu, bool onBar);
    void ShowTabPage(int page);
    // The tab page a caption name stands for, or -1.
    int TabPageOf(std::string_view control) const;
    void OnCommand(int id, int code, HWND from);
    LRESULT OnNotify(NMHDR* header);
    const MenuRef* FindMenu(std::string_view name) const;

    std::string formName;
    std::vector<ControlInfo> controls;
    std::vector<MenuRef> menuItems;
    std::map<UINT, std::string> menuNames; // command id -> item name
    std::string sortIconFolder;
    std::vector<std::string> sortIconLists;
    std::string tabName;
    std::string tabCaptionPrefix;
    std::vector<std::vector<std::string>> tabPages;
    UINT dpi = 96;
    HFONT font = nullptr;
    HFONT titleFont = nullptr;
    HICON bigIcon = nullptr;
    HICON smallIcon = nullptr;
    HIMAGELIST sortIcons = nullptr;
    int minWidth = 0;
    int minHeight = 0;
    UINT timer1Interval = 200;
    bool modal = false;
    bool modalDone = false;
    int modalResult = 0;
};

// The colour of a tab control's body, for the controls that lie on it.
HBRUSH TabBodyBrush();
// Text of a window, ANSI.
std::string WindowText(HWND window);

} // namespace vantrel
