// Reads zip archives through the file-system port: lists, tests and extracts them. Archives
// appended to a program (self-extractors) open as well; extraction never writes outside its
// target folder.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class ArchiveCallback;
class FileSystem;
class InputFile;

struct ZipEntry {
    std::string name; // as stored: "/" between folders, a trailing "/" for a folder
    std::uint64_t size = 0;
    std::uint64_t compressedSize = 0; // with the 12-byte header of an encrypted entry
    std::uint32_t crc = 0;
    std::uint32_t dosTime = 0; // local time, date in the high half
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    std::uint16_t versionMadeBy = 0;
    std::uint16_t versionNeeded = 0;
    std::uint16_t internalAttributes = 0;
    std::uint32_t externalAttributes = 0;
    std::uint64_t localHeaderOffset = 0; // absolute position in the file
    std::string extra;                   // central extra fields other than ZIP64, kept on update
    std::string comment;

    bool IsDirectory() const;
    bool IsEncrypted() const;
    std::int64_t LastWrite() const; // Unix seconds
};

struct ZipExtractOptions {
    std::string password;
    bool overwrite = true;
    std::vector<std::size_t> only; // indexes into Entries(); empty for all
};

struct ZipResult {
    bool ok = false;
    std::string error; // the first failure, for the user
    std::size_t filesWritten = 0;
    std::vector<std::string> problems; // "name: why" for every entry refused or failed
};

class ZipReader {
public:
    explicit ZipReader(FileSystem& fs);
    ~ZipReader();

    // False with Error() set when the file is missing, not an archive, truncated or damaged.
    bool Open(std::string_view path);
    const std::string& Error() const { return error; }
    const std::vector<ZipEntry>& Entries() const { return entries; }
    // Where the central directory starts: an update writes its new entries from here.
    std::uint64_t CentralDirectoryOffset() const { return centralOffset; }

    // Creates targetFolder if needed. Unsafe entries are refused one by one (listed in
    // problems); the whole archive is refused when its sizes look like a decompression bomb.
    ZipResult Extract(std::string_view targetFolder, const ZipExtractOptions& options,
                      ArchiveCallback* callback = nullptr);
    // Decompresses every entry and checks its CRC, writing nothing.
    ZipResult Test(const std::string& password, ArchiveCallback* callback = nullptr);
    bool ReadEntry(std::size_t index, const std::string& password, std::string* data, std::string* why);

    class Sink; // where decoded bytes go

private:
    class Progress;
    bool Fail(std::string text);
    bool ParseCentralDirectory(const std::string& bytes, std::uint64_t count, bool zip64, std::int64_t delta);
    bool CheckLayout();
    bool CheckRatios(const std::vector<std::size_t>& indexes, ZipResult* result);
    bool Decode(std::size_t index, const std::string& password, Sink& sink, Progress& progress,
                std::string* why);
    bool WriteFile(std::size_t index, const std::string& path, const ZipExtractOptions& options,
                   Progress& progress, std::string* why, bool* skipped);
    ZipResult Run(std::string_view targetFolder, const ZipExtractOptions& options, bool write,
                  ArchiveCallback* callback);

    FileSystem& fs;
    std::unique_ptr<InputFile> file;
    std::uint64_t fileSize = 0;
    std::uint64_t centralOffset = 0;
    std::string error;
    std::vector<ZipEntry> entries;
    std::vector<std::uint64_t> limits; // where the next entry (or the directory) begins
};

} // namespace vantrel
