#include "backup/SelfExtract.h"

#include <algorithm>

#include "archive/ZipReader.h"
#include "platform/FileSystem.h"

namespace vantrel {

namespace {

// Settings and their length word are small; more than this before the archive is the stub.
constexpr std::uint64_t kMaxSettingsBytes = 64 * 1024;

} // namespace

bool ReadSfxSettings(FileSystem& fs, const std::string& path, SfxSettings* settings) {
    ZipReader reader(fs);
    if (!reader.Open(path) || reader.Entries().empty())
        return false;
    std::uint64_t first = UINT64_MAX;
    for (const auto& entry : reader.Entries())
        first = std::min(first, entry.localHeaderOffset);
    std::uint64_t from = first > kMaxSettingsBytes ? first - kMaxSettingsBytes : 0;
    auto in = fs.OpenRead(path);
    if (!in || !in->Seek(from))
        return false;
    std::string bytes(static_cast<std::size_t>(first - from), '\0');
    if (in->Read(bytes.data(), bytes.size()) != static_cast<std::int64_t>(bytes.size()))
        return false;
    return FindSfxSettings(bytes, settings);
}

bool ExtractSelf(FileSystem& fs, const std::string& path, const std::string& folder, bool overwrite,
                 ArchiveCallback* callback, std::string* error) {
    ZipReader reader(fs);
    if (!reader.Open(path)) {
        *error = reader.Error();
        return false;
    }
    if (!CreateDirectories(fs, folder)) {
        *error = "cannot create " + folder;
        return false;
    }
    ZipExtractOptions options;
    options.overwrite = overwrite;
    ZipResult result = reader.Extract(folder, options, callback);
    if (!result.ok) {
        *error = result.error.empty() ? "the archive is damaged" : result.error;
        return false;
    }
    return true;
}

} // namespace vantrel
