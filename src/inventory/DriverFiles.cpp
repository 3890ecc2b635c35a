#include "inventory/DriverFiles.h"

#include <algorithm>

#include "inventory/InfFile.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kCatalogChars = 512;
// FindFirstFileA cannot list a folder whose pattern would not fit MAX_PATH.
constexpr std::size_t kMaxPatternChars = 259;

void AppendCatalog(DriverFileList& files, std::string_view value) {
    std::string name = Trim(CleanInfLine(StripInfComment(value)));
    if (!name.empty())
        files.Append(name, "");
}

void ReadFileListSection(DriverFileList& files, const InfText& inf, std::string_view sectionName) {
    std::string header = "[";
    header += LowerAscii(sectionName);
    header += ']';
    for (std::string_view raw : inf.SectionLines(header)) {
        std::string cleaned = CleanInfLine(StripInfComment(raw));
        std::string_view line = cleaned;
        auto comma = line.find(',');
        std::string_view name = TrimView(line.substr(0, comma));
        // "dest,source,...": the second field is the name on the installation medium.
        std::string_view source;
        if (comma != std::string_view::npos) {
            std::string_view rest = line.substr(comma + 1);
            source = TrimView(rest.substr(0, rest.find(',')));
        }
        if (!name.empty())
            files.Append(name, source);
    }
}

// The CopyFiles directives of one section: "@file" names a file, anything else a file-list section.
void ReadInstallSection(Inventory& inventory, const InfText& inf, const std::string& header) {
    for (std::string_view raw : inf.SectionLines(header)) {
        std::string line = CleanInfLine(raw);
        if (!StartsWithNoCase(line, "copyfiles"))
            continue;
        auto eq = line.find('=');
        if (eq == std::string::npos)
            continue;
        std::string list = CleanInfLine(StripInfComment(std::string_view(line).substr(eq + 1)));
        for (const std::string& part : Split(list, ',')) {
            std::string item = Trim(part);
            if (item.empty())
                continue;
            if (item.front() == '@') {
                std::string file = Trim(std::string_view(item).substr(1));
                if (!file.empty())
                    inventory.files.Append(file, "");
            } else {
                ReadFileListSection(inventory.files, inf, item);
            }
        }
    }
}

} // namespace

void BuildDriverFileList(Inventory& inventory, int recordIndex) {
    DriverFileList& files = inventory.files;
    if (recordIndex < 1 || recordIndex > inventory.drivers.Count()) {
        files.Start("");
        return;
    }
    const DriverRecord& record = inventory.drivers[recordIndex];
    std::string_view infPath = record.infPath.TrimmedView();
    files.Start(infPath);
    if (infPath.empty())
        return;
    std::string path = LocateInf(inventory, infPath, true);
    if (path.empty())
        return;
    files.currentInfPath = path;
    files.names[1] = path.substr(path.rfind('\\') + 1);

    auto inf = inventory.LoadInf(path);
    if (!inf)
        return;
    AppendCatalog(files, inf->VersionValue("CatalogFile", kCatalogChars));
    if (IsNtFamily(inventory.platform)) {
        // Of the decorated keys the last one that has a value wins.
        std::string decorated;
        for (const char* key :
             {"CatalogFile.nt", "CatalogFile.ntx86", "CatalogFile.ntia64", "CatalogFile.ntamd64"}) {
            std::string value = inf->VersionValue(key, kCatalogChars);
            if (!value.empty())
                decorated = value;
        }
        AppendCatalog(files, decorated);
    }

    std::string section = LowerAscii(record.infSection.TrimmedView());
    ReadInstallSection(inventory, *inf, "[" + section + "]");
    ReadInstallSection(inventory, *inf, "[" + section + ".coinstallers]");
}

void ReadCopyFilesSection(Inventory& inventory, std::string_view sectionName) {
    const std::string& path = inventory.files.currentInfPath;
    if (Trim(path).empty())
        return;
    if (auto inf = inventory.LoadInf(path))
        ReadFileListSection(inventory.files, *inf, sectionName);
}

std::string GetSupportedOs(Inventory& inventory, int recordIndex) {
    if (recordIndex < 1 || recordIndex > inventory.drivers.Count())
        return {};
    std::string infPath = inventory.drivers[recordIndex].infPath.Trimmed();
    if (infPath.empty())
        return {};
    std::string path = LocateInf(inventory, infPath, true);
    auto inf = path.empty() ? nullptr : inventory.LoadInf(path);
    if (!inf)
        return {};
    std::string line = inf->SignatureLine();
    if (line.empty())
        return {};
    std::string value = CleanInfLine(StripInfComment(std::string_view(line).substr(line.find('=') + 1)));
    auto first = value.find('$');
    auto next = first == std::string::npos ? std::string::npos : value.find('$', first + 1);
    if (next == std::string::npos)
        return {};
    std::string signature = LowerAscii(value.substr(first + 1, next - first - 1));
    if (signature == "windows nt")
        return inventory.platform.system.GetVersion().major == 6 ? "Windows Vista"
                                                                 : "Windows 2000, Windows XP, Windows 2003";
    if (signature == "windows 95")
        return "Windows 9x/Me";
    if (signature == "chicago")
        return "All Windows Operating Systems";
    return {};
}

namespace {

std::string WithoutTrailingSlash(std::string folder) {
    while (folder.size() > 1 && folder.back() == '\\')
        folder.pop_back();
    return folder;
}

} // namespace

std::string FileFinder::FindFileRecursive(const std::string& folder, std::string_view name) {
    return FindFileInTrees({folder}, name);
}

std::string FileFinder::FindFileInTrees(const std::vector<std::string>& folders, std::string_view name) {
    if (found >= kMaxFound || folders.empty())
        return {};
    std::vector<std::string> roots;
    std::string key;
    for (const auto& folder : folders) {
        roots.push_back(WithoutTrailingSlash(folder));
        key += LowerAscii(roots.back()) + '\n';
    }
    key.pop_back();
    auto [tree, added] = trees.try_emplace(key);
    if (added) {
        std::vector<std::string> walked;
        for (const auto& root : roots) {
            std::string lower = LowerAscii(root);
            bool inside = std::any_of(walked.begin(), walked.end(), [&](const std::string& earlier) {
                return lower == earlier || lower.starts_with(earlier + '\\');
            });
            // A name is kept from the first tree that has it, so a later tree adds only new names.
            if (!inside)
                Walk(root, &tree->second, walked);
            walked.push_back(lower);
        }
    }
    return Lookup(tree->second, name);
}

std::string FileFinder::Lookup(const Index& index, std::string_view name) {
    auto hit = index.find(LowerAscii(name));
    if (hit == index.end())
        return {};
    ++found;
    return hit->second;
}

void FileFinder::Walk(const std::string& root, Index* index, const std::vector<std::string>& skip) {
    struct Frame {
        std::string folder;
        std::vector<FindData> entries;
        std::size_t next = 0;
    };
    auto list = [this](const std::string& folder) {
        Frame frame{folder, {}, 0};
        if (folder.size() + 2 <= kMaxPatternChars) {
            fs.FindFiles(folder + "\\*", &frame.entries);
            ++listed;
        }
        return frame;
    };
    // Subfolders are entered where the listing meets them, as a recursive walk would.
    std::vector<Frame> stack;
    stack.push_back(list(root));
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next >= frame.entries.size()) {
            stack.pop_back();
            continue;
        }
        const FindData& entry = frame.entries[frame.next++];
        std::string path = frame.folder + "\\" + entry.name;
        if (!entry.IsDirectory()) {
            index->try_emplace(LowerAscii(entry.name), std::move(path));
        } else if ((entry.attributes & kFileAttributeReparsePoint) == 0 &&
                   std::find(skip.begin(), skip.end(), LowerAscii(path)) == skip.end()) {
            // Junctions are not followed: they lead back into trees already walked.
            stack.push_back(list(path));
        }
    }
}

} // namespace vantrel
