// drvbck.pdb: the small INI file that describes one backed-up driver. The backup writes it
// beside the driver's files; the restore side finds backups by it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"

namespace vantrel {

inline constexpr char kBackupInfoFile[] = "drvbck.pdb";
inline constexpr char kBackupInfoSection[] = "driver backup information";

// What the backup knows of a driver when it writes the file.
struct BackupInfoSource {
    std::string driverDesc;
    std::string infFileName; // entry 1 of the driver's file list, written as it stands
    std::string infSection;
    std::string infSectionExt;
    std::string hardwareId;
    std::string driverVersion;
    std::string driverDate;
    std::string providerName;
    std::string className;
    int fileCount = 0;
    std::string signature;    // supported systems of the INF
    bool needRestore = false; // false for drivers that ship with Windows
};

// One backed-up driver as the restore side reads it. Key fields hold at most 79 characters.
struct BackupEntry {
    std::string driverDesc;
    std::string infPath;
    std::string driverVersion;
    std::string driverDate;
    std::string providerName;
    std::string fileNum;
    std::string backupTime;
    std::string needRestore;
    std::string matchingDeviceId;
    std::string signature;
    std::string infSection;
    std::string folder; // full path of the folder holding the file
    std::string className;
};

// The thirteen CRLF lines of the file; backupTime is the formatted date line's value.
std::string FormatBackupInfo(const BackupInfoSource& source, const std::string& backupTime);
// Writes folder + "\drvbck.pdb" dated today; false when the file could not be written.
bool WriteBackupInfo(Platform& platform, const std::string& folder, const BackupInfoSource& source);

bool IsValidBackupInfo(Platform& platform, const std::string& path);
BackupEntry ReadBackupInfo(Platform& platform, const std::string& folder);
// The folder itself when it holds a valid file, else each direct subfolder that does.
std::vector<BackupEntry> ScanBackupFolder(Platform& platform, const std::string& path);

} // namespace vantrel
