// The options dialog: backup target kind, restore source kind, compression level and the
// two restore switches, read from the settings when it opens and written on OK.
#pragma once

#include <string>
#include <string_view>

namespace vantrel {

class App;
class View;

// The five settings as the dialog edits them; any stored text that is not one of the
// dialog's words is shown (and so saved) as its first-run default.
struct OptionValues {
    std::string backupOption = "BckFolder";
    std::string restorationOption = "RstFolder";
    std::string compressionLevel = "Medium";
    std::string restoreAlert = "1";
    std::string restoreReboot = "0";
};

// The words each setting takes, in the order of the dialog's controls.
inline constexpr const char* kBackupOptions[] = {"BckFolder", "BckZip", "BckSfx", "BckAutoEXE"};
inline constexpr const char* kRestorationOptions[] = {"RstFolder", "RstZip", "RstSfx"};
inline constexpr const char* kCompressionLevels[] = {"None", "Low", "Medium", "High"};

// Reads the five settings; an unreadable one gets its default written back, one that is
// not a word of the dialog is replaced by its default (in the result only).
OptionValues ReadOptionValues(App& app);
// Writes the five settings in the order of the first-run set.
bool WriteOptionValues(App& app, const OptionValues& values);
// Checks one "NAME=VALUE" change against the dialog's words (names as stored, case as
// given); false with *error set when the name or the word is not one of the dialog's.
bool ApplyOptionChange(OptionValues* values, std::string_view assignment, std::string* error);

class OptionsPage {
public:
    OptionsPage(App& app, View& view) : app(app), view(view) {}

    // Captions from the language file, then the stored settings shown.
    void Load();
    // A click on an option button, a check box (with its new state), OK or Cancel.
    void OnClick(std::string_view control, bool checked = true);
    // OK or Cancel was pressed: the window closes.
    bool Done() const { return done; }
    const OptionValues& Pending() const { return pending; }

private:
    void ShowLevelEnabled();

    App& app;
    View& view;
    OptionValues pending;
    int level = 2; // the combo's position
    bool done = false;
};

} // namespace vantrel
