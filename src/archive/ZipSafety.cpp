#include "archive/ZipSafety.h"

#include <cctype>
#include <vector>

namespace vantrel {

namespace {

bool IsSeparator(char c) {
    return c == '/' || c == '\\';
}

std::string Upper(std::string_view s) {
    std::string u(s);
    for (char& c : u)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return u;
}

bool Refuse(std::string* why, const char* reason) {
    if (why)
        *why = reason;
    return false;
}

} // namespace

// Windows opens a device for these names whatever the extension: "nul.txt" is NUL.
bool IsDeviceName(std::string_view component) {
    std::string_view base = component.substr(0, component.find('.'));
    while (!base.empty() && base.back() == ' ')
        base.remove_suffix(1);
    std::string u = Upper(base);
    if (u == "CON" || u == "PRN" || u == "AUX" || u == "NUL" || u == "CONIN$" || u == "CONOUT$")
        return true;
    if (u.size() < 4 || (u.compare(0, 3, "COM") != 0 && u.compare(0, 3, "LPT") != 0))
        return false;
    std::string_view digit = std::string_view(u).substr(3);
    if (digit.size() == 1 && digit[0] >= '0' && digit[0] <= '9')
        return true;
    // Superscript one, two and three count as digits too, in the ANSI and the UTF-8 spelling.
    for (std::string_view sup : {"\xB9", "\xB2", "\xB3", "\xC2\xB9", "\xC2\xB2", "\xC2\xB3"})
        if (digit == sup)
            return true;
    return false;
}

bool SanitizeEntryPath(std::string_view name, std::string* relativePath, std::string* why) {
    if (name.empty())
        return Refuse(why, "empty name");
    if (IsSeparator(name[0]))
        return Refuse(why, "absolute or network path");
    if (name.size() >= 2 && name[1] == ':' && std::isalpha(static_cast<unsigned char>(name[0])))
        return Refuse(why, "drive letter");
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (start <= name.size()) {
        std::size_t end = start;
        while (end < name.size() && !IsSeparator(name[end]))
            ++end;
        std::string_view part = name.substr(start, end - start);
        start = end + 1;
        if (part.empty() || part == ".")
            continue;
        if (part == "..")
            return Refuse(why, "parent folder reference");
        for (char c : part) {
            auto u = static_cast<unsigned char>(c);
            if (u < 32)
                return Refuse(why, "control character in name");
            if (c == ':')
                return Refuse(why, "alternate data stream or drive");
            if (c == '<' || c == '>' || c == '"' || c == '|' || c == '?' || c == '*')
                return Refuse(why, "character not allowed in Windows names");
        }
        if (part.back() == '.' || part.back() == ' ')
            return Refuse(why, "name ends with a dot or a space");
        if (IsDeviceName(part))
            return Refuse(why, "device name");
        parts.push_back(part);
    }
    if (parts.empty())
        return Refuse(why, "empty name");
    std::string joined;
    for (std::string_view part : parts) {
        if (!joined.empty())
            joined += '\\';
        joined += part;
    }
    *relativePath = std::move(joined);
    return true;
}

bool IsLinkEntry(std::uint32_t externalAttributes) {
    constexpr std::uint32_t kUnixTypeMask = 0xF000, kUnixLink = 0xA000, kReparsePoint = 0x400;
    return ((externalAttributes >> 16) & kUnixTypeMask) == kUnixLink ||
           (externalAttributes & kReparsePoint) != 0;
}

bool IsAbsurdRatio(std::uint64_t size, std::uint64_t compressedSize) {
    // Deflate tops out near 1032:1, which files of zeros reach; below 32 MiB they are allowed.
    constexpr std::uint64_t kMaxRatio = 1000, kSmall = 32u << 20;
    return size > kSmall && size / kMaxRatio > compressedSize;
}

} // namespace vantrel
