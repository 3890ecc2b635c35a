#include "Win32Dialogs.h"

#include <vector>

namespace vantrel {

namespace {

UINT ButtonFlags(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::OkCancel:
        return MB_OKCANCEL;
    case MsgButtons::YesNo:
        return MB_YESNO;
    case MsgButtons::YesNoCancel:
        return MB_YESNOCANCEL;
    case MsgButtons::Ok:
        break;
    }
    return MB_OK;
}

UINT IconFlags(MsgIcon icon) {
    switch (icon) {
    case MsgIcon::Critical:
        return MB_ICONHAND;
    case MsgIcon::Question:
        return MB_ICONQUESTION;
    case MsgIcon::Exclamation:
        return MB_ICONEXCLAMATION;
    case MsgIcon::Information:
        return MB_ICONASTERISK;
    case MsgIcon::None:
        break;
    }
    return 0;
}

int CALLBACK BrowseCallback(HWND window, UINT message, LPARAM, LPARAM data) {
    // Open the browser on the folder the caller suggested.
    if (message == BFFM_INITIALIZED && data)
        SendMessageA(window, BFFM_SETSELECTIONA, TRUE, data);
    return 0;
}

} // namespace

MsgAnswer Win32Dialogs::MessageBox(const std::string& text, const std::string& title, MsgButtons buttons,
                                   MsgIcon icon) {
    switch (MessageBoxA(owner, text.c_str(), title.c_str(), ButtonFlags(buttons) | IconFlags(icon))) {
    case IDYES:
        return MsgAnswer::Yes;
    case IDNO:
        return MsgAnswer::No;
    case IDCANCEL:
        return MsgAnswer::Cancel;
    default:
        return MsgAnswer::Ok;
    }
}

bool Win32Dialogs::BrowseForFolder(const std::string& prompt, std::string* folder) {
    char display[MAX_PATH] = {};
    BROWSEINFOA info{};
    info.hwndOwner = owner;
    info.pszDisplayName = display;
    info.lpszTitle = prompt.c_str();
    info.ulFlags = BIF_RETURNONLYFSDIRS;
    info.lpfn = BrowseCallback;
    info.lParam = folder->empty() ? 0 : reinterpret_cast<LPARAM>(folder->c_str());
    LPITEMIDLIST chosen = SHBrowseForFolderA(&info);
    if (!chosen)
        return false;
    char path[MAX_PATH] = {};
    bool ok = SHGetPathFromIDListA(chosen, path) != FALSE;
    CoTaskMemFree(chosen);
    if (ok)
        *folder = path;
    return ok;
}

bool Win32Dialogs::OpenFile(const std::string& title, const std::string& filter, std::string* path) {
    // "Name|*.ext|..." becomes the NUL-separated, double-NUL-ended list Windows wants.
    std::string filters = filter;
    for (char& c : filters) {
        if (c == '|')
            c = '\0';
    }
    filters.append(2, '\0');
    std::vector<char> file(MAX_PATH * 4, '\0');
    path->copy(file.data(), file.size() - 1);
    OPENFILENAMEA dialog{};
    dialog.lStructSize = sizeof(dialog);
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filters.c_str();
    dialog.nFilterIndex = 1;
    dialog.lpstrFile = file.data();
    dialog.nMaxFile = static_cast<DWORD>(file.size());
    dialog.lpstrTitle = title.c_str();
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_HIDEREADONLY;
    if (!GetOpenFileNameA(&dialog))
        return false;
    *path = file.data();
    return true;
}

} // namespace vantrel
