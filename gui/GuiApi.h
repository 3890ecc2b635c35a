// <windows.h> and the common controls for the window code. Dialogs::MessageBox and a few
// port methods share names with the ANSI/Unicode macros, so those macros are dropped; the
// window code calls the "A" forms by their full names.
#pragma once

#include "platform/win32/WindowsApi.h"

#include <commctrl.h>
#include <commdlg.h>

#undef MessageBox
