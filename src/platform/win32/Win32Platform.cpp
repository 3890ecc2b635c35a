#include "platform/win32/Win32Ports.h"

#include <algorithm>
#include <vector>

#include "platform/win32/WindowsApi.h"
#include "util/Text.h"

namespace vantrel {

bool Win32Resources::LoadCustom(int id, std::string* bytes) {
    HRSRC found = FindResourceA(nullptr, MAKEINTRESOURCEA(id), "CUSTOM");
    if (!found) {
        // Programs that do not carry the helpers (the command line) find them as files in a
        // "resources" folder beside themselves, as the build lays them out.
        std::string folder = Win32System().GetModuleFolder();
        Win32FileSystem fs;
        return !folder.empty() &&
               ReadWholeFile(fs, WithBackslash(folder) + "resources\\" + std::to_string(id) + ".bin", bytes);
    }
    HGLOBAL loaded = LoadResource(nullptr, found);
    const void* data = loaded ? LockResource(loaded) : nullptr;
    if (!data)
        return false;
    bytes->assign(static_cast<const char*>(data), SizeofResource(nullptr, found));
    return true;
}

// Windows' own reader also takes UTF-16LE files that start with a byte-order mark and
// hands their texts over in the ANSI code page.
std::uint32_t Win32Profile::GetString(std::string_view section, std::string_view key,
                                      std::string_view defaultText, std::uint32_t bufferChars,
                                      std::string_view file, std::string* text) {
    std::vector<char> buffer(std::max<std::size_t>(bufferChars, 1));
    DWORD length = GetPrivateProfileStringA(std::string(section).c_str(), std::string(key).c_str(),
                                            std::string(defaultText).c_str(), buffer.data(), bufferChars,
                                            std::string(file).c_str());
    text->assign(buffer.data(), std::min<std::size_t>(length, buffer.size()));
    return length;
}

LocalTime Win32Clock::Now() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wDayOfWeek};
}

std::uint64_t Win32Clock::TickMs() {
    // GetTickCount64 arrived with Vista; before it the 32-bit count wraps every 49.7 days,
    // which the wrap counter below hides.
    using TickCount64Fn = ULONGLONG(WINAPI*)();
    static const auto tickCount64 =
        reinterpret_cast<TickCount64Fn>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "GetTickCount64"));
    if (tickCount64)
        return tickCount64();
    static DWORD last = 0;
    static std::uint64_t wraps = 0;
    DWORD now = GetTickCount();
    if (now < last)
        ++wraps;
    last = now;
    return (wraps << 32) | now;
}

void Win32Clock::Sleep(std::uint32_t ms) {
    ::Sleep(ms);
}

namespace {

class Win32PlatformSet : public PlatformSet {
public:
    Win32PlatformSet() : ports{registry, fs, system, processes, shell, resources, profile, clock} {}

    Platform& Ports() override { return ports; }
    // Windows keeps whatever the program changed; there is nothing to write back.
    bool Save(std::string*) override { return true; }

private:
    Win32Registry registry;
    Win32FileSystem fs;
    Win32System system;
    Win32Processes processes;
    Win32Shell shell;
    Win32Resources resources;
    Win32Profile profile;
    Win32Clock clock;
    Platform ports;
};

} // namespace

std::unique_ptr<PlatformSet> CreateWin32Platform() {
    return std::make_unique<Win32PlatformSet>();
}

} // namespace vantrel
