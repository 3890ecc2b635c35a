// A window that forwards its messages to a member handler. The object is found through
// the pointer stored with the window at WM_NCCREATE.
#pragma once

#include "GuiApi.h"

namespace vantrel {

class BaseWindow {
public:
    BaseWindow() = default;
    virtual ~BaseWindow();
    BaseWindow(const BaseWindow&) = delete;
    BaseWindow& operator=(const BaseWindow&) = delete;

    HWND Handle() const { return hwnd; }

protected:
    // Registers the class on first use (with its icon, may be null) and creates the window.
    bool CreateBase(const char* className, HICON icon, const char* title, DWORD style, DWORD exStyle, int x,
                    int y, int width, int height, HWND parent, HMENU menu);
    virtual LRESULT HandleMessage(UINT message, WPARAM wParam, LPARAM lParam);
    // Destroys the window without running its handlers (the object is going away).
    void DestroyQuietly();

    HWND hwnd = nullptr;

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
};

} // namespace vantrel
