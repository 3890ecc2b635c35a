// The carried installer's work that needs no Windows: its command line, the check that a
// driver package is complete, and the package laid out the way its INF expects it. A backup
// keeps every file flat beside the INF, while many INFs expect theirs in subfolders of the
// medium ("\amd64", a SourceDisksFiles subfolder): installing from the backup as it lies
// would make Windows ask for the disk.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class FileSystem;
struct InfInstallInfo;

struct DrvInstallCommand {
    enum class Mode { Install, Remove };
    Mode mode = Mode::Install;
    std::string infPath; // Install only
    std::string hardwareId;
};

// The whole command line as the program receives it: its own path, quoted or not (the restore
// run does not quote it, blanks and all), then `/i "inf" "hwid"` or `/r "hwid"`. The hardware
// ID is the rest of the line without one pair of outer quotes, so blanks and quotes inside it
// survive. False for anything else.
bool ParseDrvInstallCommandLine(std::string_view commandLine, DrvInstallCommand* command);

// Whether a REG_MULTI_SZ list of IDs (NUL-separated) holds id, compared without case.
bool IdListHas(std::string_view multiString, std::string_view id);

// Where a file the INF copies lies in the package at infFolder: where the INF's medium layout
// puts it, else beside the INF under its source name, else under its installed name; "" when
// it is in none of these places.
class PackageFiles {
public:
    PackageFiles(FileSystem& fs, std::string infFolder);
    std::string Locate(const std::string& sourceFolder, const std::string& sourceName,
                       const std::string& name);

private:
    FileSystem& fs;
    std::string folder;
    bool listed = false;
    std::vector<std::string> names; // of the files beside the INF
};

// The copied files of info that the package lacks, as "name" or "name (as source)".
std::vector<std::string> MissingPackageFiles(FileSystem& fs, const std::string& infFolder,
                                             const InfInstallInfo& info);

// A package laid out in an empty folder: the INF and its catalog at the top, each copied file
// under its source name in its medium folder. Everything it put there, the folder included, is
// deleted again by Remove or when it goes.
class PackageStage {
public:
    PackageStage(FileSystem& fs, std::string folder);
    ~PackageStage();
    PackageStage(const PackageStage&) = delete;
    PackageStage& operator=(const PackageStage&) = delete;

    // False with *error set when a file cannot be copied or a medium folder of the INF would
    // lead outside the stage.
    bool Stage(const std::string& infPath, const InfInstallInfo& info, std::string* error);
    // The staged copy of the INF.
    const std::string& InfPath() const { return stagedInf; }
    void Remove();

private:
    bool MakeFolders(const std::string& relative);
    bool Copy(const std::string& from, const std::string& relative, std::string* error);

    FileSystem& fs;
    std::string folder;
    std::string stagedInf;
    std::vector<std::string> files;
    std::vector<std::string> folders; // in the order they were made
};

} // namespace vantrel
