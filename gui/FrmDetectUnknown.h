// The unknown device dialog: the machine's PCI devices and the details of a clicked one. Its
// behaviour lives in DetectUnknownPage.
#pragma once

#include <string_view>

#include "FormWindow.h"
#include "Win32Dialogs.h"
#include "app/TabPage.h"
#include "devices/DetectUnknownPage.h"

namespace vantrel {

class App;

class FrmDetectUnknown : public FormWindow {
public:
    // dialogs: who answers the dialog's questions; message boxes over it by default.
    explicit FrmDetectUnknown(App& app, Dialogs* dialogs = nullptr);

    // Opens the dialog centred on owner and returns when it has closed. Without a device
    // database it says so and does not open.
    void ShowModal(HWND owner);

    DetectUnknownPage& Page() { return page; }

private:
    void Layout() override;
    void OnColumnClick(std::string_view list, int column) override { page.OnColumnClick(list, column); }
    void OnRowClick(std::string_view list, int row) override { page.OnRowClick(list, row); }
    void OnTimer1() override { page.OnTimer1(); }

    App& app;
    Win32Dialogs ownDialogs;
    Dialogs& dialogs;
    DetectUnknownPage page;
};

// The main window's Tools command that opens the dialog.
class DetectUnknownCommand : public TabPage {
public:
    DetectUnknownCommand(App& app, const BaseWindow& owner, Dialogs* dialogs = nullptr)
        : app(app), owner(owner), dialogs(dialogs) {}

    bool HandleCommand(std::string_view control) override;
    // The dialog while it is open, else null.
    FrmDetectUnknown* OpenDialog() const { return open; }

private:
    App& app;
    const BaseWindow& owner;
    Dialogs* dialogs;
    FrmDetectUnknown* open = nullptr;
};

} // namespace vantrel
