// A machine image: one Windows machine as a folder on the host (machine.ini,
// registry/*.reg, drive_c/...), behind the same ports as the real Windows.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/System.h"

namespace vantrel {

class ImageRegistry;
class ImageFileSystem;
class ImageSystem;
class ImageProcesses;
class ImageShell;
class ImageResources;
class ImageProfile;
class ImageClock;

struct MachineFacts {
    OsVersion version;        // major, minor, build, platform, producttype
    std::string arch = "x64"; // x86 or x64
    std::string windir = "C:\\WINDOWS";
    std::string sysdir;                                    // default windir + "\system32"
    std::string temp;                                      // default C:\Users\User\AppData\Local\Temp
    std::string appdata;                                   // default C:\Users\User\AppData\Roaming
    std::string programDir = "C:\\Program Files\\Vantrel"; // where the program "lies" on the image
    std::string now; // fixed local time "yyyy-mm-dd hh:mm:ss"; "" for the real clock
};

// Fills the folders left empty from windir and the version (Windows 9x, 2000/XP or later layout).
void CompleteMachineFacts(MachineFacts* facts);

// Reads the [system] section of machine.ini (keys major, minor, build, platform, producttype,
// arch, windir, sysdir, temp, appdata, programdir, now, csdversion); missing keys keep the
// Windows 10 x64 defaults above. A missing file or a bad value fails with *error naming the file.
bool ReadMachineIni(const std::string& hostFile, MachineFacts* facts, std::string* error);

class ImagePlatform : public PlatformSet {
public:
    // hostRoot: the image folder (may be empty for a purely in-memory machine).
    // programFolder: host folder mounted at facts.programDir (language files and data).
    ImagePlatform(const std::string& hostRoot, const MachineFacts& facts, const std::string& programFolder);
    // With a file system the caller made (a guarded one) instead of one over hostRoot.
    ImagePlatform(const std::string& hostRoot, const MachineFacts& facts, const std::string& programFolder,
                  std::unique_ptr<ImageFileSystem> fileSystem);
    ~ImagePlatform() override;

    Platform& Ports() override;
    // Writes the HKEY_CURRENT_USER tree back to registry/user.reg of the image.
    bool Save(std::string* error) override;

    ImageRegistry& Registry() { return *registry; }
    ImageFileSystem& Files() { return *files; }
    ImageSystem& System() { return *system; }
    ImageProfile& Profile() { return *profile; }
    ImageProcesses& Processes() { return *processes; }
    ImageShell& Shell() { return *shell; }
    ImageResources& Resources() { return *resources; }
    ImageClock& Clock() { return *clock; }
    const MachineFacts& Facts() const { return facts; }

private:
    std::string hostRoot;
    MachineFacts facts;
    std::unique_ptr<ImageRegistry> registry;
    std::unique_ptr<ImageFileSystem> files;
    std::unique_ptr<ImageSystem> system;
    std::unique_ptr<ImageProcesses> processes;
    std::unique_ptr<ImageShell> shell;
    std::unique_ptr<ImageResources> resources;
    std::unique_ptr<ImageProfile> profile;
    std::unique_ptr<ImageClock> clock;
    std::unique_ptr<Platform> ports;
};

// Loads machine.ini and every registry/*.reg of the image folder (in name order). user.reg, the
// file Save writes, holds the whole HKEY_CURRENT_USER tree: what earlier files put there is
// dropped before it is read. A folder without machine.ini fails with *error saying what was
// looked for; a bad machine.ini or a malformed .reg line fails with *error
// naming the file (and line).
std::unique_ptr<ImagePlatform> LoadMachineImage(const std::string& hostRoot, const std::string& programFolder,
                                                std::string* error);

} // namespace vantrel
