// The Uninstall tab: the installed drivers whose INF is present, the details of a clicked
// driver, sorting, and the removal of the ticked drivers with its questions.
#pragma once

#include <string>
#include <string_view>

#include "app/TabPage.h"
#include "app/View.h"

namespace vantrel {

class App;
class Dialogs;
class Inventory;
class View;

class UninstallPage : public TabPage {
public:
    UninstallPage(App& app, View& view, Dialogs& dialogs, Inventory& inventory);

    // Lists what the driver list holds now; the drivers are not read again.
    void ShowPage();
    void OnRemoveClick();
    bool Running() const { return running; }

    bool HandleCommand(std::string_view control) override;
    bool OnColumnClick(std::string_view list, int column) override;
    bool OnRowClick(std::string_view list, int row) override;
    void OnLanguageApplied() override;
    // A removal cannot be stopped: the window stays until it has ended.
    bool QueryClose() override { return !running; }

private:
    // What the text box holds, so that a new language can rebuild it. The window starts with
    // the hint.
    enum class Shown { Hint, Details, Finished, Other };

    void Show(Shown what, int recordIndex = 0);
    void Remove();

    App& app;
    View& view;
    Dialogs& dialogs;
    Inventory& inventory;
    bool running = false;
    ListSort sort;
    Shown shown = Shown::Hint;
    int shownRecord = 0;
};

} // namespace vantrel
