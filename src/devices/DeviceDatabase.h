// The device database pcidevs.txt, read once and looked up by key.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vantrel {

class FileBytes;
class FileSystem;

inline constexpr char kChipVendorUnknown[] = "vender not in the database";
inline constexpr char kChipNameUnknown[] = "device not in the database";
inline constexpr char kOemVendorUnknown[] = "Vender not in the database";
inline constexpr char kNoSubsystem[] = "00000000";

// Ids as they stand in a hardware identifier: vendor and device 4 hex digits, subsystem 8
// (device half, then vendor half), revision 2; an id that is empty or not hex is not looked up.
struct PciIds {
    std::string vendor;
    std::string device;
    std::string subsystem = kNoSubsystem;
    std::string revision;
};

struct PciNames {
    std::string chipName = kChipNameUnknown;
    std::string chipVendor = kChipVendorUnknown;
    std::string oemName = kChipNameUnknown; // the chip name unless a subsystem line names the product
    std::string oemVendor = kOemVendorUnknown;
};

class DeviceDatabase {
public:
    // Keeps pcidevs.txt text. Keys of 5, 10, 13, 20 and 23 characters (with "=") count; the
    // first line (the date), lines without "=", other keys and blank names are skipped.
    void Load(std::string_view text);
    // The same for a file's bytes, kept as they are rather than copied.
    void Load(std::unique_ptr<const FileBytes> bytes);
    bool Empty() const;

    // Finds the lines these devices' look-ups need in one pass over the text: a detection
    // names a few dozen devices from a file of tens of thousands of lines, so indexing every
    // line would cost many times the reading of the file.
    void Prepare(const std::vector<PciIds>& devices) const;

    // The names the database gives: the more specific line wins, device < revision < subsystem
    // < subsystem and revision; the OEM vendor is the subsystem's vendor half as a vendor.
    PciNames Lookup(const PciIds& ids) const;

private:
    void Resolve(std::vector<std::string> keys) const;
    const std::string* Find(const std::string& key) const;

    std::shared_ptr<const void> holder; // owns what text views, and stays put when moved
    std::string_view text;
    // Filled on demand: upper-case key without "=" -> name, for every key looked for so far.
    mutable std::unordered_map<std::string, std::string> names;
    mutable std::unordered_set<std::string> searched;
};

// Reads the database file once into db; false when it does not exist or cannot be read.
bool LoadDeviceDatabase(FileSystem& fs, std::string_view path, DeviceDatabase* db);

} // namespace vantrel
