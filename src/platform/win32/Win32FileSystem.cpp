#include "platform/win32/Win32Ports.h"

#include <algorithm>
#include <cstring>

#include "platform/win32/WindowsApi.h"

namespace vantrel {

bool SeekHandle(HANDLE file, std::uint64_t offset) {
    LONG high = static_cast<LONG>(offset >> 32);
    SetLastError(NO_ERROR);
    DWORD low = SetFilePointer(file, static_cast<LONG>(offset & 0xFFFFFFFFu), &high, FILE_BEGIN);
    return low != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR;
}

bool HandleSize(HANDLE file, std::uint64_t* size) {
    DWORD high = 0;
    SetLastError(NO_ERROR);
    DWORD low = GetFileSize(file, &high);
    if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
        return false;
    *size = (static_cast<std::uint64_t>(high) << 32) | low;
    return true;
}

namespace {

// FILETIME counts 100 ns steps from 1601; the port speaks Unix seconds.
std::int64_t UnixSeconds(const FILETIME& time) {
    ULARGE_INTEGER value;
    value.LowPart = time.dwLowDateTime;
    value.HighPart = time.dwHighDateTime;
    return (static_cast<std::int64_t>(value.QuadPart) - 116444736000000000LL) / 10000000LL;
}

std::uint64_t Size64(DWORD high, DWORD low) {
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

std::string LastComponent(std::string_view path) {
    while (!path.empty() && (path.back() == '\\' || path.back() == '/'))
        path.remove_suffix(1);
    auto slash = path.find_last_of("\\/:");
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

// ReadFile and WriteFile take 32-bit counts; a large request goes in pieces.
constexpr std::size_t kMaxPiece = 1u << 30;

class Win32InputFile : public InputFile {
public:
    Win32InputFile(HANDLE file, std::uint64_t size) : file(file), size(size) {}
    ~Win32InputFile() override { CloseHandle(file); }

    std::int64_t Read(void* buffer, std::size_t count) override {
        auto* out = static_cast<char*>(buffer);
        std::size_t total = 0;
        while (total < count) {
            DWORD piece = static_cast<DWORD>(std::min(count - total, kMaxPiece));
            DWORD got = 0;
            if (!ReadFile(file, out + total, piece, &got, nullptr))
                return -1;
            if (got == 0)
                break;
            total += got;
        }
        return static_cast<std::int64_t>(total);
    }

    bool Seek(std::uint64_t offset) override { return SeekHandle(file, offset); }
    std::uint64_t Size() const override { return size; }

private:
    HANDLE file;
    std::uint64_t size;
};

// Archives write many small headers, so bytes are gathered and handed to WriteFile in
// large pieces. A failed write of gathered bytes shows at the next Write, Seek or Close.
class Win32OutputFile : public OutputFile {
public:
    Win32OutputFile(HANDLE file, std::uint64_t position) : file(file), position(position) {}
    ~Win32OutputFile() override { Close(); }

    bool Write(const void* data, std::size_t size) override {
        if (file == INVALID_HANDLE_VALUE || failed)
            return false;
        if (pending.size() + size > kBufferSize && !Flush())
            return false;
        if (size >= kBufferSize)
            return WriteDirect(static_cast<const char*>(data), size);
        pending.append(static_cast<const char*>(data), size);
        return true;
    }

    bool Seek(std::uint64_t offset) override {
        if (file == INVALID_HANDLE_VALUE || !Flush() || !SeekHandle(file, offset))
            return false;
        position = offset;
        return true;
    }

    std::uint64_t Tell() const override { return position + pending.size(); }

    bool Truncate(std::uint64_t size) override {
        if (file == INVALID_HANDLE_VALUE)
            return false;
        pending.clear();
        failed = !SeekHandle(file, size) || !SetEndOfFile(file);
        if (!failed)
            position = size;
        return !failed;
    }

    bool Close() override {
        if (file == INVALID_HANDLE_VALUE)
            return !failed;
        bool ok = Flush();
        ok = CloseHandle(file) != 0 && ok;
        file = INVALID_HANDLE_VALUE;
        failed = !ok;
        return ok;
    }

private:
    static constexpr std::size_t kBufferSize = 64 * 1024;

    bool Flush() {
        if (failed)
            return false;
        if (pending.empty())
            return true;
        bool ok = WriteDirect(pending.data(), pending.size());
        pending.clear();
        return ok;
    }

    bool WriteDirect(const char* data, std::size_t size) {
        std::size_t total = 0;
        while (total < size) {
            DWORD piece = static_cast<DWORD>(std::min(size - total, kMaxPiece));
            DWORD written = 0;
            if (!WriteFile(file, data + total, piece, &written, nullptr) || written == 0) {
                failed = true;
                return false;
            }
            total += written;
            position += written;
        }
        return true;
    }

    HANDLE file;
    std::uint64_t position;
    std::string pending;
    bool failed = false;
};

} // namespace

bool Win32FileSystem::Exists(std::string_view path) {
    return GetFileAttributesA(std::string(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool Win32FileSystem::IsDirectory(std::string_view path) {
    DWORD attributes = GetFileAttributesA(std::string(path).c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool Win32FileSystem::GetInfo(std::string_view path, FindData* info) {
    std::string p(path);
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExA(p.c_str(), GetFileExInfoStandard, &data))
        return false;
    info->attributes = data.dwFileAttributes;
    info->size = Size64(data.nFileSizeHigh, data.nFileSizeLow);
    info->lastWrite = UnixSeconds(data.ftLastWriteTime);
    info->name = LastComponent(p);
    // The name as stored may differ in case from the one asked for.
    if (p.find_first_of("*?") == std::string::npos) {
        WIN32_FIND_DATAA found;
        HANDLE find = FindFirstFileA(p.c_str(), &found);
        if (find != INVALID_HANDLE_VALUE) {
            info->name = found.cFileName;
            FindClose(find);
        }
    }
    return true;
}

bool Win32FileSystem::FindFiles(std::string_view pattern, std::vector<FindData>* found) {
    found->clear();
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA(std::string(pattern).c_str(), &data);
    if (find == INVALID_HANDLE_VALUE)
        return false;
    do {
        if (std::strcmp(data.cFileName, ".") == 0 || std::strcmp(data.cFileName, "..") == 0)
            continue;
        FindData entry;
        entry.name = data.cFileName;
        entry.attributes = data.dwFileAttributes;
        entry.size = Size64(data.nFileSizeHigh, data.nFileSizeLow);
        entry.lastWrite = UnixSeconds(data.ftLastWriteTime);
        found->push_back(std::move(entry));
    } while (FindNextFileA(find, &data));
    FindClose(find);
    return !found->empty();
}

std::unique_ptr<InputFile> Win32FileSystem::OpenRead(std::string_view path) {
    // Others may keep the file open for writing (logs, a driver in use): share generously.
    HANDLE file = CreateFileA(std::string(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return nullptr;
    std::uint64_t size = 0;
    if (!HandleSize(file, &size)) {
        CloseHandle(file);
        return nullptr;
    }
    return std::make_unique<Win32InputFile>(file, size);
}

namespace {

class MappedView : public FileBytes {
public:
    MappedView(const void* base, std::size_t size) : base(base), size(size) {}
    ~MappedView() override {
        if (base != nullptr)
            UnmapViewOfFile(base);
    }
    MappedView(const MappedView&) = delete;
    MappedView& operator=(const MappedView&) = delete;
    std::string_view View() const override { return {static_cast<const char*>(base), size}; }

private:
    const void* base;
    std::size_t size;
};

} // namespace

std::unique_ptr<const FileBytes> Win32FileSystem::ReadAll(std::string_view path, std::uint64_t maxBytes) {
    // A mapped view: no copy, and Windows keeps the file from being cut short while it is held.
    // Shared as OpenRead shares, for files another program keeps open for writing.
    HANDLE file = CreateFileA(std::string(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return nullptr;
    std::uint64_t size = 0;
    if (!HandleSize(file, &size) || size > maxBytes) {
        CloseHandle(file);
        return nullptr;
    }
    const void* base = nullptr;
    if (size > 0) {
        if (HANDLE mapping = CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 0, nullptr)) {
            base = MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0);
            CloseHandle(mapping); // the view keeps it
        }
    }
    CloseHandle(file);
    if (size > 0 && base == nullptr)
        return FileSystem::ReadAll(path, maxBytes); // some shares cannot be mapped
    return std::make_unique<MappedView>(base, static_cast<std::size_t>(size));
}

std::unique_ptr<OutputFile> Win32FileSystem::OpenWrite(std::string_view path, bool append) {
    HANDLE file = CreateFileA(std::string(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                              append ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return nullptr;
    // Appending starts at the end the file has now.
    std::uint64_t end = 0;
    if (append && (!HandleSize(file, &end) || !SeekHandle(file, end))) {
        CloseHandle(file);
        return nullptr;
    }
    return std::make_unique<Win32OutputFile>(file, end);
}

bool Win32FileSystem::CreateDirectory(std::string_view path) {
    return CreateDirectoryA(std::string(path).c_str(), nullptr) != 0;
}

bool Win32FileSystem::RemoveDirectory(std::string_view path) {
    return RemoveDirectoryA(std::string(path).c_str()) != 0;
}

bool Win32FileSystem::DeleteFile(std::string_view path) {
    return DeleteFileA(std::string(path).c_str()) != 0;
}

bool Win32FileSystem::CopyFile(std::string_view from, std::string_view to, bool failIfExists) {
    return CopyFileA(std::string(from).c_str(), std::string(to).c_str(), failIfExists) != 0;
}

bool Win32FileSystem::MoveFile(std::string_view from, std::string_view to) {
    std::string source(from), target(to);
    // Write-through: a database replaced by a move must be on the disk when the call returns.
    if (MoveFileExA(source.c_str(), target.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_WRITE_THROUGH))
        return true;
    return GetLastError() == ERROR_CALL_NOT_IMPLEMENTED && MoveFileWithoutEx(source, target);
}

bool Win32FileSystem::SetAttributes(std::string_view path, std::uint32_t attributes) {
    return SetFileAttributesA(std::string(path).c_str(), attributes) != 0;
}

bool Win32FileSystem::DeleteAtReboot(std::string_view path) {
    // Windows 9x has no such list (its MoveFileExA only fails); NT keeps it in the registry
    // and needs an administrator to write it.
    return MoveFileExA(std::string(path).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT) != 0;
}

bool MoveFileWithoutEx(const std::string& from, const std::string& to) {
    if (MoveFileA(from.c_str(), to.c_str()))
        return true;
    // The target exists or lies on another drive: copy over it, then drop the source, in the
    // order MoveFileEx takes when it may copy.
    return CopyFileA(from.c_str(), to.c_str(), FALSE) && DeleteFileA(from.c_str());
}

} // namespace vantrel
