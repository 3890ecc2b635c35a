#include "platform/win32/Win32Ports.h"

#include <vector>

#include "platform/win32/WindowsApi.h"

namespace vantrel {

namespace {

bool CreateChild(const std::string& commandLine, bool hidden, PROCESS_INFORMATION* process) {
    // CreateProcessA may write into the command line, so it gets its own copy.
    std::vector<char> line(commandLine.begin(), commandLine.end());
    line.push_back('\0');
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    if (hidden) {
        startup.dwFlags = STARTF_USESHOWWINDOW;
        startup.wShowWindow = SW_HIDE;
    }
    return CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          process) != 0;
}

} // namespace

bool Win32Processes::RunAndWait(const std::string& commandLine) {
    PROCESS_INFORMATION process{};
    if (!CreateChild(commandLine, true, &process))
        return false;
    CloseHandle(process.hThread);
    // The wait goes through a handle opened by process id with SYNCHRONIZE only. The handle
    // from CreateProcessA stays open meanwhile, so the id cannot pass to another process.
    HANDLE waitable = OpenProcess(SYNCHRONIZE, FALSE, process.dwProcessId);
    WaitForSingleObject(waitable ? waitable : process.hProcess, INFINITE);
    if (waitable)
        CloseHandle(waitable);
    CloseHandle(process.hProcess);
    return true;
}

ProcessResult Win32Processes::RunAndWaitFor(const std::string& commandLine, std::uint32_t timeoutMs) {
    ProcessResult result;
    PROCESS_INFORMATION process{};
    if (!CreateChild(commandLine, true, &process))
        return result;
    result.started = true;
    CloseHandle(process.hThread);
    if (WaitForSingleObject(process.hProcess, timeoutMs == 0 ? INFINITE : timeoutMs) == WAIT_TIMEOUT) {
        // A hung installer must not hold the whole run: it is ended and reported.
        TerminateProcess(process.hProcess, 1);
        WaitForSingleObject(process.hProcess, 5000);
        result.timedOut = true;
    }
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    result.exitCode = code;
    CloseHandle(process.hProcess);
    return result;
}

bool Win32Processes::Start(const std::string& commandLine) {
    PROCESS_INFORMATION process{};
    if (!CreateChild(commandLine, false, &process))
        return false;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return true;
}

bool Win32Processes::EnableShutdownPrivilege() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token))
        return false;
    TOKEN_PRIVILEGES wanted{};
    wanted.PrivilegeCount = 1;
    wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    bool ok = LookupPrivilegeValueA("", "SeShutdownPrivilege", &wanted.Privileges[0].Luid) != 0;
    if (ok) {
        TOKEN_PRIVILEGES previous{};
        DWORD previousSize = sizeof previous;
        // AdjustTokenPrivileges succeeds even when the token lacks the privilege; only
        // the last error tells.
        SetLastError(ERROR_SUCCESS);
        ok = AdjustTokenPrivileges(token, FALSE, &wanted, sizeof previous, &previous, &previousSize) != 0 &&
             GetLastError() == ERROR_SUCCESS;
    }
    CloseHandle(token);
    return ok;
}

bool Win32Processes::ExitWindows(unsigned flags, unsigned reason) {
    return ExitWindowsEx(flags, reason) != 0;
}

bool Win32Shell::Execute(const std::string& verb, const std::string& file, const std::string& parameters,
                         const std::string& folder) {
    // Empty texts go as null: a null verb is the file's default action.
    auto orNull = [](const std::string& text) { return text.empty() ? nullptr : text.c_str(); };
    HINSTANCE result =
        ShellExecuteA(nullptr, orNull(verb), file.c_str(), orNull(parameters), orNull(folder), SW_SHOWNORMAL);
    // Values above 32 mean success; the rest are error codes.
    return reinterpret_cast<INT_PTR>(result) > 32;
}

} // namespace vantrel
