#include "backup/BackupInfo.h"

#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Profile.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint32_t kValidateBufferChars = 255;
constexpr std::uint32_t kEntryBufferChars = 80;

std::string ReadKey(Platform& platform, const std::string& file, std::string_view key,
                    std::uint32_t bufferChars) {
    std::string text;
    platform.profile.GetString(kBackupInfoSection, key, "", bufferChars, file, &text);
    return text;
}

} // namespace

std::string FormatBackupInfo(const BackupInfoSource& source, const std::string& backupTime) {
    std::string out;
    auto line = [&out](std::string_view key, std::string_view value) {
        out.append(key);
        out.push_back('=');
        out.append(value);
        out.append("\r\n");
    };
    out.append("[driver backup information]\r\n");
    line("driverdesc", Trim(source.driverDesc));
    line("infpath", source.infFileName);
    line("infsection", Trim(source.infSection) + Trim(source.infSectionExt));
    line("MatchingDeviceId", Trim(source.hardwareId));
    line("driverversion", Trim(source.driverVersion));
    line("driverdate", Trim(source.driverDate));
    line("providername", Trim(source.providerName));
    line("class", Trim(source.className));
    line("filenum", std::to_string(source.fileCount));
    line("signature", source.signature);
    line("needrestore", source.needRestore ? "yes" : "no");
    line("backuptime", backupTime);
    return out;
}

bool WriteBackupInfo(Platform& platform, const std::string& folder, const BackupInfoSource& source) {
    LocalTime now = platform.clock.Now();
    // Names in the system's language, whoever runs the backup.
    std::string date = platform.system.FormatSystemDate(now.year, now.month, now.day, "dddd, MMMM dd, yyyy");
    return WriteWholeFile(platform.fs, folder + "\\" + kBackupInfoFile, FormatBackupInfo(source, date));
}

bool IsValidBackupInfo(Platform& platform, const std::string& path) {
    if (ReadKey(platform, path, "driverdesc", kValidateBufferChars).empty())
        return false;
    if (ReadKey(platform, path, "infpath", kValidateBufferChars).empty())
        return false;
    int major = platform.system.GetVersion().major;
    if (major == 5 || major == 6 || major == 10)
        return !ReadKey(platform, path, "MatchingDeviceId", kValidateBufferChars).empty();
    return true;
}

BackupEntry ReadBackupInfo(Platform& platform, const std::string& folder) {
    std::string file = folder + "\\" + kBackupInfoFile;
    auto key = [&](std::string_view name) { return ReadKey(platform, file, name, kEntryBufferChars); };
    BackupEntry entry;
    entry.driverDesc = key("driverdesc");
    entry.infPath = key("infpath");
    entry.driverVersion = key("driverversion");
    entry.driverDate = key("driverdate");
    entry.providerName = key("providername");
    entry.fileNum = key("filenum");
    entry.backupTime = key("backuptime");
    entry.needRestore = key("needrestore");
    entry.matchingDeviceId = key("MatchingDeviceId");
    entry.signature = key("signature");
    entry.infSection = key("infsection");
    entry.className = key("class");
    entry.folder = folder;
    return entry;
}

std::vector<BackupEntry> ScanBackupFolder(Platform& platform, const std::string& path) {
    std::vector<BackupEntry> entries;
    std::string own = path + "\\" + kBackupInfoFile;
    if (platform.fs.Exists(own) && IsValidBackupInfo(platform, own)) {
        entries.push_back(ReadBackupInfo(platform, path));
        return entries;
    }
    std::vector<FindData> found;
    platform.fs.FindFiles(path + "\\*", &found);
    for (const auto& item : found) {
        if (!item.IsDirectory() || item.name == "." || item.name == "..")
            continue;
        std::string folder = path + "\\" + item.name;
        std::string file = folder + "\\" + kBackupInfoFile;
        if (platform.fs.Exists(file) && IsValidBackupInfo(platform, file))
            entries.push_back(ReadBackupInfo(platform, folder));
    }
    return entries;
}

} // namespace vantrel
