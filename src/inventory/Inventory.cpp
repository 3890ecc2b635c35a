#include "inventory/Inventory.h"

#include <unordered_map>
#include <unordered_set>

#include "app/SystemServices.h"
#include "inventory/InfFile.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

// No INF comes near this; a larger file of that name is not read at all.
constexpr std::uint64_t kMaxInfBytes = 128ull << 20;
// INF texts kept by one run before the oldest are dropped.
constexpr std::size_t kMaxCachedBytes = 192u << 20;

bool ReadInfBytes(FileSystem& fs, const std::string& path, std::string* bytes) {
    auto file = fs.OpenRead(path);
    if (!file || file->Size() > kMaxInfBytes)
        return false;
    bytes->resize(static_cast<std::size_t>(file->Size()));
    std::size_t done = 0;
    for (;;) {
        if (done == bytes->size())
            bytes->resize(done + 4096); // the file grew while we read it
        std::int64_t n = file->Read(bytes->data() + done, bytes->size() - done);
        if (n < 0)
            return false;
        if (n == 0)
            break;
        done += static_cast<std::size_t>(n);
        if (done > kMaxInfBytes)
            return false;
    }
    bytes->resize(done);
    return true;
}

} // namespace

void DriverFileList::Start(std::string_view infName) {
    count = 1;
    names.assign(2, std::string());
    sourceNames.assign(2, std::string());
    names[1] = std::string(infName);
    currentInfPath.clear();
}

void DriverFileList::Append(std::string_view name, std::string_view sourceName) {
    if (count >= kMaxCount)
        return;
    ++count;
    names.emplace_back(name);
    sourceNames.emplace_back(sourceName);
}

struct Inventory::RunCache {
    // Lower-cased folder -> lower-cased names of the files in it.
    std::unordered_map<std::string, std::unordered_set<std::string>> listings;
    // Lower-cased path -> text; nullptr for a file that could not be read.
    std::unordered_map<std::string, std::shared_ptr<const InfText>> infs;
    std::size_t infBytes = 0;
};

Inventory::Inventory(Platform& platform) : platform(platform) {}

Inventory::~Inventory() = default;

void Inventory::BeginRun() {
    if (runDepth++ == 0)
        run = std::make_unique<RunCache>();
}

void Inventory::EndRun() {
    if (runDepth > 0 && --runDepth == 0)
        run.reset();
}

bool Inventory::PathIsFile(const std::string& path) {
    FindData info;
    return platform.fs.GetInfo(path, &info) && !info.IsDirectory();
}

bool Inventory::FileExists(const std::string& folder, std::string_view name) {
    bool plainName = !name.empty() && name.find_first_of("\\/") == std::string_view::npos;
    if (!run || !plainName)
        return PathIsFile(folder + "\\" + std::string(name));
    auto [it, added] = run->listings.try_emplace(LowerAscii(folder));
    if (added) {
        std::vector<FindData> found;
        platform.fs.FindFiles(folder + "\\*", &found);
        for (const auto& entry : found) {
            if (!entry.IsDirectory())
                it->second.insert(LowerAscii(entry.name));
        }
    }
    return it->second.count(LowerAscii(name)) != 0;
}

std::shared_ptr<const InfText> Inventory::LoadInf(const std::string& path) {
    std::string key;
    if (run) {
        key = LowerAscii(path);
        auto found = run->infs.find(key);
        if (found != run->infs.end())
            return found->second;
    }
    std::shared_ptr<const InfText> inf;
    std::string bytes;
    if (ReadInfBytes(platform.fs, path, &bytes)) {
        ++infReads;
        inf = std::make_shared<InfText>(DecodeInfBytes(std::move(bytes), platform.system));
    }
    if (run) {
        std::size_t size = inf ? inf->Size() : 0;
        if (run->infBytes + size > kMaxCachedBytes) {
            run->infs.clear();
            run->infBytes = 0;
        }
        run->infBytes += size;
        run->infs.emplace(std::move(key), inf);
    }
    return inf;
}

std::string LocateInf(Inventory& inventory, std::string_view infPath, bool ownPath) {
    std::string name = Trim(infPath);
    if (name.empty())
        return {};
    std::string windows = GetWindowsFolder(inventory.platform);
    if (inventory.FileExists(windows + "\\inf", name))
        return windows + "\\inf\\" + name;
    if (inventory.FileExists(windows + "\\inf\\other", name))
        return windows + "\\inf\\other\\" + name;
    if (ownPath && inventory.PathIsFile(name))
        return name;
    return {};
}

bool FindInfFile(Inventory& inventory, std::string_view infPath) {
    return !LocateInf(inventory, infPath, true).empty();
}

bool IsNtFamily(Platform& platform) {
    int major = platform.system.GetVersion().major;
    return major == 5 || major == 6 || major == 10;
}

} // namespace vantrel
