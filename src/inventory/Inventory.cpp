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
    // LocateInf answers by ownPath and the name as asked.
    std::unordered_map<std::string, Located> located[2];
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
        std::vector<std::string> names;
        platform.fs.FileNames(folder, &names);
        for (const auto& name : names)
            it->second.insert(LowerAscii(name));
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
    if (auto bytes = platform.fs.ReadAll(path, kMaxInfBytes)) {
        ++infReads;
        if (InfNeedsDecoding(bytes->View()))
            inf = std::make_shared<InfText>(DecodeInfBytes(bytes->View(), platform.system));
        else
            inf = std::make_shared<InfText>(std::move(bytes));
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

Inventory::Located* Inventory::LocatedSlot(std::string_view infPath, bool ownPath) {
    if (!run)
        return nullptr;
    return &run->located[ownPath ? 1 : 0][std::string(infPath)];
}

namespace {

std::string FindInfPath(Inventory& inventory, std::string_view name, bool ownPath) {
    std::string windows = GetWindowsFolder(inventory.platform);
    if (inventory.FileExists(windows + "\\inf", name))
        return windows + "\\inf\\" + std::string(name);
    if (inventory.FileExists(windows + "\\inf\\other", name))
        return windows + "\\inf\\other\\" + std::string(name);
    if (ownPath && inventory.PathIsFile(std::string(name)))
        return std::string(name);
    return {};
}

} // namespace

// Each driver asks for its INF twice in a run (for its date and version, then its files).
std::string LocateInf(Inventory& inventory, std::string_view infPath, bool ownPath) {
    std::string_view name = TrimView(infPath);
    if (name.empty())
        return {};
    Inventory::Located* slot = inventory.LocatedSlot(name, ownPath);
    if (slot == nullptr)
        return FindInfPath(inventory, name, ownPath);
    if (!slot->found) {
        slot->found = true;
        slot->path = FindInfPath(inventory, name, ownPath);
    }
    return slot->path;
}

bool FindInfFile(Inventory& inventory, std::string_view infPath) {
    return !LocateInf(inventory, infPath, true).empty();
}

bool IsNtFamily(Platform& platform) {
    int major = platform.system.GetVersion().major;
    return major == 5 || major == 6 || major == 10;
}

} // namespace vantrel
