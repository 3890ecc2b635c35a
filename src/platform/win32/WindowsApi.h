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

#include <cstdint>

namespace vantrel {

// 64-bit file positions and sizes through the calls Windows 98 has (the Ex forms came with
// Windows 2000).
bool SeekHandle(HANDLE file, std::uint64_t offset);
bool HandleSize(HANDLE file, std::uint64_t* size);

} // namespace vantrel
