#include "updates/UpdatePage.h"

#include <algorithm>

#include "app/App.h"
#include "app/Dialogs.h"
#include "inventory/Inventory.h"
#include "platform/Shell.h"
#include "platform/System.h"
#include "updates/UpdateDatabase.h"
#include "updates/UpdateKeys.h"

namespace vantrel {

namespace {

constexpr char kTabMain[] = "TabMain";
constexpr int kUpdateTab = 2;
constexpr char kList[] = "LvwUpdate";
constexpr char kText[] = "TxtUpdate";
constexpr char kCombo[] = "CmbOS";
constexpr char kTitle[] = "Vantrel";

class PageObserver : public UpdateSearchObserver {
public:
    PageObserver(const App& app, View& view) : app(app), view(view) {}
    void Started() override {
        view.SetText(kText, app.GetLangText("FormUpdate", "MsgSearching",
                                            "Searching drivers update in the database, please wait "
                                            "patiently") +
                                "...");
        view.ClearRows(kList);
    }
    void Searching(const std::string& device) override {
        view.SetText(kText, app.GetLangText("FormUpdate", "MsgSearchingFor", "Searching driver update for") +
                                " " + device + " ...");
    }
    void Pump() override { view.PumpMessages(); }

private:
    const App& app;
    View& view;
};

} // namespace

std::string UpdateDetailsText(const App& app, const UpdateResult& result) {
    std::string isSigned = result.isSigned == "Yes" ? app.GetLangText("FormUpdate", "StrYes", "Yes")
                                                    : app.GetLangText("FormUpdate", "StrNo", "No");
    std::string lines[][2] = {
        {app.GetLangText("FormUpdate", "StrOS", "Supported OS"), result.supportedOs},
        {app.GetLangText("FormUpdate", "StrProvider", "Driver Provider"), result.provider},
        {app.GetLangText("FormUpdate", "StrVersion", "Driver Version"), result.version},
        {app.GetLangText("FormUpdate", "StrSigned", "Digitally Signed"), isSigned},
        {app.GetLangText("FormUpdate", "StrSize", "File Size"), result.size},
        {app.GetLangText("FormUpdate", "StrURL", "Download URL"), result.url},
    };
    std::string text;
    for (const auto& line : lines)
        text += line[0] + ": " + line[1] + "\r\n";
    return text;
}

UpdatePage::UpdatePage(App& app, View& view, Dialogs& dialogs, Inventory& inventory)
    : app(app), view(view), dialogs(dialogs), inventory(inventory) {}

bool UpdatePage::HandleCommand(std::string_view control) {
    if (control == "MnuUpdate")
        OpenTab();
    else if (control == kCombo)
        OnSystemChosen();
    else if (control == "BtnDownload")
        OnDownload();
    else if (control == "BtnHide")
        OnHide();
    else
        return false;
    return true;
}

bool UpdatePage::OnColumnClick(std::string_view list, int column) {
    if (list != kList)
        return false;
    sort.Click(view, list, column);
    return true;
}

bool UpdatePage::OnRowClick(std::string_view list, int row) {
    if (list != kList)
        return false;
    if (row < 0 || row >= view.RowCount(kList))
        return true;
    selectedName = view.GetRow(kList, row).cells.at(0);
    hasSelection = true;
    if (const UpdateResult* result = SelectedResult())
        view.SetText(kText, UpdateDetailsText(app, *result));
    return true;
}

void UpdatePage::OpenTab() {
    view.SelectTab(kTabMain, kUpdateTab);
    std::string choice =
        DefaultOsChoice(app.platform.system.GetVersion(), app.platform.system.Is64BitWindows());
    std::vector<std::string> items = view.GetComboItems(kCombo);
    auto it = std::find(items.begin(), items.end(), choice);
    view.SetComboSelection(kCombo, it == items.end() ? -1 : static_cast<int>(it - items.begin()));
    SearchFor(OsCodeOfChoice(choice));
}

void UpdatePage::OnSystemChosen() {
    SearchFor(OsCodeOfChoice(ChosenSystemText()));
}

std::string UpdatePage::ChosenSystemText() {
    std::vector<std::string> items = view.GetComboItems(kCombo);
    int chosen = view.GetComboSelection(kCombo);
    return chosen >= 0 && chosen < static_cast<int>(items.size()) ? items[chosen] : std::string();
}

void UpdatePage::SearchFor(const std::string& code) {
    std::string database = app.appPath + kUpdateDbFile;
    PageObserver observer(app, view);
    bool running = !code.empty() && code == RunningOsCode(app.platform);
    UpdateSearch found = SearchUpdates(inventory, database, code, running, &observer);
    if (found.status == UpdateSearchStatus::MissingDatabase) {
        dialogs.MessageBox(app.GetLangText("FormUpdate", "MsgTip3",
                                           "Drivers update database doesn't exist, please re-install the "
                                           "software."),
                           kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        view.SetText(kText,
                     app.GetLangText("FormUpdate", "MsgTip4", "Drivers update database file doesn't exist!"));
        return;
    }
    if (found.status == UpdateSearchStatus::BrokenDatabase) {
        std::string text = app.GetLangText(
            "FormUpdate", "MsgTip5", "Driver update database is destroyed, please re-install the software.");
        dialogs.MessageBox(text, kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        view.SetText(kText, text);
        return;
    }
    search = std::move(found);
    FillList();
    if (search.listed.empty())
        view.SetText(kText, app.GetLangText("FormUpdate", "MsgNoUpdate",
                                            "There is no driver update information for your PC in") +
                                " " + ChosenSystemText() + ", " +
                                app.GetLangText("FormUpdate", "MsgLater", "please run it later."));
    else
        view.SetText(kText, SummaryText());
}

std::string UpdatePage::SummaryText() {
    return app.GetLangText("FormUpdate", "MsgText1",
                           "The above is driver update information for your computer in") +
           " " + ChosenSystemText() + ". " + "\r\n\r\n" +
           app.GetLangText("FormUpdate", "MsgText2",
                           "For more information of each new driver, please click it and the detailed "
                           "information will show in this textbox. You can also select other operating "
                           "systems and find driver updates for them.") +
           "\r\n\r\n" +
           app.GetLangText("FormUpdate", "MsgText3",
                           "Please click Download button to download the selected driver update by the "
                           "default web browser in your computer, you can also copy the download URL and use "
                           "other tools to download it.");
}

void UpdatePage::FillList() {
    view.ClearRows(kList);
    hasSelection = false;
    for (std::size_t index : search.listed) {
        const UpdateResult& result = search.results[index];
        ListRow row;
        row.cells = {result.name, result.className};
        view.AddRow(kList, row);
    }
    // A list the user sorted stays sorted.
    if (sort.column >= 0) {
        view.SortRows(kList, sort.column, sort.ascending);
        view.SetSortMark(kList, sort.column, sort.ascending);
    }
}

const UpdateResult* UpdatePage::SelectedResult() {
    if (!hasSelection)
        return nullptr;
    for (std::size_t index : search.listed) {
        if (search.results[index].name == selectedName)
            return &search.results[index];
    }
    return nullptr;
}

void UpdatePage::OnDownload() {
    const UpdateResult* result = SelectedResult();
    if (result == nullptr) {
        dialogs.MessageBox(app.GetLangText("FormUpdate", "MsgTip1",
                                           "Please select the device drivers you want to update at first."),
                           kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    // A failed launch is not reported: the address is in the details box to copy.
    app.platform.shell.Execute("open", result->url, "", "C:\\");
}

void UpdatePage::OnHide() {
    const UpdateResult* result = SelectedResult();
    if (result == nullptr) {
        dialogs.MessageBox(app.GetLangText("FormUpdate", "MsgTip6",
                                           "Please select the driver update you want to hide at first."),
                           kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    std::string question =
        app.GetLangText("FormUpdate", "MsgTip7", "Are you sure to hide this driver update?") + "\r\n" +
        app.GetLangText("FormUpdate", "MsgTip8",
                        "If so, you will not be notified to update this driver again until a new version is "
                        "released.");
    if (dialogs.MessageBox(question, kTitle, MsgButtons::OkCancel, MsgIcon::Question) != MsgAnswer::Ok)
        return;
    HideUpdate(app.platform, result->url);
    std::size_t hiddenIndex = static_cast<std::size_t>(result - search.results.data());
    search.listed.erase(std::find(search.listed.begin(), search.listed.end(), hiddenIndex));
    FillList();
    view.SetText(kText, SummaryText());
}

} // namespace vantrel
