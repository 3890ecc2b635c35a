#include "devices/Detection.h"

#include <cctype>

#include "app/App.h"
#include "inventory/Enumeration.h"
#include "platform/Registry.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kKeyNameChars = 256;
constexpr std::uint32_t kValueChars = 1024;

// The field of width characters after label at a fixed place, or "" when it is not there.
std::string FieldAt(std::string_view id, std::size_t at, std::string_view label, std::size_t width) {
    if (id.size() < at + label.size() + width || !StartsWithNoCase(id.substr(at), label))
        return {};
    std::string field(id.substr(at + label.size(), width));
    for (char c : field) {
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return {};
    }
    return field;
}

template <typename Visit> void ForEachSubKey(Registry& registry, RegHandle key, Visit visit) {
    RegKeyInfo info;
    if (registry.QueryInfoKey(key, &info) != kErrorSuccess)
        return;
    for (std::uint32_t i = 0; i < info.subKeys; ++i) {
        std::string name;
        if (registry.EnumKey(key, i, kKeyNameChars, &name) == kErrorSuccess)
            visit(name);
    }
}

std::string ReadValue(Registry& registry, RegHandle key, std::string_view name) {
    std::string text;
    ReadRegText(registry, key, name, kValueChars, &text);
    return Trim(text);
}

// Newer Windows store "@file.inf,%key%;Name": Device Manager shows the name.
std::string DisplayName(const std::string& desc) {
    auto semicolon = desc.rfind(';');
    return desc.starts_with("@") && semicolon != std::string::npos ? desc.substr(semicolon + 1) : desc;
}

// The first "PCI\VEN" entry of HardwareID (one list on NT, comma-separated on 98/Me), else the
// identifier the key's name makes.
std::string HardwareIdOf(Registry& registry, RegHandle instance, const std::string& keyName) {
    std::string ids;
    ReadRegText(registry, instance, "HardwareID", kValueChars, &ids);
    for (const std::string& id : Split(ids, ',')) {
        if (StartsWithNoCase(Trim(id), "PCI\\VEN"))
            return Trim(id);
    }
    return "PCI\\" + keyName;
}

} // namespace

PciIds SplitHardwareId(std::string_view hardwareId) {
    PciIds ids;
    if (!StartsWithNoCase(hardwareId, "PCI\\"))
        return ids;
    ids.vendor = FieldAt(hardwareId, 4, "VEN_", 4);
    ids.device = FieldAt(hardwareId, 12, "&DEV_", 4);
    std::string subsystem = FieldAt(hardwareId, 21, "&SUBSYS_", 8);
    if (!subsystem.empty()) {
        ids.subsystem = subsystem;
        ids.revision = FieldAt(hardwareId, 37, "&REV_", 2);
    } else {
        ids.revision = FieldAt(hardwareId, 21, "&REV_", 2);
    }
    return ids;
}

std::string PciEnumKeyFor(const OsVersion& version) {
    if (version.major == 4 && (version.minor == 10 || version.minor == 90))
        return kPciEnumKey9x;
    if (version.major == 5 || version.major == 6 || version.major == 10)
        return kPciEnumKey;
    return {};
}

std::vector<DetectedDevice> DetectDevices(Registry& registry, const std::string& enumKey,
                                          const DeviceDatabase& db) {
    std::vector<DetectedDevice> devices;
    RegKey pci(registry);
    if (enumKey.empty() || pci.Open(kHkeyLocalMachine, enumKey) != kErrorSuccess)
        return devices;
    ForEachSubKey(registry, pci.Handle(), [&](const std::string& deviceName) {
        if (!StartsWithNoCase(deviceName, "VEN"))
            return;
        RegKey deviceKey(registry);
        if (deviceKey.Open(pci.Handle(), deviceName) != kErrorSuccess)
            return;
        ForEachSubKey(registry, deviceKey.Handle(), [&](const std::string& instanceName) {
            RegKey instance(registry);
            if (instance.Open(deviceKey.Handle(), instanceName) != kErrorSuccess)
                return;
            DetectedDevice device;
            device.name = DisplayName(ReadValue(registry, instance.Handle(), "DeviceDesc"));
            if (device.name.empty())
                device.name = "Unknown";
            device.mfg = DisplayName(ReadValue(registry, instance.Handle(), "Mfg"));
            device.className = ReadValue(registry, instance.Handle(), "class");
            if (device.className.empty())
                device.className = "UNKNOWN";
            device.driver = ReadValue(registry, instance.Handle(), "driver");
            device.hardwareId = HardwareIdOf(registry, instance.Handle(), deviceName);
            device.ids = SplitHardwareId(device.hardwareId);
            devices.push_back(std::move(device));
        });
    });
    // One pass over the database for all of them.
    std::vector<PciIds> ids;
    for (const auto& device : devices)
        ids.push_back(device.ids);
    db.Prepare(ids);
    for (auto& device : devices)
        device.names = db.Lookup(device.ids);
    return devices;
}

std::string DeviceDetails(const App& app, const DetectedDevice& device) {
    std::string text;
    auto line = [&text](const std::string& label, const std::string& value) {
        text += label;
        text += ": ";
        text += value;
        text += "\r\n";
    };
    line(app.GetLangText("FormUnknownDevice", "StrDevID", "Device ID"), device.hardwareId);
    line(app.GetLangText("FormUnknownDevice", "StrChipName", "Detected Chip Name"), device.names.chipName);
    line(app.GetLangText("FormUnknownDevice", "StrVender", "Chip Vender"), device.names.chipVendor);
    if (device.ids.subsystem != kNoSubsystem) {
        line(app.GetLangText("FormUnknownDevice", "StrOEMName", "OEM Device Name"), device.names.oemName);
        line(app.GetLangText("FormUnknownDevice", "StrOEMVender", "OEM Device Vender"),
             device.names.oemVendor);
    }
    return text;
}

std::string MissingDatabaseMessage(const App& app) {
    return app.GetLangText("FormUnknownDevice", "MsgError1",
                           "Device database file doesn't exist, please re-install the software.");
}

std::string UnsupportedWindowsMessage(const App& app) {
    return app.GetLangText("FormUnknownDevice", "MsgError2",
                           "This version of Windows is not supported by Vantrel.");
}

} // namespace vantrel
