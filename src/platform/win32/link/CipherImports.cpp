// What the static cipher library imports beyond the DLLs every Windows has. Its error-code
// companion carries logging and stream code for sockets, which pulls in ws2_32.dll although
// the program never opens a socket through it: those answers fail as a machine without a
// network would. On 32-bit Windows 98 three kernel functions are missing as well; they are
// answered with what Windows 98 has.
#include <windows.h>

namespace {

constexpr UINT_PTR kInvalidSocket = ~static_cast<UINT_PTR>(0);

int Fail() {
    SetLastError(ERROR_NOT_SUPPORTED);
    return -1; // SOCKET_ERROR
}

UINT_PTR WINAPI NoSocket(int, int, int) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return kInvalidSocket;
}
int WINAPI NoConnect(UINT_PTR, const void*, int) {
    return Fail();
}
int WINAPI NoClose(UINT_PTR) {
    return Fail();
}
int WINAPI NoIoctl(UINT_PTR, long, unsigned long*) {
    return Fail();
}
int WINAPI NoSend(UINT_PTR, const char*, int, int) {
    return Fail();
}
int WINAPI NoReceive(UINT_PTR, char*, int, int) {
    return Fail();
}
unsigned long WINAPI NoAddress(const char*) {
    return 0xFFFFFFFFul; // INADDR_NONE
}
unsigned short WINAPI Htons(unsigned short value) {
    return static_cast<unsigned short>((value >> 8) | (value << 8));
}

#if defined(__i386__)
// Blocks rather than tries: the library takes its locks only briefly.
BOOL WINAPI EnterCriticalSectionAlways(LPCRITICAL_SECTION section) {
    EnterCriticalSection(section);
    return TRUE;
}

BOOL WINAPI SetFilePointerAnsi(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) {
    LONG high = distance.HighPart;
    DWORD low = SetFilePointer(file, static_cast<LONG>(distance.LowPart), &high, method);
    if (low == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
        return FALSE;
    if (position) {
        position->LowPart = low;
        position->HighPart = high;
    }
    return TRUE;
}

HANDLE WINAPI CreateFileAnsi(LPCWSTR name, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                             DWORD disposition, DWORD flags, HANDLE templateFile) {
    char ansi[MAX_PATH];
    if (!name || WideCharToMultiByte(CP_ACP, 0, name, -1, ansi, MAX_PATH, nullptr, nullptr) <= 0) {
        SetLastError(ERROR_INVALID_NAME);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileA(ansi, access, share, security, disposition, flags, templateFile);
}
#endif

} // namespace

// The imports' own names: the pointers every dllimport call goes through.
#if defined(__i386__)
#define VANTREL_IMPORT(name, size) __asm__("__imp__" #name "@" #size)
#else
#define VANTREL_IMPORT(name, size) __asm__("__imp_" #name)
#endif
extern "C" {
UINT_PTR(WINAPI* vantrelSocket)(int, int, int) VANTREL_IMPORT(socket, 12) = NoSocket;
int(WINAPI* vantrelConnect)(UINT_PTR, const void*, int) VANTREL_IMPORT(connect, 12) = NoConnect;
int(WINAPI* vantrelCloseSocket)(UINT_PTR) VANTREL_IMPORT(closesocket, 4) = NoClose;
int(WINAPI* vantrelIoctlSocket)(UINT_PTR, long, unsigned long*) VANTREL_IMPORT(ioctlsocket, 12) = NoIoctl;
int(WINAPI* vantrelSend)(UINT_PTR, const char*, int, int) VANTREL_IMPORT(send, 16) = NoSend;
int(WINAPI* vantrelReceive)(UINT_PTR, char*, int, int) VANTREL_IMPORT(recv, 16) = NoReceive;
unsigned long(WINAPI* vantrelInetAddr)(const char*) VANTREL_IMPORT(inet_addr, 4) = NoAddress;
unsigned short(WINAPI* vantrelHtons)(unsigned short) VANTREL_IMPORT(htons, 4) = Htons;
#if defined(__i386__)
BOOL(WINAPI* vantrelTryEnterCriticalSection)
(LPCRITICAL_SECTION) VANTREL_IMPORT(TryEnterCriticalSection, 4) = EnterCriticalSectionAlways;
BOOL(WINAPI* vantrelSetFilePointerEx)
(HANDLE, LARGE_INTEGER, PLARGE_INTEGER, DWORD) VANTREL_IMPORT(SetFilePointerEx, 20) = SetFilePointerAnsi;
HANDLE(WINAPI* vantrelCreateFileW)
(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)
    VANTREL_IMPORT(CreateFileW, 28) = CreateFileAnsi;
#endif
}
