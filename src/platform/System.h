// System port: version, folders and 64-bit facts of the machine.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

inline constexpr int kPlatformWin9x = 1; // VER_PLATFORM_WIN32_WINDOWS
inline constexpr int kPlatformNt = 2;    // VER_PLATFORM_WIN32_NT

struct OsVersion {
    int major = 10;
    int minor = 0;
    int build = 19045;
    int platform = kPlatformNt;
    int productType = 1; // 1 workstation, 3 server
    std::string csdVersion;
};

// CSIDL values of the special folders the program asks for.
inline constexpr int kCsidlDesktop = 0x0000;
inline constexpr int kCsidlFavorites = 0x0006;
inline constexpr int kCsidlPersonal = 0x0005;
inline constexpr int kCsidlAppData = 0x001A;

class System {
public:
    virtual ~System() = default;

    virtual OsVersion GetVersion() = 0;            // GetVersionExA
    virtual std::string GetWindowsDirectory() = 0; // raw, no trailing "\" except at a root
    virtual std::string GetSystemDirectory() = 0;
    virtual std::string GetTempPath() = 0;     // as GetTempPathA returns it, with trailing "\"
    virtual std::string GetModuleFolder() = 0; // folder of the running program, as Windows reports it
    virtual std::string GetSpecialFolder(int csidl) = 0; // "" when unknown

    // True when this (32-bit) process runs on 64-bit Windows.
    virtual bool IsWow64Process() = 0;
    // True when Windows itself is 64-bit, whichever build runs.
    virtual bool Is64BitWindows() = 0;
    // Switch file-system redirection off and back; both are no-ops where it does not exist.
    virtual bool DisableFsRedirection() = 0;
    virtual void RevertFsRedirection() = 0;

    // GetDateFormatA with the user's locale and the given picture ("dddd, MMMM dd, yyyy").
    virtual std::string FormatDate(int year, int month, int day, const std::string& picture) = 0;
    // The same with the system's default locale. A machine with one locale for everybody need
    // not override it.
    virtual std::string FormatSystemDate(int year, int month, int day, const std::string& picture) {
        return FormatDate(year, month, day, picture);
    }

    // Language files are UTF-8; windows show ANSI text. Where the ANSI code page is
    // UTF-8 (machine images, Windows 10 1903+ with our manifest) this changes nothing.
    virtual std::string Utf8ToAnsi(std::string_view text) { return std::string(text); }
};

} // namespace vantrel
