#include "personal/PersonalPage.h"

#include <algorithm>
#include <cstdio>

#include "app/App.h"
#include "app/Dialogs.h"
#include "app/Settings.h"
#include "app/View.h"
#include "archive/ZipWriter.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kWindow[] = "frmotherbackup";
constexpr char kBackupList[] = "lvwother";
constexpr char kRestoreList[] = "LvwOtherRestore";
constexpr char kStart[] = "cmdstart";
constexpr char kSelectAll[] = "cmdselectall";
constexpr char kExit[] = "cmdexit";
constexpr char kBar[] = "pgbar";
constexpr char kLabel[] = "lblprogress";
constexpr char kTabs[] = "TabOther";

std::vector<PersonalItem> AllItems() {
    std::vector<PersonalItem> items;
    for (const auto& info : kPersonalItems)
        items.push_back(info.item);
    return items;
}

} // namespace

// The run's progress in the bar and the label, with the window kept alive between pieces.
class PersonalPage::RunProgress : public PersonalObserver {
public:
    explicit RunProgress(PersonalPage& page) : page(page) {}
    void Progress(double percent) override {
        page.ShowProgress(percent);
        page.view.PumpMessages();
    }
    void FileSkipped(const std::string& name, const std::string&) override { page.notSaved.push_back(name); }
    bool StopRequested() override {
        page.view.PumpMessages();
        return page.stopRequested;
    }

private:
    PersonalPage& page;
};

std::string PersonalPage::ItemText(PersonalItem item) const {
    switch (item) {
    case PersonalItem::Favorites:
        return app.GetLangText("FormOtherBackup", "Item1", "Internet Explorer Favorites Folder");
    case PersonalItem::Registry:
        return app.GetLangText("FormOtherBackup", "Item2", "Registry");
    case PersonalItem::Documents:
        return app.GetLangText("FormOtherBackup", "Item3", "My Documents");
    case PersonalItem::Desktop:
        break;
    }
    return app.GetLangText("FormOtherBackup", "Item4", "Desktop");
}

void PersonalPage::Load() {
    view.SetCaption(kWindow, app.GetLangText("FormOtherBackup", "Caption", "More Backup and Restoration"));
    view.SetCaption("TabOtherPage1", app.GetLangText("FormOtherBackup", "TabBackUp", "Back Up"));
    view.SetCaption("TabOtherPage2", app.GetLangText("FormOtherBackup", "TabRestore", "Restore"));
    view.SetCaption(kExit, app.GetLangText("FormOtherBackup", "CmdExit", "&Exit"));
    view.SetColumns(kBackupList, {{app.GetLangText("FormOtherBackup", "LvwHeader1", "Items to Be Backed Up"),
                                   view.ListWidth(kBackupList)}});
    view.SetColumns(kRestoreList, {{app.GetLangText("FormOtherBackup", "LvwHeader2", "Items to Be Restored"),
                                    view.ListWidth(kRestoreList)}});
    view.ClearRows(kBackupList);
    for (PersonalItem item : AllItems())
        view.AddRow(kBackupList, {{ItemText(item)}, false, false});
    view.SetProgress(kBar, 0, 100);
    view.SetCaption(kLabel, "");
    tab = 0;
    view.SelectTab(kTabs, 0);
    view.SetCaption(kStart, app.GetLangText("FormOtherBackup", "CmdStartBackup", "&Start Backup"));
    view.SetCaption(kSelectAll, app.GetLangText("FormOtherBackup", "CmdSelectAll", "Select &All"));
    selectAll = true;
}

void PersonalPage::OnTabChange(int page) {
    if (running)
        return;
    tab = page;
    selectAll = true;
    view.SetCaption(kSelectAll, app.GetLangText("FormOtherBackup", "CmdSelectAll", "Select &All"));
    if (page == 0) {
        view.SetCaption(kStart, app.GetLangText("FormOtherBackup", "CmdStartBackup", "&Start Backup"));
        return;
    }
    view.SetCaption(kStart, app.GetLangText("FormOtherBackup", "CmdRestore", "&Start Restoration"));
    SettingsStore settings(app.platform.registry);
    std::string stored = settings.ReadSettingOr(kSetMoreBackupPath, "", kPathBufferChars);
    bool keep =
        !stored.empty() &&
        dialogs.MessageBox(app.GetLangText("FormOtherBackup", "MsgRestoreInfo1",
                                           "Vantrel detects that your backups are saved in") +
                               " '" + stored + "'. " +
                               app.GetLangText("FormOtherBackup", "MsgRestoreInfo2",
                                               "If not, please click No button and select other directory."),
                           kProductName, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes;
    if (keep) {
        restoreFolder = stored;
    } else {
        std::string chosen = stored;
        if (dialogs.BrowseForFolder(
                app.GetLangText("FormOtherBackup", "MsgRestoreFolder",
                                "Please select the directory where you haved saved your backups") +
                    ":",
                &chosen)) {
            restoreFolder = WithBackslash(chosen);
            settings.WriteSetting(kSetMoreBackupPath, restoreFolder);
        } else {
            restoreFolder.clear();
        }
    }
    settings.CloseSettingsKey();
    ListRestorable();
}

void PersonalPage::ListRestorable() {
    view.ClearRows(kRestoreList);
    restoreRows.clear();
    if (restoreFolder.empty())
        return;
    restoreRows = RestorableItems(app.platform.fs, restoreFolder);
    for (PersonalItem item : restoreRows)
        view.AddRow(kRestoreList, {{ItemText(item)}, false, false});
}

void PersonalPage::OnSelectAllClick() {
    std::string_view list = tab == 0 ? kBackupList : kRestoreList;
    for (int i = 0; i < view.RowCount(list); ++i)
        view.SetRowChecked(list, i, selectAll);
    selectAll = !selectAll;
    view.SetCaption(kSelectAll, selectAll
                                    ? app.GetLangText("FormOtherBackup", "CmdSelectAll", "Select &All")
                                    : app.GetLangText("FormOtherBackup", "CmdSelectNone", "Select &None"));
}

std::vector<PersonalItem> PersonalPage::Ticked(std::string_view list, const std::vector<PersonalItem>& rows) {
    std::vector<PersonalItem> ticked;
    for (int i = 0; i < view.RowCount(list) && i < static_cast<int>(rows.size()); ++i) {
        if (view.GetRow(list, i).checked)
            ticked.push_back(rows[static_cast<std::size_t>(i)]);
    }
    return ticked;
}

void PersonalPage::SetRunning(bool on) {
    running = on;
    for (const char* control : {kSelectAll, kExit, kBackupList, kRestoreList, kTabs})
        view.SetEnabled(control, !on);
}

void PersonalPage::ShowProgress(double percent) {
    percent = std::clamp(percent, 0.0, 100.0);
    char number[16];
    std::snprintf(number, sizeof number, "%.1f", percent);
    view.SetProgress(kBar, static_cast<int>(percent), 100);
    ShowLabel(number);
}

void PersonalPage::ShowLabel(const std::string& percent) {
    std::string text = app.GetLangText("FormOtherBackup", "StrCompleted", "Completed") + percent + "% ";
    if (!notSaved.empty()) {
        text += '(';
        text += app.GetLangText("FormOtherBackup", "MsgNotSaved", "not saved");
        text += ": ";
        for (std::size_t i = 0; i < notSaved.size(); ++i) {
            if (i > 0)
                text += ", ";
            text += notSaved[i];
        }
        text += ')';
    }
    view.SetCaption(kLabel, text);
}

void PersonalPage::OnStartClick() {
    if (running) {
        // Only a backup can be stopped; the click lands here while it pumps messages.
        if (tab == 0 &&
            dialogs.MessageBox(
                app.GetLangText("FormOtherBackup", "MsgStopBackup", "Do you really want to stop backup?"),
                kProductName, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes)
            stopRequested = true;
        return;
    }
    if (tab == 0)
        BackUp();
    else
        Restore();
}

void PersonalPage::BackUp() {
    std::vector<PersonalItem> items = Ticked(kBackupList, AllItems());
    if (items.empty()) {
        dialogs.MessageBox(app.GetLangText("FormOtherBackup", "MsgTip3",
                                           "Please select the items you want to back up at first."),
                           kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    SettingsStore settings(app.platform.registry);
    std::string folder = settings.ReadSettingOr(kSetMoreBackupPath, "", kPathBufferChars);
    if (!dialogs.BrowseForFolder(
            app.GetLangText("FormOtherBackup", "MsgBackupFolder",
                            "Please select the directory where you want to save your backup") +
                ":",
            &folder))
        return;
    folder = WithBackslash(folder);
    settings.WriteSetting(kSetMoreBackupPath, folder);
    int level = ZipLevelFromSetting(settings.ReadSettingOr(kSetCompressionLevel, "Medium"), 6);
    settings.CloseSettingsKey();

    notSaved.clear();
    stopRequested = false;
    ShowLabel("0");
    view.SetCaption(kStart, app.GetLangText("FormOtherBackup", "CmdStopBackup", "&Stop Backup"));
    SetRunning(true);
    RunProgress progress(*this);
    PersonalRunResult result = BackUpPersonalItems(app.platform, items, folder, level, transfer, progress);
    // An item that could not be packed at all is named like a file left out.
    for (PersonalItem item : result.failed)
        notSaved.push_back(ItemText(item));
    SetRunning(false);
    view.SetCaption(kStart, app.GetLangText("FormOtherBackup", "CmdStartBackup", "&Start Backup"));
    if (result.stopped) {
        dialogs.MessageBox(app.GetLangText("FormOtherBackup", "MsgBackupStopped", "Backup process stopped."),
                           kProductName, MsgButtons::Ok, MsgIcon::Information);
        return;
    }
    view.SetProgress(kBar, 100, 100);
    ShowLabel("100");
    dialogs.MessageBox(
        app.GetLangText("FormOtherBackup", "MsgBackupFinished", "Backup process finished successfully!"),
        kProductName, MsgButtons::Ok, MsgIcon::Information);
}

void PersonalPage::Restore() {
    std::vector<PersonalItem> items = Ticked(kRestoreList, restoreRows);
    if (items.empty()) {
        dialogs.MessageBox(
            app.GetLangText("FormOtherBackup", "MsgTip1",
                            "Please select the items you want to restore from backup at first."),
            kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    if (dialogs.MessageBox(
            app.GetLangText("FormOtherBackup", "MsgTip2",
                            "Backup will be restored to your machine. Do you want to continue?"),
            kProductName, MsgButtons::OkCancel, MsgIcon::Question) != MsgAnswer::Ok)
        return;
    notSaved.clear();
    stopRequested = false;
    SetRunning(true);
    RunProgress progress(*this);
    PersonalRunResult result = RestorePersonalItems(app.platform, items, restoreFolder, transfer, progress);
    for (PersonalItem item : result.failed)
        notSaved.push_back(ItemText(item));
    SetRunning(false);
    view.SetProgress(kBar, 100, 100);
    ShowLabel("100");
    dialogs.MessageBox(app.GetLangText("FormOtherBackup", "MsgRestoreFinished",
                                       "Restoration process finished successfully!"),
                       kProductName, MsgButtons::Ok, MsgIcon::Information);
}

} // namespace vantrel
