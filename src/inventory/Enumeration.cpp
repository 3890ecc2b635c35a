#include "inventory/Enumeration.h"

#include <algorithm>
#include <memory>
#include <unordered_map>
#include <vector>

#include "app/SystemServices.h"
#include "inventory/InfFile.h"
#include "inventory/Inventory.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kEnumNameChars = 512;
constexpr std::uint32_t kClassNameChars9x = 255;
constexpr std::uint32_t kDriverValueChars = 512;
constexpr std::uint32_t kHardwareIdBytes = 1024;
constexpr std::uint32_t kInfPathProbeChars = 100;
constexpr std::uint32_t kDriverVerChars = 512;
// How many keys a walk visits between two chances for the window to handle its messages.
constexpr int kPumpEvery = 64;

bool IsTextType(std::uint32_t type) {
    return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

std::uint32_t SubKeyCount(Registry& registry, RegHandle key) {
    RegKeyInfo info;
    return registry.QueryInfoKey(key, &info) == kErrorSuccess ? info.subKeys : 0;
}

// Calls visit(name) for each subkey, by index from 0 to the count taken at the start.
template <typename Visit>
void ForEachSubKey(Registry& registry, RegHandle key, std::uint32_t bufferChars, Visit visit) {
    std::uint32_t count = SubKeyCount(registry, key);
    for (std::uint32_t i = 0; i < count; ++i) {
        std::string name;
        if (registry.EnumKey(key, i, bufferChars, &name) == kErrorSuccess)
            visit(name);
    }
}

std::string ReadField(Registry& registry, RegHandle key, std::string_view name, std::size_t width) {
    std::string text;
    ReadRegText(registry, key, name, static_cast<std::uint32_t>(width), &text);
    return text;
}

// The fields every walk takes from a driver key.
void FillFromDriverKey(Registry& registry, RegHandle key, DriverRecord& record) {
    record.driverDate.Set(NormalizeDate(ReadField(registry, key, "driverdate", kDriverDateWidth)));
    record.driverDesc.Set(ReadField(registry, key, "driverdesc", kDriverDescWidth));
    record.infSection.Set(ReadField(registry, key, "infsection", kInfSectionWidth));
    record.infSectionExt.Set(ReadField(registry, key, "infsectionext", kInfSectionExtWidth));
    record.providerName.Set(ReadField(registry, key, "providername", kProviderNameWidth));
    record.infPath.Set(ReadField(registry, key, "infpath", kInfPathWidth));
    record.driverVersion.Set(ReadField(registry, key, "driverversion", kDriverVersionWidth));
    record.deviceVxds.Set(ReadField(registry, key, "devicevxds", kDeviceVxdsWidth));
}

class Pacer {
public:
    explicit Pacer(Inventory& inventory) : inventory(inventory) {}
    void Step() {
        if (inventory.pump && ++steps % kPumpEvery == 0)
            inventory.pump();
    }

private:
    Inventory& inventory;
    int steps = 0;
};

// What the NT walk keeps open and remembers between devices: the class root, and each class's
// name, which many devices share.
struct NtWalk {
    RegHandle classRoot = 0;
    bool shortClassName = false;
    std::unordered_map<std::string, std::string> classNames; // by lower-cased class key
};

void AddNtInstance(Inventory& inventory, RegHandle instance, NtWalk& walk) {
    Registry& registry = inventory.platform.registry;
    std::string driver;
    ReadRegText(registry, instance, "Driver", kDriverValueChars, &driver);
    driver = Trim(driver);
    if (driver.empty())
        return; // no driver installed
    std::string hardwareId;
    ReadRegText(registry, instance, "HardwareID", kHardwareIdBytes, &hardwareId);

    RegKey driverKey(registry);
    std::string probe;
    if (driverKey.Open(walk.classRoot, driver) != kErrorSuccess ||
        !ReadRegText(registry, driverKey.Handle(), "infpath", kInfPathProbeChars, &probe))
        return;
    DriverRecord* record = inventory.drivers.Append();
    if (record == nullptr)
        return; // the list is full
    FillFromDriverKey(registry, driverKey.Handle(), *record);
    record->hardwareId.Set(Trim(hardwareId));
    driverKey.Close();

    auto slash = driver.find('\\');
    if (slash != std::string::npos) {
        auto [name, added] =
            walk.classNames.try_emplace(LowerAscii(std::string_view(driver).substr(0, slash)));
        if (added) {
            RegKey classKey(registry);
            if (classKey.Open(walk.classRoot, driver.substr(0, slash)) == kErrorSuccess)
                name->second = ReadField(registry, classKey.Handle(), walk.shortClassName ? "Class" : "",
                                         kClassNameWidth);
        }
        record->className.Set(name->second);
    }
    CompleteDateAndVersion(inventory, *record);
}

void Add9xRecord(Inventory& inventory, RegHandle key, std::string_view className) {
    Registry& registry = inventory.platform.registry;
    std::string probe;
    if (!ReadRegText(registry, key, "infpath", kInfPathProbeChars, &probe))
        return;
    DriverRecord* record = inventory.drivers.Append();
    if (record == nullptr)
        return;
    FillFromDriverKey(registry, key, *record);
    record->hardwareId.Set(ReadField(registry, key, "MatchingDeviceId", kHardwareIdWidth));
    record->className.Set(className);
    CompleteDateAndVersion(inventory, *record);
}

} // namespace

bool ReadRegText(Registry& registry, RegHandle key, std::string_view name, std::uint32_t bufferChars,
                 std::string* text) {
    std::uint32_t type = kRegNone;
    std::string data;
    long result = registry.QueryValue(key, name, bufferChars, &type, &data);
    if (result == kErrorMoreData) {
        RegKeyInfo info;
        if (registry.QueryInfoKey(key, &info) != kErrorSuccess)
            return false;
        result = registry.QueryValue(key, name, std::max(info.maxValueLen, bufferChars), &type, &data);
    }
    if (result != kErrorSuccess || !IsTextType(type))
        return false;
    if (data.size() > bufferChars)
        data.resize(bufferChars);
    *text = CutAtNul(data);
    return true;
}

void CompleteDateAndVersion(Inventory& inventory, DriverRecord& record) {
    if (IsMicrosoftProvider(record.providerName.Raw()))
        return;
    if (record.driverDate.TrimmedView().empty() || record.driverVersion.TrimmedView().empty()) {
        std::string path = LocateInf(inventory, record.infPath.Raw(), false);
        auto inf = path.empty() ? nullptr : inventory.LoadInf(path);
        if (inf) {
            std::string driverVer = CutAtNul(inf->VersionValue("DriverVer", kDriverVerChars));
            auto comma = driverVer.find(',');
            if (record.driverDate.TrimmedView().empty())
                record.driverDate.Set(NormalizeDate(driverVer.substr(0, comma)));
            if (record.driverVersion.TrimmedView().empty() && comma != std::string::npos)
                record.driverVersion.Set(Trim(driverVer.substr(comma + 1)));
        }
    }
    if (record.driverDate.TrimmedView().empty())
        record.driverDate.Set("null");
    if (record.driverVersion.TrimmedView().empty())
        record.driverVersion.Set("null");
}

void EnumerateDriversNt(Inventory& inventory) {
    Registry& registry = inventory.platform.registry;
    OsVersion version = inventory.platform.system.GetVersion();
    // Windows 8 and later name the class by its short "Class" value; older ones by the
    // display name in the default value.
    NtWalk walk;
    walk.shortClassName = (version.major == 6 && (version.minor == 2 || version.minor == 3)) ||
                          (version.major == 10 && version.minor == 0);
    RegKey enumKey(registry), classRoot(registry);
    // Without the class tree no device has a driver key to read.
    if (enumKey.Open(kHkeyLocalMachine, kEnumKeyPath) != kErrorSuccess ||
        classRoot.Open(kHkeyLocalMachine, kClassKeyPath) != kErrorSuccess)
        return;
    walk.classRoot = classRoot.Handle();
    Pacer pacer(inventory);
    ForEachSubKey(registry, enumKey.Handle(), kEnumNameChars, [&](const std::string& enumerator) {
        RegKey enumeratorKey(registry);
        if (enumeratorKey.Open(enumKey.Handle(), enumerator) != kErrorSuccess)
            return;
        ForEachSubKey(registry, enumeratorKey.Handle(), kEnumNameChars, [&](const std::string& deviceId) {
            RegKey deviceKey(registry);
            if (deviceKey.Open(enumeratorKey.Handle(), deviceId) != kErrorSuccess)
                return;
            ForEachSubKey(registry, deviceKey.Handle(), kEnumNameChars, [&](const std::string& instanceId) {
                RegKey instanceKey(registry);
                if (instanceKey.Open(deviceKey.Handle(), instanceId) == kErrorSuccess)
                    AddNtInstance(inventory, instanceKey.Handle(), walk);
                pacer.Step();
            });
        });
    });
}

void EnumerateDrivers9x(Inventory& inventory) {
    Registry& registry = inventory.platform.registry;
    RegKey root(registry);
    if (root.Open(kHkeyLocalMachine, kClassKeyPath9x) != kErrorSuccess)
        return;
    ForEachSubKey(registry, root.Handle(), kClassNameChars9x, [&](const std::string& name) {
        RegKey classKey(registry);
        if (classKey.Open(root.Handle(), name) != kErrorSuccess)
            return;
        std::string className = ReadField(registry, classKey.Handle(), "class", kClassNameWidth);
        Add9xRecord(inventory, classKey.Handle(), className);
        if (SubKeyCount(registry, classKey.Handle()) > 0)
            CollectClassSubtree9x(inventory, std::string(kClassKeyPath9x) + "\\" + name, className);
    });
}

void CollectClassSubtree9x(Inventory& inventory, const std::string& keyPath, std::string_view className) {
    Registry& registry = inventory.platform.registry;
    struct Level {
        explicit Level(Registry& registry) : key(registry) {}
        RegKey key;
        std::uint32_t count = 0;
        std::uint32_t next = 0;
    };
    // The open keys from keyPath down to the one being read: depth first in index order,
    // as a recursive walk would go, without using the call stack for depth.
    std::vector<std::unique_ptr<Level>> path;
    auto top = std::make_unique<Level>(registry);
    if (top->key.Open(kHkeyLocalMachine, keyPath) != kErrorSuccess)
        return;
    top->count = SubKeyCount(registry, top->key.Handle());
    path.push_back(std::move(top));
    Pacer pacer(inventory);
    while (!path.empty()) {
        Level& level = *path.back();
        if (level.next >= level.count) {
            path.pop_back();
            continue;
        }
        std::string name;
        if (registry.EnumKey(level.key.Handle(), level.next++, kClassNameChars9x, &name) != kErrorSuccess)
            continue;
        auto child = std::make_unique<Level>(registry);
        if (child->key.Open(level.key.Handle(), name) != kErrorSuccess)
            continue;
        Add9xRecord(inventory, child->key.Handle(), className);
        pacer.Step();
        child->count = SubKeyCount(registry, child->key.Handle());
        if (child->count > 0)
            path.push_back(std::move(child));
    }
}

void RefreshDriverList(Inventory& inventory) {
    InventoryRun run(inventory);
    inventory.drivers.Reset();
    OsVersion version = inventory.platform.system.GetVersion();
    if (version.major == 4 && (version.minor == 10 || version.minor == 90))
        EnumerateDrivers9x(inventory);
    else if (version.major == 5 || version.major == 6 || version.major == 10)
        EnumerateDriversNt(inventory);
    RemoveDuplicateDrivers(inventory.drivers);
}

} // namespace vantrel
