// The carried installer written out for a run: the restoration and the removal both start it
// from the temporary folder.
#pragma once

#include <string>

namespace vantrel {

struct Platform;

// Writes DrvInstall.exe into the temporary folder ("\" appended when missing), replacing an
// old one: resource 103 on 64-bit Windows, whichever build runs, else 102. *path is where it
// goes, also on failure; false when it could not be written (nothing is left there then).
bool WriteDrvInstall(Platform& platform, std::string* path);

} // namespace vantrel
