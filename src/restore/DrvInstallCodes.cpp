#include "restore/DrvInstallCodes.h"

namespace vantrel {

std::string DrvInstallReason(std::uint32_t code) {
    switch (code) {
    case kDrvInstallOk:
        return "installed";
    case kDrvInstallUsage:
        return "the installer was started with a wrong command line";
    case kDrvInstallInfNotFound:
        return "the INF cannot be found or read";
    case kDrvInstallNoDevice:
        return "no device has the hardware ID and none could be created";
    case kDrvInstallFailed:
        return "Windows refused the installation";
    case kDrvInstallFilesMissing:
        return "files the INF copies are missing beside it";
    case kDrvInstallNoModel:
        return "the INF has no model for the hardware ID";
    case kDrvInstallStagingFailed:
        return "the driver package could not be laid out in the temporary folder";
    case kDrvInstallNeedsReboot:
        return "installed; Windows needs a restart to finish";
    default:
        return "the installer ended with an unknown code";
    }
}

} // namespace vantrel
