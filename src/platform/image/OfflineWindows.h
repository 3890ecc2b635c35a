// A Windows installation that does not run, mounted from Linux (its root holds
// Windows/System32/config/SYSTEM), as a machine image: no machine.ini is needed.
//
// The SYSTEM and SOFTWARE hives are read-only; SYSTEM\CurrentControlSet is the control set
// Select\Current names. C:\ is the mounted folder. Nothing is ever written there: registry
// writes stay in memory, the temporary and application-data folders lie in a scratch folder
// of the user's that goes with the platform, and every other write into the tree fails.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/image/MachineImage.h"

namespace vantrel {

struct OfflineOptions {
    // "major.minor" to assume when the SOFTWARE hive is missing ("" refuses such a tree).
    std::string assumeVersion;
    // Hears what the user should know but does not stop the run (a dirty hive, a fallback).
    std::function<void(const std::string&)> note;
};

// Whether hostRoot holds Windows/System32/config/SYSTEM (any letter case; WINNT too).
bool IsWindowsInstallation(const std::string& hostRoot);

std::unique_ptr<ImagePlatform> OpenOfflineWindows(const std::string& hostRoot,
                                                  const std::string& programFolder,
                                                  const OfflineOptions& options, std::string* error);

} // namespace vantrel
