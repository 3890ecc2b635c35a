// The options dialog: backup and restore kinds on two tab pages, the compression level and the
// restore switches. Its behaviour lives in OptionsPage.
#pragma once

#include <string_view>

#include "FormWindow.h"
#include "app/OptionsPage.h"
#include "app/TabPage.h"

namespace vantrel {

class App;

class FrmOptions : public FormWindow {
public:
    explicit FrmOptions(App& app);

    // Opens the dialog centred on owner; IDOK when OK wrote the settings.
    int ShowModal(HWND owner);

private:
    void Layout() override;
    void OnControlCommand(std::string_view name) override;
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

    OptionsPage page;
};

// The main window's Tools command that opens the dialog.
class OptionsCommand : public TabPage {
public:
    OptionsCommand(App& app, const BaseWindow& owner) : app(app), owner(owner) {}

    bool HandleCommand(std::string_view control) override;
    FrmOptions* OpenDialog() const { return open; }

private:
    App& app;
    const BaseWindow& owner;
    FrmOptions* open = nullptr;
};

} // namespace vantrel
