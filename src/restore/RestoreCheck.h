// Whether a restore took: a driver counts as installed when a device with its hardware ID
// has a driver key whose InfPath names an INF in the INF folder with the same bytes as the
// backed-up INF. That holds on Windows and under Wine alike. Also the plan the command line
// prints before a run.
#pragma once

#include <string>
#include <vector>

#include "backup/BackupInfo.h"
#include "platform/Processes.h"

namespace vantrel {

class App;
class Inventory;
struct Platform;
struct RestoreOutcome;

struct InstallCheck {
    std::string hardwareId;   // the entry's, trimmed
    bool deviceFound = false; // some device lists the hardware ID
    bool installed = false;
    std::string infName; // the INF the device's driver key names, when any
};
InstallCheck CheckDriverInstalled(Platform& platform, const BackupEntry& entry);

// One line for the log and the command line: why a driver did or did not take, from the
// installer's last run and the check after it.
std::string RestoreResultReason(const ProcessResult& run, bool attempted, bool skipped,
                                const InstallCheck& check);

// The drivers a run tried to install (those that ship with Windows are left out), each
// checked in the registry rather than taken at the installer's word.
struct RestoreResult {
    BackupEntry entry;
    bool installed = false;
    std::string reason; // why not, when not
};
std::vector<RestoreResult> CheckRestoreResults(Platform& platform,
                                               const std::vector<RestoreOutcome>& outcomes);
// The lines that end a run's log: the count, then one line per driver. "" when the run
// tried none.
std::string FormatRestoreResults(const App& app, const std::vector<RestoreResult>& results);

struct RestorePlanItem {
    BackupEntry entry;
    bool deviceFound = false;    // a device of this machine has the hardware ID
    bool sameInstalled = false;  // the inventory lists the same driver version and date
    bool newerInstalled = false; // the inventory lists a newer driver for the hardware ID
    std::string installedVersion;
    std::string action; // what a run would do, in words
};
// What a restore of these entries would do on this machine; changes nothing.
std::vector<RestorePlanItem> PlanRestore(Inventory& inventory, const std::vector<BackupEntry>& entries);

} // namespace vantrel
