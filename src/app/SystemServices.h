// Small operating-system services shared by several subsystems.
#pragma once

#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace vantrel {

class App;
class Dialogs;

// Enables the shutdown privilege and restarts Windows, at once or after asking.
void RebootWindows(App& app, Dialogs& dialogs, bool restartNow);

// Month-day-year (with "-" or "/") to yyyy-mm-dd; "" when the text has fewer than two separators.
std::string NormalizeDate(std::string_view text);

std::string GetWindowsFolder(Platform& platform); // no trailing "\"
std::string GetTempFolder(Platform& platform);    // as Windows reports it
bool IsWow64(Platform& platform);

// Runs a command line hidden and waits for it to end; the exit code is not read.
bool RunAndWait(Platform& platform, const std::string& commandLine);

// Switches WOW64 file-system redirection off for a scope when this 32-bit program runs
// on 64-bit Windows, so the real system folders are reached.
class FsRedirectionOff {
public:
    explicit FsRedirectionOff(Platform& platform);
    ~FsRedirectionOff();
    FsRedirectionOff(const FsRedirectionOff&) = delete;
    FsRedirectionOff& operator=(const FsRedirectionOff&) = delete;

private:
    Platform& platform;
    bool disabled = false;
};

} // namespace vantrel
