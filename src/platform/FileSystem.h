// File-system port: Windows paths in, the ANSI file calls the program makes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

inline constexpr std::uint32_t kFileAttributeReadOnly = 0x01;
inline constexpr std::uint32_t kFileAttributeHidden = 0x02;
inline constexpr std::uint32_t kFileAttributeSystem = 0x04;
inline constexpr std::uint32_t kFileAttributeDirectory = 0x10;
inline constexpr std::uint32_t kFileAttributeArchive = 0x20;
inline constexpr std::uint32_t kFileAttributeReparsePoint = 0x400;

struct FindData {
    std::string name; // the entry's own name, as stored
    std::uint32_t attributes = 0;
    std::uint64_t size = 0;
    std::int64_t lastWrite = 0; // Unix seconds
    bool IsDirectory() const { return (attributes & kFileAttributeDirectory) != 0; }
};

// A file opened for reading; large files are read in pieces.
class InputFile {
public:
    virtual ~InputFile() = default;
    // Returns the bytes read (0 at end of file), or -1 on a read error.
    virtual std::int64_t Read(void* buffer, std::size_t size) = 0;
    virtual bool Seek(std::uint64_t offset) = 0;
    virtual std::uint64_t Size() const = 0;
};

// A file opened for writing (created or truncated, or opened to append).
class OutputFile {
public:
    virtual ~OutputFile() = default;
    // All or nothing: false when not every byte was written.
    virtual bool Write(const void* data, std::size_t size) = 0;
    virtual bool Seek(std::uint64_t offset) = 0;
    virtual std::uint64_t Tell() const = 0;
    // Ends the file at size and goes on writing there. Bytes not yet handed to the disk are
    // dropped with the rest, and an earlier failed write is forgotten: this is how a writer
    // takes back what it could not finish.
    virtual bool Truncate(std::uint64_t size) = 0;
    // Flushes and closes; false when the last bytes could not be written.
    virtual bool Close() = 0;
};

// The whole of a file held at once: read into memory or mapped, as the system does best.
class FileBytes {
public:
    virtual ~FileBytes() = default;
    virtual std::string_view View() const = 0;
};

class FileSystem {
public:
    virtual ~FileSystem() = default;

    virtual bool Exists(std::string_view path) = 0; // file or folder
    virtual bool IsDirectory(std::string_view path) = 0;
    virtual bool GetInfo(std::string_view path, FindData* info) = 0;

    // FindFirstFileA/FindNextFileA over a pattern such as "C:\WINDOWS\inf\*.inf" ("*" and "?"
    // in the last component only). "." and ".." are never returned. False when the folder
    // does not exist or nothing matches.
    virtual bool FindFiles(std::string_view pattern, std::vector<FindData>* found) = 0;
    // The names of the files (not folders) in folder, in no set order: a cheaper listing for
    // look-ups by name. False when the folder cannot be listed.
    virtual bool FileNames(std::string_view folder, std::vector<std::string>* names);

    virtual std::unique_ptr<InputFile> OpenRead(std::string_view path) = 0;
    virtual std::unique_ptr<OutputFile> OpenWrite(std::string_view path, bool append = false) = 0;
    // The whole file, for many small files that are read once and then kept (the INFs of a
    // machine). Null when the file is missing, unreadable or larger than maxBytes. The bytes
    // are a snapshot only where the file is not changed while they are held.
    virtual std::unique_ptr<const FileBytes> ReadAll(std::string_view path, std::uint64_t maxBytes);

    virtual bool CreateDirectory(std::string_view path) = 0; // one level, as CreateDirectoryA
    virtual bool RemoveDirectory(std::string_view path) = 0; // empty folders only
    virtual bool DeleteFile(std::string_view path) = 0;
    virtual bool CopyFile(std::string_view from, std::string_view to, bool failIfExists) = 0;
    // MoveFileExA with MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH.
    virtual bool MoveFile(std::string_view from, std::string_view to) = 0;
    // SetFileAttributesA with kFileAttribute... bits.
    virtual bool SetAttributes(std::string_view path, std::uint32_t attributes) = 0;
    // MoveFileExA(path, NULL, MOVEFILE_DELAY_UNTIL_REBOOT): Windows deletes the file when it
    // next starts, for a file that is in use now.
    virtual bool DeleteAtReboot(std::string_view path) = 0;
};

// Whole-file helpers over the port.
bool ReadWholeFile(FileSystem& fs, std::string_view path, std::string* bytes);
// Reads exactly size bytes, across short reads; false at the end of the file or on an error.
bool ReadFully(InputFile& file, void* buffer, std::size_t size);
bool WriteWholeFile(FileSystem& fs, std::string_view path, std::string_view bytes);
// Creates every missing folder of path.
bool CreateDirectories(FileSystem& fs, std::string_view path);

} // namespace vantrel
