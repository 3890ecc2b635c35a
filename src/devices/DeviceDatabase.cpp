#include "devices/DeviceDatabase.h"

#include <array>
#include <cctype>
#include <cstdint>

#include "platform/FileSystem.h"
#include "util/Text.h"

namespace vantrel {

namespace {

bool IsHexField(std::string_view text, std::size_t size) {
    if (text.size() != size)
        return false;
    for (char c : text) {
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
    }
    return true;
}

// "VVVV", "VVVV:DDDD", ... : hex fields of the widths a key of that length has.
bool IsKey(std::string_view key) {
    static constexpr std::size_t kWidths[] = {4, 4, 2};
    static constexpr std::size_t kSubsysWidths[] = {4, 4, 4, 4, 2};
    auto fields = Split(key, ':');
    const std::size_t* widths = fields.size() >= 4 ? kSubsysWidths : kWidths;
    std::size_t limit = fields.size() >= 4 ? 5 : 3;
    if (fields.size() > limit || fields.size() == 0)
        return false;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!IsHexField(fields[i], widths[i]))
            return false;
    }
    return true;
}

char AsciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// The value of four hex digits, or -1. Every line of the file passes here: a table, not branches.
int HexValue(std::string_view digits) {
    static const auto kDigits = [] {
        std::array<signed char, 256> table{};
        table.fill(-1);
        for (int i = 0; i < 10; ++i)
            table['0' + i] = static_cast<signed char>(i);
        for (int i = 0; i < 6; ++i)
            table['A' + i] = table['a' + i] = static_cast<signed char>(10 + i);
        return table;
    }();
    int value = 0;
    for (char c : digits) {
        int digit = kDigits[static_cast<unsigned char>(c)];
        if (digit < 0)
            return -1;
        value = value * 16 + digit;
    }
    return value;
}

// "VVVV", "VVVV:DDDD", "VVVV:DDDD:RR", "VVVV:DDDD:SSSS:ssss", "VVVV:DDDD:SSSS:ssss:RR".
bool IsKeyLength(std::size_t length) {
    return length == 4 || length == 9 || length == 12 || length == 19 || length == 22;
}

// Calls visit(line) for each line until it returns true.
template <typename Visit> void ForEachKeyLine(std::string_view text, Visit visit) {
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        if (visit(line))
            return;
    }
}

// The key and name of a line that counts, or false.
bool ParseLine(std::string_view line, std::string_view* key, std::string* name) {
    auto equals = line.find('=');
    if (equals == std::string_view::npos)
        return false;
    *key = line.substr(0, equals);
    *name = TrimWhite(line.substr(equals + 1));
    return !name->empty() && IsKey(*key);
}

// The keys a look-up of these ids may read, upper-case, in the order the names override.
std::vector<std::string> LookupKeys(const PciIds& ids) {
    std::vector<std::string> keys;
    std::string vendor = UpperAscii(ids.vendor), device = UpperAscii(ids.device);
    if (!IsHexField(vendor, 4))
        return keys;
    keys.push_back(vendor);
    if (!IsHexField(device, 4))
        return keys;
    std::string revision = UpperAscii(ids.revision);
    bool hasRevision = IsHexField(revision, 2);
    std::string deviceKey = vendor + ":" + device;
    keys.push_back(deviceKey);
    if (hasRevision)
        keys.push_back(deviceKey + ":" + revision);
    std::string subsystem = UpperAscii(ids.subsystem);
    if (subsystem == kNoSubsystem || !IsHexField(subsystem, 8))
        return keys;
    std::string subsysKey = deviceKey + ":" + subsystem.substr(0, 4) + ":" + subsystem.substr(4, 4);
    keys.push_back(subsysKey);
    if (hasRevision)
        keys.push_back(subsysKey + ":" + revision);
    keys.push_back(subsystem.substr(4, 4));
    return keys;
}

} // namespace

void DeviceDatabase::Load(std::unique_ptr<const FileBytes> bytes) {
    std::shared_ptr<const FileBytes> file = std::move(bytes);
    text = file->View();
    holder = std::move(file);
    names.clear();
    searched.clear();
}

void DeviceDatabase::Load(std::string_view newText) {
    auto owned = std::make_shared<const std::string>(newText);
    text = *owned;
    holder = std::move(owned);
    names.clear();
    searched.clear();
}

bool DeviceDatabase::Empty() const {
    bool any = false;
    ForEachKeyLine(text, [&any](std::string_view line) {
        std::string_view key;
        std::string name;
        any = ParseLine(line, &key, &name);
        return any;
    });
    return !any;
}

void DeviceDatabase::Prepare(const std::vector<PciIds>& devices) const {
    std::vector<std::string> keys;
    for (const PciIds& ids : devices) {
        std::vector<std::string> more = LookupKeys(ids);
        keys.insert(keys.end(), more.begin(), more.end());
    }
    Resolve(std::move(keys));
}

void DeviceDatabase::Resolve(std::vector<std::string> keys) const {
    std::erase_if(keys, [this](const std::string& key) { return searched.count(key) > 0; });
    if (keys.empty())
        return;
    std::unordered_set<std::string> wanted(keys.begin(), keys.end());
    // Bit maps of the wanted vendor ids and of the device ids under any wanted vendor: most
    // lines fall at one of them, and the exact pair is checked only for the few left.
    std::vector<bool> vendors(0x10000), devices(0x10000);
    std::unordered_set<std::uint32_t> chips; // vendor << 16 | device
    for (const std::string& key : keys) {
        auto vendor = static_cast<std::uint32_t>(HexValue(key.substr(0, 4)));
        vendors[vendor] = true;
        if (key.size() >= 9) {
            auto device = static_cast<std::uint32_t>(HexValue(key.substr(5, 4)));
            devices[device] = true;
            chips.insert(vendor << 16 | device);
        }
    }
    std::string key; // keeps its room from line to line
    ForEachKeyLine(text, [&](std::string_view line) {
        int vendor = line.size() > 4 ? HexValue(line.substr(0, 4)) : -1;
        if (vendor < 0 || !vendors[static_cast<std::size_t>(vendor)])
            return false;
        if (line[4] != '=') {
            int device = line.size() > 9 && line[4] == ':' ? HexValue(line.substr(5, 4)) : -1;
            if (device < 0 || !devices[static_cast<std::size_t>(device)] ||
                chips.count(static_cast<std::uint32_t>(vendor) << 16 | static_cast<std::uint32_t>(device)) ==
                    0)
                return false;
        }
        std::size_t equals = line.find('=');
        if (equals == std::string_view::npos || !IsKeyLength(equals))
            return false;
        key.assign(line.substr(0, equals));
        for (char& c : key)
            c = AsciiUpper(c);
        std::string_view rawKey;
        std::string name;
        if (wanted.count(key) > 0 && ParseLine(line, &rawKey, &name))
            names.emplace(key, std::move(name)); // the first line of a key counts
        return false;
    });
    searched.insert(wanted.begin(), wanted.end());
}

const std::string* DeviceDatabase::Find(const std::string& key) const {
    auto it = names.find(key);
    return it == names.end() ? nullptr : &it->second;
}

PciNames DeviceDatabase::Lookup(const PciIds& ids) const {
    Resolve(LookupKeys(ids));
    PciNames result;
    std::string vendor = UpperAscii(ids.vendor), device = UpperAscii(ids.device);
    if (!IsHexField(vendor, 4))
        return result;
    if (const std::string* name = Find(vendor))
        result.chipVendor = *name;
    if (!IsHexField(device, 4))
        return result;
    std::string deviceKey = vendor + ":" + device;
    std::string revision = UpperAscii(ids.revision);
    bool hasRevision = IsHexField(revision, 2);
    for (const std::string& key : {deviceKey, hasRevision ? deviceKey + ":" + revision : std::string()}) {
        if (const std::string* name = key.empty() ? nullptr : Find(key))
            result.chipName = *name;
    }
    result.oemName = result.chipName; // the less specific name until a subsystem line says more
    std::string subsystem = UpperAscii(ids.subsystem);
    if (subsystem == kNoSubsystem || !IsHexField(subsystem, 8))
        return result;
    std::string subsysKey = deviceKey + ":" + subsystem.substr(0, 4) + ":" + subsystem.substr(4, 4);
    for (const std::string& key : {subsysKey, hasRevision ? subsysKey + ":" + revision : std::string()}) {
        if (const std::string* name = key.empty() ? nullptr : Find(key))
            result.oemName = *name;
    }
    if (const std::string* name = Find(subsystem.substr(4, 4)))
        result.oemVendor = *name;
    return result;
}

bool LoadDeviceDatabase(FileSystem& fs, std::string_view path, DeviceDatabase* db) {
    constexpr std::uint64_t kMaxBytes = 256u << 20; // far above any real database
    auto bytes = fs.ReadAll(path, kMaxBytes);
    if (!bytes)
        return false;
    db->Load(std::move(bytes));
    return true;
}

} // namespace vantrel
