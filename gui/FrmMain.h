// The main window: banner, command column, the four tab pages and the menu. Its behaviour
// lives in MainPage; this class only shows what the page says and reports what the user does.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "BaseWindow.h"
#include "Win32Dialogs.h"
#include "app/MainPage.h"
#include "app/View.h"

namespace vantrel {

class App;

class FrmMain : public BaseWindow, public View {
public:
    // dialogs: who answers the window's questions; message boxes of this window by default.
    explicit FrmMain(App& app, Dialogs* dialogs = nullptr);
    ~FrmMain() override;

    // Creates the window with its controls and runs the load; the window stays hidden.
    bool Create();
    void Show(int showCommand);
    int RunMessageLoop();
    // The keyboard handling a message loop gives this window first; true when it took the message.
    bool PreTranslate(MSG* message);
    // Whether closing the window ends the message loop (not when a test owns the window).
    void SetQuitOnClose(bool quit) { quitOnClose = quit; }

    MainPage& Page() { return page; }
    Dialogs& AskUser() { return dialogs; }
    HWND Control(std::string_view name) const;
    int CurrentPage() const;

    // View
    void SetCaption(std::string_view control, const std::string& text) override;
    std::string GetCaption(std::string_view control) override;
    void SetEnabled(std::string_view control, bool enabled) override;
    void SetVisible(std::string_view control, bool visible) override;
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

private:
    enum class Kind { Banner, CommandButton, Tab, Title, Label, List, TextBox, Progress, Button, Combo };
    struct ControlInfo {
        std::string name;
        int id;
        int page; // -1: not on a tab page
        Kind kind;
        HWND window = nullptr;
    };
    struct MenuRef {
        std::string name;
        HMENU parent;
        UINT position;
        bool onBar;
    };

    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void CreateControls();
    void BuildMenuIndex(HMENU menu, bool onBar);
    void ApplyDpi(UINT newDpi);
    void Layout();
    void LayoutPage(int index, int width, int height);
    void ShowPage(int index);
    void OnCommand(int id, int code, HWND from);
    LRESULT OnNotify(NMHDR* header);
    void DrawCommandButton(const DRAWITEMSTRUCT* draw);
    void DrawBanner(const DRAWITEMSTRUCT* draw);
    int Scale(int units) const;
    int TextWidth(HWND control) const;
    const ControlInfo* Find(std::string_view name) const;
    const ControlInfo* FindById(int id) const;
    const MenuRef* FindMenu(std::string_view name) const;

    App& app;
    Win32Dialogs ownDialogs;
    Dialogs& dialogs;
    MainPage page;
    std::vector<ControlInfo> controls;
    std::vector<MenuRef> menuItems;
    std::map<UINT, std::string> menuNames; // command id -> item name
    HWND tab = nullptr;
    HWND pages[4] = {};
    UINT dpi = 96;
    HFONT font = nullptr;
    HFONT titleFont = nullptr;
    HFONT bannerFont = nullptr;
    HICON bigIcon = nullptr;
    HICON smallIcon = nullptr;
    std::map<int, HICON> buttonIcons; // command button id -> picture
    HIMAGELIST sortIcons = nullptr;
    bool quitOnClose = true;
};

} // namespace vantrel
