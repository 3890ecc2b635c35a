#include "BaseWindow.h"

namespace vantrel {

BaseWindow::~BaseWindow() {
    DestroyQuietly();
}

void BaseWindow::DestroyQuietly() {
    if (!hwnd)
        return;
    // Stop the messages of the destruction reaching an object that is going away.
    SetWindowLongPtrA(hwnd, GWLP_USERDATA, 0);
    DestroyWindow(hwnd);
    hwnd = nullptr;
}

bool BaseWindow::CreateBase(const char* className, HICON icon, const char* title, DWORD style, DWORD exStyle,
                            int x, int y, int width, int height, HWND parent, HMENU menu) {
    HINSTANCE instance = GetModuleHandleA(nullptr);
    WNDCLASSEXA existing{};
    existing.cbSize = sizeof(existing);
    if (!GetClassInfoExA(instance, className, &existing)) {
        WNDCLASSEXA windowClass{};
        windowClass.cbSize = sizeof(windowClass);
        windowClass.style = CS_HREDRAW | CS_VREDRAW;
        windowClass.lpfnWndProc = Procedure;
        windowClass.hInstance = instance;
        windowClass.hIcon = icon;
        windowClass.hIconSm = icon;
        windowClass.hCursor = LoadCursorA(nullptr, MAKEINTRESOURCEA(32512)); // IDC_ARROW
        windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
        windowClass.lpszClassName = className;
        if (!RegisterClassExA(&windowClass))
            return false;
    }
    return CreateWindowExA(exStyle, className, title, style, x, y, width, height, parent, menu, instance,
                           this) != nullptr;
}

LRESULT BaseWindow::HandleMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    return DefWindowProcA(hwnd, message, wParam, lParam);
}

LRESULT CALLBACK BaseWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    BaseWindow* self = nullptr;
    if (message == WM_NCCREATE) {
        auto* create = reinterpret_cast<CREATESTRUCTA*>(lParam);
        self = static_cast<BaseWindow*>(create->lpCreateParams);
        self->hwnd = window;
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    } else {
        self = reinterpret_cast<BaseWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    }
    if (!self)
        return DefWindowProcA(window, message, wParam, lParam);
    LRESULT result = self->HandleMessage(message, wParam, lParam);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrA(window, GWLP_USERDATA, 0);
        self->hwnd = nullptr;
    }
    return result;
}

} // namespace vantrel
