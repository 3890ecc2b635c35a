// The dialog that backs up and restores the personal items: its two pages, both lists, the
// run with its stop question, and the questions of the restore page.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "personal/PersonalData.h"

namespace vantrel {

class App;
class Dialogs;
class View;

class PersonalPage {
public:
    PersonalPage(App& app, View& view, Dialogs& dialogs, RegistryTransfer& transfer)
        : app(app), view(view), dialogs(dialogs), transfer(transfer) {}

    void Load();
    // The tab control switched to page 0 (back up) or 1 (restore).
    void OnTabChange(int page);
    void OnStartClick();
    void OnSelectAllClick();
    bool Running() const { return running; }
    // The window may close: not while a run is going on.
    bool QueryClose() const { return !running; }

private:
    class RunProgress;

    std::string ItemText(PersonalItem item) const;
    std::vector<PersonalItem> Ticked(std::string_view list, const std::vector<PersonalItem>& rows);
    void SetRunning(bool on);
    void ShowProgress(double percent);
    // "Completed" + percent + "% ", and the files left out so far.
    void ShowLabel(const std::string& percent);
    void BackUp();
    void ListRestorable();
    void Restore();

    App& app;
    View& view;
    Dialogs& dialogs;
    RegistryTransfer& transfer;
    int tab = 0;
    bool running = false;
    bool stopRequested = false;
    bool selectAll = true; // what the select button does next
    std::string restoreFolder;
    std::vector<PersonalItem> restoreRows; // the items LvwOtherRestore lists, in its order
    std::vector<std::string> notSaved;     // files left out of the current run
};

} // namespace vantrel
