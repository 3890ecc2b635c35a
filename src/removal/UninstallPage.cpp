#include "removal/UninstallPage.h"

#include <vector>

#include "app/App.h"
#include "app/Dialogs.h"
#include "app/SystemServices.h"
#include "app/View.h"
#include "inventory/BackupListPage.h"
#include "inventory/Inventory.h"
#include "platform/System.h"
#include "removal/Removal.h"

namespace vantrel {

namespace {

constexpr char kTabMain[] = "TabMain";
constexpr int kUninstallTab = 3;
constexpr char kList[] = "LvwUninstall";
constexpr char kTextBox[] = "TxtRemove";

// The chosen row goes into view and the box says which driver the helper is removing.
class PageRemoval : public RemovalObserver {
public:
    PageRemoval(const App& app, View& view, const std::vector<int>& rows)
        : app(app), view(view), rows(rows) {}
    void DriverStarted(int index) override {
        view.SelectRow(kList, rows.at(static_cast<std::size_t>(index)));
    }
    void Removing(const std::string& description) override {
        view.SetText(kTextBox, app.GetLangText("FormRemove", "MsgRemoveDrivers", "Removing drivers of") +
                                   " '" + description + "', " +
                                   app.GetLangText("FormMain", "MsgWait", "please wait patiently") + " ...");
    }
    void Pump() override { view.PumpMessages(); }

private:
    const App& app;
    View& view;
    const std::vector<int>& rows;
};

} // namespace

UninstallPage::UninstallPage(App& app, View& view, Dialogs& dialogs, Inventory& inventory)
    : app(app), view(view), dialogs(dialogs), inventory(inventory) {}

void UninstallPage::Show(Shown what, int recordIndex) {
    std::string text;
    switch (what) {
    case Shown::Hint:
        text = app.GetLangText(
            "FormRemove", "TxtRemove",
            "Please select device drivers you want to remove, then click \"Uninstall\" button.");
        break;
    case Shown::Details:
        // A record index holds only until the drivers are read again.
        if (recordIndex < 1 || recordIndex > inventory.drivers.Count())
            return;
        text = DriverDetailsText(app, inventory, recordIndex);
        break;
    case Shown::Finished:
        text = app.GetLangText("FormRemove", "MsgFinished",
                               "Driver removal finished and system settings changed, you should reboot your "
                               "machine.");
        break;
    case Shown::Other:
        return;
    }
    shown = what;
    shownRecord = recordIndex;
    view.SetText(kTextBox, text);
}

void UninstallPage::ShowPage() {
    view.SelectTab(kTabMain, kUninstallTab);
    view.ClearRows(kList);
    for (const ListedDriver& driver : CollectListedDrivers(inventory, false))
        view.AddRow(kList, driver.row);
    Show(Shown::Hint);
    sort.MarkFirst(view, kList);
}

void UninstallPage::OnRemoveClick() {
    running = true;
    Remove();
    running = false;
}

void UninstallPage::Remove() {
    std::vector<int> rows;
    std::vector<std::string> descriptions;
    int count = view.RowCount(kList);
    for (int i = 0; i < count; ++i) {
        ListRow row = view.GetRow(kList, i);
        if (row.checked && !row.cells.empty()) {
            rows.push_back(i);
            descriptions.push_back(row.cells[0]);
        }
    }
    if (rows.empty()) {
        dialogs.MessageBox(app.GetLangText("FormRemove", "MsgTip1",
                                           "Please select the device drivers you want to remove at first."),
                           kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    if (RemovalUnavailable(app.platform.system.GetVersion())) {
        dialogs.MessageBox(RemovalUnavailableText(app), kProductName, MsgButtons::Ok, MsgIcon::Information);
        return;
    }
    if (dialogs.MessageBox(RemovalCautionText(app), kProductName, MsgButtons::YesNo, MsgIcon::Question) !=
        MsgAnswer::Yes)
        return;

    PageRemoval observer(app, view, rows);
    RemovalRunResult result = RemoveDrivers(inventory, descriptions, observer);
    if (!result.helperWritten) {
        // Without the helper no device could go, and an INF deleted alone would leave its
        // device without a driver package.
        dialogs.MessageBox(app.GetLangText("FormRemove", "MsgNoHelper",
                                           "The driver removal program could not be written to") +
                               " " + result.helperPath,
                           kProductName, MsgButtons::Ok, MsgIcon::Critical);
        return;
    }
    shown = Shown::Other;

    if (dialogs.MessageBox(app.GetLangText("FormRemove", "MsgRemoveFinished",
                                           "Driver removal finished and system settings changed, you should "
                                           "reboot your machine. Do you want to reboot it now?"),
                           kProductName, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes) {
        RebootWindows(app, dialogs, true);
        return;
    }
    count = view.RowCount(kList);
    for (int i = 0; i < count; ++i)
        view.SetRowChecked(kList, i, false);
    Show(Shown::Finished);
}

bool UninstallPage::HandleCommand(std::string_view control) {
    bool ours = control == "MnuRemoveDriver" || control == "CmdRemove";
    // A click let through while the helper runs waits for the removal to end.
    if (!ours || running)
        return ours;
    if (control == "MnuRemoveDriver")
        ShowPage();
    else
        OnRemoveClick();
    return true;
}

bool UninstallPage::OnColumnClick(std::string_view list, int column) {
    if (list != kList)
        return false;
    if (running)
        return true;
    sort.Click(view, kList, column);
    return true;
}

bool UninstallPage::OnRowClick(std::string_view list, int row) {
    if (list != kList)
        return false;
    if (running || row < 0 || row >= view.RowCount(kList))
        return true;
    ListRow clicked = view.GetRow(kList, row);
    int index = inventory.drivers.FindByDescription(clicked.cells.empty() ? "" : clicked.cells[0]);
    if (index > 0)
        Show(Shown::Details, index);
    return true;
}

void UninstallPage::OnLanguageApplied() {
    if (!running)
        Show(shown, shownRecord);
}

} // namespace vantrel
