#include "devices/PciIds.h"

#include <cctype>
#include <cstdint>

#include "util/Text.h"

namespace vantrel {

namespace {

// Windows-1252 bytes 0x80-0x9F and the code points they stand for (0: undefined).
constexpr char16_t kHighControls[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

char CodePointTo1252(std::uint32_t cp) {
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF))
        return static_cast<char>(cp);
    for (int i = 0; i < 32; ++i) {
        if (kHighControls[i] != 0 && kHighControls[i] == cp)
            return static_cast<char>(0x80 + i);
    }
    return '?';
}

bool IsHex(std::string_view text) {
    if (text.empty())
        return false;
    for (char c : text) {
        if (!std::isxdigit(static_cast<unsigned char>(c)))
            return false;
    }
    return true;
}

// "Date:    2023-04-10 20:08:02" in the header comment -> "20230410".
std::string HeaderDate(std::string_view line) {
    auto at = line.find("Date:");
    if (at == std::string_view::npos)
        return {};
    std::string text = TrimWhite(line.substr(at + 5));
    if (text.size() < 10 || text[4] != '-' || text[7] != '-')
        return {};
    std::string digits = text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
    return digits.find_first_not_of("0123456789") == std::string::npos ? digits : std::string();
}

std::string HeaderVersion(std::string_view line) {
    auto at = line.find("Version:");
    return at == std::string_view::npos ? std::string() : TrimWhite(line.substr(at + 8));
}

} // namespace

std::string Utf8ToWindows1252(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        auto c = static_cast<unsigned char>(text[i]);
        int extra = c >= 0xF8 ? 0 : c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC2 ? 1 : 0;
        if (extra == 0 || i + extra >= text.size()) {
            out += static_cast<char>(c);
            ++i;
            continue;
        }
        std::uint32_t cp = c & (0x3F >> extra);
        bool valid = true;
        for (int k = 1; k <= extra; ++k) {
            auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80) {
                valid = false;
                break;
            }
            cp = (cp << 6) | (next & 0x3F);
        }
        if (!valid) {
            out += static_cast<char>(c);
            ++i;
            continue;
        }
        out += CodePointTo1252(cp);
        i += extra + 1;
    }
    return out;
}

bool ConvertPciIds(std::string_view pciIds, std::string* out, std::string* error) {
    std::string date, version, body;
    std::string vendor, device;
    for (std::string_view line : Split(pciIds, '\n')) {
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (line.starts_with("#")) {
            if (date.empty())
                date = HeaderDate(line);
            if (version.empty())
                version = HeaderVersion(line);
            continue;
        }
        if (line.starts_with("C "))
            break; // the device classes follow; they name no device
        int tabs = 0;
        while (tabs < static_cast<int>(line.size()) && line[tabs] == '\t')
            ++tabs;
        std::string_view rest = line.substr(tabs);
        // An id of four hex digits, two blanks, the name; a subsystem has two ids.
        auto id = [&](std::size_t at) {
            return rest.size() >= at + 4 ? rest.substr(at, 4) : std::string_view();
        };
        if (tabs == 0 && IsHex(id(0)) && rest.size() > 4 && rest[4] == ' ') {
            vendor = UpperAscii(id(0));
            device.clear();
            body += vendor + "=" + TrimWhite(Utf8ToWindows1252(rest.substr(5))) + "\r\n";
        } else if (tabs == 1 && !vendor.empty() && IsHex(id(0)) && rest.size() > 4 && rest[4] == ' ') {
            device = UpperAscii(id(0));
            body += vendor + ":" + device + "=" + TrimWhite(Utf8ToWindows1252(rest.substr(5))) + "\r\n";
        } else if (tabs == 2 && !device.empty() && IsHex(id(0)) && rest.size() > 9 && rest[4] == ' ' &&
                   IsHex(id(5)) && rest[9] == ' ') {
            // pci.ids: subvendor subdevice; Windows writes SUBSYS_ + subdevice + subvendor.
            body += vendor + ":" + device + ":" + UpperAscii(id(5)) + ":" + UpperAscii(id(0)) + "=" +
                    TrimWhite(Utf8ToWindows1252(rest.substr(10))) + "\r\n";
        }
    }
    if (date.empty()) {
        *error = "no \"Date:\" line in the header";
        return false;
    }
    *out = date + "=pci.ids " + (version.empty() ? date : version) + "\r\n" + body;
    return true;
}

} // namespace vantrel
