#include "platform/image/ImageText.h"

#include <cstdint>

namespace vantrel {

namespace {

void AppendUtf8(std::string& out, std::uint32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

void AppendUnit(std::string& out, std::uint32_t unit) {
    out.push_back(static_cast<char>(unit & 0xFF));
    out.push_back(static_cast<char>(unit >> 8));
}

// Decodes one strict UTF-8 sequence at text[i]; returns its length, 0 when invalid.
std::size_t DecodeUtf8(std::string_view text, std::size_t i, std::uint32_t* cp) {
    auto b0 = static_cast<unsigned char>(text[i]);
    if (b0 < 0x80) {
        *cp = b0;
        return 1;
    }
    std::size_t len;
    std::uint32_t value, min;
    if ((b0 & 0xE0) == 0xC0) {
        len = 2, value = b0 & 0x1F, min = 0x80;
    } else if ((b0 & 0xF0) == 0xE0) {
        len = 3, value = b0 & 0x0F, min = 0x800;
    } else if ((b0 & 0xF8) == 0xF0) {
        len = 4, value = b0 & 0x07, min = 0x10000;
    } else {
        return 0;
    }
    if (i + len > text.size())
        return 0;
    for (std::size_t k = 1; k < len; ++k) {
        auto b = static_cast<unsigned char>(text[i + k]);
        if ((b & 0xC0) != 0x80)
            return 0;
        value = (value << 6) | (b & 0x3F);
    }
    // Overlong forms, surrogates and values past Unicode are not valid UTF-8.
    if (value < min || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return 0;
    *cp = value;
    return len;
}

} // namespace

std::string Utf16LeToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() / 2);
    std::size_t units = bytes.size() / 2;
    auto unitAt = [&](std::size_t k) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[2 * k])) |
               (static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[2 * k + 1])) << 8);
    };
    for (std::size_t k = 0; k < units; ++k) {
        std::uint32_t u = unitAt(k);
        if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units) {
            std::uint32_t low = unitAt(k + 1);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00));
                ++k;
                continue;
            }
        }
        if (u >= 0xDC80 && u <= 0xDCFF) {
            out.push_back(static_cast<char>(u - 0xDC00)); // an escaped raw byte
            continue;
        }
        AppendUtf8(out, u);
    }
    return out;
}

std::string Utf8ToUtf16Le(std::string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    std::size_t i = 0;
    while (i < text.size()) {
        std::uint32_t cp;
        std::size_t len = DecodeUtf8(text, i, &cp);
        if (len == 0) {
            AppendUnit(out, 0xDC00 + static_cast<unsigned char>(text[i]));
            ++i;
            continue;
        }
        i += len;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            AppendUnit(out, 0xD800 + (cp >> 10));
            AppendUnit(out, 0xDC00 + (cp & 0x3FF));
        } else {
            AppendUnit(out, cp);
        }
    }
    return out;
}

bool IsValidUtf8(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        std::uint32_t cp;
        std::size_t len = DecodeUtf8(text, i, &cp);
        if (len == 0)
            return false;
        i += len;
    }
    return true;
}

std::string DecodeTextFile(std::string_view bytes) {
    if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
        static_cast<unsigned char>(bytes[1]) == 0xFE)
        return Utf16LeToUtf8(bytes.substr(2));
    if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF")
        return std::string(bytes.substr(3));
    // UTF-16LE without BOM: an ASCII first character followed by a zero byte.
    if (bytes.size() >= 4 && bytes[0] != 0 && bytes[1] == 0 && bytes[2] != 0 && bytes[3] == 0)
        return Utf16LeToUtf8(bytes);
    return std::string(bytes);
}

std::filesystem::path HostPath(std::string_view utf8) {
#ifdef _WIN32
    // Windows would read a narrow string in the ANSI code page; the image's names are UTF-8.
    try {
        return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
    } catch (...) {
        return {};
    }
#else
    return std::filesystem::path(std::string(utf8));
#endif
}

std::string HostPathString(const std::filesystem::path& path) {
#ifdef _WIN32
    try {
        std::u8string s = path.u8string();
        return std::string(s.begin(), s.end());
    } catch (...) {
        return {};
    }
#else
    return path.string();
#endif
}

} // namespace vantrel
