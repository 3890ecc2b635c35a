// One search of the update database for one system: the machine's devices reduced to keys,
// the newer drivers found for them, duplicates and hidden updates left out. The Update tab and
// the command line run the same search, each with its own observer.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"

namespace vantrel {

class Inventory;
class UpdateDatabase;

// Every database driver counts as newer than this.
inline constexpr char kAnyInstalledDate[] = "10000000";
// The name a result gets when another of the same name is listed instead.
inline constexpr char kDuplicateMarker[] = "ljj";
inline constexpr char kHiddenUpdatesFile[] = "HiddenUpdate.txt";

struct UpdateResult {
    std::string name;
    std::string version;
    std::string provider;
    std::string supportedOs;
    std::string date;   // yyyy-mm-dd
    std::string device; // the device it was found for, as the search named it
    std::string size;   // "12.5MB"
    std::string url;
    std::string className;
    std::string isSigned; // "Yes" or "No"
};

// A driver record's date (yyyy-mm-dd, or month-day-year) as yyyymmdd; "10000000" for a text
// that is no real date ("null", "Unknown", "").
std::string InstalledDateNumber(std::string_view date);

// Appends the key's driver for the system when its release date is later than installedDate.
// False when nothing was added.
bool AddUpdateResult(const UpdateDatabase& db, std::string_view key, std::string_view installedDate,
                     std::string_view code, std::vector<UpdateResult>* results, std::string_view device = {});

// Of results with equal names only one is listed; the others are renamed "ljj". The one kept is
// the newest release, and of equal ones the first found: on two devices that share a driver the
// newer release is the one worth fetching.
void MarkDuplicateResults(std::vector<UpdateResult>& results);

// The hardware identifiers (first of each) of the devices without a class.
std::vector<std::string> UnknownDeviceIds(Platform& platform);

// The slot code of the running system, by the Update tab's default choice.
std::string RunningOsCode(Platform& platform);

// The hidden-update list: application data + "\Vantrel\HiddenUpdate.txt"; "" when the
// application-data folder is unknown.
std::string HiddenUpdatesPath(Platform& platform);
std::vector<std::string> ReadHiddenUpdates(Platform& platform);
// Appends one address, creating the folder first; false when it could not be written.
bool HideUpdate(Platform& platform, const std::string& url);

class UpdateSearchObserver {
public:
    virtual ~UpdateSearchObserver() = default;
    // The database opened; the devices are searched now.
    virtual void Started() {}
    virtual void Searching(const std::string& device) { (void)device; }
    virtual void Pump() {}
};

enum class UpdateSearchStatus { Done, MissingDatabase, BrokenDatabase };

struct UpdateSearch {
    UpdateSearchStatus status = UpdateSearchStatus::Done;
    std::vector<UpdateResult> results; // every result found, "ljj" ones included
    std::vector<std::size_t> listed;   // the results to show, in order
};

// Extracts the database into the temporary folder, searches it for the inventory's drivers and
// the unknown devices, and deletes the extracted text. runningSystem: the code is the running
// system's, so installed dates take part.
UpdateSearch SearchUpdates(Inventory& inventory, const std::string& databasePath, const std::string& code,
                           bool runningSystem, UpdateSearchObserver* observer = nullptr);

} // namespace vantrel
