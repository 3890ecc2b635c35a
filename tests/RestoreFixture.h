// A machine image holding backed-up driver folders, for the restore engine and tab tests.
#pragma once

#include <string>
#include <vector>

#include "TestMachine.h"
#include "app/App.h"
#include "backup/BackupInfo.h"
#include "inventory/DriverRecord.h"
#include "platform/FileSystem.h"
#include "platform/image/ImagePorts.h"

namespace vantrel::test {

inline constexpr char kBackupRoot[] = "C:\\Backup\\Drivers Backup";

struct BackedUp {
    const char* desc;
    const char* provider;
    const char* infClass; // "" for an INF without a class
    const char* hardwareId;
};

class RestoreMachine {
public:
    explicit RestoreMachine(const MachineFacts& facts = MachineFacts())
        : machine(facts), app(machine.Ports()) {
        app.appPath = "C:\\Program Files\\Vantrel\\";
    }

    // One driver folder under the backup root with its drvbck.pdb and INF; returns the folder.
    std::string Add(const BackedUp& driver) {
        std::string folder = std::string(kBackupRoot) + "\\" + driver.desc;
        CreateDirectories(Fs(), folder);
        BackupInfoSource source;
        source.driverDesc = driver.desc;
        source.infFileName = "drv.inf";
        source.infSection = "Install";
        source.hardwareId = driver.hardwareId;
        source.driverVersion = "1.2.3.4";
        source.driverDate = "2024-05-06";
        source.providerName = driver.provider;
        source.className = driver.infClass;
        source.fileCount = 2;
        source.needRestore = !IsMicrosoftProvider(driver.provider);
        WriteBackupInfo(machine.Ports(), folder, source);
        std::string inf = "[Version]\r\nSignature=\"$Windows NT$\"\r\n";
        if (*driver.infClass)
            inf += std::string("Class=") + driver.infClass + "\r\n";
        WriteWholeFile(Fs(), folder + "\\drv.inf", inf);
        return folder;
    }
    // Entries in the order the drivers are given, as the checked rows hand them over.
    std::vector<BackupEntry> AddAll(const std::vector<BackedUp>& drivers) {
        std::vector<BackupEntry> entries;
        for (const auto& driver : drivers)
            entries.push_back(ReadBackupInfo(machine.Ports(), Add(driver)));
        return entries;
    }

    FileSystem& Fs() { return machine.Ports().fs; }
    ImageProcesses& Processes() { return machine.Image().Processes(); }
    std::vector<std::string> CommandLines() {
        std::vector<std::string> lines;
        for (const auto& call : Processes().calls)
            lines.push_back(call.commandLine);
        return lines;
    }

    TestMachine machine;
    App app;
};

} // namespace vantrel::test
