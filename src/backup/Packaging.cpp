#include "backup/Packaging.h"

#include <utility>
#include <vector>

#include "archive/ZipWriter.h"
#include "platform/FileSystem.h"
#include "platform/Resources.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kSettingsMagic[] = "VNTSFX01";
constexpr std::size_t kMagicSize = sizeof(kSettingsMagic) - 1;
constexpr char kAutoSetupFolder[] = "%t\\DrvAutoSetup";
constexpr char kAutoSetupProgram[] = "%d\\DriverAutoInstall.exe";
constexpr char kWizardName[] = "DriverAutoInstall.exe";
constexpr char kWrapName[] = "DriverAutoSetup_New.exe";

void PutLine(std::string& out, const char* key, const std::string& value) {
    out += key;
    out += '=';
    for (char c : value) {
        // One line per key: line breaks inside a text travel escaped.
        if (c == '\\')
            out += "\\\\";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else
            out += c;
    }
    out += '\n';
}

bool Unescape(std::string_view text, std::string* out) {
    out->clear();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            out->push_back(text[i]);
            continue;
        }
        if (++i == text.size())
            return false;
        switch (text[i]) {
        case '\\':
            out->push_back('\\');
            break;
        case 'n':
            out->push_back('\n');
            break;
        case 'r':
            out->push_back('\r');
            break;
        default:
            return false;
        }
    }
    return true;
}

void PutLe32(std::string& out, std::uint32_t value) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

std::string TempFolder(System& system) {
    std::string temp = system.GetTempPath();
    if (temp.size() > 3 && temp.back() == '\\')
        temp.pop_back();
    return temp;
}

std::string JoinPath(const std::string& folder, std::string_view name) {
    if (!folder.empty() && folder.back() == '\\')
        return folder + std::string(name);
    return folder + "\\" + std::string(name);
}

// Queues what job.filesToProcess names: "Folder\*.*" takes that folder's files (one level,
// as a driver folder has no subfolders), anything else is one file.
bool QueueFiles(ZipWriter& writer, const PackageJob& job) {
    std::string files = job.filesToProcess;
    std::string base = job.baseFolder;
    while (base.size() > 3 && base.back() == '\\')
        base.pop_back();
    constexpr std::string_view kAll = "\\*.*";
    if (files.size() > kAll.size() && files.compare(files.size() - kAll.size(), kAll.size(), kAll) == 0) {
        std::string folder = files.substr(0, files.size() - kAll.size());
        return writer.AddFolder(JoinPath(base, folder), job.keepPaths ? base : JoinPath(base, folder), false);
    }
    std::string name = files;
    if (!job.keepPaths)
        name = name.substr(name.find_last_of('\\') + 1);
    return writer.AddFile(JoinPath(base, files), name);
}

// The stub and the settings the self-extractor reads back: stub, settings text, its length
// and a magic word right before the archive's first entry.
bool SfxPrefix(PackagingContext& context, const SfxSettings& settings, std::string* prefix) {
    std::string stub;
    if (!context.resources.LoadCustom(kResSfxStub, &stub) || stub.empty())
        return false;
    std::string text = FormatSfxSettings(settings);
    *prefix = std::move(stub);
    prefix->append(text);
    PutLe32(*prefix, static_cast<std::uint32_t>(text.size()));
    prefix->append(kSettingsMagic, kMagicSize);
    return true;
}

int Pack(PackagingContext& context, const PackageJob& job, const SfxSettings* sfx) {
    ZipWriter writer(context.fs);
    FindData info;
    bool exists = context.fs.GetInfo(job.packagePath, &info) && info.size > 0;
    bool opened = false;
    if (exists) {
        opened = writer.Append(job.packagePath);
    } else if (sfx != nullptr) {
        std::string prefix;
        if (!SfxPrefix(context, *sfx, &prefix))
            return kPackMissingStub;
        opened = writer.Create(job.packagePath, prefix);
    } else {
        opened = writer.Create(job.packagePath);
    }
    if (!opened)
        return kPackWriteError;
    writer.SetLevel(ZipLevelFromSetting(job.compressionLevel.empty() ? "Medium" : job.compressionLevel, 6));
    if (!QueueFiles(writer, job)) {
        writer.Close();
        return kPackNothingToDo;
    }
    return writer.Close(context.callback) ? kPackOk : kPackWriteError;
}

SfxSettings AutoSetupSettings() {
    SfxSettings settings;
    settings.extractFolder = kAutoSetupFolder;
    settings.runAfter = kAutoSetupProgram;
    settings.silent = true;
    settings.overwrite = true;
    return settings;
}

} // namespace

std::string FormatSfxSettings(const SfxSettings& settings) {
    std::string out = "[sfx]\n";
    PutLine(out, "title", settings.title);
    PutLine(out, "introduction", settings.introduction);
    PutLine(out, "folder", settings.extractFolder);
    PutLine(out, "run", settings.runAfter);
    PutLine(out, "silent", settings.silent ? "1" : "0");
    PutLine(out, "overwrite", settings.overwrite ? "1" : "0");
    return out;
}

bool ParseSfxSettings(std::string_view text, SfxSettings* settings) {
    SfxSettings parsed;
    constexpr std::string_view kHeader = "[sfx]\n";
    if (text.substr(0, kHeader.size()) != kHeader)
        return false;
    text.remove_prefix(kHeader.size());
    while (!text.empty()) {
        auto end = text.find('\n');
        if (end == std::string_view::npos)
            return false; // every line ends with a line feed
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        auto eq = line.find('=');
        if (eq == std::string_view::npos)
            return false;
        std::string_view key = line.substr(0, eq);
        std::string value;
        if (!Unescape(line.substr(eq + 1), &value))
            return false;
        if (key == "title")
            parsed.title = value;
        else if (key == "introduction")
            parsed.introduction = value;
        else if (key == "folder")
            parsed.extractFolder = value;
        else if (key == "run")
            parsed.runAfter = value;
        else if ((key == "silent" || key == "overwrite") && (value == "0" || value == "1"))
            (key == "silent" ? parsed.silent : parsed.overwrite) = value == "1";
        else
            return false;
    }
    *settings = parsed;
    return true;
}

bool FindSfxSettings(std::string_view bytesBeforeArchive, SfxSettings* settings) {
    if (bytesBeforeArchive.size() < kMagicSize + 4 ||
        bytesBeforeArchive.substr(bytesBeforeArchive.size() - kMagicSize) != kSettingsMagic)
        return false;
    std::size_t lengthAt = bytesBeforeArchive.size() - kMagicSize - 4;
    std::uint32_t length = 0;
    for (int i = 3; i >= 0; --i)
        length = (length << 8) |
                 static_cast<unsigned char>(bytesBeforeArchive[lengthAt + static_cast<std::size_t>(i)]);
    if (length > lengthAt)
        return false;
    return ParseSfxSettings(bytesBeforeArchive.substr(lengthAt - length, length), settings);
}

int ZipProcess(PackagingContext& context, const PackageJob& job) {
    return Pack(context, job, nullptr);
}

int SelfExtractExeProcess(PackagingContext& context, const PackageJob& job) {
    SfxSettings settings;
    settings.title = kSfxTitle;
    settings.introduction = kSfxIntroduction;
    return Pack(context, job, &settings);
}

int SelfExtractAutoExeProcess(PackagingContext& context, const PackageJob& job) {
    SfxSettings settings = AutoSetupSettings();
    return Pack(context, job, &settings);
}

bool FinishAutoSetupPackage(PackagingContext& context, const std::string& packagePath) {
    FileSystem& fs = context.fs;
    std::string temp = TempFolder(context.system);

    // Each carried program goes through the temporary folder under the name it has on the
    // target machine.
    const std::pair<int, const char*> carried[] = {{kResAutoSetupWizard, kWizardName},
                                                   {kResDrvInstall32, kPackagedInstaller32},
                                                   {kResDrvInstall64, kPackagedInstaller64}};
    for (const auto& [id, name] : carried) {
        std::string bytes;
        if (!context.resources.LoadCustom(id, &bytes) || bytes.empty())
            continue;
        std::string path = JoinPath(temp, name);
        if (WriteWholeFile(fs, path, bytes)) {
            PackageJob job{packagePath, temp, name, true, "Medium"};
            SelfExtractAutoExeProcess(context, job);
        }
        fs.DeleteFile(path);
    }

    std::string launcher;
    if (!context.resources.LoadCustom(kResAutoSetupLauncher, &launcher) || launcher.empty())
        return false;
    std::string package;
    if (!ReadWholeFile(fs, packagePath, &package) || package.size() > 0xFFFFFFFFu)
        return false;
    std::string wrapPath = JoinPath(temp, kWrapName);
    fs.DeleteFile(wrapPath);
    std::string wrapped = std::move(launcher);
    wrapped.reserve(wrapped.size() + package.size() + 4);
    wrapped += package;
    PutLe32(wrapped, static_cast<std::uint32_t>(package.size()));
    bool ok = WriteWholeFile(fs, wrapPath, wrapped) && fs.CopyFile(wrapPath, packagePath, false);
    fs.DeleteFile(wrapPath);
    return ok;
}

} // namespace vantrel
