#include "platform/FileSystem.h"

#include <utility>

namespace vantrel {

bool ReadWholeFile(FileSystem& fs, std::string_view path, std::string* bytes) {
    auto file = fs.OpenRead(path);
    if (!file)
        return false;
    bytes->clear();
    bytes->reserve(static_cast<std::size_t>(file->Size()));
    char buffer[65536];
    for (;;) {
        std::int64_t n = file->Read(buffer, sizeof buffer);
        if (n < 0)
            return false;
        if (n == 0)
            return true;
        bytes->append(buffer, static_cast<std::size_t>(n));
    }
}

namespace {

class StringBytes : public FileBytes {
public:
    explicit StringBytes(std::string bytes) : bytes(std::move(bytes)) {}
    std::string_view View() const override { return bytes; }

private:
    std::string bytes;
};

} // namespace

std::unique_ptr<const FileBytes> FileSystem::ReadAll(std::string_view path, std::uint64_t maxBytes) {
    auto file = OpenRead(path);
    if (!file || file->Size() > maxBytes)
        return nullptr;
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(file->Size()));
    char buffer[65536];
    for (;;) {
        std::int64_t n = file->Read(buffer, sizeof buffer);
        if (n < 0 || bytes.size() + static_cast<std::uint64_t>(n) > maxBytes)
            return nullptr;
        if (n == 0)
            return std::make_unique<StringBytes>(std::move(bytes));
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
}

bool FileSystem::FileNames(std::string_view folder, std::vector<std::string>* names) {
    names->clear();
    std::vector<FindData> found;
    std::string pattern(folder);
    if (pattern.empty() || (pattern.back() != '\\' && pattern.back() != '/'))
        pattern += '\\';
    if (!FindFiles(pattern + "*", &found))
        return IsDirectory(folder);
    for (auto& entry : found) {
        if (!entry.IsDirectory())
            names->push_back(std::move(entry.name));
    }
    return true;
}

bool WriteWholeFile(FileSystem& fs, std::string_view path, std::string_view bytes) {
    auto file = fs.OpenWrite(path);
    if (!file)
        return false;
    bool ok = file->Write(bytes.data(), bytes.size());
    return file->Close() && ok;
}

bool CreateDirectories(FileSystem& fs, std::string_view path) {
    std::string p(path);
    while (!p.empty() && (p.back() == '\\' || p.back() == '/'))
        p.pop_back();
    if (p.empty() || fs.IsDirectory(p))
        return true;
    auto slash = p.find_last_of("\\/");
    // Stop at a drive ("C:") or UNC share root.
    if (slash != std::string::npos && slash > 0 && !(slash == 2 && p[1] == ':')) {
        if (!CreateDirectories(fs, p.substr(0, slash)))
            return false;
    }
    return fs.CreateDirectory(p) || fs.IsDirectory(p);
}

bool ReadFully(InputFile& file, void* buffer, std::size_t size) {
    auto p = static_cast<char*>(buffer);
    while (size > 0) {
        std::int64_t n = file.Read(p, size);
        if (n <= 0)
            return false;
        p += n;
        size -= static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace vantrel
