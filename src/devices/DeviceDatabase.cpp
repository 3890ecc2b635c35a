#include "devices/DeviceDatabase.h"

#include <cctype>

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

} // namespace

void DeviceDatabase::Load(std::string_view text) {
    names.clear();
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        std::string_view line = text.substr(start, end - start);
        start = end + 1;
        auto equals = line.find('=');
        if (equals == std::string_view::npos)
            continue;
        std::string_view key = line.substr(0, equals);
        std::string name = TrimWhite(line.substr(equals + 1));
        if (name.empty() || !IsKey(key))
            continue;
        names.emplace(UpperAscii(key), std::move(name)); // the first line of a key counts
    }
}

const std::string* DeviceDatabase::Find(const std::string& key) const {
    auto it = names.find(key);
    return it == names.end() ? nullptr : &it->second;
}

PciNames DeviceDatabase::Lookup(const PciIds& ids) const {
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
    db->Load(bytes->View());
    return true;
}

} // namespace vantrel
