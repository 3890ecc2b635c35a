#include "backup/SelfExtract.h"

#include <algorithm>

#include "archive/ZipReader.h"
#include "platform/FileSystem.h"
#include "util/Text.h"

namespace vantrel {

namespace {

// Settings and their length word are small; more than this before the archive is the stub.
constexpr std::uint64_t kMaxSettingsBytes = 64 * 1024;

std::string NoTrailingSlash(std::string_view folder) {
    std::string out(folder);
    while (out.size() > 3 && out.back() == '\\')
        out.pop_back();
    return out;
}

} // namespace

bool ParseSfxCommandLine(std::string_view arguments, SfxCommand* command, std::string* error) {
    SfxCommand parsed;
    std::size_t i = 0;
    auto skipBlanks = [&] {
        while (i < arguments.size() && (arguments[i] == ' ' || arguments[i] == '\t'))
            ++i;
    };
    for (skipBlanks(); i < arguments.size(); skipBlanks()) {
        std::size_t start = i;
        bool quoted = false;
        std::string word;
        for (; i < arguments.size() && (quoted || (arguments[i] != ' ' && arguments[i] != '\t')); ++i) {
            if (arguments[i] == '"')
                quoted = !quoted;
            else
                word += arguments[i];
        }
        if (quoted) {
            *error = "unterminated quote";
            return false;
        }
        std::string lower = LowerAscii(word);
        if (lower == "/s") {
            parsed.silent = true;
        } else if (lower.rfind("/d:", 0) == 0 && word.size() > 3) {
            parsed.folder = word.substr(3);
        } else {
            *error = "unknown argument: " + std::string(arguments.substr(start, i - start));
            return false;
        }
    }
    *command = parsed;
    return true;
}

std::string ExpandSfxPath(std::string_view text, std::string_view tempFolder, std::string_view folder) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 1 < text.size()) {
            char token = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i + 1])));
            if (token == 't' || token == 'd') {
                out += NoTrailingSlash(token == 't' ? tempFolder : folder);
                ++i;
                continue;
            }
        }
        out += text[i];
    }
    return out;
}

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

bool LocateTrailingArchive(std::uint64_t fileSize, std::uint32_t trailer, std::uint64_t* offset) {
    if (fileSize < 4 || trailer == 0 || trailer > fileSize - 4)
        return false;
    *offset = fileSize - 4 - trailer;
    return true;
}

} // namespace vantrel
