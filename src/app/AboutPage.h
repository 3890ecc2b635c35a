// The Help menu (contents by language, home page) and the About box.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "app/TabPage.h"

namespace vantrel {

class App;
class MainPage;
class View;

// "Vantrel V6.5.0": the product and version line of the About box.
std::string ProductVersionLine();
std::string HomepageAddress();
std::string SupportMailAddress();

// The help file for the stored language: DutchHelp.chm for Dutch, help.chm for every other.
std::string HelpFilePath(App& app);

// The Help menu's three items as a part of the main window.
class HelpMenu : public TabPage {
public:
    // showAbout opens the About box (the window's business); main learns which help viewer
    // to close when the window closes.
    HelpMenu(App& app, View& view, MainPage& main, std::function<void()> showAbout)
        : app(app), view(view), main(main), showAbout(std::move(showAbout)) {}

    bool HandleCommand(std::string_view control) override;
    // The viewer opens some time after the shell call, so its window is looked up at close.
    bool QueryClose() override;

private:
    App& app;
    View& view;
    MainPage& main;
    std::function<void()> showAbout;
    bool helpOpened = false;
    std::uintptr_t viewerBefore = 0; // a viewer that was open before ours is not ours to close
};

class AboutPage {
public:
    AboutPage(App& app, View& view) : app(app), view(view) {}

    void Load();
    // LblEmail, LblSite or cmdOK.
    void OnClick(std::string_view control);
    bool Done() const { return done; }

private:
    App& app;
    View& view;
    bool done = false;
};

} // namespace vantrel
