// Reinstalls backed-up drivers: on the NT family through the carried installer, one run per
// driver in three passes by device class and a verification pass; on Windows 98/Me through
// the system's INF installer with the backup made the preferred source. Independent of any
// window: the Restore tab, the command line and the installation wizard each implement the
// observer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "backup/BackupInfo.h"
#include "platform/Processes.h"

namespace vantrel {

class App;

class RestoreObserver {
public:
    virtual ~RestoreObserver() = default;
    virtual void AppendLog(const std::string& text) = 0;
    virtual void Progress(int percent) = 0; // 0..100
    // Lets pending window messages run.
    virtual void Pump() = 0;
};

// The pass (1, 2 or 3) of a device class, compared in lower case.
int RestorePassOfClass(std::string_view className);
// Class from the entry's INF: section "Version", key "class".
std::string RestoreInfClass(App& app, const BackupEntry& entry);

// What happened to one driver of a run.
struct RestoreOutcome {
    BackupEntry entry;
    bool skipped = false;   // ships with Windows: listed, never installed
    bool attempted = false; // the installer (or the system's INF installer) ran
    ProcessResult lastRun;  // of the last installer run (the verification run on NT)
    ProcessResult firstRun; // of the first installer run
};

struct RestoreRunOptions {
    // The pause after each installer run, so that Windows can finish before the next driver.
    std::uint32_t pauseMs = 5000;
    // 0 waits for the installer without limit, as the window does; the command line and the
    // wizard set a limit so that a hung installer cannot hold them for ever.
    std::uint32_t installerTimeoutMs = 0;
    // Where the installer programs come from when not from the program's own resources
    // (the wizard carries them beside itself); empty: the resources port.
    std::string installerPath;
};

class RestoreEngine {
public:
    RestoreEngine(App& app, RestoreObserver& observer, RestoreRunOptions options = {});

    // The NT family's work for the checked entries, in row order: write DrvInstall.exe to the
    // temporary folder (103 on 64-bit Windows, else 102), passes 1 to 3, the verification
    // pass, delete the program. The bar moves per checked entry. Empty when the installer
    // could not be written (every outcome then says so).
    std::vector<RestoreOutcome> RunNt(const std::vector<BackupEntry>& checked);
    // Windows 98/Me: each checked entry in row order through RestoreDriver98.
    std::vector<RestoreOutcome> Run98(const std::vector<BackupEntry>& checked);
    // One driver on Windows 98/Me: the "driverback" copy, the MRU and source values, the
    // system's INF installer, the three driver index files deleted.
    void RestoreDriver98(const BackupEntry& entry);

    // The full command line the NT pass runs for one entry.
    static std::string InstallerCommandLine(const std::string& installer, const std::string& infPath,
                                            const std::string& hardwareId);

private:
    std::string Lang(const char* key, const char* english) const;
    ProcessResult RunInstaller(const std::string& installer, const std::string& infPath,
                               const std::string& hardwareId);
    void LogRestoring(const BackupEntry& entry);
    void Advance(int done, int total);

    App& app;
    RestoreObserver& observer;
    RestoreRunOptions options;
};

// The text of "Windows 98/Me" advice box, and its title.
std::string Restore98AdviceText();
inline constexpr char kRestore98AdviceTitle[] = "Attention in Windows 98/Me";

} // namespace vantrel
