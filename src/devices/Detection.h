// Finds the PCI devices in the registry and names them from the device database.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "devices/DeviceDatabase.h"

namespace vantrel {

class App;
class Registry;
struct OsVersion;

inline constexpr char kPciEnumKey[] = "System\\CurrentControlSet\\Enum\\pci";
inline constexpr char kPciEnumKey9x[] = "Enum\\pci";
inline constexpr char kDeviceDatabaseFile[] = "pcidevs.txt";

struct DetectedDevice {
    std::string name; // as Device Manager shows it
    std::string mfg;
    std::string className;
    std::string driver;
    std::string hardwareId;
    PciIds ids;
    PciNames names;
};

// Vendor, device, subsystem and revision from their fixed places in "PCI\VEN_vvvv&DEV_dddd&
// SUBSYS_ssssssss&REV_rr"; a field that is missing or misplaced stays empty (subsystem "00000000").
PciIds SplitHardwareId(std::string_view hardwareId);

// The registry branch that lists PCI devices on this Windows; "" when it is not supported.
std::string PciEnumKeyFor(const OsVersion& version);

// Every instance of every "VEN..." key below enumKey (under HKEY_LOCAL_MACHINE), named from db.
std::vector<DetectedDevice> DetectDevices(Registry& registry, const std::string& enumKey,
                                          const DeviceDatabase& db);

// The detail text of one device: five labelled lines, the OEM ones only with a subsystem.
std::string DeviceDetails(const App& app, const DetectedDevice& device);

// The messages for a missing database and for a Windows without a known PCI branch.
std::string MissingDatabaseMessage(const App& app);
std::string UnsupportedWindowsMessage(const App& app);

} // namespace vantrel
