// Whether a backed-up driver can be installed again from its folder: its INF, every file its
// install section copies on the backed-up machine's processor (the decorated sections Windows
// picks, the medium folders of SourceDisksFiles included) beside the INF under its name on the
// medium or its installed name, and its catalog. This is the carried installer's own check
// before it installs, made when the backup is written and whenever a user asks, so that a
// missing file shows up long before the day of the restore.
#pragma once

#include <string>
#include <vector>

#include "backup/BackupInfo.h"
#include "inventory/InfInstall.h"

namespace vantrel {

struct Platform;

struct MissingBackupFile {
    enum class Kind { Inf, Copied, Catalog };
    Kind kind = Kind::Copied;
    std::string name;
    std::string sourceName; // its name on the medium, when that differs
};

struct BackupDriverCheck {
    std::string processor; // the processor the files were checked for: "amd64", "x86"
    std::vector<MissingBackupFile> missing;
    bool Complete() const { return missing.empty(); }
};

// One driver's folder (entry.folder), read for target. On Windows 9x (windows9x) the INF is read
// as that system reads it: the install section without decoration and the plain catalog.
BackupDriverCheck CheckBackedUpDriver(Platform& platform, const BackupEntry& entry, const InfTarget& target,
                                      bool windows9x = false);

// Every driver of a catalogue, each for the processor of the machine it was backed up on, in
// the entries' order.
std::vector<BackupDriverCheck> CheckBackup(Platform& platform, const std::vector<BackupEntry>& entries);

// "a.sys, b.dll (b_x64.dll), catalog c.cat": the missing files, the catalog after its word.
std::string DescribeMissing(const std::vector<MissingBackupFile>& missing, const std::string& catalogWord);

} // namespace vantrel
