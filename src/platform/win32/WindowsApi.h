// <windows.h> for the code that talks to Windows directly. The ANSI/Unicode name macros
// (CreateDirectory -> CreateDirectoryA, ...) would rename the port methods of the same
// names, so they are dropped here; the code calls the "A" forms by their full names.
#pragma once

#include <windows.h>
#include <shellapi.h>
#include <shlobj.h>

#undef CopyFile
#undef CreateDirectory
#undef DeleteFile
#undef ExitWindows
#undef GetSystemDirectory
#undef GetTempPath
#undef GetWindowsDirectory
#undef MoveFile
#undef RemoveDirectory
