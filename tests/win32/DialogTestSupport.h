// Drives a modal dialog from inside its own message loop, as a user would while it is open.
#pragma once

#include <cstdlib>
#include <functional>

#include "FormWindow.h"
#include "GuiApi.h"

namespace vantrel::test {

struct DialogSteps {
    std::function<FormWindow*()> dialog; // the open dialog, or null
    std::function<void(FormWindow&)> step;
    bool busy = false;
    bool timedOut = false;
    DWORD start = 0;
    DWORD limit = 0;
};
inline DialogSteps* gDialogSteps = nullptr;

inline void CALLBACK DialogStepTick(HWND, UINT, UINT_PTR, DWORD) {
    DialogSteps* steps = gDialogSteps;
    // A step that clicks a button may run a transfer that pumps messages: no second step
    // inside it.
    if (!steps || steps->busy)
        return;
    FormWindow* dialog = steps->dialog();
    if (!dialog || !dialog->Handle() || !IsWindowVisible(dialog->Handle()))
        return;
    if (GetTickCount() - steps->start > steps->limit) {
        // Destroyed rather than closed: a dialog may refuse to close while it works.
        steps->timedOut = true;
        DestroyWindow(dialog->Handle());
        return;
    }
    steps->busy = true;
    steps->step(*dialog);
    steps->busy = false;
}

// Runs open (which shows the dialog modally and returns when it has closed) with step called
// every 20 ms inside the dialog's loop once the dialog shows. False when the dialog was still
// open after limitMs and had to be destroyed.
inline bool RunDialog(const std::function<void()>& open, std::function<FormWindow*()> dialog,
                      std::function<void(FormWindow&)> step, DWORD limitMs = 30000) {
    DialogSteps steps{std::move(dialog), std::move(step), false, false, GetTickCount(), limitMs};
    gDialogSteps = &steps;
    UINT_PTR timer = SetTimer(nullptr, 0, 20, DialogStepTick);
    open();
    KillTimer(nullptr, timer);
    gDialogSteps = nullptr;
    return !steps.timedOut;
}

// A click on a dialog's button, check box or option button, as the mouse gives it.
inline void Click(FormWindow& dialog, const char* control) {
    SendMessageA(dialog.Control(control), BM_CLICK, 0, 0);
}

// Esc, sent where the keyboard sends it: to the control that has the focus.
inline void PressEsc(FormWindow& dialog) {
    HWND focus = GetFocus();
    HWND target = focus && IsChild(dialog.Handle(), focus) ? focus : dialog.Handle();
    PostMessageA(target, WM_KEYDOWN, VK_ESCAPE, 0);
}

inline POINT WindowCentre(HWND window) {
    RECT area;
    GetWindowRect(window, &area);
    return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
}

// Whether the dialog is centred on its owner (to the pixel, as integer halves allow).
inline bool CentredOn(HWND dialog, HWND owner) {
    POINT a = WindowCentre(dialog), b = WindowCentre(owner);
    return std::abs(a.x - b.x) <= 2 && std::abs(a.y - b.y) <= 2;
}

} // namespace vantrel::test
