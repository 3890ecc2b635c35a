// The About box, and the Help menu that opens it. Their behaviour lives in AboutPage and
// HelpMenu.
#pragma once

#include <string_view>

#include "FormWindow.h"
#include "app/AboutPage.h"
#include "app/TabPage.h"

namespace vantrel {

class App;
class MainPage;

class FrmAbout : public FormWindow {
public:
    explicit FrmAbout(App& app);

    // Opens the box centred on owner and returns when it has closed.
    void ShowModal(HWND owner);

private:
    void Layout() override;
    void OnControlCommand(std::string_view name) override;
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

    AboutPage page;
};

// The main window's Help menu: contents and home page by HelpMenu, About by this window.
class HelpCommands : public TabPage {
public:
    HelpCommands(App& app, FormWindow& owner, MainPage& main);

    bool HandleCommand(std::string_view control) override { return menu.HandleCommand(control); }
    bool QueryClose() override { return menu.QueryClose(); }
    FrmAbout* OpenDialog() const { return open; }

private:
    App& app;
    const FormWindow& owner;
    HelpMenu menu;
    FrmAbout* open = nullptr;
};

} // namespace vantrel
