#include "restore/DrvInstallFile.h"

#include "app/SystemServices.h"
#include "platform/FileSystem.h"
#include "platform/Resources.h"
#include "platform/System.h"
#include "restore/DrvInstallCodes.h"

namespace vantrel {

bool WriteDrvInstall(Platform& platform, std::string* path) {
    std::string temp = GetTempFolder(platform);
    if (temp.empty() || temp.back() != '\\')
        temp.push_back('\\');
    *path = temp + kDrvInstallName;
    CreateDirectories(platform.fs, temp);
    platform.fs.DeleteFile(*path);
    std::string bytes;
    int id = platform.system.Is64BitWindows() ? kResDrvInstall64 : kResDrvInstall32;
    if (!platform.resources.LoadCustom(id, &bytes) || bytes.empty() ||
        !WriteWholeFile(platform.fs, *path, bytes)) {
        platform.fs.DeleteFile(*path);
        return false;
    }
    return true;
}

} // namespace vantrel
