#include "platform/image/RegFile.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include "platform/image/ImageText.h"
#include "util/Text.h"

namespace vantrel {

namespace {

struct RootName {
    const char* longName;
    const char* shortName;
    RegHandle handle;
};

constexpr RootName kRoots[] = {
    {"HKEY_LOCAL_MACHINE", "HKLM", kHkeyLocalMachine},
    {"HKEY_CURRENT_USER", "HKCU", kHkeyCurrentUser},
    {"HKEY_CLASSES_ROOT", "HKCR", kHkeyClassesRoot},
    {"HKEY_USERS", "HKU", kHkeyUsers},
};

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";

std::string_view TrimLeft(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    return s;
}

std::string_view Trim(std::string_view s) {
    s = TrimLeft(s);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Reads a quoted string starting at s[0] == '"'. Returns false when it is not closed.
bool ParseQuoted(std::string_view s, std::string* text, std::size_t* end) {
    text->clear();
    for (std::size_t i = 1; i < s.size(); ++i) {
        char c = s[i];
        if (c == '"') {
            *end = i + 1;
            return true;
        }
        if (c == '\\' && i + 1 < s.size()) {
            char next = s[i + 1];
            if (next == '\\' || next == '"') {
                text->push_back(next);
                ++i;
                continue;
            }
        }
        text->push_back(c);
    }
    return false;
}

bool ParseHexBytes(std::string_view s, std::string* bytes) {
    bytes->clear();
    std::size_t i = 0;
    while (true) {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
            ++i;
        if (i >= s.size())
            return true; // empty data, or a trailing comma
        int hi = HexDigit(s[i]);
        if (hi < 0)
            return false;
        int value = hi;
        ++i;
        if (i < s.size() && HexDigit(s[i]) >= 0) {
            value = value * 16 + HexDigit(s[i]);
            ++i;
        }
        bytes->push_back(static_cast<char>(value));
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
            ++i;
        if (i >= s.size())
            return true;
        if (s[i] != ',')
            return false;
        ++i;
    }
}

bool IsStringType(std::uint32_t type) {
    return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

class Parser {
public:
    Parser(std::string_view fileName, std::vector<RegFileKey>* keys, std::string* error)
        : fileName(fileName), keys(keys), error(error) {}

    bool Run(std::string_view text) {
        SplitLines(text);
        std::size_t i = 0;
        while (i < lines.size() && Trim(lines[i]).empty())
            ++i;
        if (i == lines.size())
            return Fail(lines.empty() ? 1 : i, "empty file, no registry header");
        std::string_view header = Trim(lines[i]);
        if (header == kHeader5) {
            unicode = true;
        } else if (header != kHeader4) {
            return Fail(i + 1, "not a registry file (expected \"Windows Registry Editor Version 5.00\")");
        }
        for (++i; i < lines.size(); ++i) {
            std::size_t lineNo = i + 1;
            std::string_view line = TrimLeft(lines[i]);
            if (Trim(line).empty() || line.front() == ';')
                continue;
            if (line.front() == '[') {
                if (!ParseKeyLine(Trim(line), lineNo))
                    return false;
            } else if (line.front() == '"' || line.front() == '@') {
                if (!ParseValueLine(line, &i))
                    return false;
            } else {
                return Fail(lineNo, "unrecognised line");
            }
        }
        return true;
    }

private:
    void SplitLines(std::string_view text) {
        std::size_t start = 0;
        while (start <= text.size()) {
            std::size_t nl = text.find('\n', start);
            std::string_view line =
                text.substr(start, nl == std::string_view::npos ? text.size() - start : nl - start);
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            lines.push_back(line);
            if (nl == std::string_view::npos)
                break;
            start = nl + 1;
        }
    }

    bool Fail(std::size_t lineNo, std::string_view what) {
        *error = std::string(fileName) + ":" + std::to_string(lineNo) + ": " + std::string(what);
        return false;
    }

    bool ParseKeyLine(std::string_view line, std::size_t lineNo) {
        std::size_t close = line.rfind(']');
        if (close == std::string_view::npos)
            return Fail(lineNo, "key name without closing ']'");
        if (!Trim(line.substr(close + 1)).empty())
            return Fail(lineNo, "text after the key name");
        std::string_view name = line.substr(1, close - 1);
        RegFileKey key;
        if (!name.empty() && name.front() == '-') {
            key.remove = true;
            name.remove_prefix(1);
        }
        RegHandle root;
        std::string rest;
        if (!SplitRegRoot(name, &root, &rest))
            return Fail(lineNo, "unknown root key in \"" + std::string(name) + "\"");
        key.path = RegRootName(root);
        if (!rest.empty())
            key.path += "\\" + rest;
        keys->push_back(std::move(key));
        inRemovedKey = keys->back().remove;
        return true;
    }

    // line is the value line starting at lines[*index]; hex data may continue on the next lines.
    bool ParseValueLine(std::string_view line, std::size_t* index) {
        std::size_t lineNo = *index + 1;
        if (keys->empty())
            return Fail(lineNo, "value before any key");
        RegFileValue value;
        std::size_t pos;
        if (line.front() == '@') {
            pos = 1;
        } else if (!ParseQuoted(line, &value.name, &pos)) {
            return Fail(lineNo, "unterminated value name");
        }
        std::string_view rest = TrimLeft(line.substr(pos));
        if (rest.empty() || rest.front() != '=')
            return Fail(lineNo, "missing '=' after the value name");
        rest = Trim(rest.substr(1));

        if (rest == "-") {
            value.remove = true;
        } else if (!rest.empty() && rest.front() == '"') {
            std::size_t end;
            if (!ParseQuoted(rest, &value.data, &end))
                return Fail(lineNo, "unterminated string");
            if (!Trim(rest.substr(end)).empty())
                return Fail(lineNo, "text after the closing quote");
            value.type = kRegSz;
            value.data.push_back('\0');
        } else if (StartsWithNoCase(rest, "dword:")) {
            std::string_view digits = Trim(rest.substr(6));
            if (digits.empty() || digits.size() > 8)
                return Fail(lineNo, "bad dword value");
            std::uint32_t v = 0;
            for (char c : digits) {
                int d = HexDigit(c);
                if (d < 0)
                    return Fail(lineNo, "bad dword value");
                v = v * 16 + static_cast<std::uint32_t>(d);
            }
            value.type = kRegDword;
            for (int k = 0; k < 4; ++k)
                value.data.push_back(static_cast<char>((v >> (8 * k)) & 0xFF));
        } else if (StartsWithNoCase(rest, "hex")) {
            if (!ParseHexValue(rest, index, &value))
                return false;
        } else {
            return Fail(lineNo, "unrecognised value data");
        }
        if (!inRemovedKey)
            keys->back().values.push_back(std::move(value));
        return true;
    }

    bool ParseHexValue(std::string_view rest, std::size_t* index, RegFileValue* value) {
        std::size_t lineNo = *index + 1;
        std::size_t pos = 3;
        value->type = kRegBinary;
        if (pos < rest.size() && rest[pos] == '(') {
            std::size_t close = rest.find(')', pos);
            if (close == std::string_view::npos || close == pos + 1 || close - pos - 1 > 8)
                return Fail(lineNo, "bad hex type");
            std::uint32_t type = 0;
            for (char c : rest.substr(pos + 1, close - pos - 1)) {
                int d = HexDigit(c);
                if (d < 0)
                    return Fail(lineNo, "bad hex type");
                type = type * 16 + static_cast<std::uint32_t>(d);
            }
            value->type = type;
            pos = close + 1;
        }
        if (pos >= rest.size() || rest[pos] != ':')
            return Fail(lineNo, "missing ':' after hex");
        std::string data(rest.substr(pos + 1));
        // A trailing backslash continues the byte list on the next line.
        while (!Trim(data).empty() && Trim(data).back() == '\\') {
            data = std::string(Trim(data));
            data.pop_back();
            if (*index + 1 >= lines.size())
                return Fail(lineNo, "hex data continued past the end of the file");
            ++*index;
            data += Trim(lines[*index]);
        }
        if (!ParseHexBytes(data, &value->data))
            return Fail(lineNo, "bad hex data");
        // Version 5 files hold string types as UTF-16LE; the ANSI calls see them converted.
        if (unicode && IsStringType(value->type) && value->data.size() % 2 == 0)
            value->data = Utf16LeToUtf8(value->data);
        return true;
    }

    std::string_view fileName;
    std::vector<RegFileKey>* keys;
    std::string* error;
    std::vector<std::string_view> lines;
    bool unicode = false;
    bool inRemovedKey = false;
};

void AppendQuoted(std::string& out, std::string_view text) {
    out.push_back('"');
    for (char c : text) {
        if (c == '\\' || c == '"')
            out.push_back('\\');
        out.push_back(c);
    }
    out.push_back('"');
}

// Text that can stand between quotes and read back as the same bytes plus one NUL.
bool FitsQuotedString(const RegFileValue& value) {
    if (value.type != kRegSz || value.data.empty() || value.data.back() != '\0')
        return false;
    std::string_view text(value.data.data(), value.data.size() - 1);
    for (char c : text) {
        if (c == '\0' || c == '\r' || c == '\n')
            return false;
    }
    return IsValidUtf8(text);
}

void AppendHex(std::string& out, std::string_view bytes) {
    // regedit wraps long byte lists at about 80 columns with a trailing backslash.
    std::size_t column = out.size() - out.rfind('\n') - 1;
    static const char digits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        auto b = static_cast<unsigned char>(bytes[i]);
        out.push_back(digits[b >> 4]);
        out.push_back(digits[b & 0x0F]);
        column += 2;
        if (i + 1 < bytes.size()) {
            out.push_back(',');
            ++column;
            if (column > 76) {
                out += "\\\r\n  ";
                column = 2;
            }
        }
    }
}

} // namespace

bool SplitRegRoot(std::string_view path, RegHandle* root, std::string* rest) {
    std::size_t slash = path.find('\\');
    std::string_view head = path.substr(0, slash);
    for (const auto& r : kRoots) {
        if (EqualsNoCase(head, r.longName) || EqualsNoCase(head, r.shortName)) {
            *root = r.handle;
            std::string_view tail =
                slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
            while (!tail.empty() && tail.back() == '\\')
                tail.remove_suffix(1);
            rest->assign(tail);
            return true;
        }
    }
    return false;
}

std::string RegRootName(RegHandle root) {
    for (const auto& r : kRoots) {
        if (r.handle == root)
            return r.longName;
    }
    return {};
}

bool ParseRegFile(std::string_view bytes, std::string_view fileName, std::vector<RegFileKey>* keys,
                  std::string* error) {
    keys->clear();
    std::string text = DecodeTextFile(bytes);
    Parser parser(fileName, keys, error);
    return parser.Run(text);
}

bool ReadRegFile(const std::string& hostFile, std::vector<RegFileKey>* keys, std::string* error) {
    std::ifstream in(HostPath(hostFile), std::ios::binary);
    if (!in) {
        *error = hostFile + ": cannot open the file";
        return false;
    }
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad()) {
        *error = hostFile + ": read error";
        return false;
    }
    return ParseRegFile(bytes, hostFile, keys, error);
}

std::string FormatRegFile(const std::vector<RegFileKey>& keys) {
    std::string out(kHeader5);
    out += "\r\n\r\n";
    for (const auto& key : keys) {
        out += key.remove ? "[-" : "[";
        out += key.path;
        out += "]\r\n";
        if (key.remove) {
            out += "\r\n";
            continue;
        }
        for (const auto& value : key.values) {
            if (value.name.empty())
                out.push_back('@');
            else
                AppendQuoted(out, value.name);
            out.push_back('=');
            if (value.remove) {
                out.push_back('-');
            } else if (FitsQuotedString(value)) {
                AppendQuoted(out, std::string_view(value.data.data(), value.data.size() - 1));
            } else if (value.type == kRegDword && value.data.size() == 4) {
                std::uint32_t v = 0;
                for (int k = 3; k >= 0; --k)
                    v = (v << 8) | static_cast<unsigned char>(value.data[k]);
                char buffer[16];
                std::snprintf(buffer, sizeof buffer, "dword:%08x", v);
                out += buffer;
            } else {
                if (value.type == kRegBinary) {
                    out += "hex:";
                } else {
                    char buffer[24];
                    std::snprintf(buffer, sizeof buffer, "hex(%x):", static_cast<unsigned>(value.type));
                    out += buffer;
                }
                AppendHex(out, IsStringType(value.type) ? Utf8ToUtf16Le(value.data) : value.data);
            }
            out += "\r\n";
        }
        out += "\r\n";
    }
    return out;
}

bool WriteRegFile(const std::string& hostFile, const std::vector<RegFileKey>& keys, std::string* error) {
    std::string text = FormatRegFile(keys);
    std::ofstream out(HostPath(hostFile), std::ios::binary | std::ios::trunc);
    if (out)
        out.write(text.data(), static_cast<std::streamsize>(text.size()));
    if (out)
        out.close();
    if (!out) {
        *error = hostFile + ": cannot write the file";
        return false;
    }
    return true;
}

} // namespace vantrel
