#include "restore/RestorePage.h"

#include "app/App.h"
#include "app/Dialogs.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "app/SystemServices.h"
#include "archive/ArchiveCallback.h"
#include "inventory/DriverRecord.h"
#include "inventory/Inventory.h"
#include "restore/RestoreCatalog.h"
#include "restore/RestoreCheck.h"
#include "restore/RestoreEngine.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kTabMain[] = "TabMain";
constexpr int kRestoreTab = 1;
constexpr char kList[] = "LvwRestore";
constexpr char kLog[] = "TxtRestore";
constexpr char kBar[] = "pgbarRestore";
constexpr char kBarLabel[] = "lblpgRestore";
constexpr char kSelectAll[] = "CmdSelectAllRestore";
constexpr char kTagSelectAll[] = "select all";
constexpr char kTagSelectNone[] = "select none";
constexpr char kTitle[] = "Vantrel";
constexpr char kMainSection[] = "FormMain";
// After an NT restoration the caption is looked up in this misspelt section, so the English
// text comes back whatever the language; older versions did so and users know it.
constexpr char kAfterNtRunSection[] = "ForMain";

// The unpacking's percentage in the log box.
class UnzipProgress : public ArchiveCallback {
public:
    UnzipProgress(View& view, std::string text, std::string completed)
        : view(view), text(std::move(text)), completed(std::move(completed)) {}
    void Progress(double percent) override {
        int shown = static_cast<int>(percent);
        if (shown == last)
            return;
        last = shown;
        view.SetText(kLog, "\r\n" + text + "... (" + std::to_string(shown) + "% " + completed + ")");
        view.PumpMessages();
    }

private:
    View& view;
    std::string text;
    std::string completed;
    int last = -1;
};

class ViewObserver : public RestoreObserver {
public:
    ViewObserver(View& view, std::string completed) : view(view), completed(std::move(completed)) {}
    void AppendLog(const std::string& text) override { view.AppendText(kLog, text); }
    void Progress(int percent) override {
        view.SetProgress(kBar, percent, 100);
        view.SetCaption(kBarLabel, std::to_string(percent) + "% " + completed);
    }
    void Pump() override { view.PumpMessages(); }

private:
    View& view;
    std::string completed;
};

} // namespace

ListRow MakeRestoreRow(const BackupEntry& entry, bool redAllowed) {
    ListRow row;
    row.cells = {Trim(entry.driverDesc), Trim(entry.className), Trim(entry.driverVersion),
                 Trim(entry.driverDate), Trim(entry.providerName)};
    row.red = redAllowed && !IsMicrosoftProvider(entry.providerName);
    return row;
}

std::string RestoreDetailsText(const App& app, const BackupEntry& entry) {
    auto lang = [&app](const char* key, const char* english) {
        return app.GetLangText("FormMain", key, english);
    };
    std::string text =
        entry.needRestore == "yes"
            ? lang("MsgRestoreInfo1", "Driver files of this device are not contained in Microsoft Windows "
                                      "operating system, so you should restore them from the backup.")
            : lang("MsgRestoreInfo2",
                   "Driver files of this device are contained in Microsoft Windows operating "
                   "system and are automatically installed when detected by it, so it is "
                   "NOT necessary to restore it.");
    text += "\r\n" + lang("StrDeviceID", "Device ID") + ": " + entry.matchingDeviceId;
    text += "\r\n" + lang("StrBackupTime", "Backup Time") + ": " + entry.backupTime;
    // The Backup tab's details use the same key with a longer default; a language file's
    // text serves both.
    static constexpr char kFileNumKey[] = "StrFileNum";
    text += "\r\n" + lang(kFileNumKey, "Driver Files Number") + ": " + entry.fileNum;
    return text;
}

RestorePage::RestorePage(App& app, View& view, Dialogs& dialogs, MainPage& mainPage)
    : app(app), view(view), dialogs(dialogs), mainPage(mainPage) {}

std::string RestorePage::Lang(const char* key, const char* english) const {
    return app.GetLangText(kMainSection, key, english);
}

bool RestorePage::HandleCommand(std::string_view control) {
    bool ours = control == "MnuRstFolder" || control == "MnuRstZip" || control == "MnuRstSfx" ||
                control == kMnuRstNeeded || control == kSelectAll || control == "CmdRestore";
    // A click that arrives while the run lets messages through waits for the run to end.
    if (!ours || running)
        return ours;
    if (control == "MnuRstFolder")
        RestoreFromFolder();
    else if (control == "MnuRstZip")
        RestoreFromArchive(false);
    else if (control == "MnuRstSfx")
        RestoreFromArchive(true);
    else if (control == kMnuRstNeeded)
        ShowNeededOnly(!neededOnly);
    else if (control == kSelectAll)
        ToggleSelectAll();
    else
        OnRestoreClick();
    return true;
}

bool RestorePage::OnColumnClick(std::string_view list, int column) {
    if (list != kList)
        return false;
    if (running)
        return true;
    sort.Click(view, kList, column);
    return true;
}

bool RestorePage::OnRowClick(std::string_view list, int row) {
    if (list != kList)
        return false;
    if (running || row < 0 || row >= view.RowCount(kList))
        return true;
    ListRow clicked = view.GetRow(kList, row);
    std::string desc = clicked.cells.empty() ? std::string() : clicked.cells[0];
    for (std::size_t i = 0; i < catalog.size(); ++i) {
        if (Trim(catalog[i].driverDesc) == desc) {
            shown = Shown::Details;
            shownEntry = static_cast<int>(i);
            view.SetText(kLog, RestoreDetailsText(app, catalog[i]));
            break;
        }
    }
    return true;
}

void RestorePage::OnLanguageApplied() {
    if (running)
        return;
    if (shown == Shown::Tip)
        ShowTip();
    else if (shown == Shown::Details && shownEntry >= 0 && shownEntry < static_cast<int>(catalog.size()))
        view.SetText(kLog, RestoreDetailsText(app, catalog[static_cast<std::size_t>(shownEntry)]));
    view.SetMenuChecked(kMnuRstNeeded, neededOnly);
}

void RestorePage::ResetSelectAll(const char* section) {
    mainPage.SetTag(kSelectAll, kTagSelectAll);
    view.SetCaption(kSelectAll, app.GetLangText(section, "CmdSelectAll", "Select &All"));
}

void RestorePage::StartList() {
    view.SelectTab(kTabMain, kRestoreTab);
    ResetSelectAll(kMainSection);
    catalog.clear();
    view.ClearRows(kList);
    shown = Shown::Nothing;
    shownEntry = -1;
}

void RestorePage::RestoreFromFolder() {
    std::string folder;
    {
        SettingsStore settings(app.platform.registry);
        folder = settings.ReadSettingOr(kSetBackupPath, "", kPathBufferChars);
    }
    bool detected = false;
    if (!folder.empty()) {
        std::string question =
            Lang("MsgRestoreInfo3", "Vantrel detects that drivers backup was saved in") + " '" + folder +
            "'. " + Lang("MsgRestoreInfo4", "If not, please click No button and select other directory.");
        detected =
            dialogs.MessageBox(question, kTitle, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes;
    }
    if (!detected) {
        folder.clear();
        if (!dialogs.BrowseForFolder(Lang("MsgSelectRestoreFolder",
                                          "Please select the directory where you saved backup of your device "
                                          "drivers") +
                                         ":",
                                     &folder))
            return;
        folder = Trim(folder.substr(0, folder.find('\0')));
        if (folder.size() > 1 && folder.back() == '\\')
            folder.pop_back();
    }
    StartList();
    catalog = ScanBackupFolder(app.platform, folder);
    neededOnly = false;
    FillList();
}

void RestorePage::RestoreFromArchive(bool sfx) {
    std::string path = sfx ? "MyDrivers.exe" : "MyDrivers.zip";
    std::string title = sfx ? Lang("MsgRestoreInfo6", "Select Driver Backup Self-Extractor")
                            : Lang("MsgRestore7", "Select Compressed Driver Backup File");
    std::string filter = sfx ? Lang("StrSelfExtractor", "Self-Extractor File") + "(*.exe)| *.exe"
                             : Lang("StrDrvBackupFile", "Driver Backup File") + "(*.zip)| *.zip";
    if (!dialogs.OpenFile(title, filter, &path))
        return;
    StartList();
    view.SetText(kLog, "");
    UnzipProgress progress(view,
                           Lang("MsgUnzip", "Decompressing the driver backup file, please wait patiently"),
                           Lang("StrCompleted", "Completed"));
    CatalogResult result = LoadRestoreCatalog(app.platform, path, &progress);
    if (result.entries.empty()) {
        dialogs.MessageBox(
            Lang("MsgRegsoreInfo5", "This is a wrong driver backup file, please select the right one."),
            kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    catalog = std::move(result.entries);
    neededOnly = false;
    FillList();
    // Entries the safe unpacking refused are named rather than silently missing.
    for (const auto& refused : result.refused)
        view.AppendText(kLog, "\r\n" + refused);
}

void RestorePage::ShowNeededOnly(bool needed) {
    neededOnly = needed;
    ResetSelectAll(kMainSection);
    FillList();
}

void RestorePage::FillList() {
    view.ClearRows(kList);
    for (const auto& entry : catalog) {
        if (neededOnly && IsMicrosoftProvider(entry.providerName))
            continue;
        view.AddRow(kList, MakeRestoreRow(entry, !neededOnly));
    }
    view.SetMenuChecked(kMnuRstNeeded, neededOnly);
    ShowTip();
}

void RestorePage::ShowTip() {
    shown = Shown::Tip;
    if (!neededOnly) {
        view.SetText(kLog,
                     Lang("MsgRestoreTip4",
                          "The above is all the device drivers you have backed up, the red ones are not "
                          "contained in Microsoft Windows, so you should restore them if necessary. The "
                          "others are packaged within Windows operating system and are automatically "
                          "installed when detected by it; therefore it is NOT necessary to restore them."));
        return;
    }
    view.SetText(kLog,
                 Lang("MsgRestoreTip5", "The above is all the Non-Microsoft device drivers you have backed "
                                        "up. Please select those you want to restore and click the Start "
                                        "Restoration button.") +
                     "\r\n" +
                     Lang("MsgRestoreTip6", "To show all device drivers you have backed up, please click "
                                            "Restore/Show All Backed-Up Drivers in the toolbar."));
}

void RestorePage::ToggleSelectAll() {
    bool selectAll = mainPage.Tag(kSelectAll) != kTagSelectNone;
    int rows = view.RowCount(kList);
    for (int i = 0; i < rows; ++i)
        view.SetRowChecked(kList, i, selectAll);
    if (selectAll) {
        mainPage.SetTag(kSelectAll, kTagSelectNone);
        view.SetCaption(kSelectAll, Lang("CmdSelectNone", "Select &None"));
    } else {
        ResetSelectAll(kMainSection);
    }
}

std::vector<BackupEntry> RestorePage::CheckedEntries() {
    std::vector<BackupEntry> entries;
    std::vector<bool> used(catalog.size(), false);
    int rows = view.RowCount(kList);
    for (int row = 0; row < rows; ++row) {
        ListRow listed = view.GetRow(kList, row);
        if (!listed.checked || listed.cells.empty())
            continue;
        // Rows are tied to entries by their description; equal descriptions take the
        // entries in catalogue order.
        for (std::size_t i = 0; i < catalog.size(); ++i) {
            if (!used[i] && Trim(catalog[i].driverDesc) == listed.cells[0]) {
                used[i] = true;
                entries.push_back(catalog[i]);
                break;
            }
        }
    }
    return entries;
}

void RestorePage::OnRestoreClick() {
    std::vector<BackupEntry> checked = CheckedEntries();
    if (checked.empty()) {
        dialogs.MessageBox(Lang("MsgSelectDriversToRestore",
                                "Please select the device drivers you want to restore at first"),
                           kTitle, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    if (dialogs.MessageBox(
            Lang("MsgRestoreTip1",
                 "Driver restoration process will start, during the restoration process the "
                 "computer may seem to have no response, please don't interrupt it. Do you want "
                 "to continue?"),
            kTitle, MsgButtons::OkCancel, MsgIcon::Question) != MsgAnswer::Ok)
        return;

    bool rebootWithoutAsking = false;
    {
        SettingsStore settings(app.platform.registry);
        // The prompt answerer the setting asks for is not carried: Windows' own prompts show.
        if (!settings.ReadSetting(kSetRestoreAlert, kOptionBufferChars))
            settings.WriteSetting(kSetRestoreAlert, "1");
        std::optional<std::string> reboot = settings.ReadSetting(kSetRestoreReboot, kOptionBufferChars);
        if (!reboot)
            settings.WriteSetting(kSetRestoreReboot, "0");
        else
            rebootWithoutAsking = *reboot != "0";
    }
    std::string completed = Lang("StrCompleted", "Completed");
    running = true;
    view.SetProgress(kBar, 0, 100);
    view.SetVisible(kBarLabel, true);
    view.SetCaption(kBarLabel, "0% " + completed);
    view.SetText(kLog, "");

    ViewObserver observer(view, completed);
    RestoreEngine engine(app, observer);
    bool nt = IsNtFamily(app.platform);
    if (nt) {
        LogResults(engine.RunNt(checked));
    } else {
        dialogs.MessageBox(Restore98AdviceText(), kRestore98AdviceTitle, MsgButtons::Ok,
                           MsgIcon::Information);
        engine.Run98(checked);
    }

    view.SetProgress(kBar, 100, 100);
    view.SetCaption(kBarLabel, "100% " + completed);
    ResetSelectAll(nt ? kAfterNtRunSection : kMainSection);
    running = false;
    if (rebootWithoutAsking) {
        RebootWindows(app, dialogs, true);
        return;
    }
    if (dialogs.MessageBox(Lang("MsgRestoreFinished",
                                "Driver restoration finished and system settings changed, "
                                "you should reboot your machine. Do you want to reboot it now?"),
                           kTitle, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes)
        RebootWindows(app, dialogs, true);
}

void RestorePage::LogResults(const std::vector<RestoreOutcome>& outcomes) {
    view.AppendText(kLog, FormatRestoreResults(app, CheckRestoreResults(app.platform, outcomes)));
}

} // namespace vantrel
