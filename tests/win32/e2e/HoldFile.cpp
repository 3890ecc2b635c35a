// Holds a file open without sharing, as a program that has it in use does, until a release
// file appears or a time limit passes.
//
//   HoldFile.exe FILE RELEASE-FILE SECONDS
//
// Prints "held" once the file is open; exits 1 when it cannot be opened.
#include <windows.h>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: HoldFile.exe FILE RELEASE-FILE SECONDS\n", stderr);
        return 2;
    }
    HANDLE file =
        CreateFileA(argv[1], GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        std::fprintf(stderr, "cannot open %s (error %lu)\n", argv[1], GetLastError());
        return 1;
    }
    std::puts("held");
    std::fflush(stdout);
    DWORD limit = static_cast<DWORD>(std::atoi(argv[3])) * 1000;
    DWORD start = GetTickCount();
    while (GetFileAttributesA(argv[2]) == INVALID_FILE_ATTRIBUTES && GetTickCount() - start < limit)
        Sleep(100);
    CloseHandle(file);
    return 0;
}
