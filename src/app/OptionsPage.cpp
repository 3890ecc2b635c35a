#include "app/OptionsPage.h"

#include <iterator>

#include "app/App.h"
#include "app/Settings.h"
#include "app/View.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kLevelCombo[] = "CboLevel";

// Option buttons in the order of their words.
constexpr const char* kBackupButtons[] = {"OptBckFolder", "OptBckZip", "OptBckSfx", "OptBckAutoEXE"};
constexpr const char* kRestoreButtons[] = {"OptRstFolder", "OptRstZip", "OptRstSfx"};

template <std::size_t N> int IndexOf(const char* const (&words)[N], std::string_view word) {
    for (std::size_t i = 0; i < N; ++i) {
        if (word == words[i])
            return static_cast<int>(i);
    }
    return -1;
}

template <std::size_t N> int IndexOfNoCase(const char* const (&words)[N], std::string_view word) {
    for (std::size_t i = 0; i < N; ++i) {
        if (EqualsNoCase(word, words[i]))
            return static_cast<int>(i);
    }
    return -1;
}

struct Field {
    const char* name;
    std::string OptionValues::*value;
};
constexpr Field kFields[] = {
    {kSetBackupOption, &OptionValues::backupOption},
    {kSetRestorationOption, &OptionValues::restorationOption},
    {kSetCompressionLevel, &OptionValues::compressionLevel},
    {kSetRestoreAlert, &OptionValues::restoreAlert},
    {kSetRestoreReboot, &OptionValues::restoreReboot},
};

bool IsFlag(std::string_view text) {
    return text == "0" || text == "1";
}

} // namespace

OptionValues ReadOptionValues(App& app) {
    OptionValues values;
    const OptionValues defaults;
    SettingsStore settings(app.platform.registry);
    for (const Field& field : kFields) {
        auto stored = settings.ReadSetting(field.name, kOptionBufferChars);
        if (!stored)
            settings.WriteSetting(field.name, defaults.*field.value);
        else
            values.*field.value = *stored;
    }
    settings.CloseSettingsKey();
    if (IndexOf(kBackupOptions, values.backupOption) < 0)
        values.backupOption = defaults.backupOption;
    if (IndexOf(kRestorationOptions, values.restorationOption) < 0)
        values.restorationOption = defaults.restorationOption;
    if (IndexOf(kCompressionLevels, values.compressionLevel) < 0)
        values.compressionLevel = defaults.compressionLevel;
    if (!IsFlag(values.restoreAlert))
        values.restoreAlert = defaults.restoreAlert;
    if (!IsFlag(values.restoreReboot))
        values.restoreReboot = defaults.restoreReboot;
    return values;
}

bool WriteOptionValues(App& app, const OptionValues& values) {
    SettingsStore settings(app.platform.registry);
    bool ok = true;
    for (const Field& field : kFields)
        ok = settings.WriteSetting(field.name, values.*field.value) && ok;
    settings.CloseSettingsKey();
    return ok;
}

bool ApplyOptionChange(OptionValues* values, std::string_view assignment, std::string* error) {
    auto equals = assignment.find('=');
    if (equals == std::string_view::npos) {
        *error = "expected NAME=VALUE, got \"" + std::string(assignment) + "\"";
        return false;
    }
    std::string name = Trim(assignment.substr(0, equals));
    std::string word = Trim(assignment.substr(equals + 1));
    int index = -1;
    std::string allowed;
    auto pick = [&](const auto& words) {
        index = IndexOfNoCase(words, word);
        for (const char* w : words) {
            if (!allowed.empty())
                allowed += ", ";
            allowed += w;
        }
        return index < 0 ? std::string() : std::string(words[index]);
    };
    static constexpr const char* kFlags[] = {"0", "1"};
    std::string canonical;
    const Field* field = nullptr;
    for (const Field& f : kFields) {
        if (EqualsNoCase(name, f.name))
            field = &f;
    }
    if (field == nullptr) {
        *error =
            "unknown setting \"" + name +
            "\" (one of: Backup option, restoration option, CompressionLevel, RestoreAlert, RestoreReboot)";
        return false;
    }
    if (field->value == &OptionValues::backupOption)
        canonical = pick(kBackupOptions);
    else if (field->value == &OptionValues::restorationOption)
        canonical = pick(kRestorationOptions);
    else if (field->value == &OptionValues::compressionLevel)
        canonical = pick(kCompressionLevels);
    else
        canonical = pick(kFlags);
    if (index < 0) {
        *error = "\"" + word + "\" is not a value of " + field->name + " (one of: " + allowed + ")";
        return false;
    }
    values->*field->value = canonical;
    return true;
}

void OptionsPage::Load() {
    view.SetCaption("frmOptions", app.GetLangText("FormOptions", "Caption", "Options"));
    view.SetCaption("TabControlPage1", app.GetLangText("FormOptions", "B", "Driver Backup"));
    view.SetCaption("TabControlPage2", app.GetLangText("FormOptions", "R", "Driver Restoration"));
    view.SetCaption("OptBckFolder", app.GetLangText("FormOptions", "B1", "Back up drivers to folders"));
    view.SetCaption("OptBckZip",
                    app.GetLangText("FormOptions", "B2", "Back up drivers to a compressed file (.zip)"));
    view.SetCaption("OptBckSfx",
                    app.GetLangText("FormOptions", "B3", "Back up drivers to a self-extractor (.exe)"));
    view.SetCaption("OptBckAutoEXE",
                    app.GetLangText("FormOptions", "B4", "Back up drivers to an auto-setup package (.exe)"));
    view.SetCaption("OptRstFolder", app.GetLangText("FormOptions", "R1", "Restore drivers from folders"));
    view.SetCaption("OptRstZip",
                    app.GetLangText("FormOptions", "R2", "Restore drivers from a compressed file (.zip)"));
    view.SetCaption("OptRstSfx",
                    app.GetLangText("FormOptions", "R3", "Restore drivers from a self-extractor (.exe)"));
    view.SetCaption("FrameOther", app.GetLangText("FormOptions", "FrameOther", "Other"));
    view.SetCaption("ChkAlert",
                    app.GetLangText("FormOptions", "ChkAlert", "Show alert message when restoring drivers"));
    view.SetCaption("ChkReboot", app.GetLangText("FormOptions", "ChkReboot",
                                                 "Reboot computer after drivers restoration without prompt"));
    view.SetCaption("Label1", app.GetLangText("FormOptions", "C", "Compression level: "));
    view.SetComboItems(kLevelCombo, {app.GetLangText("FormOptions", "C1", "None"),
                                     app.GetLangText("FormOptions", "C2", "Low"),
                                     app.GetLangText("FormOptions", "C3", "Medium"),
                                     app.GetLangText("FormOptions", "C4", "High")});
    view.SetCaption("CmdOK", app.GetLangText("FormOptions", "CmdOK", "OK"));
    view.SetCaption("CmdCancel", app.GetLangText("FormOptions", "CmdCancel", "&Cancel"));

    pending = ReadOptionValues(app);
    int backup = IndexOf(kBackupOptions, pending.backupOption);
    for (int i = 0; i < static_cast<int>(std::size(kBackupButtons)); ++i)
        view.SetChecked(kBackupButtons[i], i == backup);
    int restore = IndexOf(kRestorationOptions, pending.restorationOption);
    for (int i = 0; i < static_cast<int>(std::size(kRestoreButtons)); ++i)
        view.SetChecked(kRestoreButtons[i], i == restore);
    view.SetComboSelection(kLevelCombo, IndexOf(kCompressionLevels, pending.compressionLevel));
    view.SetChecked("ChkAlert", pending.restoreAlert == "1");
    view.SetChecked("ChkReboot", pending.restoreReboot == "1");
    ShowLevelEnabled();
}

void OptionsPage::ShowLevelEnabled() {
    // Folders are not compressed.
    view.SetEnabled(kLevelCombo, pending.backupOption != "BckFolder");
}

void OptionsPage::OnClick(std::string_view control, bool checked) {
    if (int i = IndexOf(kBackupButtons, control); i >= 0) {
        pending.backupOption = kBackupOptions[i];
        ShowLevelEnabled();
    } else if (int r = IndexOf(kRestoreButtons, control); r >= 0) {
        pending.restorationOption = kRestorationOptions[r];
    } else if (control == "ChkAlert") {
        pending.restoreAlert.assign(1, checked ? '1' : '0');
    } else if (control == "ChkReboot") {
        pending.restoreReboot.assign(1, checked ? '1' : '0');
    } else if (control == "CmdOK") {
        // The level is kept from the combo even while it is disabled.
        int selected = view.GetComboSelection(kLevelCombo);
        if (selected >= 0 && selected < static_cast<int>(std::size(kCompressionLevels)))
            pending.compressionLevel = kCompressionLevels[selected];
        WriteOptionValues(app, pending);
        done = true;
    } else if (control == "CmdCancel") {
        done = true;
    }
}

} // namespace vantrel
