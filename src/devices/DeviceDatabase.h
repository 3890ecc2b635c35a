// The device database pcidevs.txt, read once and looked up by key.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

namespace vantrel {

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
    // Indexes pcidevs.txt text. Keys of 5, 10, 13, 20 and 23 characters (with "=") count; the
    // first line (the date), lines without "=", other keys and blank names are skipped.
    void Load(std::string_view text);
    bool Empty() const { return names.empty(); }

    // The names the database gives: the more specific line wins, device < revision < subsystem
    // < subsystem and revision; the OEM vendor is the subsystem's vendor half as a vendor.
    PciNames Lookup(const PciIds& ids) const;

private:
    const std::string* Find(const std::string& key) const;
    std::unordered_map<std::string, std::string> names; // upper-case key without "="
};

// Reads the database file once into db; false when it does not exist or cannot be read.
bool LoadDeviceDatabase(FileSystem& fs, std::string_view path, DeviceDatabase* db);

} // namespace vantrel
