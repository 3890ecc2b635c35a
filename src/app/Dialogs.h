// The questions a window can put to the user. The Win32 window answers them with real
// message boxes and shell dialogs; the CLI and tests answer them from a script.
#pragma once

#include <string>

namespace vantrel {

enum class MsgIcon { None, Critical, Question, Exclamation, Information };
enum class MsgButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class MsgAnswer { Ok, Cancel, Yes, No };

class Dialogs {
public:
    virtual ~Dialogs() = default;
    virtual MsgAnswer MessageBox(const std::string& text, const std::string& title, MsgButtons buttons,
                                 MsgIcon icon) = 0;
    // Folder browser; false when the user cancels. *folder holds the start folder on entry.
    virtual bool BrowseForFolder(const std::string& prompt, std::string* folder) = 0;
    // File-open dialog; filter in the "Text|*.txt|All|*.*" form. False when cancelled.
    virtual bool OpenFile(const std::string& title, const std::string& filter, std::string* path) = 0;
};

} // namespace vantrel
