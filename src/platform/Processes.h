// Processes port: running programs and restarting Windows.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel {

inline constexpr unsigned kEwxReboot = 0x02;
inline constexpr unsigned kEwxForce = 0x04;

// How a waited-for child ended.
struct ProcessResult {
    bool started = false;
    bool timedOut = false; // the child was ended after the time limit
    std::uint32_t exitCode = 0;
};

class Processes {
public:
    virtual ~Processes() = default;

    // Starts the command line hidden and blocks until it ends; false when it could not start.
    virtual bool RunAndWait(const std::string& commandLine) = 0;
    // The same, with the child's exit code; timeoutMs 0 waits without limit, otherwise the
    // child is ended when the limit passes.
    virtual ProcessResult RunAndWaitFor(const std::string& commandLine, std::uint32_t timeoutMs) = 0;
    // Starts the command line and returns at once.
    virtual bool Start(const std::string& commandLine) = 0;

    // OpenProcessToken + LookupPrivilegeValueA + AdjustTokenPrivileges for SeShutdownPrivilege.
    virtual bool EnableShutdownPrivilege() = 0;
    // ExitWindowsEx; false when Windows refuses.
    virtual bool ExitWindows(unsigned flags, unsigned reason) = 0;
};

} // namespace vantrel
