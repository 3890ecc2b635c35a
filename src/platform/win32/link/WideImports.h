// The ANSI stand-ins 32-bit programs use for the runtime's wide-character imports.
#pragma once

#include <windows.h>

namespace vantrel {

HANDLE WINAPI CreateSemaphoreAnsi(LPSECURITY_ATTRIBUTES attributes, LONG initial, LONG maximum, LPCWSTR name);
HMODULE WINAPI GetModuleHandleAnsi(LPCWSTR name);
HMODULE WINAPI LoadLibraryAnsi(LPCWSTR name);

} // namespace vantrel
