#include "app/SystemServices.h"

#include "app/App.h"
#include "app/Dialogs.h"
#include "platform/Processes.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {
constexpr unsigned kRebootFlags = kEwxReboot | kEwxForce;
constexpr unsigned kRebootReason = 0xFFFFFFFFu;
constexpr std::size_t kFolderBufferChars = 255;

std::string FolderFromApi(std::string raw) {
    // The API fills a 255-character buffer; anything longer would not have fitted.
    if (raw.size() >= kFolderBufferChars)
        return {};
    return CleanText(raw);
}
} // namespace

void RebootWindows(App& app, Dialogs& dialogs, bool restartNow) {
    Processes& processes = app.platform.processes;
    processes.EnableShutdownPrivilege();
    if (restartNow) {
        processes.ExitWindows(kRebootFlags, kRebootReason);
        return;
    }
    auto text =
        app.GetLangText("Module", "Msg2",
                        "Driver restoration finished and system settings have changed, you should reboot "
                        "your machine. Do you want to reboot it now?");
    if (dialogs.MessageBox(text, kProductName, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes)
        processes.ExitWindows(kRebootFlags, kRebootReason);
}

std::string NormalizeDate(std::string_view text) {
    std::string trimmed = Trim(text);
    if (trimmed.empty())
        return {};
    char separator;
    if (trimmed.find('-') != std::string::npos)
        separator = '-';
    else if (trimmed.find('/') != std::string::npos)
        separator = '/';
    else
        return {};

    auto p = trimmed.find(separator);
    std::string rest = trimmed.substr(p + 1);
    auto q = rest.find(separator);
    if (q == std::string::npos)
        return {};

    std::string a = Trim(trimmed.substr(0, p));
    if (a.size() == 1)
        a = "0" + a;
    std::string b = Trim(rest.substr(0, q));
    if (b.size() == 1)
        b = "0" + b;
    std::string c = Trim(rest.substr(q + 1));
    return c + "-" + a + "-" + b;
}

std::string GetWindowsFolder(Platform& platform) {
    return FolderFromApi(platform.system.GetWindowsDirectory());
}

std::string GetTempFolder(Platform& platform) {
    return FolderFromApi(platform.system.GetTempPath());
}

bool IsWow64(Platform& platform) {
    return platform.system.IsWow64Process();
}

bool RunAndWait(Platform& platform, const std::string& commandLine) {
    return platform.processes.RunAndWait(commandLine);
}

FsRedirectionOff::FsRedirectionOff(Platform& platform) : platform(platform) {
    if (platform.system.IsWow64Process())
        disabled = platform.system.DisableFsRedirection();
}

FsRedirectionOff::~FsRedirectionOff() {
    if (disabled)
        platform.system.RevertFsRedirection();
}

} // namespace vantrel
