// Times listing the drivers of a mounted Windows (SYSTEM and SOFTWARE hives read with hivex)
// against the same machine as a .reg image. Prints "name: value" lines.
//
//   offline_bench [--devices 3000] [--drivers 1500] [--work DIR] [--rounds 3]
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "HiveMaker.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"
#include "platform/image/MachineImage.h"
#include "platform/image/OfflineWindows.h"

namespace fs = std::filesystem;

namespace {

struct Options {
    int devices = 3000;
    int drivers = 1500;
    int rounds = 3;
    fs::path work;
};

double Ms(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

void Write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

// The .reg image: devices spread over the buses, two instances per driver key.
void BuildImage(const Options& options, const fs::path& root) {
    Write(root / "machine.ini",
          "[system]\r\nmajor=10\r\nminor=0\r\nbuild=19045\r\nplatform=2\r\narch=x64\r\n");
    const std::string netClass = "{4d36e972-e325-11ce-bfc1-08002be10318}";
    std::string reg = "Windows Registry Editor Version 5.00\r\n\r\n";
    reg += "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion]\r\n"
           "\"CurrentBuildNumber\"=\"19045\"\r\n\"CurrentMajorVersionNumber\"=dword:0000000a\r\n"
           "\"CurrentMinorVersionNumber\"=dword:00000000\r\n\"SystemRoot\"=\"C:\\\\WINDOWS\"\r\n\r\n";
    reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment]\r\n"
           "\"PROCESSOR_ARCHITECTURE\"=\"AMD64\"\r\n\r\n";
    reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class\\" + netClass +
           "]\r\n@=\"Network adapters\"\r\n\"Class\"=\"Net\"\r\n\r\n";
    const char* buses[] = {"PCI", "USB", "HID", "HDAUDIO", "ACPI", "ROOT", "SWD", "DISPLAY"};
    for (int d = 0; d < options.devices; ++d) {
        char number[16];
        std::snprintf(number, sizeof number, "%04d", d % options.drivers);
        std::string ids = "PCI\\VEN_8086&DEV_" + std::to_string(1000 + d % 400) + "&SUBSYS_" + number;
        reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum\\" + std::string(buses[d % 8]) +
               "\\VEN_8086&DEV_" + std::to_string(1000 + d % 400) + "\\" + std::to_string(d) + "&0]\r\n";
        reg += "\"Driver\"=\"" + netClass + "\\\\" + number + "\"\r\n";
        reg += "\"DeviceDesc\"=\"Example Network Adapter " + std::to_string(d) + "\"\r\n\r\n";
    }
    for (int k = 0; k < options.drivers; ++k) {
        char number[16];
        std::snprintf(number, sizeof number, "%04d", k);
        reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class\\" + netClass + "\\" + number +
               "]\r\n";
        reg += "\"DriverDesc\"=\"Example Network Adapter " + std::to_string(k) + "\"\r\n";
        reg += "\"ProviderName\"=\"" + std::string(k % 5 == 4 ? "Microsoft" : "Example Devices") + "\"\r\n";
        reg += "\"InfPath\"=\"oem" + std::to_string(k) + ".inf\"\r\n\"InfSection\"=\"Install.NT\"\r\n";
        reg +=
            "\"DriverDate\"=\"6-21-2019\"\r\n\"DriverVersion\"=\"1.0." + std::to_string(k) + ".0\"\r\n\r\n";
    }
    Write(root / "registry/system.reg", reg);
    fs::create_directories(root / "drive_c/Windows/SysWOW64");
}

// The same machine as a mounted Windows tree.
bool BuildTree(const fs::path& image, const fs::path& tree) {
    vantrel::ImageRegistry reg;
    std::string error;
    if (!reg.LoadRegFile((image / "registry/system.reg").string(), &error)) {
        std::fprintf(stderr, "offline_bench: %s\n", error.c_str());
        return false;
    }
    fs::create_directories(tree / "Windows/SysWOW64");
    const fs::path config = tree / "Windows/System32/config";
    return vantrel::WriteHive(reg, "SYSTEM", config / "SYSTEM") &&
           vantrel::WriteHive(reg, "SOFTWARE", config / "SOFTWARE");
}

// Opening the machine and listing its drivers, as `vantrel list` does.
double ListOnce(bool offline, const fs::path& root, int* records) {
    auto start = std::chrono::steady_clock::now();
    std::string error;
    std::unique_ptr<vantrel::ImagePlatform> machine =
        offline ? vantrel::OpenOfflineWindows(root.string(), "", {}, &error)
                : vantrel::LoadMachineImage(root.string(), "", &error);
    if (!machine) {
        std::fprintf(stderr, "offline_bench: %s\n", error.c_str());
        std::exit(1);
    }
    vantrel::Inventory inventory(machine->Ports());
    vantrel::RefreshDriverList(inventory);
    *records = inventory.drivers.Count();
    return Ms(start);
}

bool ParseArgs(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (i + 1 >= argc)
            return false;
        std::string value = argv[++i];
        if (arg == "--devices")
            options->devices = std::atoi(value.c_str());
        else if (arg == "--drivers")
            options->drivers = std::atoi(value.c_str());
        else if (arg == "--rounds")
            options->rounds = std::atoi(value.c_str());
        else if (arg == "--work")
            options->work = value;
        else
            return false;
    }
    return options->devices > 0 && options->drivers > 0 && options->rounds > 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseArgs(argc, argv, &options)) {
        std::fprintf(stderr, "usage: offline_bench [--devices N] [--drivers N] [--work DIR] [--rounds N]\n");
        return 2;
    }
    bool ownWork = options.work.empty();
    if (ownWork)
        options.work = fs::temp_directory_path() / ("vantrel-offline-bench-" + std::to_string(::getpid()));
    fs::remove_all(options.work);
    const fs::path image = options.work / "image", tree = options.work / "mnt";
    auto buildStart = std::chrono::steady_clock::now();
    BuildImage(options, image);
    if (!BuildTree(image, tree)) {
        std::fprintf(stderr, "offline_bench: hivexregedit could not make the hives\n");
        return 1;
    }
    double buildMs = Ms(buildStart);

    // Alternate the two so both see the same warm page cache; keep the best round of each.
    double offlineMs = 1e300, regMs = 1e300;
    int offlineRecords = 0, regRecords = 0;
    for (int round = 0; round < options.rounds; ++round) {
        offlineMs = std::min(offlineMs, ListOnce(true, tree, &offlineRecords));
        regMs = std::min(regMs, ListOnce(false, image, &regRecords));
    }
    std::printf("devices: %d\n", options.devices);
    std::printf("driver_keys: %d\n", options.drivers);
    std::printf("system_hive_bytes: %llu\n",
                static_cast<unsigned long long>(fs::file_size(tree / "Windows/System32/config/SYSTEM")));
    std::printf("reg_image_bytes: %llu\n",
                static_cast<unsigned long long>(fs::file_size(image / "registry/system.reg")));
    std::printf("build_ms: %.1f\n", buildMs);
    std::printf("records: %d (reg image %d)\n", offlineRecords, regRecords);
    std::printf("offline_list_ms: %.1f\n", offlineMs);
    std::printf("reg_image_list_ms: %.1f\n", regMs);
    std::printf("offline_ratio: %.2f\n", offlineMs / std::max(regMs, 0.001));
    if (ownWork)
        fs::remove_all(options.work);
    return offlineRecords == regRecords ? 0 : 1;
}
