// The program an auto-setup package starts after unpacking: it lists the drivers that arrived
// beside it, installs the ticked ones with the restore engine and the installer that came in
// the same package, and offers the restart. "/s" installs every driver that needs restoring
// without any window, for administrators' scripts; the exit code says whether all took.
#include <memory>
#include <string>
#include <vector>

#include "Win32Dialogs.h"
#include "app/App.h"
#include "app/Dialogs.h"
#include "app/SystemServices.h"
#include "backup/BackupInfo.h"
#include "backup/Packaging.h"
#include "backup/SelfExtract.h"
#include "common/HelperCommon.h"
#include "inventory/DriverRecord.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/System.h"
#include "restore/RestoreCheck.h"
#include "restore/RestoreEngine.h"
#include "util/Text.h"

// After <windows.h>, which the helper header brings.
#include <commctrl.h>

#undef MessageBox // the name of the Dialogs method

namespace {

using namespace vantrel;

constexpr char kTitle[] = "Vantrel Driver Auto-Setup";
constexpr char kClassName[] = "VantrelAutoSetupWizard";
// A hung installer must not hold an unattended installation for ever.
constexpr std::uint32_t kInstallerTimeoutMs = 5 * 60 * 1000;

// Exit codes.
constexpr int kExitAllInstalled = 0;
constexpr int kExitSomeFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitNoBackup = 3;
constexpr int kExitNoInstaller = 4;

enum ControlId { kIdList = 100, kIdLog, kIdBar, kIdPercent, kIdIntro, kIdSelectAll };

struct Wizard {
    std::unique_ptr<PlatformSet> platformSet;
    std::unique_ptr<App> app;
    std::string folder;
    std::string installer; // the installer this Windows needs, beside the wizard
    std::vector<BackupEntry> entries;

    HWND window = nullptr;
    HWND list = nullptr;
    HWND log = nullptr;
    HWND bar = nullptr;
    HWND percent = nullptr;
    bool running = false;
    bool selectAll = true;
};

bool NeedsRestore(const BackupEntry& entry) {
    return EqualsNoCase(Trim(entry.needRestore), "yes");
}

RestoreRunOptions RunOptions(const Wizard& wizard) {
    RestoreRunOptions options;
    // Quoted, as the engine hands the installer's path on unquoted and the temporary folder
    // of older Windows lies under "Documents and Settings".
    options.installerPath = "\"" + wizard.installer + "\"";
    options.installerTimeoutMs = kInstallerTimeoutMs;
    return options;
}

class SilentObserver : public RestoreObserver {
public:
    void AppendLog(const std::string&) override {}
    void Progress(int) override {}
    void Pump() override {}
};

// The unattended run: no window, no question, no restart.
int RunSilent(Wizard& wizard) {
    Platform& platform = wizard.app->platform;
    if (wizard.entries.empty())
        return kExitNoBackup;
    std::vector<BackupEntry> chosen;
    for (const auto& entry : wizard.entries) {
        if (NeedsRestore(entry))
            chosen.push_back(entry);
    }
    if (chosen.empty())
        return kExitAllInstalled;
    SilentObserver observer;
    if (!IsNtFamily(platform)) {
        // Windows 98/Me keeps no record that tells whether a driver took.
        RestoreEngine(*wizard.app, observer).Run98(chosen);
        return kExitAllInstalled;
    }
    if (!platform.fs.Exists(wizard.installer))
        return kExitNoInstaller;
    bool allTook = true;
    for (const auto& outcome : RestoreEngine(*wizard.app, observer, RunOptions(wizard)).RunNt(chosen)) {
        if (!outcome.skipped && !CheckDriverInstalled(platform, outcome.entry).installed)
            allTook = false;
    }
    return allTook ? kExitAllInstalled : kExitSomeFailed;
}

// ---- The window -------------------------------------------------------------------------

int Scale(HWND window, int value) {
    HDC dc = GetDC(window);
    int dpi = dc ? GetDeviceCaps(dc, LOGPIXELSY) : 96;
    if (dc)
        ReleaseDC(window, dc);
    return MulDiv(value, dpi, 96);
}

void PumpMessages(HWND window) {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (!IsDialogMessageA(window, &message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
}

void AppendLog(Wizard& wizard, const std::string& text) {
    int end = GetWindowTextLengthA(wizard.log);
    SendMessageA(wizard.log, EM_SETSEL, end, end);
    SendMessageA(wizard.log, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
}

class WindowObserver : public RestoreObserver {
public:
    explicit WindowObserver(Wizard& wizard) : wizard(wizard) {}
    void AppendLog(const std::string& text) override { ::AppendLog(wizard, text); }
    void Progress(int value) override {
        SendMessageA(wizard.bar, PBM_SETPOS, value, 0);
        SetWindowTextA(wizard.percent, (std::to_string(value) + "% Completed").c_str());
    }
    void Pump() override { PumpMessages(wizard.window); }

private:
    Wizard& wizard;
};

HWND Child(Wizard& wizard, const char* cls, const char* text, DWORD style, int id, DWORD exStyle = 0) {
    HWND child = CreateWindowExA(exStyle, cls, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 10, 10,
                                 wizard.window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                 GetModuleHandleA(nullptr), nullptr);
    SendMessageA(child, WM_SETFONT, reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT)), FALSE);
    return child;
}

void AddColumn(HWND list, int index, const char* title, int width) {
    LVCOLUMNA column{};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.pszText = const_cast<char*>(title);
    column.cx = width;
    SendMessageA(list, LVM_INSERTCOLUMNA, index, reinterpret_cast<LPARAM>(&column));
}

void SetChecked(HWND list, int row, bool checked) {
    LVITEMA item{};
    item.stateMask = LVIS_STATEIMAGEMASK;
    item.state = INDEXTOSTATEIMAGEMASK(checked ? 2 : 1);
    SendMessageA(list, LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
}

bool IsChecked(HWND list, int row) {
    auto state = static_cast<UINT>(SendMessageA(list, LVM_GETITEMSTATE, row, LVIS_STATEIMAGEMASK));
    return ((state & LVIS_STATEIMAGEMASK) >> 12) == 2;
}

void FillList(Wizard& wizard) {
    for (std::size_t i = 0; i < wizard.entries.size(); ++i) {
        const BackupEntry& entry = wizard.entries[i];
        std::string cells[] = {Trim(entry.driverDesc), Trim(entry.className), Trim(entry.driverVersion),
                               Trim(entry.driverDate), Trim(entry.providerName)};
        LVITEMA item{};
        item.mask = LVIF_TEXT;
        item.iItem = static_cast<int>(i);
        item.pszText = cells[0].data();
        int row =
            static_cast<int>(SendMessageA(wizard.list, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item)));
        for (int c = 1; c < 5; ++c) {
            LVITEMA sub{};
            sub.iSubItem = c;
            sub.pszText = cells[c].data();
            SendMessageA(wizard.list, LVM_SETITEMTEXTA, row, reinterpret_cast<LPARAM>(&sub));
        }
        SetChecked(wizard.list, row, NeedsRestore(entry));
    }
    if (!wizard.entries.empty()) {
        LVITEMA focus{};
        focus.stateMask = LVIS_FOCUSED | LVIS_SELECTED;
        focus.state = LVIS_FOCUSED | LVIS_SELECTED;
        SendMessageA(wizard.list, LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&focus));
    }
}

void CreateControls(Wizard& wizard) {
    std::string intro =
        wizard.entries.empty()
            ? "No driver backup was found in " + wizard.folder + "."
            : "These drivers came with this package. The ticked ones do not ship with Windows and should be "
              "installed. Tick the drivers to install (Space) and press Install.";
    Child(wizard, "STATIC", intro.c_str(), SS_LEFT, kIdIntro);
    wizard.list = Child(wizard, WC_LISTVIEWA, "",
                        WS_TABSTOP | WS_BORDER | LVS_REPORT | LVS_SHOWSELALWAYS | LVS_SINGLESEL, kIdList);
    SendMessageA(wizard.list, LVM_SETEXTENDEDLISTVIEWSTYLE, 0,
                 LVS_EX_CHECKBOXES | LVS_EX_FULLROWSELECT | LVS_EX_GRIDLINES);
    const char* headers[] = {"Description", "Class", "Version", "Date", "Provider"};
    const int widths[] = {260, 90, 90, 80, 140};
    for (int c = 0; c < 5; ++c)
        AddColumn(wizard.list, c, headers[c], Scale(wizard.window, widths[c]));
    FillList(wizard);
    wizard.log =
        Child(wizard, "EDIT", "",
              WS_TABSTOP | WS_BORDER | WS_VSCROLL | ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL, kIdLog);
    wizard.bar = Child(wizard, PROGRESS_CLASSA, "", 0, kIdBar);
    SendMessageA(wizard.bar, PBM_SETRANGE32, 0, 100);
    wizard.percent = Child(wizard, "STATIC", "0% Completed", SS_LEFT, kIdPercent);
    Child(wizard, "BUTTON", "&Install", WS_TABSTOP | BS_DEFPUSHBUTTON, IDOK);
    Child(wizard, "BUTTON", "Select &None", WS_TABSTOP | BS_PUSHBUTTON, kIdSelectAll);
    Child(wizard, "BUTTON", "&Close", WS_TABSTOP | BS_PUSHBUTTON, IDCANCEL);
    wizard.selectAll = false; // the needed ones are ticked: the first press clears them
    if (wizard.entries.empty())
        EnableWindow(GetDlgItem(wizard.window, IDOK), FALSE);
    SetFocus(wizard.list);
}

void Layout(Wizard& wizard, int width, int height) {
    HWND w = wizard.window;
    int margin = Scale(w, 10), gap = Scale(w, 8), button = Scale(w, 90), buttonHeight = Scale(w, 26);
    int introHeight = Scale(w, 32), barHeight = Scale(w, 18), logHeight = Scale(w, 110);
    int inner = width - 2 * margin;
    int y = margin;
    MoveWindow(GetDlgItem(w, kIdIntro), margin, y, inner, introHeight, TRUE);
    y += introHeight + gap;
    int listHeight = height - y - gap - logHeight - gap - barHeight - gap - buttonHeight - margin;
    MoveWindow(wizard.list, margin, y, inner, listHeight > 40 ? listHeight : 40, TRUE);
    y += (listHeight > 40 ? listHeight : 40) + gap;
    MoveWindow(wizard.log, margin, y, inner, logHeight, TRUE);
    y += logHeight + gap;
    int percentWidth = Scale(w, 110);
    MoveWindow(wizard.bar, margin, y, inner - percentWidth - gap, barHeight, TRUE);
    MoveWindow(wizard.percent, width - margin - percentWidth, y + Scale(w, 2), percentWidth, barHeight, TRUE);
    y += barHeight + gap;
    MoveWindow(GetDlgItem(w, kIdSelectAll), margin, y, button, buttonHeight, TRUE);
    MoveWindow(GetDlgItem(w, IDCANCEL), width - margin - button, y, button, buttonHeight, TRUE);
    MoveWindow(GetDlgItem(w, IDOK), width - margin - 2 * button - gap, y, button, buttonHeight, TRUE);
}

void ToggleSelectAll(Wizard& wizard) {
    int rows = static_cast<int>(SendMessageA(wizard.list, LVM_GETITEMCOUNT, 0, 0));
    for (int row = 0; row < rows; ++row)
        SetChecked(wizard.list, row, wizard.selectAll);
    wizard.selectAll = !wizard.selectAll;
    SetDlgItemTextA(wizard.window, kIdSelectAll, wizard.selectAll ? "Select &All" : "Select &None");
}

void Install(Wizard& wizard) {
    App& app = *wizard.app;
    Platform& platform = app.platform;
    Win32Dialogs dialogs;
    dialogs.SetOwner(wizard.window);
    std::vector<BackupEntry> checked;
    for (std::size_t row = 0; row < wizard.entries.size(); ++row) {
        if (IsChecked(wizard.list, static_cast<int>(row)))
            checked.push_back(wizard.entries[row]);
    }
    if (checked.empty()) {
        dialogs.MessageBox(app.GetLangText("FormMain", "MsgSelectDriversToRestore",
                                           "Please select the device drivers you want to restore at first"),
                           kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    bool nt = IsNtFamily(platform);
    if (nt && !platform.fs.Exists(wizard.installer)) {
        dialogs.MessageBox("The driver installer " + wizard.installer + " is missing from this package.",
                           kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    if (dialogs.MessageBox(
            app.GetLangText("FormMain", "MsgRestoreTip1",
                            "Driver restoration process will start, during the restoration process "
                            "the computer may seem to have no response, please don't interrupt it. "
                            "Do you want to continue?"),
            kProductName, MsgButtons::OkCancel, MsgIcon::Question) != MsgAnswer::Ok)
        return;

    wizard.running = true;
    for (int id : {IDOK, IDCANCEL, static_cast<int>(kIdSelectAll), static_cast<int>(kIdList)})
        EnableWindow(GetDlgItem(wizard.window, id), FALSE);
    SetWindowTextA(wizard.log, "");
    WindowObserver observer(wizard);
    observer.Progress(0);
    std::vector<RestoreOutcome> outcomes;
    if (nt) {
        outcomes = RestoreEngine(app, observer, RunOptions(wizard)).RunNt(checked);
    } else {
        dialogs.MessageBox(Restore98AdviceText(), kRestore98AdviceTitle, MsgButtons::Ok,
                           MsgIcon::Information);
        outcomes = RestoreEngine(app, observer).Run98(checked);
    }
    observer.Progress(100);

    if (nt)
        AppendLog(wizard, FormatRestoreResults(app, CheckRestoreResults(platform, outcomes)));
    wizard.running = false;
    for (int id : {IDOK, IDCANCEL, static_cast<int>(kIdSelectAll), static_cast<int>(kIdList)})
        EnableWindow(GetDlgItem(wizard.window, id), TRUE);
    SetFocus(GetDlgItem(wizard.window, IDCANCEL));
    RebootWindows(app, dialogs, false);
}

LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* wizard = reinterpret_cast<Wizard*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    switch (message) {
    case WM_NCCREATE: {
        auto* create = reinterpret_cast<CREATESTRUCTA*>(lParam);
        wizard = static_cast<Wizard*>(create->lpCreateParams);
        wizard->window = window;
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(wizard));
        break;
    }
    case WM_CREATE:
        CreateControls(*wizard);
        return 0;
    case WM_SIZE:
        if (wizard && wizard->list)
            Layout(*wizard, LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_GETMINMAXINFO: {
        auto* info = reinterpret_cast<MINMAXINFO*>(lParam);
        info->ptMinTrackSize.x = Scale(window, 520);
        info->ptMinTrackSize.y = Scale(window, 420);
        return 0;
    }
    case WM_COMMAND:
        if (!wizard || wizard->running)
            return 0;
        switch (LOWORD(wParam)) {
        case IDOK:
            Install(*wizard);
            return 0;
        case kIdSelectAll:
            ToggleSelectAll(*wizard);
            return 0;
        case IDCANCEL:
            DestroyWindow(window);
            return 0;
        }
        break;
    case WM_CLOSE:
        // No stop exists for a restoration: the window stays until it has ended.
        if (wizard && wizard->running)
            return 0;
        DestroyWindow(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

int RunWindow(Wizard& wizard, HINSTANCE instance, int show) {
    INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_LISTVIEW_CLASSES | ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&controls);
    WNDCLASSEXA cls{};
    cls.cbSize = sizeof(cls);
    cls.lpfnWndProc = WindowProc;
    cls.hInstance = instance;
    cls.hIcon = LoadIconA(instance, MAKEINTRESOURCEA(1));
    cls.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
    cls.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    cls.lpszClassName = kClassName;
    if (!RegisterClassExA(&cls))
        return 1;
    HWND window = CreateWindowExA(WS_EX_CONTROLPARENT, kClassName, kTitle, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                                  CW_USEDEFAULT, Scale(nullptr, 720), Scale(nullptr, 560), nullptr, nullptr,
                                  instance, &wizard);
    if (!window)
        return 1;
    ShowWindow(window, show);
    UpdateWindow(window);
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        // Tab, Shift+Tab, Enter, Esc and Alt+letters as in a dialog.
        if (!IsDialogMessageA(window, &message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
    return 0;
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
    helper::RestrictDllSearch();
    std::string arguments = helper::Arguments();
    // "/s" and, for tests and administrators, "/d:FOLDER" naming where the drivers are.
    SfxCommand command;
    std::string error;
    if (!ParseSfxCommandLine(arguments, &command, &error)) {
        if (!ContainsNoCase(arguments, "/s"))
            MessageBoxA(nullptr, ("Usage: DriverAutoInstall.exe [/s] [/d:FOLDER]\n" + error).c_str(), kTitle,
                        MB_OK | MB_ICONERROR);
        return kExitUsage;
    }
    Wizard wizard;
    wizard.folder = command.folder;
    if (wizard.folder.empty()) {
        wizard.folder = helper::OwnPath();
        wizard.folder.resize(wizard.folder.find_last_of('\\'));
    }
    while (wizard.folder.size() > 3 && wizard.folder.back() == '\\')
        wizard.folder.pop_back();
    wizard.platformSet = CreateWin32Platform();
    wizard.app = std::make_unique<App>(wizard.platformSet->Ports());
    wizard.app->appPath = WithBackslash(wizard.folder);
    Platform& platform = wizard.platformSet->Ports();
    wizard.entries = ScanBackupFolder(platform, wizard.folder);
    // The package puts the installers beside the wizard and the drivers.
    const char* installer = platform.system.Is64BitWindows() ? kPackagedInstaller64 : kPackagedInstaller32;
    std::string own = helper::OwnPath();
    wizard.installer = WithBackslash(wizard.folder) + installer;
    if (!platform.fs.Exists(wizard.installer))
        wizard.installer = WithBackslash(own.substr(0, own.find_last_of('\\'))) + installer;
    if (command.silent)
        return RunSilent(wizard);
    return RunWindow(wizard, instance, show);
}
