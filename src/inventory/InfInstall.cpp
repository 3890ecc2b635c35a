#include "inventory/InfInstall.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <tuple>

#include "inventory/InfFile.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kVersionChars = 512;

int Number(std::string_view text) {
    return text.empty() ? 0 : std::atoi(std::string(text).c_str());
}

// A medium path as a folder below the INF's: "\amd64\" and "amd64" both give "amd64".
std::string MediumFolder(std::string_view path) {
    std::string folder(path);
    std::replace(folder.begin(), folder.end(), '/', '\\');
    while (!folder.empty() && folder.front() == '\\')
        folder.erase(0, 1);
    while (!folder.empty() && folder.back() == '\\')
        folder.pop_back();
    return folder == "." ? std::string() : folder;
}

std::string JoinFolders(const std::string& a, const std::string& b) {
    if (a.empty() || b.empty())
        return a.empty() ? b : a;
    return a + "\\" + b;
}

} // namespace

InfInstallReader::InfInstallReader(const InfText& inf, InfTarget target)
    : inf(inf), target(std::move(target)) {
    this->target.processor = LowerAscii(this->target.processor);
}

std::string InfInstallReader::Expand(std::string_view text) const {
    if (text.find('%') == std::string_view::npos)
        return std::string(text);
    if (!stringsRead) {
        stringsRead = true;
        for (std::string_view raw : inf.SectionLinesByName("Strings")) {
            InfLineFields line = SplitInfLine(raw);
            if (!line.hasKey || line.fields.empty())
                continue;
            // A value writes a percent sign as "%%".
            std::string value;
            for (std::size_t k = 0; k < line.fields[0].size(); ++k) {
                value.push_back(line.fields[0][k]);
                if (line.fields[0].compare(k, 2, "%%") == 0)
                    ++k;
            }
            strings.try_emplace(LowerAscii(line.key), std::move(value));
        }
    }
    std::string out;
    std::size_t pos = 0;
    while (pos < text.size()) {
        std::size_t open = text.find('%', pos);
        std::size_t close = open == std::string_view::npos ? open : text.find('%', open + 1);
        if (close == std::string_view::npos) {
            out.append(text.substr(pos));
            break;
        }
        out.append(text.substr(pos, open - pos));
        std::string_view key = text.substr(open + 1, close - open - 1);
        auto hit = key.empty() ? strings.end() : strings.find(LowerAscii(key));
        if (key.empty())
            out.push_back('%');
        else if (hit != strings.end())
            out.append(hit->second);
        else
            out.append(text.substr(open, close - open + 1));
        pos = close + 1;
    }
    return out;
}

// "nt[processor][.major[.minor[.productType[.suiteMask[.build]]]]]": it fits when the processor
// is missing or the target's and the version is not above the target's. A decoration that names
// the processor, then a higher version, is the more specific one.
bool InfInstallReader::DecorationFits(std::string_view decoration, int* rank) const {
    std::vector<std::string> parts = Split(LowerAscii(decoration), '.');
    if (parts.empty() || !parts[0].starts_with("nt"))
        return false;
    std::string processor = parts[0].substr(2);
    if (!processor.empty() && processor != target.processor)
        return false;
    auto part = [&](std::size_t k) { return k < parts.size() ? Number(parts[k]) : 0; };
    int major = part(1), minor = part(2), build = part(5);
    if (target.major != 0) {
        auto wanted = std::tie(major, minor, build);
        if (wanted > std::tie(target.major, target.minor, target.build))
            return false;
    }
    // Windows versions stay below 100 and builds below 100,000.
    *rank = (processor.empty() ? 0 : 1) * 1000000000 + std::min(major, 99) * 10000000 +
            std::min(minor, 99) * 100000 + std::min(build, 99999);
    return true;
}

bool InfInstallReader::FindModel(std::string_view hardwareId, InfModel* model) const {
    bool found = false;
    for (std::string_view raw : inf.SectionLinesByName("Manufacturer")) {
        InfLineFields maker = SplitInfLine(raw);
        if (maker.fields.empty())
            continue;
        std::string models = Expand(maker.fields[0]);
        std::string section = models;
        int best = -1;
        for (std::size_t k = 1; k < maker.fields.size(); ++k) {
            std::string decoration = Expand(maker.fields[k]);
            int rank = 0;
            if (DecorationFits(decoration, &rank) && rank > best &&
                inf.HasSectionByName(models + "." + decoration)) {
                best = rank;
                section = models + "." + decoration;
            }
        }
        for (std::string_view line : inf.SectionLinesByName(section)) {
            InfLineFields entry = SplitInfLine(line);
            for (std::size_t k = 1; k < entry.fields.size(); ++k) {
                std::string id = Expand(entry.fields[k]);
                if (!EqualsNoCase(id, hardwareId))
                    continue;
                bool compatible = k > 1;
                // A compatible match is kept only until a hardware-ID match turns up.
                if (found && compatible)
                    break;
                *model = {section, Expand(entry.key), Expand(entry.fields[0]), std::move(id), compatible};
                found = true;
                if (!compatible)
                    return true;
                break;
            }
        }
    }
    return found;
}

bool InfInstallReader::DecorateInstallSection(std::string_view section, std::string* extension) const {
    // ".NTx86", ".NTamd64": the processor as it is written elsewhere in the INF.
    for (const std::string& candidate : {".NT" + target.processor, std::string(".NT"), std::string()}) {
        if (inf.HasSectionByName(std::string(section) + candidate)) {
            *extension = candidate;
            return true;
        }
    }
    return false;
}

std::string InfInstallReader::VersionText(std::string_view key) const {
    return Expand(TrimWhite(CleanInfLine(StripInfComment(inf.VersionValue(key, kVersionChars)))));
}

std::string InfInstallReader::CatalogFile() const {
    for (std::string key :
         {"CatalogFile.NT" + target.processor, std::string("CatalogFile.NT"), std::string("CatalogFile")}) {
        std::string value = VersionText(key);
        if (!value.empty())
            return value;
    }
    return {};
}

void InfInstallReader::ReadSourceSections() const {
    if (sourcesRead)
        return;
    sourcesRead = true;
    const std::string suffixes[2] = {"." + target.processor, ""};
    for (int k = 0; k < 2; ++k) {
        for (std::string_view raw : inf.SectionLinesByName("SourceDisksNames" + suffixes[k])) {
            InfLineFields line = SplitInfLine(raw);
            if (line.hasKey)
                diskPaths[k].try_emplace(Expand(line.key),
                                         line.fields.size() > 3 ? Expand(line.fields[3]) : "");
        }
        for (std::string_view raw : inf.SectionLinesByName("SourceDisksFiles" + suffixes[k])) {
            InfLineFields line = SplitInfLine(raw);
            if (!line.hasKey)
                continue;
            DiskFile file{line.fields.empty() ? "" : Expand(line.fields[0]),
                          line.fields.size() > 1 ? Expand(line.fields[1]) : ""};
            diskFiles[k].try_emplace(LowerAscii(Expand(line.key)), std::move(file));
        }
    }
}

std::string InfInstallReader::SourceFolder(std::string_view sourceName) const {
    ReadSourceSections();
    std::string key = LowerAscii(sourceName);
    for (int k = 0; k < 2; ++k) {
        auto file = diskFiles[k].find(key);
        if (file == diskFiles[k].end())
            continue;
        // The disk is looked up the same way: the processor's section first.
        std::string disk;
        for (int d = 0; d < 2; ++d) {
            auto path = diskPaths[d].find(file->second.disk);
            if (path != diskPaths[d].end()) {
                disk = path->second;
                break;
            }
        }
        return JoinFolders(MediumFolder(disk), MediumFolder(file->second.subfolder));
    }
    return {};
}

void InfInstallReader::AddFile(std::string name, std::string sourceName,
                               std::vector<InfSourceFile>* files) const {
    if (name.empty())
        return;
    if (sourceName.empty())
        sourceName = name;
    InfSourceFile file{std::move(name), std::move(sourceName), {}};
    file.sourceFolder = SourceFolder(file.sourceName);
    bool known = std::any_of(files->begin(), files->end(), [&](const InfSourceFile& other) {
        return EqualsNoCase(other.name, file.name) && EqualsNoCase(other.sourceName, file.sourceName) &&
               EqualsNoCase(other.sourceFolder, file.sourceFolder);
    });
    if (!known)
        files->push_back(std::move(file));
}

void InfInstallReader::ReadCopyList(std::string_view section, std::vector<InfSourceFile>* files) const {
    for (std::string_view raw : inf.SectionLinesByName(section)) {
        InfLineFields line = SplitInfLine(raw);
        if (!line.hasKey || !EqualsNoCase(line.key, "CopyFiles"))
            continue;
        for (const std::string& item : line.fields) {
            std::string value = Expand(item);
            if (value.starts_with('@')) {
                AddFile(TrimWhite(value.substr(1)), {}, files);
                continue;
            }
            // "dest[,source[,temporary[,flags]]]"
            for (std::string_view entry : inf.SectionLinesByName(value)) {
                InfLineFields copy = SplitInfLine(entry);
                if (copy.hasKey || copy.fields.empty())
                    continue;
                AddFile(Expand(copy.fields[0]), copy.fields.size() > 1 ? Expand(copy.fields[1]) : "", files);
            }
        }
    }
}

std::vector<InfSourceFile> InfInstallReader::CopiedFiles(std::string_view installSection) const {
    std::vector<InfSourceFile> files;
    ReadCopyList(installSection, &files);
    ReadCopyList(std::string(installSection) + ".CoInstallers", &files);
    return files;
}

std::vector<std::string> GeneralHardwareIds(std::string_view hardwareId) {
    std::string id = Trim(hardwareId);
    std::size_t slash = id.find('\\');
    std::string bus = slash == std::string::npos ? std::string() : id.substr(0, slash + 1);
    std::vector<std::string> parts = Split(slash == std::string::npos ? id : id.substr(slash + 1), '&');
    auto without = [&](bool revision, bool subsystem) {
        std::string out;
        for (const auto& part : parts) {
            if ((revision && StartsWithNoCase(part, "REV_")) ||
                (subsystem && StartsWithNoCase(part, "SUBSYS_")))
                continue;
            out += (out.empty() ? "" : "&") + part;
        }
        return bus + out;
    };
    std::vector<std::string> ids;
    for (const auto& [revision, subsystem] :
         {std::pair{false, false}, {true, false}, {false, true}, {true, true}}) {
        std::string general = without(revision, subsystem);
        bool known = std::any_of(ids.begin(), ids.end(),
                                 [&](const std::string& earlier) { return earlier == general; });
        if (!general.empty() && general != bus && !known)
            ids.push_back(general);
    }
    return ids;
}

InfInstallResult AnalyzeInfInstall(const InfText& inf, std::string_view hardwareId, const InfTarget& target,
                                   InfInstallInfo* info) {
    InfInstallReader reader(inf, target);
    *info = {};
    info->infClass = reader.VersionText("Class");
    info->classGuid = reader.VersionText("ClassGUID");
    info->catalogFile = reader.CatalogFile();
    std::vector<std::string> ids = GeneralHardwareIds(hardwareId);
    if (std::none_of(ids.begin(), ids.end(),
                     [&](const std::string& id) { return reader.FindModel(id, &info->model); }))
        return InfInstallResult::NoModel;
    if (!reader.DecorateInstallSection(info->model.installSection, &info->installSectionExt))
        return InfInstallResult::NoInstallSection;
    info->installSection = info->model.installSection + info->installSectionExt;
    info->files = reader.CopiedFiles(info->installSection);
    return InfInstallResult::Ok;
}

} // namespace vantrel
