// The Backup tab's start/stop button: asks for the target folder, runs the backup of the
// checked drivers with its log and progress, and takes a second click as a stop request.
#pragma once

#include <string>
#include <string_view>

#include "app/TabPage.h"

namespace vantrel {

class App;
class Dialogs;
class Inventory;
class MainPage;
class View;

class BackupRunPage : public TabPage {
public:
    BackupRunPage(App& app, View& view, Dialogs& dialogs, MainPage& mainPage, Inventory& inventory);

    bool Running() const { return running; }
    void OnBackupClick();

    // While a run goes on, the tab's other commands and clicks are held back.
    bool HandleCommand(std::string_view control) override;
    bool OnColumnClick(std::string_view list, int column) override;
    bool OnRowClick(std::string_view list, int row) override;
    void OnLanguageApplied() override;
    // Closing the window during a run asks to stop it, as the button does; the window
    // stays until the run has ended.
    bool QueryClose() override;

private:
    void StartBackup();
    void RequestStop();
    void SetIdle(); // the controls as they are between runs
    std::string Lang(const char* key, const char* english) const;

    App& app;
    View& view;
    Dialogs& dialogs;
    MainPage& mainPage;
    Inventory& inventory;
    bool running = false;
    bool stopRequested = false;
};

} // namespace vantrel
