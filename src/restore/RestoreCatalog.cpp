#include "restore/RestoreCatalog.h"

#include "app/SystemServices.h"
#include "archive/ZipReader.h"
#include "backup/SelfExtract.h"
#include "platform/FileSystem.h"

namespace vantrel {

namespace {

constexpr char kWrongBackup[] = "This is a wrong driver backup file, please select the right one.";

std::string NoTrailingSlash(std::string path) {
    while (path.size() > 3 && (path.back() == '\\' || path.back() == '/'))
        path.pop_back();
    return path;
}

std::uint32_t Le32(const unsigned char* bytes) {
    return bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (static_cast<std::uint32_t>(bytes[3]) << 24);
}

bool ReadAt(InputFile& file, std::uint64_t offset, void* buffer, std::size_t size) {
    return file.Seek(offset) && ReadFully(file, buffer, size);
}

bool IsProgramAt(InputFile& file, std::uint64_t offset) {
    unsigned char head[2] = {};
    return ReadAt(file, offset, head, sizeof head) && head[0] == 'M' && head[1] == 'Z';
}

// Deletes what lies in folder, depth first. Linked folders are unlinked, never followed, so
// emptying cannot reach beyond the folder.
void EmptyFolder(FileSystem& fs, const std::string& folder) {
    std::vector<FindData> found;
    if (!fs.FindFiles(folder + "\\*", &found))
        return;
    for (const auto& item : found) {
        std::string path = folder + "\\" + item.name;
        if (item.IsDirectory()) {
            if ((item.attributes & kFileAttributeReparsePoint) == 0)
                EmptyFolder(fs, path);
            fs.RemoveDirectory(path);
        } else {
            fs.DeleteFile(path);
        }
    }
}

bool IsEmptyFolder(FileSystem& fs, const std::string& folder) {
    std::vector<FindData> found;
    return !fs.FindFiles(folder + "\\*", &found) || found.empty();
}

} // namespace

RestoreSourceKind DetectRestoreSource(Platform& platform, const std::string& path) {
    FileSystem& fs = platform.fs;
    if (fs.IsDirectory(path))
        return RestoreSourceKind::Folder;
    {
        ZipReader reader(fs);
        if (!reader.Open(path))
            return RestoreSourceKind::Unknown;
    }
    auto file = fs.OpenRead(path);
    if (!file)
        return RestoreSourceKind::Unknown;
    if (!IsProgramAt(*file, 0))
        return RestoreSourceKind::Zip;
    // A launcher followed by a self-extractor and the latter's length: the length must land
    // on the start of a second program.
    std::uint64_t size = file->Size();
    unsigned char tail[4] = {};
    std::uint64_t inner = 0;
    if (size >= 4 && ReadAt(*file, size - 4, tail, sizeof tail) &&
        LocateTrailingArchive(size, Le32(tail), &inner) && inner > 0 && IsProgramAt(*file, inner))
        return RestoreSourceKind::AutoSetup;
    return RestoreSourceKind::Sfx;
}

std::string UnzipDriverFolder(Platform& platform) {
    // The temporary folder comes with a trailing backslash, a drive root ("C:\\") included.
    std::string temp = GetTempFolder(platform);
    while (!temp.empty() && temp.back() == '\\')
        temp.pop_back();
    return temp + kUnzipFolderName;
}

bool ExtractBackupArchive(Platform& platform, const std::string& archivePath, ArchiveCallback* callback,
                          CatalogResult* result) {
    FileSystem& fs = platform.fs;
    result->ok = false;
    result->folder = UnzipDriverFolder(platform);
    result->refused.clear();
    if (result->folder == kUnzipFolderName) {
        // Without a temporary folder the path would name a folder at the root of the drive.
        result->error = "The temporary folder is unknown";
        return false;
    }
    // The reader finds the archive of a self-extractor and of an auto-setup package by itself:
    // it looks past a trailer after the archive's end and shifts offsets a launcher moved.
    ZipReader reader(fs);
    if (!reader.Open(archivePath)) {
        result->error = reader.Error();
        return false;
    }
    EmptyFolder(fs, result->folder);
    if (!IsEmptyFolder(fs, result->folder)) {
        // What stayed behind would be listed as if it came from this archive.
        result->error = "The folder " + result->folder + " could not be emptied";
        return false;
    }
    ZipResult unpacked = reader.Extract(result->folder, ZipExtractOptions{}, callback);
    result->refused = unpacked.problems;
    // Single entries that were refused or failed are listed; the rest of the archive stands.
    bool entriesOnly = !unpacked.problems.empty() && unpacked.error == unpacked.problems.front();
    if (!unpacked.ok && !entriesOnly) {
        result->error = unpacked.error;
        return false;
    }
    result->ok = true;
    return true;
}

CatalogResult LoadRestoreCatalog(Platform& platform, const std::string& path, ArchiveCallback* callback) {
    CatalogResult result;
    std::string source = NoTrailingSlash(path);
    if (platform.fs.IsDirectory(source)) {
        result.ok = true;
        result.folder = source;
        result.entries = ScanBackupFolder(platform, source);
        return result;
    }
    if (!platform.fs.Exists(source)) {
        result.error = "No such folder or file: " + source;
        return result;
    }
    if (!ExtractBackupArchive(platform, source, callback, &result))
        return result;
    result.entries = ScanBackupFolder(platform, result.folder);
    if (result.entries.empty())
        result.error = kWrongBackup;
    return result;
}

std::string EntryInfPath(const BackupEntry& entry) {
    return entry.folder + "\\" + entry.infPath;
}

} // namespace vantrel
