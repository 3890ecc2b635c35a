// What the carried installer's exit code means. DrvInstall.exe returns these; the restore
// engine and the command line turn them into a reason a user can act on.
#pragma once

#include <cstdint>
#include <string>

namespace vantrel {

inline constexpr char kDrvInstallName[] = "DrvInstall.exe";

enum DrvInstallCode : std::uint32_t {
    kDrvInstallOk = 0,
    kDrvInstallUsage = 1,         // the command line was not "/i "inf" "hwid"" or "/r "hwid""
    kDrvInstallInfNotFound = 2,   // the INF cannot be opened or read
    kDrvInstallNoDevice = 3,      // no device has the hardware ID (and none could be made)
    kDrvInstallFailed = 4,        // the system refused the installation or the removal
    kDrvInstallFilesMissing = 5,  // files the INF copies are not beside it (named on stderr)
    kDrvInstallNoModel = 6,       // the INF has no model for the hardware ID
    kDrvInstallStagingFailed = 7, // the package could not be laid out in the temporary folder
    kDrvInstallNeedsReboot = 8,   // installed; Windows needs a restart to finish
};

// A short English reason for an exit code ("files missing beside the INF", ...).
std::string DrvInstallReason(std::uint32_t code);

} // namespace vantrel
