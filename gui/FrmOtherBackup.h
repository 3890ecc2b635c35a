// The personal data dialog: favourites, registry, documents and desktop backed up into zip
// files and restored from them, on two tab pages. Its behaviour lives in PersonalPage.
#pragma once

#include <string_view>

#include "FormWindow.h"
#include "Win32Dialogs.h"
#include "app/TabPage.h"
#include "personal/PersonalData.h"
#include "personal/PersonalPage.h"

namespace vantrel {

class App;

class FrmOtherBackup : public FormWindow {
public:
    // dialogs: who answers the dialog's questions; message boxes over it by default.
    explicit FrmOtherBackup(App& app, Dialogs* dialogs = nullptr);

    // Opens the dialog centred on owner and returns when it has closed.
    void ShowModal(HWND owner);

    PersonalPage& Page() { return page; }

private:
    void Layout() override;
    void OnControlCommand(std::string_view name) override;
    void OnTabChange(int tab) override { page.OnTabChange(tab); }
    // Esc and the close box do what Exit does, and nothing while a run goes on.
    void OnCancel() override;
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;

    Win32Dialogs ownDialogs;
    Dialogs& dialogs;
    RegeditTransfer transfer;
    PersonalPage page;
};

// The main window's Tools command that opens the dialog.
class OtherBackupCommand : public TabPage {
public:
    OtherBackupCommand(App& app, const BaseWindow& owner, Dialogs* dialogs = nullptr)
        : app(app), owner(owner), dialogs(dialogs) {}

    bool HandleCommand(std::string_view control) override;
    FrmOtherBackup* OpenDialog() const { return open; }

private:
    App& app;
    const BaseWindow& owner;
    Dialogs* dialogs;
    FrmOtherBackup* open = nullptr;
};

} // namespace vantrel
