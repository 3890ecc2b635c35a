#include "platform/win32/Win32Ports.h"

#include <vector>

#include "platform/win32/WindowsApi.h"

namespace vantrel {

namespace {

// Calls a Get...DirectoryA-style function, which answers the size it needs (with its
// NUL) when the buffer is too small, and 0 on failure.
template <typename Call> std::string ReadFolder(Call call) {
    std::vector<char> buffer(MAX_PATH + 1);
    for (int attempt = 0; attempt < 3; ++attempt) {
        UINT length = call(buffer.data(), static_cast<UINT>(buffer.size()));
        if (length == 0)
            return "";
        if (length < buffer.size())
            return std::string(buffer.data(), length);
        buffer.resize(length + 1);
    }
    return "";
}

FARPROC Kernel32Function(const char* name) {
    return GetProcAddress(GetModuleHandleA("kernel32.dll"), name);
}

// Sakamoto's rule; GetDateFormatA is handed the weekday rather than trusted to work it out.
int DayOfWeek(int year, int month, int day) {
    static const int offsets[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
    if (month < 3)
        year -= 1;
    return (year + year / 4 - year / 100 + year / 400 + offsets[month - 1] + day) % 7;
}

} // namespace

OsVersion Win32System::GetVersion() {
    OsVersion version;
    OSVERSIONINFOEXA info{};
    info.dwOSVersionInfoSize = sizeof info;
    if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&info))) {
        // Windows 9x and early NT 4 know only the short structure.
        info = {};
        info.dwOSVersionInfoSize = sizeof(OSVERSIONINFOA);
        if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&info)))
            return version;
    }
    version.major = static_cast<int>(info.dwMajorVersion);
    version.minor = static_cast<int>(info.dwMinorVersion);
    version.platform = static_cast<int>(info.dwPlatformId);
    // Windows 9x keeps its version in the high word of the build number.
    version.build =
        static_cast<int>(version.platform == kPlatformNt ? info.dwBuildNumber : info.dwBuildNumber & 0xFFFF);
    version.productType = info.dwOSVersionInfoSize == sizeof info ? info.wProductType : 1;
    version.csdVersion = info.szCSDVersion;

    // A program without a manifest naming Windows 8.1 or later is told 6.2 by GetVersionExA
    // from 8.1 on. The kernel's own RtlGetVersion always gives the true numbers.
    using RtlGetVersionFn = LONG(WINAPI*)(OSVERSIONINFOEXW*);
    HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    auto rtlGetVersion =
        ntdll ? reinterpret_cast<RtlGetVersionFn>(GetProcAddress(ntdll, "RtlGetVersion")) : nullptr;
    if (rtlGetVersion) {
        OSVERSIONINFOEXW trueInfo{};
        trueInfo.dwOSVersionInfoSize = sizeof trueInfo;
        if (rtlGetVersion(&trueInfo) == 0) {
            version.major = static_cast<int>(trueInfo.dwMajorVersion);
            version.minor = static_cast<int>(trueInfo.dwMinorVersion);
            version.build = static_cast<int>(trueInfo.dwBuildNumber);
            version.productType = trueInfo.wProductType;
        }
    }
    return version;
}

std::string Win32System::GetWindowsDirectory() {
    return ReadFolder([](char* buffer, UINT size) { return GetWindowsDirectoryA(buffer, size); });
}

std::string Win32System::GetSystemDirectory() {
    return ReadFolder([](char* buffer, UINT size) { return GetSystemDirectoryA(buffer, size); });
}

std::string Win32System::GetTempPath() {
    return ReadFolder([](char* buffer, UINT size) { return static_cast<UINT>(GetTempPathA(size, buffer)); });
}

std::string Win32System::GetModuleFolder() {
    // GetModuleFileNameA fills the whole buffer, maybe without NUL, when the path is longer.
    std::vector<char> buffer(MAX_PATH + 1);
    DWORD length = 0;
    for (;;) {
        length = GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0)
            return "";
        if (length < buffer.size() || buffer.size() >= 32768)
            break;
        buffer.resize(buffer.size() * 2);
    }
    std::string path(buffer.data(), length);
    auto slash = path.find_last_of('\\');
    if (slash == std::string::npos)
        return "";
    // A program in a drive's root keeps the "\" of "C:\".
    if (slash == 2 && path[1] == ':')
        return path.substr(0, 3);
    return path.substr(0, slash);
}

std::string Win32System::GetSpecialFolder(int csidl) {
    LPITEMIDLIST list = nullptr;
    if (SHGetSpecialFolderLocation(nullptr, csidl, &list) != S_OK || !list)
        return "";
    char path[MAX_PATH + 1] = {};
    bool ok = SHGetPathFromIDListA(list, path) != 0;
    CoTaskMemFree(list);
    return ok ? std::string(path) : std::string();
}

bool Win32System::IsWow64Process() {
    // Windows before XP SP2 has no IsWow64Process and is never 64-bit.
    using IsWow64Fn = BOOL(WINAPI*)(HANDLE, PBOOL);
    auto isWow64 = reinterpret_cast<IsWow64Fn>(Kernel32Function("IsWow64Process"));
    BOOL result = FALSE;
    return isWow64 && isWow64(GetCurrentProcess(), &result) && result;
}

bool Win32System::Is64BitWindows() {
#ifdef _WIN64
    return true;
#else
    return IsWow64Process();
#endif
}

bool Win32System::DisableFsRedirection() {
    // Only a 32-bit process on 64-bit Windows is redirected.
    if (redirectionOff || !IsWow64Process())
        return redirectionOff;
    using DisableFn = BOOL(WINAPI*)(PVOID*);
    auto disable = reinterpret_cast<DisableFn>(Kernel32Function("Wow64DisableWow64FsRedirection"));
    if (!disable || !disable(&redirectionState))
        return false;
    redirectionOff = true;
    return true;
}

void Win32System::RevertFsRedirection() {
    if (!redirectionOff)
        return;
    using RevertFn = BOOL(WINAPI*)(PVOID);
    auto revert = reinterpret_cast<RevertFn>(Kernel32Function("Wow64RevertWow64FsRedirection"));
    if (revert)
        revert(redirectionState);
    redirectionOff = false;
    redirectionState = nullptr;
}

namespace {

std::string FormatDateIn(LCID locale, int year, int month, int day, const std::string& picture) {
    if (year < 1601 || year > 30827 || month < 1 || month > 12 || day < 1 || day > 31)
        return "";
    SYSTEMTIME date{};
    date.wYear = static_cast<WORD>(year);
    date.wMonth = static_cast<WORD>(month);
    date.wDay = static_cast<WORD>(day);
    date.wDayOfWeek = static_cast<WORD>(DayOfWeek(year, month, day));
    int size = GetDateFormatA(locale, 0, &date, picture.c_str(), nullptr, 0);
    if (size <= 0)
        return "";
    std::vector<char> buffer(static_cast<std::size_t>(size) + 1);
    int length = GetDateFormatA(locale, 0, &date, picture.c_str(), buffer.data(), size);
    return length > 0 ? std::string(buffer.data()) : std::string();
}

} // namespace

std::string Win32System::FormatDate(int year, int month, int day, const std::string& picture) {
    return FormatDateIn(LOCALE_USER_DEFAULT, year, month, day, picture);
}

std::string Win32System::FormatSystemDate(int year, int month, int day, const std::string& picture) {
    return FormatDateIn(LOCALE_SYSTEM_DEFAULT, year, month, day, picture);
}

} // namespace vantrel
