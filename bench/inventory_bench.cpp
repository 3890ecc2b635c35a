// Builds a machine image with many devices and INF files, then times the driver inventory
// (the registry walk plus every driver's file list) against reading the same INF bytes once,
// as cat would. Prints "name: value" lines.
//
//   inventory_bench [--devices 3000] [--infs 1500] [--mb 60] [--work DIR] [--rounds 3]
//
// An image left in --work DIR by an earlier run is used again as it is.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "inventory/DriverFiles.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"
#include "platform/image/MachineImage.h"
#include "platform/image/RegFile.h"

namespace fs = std::filesystem;

namespace {

struct Options {
    int devices = 3000;
    int infs = 1500;
    std::uint64_t mb = 60;
    int rounds = 3;
    fs::path work;
};

double Ms(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

std::string Utf16(const std::string& ascii) {
    std::string out = "\xFF\xFE";
    out.reserve(ascii.size() * 2 + 2);
    for (char c : ascii) {
        out.push_back(c);
        out.push_back('\0');
    }
    return out;
}

// One vendor INF: two install sections (one per device that uses it), their co-installer
// sections and file lists, a models section and strings, padded with strings to `size` bytes.
std::string MakeInf(int n, std::size_t size, std::mt19937& random) {
    std::string t;
    t.reserve(size + 4096);
    t += "; Copyright (c) Example Devices. Driver package " + std::to_string(n) + "\r\n\r\n";
    t += "[Version]\r\nSignature=\"$Windows NT$\"\r\nClass=Net\r\n";
    t += "ClassGuid={4d36e972-e325-11ce-bfc1-08002be10318}\r\nProvider=%Vendor%\r\n";
    t += "CatalogFile=oem" + std::to_string(n) + ".cat\r\n";
    t += "CatalogFile.NTamd64=oem" + std::to_string(n) + "_64.cat\r\n";
    t += "DriverVer=0" + std::to_string(1 + n % 9) + "/1" + std::to_string(n % 10) + "/2019," +
         std::to_string(n % 7) + ".2." + std::to_string(n) + ".0\r\n\r\n";
    t += "[DestinationDirs]\r\nDefaultDestDir=12\r\nCoInst.Copy=11\r\n\r\n";
    t += "[Manufacturer]\r\n%Vendor%=Models,NTamd64\r\n\r\n[Models.NTamd64]\r\n";
    for (int m = 0; m < 60; ++m)
        t += "%Dev" + std::to_string(m) + ".Desc% = Install_" + std::to_string(1 + m % 2) +
             ", PCI\\VEN_8086&DEV_" + std::to_string(1000 + m) + "&SUBSYS_" +
             std::to_string(random() % 100000) + "\r\n";
    for (int s = 1; s <= 2; ++s) {
        std::string name = "Install_" + std::to_string(s);
        t += "\r\n[" + name + ".NT]\r\nCharacteristics=0x84\r\nBusType=5\r\n";
        t += "AddReg=" + name + ".Reg, Common.Reg\r\n";
        t += "CopyFiles=Drv.Copy" + std::to_string(s) + ", Common.Copy ; driver files\r\n";
        t += "CopyFiles=@helper" + std::to_string(s) + ".dll\r\n";
        t += "\r\n[" + name + ".NT.Services]\r\nAddService=drv" + std::to_string(n) + ",2,Svc\r\n";
        t += "\r\n[" + name + ".NT.CoInstallers]\r\nAddReg=CoInst.Reg\r\nCopyFiles=CoInst.Copy\r\n";
        t += "\r\n[Drv.Copy" + std::to_string(s) + "]\r\n";
        for (int f = 0; f < 6; ++f)
            t += "drv" + std::to_string(n) + "_" + std::to_string(s) + std::to_string(f) + ".sys,drv" +
                 std::to_string(f) + ".sy_,,2\r\n";
    }
    t += "\r\n[Common.Copy]\r\ncommon" + std::to_string(n) + ".dll\r\nres" + std::to_string(n) + ".dat\r\n";
    t += "\r\n[CoInst.Copy]\r\ncoinst" + std::to_string(n) + ".dll\r\n";
    t += "\r\n[Common.Reg]\r\nHKR,Ndi,Service,0,\"drv" + std::to_string(n) + "\"\r\n";
    t += "\r\n[Strings]\r\nVendor=\"Example Devices\"\r\n";
    for (int m = 0; t.size() < size; ++m)
        t += "Dev" + std::to_string(m) + ".Desc=\"Example Devices Network Adapter Model " +
             std::to_string(random() % 100000) + " (Rev " + std::to_string(m) + ")\"\r\n";
    return t;
}

void Write(const fs::path& file, const std::string& bytes) {
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

struct Image {
    std::vector<fs::path> infFiles;
    std::uint64_t infBytes = 0;
};

// machine.ini, registry/system.reg and the INF files under drive_c/windows.
Image BuildImage(const Options& options, const fs::path& root) {
    std::mt19937 random(42);
    Image image;
    Write(root / "machine.ini",
          "[system]\r\nmajor=10\r\nminor=0\r\nbuild=19045\r\nplatform=2\r\narch=x64\r\n");
    // Sizes spread around the mean; every fifth file is UTF-16LE and takes twice the bytes.
    std::uint64_t mean = (options.mb << 20) / static_cast<std::uint64_t>(options.infs) * 5 / 6;
    for (int n = 0; n < options.infs; ++n) {
        std::size_t size = static_cast<std::size_t>(mean / 2 + random() % mean);
        std::string text = MakeInf(n, size, random);
        bool wide = n % 5 == 0;
        fs::path file = root / "drive_c/windows/inf" / (n % 10 == 9 ? "other" : "") /
                        ("oem" + std::to_string(n) + ".inf");
        std::string bytes = wide ? Utf16(text) : text;
        Write(file, bytes);
        image.infFiles.push_back(file);
        image.infBytes += bytes.size();
    }

    const std::string netClass = "{4d36e972-e325-11ce-bfc1-08002be10318}";
    std::string reg = "Windows Registry Editor Version 5.00\r\n\r\n";
    reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class\\" + netClass +
           "]\r\n@=\"Network adapters\"\r\n\"Class\"=\"Net\"\r\n\r\n";
    const char* buses[] = {"PCI", "USB", "HID", "HDAUDIO", "ACPI", "ROOT", "SWD", "DISPLAY"};
    for (int d = 0; d < options.devices; ++d) {
        int inf = d / 2 % options.infs;
        char number[16];
        std::snprintf(number, sizeof number, "%04d", d);
        std::string instance = std::string(buses[d % 8]) + "\\VEN_8086&DEV_" +
                               std::to_string(1000 + d % 400) + "\\" + std::to_string(d) + "&0";
        std::string driver = netClass + "\\" + number;
        reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Enum\\" + instance + "]\r\n";
        reg += "\"Driver\"=\"" + netClass + "\\\\" + number + "\"\r\n";
        reg += "\"HardwareID\"=hex(7):";
        std::string ids = "PCI\\VEN_8086&DEV_" + std::to_string(1000 + d % 400) + "&SUBSYS_" + number;
        for (char c : ids) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "%02x,00,", static_cast<unsigned char>(c));
            reg += hex;
        }
        reg += "00,00,00,00\r\n\r\n";
        bool microsoft = d % 5 == 4;
        // A few devices share a description, as identical hubs and ports do.
        std::string desc = d % 50 == 1 ? "Generic USB Hub" : "Example Network Adapter " + std::to_string(d);
        reg += "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class\\" + driver + "]\r\n";
        reg += "\"DriverDesc\"=\"" + desc + "\"\r\n";
        reg += "\"ProviderName\"=\"" + std::string(microsoft ? "Microsoft" : "Example Devices") + "\"\r\n";
        reg += "\"InfPath\"=\"oem" + std::to_string(inf) + ".inf\"\r\n";
        reg += "\"InfSection\"=\"Install_" + std::to_string(1 + d % 2) + ".NT\"\r\n";
        reg += "\"MatchingDeviceId\"=\"" + ids + "\"\r\n";
        // A third of the drivers carry no date or version: those come from the INF.
        if (d % 3 != 0)
            reg +=
                "\"DriverDate\"=\"6-21-2019\"\r\n\"DriverVersion\"=\"1.0." + std::to_string(d) + ".0\"\r\n";
        reg += "\r\n";
    }
    Write(root / "registry/system.reg", reg);
    return image;
}

// What cat does with the files: read every byte once.
double ReadOnce(const Image& image, std::uint64_t* bytes) {
    auto start = std::chrono::steady_clock::now();
    std::vector<char> buffer(128 * 1024);
    *bytes = 0;
    for (const auto& file : image.infFiles) {
        std::FILE* in = std::fopen(file.c_str(), "rb");
        if (!in)
            continue;
        std::size_t n;
        while ((n = std::fread(buffer.data(), 1, buffer.size(), in)) > 0)
            *bytes += n;
        std::fclose(in);
    }
    return Ms(start);
}

struct InventoryTimes {
    double refreshMs = 0;
    double fileListsMs = 0;
    int records = 0;
    std::uint64_t files = 0;
    std::size_t infReads = 0;
};

InventoryTimes RunInventory(const fs::path& root) {
    std::string error;
    auto machine = vantrel::LoadMachineImage(root.string(), (root / "program").string(), &error);
    if (!machine) {
        std::fprintf(stderr, "inventory_bench: %s\n", error.c_str());
        std::exit(1);
    }
    vantrel::Inventory inventory(machine->Ports());
    InventoryTimes times;
    auto start = std::chrono::steady_clock::now();
    {
        vantrel::InventoryRun run(inventory);
        vantrel::RefreshDriverList(inventory);
        times.refreshMs = Ms(start);
        auto lists = std::chrono::steady_clock::now();
        for (int i = 1; i <= inventory.drivers.Count(); ++i) {
            vantrel::BuildDriverFileList(inventory, i);
            times.files += static_cast<std::uint64_t>(inventory.files.count);
        }
        times.fileListsMs = Ms(lists);
    }
    times.records = inventory.drivers.Count();
    times.infReads = inventory.InfReads();
    return times;
}

bool ParseArgs(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (i + 1 >= argc)
            return false;
        std::string value = argv[++i];
        if (arg == "--devices")
            options->devices = std::atoi(value.c_str());
        else if (arg == "--infs")
            options->infs = std::atoi(value.c_str());
        else if (arg == "--mb")
            options->mb = std::strtoull(value.c_str(), nullptr, 10);
        else if (arg == "--rounds")
            options->rounds = std::atoi(value.c_str());
        else if (arg == "--work")
            options->work = value;
        else
            return false;
    }
    return options->devices > 0 && options->infs > 0 && options->mb > 0 && options->rounds > 0;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ParseArgs(argc, argv, &options)) {
        std::fprintf(stderr,
                     "usage: inventory_bench [--devices N] [--infs N] [--mb N] [--work DIR] [--rounds N]\n");
        return 2;
    }
    bool ownWork = options.work.empty();
    if (ownWork)
        options.work = fs::temp_directory_path() / ("vantrel-inventory-bench-" + std::to_string(::getpid()));
    auto buildStart = std::chrono::steady_clock::now();
    Image image;
    if (!ownWork && fs::exists(options.work / "machine.ini")) {
        for (auto& entry : fs::recursive_directory_iterator(options.work / "drive_c")) {
            if (entry.is_regular_file() && entry.path().extension() == ".inf") {
                image.infFiles.push_back(entry.path());
                image.infBytes += entry.file_size();
            }
        }
    } else {
        fs::remove_all(options.work);
        image = BuildImage(options, options.work);
    }
    double buildMs = Ms(buildStart);

    // Alternate the two so that both see the same warm page cache; keep the best round of each.
    double readMs = 1e300, refreshMs = 1e300, listsMs = 1e300, totalMs = 1e300;
    std::uint64_t readBytes = 0;
    InventoryTimes last;
    for (int round = 0; round < options.rounds; ++round) {
        readMs = std::min(readMs, ReadOnce(image, &readBytes));
        last = RunInventory(options.work);
        refreshMs = std::min(refreshMs, last.refreshMs);
        listsMs = std::min(listsMs, last.fileListsMs);
        totalMs = std::min(totalMs, last.refreshMs + last.fileListsMs);
    }

    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("devices: %d\n", options.devices);
    std::printf("inf_files: %zu\n", image.infFiles.size());
    std::printf("inf_bytes: %llu\n", static_cast<unsigned long long>(image.infBytes));
    std::printf("image_build_ms: %.1f\n", buildMs);
    std::printf("records: %d\n", last.records);
    std::printf("driver_files_listed: %llu\n", static_cast<unsigned long long>(last.files));
    std::printf("inf_reads_per_run: %zu\n", last.infReads);
    std::printf("read_once_ms: %.1f\n", readMs);
    std::printf("refresh_ms: %.1f\n", refreshMs);
    std::printf("file_lists_ms: %.1f\n", listsMs);
    std::printf("inventory_ms: %.1f\n", totalMs);
    std::printf("peak_memory_kb: %ld\n", usage.ru_maxrss);
    std::printf("inventory_ratio: %.2f\n", totalMs / std::max(readMs, 0.001));
    if (ownWork)
        fs::remove_all(options.work);
    return 0;
}
