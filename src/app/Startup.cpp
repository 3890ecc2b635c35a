#include "app/Startup.h"

#include "app/App.h"
#include "app/Settings.h"

namespace vantrel {

StartupResult RunStartup(App& app) {
    StartupResult result;
    SettingsStore settings(app.platform.registry);
    settings.OpenSettingsKey();

    // An unreadable "Backup option" means a first run: all five defaults are (re)written.
    if (!settings.ReadSetting(kSetBackupOption, kOptionBufferChars)) {
        result.firstRun = true;
        for (const auto& setting : kFirstRunDefaults)
            settings.WriteSetting(setting.name, setting.value);
    }

    app.appPath = ComputeAppPath(app.platform);

    auto language = settings.ReadSetting(kSetLanguage, kLanguageBufferChars);
    if (!language) {
        result.languageDefaulted = true;
        settings.WriteSetting(kSetLanguage, "English");
        app.languageFile = app.appPath + "Language\\English.ini";
    } else {
        app.languageFile = app.appPath + "Language\\" + *language + ".ini";
    }
    settings.CloseSettingsKey();
    return result;
}

} // namespace vantrel
