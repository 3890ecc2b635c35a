// The behaviour of one part of the main window (a tab page, or a command group). The main
// page owns the window-wide behaviour and hands every event it does not handle itself to the
// parts, in the order they were added, until one takes it.
#pragma once

#include <string_view>

namespace vantrel {

class TabPage {
public:
    virtual ~TabPage() = default;

    // A menu item or button by control name ("MnuBckAll", "CmdBackup", "CmdSelectAll", ...).
    // True when this part handled it.
    virtual bool HandleCommand(std::string_view control) {
        (void)control;
        return false;
    }
    // Column header clicked (0-based column) / row clicked (0-based row) in one of the lists.
    virtual bool OnColumnClick(std::string_view list, int column) {
        (void)list;
        (void)column;
        return false;
    }
    virtual bool OnRowClick(std::string_view list, int row) {
        (void)list;
        (void)row;
        return false;
    }
    // Called after the main window's texts were applied in a (new) language, so that the
    // part rebuilds its own explanatory texts.
    virtual void OnLanguageApplied() {}
    // The user closes the window. False keeps it open (a long run is still going on; the
    // part takes the close as a request to stop it).
    virtual bool QueryClose() { return true; }
};

} // namespace vantrel
