// The main window: banner, command column, the four tab pages and the menu. Its behaviour
// lives in MainPage; this class only shows what the page says and reports what the user does.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "FormWindow.h"
#include "Win32Dialogs.h"
#include "app/MainPage.h"

namespace vantrel {

class App;

class FrmMain : public FormWindow {
public:
    // dialogs: who answers the window's questions; message boxes of this window by default.
    explicit FrmMain(App& app, Dialogs* dialogs = nullptr);
    ~FrmMain() override;

    // Creates the window with its controls and runs the load; the window stays hidden.
    bool Create();
    void Show(int showCommand);
    int RunMessageLoop();
    bool PreTranslate(MSG* message) override;
    // Whether closing the window ends the message loop (not when a test owns the window).
    void SetQuitOnClose(bool quit) { quitOnClose = quit; }

    MainPage& Page() { return page; }
    Dialogs& AskUser() { return dialogs; }
    int CurrentPage() const;

    // The tab pages have captions too ("TabControlPage1".."4").
    void SetCaption(std::string_view control, const std::string& text) override;
    std::string GetCaption(std::string_view control) override;
    void SelectTab(std::string_view tabControl, int page) override;

private:
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    void Layout() override;
    void OnDpiApplied() override;
    void OnControlCommand(std::string_view name) override { page.HandleCommand(name); }
    void OnColumnClick(std::string_view list, int column) override { page.OnColumnClick(list, column); }
    void OnRowClick(std::string_view list, int row) override { page.OnRowClick(list, row); }
    void OnTimer1() override { page.OnTimer1(); }

    void CreateControls();
    void LayoutPage(int index, int width, int height);
    void ShowPage(int index);
    void DrawCommandButton(const DRAWITEMSTRUCT* draw);
    void DrawBanner(const DRAWITEMSTRUCT* draw);

    App& app;
    Win32Dialogs ownDialogs;
    Dialogs& dialogs;
    MainPage page;
    HWND tab = nullptr;
    HWND pages[4] = {};
    HFONT bannerFont = nullptr;
    std::map<int, HICON> buttonIcons; // command button id -> picture
    bool quitOnClose = true;
};

} // namespace vantrel
