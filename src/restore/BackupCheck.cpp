#include "restore/BackupCheck.h"

#include <algorithm>
#include <memory>

#include "inventory/InfFile.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/System.h"
#include "restore/DrvInstallPackage.h"
#include "restore/RestoreCatalog.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint64_t kMaxInfBytes = 64ull << 20;
constexpr const char* kProcessors[] = {"amd64", "x86", "arm64"};

std::unique_ptr<InfText> ReadInf(Platform& platform, const std::string& path) {
    auto bytes = platform.fs.ReadAll(path, kMaxInfBytes);
    if (!bytes)
        return nullptr;
    if (InfNeedsDecoding(bytes->View()))
        return std::make_unique<InfText>(DecodeInfBytes(bytes->View(), platform.system));
    return std::make_unique<InfText>(std::move(bytes));
}

// The processor a recorded install section is decorated for ("Drv_Inst.NTamd64"); "" for
// ".NT" and no decoration.
std::string ProcessorOfSection(std::string_view section) {
    std::string lower = LowerAscii(section);
    for (const char* processor : kProcessors) {
        std::string decoration = std::string(".nt") + processor;
        for (std::size_t at = lower.find(decoration); at != std::string::npos;
             at = lower.find(decoration, at + 1)) {
            std::size_t end = at + decoration.size();
            if (end == lower.size() || lower[end] == '.')
                return processor;
        }
    }
    return {};
}

} // namespace

BackupDriverCheck CheckBackedUpDriver(Platform& platform, const BackupEntry& entry, const InfTarget& target,
                                      bool windows9x) {
    BackupDriverCheck check;
    check.processor = target.processor;
    std::string infName = Trim(entry.infPath);
    auto inf = infName.empty() ? nullptr : ReadInf(platform, EntryInfPath(entry));
    if (!inf) {
        check.missing.push_back({MissingBackupFile::Kind::Inf, infName, {}});
        return check;
    }
    InfInstallInfo info;
    InfInstallReader reader(*inf, target);
    std::string section = Trim(entry.infSection);
    if (windows9x) {
        info.catalogFile = reader.VersionText("CatalogFile");
        if (!section.empty())
            info.files = reader.CopiedFiles(section);
    } else if (AnalyzeInfInstall(*inf, Trim(entry.matchingDeviceId), target, &info) != InfInstallResult::Ok) {
        // The installer follows the hardware ID, but a device's first ID often carries a
        // revision the models leave out; the section the driver was installed from is recorded.
        std::string extension;
        info.files.clear();
        info.catalogFile = reader.CatalogFile();
        if (!section.empty() && reader.DecorateInstallSection(section, &extension))
            info.files = reader.CopiedFiles(section + extension);
    }

    PackageFiles package(platform.fs, entry.folder);
    for (const InfSourceFile& file : info.files) {
        if (!package.Locate(file.sourceFolder, file.sourceName, file.name).empty())
            continue;
        MissingBackupFile missing{MissingBackupFile::Kind::Copied, file.name,
                                  EqualsNoCase(file.sourceName, file.name) ? std::string() : file.sourceName};
        bool known =
            std::any_of(check.missing.begin(), check.missing.end(), [&](const MissingBackupFile& other) {
                return EqualsNoCase(other.name, missing.name) &&
                       EqualsNoCase(other.sourceName, missing.sourceName);
            });
        if (!known)
            check.missing.push_back(std::move(missing));
    }
    if (!info.catalogFile.empty() && package.Locate("", info.catalogFile, info.catalogFile).empty())
        check.missing.push_back({MissingBackupFile::Kind::Catalog, info.catalogFile, {}});
    return check;
}

std::vector<BackupDriverCheck> CheckBackup(Platform& platform, const std::vector<BackupEntry>& entries) {
    // A backup does not record its machine's processor. A driver installed from a section
    // decorated for one (InfSectionExt ".NTamd64") tells it, and all drivers of a backup come
    // from one machine; where no driver tells, the processor whose files the backup holds,
    // and failing that the processor of the machine that runs the check.
    std::string backupProcessor;
    for (const BackupEntry& entry : entries) {
        backupProcessor = ProcessorOfSection(entry.infSection);
        if (!backupProcessor.empty())
            break;
    }
    std::string own = platform.system.Is64BitWindows() ? "amd64" : "x86";
    std::string other = own == "amd64" ? "x86" : "amd64";
    std::vector<BackupDriverCheck> checks;
    for (const BackupEntry& entry : entries) {
        std::string processor = ProcessorOfSection(entry.infSection);
        if (processor.empty())
            processor = backupProcessor;
        InfTarget target;
        target.processor = processor.empty() ? own : processor;
        BackupDriverCheck check = CheckBackedUpDriver(platform, entry, target);
        if (processor.empty() && !check.Complete()) {
            target.processor = other;
            BackupDriverCheck second = CheckBackedUpDriver(platform, entry, target);
            if (second.Complete())
                check = std::move(second);
        }
        checks.push_back(std::move(check));
    }
    return checks;
}

std::string DescribeMissing(const std::vector<MissingBackupFile>& missing, const std::string& catalogWord) {
    std::string text;
    for (const MissingBackupFile& file : missing) {
        if (!text.empty())
            text += ", ";
        if (file.kind == MissingBackupFile::Kind::Catalog)
            text += catalogWord + " ";
        text += file.name;
        if (!file.sourceName.empty())
            text += " (" + file.sourceName + ")";
    }
    return text;
}

} // namespace vantrel
