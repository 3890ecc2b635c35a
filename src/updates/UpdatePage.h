// The Update tab: the system choice, the search's list and summary, the details of a clicked
// update, Download and Hide.
#pragma once

#include <string>
#include <string_view>

#include "app/TabPage.h"
#include "app/View.h"
#include "updates/UpdateSearch.h"

namespace vantrel {

class App;
class Dialogs;
class Inventory;

// The details box of one update: six labelled lines.
std::string UpdateDetailsText(const App& app, const UpdateResult& result);

class UpdatePage : public TabPage {
public:
    UpdatePage(App& app, View& view, Dialogs& dialogs, Inventory& inventory);

    // The tab opened: the running system chosen and searched.
    void OpenTab();
    // Another system chosen in the list.
    void OnSystemChosen();
    // One whole search for a system code.
    void SearchFor(const std::string& code);
    void OnDownload();
    void OnHide();

    const UpdateSearch& LastSearch() const { return search; }

    bool HandleCommand(std::string_view control) override;
    bool OnColumnClick(std::string_view list, int column) override;
    bool OnRowClick(std::string_view list, int row) override;

private:
    std::string ChosenSystemText();
    std::string SummaryText();
    void FillList();
    // The listed result whose name is the selected item's text; nullptr when none.
    const UpdateResult* SelectedResult();

    App& app;
    View& view;
    Dialogs& dialogs;
    Inventory& inventory;
    UpdateSearch search;
    std::string selectedName;
    bool hasSelection = false;
    ListSort sort;
};

} // namespace vantrel
