// The driver inventory of the machine: the list of installed drivers, the current driver's
// file list, and what one run (a search, a backup) may keep instead of reading it again.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "inventory/DriverRecord.h"
#include "platform/Platform.h"

namespace vantrel {

class InfText;

// The files of one driver, indexed from 1 (slot 0 unused); entry 1 is always the INF.
struct DriverFileList {
    static constexpr int kMaxCount = 32767;

    int count = 0;                           // DriverFileCount
    std::vector<std::string> names{2};       // DriverFileNames
    std::vector<std::string> sourceNames{2}; // DriverFileSourceNames: blank when none
    std::string currentInfPath;              // CurrentInfPath: blank when no INF was found

    void Start(std::string_view infName);
    void Append(std::string_view name, std::string_view sourceName);
};

class Inventory {
public:
    explicit Inventory(Platform& platform);
    ~Inventory();
    Inventory(const Inventory&) = delete;
    Inventory& operator=(const Inventory&) = delete;

    Platform& platform;
    DriverList drivers;   // DriverList and DriverCount
    DriverFileList files; // the file list of the driver last passed to BuildDriverFileList
    // Lets window messages run now and then during a long walk; may be empty.
    std::function<void()> pump;

    // Within a run, folder listings and INF texts are read once and kept; outside one, every
    // question goes to the machine. Runs nest; the outermost one ends the keeping.
    void BeginRun();
    void EndRun();
    bool InRun() const { return runDepth > 0; }

    // Whether folder + "\" + name is an existing file (not a folder).
    bool FileExists(const std::string& folder, std::string_view name);
    // Whether path is an existing file.
    bool PathIsFile(const std::string& path);
    // The INF's text, read once per run; nullptr when it cannot be read.
    std::shared_ptr<const InfText> LoadInf(const std::string& path);
    // Where LocateInf found an INF earlier in this run: nullptr outside a run, else the slot
    // for that question (found false until it has an answer).
    struct Located {
        bool found = false;
        std::string path;
    };
    Located* LocatedSlot(std::string_view infPath, bool ownPath);

    // How many INF files were read from disk since the inventory was made (for measuring).
    std::size_t InfReads() const { return infReads; }

private:
    struct RunCache;
    std::unique_ptr<RunCache> run;
    int runDepth = 0;
    std::size_t infReads = 0;
};

// Keeps a run open for its scope.
class InventoryRun {
public:
    explicit InventoryRun(Inventory& inventory) : inventory(inventory) { inventory.BeginRun(); }
    ~InventoryRun() { inventory.EndRun(); }
    InventoryRun(const InventoryRun&) = delete;
    InventoryRun& operator=(const InventoryRun&) = delete;

private:
    Inventory& inventory;
};

// The full path of the INF a record names: the Windows folder + "\inf\" + name, else
// + "\inf\other\" + name, else (when ownPath) the name as a path of its own; "" when none exists.
std::string LocateInf(Inventory& inventory, std::string_view infPath, bool ownPath);

// Whether the INF can be found in one of those three places.
bool FindInfFile(Inventory& inventory, std::string_view infPath);

// Whether the running Windows is of the NT family (major version 5, 6 or 10).
bool IsNtFamily(Platform& platform);

} // namespace vantrel
