// Start-up: the settings key, the first-run defaults, AppPath and LanguageFile.
#pragma once

namespace vantrel {

class App;

struct StartupResult {
    bool firstRun = false;          // the five defaults were written
    bool languageDefaulted = false; // "Language" was missing and written as "English"
};

// Runs before the main window is created; both front ends call it.
StartupResult RunStartup(App& app);

} // namespace vantrel
