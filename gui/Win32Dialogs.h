// The user's answers through real message boxes and shell dialogs, owned by one window.
#pragma once

#include "GuiApi.h"
#include "app/Dialogs.h"

namespace vantrel {

class Win32Dialogs : public Dialogs {
public:
    void SetOwner(HWND window) { owner = window; }

    MsgAnswer MessageBox(const std::string& text, const std::string& title, MsgButtons buttons,
                         MsgIcon icon) override;
    bool BrowseForFolder(const std::string& prompt, std::string* folder) override;
    bool OpenFile(const std::string& title, const std::string& filter, std::string* path) override;

private:
    HWND owner = nullptr;
};

} // namespace vantrel
