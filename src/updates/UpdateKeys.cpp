#include "updates/UpdateKeys.h"

#include "util/Text.h"

namespace vantrel {

const char* const kOsCodes[kOsSlotCount] = {
    "Win98",   "WinMe",    "Win2000",  "WinXP32",  "Win2003x32", "WinVista32", "Win7x32",
    "Win8x32", "Win81x32", "Win10x32", "Win11x32", "WinXP64",    "Win2003x64", "WinVista64",
    "Win7x64", "Win8x64",  "Win81x64", "Win10x64", "Win11",
};

int OsSlot(std::string_view code) {
    for (int i = 0; i < kOsSlotCount; ++i) {
        if (code == kOsCodes[i])
            return i + 1;
    }
    return 0;
}

namespace {

// Mid(text, start, length) with 1-based start: whatever of that range exists.
std::string_view Mid(std::string_view text, std::size_t start, std::size_t length = std::string_view::npos) {
    return start - 1 < text.size() ? text.substr(start - 1, length) : std::string_view();
}

std::string IdsKey(char letter, std::string_view id, std::size_t vendorAt, std::size_t deviceAt,
                   std::size_t subsystemAt) {
    std::string key(1, letter);
    key += Mid(id, vendorAt, 4);
    key += ':';
    key += Mid(id, deviceAt, 4);
    key += ':';
    if (id.find("SUBSYS_") != std::string_view::npos)
        key += Mid(id, subsystemAt, 8);
    else
        key += kWildcardSubsystem;
    return key;
}

} // namespace

std::string MakeLookupKey(std::string_view hardwareId) {
    std::string upper = UpperAscii(hardwareId);
    std::string_view id = upper;
    // Built by appending: "X" + std::string(...) trips a false -Wrestrict in GCC 12.
    auto join = [](std::string_view head, std::string_view tail) {
        std::string key(head);
        key += tail;
        return key;
    };
    auto pair = [&](char letter) {
        std::string key(1, letter);
        key += Mid(id, 9, 4);
        key += ':';
        key += Mid(id, 18, 4);
        return key;
    };
    if (id.starts_with("PCI\\VEN"))
        return IdsKey('P', id, 9, 18, 30);
    if (id.starts_with("USB\\VID"))
        return pair('U');
    if (id.starts_with("HID\\VID"))
        return pair('V');
    if (id.starts_with("HDAUDIO\\FUNC_"))
        return IdsKey('H', id, 21, 30, 42);
    if (id.starts_with("MONITOR"))
        return join("M", Mid(id, 9));
    // Printers on the parallel port and on USB share one letter, so one line serves both.
    if (id.starts_with("LPTENUM\\"))
        return join("L", Mid(id, 9));
    if (id.starts_with("USBPRINT\\"))
        return join("L", Mid(id, 10));
    constexpr std::string_view kAmd = "ACPI\\AUTHENTICAMD_-_X86_FAMILY_";
    if (id.starts_with(kAmd)) {
        std::string_view family = id.substr(kAmd.size());
        return join("AMD", family.substr(0, family.find('_')));
    }
    return {};
}

const std::vector<OsChoice>& UpdateOsChoices() {
    static const std::vector<OsChoice> choices = {
        {"Windows 98", "Win98"},
        {"Windows ME", "WinMe"},
        {"Windows 2000", "Win2000"},
        {"Windows XP x86", "WinXP32"},
        {"Windows XP x64", "WinXP64"},
        {"Windows 2003 x86", "Win2003x32"},
        {"Windows 2003 x64", "Win2003x64"},
        {"Windows Vista x86", "WinVista32"},
        {"Windows Vista x64", "WinVista64"},
        {"Windows 7 x86", "Win7x32"},
        {"Windows 7 x64", "Win7x64"},
        {"Windows 8 x86", "Win8x32"},
        {"Windows 8 x64", "Win8x64"},
        {"Windows 8.1 x86", "Win81x32"},
        {"Windows 8.1 x64", "Win81x64"},
        {"Windows 10 x86", "Win10x32"},
        {"Windows 10 x64", "Win10x64"},
        {"Windows 11", "Win11"},
    };
    return choices;
}

std::string OsCodeOfChoice(std::string_view display) {
    for (const auto& choice : UpdateOsChoices()) {
        if (display == choice.display)
            return choice.code;
    }
    return {};
}

std::string DefaultOsChoice(const OsVersion& version, bool is64Bit) {
    auto bits = [is64Bit](const char* x64, const char* x86) { return std::string(is64Bit ? x64 : x86); };
    int v = version.major * 100 + version.minor;
    bool workstation = version.productType == 1;
    switch (v) {
    case 410:
        return "Windows 98";
    case 490:
        return "Windows ME";
    case 500:
        return "Windows 2000";
    case 501:
        return "Windows XP x86";
    case 502:
        if (workstation && is64Bit)
            return "Windows XP x64";
        return workstation || !is64Bit ? "Windows 2003 x86" : "Windows 2003 x64";
    case 600:
        return bits("Windows Vista x64", "Windows Vista x86");
    case 601:
        return bits("Windows 7 x64", "Windows 7 x86");
    case 602:
        return bits("Windows 8 x64", "Windows 8 x86");
    case 603:
        return bits("Windows 8.1 x64", "Windows 8.1 x86");
    case 1000:
        if (!is64Bit)
            return "Windows 10 x86";
        return version.build >= 22000 ? "Windows 11" : "Windows 10 x64";
    default:
        return {};
    }
}

} // namespace vantrel
