#include "backup/BackupRunPage.h"

#include <vector>

#include "app/App.h"
#include "app/Dialogs.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "app/View.h"
#include "backup/BackupRun.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kButton[] = "CmdBackup";
constexpr char kList[] = "Lvw";
constexpr char kLog[] = "TxtBackup";
constexpr char kBar[] = "pgbar";
constexpr char kBarLabel[] = "lblpg";
constexpr char kSelectAll[] = "CmdSelectAll";
constexpr char kTagStart[] = "start backup";
constexpr char kTagStop[] = "stop backup";
constexpr char kTitle[] = "Vantrel";

// The run's reports, shown in the tab's controls.
class ViewObserver : public BackupObserver {
public:
    ViewObserver(View& view, std::string completed, const bool& stopRequested)
        : view(view), completed(std::move(completed)), stopRequested(stopRequested) {}
    void DriverStarted(int row) override { view.SelectRow(kList, row); }
    void ClearLog() override { view.SetText(kLog, ""); }
    void AppendLog(const std::string& text) override { view.AppendText(kLog, text); }
    void Progress(int percent) override {
        view.SetProgress(kBar, percent, 100);
        view.SetCaption(kBarLabel, std::to_string(percent) + "% " + completed);
    }
    void Pump() override { view.PumpMessages(); }
    bool Cancelled() override { return stopRequested; }

private:
    View& view;
    std::string completed;
    const bool& stopRequested; // set by a second click while the run pumps messages
};

} // namespace

BackupRunPage::BackupRunPage(App& app, View& view, Dialogs& dialogs, MainPage& mainPage, Inventory& inventory)
    : app(app), view(view), dialogs(dialogs), mainPage(mainPage), inventory(inventory) {}

std::string BackupRunPage::Lang(const char* key, const char* english) const {
    return app.GetLangText("FormMain", key, english);
}

bool BackupRunPage::HandleCommand(std::string_view control) {
    if (control == kButton) {
        OnBackupClick();
        return true;
    }
    return running && (control == kSelectAll || control == "MnuBckAll" || control == "MnuBckNeeded");
}

bool BackupRunPage::OnColumnClick(std::string_view list, int) {
    return running && list == kList;
}

bool BackupRunPage::OnRowClick(std::string_view list, int) {
    return running && list == kList;
}

void BackupRunPage::OnLanguageApplied() {
    // A new language sets the idle caption; a running backup keeps its stop caption.
    if (running && mainPage.Tag(kButton) == kTagStop)
        view.SetCaption(kButton, Lang("CmdStopBackup", "&Stop Backup"));
}

bool BackupRunPage::QueryClose() {
    if (!running)
        return true;
    if (mainPage.Tag(kButton) == kTagStop)
        RequestStop();
    return false;
}

void BackupRunPage::OnBackupClick() {
    if (mainPage.Tag(kButton) == kTagStop)
        RequestStop();
    else
        StartBackup();
}

void BackupRunPage::RequestStop() {
    if (dialogs.MessageBox(Lang("MsgStopBackup", "Do you really want to stop backup process?"), kTitle,
                           MsgButtons::OkCancel, MsgIcon::Question) != MsgAnswer::Ok)
        return;
    mainPage.SetTag(kButton, kTagStart);
    view.SetCaption(kButton, Lang("CmdStartBackup", "&Start Backup"));
    stopRequested = true;
    view.PumpMessages();
}

void BackupRunPage::SetIdle() {
    mainPage.SetTag(kButton, kTagStart);
    view.SetCaption(kButton, Lang("CmdStartBackup", "&Start Backup"));
    view.SetEnabled(kSelectAll, true);
    mainPage.SetTag(kSelectAll, "select all");
    view.SetCaption(kSelectAll, Lang("cmdselectall", "Select &All"));
    view.SetProgress(kBar, 0, 100);
    view.SetCaption(kBarLabel, "");
    view.SetVisible(kBarLabel, false);
    running = false;
}

void BackupRunPage::StartBackup() {
    int rows = view.RowCount(kList);
    if (rows == 0 || running)
        return;
    std::vector<BackupItem> items;
    int checked = 0;
    for (int row = 0; row < rows; ++row) {
        ListRow listed = view.GetRow(kList, row);
        if (!listed.checked)
            continue;
        ++checked;
        int record = inventory.drivers.FindByDescription(listed.cells.empty() ? "" : listed.cells[0]);
        if (record > 0)
            items.push_back({row, record});
    }
    if (checked == 0) {
        dialogs.MessageBox(Lang("MsgSelectDriversToBackup",
                                "Please select the device drivers you want to back up at first."),
                           kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }

    std::string folder;
    if (!dialogs.BrowseForFolder(Lang("MsgSelectBackupFolder",
                                      "Please select the directory where you want to save driver backup") +
                                     ":",
                                 &folder))
        return;
    // A virtual folder such as "Computer" has no path.
    folder = Trim(folder.substr(0, folder.find('\0')));
    if (folder.empty())
        folder = kFallbackBackupFolder;
    if (folder.size() > 1 && folder.back() == '\\')
        folder.pop_back();
    std::string root = folder + kBackupRootName;
    CreateDirectories(app.platform.fs, root);
    {
        SettingsStore settings(app.platform.registry);
        settings.WriteSetting(kSetBackupPath, root);
    }

    running = true;
    stopRequested = false;
    mainPage.SetTag(kButton, kTagStop);
    view.SetCaption(kButton, Lang("CmdStopBackup", "&Stop Backup"));
    view.SetEnabled(kSelectAll, false);
    std::string completed = Lang("StrCompleted", "Completed");
    view.SetProgress(kBar, 0, 100);
    view.SetVisible(kBarLabel, true);
    view.SetCaption(kBarLabel, "0% " + completed);
    view.PumpMessages();

    ViewObserver observer(view, completed, stopRequested);
    BackupRun run(app, inventory);
    BackupSummary summary = run.Run(root, items, observer);

    if (summary.stopped) {
        SetIdle();
        dialogs.MessageBox(Lang("MsgStopBackup1", "Driver backup process was stopped."), kTitle,
                           MsgButtons::Ok, MsgIcon::Information);
        view.SetText(kLog, Lang("MsgStopBackup2", "Driver backup process was stopped by the user."));
        return;
    }
    view.SetProgress(kBar, 100, 100);
    view.SetCaption(kBarLabel, "100% " + completed);
    dialogs.MessageBox(Lang("MsgBackupFinished", "Driver backup finished successfully."), kTitle,
                       MsgButtons::Ok, MsgIcon::Information);
    SetIdle();
    view.AppendText(kLog, Lang("StrBackupTo", "Driver files have been backed up to") + " " + summary.target +
                              " " + Lang("StrSuccessfully", "successfully") + ".");
    // A folder that cannot install its driver again is named, with what it lacks.
    std::string catalog = Lang("StrBackupCatalog", "catalog");
    for (const IncompleteBackup& driver : summary.incomplete)
        view.AppendText(kLog, "\r\n'" + driver.driverDesc +
                                  "': " + Lang("MsgBackupIncomplete", "incomplete backup, missing") + " " +
                                  DescribeMissing(driver.missing, catalog));
}

} // namespace vantrel
