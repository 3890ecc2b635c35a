// Processes port: running programs and restarting Windows.
#pragma once

#include <string>

namespace vantrel {

inline constexpr unsigned kEwxReboot = 0x02;
inline constexpr unsigned kEwxForce = 0x04;

class Processes {
public:
    virtual ~Processes() = default;

    // Starts the command line hidden and blocks until it ends; false when it could not start.
    virtual bool RunAndWait(const std::string& commandLine) = 0;
    // Starts the command line and returns at once.
    virtual bool Start(const std::string& commandLine) = 0;

    // OpenProcessToken + LookupPrivilegeValueA + AdjustTokenPrivileges for SeShutdownPrivilege.
    virtual bool EnableShutdownPrivilege() = 0;
    // ExitWindowsEx; false when Windows refuses.
    virtual bool ExitWindows(unsigned flags, unsigned reason) = 0;
};

} // namespace vantrel
