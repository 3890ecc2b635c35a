#include "app/MainPage.h"

#include "app/App.h"
#include "app/Dialogs.h"
#include "app/Settings.h"
#include "app/TabPage.h"
#include "app/View.h"
#include "platform/FileSystem.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kTabMain[] = "TabMain";
constexpr char kTimer1[] = "Timer1";
constexpr char kLanguageItemPrefix[] = "MnuLan";
// The test of the language walk, exactly as the program has always had it: it matches no
// item, and the language items keep their captions only because no file has keys for them.
constexpr char kSkipMenuText[] = "MunLan";
// Each post only asks; a viewer that will not close must not hold the exit up for ever.
constexpr int kMaxClosePosts = 100;

std::vector<ListColumn> MakeColumns(const std::vector<const char*>& headers, const std::vector<int>& widths) {
    std::vector<ListColumn> columns;
    for (std::size_t i = 0; i < headers.size(); ++i)
        columns.push_back({headers[i], widths[i]});
    return columns;
}

const std::vector<const char*> kDriverListHeaders = {"Driver Description", "Class", "Version", "Date",
                                                     "Provider"};
const std::vector<const char*> kUpdateListHeaders = {"Driver Description", "Class"};

} // namespace

const std::vector<MenuEntry>& MainMenu() {
    static const std::vector<MenuEntry> menu = [] {
        std::vector<MenuEntry> entries = {
            {"MnuDrvBck", "Driver &Backup", 0},
            {"MnuBckAll", "Search &All Drivers", 1},
            {"MnuBckNeeded", "Search &Non-Microsoft Drivers", 1},
            {"MnuRst", "Driver &Restoration", 0},
            {"MnuRstFolder", "Restore From &Folder...", 1},
            {"MnuRstZip", "Restore From &Compressed File...", 1},
            {"MnuRstSfx", "Restore From &Self-Extractor...", 1},
            {"MnuRstNeeded", "Show Only Drivers That &Need Restoring", 1},
            {"MnuUp", "&Update", 0},
            {"MnuUpdate", "Driver &Update", 1},
            {"MnuLiveupdate", "Database &LiveUpdate", 1},
            {"MnuTool", "&Tools", 0},
            {"MnuOptions", "&Options", 1},
            {"MnuRemoveDriver", "&Uninstall Drivers", 1},
            {"MnuDetectUnknown", "&Detect Unknown Devices", 1},
            {"MnuMorebackup", "&More Backup And Restoration", 1},
            {"MnuLanguage", "&Language", 1},
        };
        for (const char* language : kMenuLanguages)
            entries.push_back({std::string(kLanguageItemPrefix) + language, language, 2});
        entries.insert(entries.end(), {
                                          {"MnuHelps", "&Help", 0},
                                          {"MnuHelp", "&Contents", 1},
                                          {"MnuHomepage", "&Homepage", 1},
                                          {"MnuAbout", "&About", 1},
                                      });
        return entries;
    }();
    return menu;
}

const std::vector<DesignerCaption>& DesignerCaptions() {
    static const std::vector<DesignerCaption> captions = {
        {"FrmMain", "Vantrel V6.5"},
        {"TabControlPage1", "Backup"},
        {"TabControlPage2", "Restore"},
        {"TabControlPage3", "Update"},
        {"TabControlPage4", "Uninstall"},
        {"CmdBackupDrivers", "Back Up Drivers"},
        {"CmdRestoreDrivers", "Restore Drivers"},
        {"CmdUpdateDrivers", "Update Drivers"},
        {"CmdUninstallDrivers", "Uninstall Drivers"},
        {"CmdLiveUpdate", "LiveUpdate"},
        {"CmdOptions", "Options"},
        {"LblDriverBackup", "Driver Backup"},
        {"CmdBackup", "&Start Backup"},
        {"CmdSelectAll", "Select &All"},
        {"lblpg", "100% Completed"},
        {"LblDriverRestoration", "Driver Restoration"},
        {"CmdRestore", "&Start Restoration"},
        {"CmdSelectAllRestore", "Select &All"},
        {"LblDriverUpdate", "Driver Update"},
        {"LblOS", "Operating System:"},
        {"BtnDownload", "&Download"},
        {"BtnHide", "&Hide"},
        {"LblDriverRemoval", "Driver Removal"},
        {"CmdRemove", "&Uninstall"},
        {"TxtRemove", "Please select device drivers you want to remove, then click \"Uninstall\" button."},
    };
    return captions;
}

const std::vector<LangCaption>& LanguageCaptions() {
    // The window title and the tab pages are not in the designer's list of re-texted
    // controls, but a language that left them English would look broken.
    static const std::vector<LangCaption> captions = {
        {"FrmMain", "FormMain", "Caption"},
        {"TabControlPage1", "FormMain", "TabControlPage1"},
        {"TabControlPage2", "FormMain", "TabControlPage2"},
        {"TabControlPage3", "FormMain", "TabControlPage3"},
        {"TabControlPage4", "FormMain", "TabControlPage4"},
        {"CmdBackupDrivers", "FormMain", "CmdBackupDrivers"},
        {"CmdRestoreDrivers", "FormMain", "CmdRestoreDrivers"},
        {"CmdUpdateDrivers", "FormMain", "CmdUpdateDrivers"},
        {"CmdUninstallDrivers", "FormMain", "CmdUninstallDrivers"},
        {"CmdLiveUpdate", "FormMain", "CmdLiveUpdate"},
        {"CmdOptions", "FormMain", "CmdOptions"},
        {"LblDriverBackup", "FormMain", "LblDriverBackup"},
        {"LblDriverRestoration", "FormMain", "LblDriverRestoration"},
        {"LblDriverUpdate", "FormMain", "LblDriverUpdate"},
        {"LblDriverRemoval", "FormMain", "LblDriverRemoval"},
        {"CmdBackup", "FormMain", "CmdStartBackup"},
        {"CmdSelectAll", "FormMain", "CmdSelectAll"},
        {"CmdRestore", "FormMain", "CmdRestore"},
        {"CmdSelectAllRestore", "FormMain", "CmdSelectAll"},
        {"LblOS", "FormUpdate", "LblOS"},
        {"BtnDownload", "FormUpdate", "CmdDownload"},
        {"BtnHide", "FormUpdate", "CmdHide"},
        {"CmdRemove", "FormRemove", "CmdUninstall"},
    };
    return captions;
}

const std::vector<LangColumns>& LanguageColumns() {
    static const std::vector<LangColumns> columns = {
        {"Lvw", "FormMain", 5},
        {"LvwRestore", "FormMain", 5},
        {"LvwUpdate", "FormUpdate", 2},
        {"LvwUninstall", "FormRemove", 5},
    };
    return columns;
}

const std::vector<std::string>& OsChoices() {
    static const std::vector<std::string> choices = {
        "Windows 98",       "Windows ME",       "Windows 2000",      "Windows XP x86",    "Windows XP x64",
        "Windows 2003 x86", "Windows 2003 x64", "Windows Vista x86", "Windows Vista x64", "Windows 7 x86",
        "Windows 7 x64",    "Windows 8 x86",    "Windows 8 x64",     "Windows 8.1 x86",   "Windows 8.1 x64",
        "Windows 10 x86",   "Windows 10 x64",   "Windows 11",
    };
    return choices;
}

std::vector<int> DriverListColumnWidths(int width) {
    auto part = [width](int k) { return width * k / 22; };
    return {part(8), part(4), part(3), part(3), width - part(18)};
}

std::vector<int> UpdateListColumnWidths(int width) {
    int first = width * 4 / 5;
    return {first, width - first};
}

MainPage::MainPage(App& app, View& view, Dialogs& dialogs) : app(app), view(view), dialogs(dialogs) {}

void MainPage::AddPart(TabPage& part) {
    parts.push_back(&part);
}

void MainPage::Load() {
    app.appPath = ComputeAppPath(app.platform);
    view.SelectTab(kTabMain, 0);

    auto driverColumns = [this](const char* list) {
        view.SetColumns(list, MakeColumns(kDriverListHeaders, DriverListColumnWidths(view.ListWidth(list))));
    };
    driverColumns("Lvw");
    driverColumns("LvwRestore");
    view.SetComboItems("CmbOS", OsChoices());
    view.SetColumns("LvwUpdate",
                    MakeColumns(kUpdateListHeaders, UpdateListColumnWidths(view.ListWidth("LvwUpdate"))));
    driverColumns("LvwUninstall");

    SettingsStore settings(app.platform.registry);
    std::string language = settings.ReadSettingOr(kSetLanguage, "English", kLanguageBufferChars);
    settings.CloseSettingsKey();
    ApplyLanguage(language);
    Dispatch("MnuBckNeeded");

    view.SetEnabled(kTimer1, true);
}

void MainPage::ApplyLanguage(const std::string& languageName) {
    SettingsStore settings(app.platform.registry);
    std::string oldLanguage = settings.ReadSettingOr(kSetLanguage, "", kLanguageBufferChars);

    std::string file = app.appPath + "Language\\" + languageName + ".ini";
    if (!app.platform.fs.Exists(file)) {
        dialogs.MessageBox(app.GetLangText("FormMain", "MsgLangLost",
                                           "The selected language file doesn't exist, please re-install "
                                           "the software."),
                           kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    app.languageFile = file;
    settings.WriteSetting(kSetLanguage, languageName);
    settings.CloseSettingsKey();

    std::vector<std::string> items = view.MenuItemNames();
    for (const auto& item : items) {
        std::string caption = view.GetMenuCaption(item);
        if (caption == oldLanguage)
            view.SetMenuChecked(item, false);
        if (caption == languageName)
            view.SetMenuChecked(item, true);
    }
    for (const auto& item : items) {
        if (item.find(kSkipMenuText) == std::string::npos)
            view.SetMenuCaption(item, app.GetLangText("FormMain", item, view.GetMenuCaption(item)));
    }

    for (const auto& caption : LanguageCaptions()) {
        std::string current = view.GetCaption(caption.control);
        if (std::string_view(caption.control) == "LblOS") {
            // The colon is added after the lookup; without it in the default a file that
            // lacks the key would grow one more colon on every switch.
            if (!current.empty() && current.back() == ':')
                current.pop_back();
            view.SetCaption(caption.control, app.GetLangText(caption.section, caption.key, current) + ":");
        } else {
            view.SetCaption(caption.control, app.GetLangText(caption.section, caption.key, current));
        }
    }
    SetTag("CmdBackup", "start backup");
    SetTag("CmdSelectAll", "select all");
    SetTag("CmdSelectAllRestore", "select all");

    for (const auto& list : LanguageColumns()) {
        std::vector<ListColumn> columns = view.GetColumns(list.list);
        for (int i = 0; i < list.count && i < static_cast<int>(columns.size()); ++i) {
            std::string key = "LvwHeader" + std::to_string(i + 1);
            view.SetColumnHeader(list.list, i, app.GetLangText(list.section, key, columns[i].header));
        }
    }

    for (TabPage* part : parts)
        part->OnLanguageApplied();
}

bool MainPage::HandleCommand(std::string_view control) {
    // The command row runs the menu commands.
    static const std::map<std::string_view, std::string_view> commandRow = {
        {"CmdBackupDrivers", "MnuBckNeeded"},
        {"CmdUpdateDrivers", "MnuUpdate"},
        {"CmdUninstallDrivers", "MnuRemoveDriver"},
        {"CmdLiveUpdate", "MnuLiveupdate"},
        {"CmdOptions", "MnuOptions"},
    };
    if (control == "CmdRestoreDrivers") {
        RestoreDrivers();
        return true;
    }
    auto row = commandRow.find(control);
    if (row != commandRow.end()) {
        Dispatch(row->second);
        return true;
    }
    return Dispatch(control);
}

void MainPage::RestoreDrivers() {
    SettingsStore settings(app.platform.registry);
    std::string option = settings.ReadSettingOr(kSetRestorationOption, "RstFolder");
    settings.CloseSettingsKey();
    // Any other word chooses nothing.
    if (option == "RstFolder" || option == "RstZip" || option == "RstSfx")
        Dispatch("Mnu" + option);
}

bool MainPage::Dispatch(std::string_view command) {
    if (command.starts_with(kLanguageItemPrefix) && command != "MnuLanguage") {
        std::string_view language = command.substr(std::size(kLanguageItemPrefix) - 1);
        bool known = language == kHiddenLanguage;
        for (const char* menuLanguage : kMenuLanguages)
            known = known || language == menuLanguage;
        if (known) {
            ApplyLanguage(std::string(language));
            return true;
        }
    }
    for (TabPage* part : parts) {
        if (part->HandleCommand(command))
            return true;
    }
    return false;
}

bool MainPage::OnColumnClick(std::string_view list, int column) {
    for (TabPage* part : parts) {
        if (part->OnColumnClick(list, column))
            return true;
    }
    return false;
}

bool MainPage::OnRowClick(std::string_view list, int row) {
    for (TabPage* part : parts) {
        if (part->OnRowClick(list, row))
            return true;
    }
    return false;
}

void MainPage::OnTimer1() {
    view.SetEnabled(kTimer1, false);
    if (timerFired)
        return;
    timerFired = true;
    if (startupCheck)
        startupCheck();
}

bool MainPage::QueryClose() {
    bool close = true;
    for (TabPage* part : parts)
        close = part->QueryClose() && close;
    return close;
}

void MainPage::Unload() {
    if (helpWindow == 0)
        return;
    for (int i = 0; i < kMaxClosePosts && view.FindTopLevelWindow(kHelpWindowTitle) == helpWindow; ++i)
        view.PostClose(helpWindow);
}

std::string MainPage::Tag(std::string_view control) const {
    auto it = tags.find(control);
    return it == tags.end() ? std::string() : it->second;
}

void MainPage::SetTag(std::string_view control, std::string tag) {
    auto it = tags.find(control);
    if (it == tags.end())
        tags.emplace(std::string(control), std::move(tag));
    else
        it->second = std::move(tag);
}

} // namespace vantrel
