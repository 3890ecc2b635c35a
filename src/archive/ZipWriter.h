// Writes zip archives through the file-system port: new ones, ones behind a self-extractor
// stub, and additions to existing ones. Files are compressed on worker threads and written
// in the order they were added.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "archive/ZipReader.h"

namespace vantrel {

class ArchiveCallback;
class FileSystem;
class OutputFile;

// The level for a "CompressionLevel" setting text; any other text keeps currentLevel.
int ZipLevelFromSetting(const std::string& text, int currentLevel);

class ZipWriter {
public:
    explicit ZipWriter(FileSystem& fs);
    ~ZipWriter();

    // Starts a new archive. A prefix (the stub of a self-extractor) is written first; entry
    // offsets then count from the start of the file.
    bool Create(std::string_view archivePath, std::string_view prefix = {});
    // Opens an archive to add to, keeping its entries; an added entry replaces one of the
    // same name. A missing or empty file starts a new archive.
    bool Append(std::string_view archivePath);

    void SetLevel(int level);               // 0 stores; 1 to 9 as zlib
    void SetPassword(std::string password); // traditional zip encryption; empty for none
    void SetThreads(int count);
    void SetForceZip64(bool force); // ZIP64 records even where the sizes do not need them

    // Queue entries; the work is done by Close. Names use "/" or "\" between folders.
    bool AddFile(std::string_view path, std::string_view nameInArchive);
    // The files of folder (and with recursive, its subfolders, each also as a folder entry),
    // named by their path relative to baseFolder.
    bool AddFolder(std::string_view folder, std::string_view baseFolder, bool recursive);
    void AddBytes(std::string_view nameInArchive, std::string data, std::int64_t lastWrite);
    void AddDirectory(std::string_view nameInArchive, std::int64_t lastWrite);

    // Compresses and writes the queued entries and the central directory. Files that cannot
    // be read are left out and reported to the callback and in Skipped(). False when the
    // archive could not be written or the run was cancelled (the entries finished so far
    // still form a valid archive). When the new directory cannot be written, an archive that
    // was added to gets its old directory back, with what it held before, and a new archive
    // is deleted rather than left unreadable.
    bool Close(ArchiveCallback* callback = nullptr);

    const std::string& Error() const { return error; }
    const std::vector<std::string>& Skipped() const { return skipped; }

private:
    struct Item {
        std::string path; // source file; empty for bytes or a folder
        std::string name;
        std::string data;
        bool directory = false;
        bool fromMemory = false;
        std::uint64_t size = 0;
        std::uint32_t attributes = 0;
        std::int64_t lastWrite = 0;
    };
    class Run;

    bool Fail(std::string text);
    void Reset();
    bool Write(const void* data, std::size_t size);
    bool Write(const std::string& bytes);
    bool Flush();
    void Queue(Item item);
    void Walk(const std::string& folder, const std::string& base, bool recursive);
    bool WriteCentralDirectory();

    FileSystem& fs;
    std::unique_ptr<OutputFile> out;
    std::uint64_t position = 0; // counts the bytes still pending
    std::string pending;
    int level = 6;
    int threads = 0;
    bool forceZip64 = false;
    std::string password;
    std::string error;
    std::vector<std::string> skipped;
    std::vector<ZipEntry> written; // kept and new entries, in directory order
    std::vector<Item> items;
    std::unordered_map<std::string, std::size_t> queuedNames; // folded name -> index in items
    std::unordered_set<std::string> keptNames;                // folded names of entries kept
    std::unordered_set<std::string> replacedNames;
    // What Close needs to take a failed directory back: the archive's path, whether this
    // writer created it, and for an addition the old directory and where it began.
    std::string archive;
    bool created = false;
    std::uint64_t oldDirectoryAt = 0;
    std::string oldDirectory; // from its offset to the end of the file
};

} // namespace vantrel
