// The Restore tab: choosing a backup (folder, compressed file, self-extractor), the list of
// backed-up drivers in its two views, the details of a clicked driver, Select All/None and the
// restoration run with its log, bar, result lines and reboot question.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "app/TabPage.h"
#include "app/View.h"
#include "backup/BackupInfo.h"

namespace vantrel {

class App;
class Dialogs;
class MainPage;
struct RestoreOutcome;

// Switches the list between all backed-up drivers and those that need restoring.
inline constexpr char kMnuRstNeeded[] = "MnuRstNeeded";

// The row of a catalogue entry: description, class, version, date, provider, trimmed; red
// when the driver does not ship with Windows and redAllowed.
ListRow MakeRestoreRow(const BackupEntry& entry, bool redAllowed);
// The text the box shows for a clicked entry.
std::string RestoreDetailsText(const App& app, const BackupEntry& entry);

class RestorePage : public TabPage {
public:
    RestorePage(App& app, View& view, Dialogs& dialogs, MainPage& mainPage);

    void RestoreFromFolder();
    // sfx: a self-extractor (or auto-setup package) rather than a zip.
    void RestoreFromArchive(bool sfx);
    void ShowNeededOnly(bool neededOnly);
    void ToggleSelectAll();
    void OnRestoreClick();

    const std::vector<BackupEntry>& Catalog() const { return catalog; }
    bool Running() const { return running; }

    bool HandleCommand(std::string_view control) override;
    bool OnColumnClick(std::string_view list, int column) override;
    bool OnRowClick(std::string_view list, int row) override;
    void OnLanguageApplied() override;
    // No stop exists for a restoration: the window stays until it has ended.
    bool QueryClose() override { return !running; }

private:
    enum class Shown { Nothing, Tip, Details };

    std::string Lang(const char* key, const char* english) const;
    void StartList(); // the Restore tab, Select All reset, nothing listed
    void FillList();
    void ShowTip();
    void ResetSelectAll(const char* section);
    // The checked rows' entries, in row order.
    std::vector<BackupEntry> CheckedEntries();
    void LogResults(const std::vector<RestoreOutcome>& outcomes);

    App& app;
    View& view;
    Dialogs& dialogs;
    MainPage& mainPage;
    std::vector<BackupEntry> catalog;
    bool neededOnly = false;
    bool running = false;
    ListSort sort;
    Shown shown = Shown::Nothing;
    int shownEntry = -1;
};

} // namespace vantrel
