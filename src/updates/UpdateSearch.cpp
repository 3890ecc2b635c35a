#include "updates/UpdateSearch.h"

#include <unordered_map>
#include <unordered_set>

#include "app/SystemServices.h"
#include "archive/ZipReader.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/Registry.h"
#include "platform/System.h"
#include "updates/AddressCipher.h"
#include "updates/UpdateDatabase.h"
#include "updates/UpdateKeys.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kNameChars = 260;
constexpr std::uint32_t kValueChars = 1024;
constexpr char kEnumKeyPath4x[] = "Enum";

bool AllDigits(std::string_view text) {
    if (text.empty())
        return false;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
    }
    return true;
}

// The subkey names of a key, in index order.
std::vector<std::string> SubKeys(Registry& registry, RegHandle key) {
    std::vector<std::string> names;
    std::string name;
    for (std::uint32_t i = 0; registry.EnumKey(key, i, kNameChars, &name) == kErrorSuccess; ++i)
        names.push_back(name);
    return names;
}

std::string ReadValue(Registry& registry, RegHandle key, std::string_view name) {
    std::string text;
    ReadRegText(registry, key, name, kValueChars, &text);
    return Trim(text);
}

struct Device {
    std::string name;
    std::string key;
    std::string installedDate;
};

} // namespace

std::string InstalledDateNumber(std::string_view date) {
    std::vector<std::string> parts;
    std::string part;
    for (char c : date) {
        if (c == '-' || c == '/') {
            parts.push_back(Trim(part));
            part.clear();
        } else {
            part += c;
        }
    }
    parts.push_back(Trim(part));
    if (parts.size() != 3)
        return kAnyInstalledDate;
    std::string year = parts[0], month = parts[1], day = parts[2];
    if (parts[2].size() == 4) { // month-day-year, as the registry writes it
        year = parts[2];
        month = parts[0];
        day = parts[1];
    }
    if (month.size() == 1)
        month = "0" + month;
    if (day.size() == 1)
        day = "0" + day;
    if (year.size() != 4 || month.size() != 2 || day.size() != 2 || !AllDigits(year + month + day))
        return kAnyInstalledDate;
    int m = std::stoi(month), d = std::stoi(day);
    if (m < 1 || m > 12 || d < 1 || d > 31)
        return kAnyInstalledDate;
    return year + month + day;
}

bool AddUpdateResult(const UpdateDatabase& db, std::string_view key, std::string_view installedDate,
                     std::string_view code, std::vector<UpdateResult>* results, std::string_view device) {
    std::string number = db.FindDeviceSlot(key, code);
    if (number == kNoRecord)
        return false;
    std::string_view record = db.FindRecord(number);
    std::vector<std::string> fields = Split(record, '$');
    if (fields.size() < static_cast<std::size_t>(kRecordFieldCount))
        return false; // a record number without a (whole) record line
    const std::string& date = fields[3];
    if (date.size() != 8 || !AllDigits(date) || date <= installedDate)
        return false;
    UpdateResult result;
    if (!DecipherAddress(fields[7], &result.url))
        return false;
    const std::string& title = fields[0];
    std::size_t lastFor = title.rfind("for");
    if (lastFor == std::string::npos) {
        result.name = title;
    } else {
        result.name = title.substr(0, lastFor);
        result.supportedOs = lastFor + 4 < title.size() ? title.substr(lastFor + 4) : std::string();
    }
    result.size = fields[1] + "MB";
    result.provider = fields[2];
    result.date = date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6, 2);
    result.version = fields[4];
    result.className = fields[5];
    result.isSigned = fields[6] == "0" ? "No" : "Yes";
    result.device = device;
    results->push_back(std::move(result));
    return true;
}

void MarkDuplicateResults(std::vector<UpdateResult>& results) {
    std::unordered_map<std::string, std::size_t> kept; // name -> the result listed for it
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (results[i].name == kDuplicateMarker)
            continue;
        auto [it, added] = kept.emplace(results[i].name, i);
        if (added)
            continue;
        UpdateResult& earlier = results[it->second];
        // yyyy-mm-dd compares as text.
        if (results[i].date > earlier.date) {
            earlier.name = kDuplicateMarker;
            it->second = i;
        } else {
            results[i].name = kDuplicateMarker;
        }
    }
}

std::vector<std::string> UnknownDeviceIds(Platform& platform) {
    std::vector<std::string> ids;
    Registry& registry = platform.registry;
    RegKey root(registry);
    const char* path = platform.system.GetVersion().major == 4 ? kEnumKeyPath4x : kEnumKeyPath;
    if (root.Open(kHkeyLocalMachine, path) != kErrorSuccess)
        return ids;
    for (const std::string& bus : SubKeys(registry, root.Handle())) {
        RegKey busKey(registry);
        if (busKey.Open(root.Handle(), bus) != kErrorSuccess)
            continue;
        for (const std::string& device : SubKeys(registry, busKey.Handle())) {
            RegKey deviceKey(registry);
            if (deviceKey.Open(busKey.Handle(), device) != kErrorSuccess)
                continue;
            for (const std::string& instance : SubKeys(registry, deviceKey.Handle())) {
                RegKey instanceKey(registry);
                if (instanceKey.Open(deviceKey.Handle(), instance) != kErrorSuccess)
                    continue;
                std::string className = ReadValue(registry, instanceKey.Handle(), "Class");
                if (!className.empty() && !EqualsNoCase(className, "Unknown"))
                    continue;
                // REG_MULTI_SZ reads up to its first NUL: the first identifier.
                std::string id = ReadValue(registry, instanceKey.Handle(), "HardwareID");
                if (!id.empty())
                    ids.push_back(id);
            }
        }
    }
    return ids;
}

std::string RunningOsCode(Platform& platform) {
    return OsCodeOfChoice(DefaultOsChoice(platform.system.GetVersion(), platform.system.Is64BitWindows()));
}

std::string HiddenUpdatesPath(Platform& platform) {
    std::string appData = CleanText(platform.system.GetSpecialFolder(kCsidlAppData));
    while (!appData.empty() && appData.back() == '\\')
        appData.pop_back();
    if (appData.empty())
        return {};
    return appData + "\\Vantrel\\" + kHiddenUpdatesFile;
}

std::vector<std::string> ReadHiddenUpdates(Platform& platform) {
    std::vector<std::string> lines;
    std::string path = HiddenUpdatesPath(platform), text;
    if (path.empty() || !ReadWholeFile(platform.fs, path, &text))
        return lines;
    for (std::string& line : Split(text, '\n')) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

bool HideUpdate(Platform& platform, const std::string& url) {
    std::string path = HiddenUpdatesPath(platform);
    if (path.empty())
        return false;
    std::string folder = path.substr(0, path.rfind('\\'));
    // The application-data folder itself may be missing on a fresh profile: make the whole path.
    if (!platform.fs.IsDirectory(folder) && !CreateDirectories(platform.fs, folder))
        return false;
    auto file = platform.fs.OpenWrite(path, true);
    if (!file)
        return false;
    std::string line = url + "\r\n";
    bool written = file->Write(line.data(), line.size());
    return file->Close() && written;
}

UpdateSearch SearchUpdates(Inventory& inventory, const std::string& databasePath, const std::string& code,
                           bool runningSystem, UpdateSearchObserver* observer) {
    UpdateSearchObserver none;
    if (observer == nullptr)
        observer = &none;
    Platform& platform = inventory.platform;
    FileSystem& fs = platform.fs;
    UpdateSearch search;
    if (!fs.Exists(databasePath)) {
        search.status = UpdateSearchStatus::MissingDatabase;
        return search;
    }
    std::string temp = WithBackslash(CleanText(GetTempFolder(platform)));
    std::string textPath = temp + kUpdateDbEntry;

    // Only the one entry is taken: nothing else of a strange archive lands in the temporary folder.
    ZipReader reader(fs);
    ZipExtractOptions options;
    options.password = kUpdateDbPassword;
    if (reader.Open(databasePath)) {
        const auto& entries = reader.Entries();
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (EqualsNoCase(entries[i].name, kUpdateDbEntry)) {
                options.only.push_back(i);
                break;
            }
        }
    }
    std::string text;
    bool extracted = !options.only.empty() && reader.Extract(temp, options).ok;
    if (extracted)
        extracted = ReadWholeFile(fs, textPath, &text);
    if (fs.Exists(textPath))
        fs.DeleteFile(textPath);
    if (!extracted) {
        search.status = UpdateSearchStatus::BrokenDatabase;
        return search;
    }
    observer->Started();
    observer->Pump();

    UpdateDatabase db;
    db.Load(std::move(text));
    std::vector<Device> devices;
    std::vector<std::string> unknownIds = UnknownDeviceIds(platform);
    for (int i = 1; i <= inventory.drivers.Count(); ++i) {
        const DriverRecord& record = inventory.drivers[i];
        devices.push_back({record.driverDesc.Trimmed(), MakeLookupKey(record.hardwareId.Trimmed()),
                           runningSystem ? InstalledDateNumber(record.driverDate.Trimmed())
                                         : std::string(kAnyInstalledDate)});
    }
    for (const std::string& id : unknownIds)
        devices.push_back({id, MakeLookupKey(id), kAnyInstalledDate});
    std::vector<std::string> keys;
    for (const Device& device : devices) {
        if (!device.key.empty())
            keys.push_back(device.key);
    }
    db.Index(keys);

    for (const Device& device : devices) {
        observer->Searching(device.name);
        if (!device.key.empty())
            AddUpdateResult(db, device.key, device.installedDate, code, &search.results, device.name);
        observer->Pump();
    }

    MarkDuplicateResults(search.results);
    std::vector<std::string> hiddenLines = ReadHiddenUpdates(platform);
    std::unordered_set<std::string> hidden(hiddenLines.begin(), hiddenLines.end());
    for (std::size_t i = 0; i < search.results.size(); ++i) {
        const UpdateResult& result = search.results[i];
        if (result.name != kDuplicateMarker && !hidden.count(result.url))
            search.listed.push_back(i);
    }
    return search;
}

} // namespace vantrel
