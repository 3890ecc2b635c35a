// The behaviour of the main window: loading, language switching, the command row and the
// hand-over of every other event to the parts (tab pages) that subsystems add.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class App;
class Dialogs;
class TabPage;
class View;

// The main menu in order. level 0: a menu-bar entry; 1: an item of it; 2: an item of the
// sub-menu above it (the languages). The window builds the same menu from its resources.
struct MenuEntry {
    std::string name;
    std::string caption;
    int level;
};
const std::vector<MenuEntry>& MainMenu();

// The languages of the Language menu, in menu order; each item is "MnuLan" + name.
inline constexpr const char* kMenuLanguages[] = {
    "Arabic",    "Bulgarian", "Czech",  "Dutch",  "English",    "French",  "German",  "Hebrew",
    "Hungarian", "Italian",   "Korean", "Polish", "Portuguese", "Spanish", "Turkish", "Ukrainian",
};
// Reachable only as a command: the menu has no item for it.
inline constexpr char kHiddenLanguage[] = "Russian";

// Controls whose caption the window is created with (the English designer texts).
struct DesignerCaption {
    const char* control;
    const char* caption;
};
const std::vector<DesignerCaption>& DesignerCaptions();

// A caption that a language switch re-texts: GetLangText(section, key, current caption).
struct LangCaption {
    const char* control;
    const char* section;
    const char* key;
};
const std::vector<LangCaption>& LanguageCaptions();

// A list and the language keys of its translated column headers ("LvwHeader1", ...).
struct LangColumns {
    const char* list;
    const char* section;
    int count;
};
const std::vector<LangColumns>& LanguageColumns();

// The operating-system choices of the Update tab, in order.
const std::vector<std::string>& OsChoices();

// Columns of Lvw, LvwRestore and LvwUninstall: (W*k) div 22 for k = 8, 4, 3, 3, and the
// rest of the width for the fifth. The five do not always add up to W; that is kept.
std::vector<int> DriverListColumnWidths(int width);
// Columns of LvwUpdate: four fifths for the description, the rest for the class.
std::vector<int> UpdateListColumnWidths(int width);

inline constexpr char kHelpWindowTitle[] = "Help of Vantrel";

class MainPage {
public:
    MainPage(App& app, View& view, Dialogs& dialogs);

    // Parts get every command, click and language change the page does not handle itself,
    // in the order they were added. The page does not own them.
    void AddPart(TabPage& part);

    // The window has been created with its designer captions and is not shown yet.
    void Load();
    // Switches to Language\<languageName>.ini and re-texts the window; a missing file
    // only shows a message.
    void ApplyLanguage(const std::string& languageName);

    // A menu item or button by control name. False when nobody handled it.
    bool HandleCommand(std::string_view control);
    bool OnColumnClick(std::string_view list, int column);
    bool OnRowClick(std::string_view list, int row);

    // The one-shot timer enabled at the end of Load.
    void OnTimer1();
    void SetStartupCheck(std::function<void()> check) { startupCheck = std::move(check); }

    // Whether the window may close now; every part is asked.
    bool QueryClose();
    // Closes the help viewer if this run opened it.
    void Unload();
    void RememberHelpWindow(std::uintptr_t window) { helpWindow = window; }

    // State words of buttons ("start backup", "select all"), kept here for the parts.
    std::string Tag(std::string_view control) const;
    void SetTag(std::string_view control, std::string tag);

private:
    bool Dispatch(std::string_view command);
    void RestoreDrivers();

    App& app;
    View& view;
    Dialogs& dialogs;
    std::vector<TabPage*> parts;
    std::map<std::string, std::string, std::less<>> tags;
    std::function<void()> startupCheck;
    bool timerFired = false;
    std::uintptr_t helpWindow = 0;
};

} // namespace vantrel
