// Builds a machine image with many vendor drivers and their files, then times a folder
// backup of all of them (search, drvbck.pdb, copies) against cp of the same files, and a
// zip backup. Prints "name: value" lines.
//
//   backup_bench [--drivers 200] [--files 8] [--kb 256] [--filler 3000] [--work DIR]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

#include "app/App.h"
#include "app/Settings.h"
#include "backup/BackupRun.h"
#include "inventory/BackupListPage.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/MachineImage.h"

namespace fs = std::filesystem;

namespace {

struct Options {
    int drivers = 200;
    int files = 8; // driver files per driver, besides its INF
    std::uint64_t kb = 256;
    int filler = 3000; // other files under the Windows folder the search must look through
    fs::path work;
};

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void Write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string Quote(const fs::path& path) {
    return "'" + path.string() + "'";
}

void Print(const char* name, double value) {
    std::printf("%s: %.3f\n", name, value);
}

// The image, and the host paths of every file a full backup copies.
std::vector<fs::path> BuildImage(const Options& options, const fs::path& root, std::uint64_t* bytes) {
    std::mt19937 random(7);
    std::vector<fs::path> files;
    *bytes = 0;
    Write(root / "machine.ini",
          "[system]\r\nmajor=10\r\nminor=0\r\nbuild=19045\r\nplatform=2\r\narch=x86\r\n");
    fs::path windows = root / "drive_c/windows";
    const std::string netClass = "{4d36e972-e325-11ce-bfc1-08002be10318}";
    std::string reg = "Windows Registry Editor Version 5.00\r\n\r\n";
    for (int d = 0; d < options.drivers; ++d) {
        std::string n = std::to_string(d);
        std::string inf =
            "[Version]\r\nSignature=\"$Windows NT$\"\r\n[Install]\r\nCopyFiles=Drv.Copy\r\n[Drv.Copy]\r\n";
        for (int f = 0; f < options.files; ++f) {
            std::string name = "drv" + n + "_" + std::to_string(f) + ".sys";
            inf += name + "\r\n";
            std::string data(static_cast<std::size_t>(options.kb << 10), '\0');
            for (auto& c : data)
                c = static_cast<char>(random());
            fs::path file = windows / "system32/drivers" / name;
            Write(file, data);
            files.push_back(file);
            *bytes += data.size();
        }
        fs::path infFile = windows / "inf" / ("oem" + n + ".inf");
        Write(infFile, inf);
        files.push_back(infFile);
        *bytes += inf.size();

        char number[16];
        std::snprintf(number, sizeof number, "%04d", d);
        reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum\\PCI\\VEN_" + n + "\\0]\r\n";
        reg += "\"Driver\"=\"" + netClass + "\\\\" + number + "\"\r\n\r\n";
        reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class\\" + netClass + "\\" + number +
               "]\r\n";
        reg += "\"DriverDesc\"=\"Example Adapter " + n + "\"\r\n\"ProviderName\"=\"Example\"\r\n";
        reg += "\"InfPath\"=\"oem" + n + ".inf\"\r\n\"InfSection\"=\"Install\"\r\n";
        reg += "\"DriverDate\"=\"6-21-2019\"\r\n\"DriverVersion\"=\"1.0\"\r\n\r\n";
    }
    // Unrelated files spread over folders, as a Windows folder holds them.
    for (int f = 0; f < options.filler; ++f)
        Write(windows / ("WinSxS/pkg" + std::to_string(f % 300)) / ("file" + std::to_string(f) + ".dll"),
              "x");
    Write(root / "registry/system.reg", reg);
    return files;
}

struct Machine {
    std::unique_ptr<vantrel::ImagePlatform> image;
    std::unique_ptr<vantrel::App> app;
    std::unique_ptr<vantrel::Inventory> inventory;
    std::vector<vantrel::BackupItem> items;
};

Machine Open(const fs::path& root, const fs::path& target, const char* option) {
    Machine machine;
    std::string error;
    machine.image = vantrel::LoadMachineImage(root.string(), (root / "program").string(), &error);
    if (!machine.image) {
        std::fprintf(stderr, "backup_bench: %s\n", error.c_str());
        std::exit(1);
    }
    vantrel::Platform& ports = machine.image->Ports();
    fs::create_directories(target);
    machine.image->Files().AddMount("D:\\", target.string());
    vantrel::CreateDirectories(ports.fs, "D:\\Drivers Backup");
    vantrel::SettingsStore(ports.registry).WriteSetting(vantrel::kSetBackupOption, option);
    machine.app = std::make_unique<vantrel::App>(ports);
    machine.inventory = std::make_unique<vantrel::Inventory>(ports);
    vantrel::RefreshDriverList(*machine.inventory);
    auto listed = vantrel::CollectListedDrivers(*machine.inventory, true);
    for (std::size_t i = 0; i < listed.size(); ++i)
        machine.items.push_back({static_cast<int>(i), listed[i].recordIndex});
    return machine;
}

class QuietObserver : public vantrel::BackupObserver {
public:
    void DriverStarted(int) override {}
    void ClearLog() override {}
    void AppendLog(const std::string&) override {}
    void Progress(int) override {}
    void Pump() override {}
    bool Cancelled() override { return false; }
};

double TimeRun(Machine& machine, vantrel::BackupSummary* summary) {
    QuietObserver observer;
    vantrel::BackupRun run(*machine.app, *machine.inventory);
    auto start = std::chrono::steady_clock::now();
    *summary = run.Run("D:\\Drivers Backup", machine.items, observer);
    return Seconds(start);
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string name = argv[i];
        if (name == "--drivers")
            options.drivers = std::atoi(argv[i + 1]);
        else if (name == "--files")
            options.files = std::atoi(argv[i + 1]);
        else if (name == "--kb")
            options.kb = std::strtoull(argv[i + 1], nullptr, 10);
        else if (name == "--filler")
            options.filler = std::atoi(argv[i + 1]);
        else if (name == "--work")
            options.work = argv[i + 1];
    }
    bool ownWork = options.work.empty();
    if (ownWork)
        options.work = fs::temp_directory_path() / ("backup_bench." + std::to_string(::getpid()));
    fs::remove_all(options.work);
    fs::path root = options.work / "image";
    std::uint64_t bytes = 0;
    std::vector<fs::path> files = BuildImage(options, root, &bytes);
    std::printf("drivers: %d\nfiles: %zu\n", options.drivers, files.size());
    Print("input_mb", static_cast<double>(bytes) / 1048576.0);

    // The run's copy step, with the search and the information files it needs.
    Machine folder = Open(root, options.work / "out-folder", vantrel::kBckFolder);
    vantrel::BackupSummary summary;
    double runSeconds = TimeRun(folder, &summary);
    if (summary.filesCopied != static_cast<int>(files.size()) || !summary.filesFailed.empty())
        std::fprintf(stderr, "backup_bench: copied %d of %zu files\n", summary.filesCopied, files.size());
    Print("backup_folder_s", runSeconds);
    Print("backup_folder_mb_s", static_cast<double>(bytes) / 1048576.0 / runSeconds);

    // cp of the same files into one folder per driver, one cp call per driver as a script would.
    fs::path cpOut = options.work / "out-cp";
    std::string script;
    for (int d = 0; d < options.drivers; ++d) {
        fs::path to = cpOut / ("Example Adapter " + std::to_string(d));
        script += "mkdir -p " + Quote(to) + " && cp";
        for (int f = 0; f < options.files; ++f)
            script += " " + Quote(files[static_cast<std::size_t>(d * (options.files + 1) + f)]);
        script += " " + Quote(files[static_cast<std::size_t>(d * (options.files + 1) + options.files)]);
        script += " " + Quote(to) + " || exit 1\n";
    }
    fs::path scriptFile = options.work / "cp.sh";
    Write(scriptFile, script);
    auto cpStart = std::chrono::steady_clock::now();
    int rc = std::system(("sh " + Quote(scriptFile)).c_str());
    double cpSeconds = Seconds(cpStart);
    if (rc == 0) {
        Print("cp_s", cpSeconds);
        Print("copy_vs_cp_ratio", runSeconds / cpSeconds);
    }

    Machine zip = Open(root, options.work / "out-zip", vantrel::kBckZip);
    double zipSeconds = TimeRun(zip, &summary);
    Print("backup_zip_s", zipSeconds);
    Print("backup_zip_mb_s", static_cast<double>(bytes) / 1048576.0 / zipSeconds);

    if (ownWork)
        fs::remove_all(options.work);
    return 0;
}
