// vantrel info: the machine, its folders and the program's settings after start-up.
#include <cstdio>

#include "Cli.h"
#include "app/App.h"
#include "app/Settings.h"
#include "app/Startup.h"
#include "app/SystemServices.h"
#include "platform/FileSystem.h"
#include "platform/System.h"

namespace vantrel {

namespace {

const char* YesNo(bool value) {
    return value ? "yes" : "no";
}

void PrintSettings(Platform& platform) {
    SettingsStore settings(platform.registry);
    const std::pair<const char*, std::uint32_t> shown[] = {
        {kSetBackupOption, kOptionBufferChars},     {kSetRestorationOption, kOptionBufferChars},
        {kSetCompressionLevel, kOptionBufferChars}, {kSetRestoreAlert, kOptionBufferChars},
        {kSetRestoreReboot, kOptionBufferChars},    {kSetLanguage, kLanguageBufferChars},
        {kSetBackupPath, kPathBufferChars},         {kSetMoreBackupPath, kPathBufferChars},
    };
    std::printf("Settings (HKEY_CURRENT_USER\\%s):\n", kSettingsKey);
    for (const auto& [name, buffer] : shown) {
        auto value = settings.ReadSetting(name, buffer);
        std::printf("  %-20s %s\n", name, value ? ("\"" + *value + "\"").c_str() : "(not set)");
    }
}

} // namespace

int RunInfo(CliArgs& args) {
    std::string error, imageDir;
    args.TakeValue("--image", &imageDir, &error);
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr, "vantrel info: %s\nusage: vantrel info [--image DIR]\n",
                     error.empty() ? "unexpected argument" : error.c_str());
        return 2;
    }
    auto machine = OpenMachine(imageDir, &error);
    if (!machine) {
        std::fprintf(stderr, "vantrel info: %s\n", error.c_str());
        return 1;
    }
    Platform& platform = machine->Ports();
    App app(platform);
    StartupResult started = RunStartup(app);

    OsVersion v = platform.system.GetVersion();
    std::printf("Windows: %d.%d build %d, %s family, %s%s%s\n", v.major, v.minor, v.build,
                v.platform == kPlatformWin9x ? "9x" : "NT", v.productType == 3 ? "server" : "workstation",
                v.csdVersion.empty() ? "" : ", ", v.csdVersion.c_str());
    std::printf("64-bit Windows: %s (the 32-bit program runs under WOW64: %s)\n",
                YesNo(platform.system.Is64BitWindows()), YesNo(IsWow64(platform)));
    std::printf("Windows folder: %s\n", GetWindowsFolder(platform).c_str());
    std::printf("System folder: %s\n", platform.system.GetSystemDirectory().c_str());
    std::printf("Temporary folder: %s\n", GetTempFolder(platform).c_str());
    std::printf("Program folder: %s\n", app.appPath.c_str());
    std::printf("First run: %s\n", started.firstRun ? "yes, the default settings were written" : "no");
    PrintSettings(platform);
    bool found = platform.fs.Exists(app.languageFile);
    std::printf("Language file: %s (%s)\n", app.languageFile.c_str(), found ? "found" : "missing");
    std::printf("Window caption: %s\n", app.GetLangText("FormMain", "Caption", "Vantrel V6.5").c_str());

    if (!machine->Save(&error)) {
        std::fprintf(stderr, "vantrel info: could not save the settings: %s\n", error.c_str());
        return 1;
    }
    return 0;
}

} // namespace vantrel
