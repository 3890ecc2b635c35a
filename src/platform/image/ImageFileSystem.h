// The file system of a machine image: Windows paths mapped onto host folders.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/FileSystem.h"

namespace vantrel {

// Drive X: is <hostRoot>/drive_x (drive_c is created on the first write); a mount maps a Windows
// folder to any host folder, the longest matching mount winning. Each component of a path is
// matched case-insensitively against what exists on the host, as Windows does; components
// that do not exist yet keep the caller's spelling. "\" and "/" both separate components.
class ImageFileSystem : public FileSystem {
public:
    // hostRoot may be empty: then only mounts map anywhere.
    explicit ImageFileSystem(std::string hostRoot);
    ~ImageFileSystem() override;

    void AddMount(std::string_view windowsFolder, const std::string& hostFolder);

    // The host path for a Windows path; false when the path maps nowhere (no such drive, a
    // relative or network path).
    bool MapPath(std::string_view windowsPath, std::filesystem::path* host);

    bool Exists(std::string_view path) override;
    bool IsDirectory(std::string_view path) override;
    bool GetInfo(std::string_view path, FindData* info) override;
    bool FindFiles(std::string_view pattern, std::vector<FindData>* found) override;
#ifndef _WIN32
    bool FileNames(std::string_view folder, std::vector<std::string>* names) override;
#endif
    std::unique_ptr<InputFile> OpenRead(std::string_view path) override;
#ifndef _WIN32
    std::unique_ptr<const FileBytes> ReadAll(std::string_view path, std::uint64_t maxBytes) override;
#endif
    std::unique_ptr<OutputFile> OpenWrite(std::string_view path, bool append = false) override;
    bool CreateDirectory(std::string_view path) override;
    bool RemoveDirectory(std::string_view path) override;
    bool DeleteFile(std::string_view path) override;
    bool CopyFile(std::string_view from, std::string_view to, bool failIfExists) override;
    bool MoveFile(std::string_view from, std::string_view to) override;
    // Only the read-only bit is kept, as the host's write permission; hidden, system and
    // archive have no place on the host and are ignored.
    bool SetAttributes(std::string_view path, std::uint32_t attributes) override;
    // Nothing restarts an image: the path is only recorded, for tests and the CLI to see.
    bool DeleteAtReboot(std::string_view path) override;
    const std::vector<std::string>& DeletesAtReboot() const {
        return deletesAtReboot;
    }

    // Fault injection for tests. Every OutputFile::Write of this file system counts as one write
    // call. FailWriteCall(k) makes the k-th write call from now on fail without writing anything
    // (once). SetDiskFullAfter(n) lets n more bytes be written, by Write or CopyFile; past that,
    // writes fail as on a full disk (Write stores what still fits); OutputFile::Truncate gives
    // back what it cuts off. FailDeleteOf(path) makes every DeleteFile of that file fail, as
    // for a file another program holds open. ClearFaults() undoes them all.
    void FailWriteCall(std::uint64_t k);
    void SetDiskFullAfter(std::uint64_t bytes);
    void FailDeleteOf(std::string_view path);
    void ClearFaults();
    std::uint64_t WriteCalls() const {
        return writeCalls;
    }

private:
    class Output;
    friend class Output;
    struct Listing {
        std::filesystem::file_time_type stamp;
        std::unordered_map<std::string, std::string> byLowerName; // lower-cased -> host name
    };

    // lookUpName false leaves the last component as given (the caller tries it first).
    bool Map(std::string_view windowsPath, bool forWrite, std::filesystem::path* host,
             bool lookUpName = true);
#ifndef _WIN32
    // A descriptor for reading a regular file and its size; -1 when there is none.
    int OpenHostFile(std::string_view path, std::uint64_t* size);
#endif
    bool FindOnHost(const std::filesystem::path& folder, std::string_view name, std::string* actual);
    void Forget(const std::filesystem::path& folder, bool foldersGone = false);
    // Called by Output::Write: how many of size bytes may be written, and whether this call fails.
    bool AllowWrite(std::size_t size, std::size_t* allowed);
    bool ReserveBytes(std::uint64_t size);
    void ReleaseBytes(std::uint64_t size); // a file was cut short

    struct Mount {
        std::vector<std::string> parts; // lower-cased components of the Windows folder
        std::filesystem::path host;
    };
    std::string hostRoot;
    std::vector<Mount> mounts;
    std::unordered_map<std::string, Listing> listings; // by host folder
    // Folders already resolved: lower-cased Windows folder -> host folder. Removing or moving
    // a folder through this port drops it all; a walk over thousands of files in a few folders
    // then resolves each folder once.
    std::unordered_map<std::string, std::filesystem::path> folders;

    std::uint64_t writeCalls = 0;
    std::uint64_t failAt = 0; // write call number that fails; 0 none
    std::uint64_t spaceLeft = std::numeric_limits<std::uint64_t>::max();
    std::vector<std::string> undeletable; // lower-cased Windows paths
    std::vector<std::string> deletesAtReboot;
};

} // namespace vantrel
