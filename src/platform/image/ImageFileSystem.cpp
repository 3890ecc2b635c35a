#include "platform/image/ImageFileSystem.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <fstream>

#ifndef _WIN32
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

#include "platform/image/ImageText.h"
#include "util/Text.h"

namespace vantrel {

namespace fs = std::filesystem;

namespace {

// A Windows path taken apart: drive letter (lower case) and the components below its root.
struct WindowsPath {
    char drive = 0;
    std::vector<std::string> parts;
};

bool ParseWindowsPath(std::string_view path, WindowsPath* out) {
    std::string p(path);
    std::replace(p.begin(), p.end(), '/', '\\');
    if (p.size() < 2 || p[1] != ':' || !std::isalpha(static_cast<unsigned char>(p[0])))
        return false; // relative, rooted without a drive, or a network path
    out->drive = static_cast<char>(std::tolower(static_cast<unsigned char>(p[0])));
    out->parts.clear();
    std::size_t start = 2;
    while (start <= p.size()) {
        std::size_t slash = p.find('\\', start);
        std::string part = p.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        if (part == "..") {
            if (!out->parts.empty())
                out->parts.pop_back();
        } else if (part != ".") {
            // Windows drops trailing dots and blanks of a name.
            while (!part.empty() && (part.back() == '.' || part.back() == ' '))
                part.pop_back();
            if (!part.empty())
                out->parts.push_back(std::move(part));
        }
        if (slash == std::string::npos)
            break;
        start = slash + 1;
    }
    return true;
}

// One spelling per file: the drive and components in lower case.
std::string PathKey(std::string_view path) {
    WindowsPath wp;
    if (!ParseWindowsPath(path, &wp))
        return LowerAscii(path);
    std::string key(1, wp.drive);
    key += ':';
    for (const auto& part : wp.parts) {
        key += '\\';
        key += LowerAscii(part);
    }
    return key;
}

#ifdef _WIN32
std::int64_t UnixSeconds(fs::file_time_type t) {
    auto sys = std::chrono::file_clock::to_sys(t);
    return std::chrono::duration_cast<std::chrono::seconds>(sys.time_since_epoch()).count();
}

bool StatHost(const fs::path& host, FindData* info) {
    std::error_code ec;
    fs::file_status st = fs::status(host, ec);
    if (ec || !fs::exists(st))
        return false;
    *info = FindData{};
    info->name = HostPathString(host.filename());
    if (fs::is_directory(st)) {
        info->attributes = kFileAttributeDirectory;
    } else {
        info->attributes = kFileAttributeArchive;
        auto size = fs::file_size(host, ec);
        info->size = ec ? 0 : size;
    }
    if ((st.permissions() & fs::perms::owner_write) == fs::perms::none)
        info->attributes |= kFileAttributeReadOnly;
    auto time = fs::last_write_time(host, ec);
    if (!ec)
        info->lastWrite = UnixSeconds(time);
    return true;
}
#endif

char FoldChar(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool WildMatch(std::string_view pattern, std::string_view name) {
    std::size_t p = 0, n = 0, star = std::string_view::npos, mark = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || FoldChar(pattern[p]) == FoldChar(name[n]))) {
            ++p, ++n;
        } else if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            mark = n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            n = ++mark;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

// "*.*" and "name.*" also match names without any dot, as FindFirstFile does.
bool MatchesPattern(std::string_view pattern, std::string_view name) {
    if (WildMatch(pattern, name))
        return true;
    return pattern.size() >= 2 && pattern.substr(pattern.size() - 2) == ".*" &&
           WildMatch(pattern.substr(0, pattern.size() - 2), name);
}

// std::filesystem::copy_file cannot overwrite under MinGW (every file looks like the same file
// there), so the bytes are copied by hand.
bool CopyHostFile(const fs::path& from, const fs::path& to) {
    std::error_code ec;
#ifndef _WIN32
    // The host's own copy (copy_file_range or sendfile) moves the bytes in the kernel.
    if (fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec))
        return true;
#endif
    // Elsewhere, and where the kernel copy is refused, through a buffer.
    {
        std::ifstream in(from, std::ios::binary);
        std::ofstream out(to, std::ios::binary | std::ios::trunc);
        if (in && out) {
            std::vector<char> buffer(1 << 16);
            while (in) {
                in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
                out.write(buffer.data(), in.gcount());
            }
            out.close();
            if (!in.bad() && !out.fail())
                return true;
        }
    }
    fs::remove(to, ec);
    return false;
}

#ifdef _WIN32
class Input : public InputFile {
public:
    explicit Input(const fs::path& host) : in(host, std::ios::binary | std::ios::ate) {
        auto end = in.tellg();
        size = end < 0 ? 0 : static_cast<std::uint64_t>(end);
        in.seekg(0);
    }
    bool IsOpen() const { return in.is_open(); }

    std::int64_t Read(void* buffer, std::size_t count) override {
        in.read(static_cast<char*>(buffer), static_cast<std::streamsize>(count));
        std::streamsize got = in.gcount();
        if (in.bad())
            return -1;
        if (in.fail())
            in.clear(); // end of file reached part-way
        return got;
    }
    bool Seek(std::uint64_t offset) override {
        in.clear();
        in.seekg(static_cast<std::streamoff>(offset));
        return !in.fail();
    }
    std::uint64_t Size() const override { return size; }

private:
    std::ifstream in;
    std::uint64_t size;
};
#endif

#ifndef _WIN32
// On Linux the image is read with the plain system calls: one stat per listed file instead
// of three, and files opened without a look-up of their path first.
FindData FindDataOf(std::string name, const struct stat& st) {
    FindData info;
    info.name = std::move(name);
    if (S_ISDIR(st.st_mode)) {
        info.attributes = kFileAttributeDirectory;
    } else {
        info.attributes = kFileAttributeArchive;
        info.size = static_cast<std::uint64_t>(st.st_size);
    }
    if ((st.st_mode & S_IWUSR) == 0)
        info.attributes |= kFileAttributeReadOnly;
    info.lastWrite = static_cast<std::int64_t>(st.st_mtim.tv_sec);
    return info;
}

bool IsRegularFile(int fd) {
    struct stat st;
    return ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

class FdInput : public InputFile {
public:
    FdInput(int fd, std::uint64_t size) : fd(fd), size(size) {}
    ~FdInput() override { ::close(fd); }
    FdInput(const FdInput&) = delete;
    FdInput& operator=(const FdInput&) = delete;

    std::int64_t Read(void* buffer, std::size_t count) override {
        for (;;) {
            ssize_t n = ::read(fd, buffer, count);
            if (n >= 0 || errno != EINTR)
                return n < 0 ? -1 : static_cast<std::int64_t>(n);
        }
    }
    bool Seek(std::uint64_t offset) override {
        return ::lseek(fd, static_cast<off_t>(offset), SEEK_SET) == static_cast<off_t>(offset);
    }
    std::uint64_t Size() const override { return size; }

private:
    int fd;
    std::uint64_t size;
};

// Mapped rather than copied: an inventory holds every INF of the machine at once. An image's
// files are not expected to shrink while a run reads them (that would fault on Linux).
class MappedBytes : public FileBytes {
public:
    MappedBytes(void* base, std::size_t size) : base(base), size(size) {}
    ~MappedBytes() override {
        if (size > 0)
            ::munmap(base, size);
    }
    MappedBytes(const MappedBytes&) = delete;
    MappedBytes& operator=(const MappedBytes&) = delete;
    std::string_view View() const override { return {static_cast<const char*>(base), size}; }

private:
    void* base;
    std::size_t size;
};

class HeapBytes : public FileBytes {
public:
    explicit HeapBytes(std::size_t size) : bytes(std::make_unique_for_overwrite<char[]>(size)), size(size) {}
    char* Data() { return bytes.get(); }
    std::string_view View() const override { return {bytes.get(), size}; }

private:
    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

// Below this a read costs less than mapping, faulting the pages in and unmapping them.
constexpr std::uint64_t kMapFrom = 1 << 20;

std::unique_ptr<const FileBytes> ReadWhole(int fd, std::size_t size) {
    auto heap = std::make_unique<HeapBytes>(size);
    std::size_t got = 0;
    while (got < size) {
        ssize_t n = ::pread(fd, heap->Data() + got, size - got, static_cast<off_t>(got));
        if (n <= 0)
            return nullptr; // a folder, an error, or a file cut short under us
        got += static_cast<std::size_t>(n);
    }
    return heap;
}
#endif

} // namespace

class ImageFileSystem::Output : public OutputFile {
public:
    Output(ImageFileSystem& owner, const fs::path& host, bool append) : owner(owner), host(host) {
        std::error_code ec;
        if (append && fs::exists(host, ec)) {
            out.open(host, std::ios::binary | std::ios::in | std::ios::out);
            out.seekp(0, std::ios::end);
        } else {
            out.open(host, std::ios::binary | std::ios::out | std::ios::trunc);
        }
    }
    ~Output() override { Close(); }
    bool IsOpen() const { return out.is_open(); }

    bool Write(const void* data, std::size_t size) override {
        if (closed)
            return false;
        std::size_t allowed = 0;
        bool ok = owner.AllowWrite(size, &allowed);
        if (allowed > 0)
            out.write(static_cast<const char*>(data), static_cast<std::streamsize>(allowed));
        return ok && !out.fail();
    }
    bool Seek(std::uint64_t offset) override {
        if (closed)
            return false;
        out.seekp(static_cast<std::streamoff>(offset));
        return !out.fail();
    }
    std::uint64_t Tell() const override {
        if (closed)
            return 0;
        auto pos = const_cast<std::fstream&>(out).tellp();
        return pos < 0 ? 0 : static_cast<std::uint64_t>(pos);
    }
    bool Truncate(std::uint64_t size) override {
        if (closed)
            return false;
        // Closed and opened again around the cut: the stream keeps its own handle and buffer.
        out.close();
        out.clear();
        std::error_code ec;
        std::uint64_t before = fs::file_size(host, ec);
        if (!ec && before > size)
            owner.ReleaseBytes(before - size);
        fs::resize_file(host, size, ec);
        out.open(host, std::ios::binary | std::ios::in | std::ios::out);
        out.seekp(static_cast<std::streamoff>(size));
        return !ec && out.is_open() && !out.fail();
    }
    bool Close() override {
        if (closed)
            return closeResult;
        closed = true;
        out.close();
        closeResult = !out.fail();
        return closeResult;
    }

private:
    ImageFileSystem& owner;
    fs::path host;
    std::fstream out;
    bool closed = false;
    bool closeResult = false;
};

ImageFileSystem::ImageFileSystem(std::string hostRoot) : hostRoot(std::move(hostRoot)) {}

ImageFileSystem::~ImageFileSystem() = default;

void ImageFileSystem::AddMount(std::string_view windowsFolder, const std::string& hostFolder) {
    WindowsPath wp;
    if (!ParseWindowsPath(windowsFolder, &wp))
        return;
    Mount mount;
    mount.parts.push_back(std::string(1, wp.drive) + ":");
    for (const auto& part : wp.parts)
        mount.parts.push_back(LowerAscii(part));
    mount.host = HostPath(hostFolder);
    mounts.push_back(std::move(mount));
    folders.clear();
}

bool ImageFileSystem::FindOnHost(const fs::path& folder, std::string_view name, std::string* actual) {
    std::error_code ec;
#ifndef _WIN32
    // The name as given is the common case; a case-insensitive host would not tell its spelling.
    fs::path exact = folder / HostPath(name);
    if (fs::exists(fs::symlink_status(exact, ec))) {
        actual->assign(name);
        return true;
    }
#endif
    fs::file_time_type stamp = fs::last_write_time(folder, ec);
    if (ec)
        return false;
    std::string key = HostPathString(folder);
    auto it = listings.find(key);
    if (it == listings.end() || it->second.stamp != stamp) {
        Listing listing;
        listing.stamp = stamp;
        for (fs::directory_iterator dir(folder, ec), end; !ec && dir != end; dir.increment(ec)) {
            std::string entry = HostPathString(dir->path().filename());
            listing.byLowerName.emplace(LowerAscii(entry), entry);
        }
        if (ec)
            return false;
        it = listings.insert_or_assign(key, std::move(listing)).first;
    }
    auto hit = it->second.byLowerName.find(LowerAscii(name));
    if (hit == it->second.byLowerName.end())
        return false;
    *actual = hit->second;
    return true;
}

void ImageFileSystem::Forget(const fs::path& folder, bool foldersGone) {
    listings.erase(HostPathString(folder));
    // A new file or folder leaves every resolved folder where it was; a removed or moved
    // folder may take resolved ones with it.
    if (foldersGone)
        folders.clear();
}

bool ImageFileSystem::Map(std::string_view windowsPath, bool forWrite, fs::path* host, bool lookUpName) {
    WindowsPath wp;
    if (!ParseWindowsPath(windowsPath, &wp))
        return false;
    const Mount* best = nullptr;
    std::string drive = std::string(1, wp.drive) + ":";
    for (const auto& mount : mounts) {
        if (mount.parts.size() > wp.parts.size() + 1 || mount.parts[0] != drive)
            continue;
        bool match = true;
        for (std::size_t i = 1; i < mount.parts.size() && match; ++i)
            match = EqualsNoCase(mount.parts[i], wp.parts[i - 1]);
        if (match && (best == nullptr || mount.parts.size() > best->parts.size()))
            best = &mount;
    }
    fs::path current;
    std::size_t first = 0;
    std::error_code ec;
    if (best != nullptr) {
        current = best->host;
        first = best->parts.size() - 1;
    } else {
        if (hostRoot.empty())
            return false;
        current = HostPath(hostRoot) / HostPath(std::string("drive_") + wp.drive);
    }
    // The longest folder of the path resolved before, then the rest one part at a time.
    std::string key = drive;
    std::size_t cachedParts = first;
    std::vector<std::string> keys;
    for (std::size_t i = 0; i + 1 < wp.parts.size(); ++i) {
        key += '\\';
        key += LowerAscii(wp.parts[i]);
        keys.push_back(key);
    }
    for (std::size_t i = keys.size(); i > first; --i) {
        auto hit = folders.find(keys[i - 1]);
        if (hit != folders.end()) {
            current = hit->second;
            cachedParts = i;
            break;
        }
    }
    // A drive's folder is there when any folder on it was resolved (the cache forgets on change).
    if (best == nullptr && cachedParts == first && !fs::is_directory(current, ec)) {
        if (!forWrite || wp.drive != 'c' || !fs::create_directory(current, ec))
            return false;
    }
    bool missing = false;
    for (std::size_t i = cachedParts; i < wp.parts.size(); ++i) {
        std::string actual;
        bool last = i + 1 == wp.parts.size();
        if (last && !lookUpName) {
            current /= HostPath(wp.parts[i]);
        } else if (!missing && FindOnHost(current, wp.parts[i], &actual)) {
            current /= HostPath(actual);
            if (i + 1 < wp.parts.size())
                folders.emplace(keys[i], current);
        } else {
            missing = true;
            current /= HostPath(wp.parts[i]);
        }
    }
    *host = current;
    return true;
}

bool ImageFileSystem::MapPath(std::string_view windowsPath, fs::path* host) {
    return Map(windowsPath, false, host);
}

bool ImageFileSystem::Exists(std::string_view path) {
    fs::path host;
    std::error_code ec;
    return Map(path, false, &host) && fs::exists(host, ec);
}

bool ImageFileSystem::IsDirectory(std::string_view path) {
    fs::path host;
    std::error_code ec;
    return Map(path, false, &host) && fs::is_directory(host, ec);
}

bool ImageFileSystem::GetInfo(std::string_view path, FindData* info) {
    fs::path host;
    if (!Map(path, false, &host))
        return false;
#ifndef _WIN32
    struct stat st;
    if (::stat(host.c_str(), &st) != 0)
        return false;
    *info = FindDataOf(HostPathString(host.filename()), st);
    return true;
#else
    return StatHost(host, info);
#endif
}

bool ImageFileSystem::FindFiles(std::string_view pattern, std::vector<FindData>* found) {
    found->clear();
    std::size_t slash = pattern.find_last_of("\\/");
    if (slash == std::string_view::npos)
        return false;
    std::string_view name = pattern.substr(slash + 1);
    std::string folder(pattern.substr(0, slash));
    if (name.empty())
        return false;
    if (folder.size() == 2 && folder[1] == ':')
        folder += '\\';
    fs::path host;
    std::error_code ec;
    if (!Map(folder, false, &host))
        return false;
#ifndef _WIN32
    DIR* dir = ::opendir(host.c_str());
    if (dir == nullptr)
        return false;
    while (const dirent* entry = ::readdir(dir)) {
        std::string_view entryName = entry->d_name;
        struct stat st;
        if (entryName == "." || entryName == ".." || !MatchesPattern(name, entryName) ||
            ::fstatat(::dirfd(dir), entry->d_name, &st, 0) != 0)
            continue;
        found->push_back(FindDataOf(std::string(entryName), st));
    }
    ::closedir(dir);
#else
    if (!fs::is_directory(host, ec))
        return false;
    for (fs::directory_iterator dir(host, ec), end; !ec && dir != end; dir.increment(ec)) {
        std::string entry = HostPathString(dir->path().filename());
        FindData info;
        if (MatchesPattern(name, entry) && StatHost(dir->path(), &info))
            found->push_back(std::move(info));
    }
#endif
    std::sort(found->begin(), found->end(),
              [](const FindData& a, const FindData& b) { return LowerAscii(a.name) < LowerAscii(b.name); });
    return !found->empty();
}

#ifndef _WIN32
bool ImageFileSystem::FileNames(std::string_view folder, std::vector<std::string>* names) {
    names->clear();
    fs::path host;
    if (!Map(folder, false, &host))
        return false;
    DIR* dir = ::opendir(host.c_str());
    if (dir == nullptr)
        return false;
    // The entry's type comes with the listing; only links and unknown types need a stat.
    while (const dirent* entry = ::readdir(dir)) {
        bool file = entry->d_type == DT_REG;
        if (entry->d_type == DT_UNKNOWN || entry->d_type == DT_LNK) {
            struct stat st;
            file = ::fstatat(::dirfd(dir), entry->d_name, &st, 0) == 0 && !S_ISDIR(st.st_mode);
        }
        if (file)
            names->emplace_back(entry->d_name);
    }
    ::closedir(dir);
    return true;
}

int ImageFileSystem::OpenHostFile(std::string_view path, std::uint64_t* size) {
    // The name as given first; its spelling on the host only when that is not found.
    for (bool lookUpName : {false, true}) {
        fs::path host;
        if (!Map(path, false, &host, lookUpName))
            return -1;
        int fd = ::open(host.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            if (errno == ENOENT)
                continue;
            return -1;
        }
        // The size from the end offset, cheaper than a stat here. A folder opens too: callers
        // that cannot tell it by what follows ask IsRegularFile.
        off_t end = ::lseek(fd, 0, SEEK_END);
        if (end < 0 || ::lseek(fd, 0, SEEK_SET) != 0) {
            ::close(fd);
            return -1;
        }
        *size = static_cast<std::uint64_t>(end);
        return fd;
    }
    return -1;
}

std::unique_ptr<InputFile> ImageFileSystem::OpenRead(std::string_view path) {
    std::uint64_t size = 0;
    int fd = OpenHostFile(path, &size);
    if (fd < 0)
        return nullptr;
    if (!IsRegularFile(fd)) {
        ::close(fd);
        return nullptr;
    }
    return std::make_unique<FdInput>(fd, size);
}

std::unique_ptr<const FileBytes> ImageFileSystem::ReadAll(std::string_view path, std::uint64_t maxBytes) {
    std::uint64_t size = 0;
    int fd = OpenHostFile(path, &size);
    if (fd < 0)
        return nullptr;
    if (size > 0 && size <= maxBytes && size < kMapFrom) {
        auto bytes = ReadWhole(fd, static_cast<std::size_t>(size));
        ::close(fd);
        return bytes;
    }
    // Mapping a folder fails; an empty one may look like an empty file.
    void* base = nullptr;
    if (size > 0 && size <= maxBytes)
        base = ::mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_PRIVATE, fd, 0);
    bool refused = size > maxBytes || base == MAP_FAILED || (size == 0 && !IsRegularFile(fd));
    ::close(fd);
    if (refused)
        return nullptr;
    return std::make_unique<MappedBytes>(base, static_cast<std::size_t>(size));
}
#else
std::unique_ptr<InputFile> ImageFileSystem::OpenRead(std::string_view path) {
    fs::path host;
    std::error_code ec;
    if (!Map(path, false, &host) || !fs::is_regular_file(host, ec))
        return nullptr;
    // The size comes from the open file: one look-up of the path less per file read.
    auto file = std::make_unique<Input>(host);
    if (!file->IsOpen())
        return nullptr;
    return file;
}
#endif

std::unique_ptr<OutputFile> ImageFileSystem::OpenWrite(std::string_view path, bool append) {
    fs::path host;
    std::error_code ec;
    if (!Map(path, true, &host) || fs::is_directory(host, ec) || !fs::is_directory(host.parent_path(), ec))
        return nullptr;
    auto file = std::make_unique<Output>(*this, host, append);
    Forget(host.parent_path());
    if (!file->IsOpen())
        return nullptr;
    return file;
}

bool ImageFileSystem::CreateDirectory(std::string_view path) {
    fs::path host;
    std::error_code ec;
    if (!Map(path, true, &host) || fs::exists(host, ec) || !fs::is_directory(host.parent_path(), ec))
        return false;
    bool created = fs::create_directory(host, ec);
    Forget(host.parent_path());
    return created && !ec;
}

bool ImageFileSystem::RemoveDirectory(std::string_view path) {
    WindowsPath wp;
    fs::path host;
    std::error_code ec;
    if (!ParseWindowsPath(path, &wp) || wp.parts.empty() || !Map(path, false, &host) ||
        !fs::is_directory(host, ec))
        return false;
    for (const auto& mount : mounts) {
        if (fs::equivalent(mount.host, host, ec))
            return false; // a mount point is not ours to remove
    }
    if (!fs::is_empty(host, ec) || ec)
        return false;
    bool removed = fs::remove(host, ec);
    Forget(host.parent_path(), true);
    return removed && !ec;
}

bool ImageFileSystem::DeleteFile(std::string_view path) {
    fs::path host;
    std::error_code ec;
    if (!Map(path, false, &host) || fs::is_directory(host, ec) || !fs::exists(fs::symlink_status(host, ec)))
        return false;
    if (std::find(undeletable.begin(), undeletable.end(), PathKey(path)) != undeletable.end())
        return false;
    bool removed = fs::remove(host, ec);
    Forget(host.parent_path());
    return removed && !ec;
}

bool ImageFileSystem::CopyFile(std::string_view from, std::string_view to, bool failIfExists) {
    fs::path source, target;
    std::error_code ec;
    if (!Map(from, false, &source) || !fs::is_regular_file(source, ec) || !Map(to, true, &target))
        return false;
    if (fs::exists(target, ec)) {
        if (failIfExists || fs::is_directory(target, ec) || fs::equivalent(source, target, ec))
            return false;
    }
    if (!fs::is_directory(target.parent_path(), ec))
        return false;
    auto size = fs::file_size(source, ec);
    if (ec || !ReserveBytes(size))
        return false;
    bool copied = CopyHostFile(source, target);
    Forget(target.parent_path());
    if (!copied)
        return false;
    // CopyFile keeps the time of the last write.
    auto time = fs::last_write_time(source, ec);
    if (!ec)
        fs::last_write_time(target, time, ec);
    return true;
}

bool ImageFileSystem::MoveFile(std::string_view from, std::string_view to) {
    WindowsPath wp;
    fs::path source, target;
    std::error_code ec;
    if (!ParseWindowsPath(from, &wp) || wp.parts.empty() || !Map(from, false, &source) ||
        !fs::exists(source, ec) || !ParseWindowsPath(to, &wp) || wp.parts.empty() || !Map(to, true, &target))
        return false;
    bool sourceIsFolder = fs::is_directory(source, ec);
    if (fs::exists(target, ec)) {
        if (fs::equivalent(source, target, ec)) {
            // Only the spelling changes.
            target = target.parent_path() / HostPath(wp.parts.back());
        } else {
            if (sourceIsFolder || fs::is_directory(target, ec))
                return false;
            if (!fs::remove(target, ec))
                return false;
        }
    }
    if (!fs::is_directory(target.parent_path(), ec))
        return false;
    fs::rename(source, target, ec);
    if (ec) {
        // Another host volume: copy, then delete the source.
        ec.clear();
        if (sourceIsFolder)
            fs::copy(source, target, fs::copy_options::recursive, ec);
        else
            fs::copy_file(source, target, ec);
        if (ec)
            return false;
        fs::remove_all(source, ec);
    }
    Forget(source.parent_path(), true);
    Forget(target.parent_path(), true);
    return true;
}

bool ImageFileSystem::SetAttributes(std::string_view path, std::uint32_t attributes) {
    fs::path host;
    std::error_code ec;
    if (!Map(path, false, &host) || !fs::exists(host, ec))
        return false;
    if (fs::is_directory(host, ec))
        return true;
    constexpr fs::perms kWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if ((attributes & kFileAttributeReadOnly) != 0)
        fs::permissions(host, kWrite, fs::perm_options::remove, ec);
    else
        fs::permissions(host, fs::perms::owner_write, fs::perm_options::add, ec);
    return !ec;
}

bool ImageFileSystem::DeleteAtReboot(std::string_view path) {
    deletesAtReboot.emplace_back(path);
    return true;
}

void ImageFileSystem::FailDeleteOf(std::string_view path) {
    undeletable.push_back(PathKey(path));
}

void ImageFileSystem::FailWriteCall(std::uint64_t k) {
    failAt = k == 0 ? 0 : writeCalls + k;
}

void ImageFileSystem::SetDiskFullAfter(std::uint64_t bytes) {
    spaceLeft = bytes;
}

void ImageFileSystem::ClearFaults() {
    failAt = 0;
    undeletable.clear();
    spaceLeft = std::numeric_limits<std::uint64_t>::max();
}

bool ImageFileSystem::AllowWrite(std::size_t size, std::size_t* allowed) {
    ++writeCalls;
    if (failAt != 0 && writeCalls == failAt) {
        failAt = 0;
        *allowed = 0;
        return false;
    }
    if (size > spaceLeft) {
        *allowed = static_cast<std::size_t>(spaceLeft);
        spaceLeft = 0;
        return false;
    }
    if (spaceLeft != std::numeric_limits<std::uint64_t>::max())
        spaceLeft -= size;
    *allowed = size;
    return true;
}

void ImageFileSystem::ReleaseBytes(std::uint64_t size) {
    if (spaceLeft != std::numeric_limits<std::uint64_t>::max())
        spaceLeft += size;
}

bool ImageFileSystem::ReserveBytes(std::uint64_t size) {
    if (size > spaceLeft)
        return false;
    if (spaceLeft != std::numeric_limits<std::uint64_t>::max())
        spaceLeft -= size;
    return true;
}

} // namespace vantrel
