// Windows 98 has at most failing stubs for most wide-character functions, and the compiler's
// runtime imports three of them: a semaphore for its locks, and two module look-ups. Every
// 32-bit program links this file (not through the core library, whose objects are only taken
// when asked for) and answers those imports itself with the ANSI forms, which every Windows has.
#include "platform/win32/link/WideImports.h"

namespace vantrel {
namespace {

// Module and object names here are plain ASCII; anything longer than a path fails cleanly.
bool Narrow(LPCWSTR wide, char (&ansi)[MAX_PATH]) {
    return WideCharToMultiByte(CP_ACP, 0, wide, -1, ansi, MAX_PATH, nullptr, nullptr) > 0;
}

} // namespace

HANDLE WINAPI CreateSemaphoreAnsi(LPSECURITY_ATTRIBUTES attributes, LONG initial, LONG maximum,
                                  LPCWSTR name) {
    char ansi[MAX_PATH];
    if (name && !Narrow(name, ansi))
        return nullptr;
    return CreateSemaphoreA(attributes, initial, maximum, name ? ansi : nullptr);
}

HMODULE WINAPI GetModuleHandleAnsi(LPCWSTR name) {
    char ansi[MAX_PATH];
    if (name && !Narrow(name, ansi))
        return nullptr;
    return GetModuleHandleA(name ? ansi : nullptr);
}

HMODULE WINAPI LoadLibraryAnsi(LPCWSTR name) {
    char ansi[MAX_PATH];
    if (!name || !Narrow(name, ansi))
        return nullptr;
    return LoadLibraryA(ansi);
}

} // namespace vantrel

#if defined(__i386__)
// The imports' own names: the pointers every dllimport call goes through.
extern "C" {
HANDLE(WINAPI* vantrelCreateSemaphoreW)
(LPSECURITY_ATTRIBUTES, LONG, LONG,
 LPCWSTR) __asm__("__imp__CreateSemaphoreW@16") = vantrel::CreateSemaphoreAnsi;
HMODULE(WINAPI* vantrelGetModuleHandleW)
(LPCWSTR) __asm__("__imp__GetModuleHandleW@4") = vantrel::GetModuleHandleAnsi;
HMODULE(WINAPI* vantrelLoadLibraryW)(LPCWSTR) __asm__("__imp__LoadLibraryW@4") = vantrel::LoadLibraryAnsi;
}
#endif
