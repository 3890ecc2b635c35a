// The self-extractor stub: the archive and its settings are appended to this program.
// Interactive: title, introduction and a folder choice. Silent: unpacks into the folder of
// its settings and starts the program they name.
#include <string>

#include "archive/ArchiveCallback.h"
#include "backup/SelfExtract.h"
#include "common/HelperCommon.h"
#include "platform/win32/Win32Ports.h"
#include "resource.h"

namespace {

using namespace vantrel;

struct State {
    Win32FileSystem fs;
    std::string self;
    SfxSettings settings;
    std::string folder;
    bool done = false;
};

class DialogProgress : public ArchiveCallback {
public:
    explicit DialogProgress(HWND dialog) : dialog(dialog) {}
    void Progress(double percent) override {
        int value = static_cast<int>(percent);
        if (value == shown)
            return;
        shown = value;
        SetDlgItemTextA(dialog, IDC_STATUS, ("Unpacking... " + std::to_string(value) + "%").c_str());
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }

private:
    HWND dialog;
    int shown = -1;
};

std::string DefaultFolder(const State& state) {
    if (!state.settings.extractFolder.empty())
        return ExpandSfxPath(state.settings.extractFolder, helper::TempFolder(), "");
    // Beside the program, named after it: "D:\MyDrivers.exe" unpacks into "D:\MyDrivers".
    std::string folder = state.self;
    auto dot = folder.find_last_of('.');
    if (dot != std::string::npos && dot > folder.find_last_of('\\'))
        folder.resize(dot);
    return folder;
}

// The program of the settings, with this program's arguments. Returns this program's exit
// code: the started program's when it is waited for.
int RunAfter(const State& state, const SfxCommand& command, const std::string& folder) {
    SfxRunAfter run =
        PlanSfxRunAfter(command, state.settings, helper::Arguments(), helper::TempFolder(), folder);
    if (run.program.empty())
        return 0;
    if (run.wait) {
        int code = helper::RunAndWait(run.program, run.arguments, folder);
        return code < 0 ? 5 : code;
    }
    ShellExecuteA(nullptr, "open", run.program.c_str(),
                  run.arguments.empty() ? nullptr : run.arguments.c_str(), folder.c_str(), SW_SHOWNORMAL);
    return 0;
}

bool Browse(HWND owner, std::string* folder) {
    BROWSEINFOA info{};
    info.hwndOwner = owner;
    info.lpszTitle = "Choose the folder to unpack into:";
    info.ulFlags = BIF_RETURNONLYFSDIRS | BIF_NEWDIALOGSTYLE;
    LPITEMIDLIST item = SHBrowseForFolderA(&info);
    if (!item)
        return false;
    char path[MAX_PATH] = {};
    bool ok = SHGetPathFromIDListA(item, path) != FALSE;
    CoTaskMemFree(item);
    if (ok)
        *folder = path;
    return ok && !folder->empty();
}

INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* state = reinterpret_cast<State*>(GetWindowLongPtrA(dialog, GWLP_USERDATA));
    switch (message) {
    case WM_INITDIALOG:
        state = reinterpret_cast<State*>(lParam);
        SetWindowLongPtrA(dialog, GWLP_USERDATA, lParam);
        if (!state->settings.title.empty())
            SetWindowTextA(dialog, state->settings.title.c_str());
        SetDlgItemTextA(dialog, IDC_INTRO, state->settings.introduction.c_str());
        SetDlgItemTextA(dialog, IDC_FOLDER, DefaultFolder(*state).c_str());
        SendMessageA(dialog, WM_SETICON, ICON_BIG,
                     reinterpret_cast<LPARAM>(LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(1))));
        return TRUE;
    case WM_COMMAND:
        switch (LOWORD(wParam)) {
        case IDC_BROWSE: {
            std::string folder;
            if (Browse(dialog, &folder))
                SetDlgItemTextA(dialog, IDC_FOLDER, folder.c_str());
            return TRUE;
        }
        case IDOK: {
            char text[MAX_PATH * 2] = {};
            GetDlgItemTextA(dialog, IDC_FOLDER, text, sizeof(text));
            std::string folder = text;
            while (folder.size() > 3 && folder.back() == '\\')
                folder.pop_back();
            if (folder.empty())
                return TRUE;
            EnableWindow(GetDlgItem(dialog, IDOK), FALSE);
            DialogProgress progress(dialog);
            std::string error;
            if (!ExtractSelf(state->fs, state->self, folder, state->settings.overwrite, &progress, &error)) {
                MessageBoxA(dialog, ("The files could not be unpacked: " + error).c_str(),
                            state->settings.title.c_str(), MB_OK | MB_ICONERROR);
                EnableWindow(GetDlgItem(dialog, IDOK), TRUE);
                return TRUE;
            }
            state->folder = folder;
            state->done = true;
            MessageBoxA(dialog, ("The files have been unpacked to " + folder + ".").c_str(),
                        state->settings.title.c_str(), MB_OK | MB_ICONINFORMATION);
            EndDialog(dialog, IDOK);
            return TRUE;
        }
        case IDCANCEL:
            EndDialog(dialog, IDCANCEL);
            return TRUE;
        }
        break;
    }
    return FALSE;
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    helper::RestrictDllSearch();
    State state;
    state.self = helper::OwnPath();
    SfxCommand command;
    std::string error;
    bool quiet = false;
    if (!ParseSfxCommandLine(helper::Arguments(), &command, &error)) {
        MessageBoxA(nullptr, ("Usage: [/s] [/d:FOLDER]\n" + error).c_str(), "Vantrel", MB_OK | MB_ICONERROR);
        return 2;
    }
    // Started by a script (/s, /d:): failures show in the exit code, never in a box.
    quiet = command.silent || !command.folder.empty();
    if (!ReadSfxSettings(state.fs, state.self, &state.settings)) {
        if (!quiet)
            MessageBoxA(nullptr, "This self-extracting file is damaged: its archive cannot be read.",
                        "Vantrel", MB_OK | MB_ICONERROR);
        return 3;
    }
    if (command.silent || state.settings.silent || quiet) {
        bool chosen = !command.folder.empty();
        std::string folder = chosen ? command.folder : DefaultFolder(state);
        bool overwrite = chosen || state.settings.overwrite;
        if (!ExtractSelf(state.fs, state.self, folder, overwrite, nullptr, &error)) {
            if (!quiet)
                MessageBoxA(nullptr, ("The files could not be unpacked: " + error).c_str(), "Vantrel",
                            MB_OK | MB_ICONERROR);
            return 4;
        }
        return RunAfter(state, command, folder);
    }
    CoInitialize(nullptr);
    DialogBoxParamA(instance, MAKEINTRESOURCEA(IDD_SFX), nullptr, DialogProc,
                    reinterpret_cast<LPARAM>(&state));
    int code = state.done ? RunAfter(state, command, state.folder) : 1;
    CoUninitialize();
    return code;
}
