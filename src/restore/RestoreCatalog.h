// Where a backup comes from (a folder, a zip, a self-extractor or an auto-setup package) and
// the catalogue of backed-up drivers read from it. Archives are unpacked into the temporary
// folder + "\UnzipDriver" first, which is emptied before, so that no driver of an earlier
// archive shows up.
#pragma once

#include <string>
#include <vector>

#include "backup/BackupInfo.h"
#include "platform/Platform.h"

namespace vantrel {

class ArchiveCallback;

enum class RestoreSourceKind { Folder, Zip, Sfx, AutoSetup, Unknown };

inline constexpr char kUnzipFolderName[] = "\\UnzipDriver";

// Folder by the file system; a file by its bytes: a zip, a program with a zip appended (a
// self-extractor), or one that ends with the length of a self-extractor before it (an
// auto-setup package). Unknown for a file that is none of these or cannot be read.
RestoreSourceKind DetectRestoreSource(Platform& platform, const std::string& path);

// The temporary folder + "\UnzipDriver".
std::string UnzipDriverFolder(Platform& platform);

struct CatalogResult {
    bool ok = false;                  // the source could be read (an empty catalogue may still be ok)
    std::string folder;               // the folder that was scanned: the source itself, or "\UnzipDriver"
    std::string error;                // why the source could not be read, or why an archive listed nothing
    std::vector<std::string> refused; // archive entries not written ("name: why")
    std::vector<BackupEntry> entries;
};

// Empties "\UnzipDriver" and unpacks the archive (zip, self-extractor or auto-setup package)
// into it with its stored paths, through the safe extraction; progress goes to callback. A file
// that does not open as an archive fails before anything is touched. Entries refused one by
// one are listed in refused and the rest is unpacked; ok is false only when the archive as a
// whole could not be unpacked.
bool ExtractBackupArchive(Platform& platform, const std::string& archivePath, ArchiveCallback* callback,
                          CatalogResult* result);

// The catalogue of any source: a folder is scanned as it is (ScanBackupFolder), a file is
// unpacked first. An archive without a valid backup is ok with no entries and the "wrong
// driver backup file" text as its error.
CatalogResult LoadRestoreCatalog(Platform& platform, const std::string& path, ArchiveCallback* callback);

// The INF of an entry: its folder + "\" + its infPath.
std::string EntryInfPath(const BackupEntry& entry);

} // namespace vantrel
