// One backup run: a folder per chosen driver with its drvbck.pdb and files, then, by the
// "Backup option" setting, a zip, a self-extractor or an auto-setup package. Independent of
// any window: the Backup tab and the command line each implement the observer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "restore/BackupCheck.h"

namespace vantrel {

class App;
class DriverStore;
class FileFinder;
class Inventory;
struct Platform;

enum class BackupForm { Folder, Zip, Sfx, AutoSetup };

inline constexpr char kBckFolder[] = "BckFolder";
inline constexpr char kBckZip[] = "BckZip";
inline constexpr char kBckSfx[] = "BckSfx";
inline constexpr char kBckAutoExe[] = "BckAutoEXE";
inline constexpr char kBackupRootName[] = "\\Drivers Backup";
inline constexpr char kFallbackBackupFolder[] = "c:\\my drivers";

// An unknown option text keeps the driver folders, so nothing chosen is lost.
BackupForm BackupFormFromSetting(std::string_view option);
// The package file in the root for a form; the root itself for folders.
std::string BackupTarget(const std::string& root, BackupForm form);
// The driver's folder name: the description trimmed, with * \ | / : ? > < and " made blanks.
std::string BackupFolderName(std::string_view driverDesc);

class BackupObserver {
public:
    virtual ~BackupObserver() = default;
    // A driver's turn has come: the list row to show as the one being saved.
    virtual void DriverStarted(int row) = 0;
    virtual void ClearLog() = 0;
    virtual void AppendLog(const std::string& text) = 0;
    virtual void Progress(int percent) = 0; // 0..100
    // Lets the user's stop request in.
    virtual void Pump() = 0;
    // Asked before each file: true ends the run there, leaving what was copied.
    virtual bool Cancelled() = 0;
};

struct BackupItem {
    int row = 0;         // where the driver stands in the list
    int recordIndex = 0; // 1-based, in inventory.drivers
};

// A driver whose folder lacks files its INF installs; the run goes on and says so at the end.
struct IncompleteBackup {
    std::string driverDesc;
    std::vector<MissingBackupFile> missing;
};

struct BackupSummary {
    bool stopped = false;
    std::string target; // root, or the package path
    int driversSaved = 0;
    int driversSkipped = 0; // no INF found
    int filesCopied = 0;
    std::vector<std::string> filesMissing; // not found on disk
    std::vector<std::string> filesFailed;  // found but could not be copied
    int packageErrors = 0;
    std::vector<IncompleteBackup> incomplete; // in the order the drivers were saved
};

class BackupRun {
public:
    BackupRun(App& app, Inventory& inventory);

    // Backs up the items into root (which already holds "\Drivers Backup"). Reads the
    // "Backup option" and "CompressionLevel" settings.
    BackupSummary Run(const std::string& root, const std::vector<BackupItem>& items,
                      BackupObserver& observer);

    // Where each entry of inventory.files lies on disk ("" when not found), 1-based like the
    // list: in the driver's own package folder of the driver store when it has one ("" when
    // not), by the name on the medium and then the installed name; else in the system folder's
    // tree, then the Windows folder's, through one index. Logs a search line per entry and
    // moves the bar from barFrom to barTo.
    std::vector<std::string> SearchDriverFiles(FileFinder& finder, const std::vector<std::string>& trees,
                                               DriverStore& store, const std::string& package,
                                               BackupObserver& observer, int barFrom, int barTo);

private:
    std::string Lang(const char* key, const char* english) const;

    App& app;
    Inventory& inventory;
};

} // namespace vantrel
