#include "inventory/InfFile.h"

#include <algorithm>
#include <cstring>

#include "platform/FileSystem.h"
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

// FNV-1a: short keys, hashed once each.
std::uint64_t KeyHash(std::string_view key) {
    std::uint64_t hash = 14695981039346656037ull;
    for (char c : key)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    return hash;
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

// UTF-16LE to UTF-8; INF text is nearly all ASCII, which takes the short way and is sized
// for exactly that. A lone surrogate becomes U+FFFD and an odd last byte is dropped. *ascii
// tells whether every unit was ASCII, so the text needs no code-page conversion after.
std::string Utf16ToUtf8(std::string_view bytes, bool* ascii) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t units = bytes.size() / 2;
    std::string out(units, '\0');
    char* o = out.data();
    *ascii = true;
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
        if (*ascii) {
            // From here on a unit may take three bytes.
            *ascii = false;
            std::size_t done = static_cast<std::size_t>(o - out.data());
            out.resize(done + (units - k) * 3);
            o = out.data() + done;
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
    // Most lines hold no control character but their CR: copy up to the first in one go.
    auto first = std::find_if(line.begin(), line.end(), IsControl);
    std::string out(line.begin(), first);
    for (auto c = first; c != line.end(); ++c) {
        if (!IsControl(*c))
            out.push_back(*c);
    }
    return out;
}

std::string_view StripInfComment(std::string_view line) {
    return line.substr(0, line.find(';'));
}

InfLineFields SplitInfLine(std::string_view line) {
    InfLineFields out;
    std::string field;
    std::size_t kept = 0; // field's length without the blanks after its last character
    bool quoted = false;
    bool any = false; // the line holds something besides blanks and a comment
    auto finish = [&]() {
        field.resize(kept);
        std::string done = std::move(field);
        field.clear();
        kept = 0;
        return done;
    };
    for (std::size_t k = 0; k < line.size(); ++k) {
        char c = line[k];
        if (IsControl(c) && c != '\t')
            continue;
        if (quoted) {
            if (c == '"' && k + 1 < line.size() && line[k + 1] == '"') {
                field.push_back('"');
                ++k;
            } else if (c == '"') {
                quoted = false;
            } else {
                field.push_back(c);
            }
            kept = field.size();
            continue;
        }
        if (c == ';')
            break;
        if (c == '"') {
            quoted = any = true;
            kept = field.size();
        } else if (c == '=' && !out.hasKey && out.fields.empty()) {
            out.hasKey = any = true;
            out.key = finish();
        } else if (c == ',') {
            any = true;
            out.fields.push_back(finish());
        } else if (c == ' ' || c == '\t') {
            if (!field.empty())
                field.push_back(' ');
        } else {
            any = true;
            field.push_back(c);
            kept = field.size();
        }
    }
    if (any)
        out.fields.push_back(finish());
    return out;
}

std::string ReplaceWithBlank(std::string_view text, char character) {
    std::string out(text);
    std::replace(out.begin(), out.end(), character, ' ');
    return out;
}

namespace {

bool IsUtf16Le(std::string_view bytes) {
    return bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
           static_cast<unsigned char>(bytes[1]) == 0xFE;
}

bool IsUtf8WithMark(std::string_view bytes) {
    return bytes.substr(0, 3) == "\xEF\xBB\xBF";
}

} // namespace

bool InfNeedsDecoding(std::string_view bytes) {
    return IsUtf16Le(bytes) || IsUtf8WithMark(bytes);
}

std::string DecodeInfBytes(std::string_view bytes, System& system) {
    if (IsUtf16Le(bytes)) {
        bool ascii = false;
        std::string utf8 = Utf16ToUtf8(bytes.substr(2), &ascii);
        return ascii ? utf8 : system.Utf8ToAnsi(utf8); // ASCII reads the same in every code page
    }
    if (IsUtf8WithMark(bytes))
        return system.Utf8ToAnsi(bytes.substr(3));
    return std::string(bytes);
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

InfText::InfText(std::string textIn) : owned(std::move(textIn)), text(owned) {}

InfText::InfText(std::unique_ptr<const FileBytes> bytes) : file(std::move(bytes)), text(file->View()) {}

InfText::~InfText() = default;

// Only the lines that open a section are indexed, and only as far as a look-up needs: the
// sections asked for sit near the top, before the long [Strings] list.
bool InfText::IndexNextHeader() const {
    const char* base = text.data();
    std::size_t size = text.size();
    while (scanned < size) {
        const void* hit = std::memchr(base + scanned, '[', size - scanned);
        if (hit == nullptr)
            break;
        std::size_t bracket = static_cast<std::size_t>(static_cast<const char*>(hit) - base);
        std::size_t lineStart = bracket;
        while (lineStart > 0 && !IsLineBreak(base[lineStart - 1]) &&
               (base[lineStart - 1] == ' ' || IsControl(base[lineStart - 1])))
            --lineStart;
        std::size_t lineEnd = LineEnd(text, bracket);
        scanned = lineEnd;
        if (lineStart == 0 || IsLineBreak(base[lineStart - 1])) {
            std::string key = HeaderKey(LineAt(lineStart, lineEnd));
            std::uint64_t hash = KeyHash(key);
            headers.push_back({lineStart, bracket, lineEnd, hash, std::move(key)});
            return true;
        }
    }
    scanned = size;
    return false;
}

std::size_t InfText::FindHeader(std::string_view header) const {
    // A scan in file order finds the first header of the name. An INF has a few dozen
    // sections, so comparing hashes side by side beats a hash table's scattered nodes.
    std::uint64_t hash = KeyHash(header);
    for (std::size_t k = 0; k < headers.size() || IndexNextHeader(); ++k) {
        if (headers[k].keyHash == hash && headers[k].key == header)
            return k;
    }
    return kNoHeader;
}

std::size_t InfText::BodyEnd(std::size_t headerIndex, bool profileRules) const {
    for (std::size_t k = headerIndex + 1; k < headers.size() || IndexNextHeader(); ++k) {
        // The line reader stops only at a "[" in the first column; the profile reader at any
        // line that starts with one after blanks.
        if (profileRules || headers[k].bracket == headers[k].lineStart)
            return headers[k].lineStart;
    }
    return text.size();
}

bool InfText::HasSection(std::string_view header) const {
    return FindHeader(header) != kNoHeader;
}

std::vector<std::string_view> InfText::BodyLines(std::size_t headerIndex, bool profileRules) const {
    std::size_t end = BodyEnd(headerIndex, profileRules);
    // The body starts after the header line's break (CR, LF or CR LF).
    std::size_t start = headers[headerIndex].lineEnd;
    if (start < end && text[start] == '\r')
        ++start;
    if (start < end && text[start] == '\n')
        ++start;
    if (start >= end)
        return {};
    return SplitInfLines(LineAt(start, end));
}

std::vector<std::string_view> InfText::SectionLines(std::string_view header) const {
    std::size_t index = FindHeader(header);
    if (index == kNoHeader)
        return {};
    return BodyLines(index, false);
}

const std::vector<std::string>& InfText::HeaderNames() const {
    while (IndexNextHeader()) {
    }
    for (std::size_t k = headerNames.size(); k < headers.size(); ++k) {
        std::string_view line = LineAt(headers[k].bracket + 1, headers[k].lineEnd);
        std::size_t close = line.find(']');
        // Without its "]" the line names no section, though it still ends the one before.
        headerNames.push_back(close == std::string_view::npos
                                  ? std::string()
                                  : LowerAscii(TrimWhite(CleanInfLine(line.substr(0, close)))));
    }
    return headerNames;
}

std::vector<std::string_view> InfText::SectionLinesByName(std::string_view name) const {
    std::string key = LowerAscii(TrimWhite(name));
    const auto& names = HeaderNames();
    std::vector<std::string_view> lines;
    for (std::size_t k = 0; k < names.size(); ++k) {
        if (!key.empty() && names[k] == key) {
            auto body = BodyLines(k, true);
            lines.insert(lines.end(), body.begin(), body.end());
        }
    }
    return lines;
}

bool InfText::HasSectionByName(std::string_view name) const {
    std::string key = LowerAscii(TrimWhite(name));
    const auto& names = HeaderNames();
    return !key.empty() && std::find(names.begin(), names.end(), key) != names.end();
}

const std::vector<InfText::VersionEntry>& InfText::VersionEntries() const {
    if (versionRead)
        return version;
    versionRead = true;
    for (std::size_t k = 0; k < headers.size() || IndexNextHeader(); ++k) {
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
