#include "restore/RestoreEngine.h"

#include <algorithm>
#include <array>

#include "app/App.h"
#include "app/SystemServices.h"
#include "inventory/DriverRecord.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "restore/DrvInstallFile.h"
#include "restore/RestoreCatalog.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kClassBufferChars = 255;

constexpr std::array<std::string_view, 4> kFirstPass = {"hdc", "system", "diskdrive", "scsiadapter"};
constexpr std::array<std::string_view, 10> kLastPass = {
    "net", "display", "monitor", "mouse", "image", "printer", "keyboard", "media", "modem", "hidclass"};

// The source folder the Windows 98/Me installer is pointed at, under the Windows folder.
constexpr char kDriverBackFolder[] = "\\inf\\driverback";
constexpr char kDriverBackValue[] = "\\inf\\DriverBack";
constexpr const char* kMruLetters[] = {"a", "b", "c", "d", "e"};
// Rebuilt by Windows 98/Me from the INF folder once they are gone.
constexpr const char* kDriverIndexFiles[] = {"\\inf\\drvdata.bin", "\\inf\\drvidx.bin", "\\inf\\drivers.ddb"};

bool ShipsWithWindows(const BackupEntry& entry) {
    return IsMicrosoftProvider(entry.providerName);
}

// Deletes a key and its subkeys; the registry call removes leaf keys only.
void DeleteKeyTree(Registry& registry, RegHandle root, const std::string& path) {
    RegKey key(registry);
    if (key.Open(root, path) == kErrorSuccess) {
        std::string name;
        std::vector<std::string> children;
        for (std::uint32_t i = 0; registry.EnumKey(key.Handle(), i, 256, &name) == kErrorSuccess; ++i)
            children.push_back(name);
        key.Close();
        for (const auto& child : children)
            DeleteKeyTree(registry, root, path + "\\" + child);
    }
    registry.DeleteKey(root, path);
}

void WriteMru(Registry& registry, RegHandle root, const std::string& path, const std::string& source) {
    DeleteKeyTree(registry, root, path);
    RegKey key(registry);
    if (key.Create(root, path) != kErrorSuccess)
        return;
    for (const char* letter : kMruLetters)
        RegWriteString(registry, key.Handle(), letter, source);
    RegWriteString(registry, key.Handle(), "MRUList", "abcde");
}

} // namespace

int RestorePassOfClass(std::string_view className) {
    std::string lower = LowerAscii(className);
    if (std::find(kFirstPass.begin(), kFirstPass.end(), lower) != kFirstPass.end())
        return 1;
    if (std::find(kLastPass.begin(), kLastPass.end(), lower) != kLastPass.end())
        return 3;
    return 2;
}

std::string RestoreInfClass(App& app, const BackupEntry& entry) {
    std::string className;
    app.platform.profile.GetString("Version", "class", "", kClassBufferChars, EntryInfPath(entry),
                                   &className);
    return className;
}

std::string Restore98AdviceText() {
    return "There is someting you should know before driver restoration in Windows 98/Me operating system."
           "\r\n1. If Windows prompts you to insert driver disk, please just click the OK button in the "
           "dialog "
           "box. If the same dialog box appears again, click the ignore button.\r\n2. If Windows prompts you "
           "to insert Windows CD-ROM, please insert it.\r\n3. If you find audio card is mute after driver "
           "restoration, please reboot your computer again, and it will be OK";
}

RestoreEngine::RestoreEngine(App& app, RestoreObserver& observer, RestoreRunOptions options)
    : app(app), observer(observer), options(std::move(options)) {}

std::string RestoreEngine::Lang(const char* key, const char* english) const {
    return app.GetLangText("FormMain", key, english);
}

std::string RestoreEngine::InstallerCommandLine(const std::string& installer, const std::string& infPath,
                                                const std::string& hardwareId) {
    // The program's path goes unquoted, as it always has; the two arguments are quoted so
    // that blanks in them survive.
    return installer + " /i \"" + infPath + "\" \"" + hardwareId + "\"";
}

ProcessResult RestoreEngine::RunInstaller(const std::string& installer, const std::string& infPath,
                                          const std::string& hardwareId) {
    ProcessResult result = app.platform.processes.RunAndWaitFor(
        InstallerCommandLine(installer, infPath, hardwareId), options.installerTimeoutMs);
    observer.Pump();
    app.platform.clock.Sleep(options.pauseMs);
    return result;
}

void RestoreEngine::LogRestoring(const BackupEntry& entry) {
    observer.AppendLog("\r\n" + Lang("MsgRestoreTip3", "Restoring drivers of") + " '" + entry.driverDesc +
                       "', " + Lang("MsgWait", "please wait patiently") + " ...");
}

void RestoreEngine::Advance(int done, int total) {
    observer.Progress(total > 0 ? done * 100 / total : 100);
}

std::vector<RestoreOutcome> RestoreEngine::RunNt(const std::vector<BackupEntry>& checked) {
    Platform& platform = app.platform;
    std::vector<RestoreOutcome> outcomes;
    for (const auto& entry : checked)
        outcomes.push_back(RestoreOutcome{entry, ShipsWithWindows(entry), false, {}, {}});

    std::string installer = options.installerPath;
    bool written = false;
    if (installer.empty()) {
        if (!WriteDrvInstall(platform, &installer)) {
            observer.AppendLog("\r\nThe driver installer could not be written to " + installer + ".");
            return outcomes;
        }
        written = true;
    }

    std::vector<int> passes;
    for (const auto& entry : checked)
        passes.push_back(RestorePassOfClass(Trim(RestoreInfClass(app, entry))));
    int total = static_cast<int>(checked.size());
    int done = 0;
    for (int pass = 1; pass <= 3; ++pass) {
        for (std::size_t i = 0; i < checked.size(); ++i) {
            if (passes[i] != pass)
                continue;
            RestoreOutcome& outcome = outcomes[i];
            LogRestoring(outcome.entry);
            if (!outcome.skipped) {
                outcome.firstRun = RunInstaller(installer, EntryInfPath(outcome.entry),
                                                Trim(outcome.entry.matchingDeviceId));
                outcome.lastRun = outcome.firstRun;
                outcome.attempted = true;
            }
            Advance(++done, total);
        }
    }
    for (RestoreOutcome& outcome : outcomes) {
        if (outcome.skipped)
            continue;
        observer.AppendLog("\r\n" + Lang("MsgRestoreTip7", "Verifying driver restoration of") + " '" +
                           outcome.entry.driverDesc + "' ...");
        outcome.lastRun =
            RunInstaller(installer, EntryInfPath(outcome.entry), Trim(outcome.entry.matchingDeviceId));
    }
    if (written)
        platform.fs.DeleteFile(installer);
    return outcomes;
}

std::vector<RestoreOutcome> RestoreEngine::Run98(const std::vector<BackupEntry>& checked) {
    std::vector<RestoreOutcome> outcomes;
    int total = static_cast<int>(checked.size());
    int done = 0;
    for (const auto& entry : checked) {
        RestoreOutcome outcome{entry, ShipsWithWindows(entry), false, {}, {}};
        LogRestoring(entry);
        if (!outcome.skipped) {
            RestoreDriver98(entry);
            outcome.attempted = true;
        }
        outcomes.push_back(outcome);
        Advance(++done, total);
        observer.Pump();
    }
    return outcomes;
}

void RestoreEngine::RestoreDriver98(const BackupEntry& entry) {
    Platform& platform = app.platform;
    std::string windows = GetWindowsFolder(platform);
    std::string copy = windows + kDriverBackFolder;
    CreateDirectories(platform.fs, copy);
    std::vector<FindData> files;
    platform.fs.FindFiles(entry.folder + "\\*.*", &files);
    for (const auto& file : files) {
        if (!file.IsDirectory())
            platform.fs.CopyFile(entry.folder + "\\" + file.name, copy + "\\" + file.name, false);
    }

    std::string source = windows + kDriverBackValue;
    Registry& registry = platform.registry;
    WriteMru(registry, kHkeyCurrentUser, ".default\\InstallLocationsMRU", source);
    WriteMru(registry, kHkeyCurrentUser, "InstallLocationsMRU", source);
    WriteMru(registry, kHkeyUsers, ".default\\InstallLocationsMRU", source);
    {
        RegKey setup(registry);
        if (setup.Create(kHkeyLocalMachine, "software\\microsoft\\windows\\currentversion\\setup") ==
            kErrorSuccess)
            RegWriteString(registry, setup.Handle(), "Sourcepath", source);
    }

    platform.processes.RunAndWait("rundll32.exe setupx.dll,installHinfSection " + Trim(entry.infSection) +
                                  " 128 " + copy + "\\" + Trim(entry.infPath));
    for (const char* index : kDriverIndexFiles)
        platform.fs.DeleteFile(windows + index);
}

} // namespace vantrel
