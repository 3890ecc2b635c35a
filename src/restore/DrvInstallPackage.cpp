#include "restore/DrvInstallPackage.h"

#include <algorithm>

#include "inventory/InfInstall.h"
#include "platform/FileSystem.h"
#include "util/Text.h"

namespace vantrel {

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view SkipBlanks(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string Unquoted(std::string_view text) {
    text = SkipBlanks(text);
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        text = text.substr(1, text.size() - 2);
    return std::string(text);
}

std::string FolderOf(const std::string& path) {
    std::size_t slash = path.find_last_of('\\');
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
    return path.substr(path.find_last_of('\\') + 1);
}

// A medium folder from an INF stays inside the stage: no drive, no "." or ".." step.
bool SafeRelative(const std::string& relative) {
    if (relative.find(':') != std::string::npos || relative.find('/') != std::string::npos)
        return false;
    for (const std::string& part : Split(relative, '\\')) {
        if (part.empty() || part == "." || part == "..")
            return false;
    }
    return true;
}

} // namespace

bool ParseDrvInstallCommandLine(std::string_view commandLine, DrvInstallCommand* command) {
    std::string_view line = SkipBlanks(commandLine);
    std::size_t from = 0;
    if (!line.empty() && line.front() == '"') {
        from = line.find('"', 1);
        if (from == std::string_view::npos)
            return false;
    }
    // The switch is the first "/i" or "/r" that stands alone after the program's path.
    std::size_t at = std::string_view::npos;
    for (std::size_t k = from; k + 2 <= line.size(); ++k) {
        char letter = static_cast<char>(line[k + 1] | 0x20);
        if (k > 0 && IsBlank(line[k - 1]) && line[k] == '/' && (letter == 'i' || letter == 'r') &&
            (k + 2 == line.size() || IsBlank(line[k + 2]))) {
            at = k;
            break;
        }
    }
    if (at == std::string_view::npos)
        return false;
    bool install = (line[at + 1] | 0x20) == 'i';
    std::string_view rest = SkipBlanks(line.substr(at + 2));
    DrvInstallCommand parsed;
    parsed.mode = install ? DrvInstallCommand::Mode::Install : DrvInstallCommand::Mode::Remove;
    if (install) {
        // A path holds no quote, so the INF's closing quote is its first.
        std::size_t end = rest.starts_with('"') ? rest.find('"', 1) : rest.find_first_of(" \t");
        if (end == std::string_view::npos)
            return false;
        std::size_t start = rest.starts_with('"') ? 1 : 0;
        parsed.infPath = std::string(rest.substr(start, end - start));
        rest = rest.substr(end + start);
    }
    parsed.hardwareId = Unquoted(rest);
    if (parsed.hardwareId.empty() || (install && parsed.infPath.empty()))
        return false;
    *command = std::move(parsed);
    return true;
}

bool IdListHas(std::string_view multiString, std::string_view id) {
    std::size_t start = 0;
    while (start < multiString.size()) {
        std::size_t end = multiString.find('\0', start);
        if (end == std::string_view::npos)
            end = multiString.size();
        if (end > start && EqualsNoCase(multiString.substr(start, end - start), id))
            return true;
        start = end + 1;
    }
    return false;
}

PackageFiles::PackageFiles(FileSystem& fs, std::string infFolder) : fs(fs), folder(std::move(infFolder)) {}

std::string PackageFiles::Locate(const std::string& sourceFolder, const std::string& sourceName,
                                 const std::string& name) {
    std::string laidOut = folder + "\\" + (sourceFolder.empty() ? "" : sourceFolder + "\\") + sourceName;
    if (!sourceFolder.empty() && fs.Exists(laidOut) && !fs.IsDirectory(laidOut))
        return laidOut;
    if (!listed) {
        listed = true;
        fs.FileNames(folder, &names);
    }
    for (const std::string* wanted : {&sourceName, &name}) {
        auto hit = std::find_if(names.begin(), names.end(),
                                [&](const std::string& present) { return EqualsNoCase(present, *wanted); });
        if (hit != names.end())
            return folder + "\\" + *hit;
    }
    return {};
}

std::vector<std::string> MissingPackageFiles(FileSystem& fs, const std::string& infFolder,
                                             const InfInstallInfo& info) {
    PackageFiles package(fs, infFolder);
    std::vector<std::string> missing;
    for (const InfSourceFile& file : info.files) {
        if (!package.Locate(file.sourceFolder, file.sourceName, file.name).empty())
            continue;
        std::string text = file.name;
        if (!EqualsNoCase(file.sourceName, file.name))
            text += " (as " + file.sourceName + ")";
        if (std::find(missing.begin(), missing.end(), text) == missing.end())
            missing.push_back(text);
    }
    return missing;
}

PackageStage::PackageStage(FileSystem& fs, std::string folder) : fs(fs), folder(std::move(folder)) {}

PackageStage::~PackageStage() {
    Remove();
}

bool PackageStage::MakeFolders(const std::string& relative) {
    std::string path = folder;
    for (const std::string& part : Split(relative, '\\')) {
        path += "\\" + part;
        if (fs.IsDirectory(path))
            continue;
        if (!fs.CreateDirectory(path))
            return false;
        folders.push_back(path);
    }
    return true;
}

bool PackageStage::Copy(const std::string& from, const std::string& relative, std::string* error) {
    std::string to = folder + "\\" + relative;
    if (std::find(files.begin(), files.end(), to) != files.end())
        return true;
    if (!MakeFolders(FolderOf(relative)) || !fs.CopyFile(from, to, false)) {
        *error = "cannot copy " + from + " to " + to;
        return false;
    }
    files.push_back(to);
    return true;
}

bool PackageStage::Stage(const std::string& infPath, const InfInstallInfo& info, std::string* error) {
    std::string infFolder = FolderOf(infPath);
    if (!Copy(infPath, NameOf(infPath), error))
        return false;
    stagedInf = files.back();
    PackageFiles package(fs, infFolder);
    // Windows checks the catalog; where there is none the installation may still go on.
    if (!info.catalogFile.empty()) {
        std::string catalog = package.Locate("", info.catalogFile, info.catalogFile);
        if (!catalog.empty() && !Copy(catalog, NameOf(info.catalogFile), error))
            return false;
    }
    for (const InfSourceFile& file : info.files) {
        if (!SafeRelative(file.sourceName) ||
            (!file.sourceFolder.empty() && !SafeRelative(file.sourceFolder))) {
            *error = "the INF puts " + file.sourceName + " outside its package (" + file.sourceFolder + ")";
            return false;
        }
        std::string from = package.Locate(file.sourceFolder, file.sourceName, file.name);
        if (from.empty()) {
            *error = file.name + " is missing";
            return false;
        }
        std::string relative =
            file.sourceFolder.empty() ? file.sourceName : file.sourceFolder + "\\" + file.sourceName;
        if (!Copy(from, relative, error))
            return false;
    }
    return true;
}

void PackageStage::Remove() {
    for (const std::string& file : files)
        fs.DeleteFile(file);
    files.clear();
    for (auto made = folders.rbegin(); made != folders.rend(); ++made)
        fs.RemoveDirectory(*made);
    folders.clear();
    fs.RemoveDirectory(folder);
    stagedInf.clear();
}

} // namespace vantrel
