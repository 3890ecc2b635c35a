// Windows before Vista has no GetTickCount64, yet the compiler's thread library imports it, and
// one missing import keeps a program from starting at all. Every program links this file (not
// through the core library, whose objects are only taken when asked for), so the thread
// library's import is answered here: by the system's function where there is one, else by the
// 32-bit count widened.
#include <windows.h>

namespace {

ULONGLONG WINAPI TickCount64() {
    using TickCount64Fn = ULONGLONG(WINAPI*)();
    static const auto system =
        reinterpret_cast<TickCount64Fn>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "GetTickCount64"));
    if (system)
        return system();
    // The 32-bit count wraps every 49.7 days; the wraps are counted. Callers only time short
    // waits, so a rare race between two threads at a wrap costs nothing that matters.
    static volatile LONG last = 0;
    static volatile LONG wraps = 0;
    DWORD now = GetTickCount();
    DWORD before = static_cast<DWORD>(InterlockedExchange(&last, static_cast<LONG>(now)));
    if (now < before)
        InterlockedIncrement(&wraps);
    return (static_cast<ULONGLONG>(static_cast<DWORD>(wraps)) << 32) | now;
}

} // namespace

// The import's own name: the pointer every dllimport call goes through.
#if defined(__i386__)
#define VANTREL_TICK_IMPORT "__imp__GetTickCount64@0"
#else
#define VANTREL_TICK_IMPORT "__imp_GetTickCount64"
#endif
extern "C" {
ULONGLONG(WINAPI* vantrelTickCount64Import)() __asm__(VANTREL_TICK_IMPORT) = TickCount64;
}
