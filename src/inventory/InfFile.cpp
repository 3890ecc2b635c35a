#include "inventory/InfFile.h"

#include <algorithm>
#include <cstring>

#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

bool IsControl(char c) {
    auto u = static_cast<unsigned char>(c);
    return u < 0x20 || u == 0x7F;
}

bool IsLineBreak(char c) {
    return c == '\r' || c == '\n';
}

// Blanks and tabs around a profile key or value, as the profile reader drops them.
std::string_view TrimProfile(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

std::string HeaderKey(std::string_view line) {
    return LowerAscii(CleanInfLine(StripInfComment(line)));
}

// The offset of the first CR or LF at or after pos; text.size() when there is none.
std::size_t LineEnd(std::string_view text, std::size_t pos) {
    if (pos >= text.size())
        return text.size();
    const char* base = text.data();
    const void* lf = std::memchr(base + pos, '\n', text.size() - pos);
    std::size_t end = lf ? static_cast<std::size_t>(static_cast<const char*>(lf) - base) : text.size();
    const void* cr = std::memchr(base + pos, '\r', end - pos);
    return cr ? static_cast<std::size_t>(static_cast<const char*>(cr) - base) : end;
}

// Writes cp as UTF-8 at out and returns the position after it.
char* PutUtf8(char* out, std::uint32_t cp) {
    if (cp < 0x800) {
        *out++ = static_cast<char>(0xC0 | (cp >> 6));
    } else if (cp < 0x10000) {
        *out++ = static_cast<char>(0xE0 | (cp >> 12));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    } else {
        *out++ = static_cast<char>(0xF0 | (cp >> 18));
        *out++ = static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        *out++ = static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    }
    *out++ = static_cast<char>(0x80 | (cp & 0x3F));
    return out;
}

// UTF-16LE to UTF-8; INF text is nearly all ASCII, which takes the short way. A lone
// surrogate becomes U+FFFD and an odd last byte is dropped. Written through a pointer into
// a buffer sized for the worst case (3 bytes per unit): large INFs are decoded every run.
std::string Utf16ToUtf8(std::string_view bytes) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t units = bytes.size() / 2;
    std::string out(units * 3, '\0');
    char* o = out.data();
    for (std::size_t k = 0; k < units; ++k) {
        // Four ASCII units at a time: every high byte zero and every low byte below 0x80.
        while (k + 4 <= units) {
            std::uint64_t four;
            std::memcpy(&four, p + 2 * k, 8);
            if ((four & 0xFF80FF80FF80FF80ull) != 0)
                break;
            o[0] = static_cast<char>(p[2 * k]);
            o[1] = static_cast<char>(p[2 * k + 2]);
            o[2] = static_cast<char>(p[2 * k + 4]);
            o[3] = static_cast<char>(p[2 * k + 6]);
            o += 4;
            k += 4;
        }
        if (k >= units)
            break;
        std::uint32_t u = p[2 * k] | (static_cast<std::uint32_t>(p[2 * k + 1]) << 8);
        if (u < 0x80) {
            *o++ = static_cast<char>(u);
            continue;
        }
        if (u >= 0xD800 && u <= 0xDBFF && k + 1 < units) {
            std::uint32_t low = p[2 * k + 2] | (static_cast<std::uint32_t>(p[2 * k + 3]) << 8);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                o = PutUtf8(o, 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00));
                ++k;
                continue;
            }
        }
        o = PutUtf8(o, u >= 0xD800 && u <= 0xDFFF ? 0xFFFD : u);
    }
    out.resize(static_cast<std::size_t>(o - out.data()));
    return out;
}

} // namespace

std::string CleanInfLine(std::string_view line) {
    std::string out;
    out.reserve(line.size());
    for (char c : line) {
        if (!IsControl(c))
            out.push_back(c);
    }
    return out;
}

std::string_view StripInfComment(std::string_view line) {
    return line.substr(0, line.find(';'));
}

std::string ReplaceWithBlank(std::string_view text, char character) {
    std::string out(text);
    std::replace(out.begin(), out.end(), character, ' ');
    return out;
}

std::string DecodeInfBytes(std::string bytes, System& system) {
    std::string_view view(bytes);
    if (view.size() >= 2 && static_cast<unsigned char>(view[0]) == 0xFF &&
        static_cast<unsigned char>(view[1]) == 0xFE)
        return system.Utf8ToAnsi(Utf16ToUtf8(view.substr(2)));
    if (view.size() >= 3 && view.substr(0, 3) == "\xEF\xBB\xBF")
        return system.Utf8ToAnsi(view.substr(3));
    return bytes;
}

std::vector<std::string_view> SplitInfLines(std::string_view block) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (start < block.size()) {
        std::size_t end = LineEnd(block, start);
        lines.push_back(block.substr(start, end - start));
        if (end == block.size())
            break;
        start = end + 1;
        if (block[end] == '\r' && start < block.size() && block[start] == '\n')
            ++start;
    }
    return lines;
}

InfText::InfText(std::string textIn) : text(std::move(textIn)) {
    // Only the lines that open a section are indexed; a section's body is cut out of the
    // text when it is asked for, so a whole INF is scanned once with memchr.
    const char* base = text.data();
    std::size_t size = text.size();
    std::size_t pos = 0;
    while (pos < size) {
        const void* hit = std::memchr(base + pos, '[', size - pos);
        if (hit == nullptr)
            break;
        std::size_t bracket = static_cast<std::size_t>(static_cast<const char*>(hit) - base);
        std::size_t lineStart = bracket;
        while (lineStart > 0 && !IsLineBreak(base[lineStart - 1]) &&
               (base[lineStart - 1] == ' ' || IsControl(base[lineStart - 1])))
            --lineStart;
        std::size_t lineEnd = LineEnd(text, bracket);
        if (lineStart == 0 || IsLineBreak(base[lineStart - 1])) {
            headers.push_back({lineStart, bracket, lineEnd});
            byHeaderLine.emplace(HeaderKey(LineAt(lineStart, lineEnd)), headers.size() - 1);
        }
        pos = lineEnd;
    }
}

std::size_t InfText::BodyEnd(std::size_t headerIndex, bool profileRules) const {
    for (std::size_t k = headerIndex + 1; k < headers.size(); ++k) {
        // The line reader stops only at a "[" in the first column; the profile reader at any
        // line that starts with one after blanks.
        if (profileRules || headers[k].bracket == headers[k].lineStart)
            return headers[k].lineStart;
    }
    return text.size();
}

bool InfText::HasSection(std::string_view header) const {
    return byHeaderLine.find(std::string(header)) != byHeaderLine.end();
}

std::vector<std::string_view> InfText::SectionLines(std::string_view header) const {
    auto found = byHeaderLine.find(std::string(header));
    if (found == byHeaderLine.end())
        return {};
    const Header& h = headers[found->second];
    std::size_t end = BodyEnd(found->second, false);
    if (h.lineEnd >= end)
        return {};
    return SplitInfLines(LineAt(h.lineEnd, end));
}

const std::vector<InfText::VersionEntry>& InfText::VersionEntries() const {
    if (versionRead)
        return version;
    versionRead = true;
    for (std::size_t k = 0; k < headers.size(); ++k) {
        std::string_view line = LineAt(headers[k].bracket + 1, headers[k].lineEnd);
        std::size_t close = line.rfind(']');
        if (!EqualsNoCase(TrimProfile(line.substr(0, close)), "version"))
            continue;
        // Only the first section of the name counts, and the first key of a name in it.
        for (std::string_view entry : SplitInfLines(LineAt(headers[k].lineEnd, BodyEnd(k, true)))) {
            entry = TrimProfile(entry);
            std::size_t eq = entry.find('=');
            if (entry.empty() || entry.front() == ';' || eq == std::string_view::npos)
                continue;
            std::string key = LowerAscii(TrimProfile(entry.substr(0, eq)));
            bool seen = false;
            for (const auto& known : version)
                seen = seen || known.key == key;
            if (seen)
                continue;
            std::string_view value = TrimProfile(entry.substr(eq + 1));
            if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
                value.back() == value.front())
                value = value.substr(1, value.size() - 2);
            version.push_back({std::move(key), std::string(value)});
        }
        break;
    }
    return version;
}

std::string InfText::VersionValue(std::string_view key, std::uint32_t bufferChars) const {
    if (bufferChars == 0)
        return {};
    std::string lower = LowerAscii(key);
    for (const auto& entry : VersionEntries()) {
        if (entry.key == lower)
            return entry.value.substr(0, std::min<std::size_t>(entry.value.size(), bufferChars - 1));
    }
    return {};
}

std::string InfText::SignatureLine() const {
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find_first_of("\r\n", start);
        if (end == std::string::npos)
            end = text.size();
        std::string_view raw = LineAt(start, end);
        // Cheap test first: a cleaned line starting with "signature" holds an "s" or "S".
        if (raw.find_first_of("sS") != std::string_view::npos) {
            std::string line = CleanInfLine(raw);
            if (StartsWithNoCase(line, "signature"))
                return line;
        }
        start = end + 1;
    }
    return {};
}

} // namespace vantrel
