// The Backup tab's driver list (Lvw) and its text box (TxtBackup): the two searches, red
// rows, the details of a clicked driver, sorting and Select All/None.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/TabPage.h"
#include "app/View.h"

namespace vantrel {

class App;
class Inventory;
class MainPage;
struct DriverRecord;

// A listed driver: its row and the record behind it.
struct ListedDriver {
    int recordIndex = 0;
    ListRow row;
};

// The row for a record: description, class, version, date, provider; red when Non-Microsoft.
ListRow MakeDriverRow(const DriverRecord& record);
// The drivers of the current inventory that the list shows: those whose INF is on disk, and
// with nonMicrosoftOnly only the Non-Microsoft ones. Refreshes nothing.
std::vector<ListedDriver> CollectListedDrivers(Inventory& inventory, bool nonMicrosoftOnly);

// The INF's full path for display, or "Not exist".
std::string GetInfDisplayPath(Inventory& inventory, int recordIndex);
// The text the box shows after a search.
std::string SearchTipText(const App& app, bool nonMicrosoftOnly);
// The details of one driver; builds its file list on the way.
std::string DriverDetailsText(const App& app, Inventory& inventory, int recordIndex);

class BackupListPage : public TabPage {
public:
    BackupListPage(App& app, View& view, MainPage& mainPage, Inventory& inventory);

    void SearchAllDrivers();
    void SearchNonMicrosoftDrivers();
    void OnDriverItemClick(int row);
    void OnDriverColumnClick(int column);
    void ToggleSelectAll();

    bool HandleCommand(std::string_view control) override;
    bool OnColumnClick(std::string_view list, int column) override;
    bool OnRowClick(std::string_view list, int row) override;
    void OnLanguageApplied() override;

private:
    enum class Shown { Nothing, TipAll, TipNonMicrosoft, Details };

    void Search(bool nonMicrosoftOnly);
    void SetSelectAllState(const char* captionKey);
    void Show(Shown what, int recordIndex = 0);

    App& app;
    View& view;
    MainPage& mainPage;
    Inventory& inventory;
    ListSort sort; // none until the list is first filled
    Shown shown = Shown::Nothing;
    int shownRecord = 0;
    std::string shownText;
};

} // namespace vantrel
