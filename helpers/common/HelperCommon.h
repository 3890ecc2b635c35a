// What every carried helper program does first and needs often.
#pragma once

#include <string>

#include "platform/win32/WindowsApi.h"

namespace vantrel::helper {

// A program started from a download folder must not load a DLL planted beside it: DLLs come
// from the system folder only. The call exists from Windows 8 (and 7 with KB2533623).
inline void RestrictDllSearch() {
    HMODULE kernel = GetModuleHandleA("kernel32.dll");
    if (!kernel)
        return;
    // Both are looked up: older Windows lacks them, and the program must still start there.
    using SetDirectories = BOOL(WINAPI*)(DWORD);
    if (auto set = reinterpret_cast<SetDirectories>(GetProcAddress(kernel, "SetDefaultDllDirectories")))
        set(0x00000800); // LOAD_LIBRARY_SEARCH_SYSTEM32
    using SetDirectory = BOOL(WINAPI*)(LPCSTR);
    if (auto set = reinterpret_cast<SetDirectory>(GetProcAddress(kernel, "SetDllDirectoryA")))
        set(""); // takes the current folder out of the search
}

inline std::string OwnPath() {
    char path[MAX_PATH * 2] = {};
    DWORD length = GetModuleFileNameA(nullptr, path, sizeof(path));
    return std::string(path, length);
}

inline std::string TempFolder() {
    char path[MAX_PATH + 1] = {};
    DWORD length = GetTempPathA(sizeof(path), path);
    std::string folder(path, length);
    while (folder.size() > 3 && folder.back() == '\\')
        folder.pop_back();
    return folder;
}

// The command line after the program's own name.
inline std::string Arguments() {
    const char* line = GetCommandLineA();
    bool quoted = false;
    for (; *line && (quoted || (*line != ' ' && *line != '\t')); ++line) {
        if (*line == '"')
            quoted = !quoted;
    }
    while (*line == ' ' || *line == '\t')
        ++line;
    return line;
}

// Starts a program and waits for it; its exit code, or -1 when it could not start.
inline int RunAndWait(const std::string& program, const std::string& arguments, const std::string& folder) {
    std::string line = "\"" + program + "\"" + (arguments.empty() ? "" : " " + arguments);
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &startup, &process))
        return -1;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(code);
}

} // namespace vantrel::helper
