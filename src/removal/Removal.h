// Removes installed drivers: the carried installer's " /r " run takes the devices away, then
// the driver's INF is deleted from the Windows INF folders. Independent of any window: the
// Uninstall tab and the command line each implement the observer.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Processes.h"

namespace vantrel {

class App;
class Inventory;
struct OsVersion;
struct Platform;

// What one RemoveDriver call did.
struct RemovalOutcome {
    ProcessResult helper;               // the installer's run
    bool infRefused = false;            // the INF name was not a plain file name: nothing deleted
    std::vector<std::string> deleted;   // INF copies deleted at once
    std::vector<std::string> scheduled; // INF copies Windows deletes at the next restart
};

struct RemovalOptions {
    // 0 waits for the installer without limit, as the window does; the command line sets a
    // limit so that a hung installer cannot hold it for ever.
    std::uint32_t helperTimeoutMs = 0;
    // Lets pending window messages run once after the driver; may be empty.
    std::function<void()> pump;
};

// The helper's path as it is (not quoted), " /r " and the hardware ID in double quotes.
std::string RemovalCommandLine(const std::string& helperPath, std::string_view hardwareId);

// Whether infName is a bare file name: no folder, no drive, no "..".
bool IsPlainInfName(std::string_view infName);

// Runs the helper hidden for hardwareId and waits for it; then deletes infName from the INF
// folder and from its "other" folder, each with its attributes first set to archive only. A
// copy that cannot be deleted now is scheduled for the next restart. True when a copy was
// scheduled. The helper's exit code does not change what is deleted.
bool RemoveDriver(Platform& platform, std::string_view hardwareId, const std::string& helperPath,
                  std::string_view infName, const RemovalOptions& options = {},
                  RemovalOutcome* outcome = nullptr);

// Windows 98 and Me (4.10 and 4.90) cannot remove drivers this way; every other version,
// Windows 95 and NT 4.0 included, goes on.
bool RemovalUnavailable(const OsVersion& version);

// The texts both front ends show before a removal.
std::string RemovalUnavailableText(const App& app);
std::string RemovalCautionText(const App& app);

// Why a removal ended as it did, from the helper's run.
std::string RemovalReason(const ProcessResult& run);

// One driver of a removal run.
struct RemovedDriver {
    std::string description;
    bool found = false; // a record had the description; otherwise it was skipped
    std::string hardwareId;
    std::string infName;
    RemovalOutcome outcome;
};

struct RemovalRunResult {
    bool helperWritten = false;
    std::string helperPath;
    std::vector<RemovedDriver> drivers; // in the order of the descriptions
};

class RemovalObserver {
public:
    virtual ~RemovalObserver() = default;
    // The description at this index is next.
    virtual void DriverStarted(int index) = 0;
    // Its record was found: the helper is about to remove it.
    virtual void Removing(const std::string& description) = 0;
    virtual void Pump() = 0;
};

// Writes the helper to the temporary folder, then for each description in order removes the
// first record with that trimmed description and clears the record's INF name, so that no list
// shows it until the drivers are read again. A description without a record is skipped.
// Nothing is removed when the helper cannot be written.
RemovalRunResult RemoveDrivers(Inventory& inventory, const std::vector<std::string>& descriptions,
                               RemovalObserver& observer, std::uint32_t helperTimeoutMs = 0);

} // namespace vantrel
