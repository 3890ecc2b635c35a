// The LiveUpdate wizard: welcome, search, download and finished pages behind Back, Next and
// Cancel. Its behaviour lives in LiveUpdatePage.
#pragma once

#include <memory>
#include <string_view>

#include "FormWindow.h"
#include "Win32Dialogs.h"
#include "app/TabPage.h"
#include "liveupdate/LiveUpdatePage.h"
#include "platform/Http.h"

namespace vantrel {

class App;

class FrmLiveUpdate : public FormWindow {
public:
    // dialogs: who answers the wizard's questions; message boxes over it by default.
    explicit FrmLiveUpdate(App& app, Dialogs* dialogs = nullptr);

    // Opens the wizard centred on owner and returns when it has closed.
    void ShowModal(HWND owner);

    LiveUpdatePage& Page() { return page; }

private:
    void Layout() override;
    void OnControlCommand(std::string_view name) override;
    // Esc and the close box do what Cancel does, and nothing while Cancel is disabled.
    void OnCancel() override;
    LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) override;
    bool CanCancel() const;

    Win32Dialogs ownDialogs;
    Dialogs& dialogs;
    std::unique_ptr<Http> http;
    LiveUpdatePage page;
};

// The main window's Update command that opens the wizard, and the start-up reminder that
// may open it too.
class LiveUpdateCommand : public TabPage {
public:
    // mainDialogs: the main window's, for the reminder; dialogs: the wizard's own.
    LiveUpdateCommand(App& app, const BaseWindow& owner, Dialogs& mainDialogs, Dialogs* dialogs = nullptr)
        : app(app), owner(owner), mainDialogs(mainDialogs), dialogs(dialogs) {}

    bool HandleCommand(std::string_view control) override;
    // For the main window's one-shot timer: an old database offers the wizard.
    void RemindIfOld();
    // The wizard while it is open, else null.
    FrmLiveUpdate* OpenDialog() const { return open; }

private:
    void Open();

    App& app;
    const BaseWindow& owner;
    Dialogs& mainDialogs;
    Dialogs* dialogs;
    FrmLiveUpdate* open = nullptr;
};

} // namespace vantrel
