// A small machine for the backup run tests: two vendor drivers and one of Windows' own,
// with their INFs and files, a D: drive on the host, and an observer that records.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "InventoryFixture.h"
#include "app/App.h"
#include "app/Settings.h"
#include "archive/ZipReader.h"
#include "backup/BackupRun.h"
#include "inventory/BackupListPage.h"
#include "inventory/Enumeration.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"

namespace vantrel::test {

inline constexpr char kAcmeDesc[] = "Acme: Net/Adapter <2.5G>";
inline constexpr char kAcmeFolder[] = "Acme  Net Adapter  2.5G";
inline constexpr char kRootPath[] = "D:\\Backups\\Drivers Backup";
inline constexpr char kAcmeInf[] = "[Version]\r\nSignature=\"$Windows NT$\"\r\nCatalogFile=acme.cat\r\n"
                                   "[Acme]\r\nCopyFiles=Acme.Copy,@acmehelp.dll\r\n"
                                   "[Acme.Copy]\r\nacme.sys,acme.sy_\r\nacmegone.sys\r\n";
inline constexpr char kBirchInf[] =
    "[Version]\r\nSignature=\"$Windows NT$\"\r\n[Birch]\r\nCopyFiles=@birch.sys\r\n";

class RecordingObserver : public BackupObserver {
public:
    void DriverStarted(int row) override { rows.push_back(row); }
    void ClearLog() override {
        logs.push_back(log);
        log.clear();
    }
    void AppendLog(const std::string& text) override {
        log += text;
        if (stopAfterCopies > 0 && text.find("Backing up C:") != std::string::npos && --stopAfterCopies == 0)
            stop = true;
        if (onLog)
            onLog();
    }
    void Progress(int percent) override { progress.push_back(percent); }
    void Pump() override {}
    bool Cancelled() override {
        ++cancelQuestions;
        return stop;
    }

    std::vector<int> rows;
    std::vector<std::string> logs;
    std::string log;
    std::vector<int> progress;
    int stopAfterCopies = 0; // sets the stop flag after this many copies were announced
    bool stop = false;
    int cancelQuestions = 0;
    std::function<void()> onLog;
};

inline MachineFacts BackupDay() {
    MachineFacts facts;
    facts.now = "2026-11-14 09:30:00";
    return facts;
}

class BackupMachine : public InventoryMachine {
public:
    explicit BackupMachine(const MachineFacts& facts = BackupDay()) : InventoryMachine(facts) {
        Driver("PCI\\VEN_1\\0", "0001",
               {{"DriverDesc", kAcmeDesc},
                {"ProviderName", "Acme"},
                {"InfPath", "oem1.inf"},
                {"InfSection", "Acme"},
                {"MatchingDeviceId", "pci\\ven_1"},
                {"DriverVersion", "1.2.3.4"},
                {"DriverDate", "5-6-2021"}},
               {"PCI\\VEN_1"});
        Inf("oem1.inf", kAcmeInf);
        File("system32\\drivers\\acme.sys", std::string(3000, 'A'));
        File("system32\\acmehelp.dll", "help");
        File("system32\\CatRoot\\acme.cat", "catalog");

        Driver("PCI\\VEN_2\\0", "0002",
               {{"DriverDesc", "Birch Audio"},
                {"ProviderName", "Birch"},
                {"InfPath", "oem2.inf"},
                {"InfSection", "Birch"},
                {"MatchingDeviceId", "pci\\ven_2"},
                {"DriverVersion", "2.0"},
                {"DriverDate", "1-2-2020"}},
               {"PCI\\VEN_2"});
        Inf("oem2.inf", kBirchInf);
        File("system32\\drivers\\birch.sys", std::string(5000, 'B'));

        Driver("PCI\\VEN_3\\0", "0003",
               {{"DriverDesc", "Standard Thing"},
                {"ProviderName", "Microsoft"},
                {"InfPath", "machine.inf"},
                {"InfSection", "Std"}},
               {"PCI\\VEN_3"});
        Inf("machine.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\n");

        auto host = machine.ImageFolder() / "drive_d";
        std::filesystem::create_directories(host);
        machine.Image().Files().AddMount("D:\\", host.string());
        EXPECT_TRUE(CreateDirectories(machine.Ports().fs, kRootPath));
        RefreshDriverList(inventory);
    }

    void SetOption(const char* option) {
        SettingsStore settings(machine.Ports().registry);
        settings.WriteSetting(kSetBackupOption, option);
    }
    std::vector<BackupItem> Items(bool nonMicrosoftOnly = true) {
        std::vector<BackupItem> items;
        auto listed = CollectListedDrivers(inventory, nonMicrosoftOnly);
        for (std::size_t i = 0; i < listed.size(); ++i)
            items.push_back({static_cast<int>(i), listed[i].recordIndex});
        return items;
    }
    BackupSummary Run(const std::vector<BackupItem>& items, const std::string& root = kRootPath) {
        BackupRun run(app, inventory);
        return run.Run(root, items, observer);
    }
    std::string Read(const std::string& path) {
        std::string bytes;
        EXPECT_TRUE(ReadWholeFile(machine.Ports().fs, path, &bytes)) << path;
        return bytes;
    }
    bool Exists(const std::string& path) { return machine.Ports().fs.Exists(path); }
    // Name -> bytes of every file directly in a folder; subfolders are reported by name with "/".
    std::map<std::string, std::string> Contents(const std::string& folder) {
        std::vector<FindData> entries;
        machine.Ports().fs.FindFiles(folder + "\\*", &entries);
        std::map<std::string, std::string> files;
        for (const auto& entry : entries) {
            if (entry.name == "." || entry.name == "..")
                continue;
            if (entry.IsDirectory())
                files[entry.name + "/"] = "";
            else
                files[entry.name] = Read(folder + "\\" + entry.name);
        }
        return files;
    }
    std::filesystem::path Host(const std::string& windowsPath) {
        std::filesystem::path host;
        EXPECT_TRUE(machine.Image().Files().MapPath(windowsPath, &host));
        return host;
    }
    // Entry name -> bytes, read back through our reader; empty when the archive does not open.
    std::map<std::string, std::string> ZipContents(const std::string& path, std::string* error = nullptr) {
        ZipReader reader(machine.Ports().fs);
        std::map<std::string, std::string> files;
        if (!reader.Open(path)) {
            if (error)
                *error = reader.Error();
            return files;
        }
        for (std::size_t i = 0; i < reader.Entries().size(); ++i) {
            std::string data, why;
            if (!reader.ReadEntry(i, "", &data, &why) && error)
                *error = reader.Entries()[i].name + ": " + why;
            files[reader.Entries()[i].name] = data;
        }
        return files;
    }
    void AddResource(int id, std::string bytes) { machine.Image().Resources().items[id] = std::move(bytes); }

    App app{machine.Ports()};
    RecordingObserver observer;
};

inline std::string BackupFolder(const std::string& name) {
    return std::string(kRootPath) + "\\" + name;
}

inline bool HasTool(const char* tool) {
    return std::system((std::string("command -v ") + tool + " >/dev/null 2>&1").c_str()) == 0;
}

// The files of the two vendor drivers as a backup must hold them, by "Folder/name".
inline std::map<std::string, std::string> ExpectedBackupFiles() {
    std::string acme = std::string(kAcmeFolder) + "/";
    return {{acme + "oem1.inf", kAcmeInf},
            {acme + "acme.cat", "catalog"},
            {acme + "acme.sy_", std::string(3000, 'A')},
            {acme + "acmehelp.dll", "help"},
            {"Birch Audio/oem2.inf", kBirchInf},
            {"Birch Audio/birch.sys", std::string(5000, 'B')}};
}

} // namespace vantrel::test
