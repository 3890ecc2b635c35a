#include "inventory/DriverFiles.h"

#include <algorithm>
#include <unordered_set>

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

// Where the entries of a section walk go. The walk the list has always made keeps every name it
// meets, repeats included; the walks after it add only files that are not listed yet.
class FileSink {
public:
    FileSink(DriverFileList& files, bool onlyNew) : files(files), onlyNew(onlyNew) {
        if (onlyNew) {
            for (int i = 1; i <= files.count; ++i)
                listed.insert(Key(files.names[static_cast<std::size_t>(i)],
                                  files.sourceNames[static_cast<std::size_t>(i)]));
        }
    }
    void Add(std::string_view name, std::string_view source) {
        if (onlyNew && !listed.insert(Key(name, source)).second)
            return;
        files.Append(name, source);
    }

private:
    // One file is one installed name from one source name.
    static std::string Key(std::string_view name, std::string_view source) {
        return LowerAscii(name) + '\n' + LowerAscii(source.empty() ? name : source);
    }

    DriverFileList& files;
    bool onlyNew;
    std::unordered_set<std::string> listed;
};

using SectionLookup = std::vector<std::string_view> (*)(const InfText&, std::string_view name);

// The line reader's match: the first line that, comment-stripped, cleaned and lower-cased, is
// "[name]".
std::vector<std::string_view> LiteralSection(const InfText& inf, std::string_view name) {
    std::string header = "[";
    header += LowerAscii(name);
    header += ']';
    return inf.SectionLines(header);
}

// Windows' match: blanks around the name, blanks and a comment after the "]" do not count.
std::vector<std::string_view> WindowsSection(const InfText& inf, std::string_view name) {
    return inf.SectionLinesByName(name);
}

void ReadFileListSection(FileSink& sink, const InfText& inf, std::string_view sectionName,
                         SectionLookup lookup) {
    for (std::string_view raw : lookup(inf, sectionName)) {
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
            sink.Add(name, source);
    }
}

// The CopyFiles directives of one section: "@file" names a file, anything else a file-list section.
void ReadInstallSection(FileSink& sink, const InfText& inf, std::string_view sectionName,
                        SectionLookup lookup) {
    for (std::string_view raw : lookup(inf, sectionName)) {
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
                    sink.Add(file, "");
            } else {
                ReadFileListSection(sink, inf, item, lookup);
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

    std::string section(record.infSection.TrimmedView());
    FileSink all(files, false);
    ReadInstallSection(all, *inf, section, LiteralSection);
    ReadInstallSection(all, *inf, section + ".coinstallers", LiteralSection);
    if (section.empty())
        return;
    // Then what Windows itself reads, or a backup would lack the driver's binaries: headers
    // written loosely ("[name] ", "[ name ] ; note") and the section it actually ran, the
    // install section with its decoration (InfSectionExt: ".NTamd64", ".NT"), which modern INFs
    // have without any plain one. These only add files: where the plain and the decorated
    // section name the same file it is listed once, not searched and saved twice.
    FileSink added(files, true);
    std::string extension(record.infSectionExt.TrimmedView());
    std::vector<std::string> sections = {section, section + ".CoInstallers"};
    if (!extension.empty()) {
        sections.push_back(section + extension);
        sections.push_back(section + extension + ".CoInstallers");
    }
    for (const std::string& name : sections)
        ReadInstallSection(added, *inf, name, WindowsSection);
}

void ReadCopyFilesSection(Inventory& inventory, std::string_view sectionName) {
    const std::string& path = inventory.files.currentInfPath;
    if (Trim(path).empty())
        return;
    if (auto inf = inventory.LoadInf(path)) {
        FileSink sink(inventory.files, false);
        ReadFileListSection(sink, *inf, sectionName, LiteralSection);
    }
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

DriverStore::DriverStore(FileSystem& fs, std::string repository)
    : fs(fs), repository(WithoutTrailingSlash(std::move(repository))), files(fs) {}

void DriverStore::List() {
    listed = true;
    std::vector<FindData> entries;
    if (!fs.FindFiles(repository + "\\*", &entries))
        return;
    for (const FindData& entry : entries) {
        if (!entry.IsDirectory() || entry.name == "." || entry.name == "..")
            continue;
        // "<inf name>_<arch>_<hash>": the INF's own name may hold "_", the other two parts do not.
        std::size_t hash = entry.name.rfind('_');
        std::size_t arch =
            hash == std::string::npos || hash == 0 ? std::string::npos : entry.name.rfind('_', hash - 1);
        if (arch == std::string::npos || arch == 0)
            continue;
        std::string inf = entry.name.substr(0, arch);
        byInfName[LowerAscii(inf)].push_back(packages.size());
        Package package;
        package.folder = repository + "\\" + entry.name;
        package.inf = std::move(inf);
        packages.push_back(std::move(package));
    }
}

bool DriverStore::Measure(Package& package) {
    if (!package.measured) {
        package.measured = true;
        FindData info;
        if (fs.GetInfo(package.folder + "\\" + package.inf, &info) && !info.IsDirectory())
            package.size = info.size;
    }
    return package.size > 0;
}

bool DriverStore::SameBytes(Package& package, std::uint64_t size, const std::string& bytes) {
    if (!Measure(package) || package.size != size)
        return false;
    if (!package.read) {
        package.read = true;
        ++infsRead;
        ReadWholeFile(fs, package.folder + "\\" + package.inf, &package.bytes);
    }
    return package.bytes == bytes;
}

std::string DriverStore::PackageOf(const std::string& installedInf) {
    if (!listed)
        List();
    FindData info;
    if (packages.empty() || !fs.GetInfo(installedInf, &info) || info.IsDirectory() || info.size == 0)
        return {};
    std::string bytes;
    bool haveBytes = false;
    auto matches = [&](Package& package) {
        if (!Measure(package) || package.size != info.size)
            return false;
        if (!haveBytes) {
            haveBytes = true;
            ReadWholeFile(fs, installedInf, &bytes);
        }
        return SameBytes(package, info.size, bytes);
    };
    // A package INF of the installed name first (an INF Windows ships keeps its name), then
    // any other: an "oemNN.inf" names none of them.
    std::string name = LowerAscii(installedInf.substr(installedInf.rfind('\\') + 1));
    auto sameName = byInfName.find(name);
    if (sameName != byInfName.end()) {
        for (std::size_t k : sameName->second) {
            if (matches(packages[k]))
                return packages[k].folder;
        }
    }
    if (!sized) {
        sized = true;
        for (std::size_t k = 0; k < packages.size(); ++k) {
            if (Measure(packages[k]))
                bySize[packages[k].size].push_back(k);
        }
    }
    auto sameSize = bySize.find(info.size);
    if (sameSize != bySize.end()) {
        for (std::size_t k : sameSize->second) {
            if (matches(packages[k]))
                return packages[k].folder;
        }
    }
    return {};
}

std::string DriverStore::FindInPackage(const std::string& package, std::string_view name) {
    if (package.empty() || name.empty())
        return {};
    return files.FindFileRecursive(package, name);
}

} // namespace vantrel
