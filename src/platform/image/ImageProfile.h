// INI files of a machine image, read as GetPrivateProfileStringA reads them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/Profile.h"

namespace vantrel {

class ImageFileSystem;

// Sections and keys by lower-cased name; the first section of a name and the first key of a
// name in it win, as on Windows. Values are trimmed and lose one pair of matching quotes.
struct ProfileData {
    std::unordered_map<std::string, std::unordered_map<std::string, std::string>> sections;
    const std::string* Find(std::string_view section, std::string_view key) const;
};

// Parses INI bytes: UTF-16LE with BOM becomes UTF-8, a UTF-8 BOM is skipped; ";" lines and
// lines without "=" are ignored.
ProfileData ParseProfile(std::string_view bytes);

class ImageProfile : public Profile {
public:
    explicit ImageProfile(ImageFileSystem& files) : files(files) {}

    // Each file is parsed once and kept until its size, time of last write or (while that time
    // is recent) its bytes change.
    std::uint32_t GetString(std::string_view section, std::string_view key, std::string_view defaultText,
                            std::uint32_t bufferChars, std::string_view file, std::string* text) override;

    std::uint64_t ParseCount() const { return parses; }

private:
    struct Cached {
        std::uintmax_t size = 0;
        std::filesystem::file_time_type stamp;
        std::string bytes;
        ProfileData data;
    };
    const ProfileData* Load(std::string_view file);

    ImageFileSystem& files;
    std::unordered_map<std::string, Cached> cache; // by host path
    std::uint64_t parses = 0;
};

} // namespace vantrel
