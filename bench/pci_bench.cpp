// Times the device detector against the full pcidevs.txt: naming 50 PCI devices of a machine
// image (one read of the database, its index, the registry walk and the look-ups) against the
// raw cost of reading and splitting the same file once, which a profile-file look-up pays for
// every single name. Prints "name: value" lines.
//
//   pci_bench [--db pcidevs.txt] [--devices 50] [--rounds 20] [--work DIR]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "devices/Detection.h"
#include "platform/FileSystem.h"
#include "platform/image/MachineImage.h"

namespace fs = std::filesystem;

namespace {

struct Options {
    fs::path db;
    int devices = 50;
    int rounds = 20;
    fs::path work;
};

double Millis(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

std::string ReadHostFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Hardware ids for the subsystem lines of the database, spread over the whole file so that
// look-ups do not all hit its start.
std::vector<std::string> PickHardwareIds(const std::string& text, int count) {
    std::vector<std::string> subsystemKeys;
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        auto equals = line.find('=');
        if (equals == 19) // "VVVV:DDDD:SSSS:ssss"
            subsystemKeys.push_back(line.substr(0, equals));
    }
    std::vector<std::string> ids;
    if (subsystemKeys.empty())
        return ids;
    std::size_t step = std::max<std::size_t>(1, subsystemKeys.size() / static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < subsystemKeys.size() && ids.size() < static_cast<std::size_t>(count);
         i += step) {
        const std::string& k = subsystemKeys[i];
        ids.push_back("PCI\\VEN_" + k.substr(0, 4) + "&DEV_" + k.substr(5, 4) + "&SUBSYS_" + k.substr(10, 4) +
                      k.substr(15, 4) + "&REV_01");
    }
    return ids;
}

void BuildImage(const fs::path& root, const fs::path& db, const std::vector<std::string>& ids) {
    fs::remove_all(root);
    fs::create_directories(root / "registry");
    fs::create_directories(root / "program");
    std::ofstream(root / "machine.ini", std::ios::binary)
        << "[system]\r\nmajor=10\r\nminor=0\r\nbuild=19045\r\nplatform=2\r\narch=x64\r\n";
    fs::copy_file(db, root / "program" / vantrel::kDeviceDatabaseFile);
    std::string reg = "Windows Registry Editor Version 5.00\r\n\r\n";
    for (std::size_t i = 0; i < ids.size(); ++i) {
        std::string escaped;
        for (char c : ids[i]) {
            escaped += c;
            if (c == '\\')
                escaped += '\\';
        }
        reg += "[HKEY_LOCAL_MACHINE\\" + std::string(vantrel::kPciEnumKey) + "\\" + ids[i].substr(4) +
               "\\3&2411e6fe&0&" + std::to_string(i) + "]\r\n\"HardwareID\"=\"" + escaped +
               "\"\r\n\"DeviceDesc\"=\"Device " + std::to_string(i) + "\"\r\n\"Class\"=\"System\"\r\n\r\n";
    }
    std::ofstream(root / "registry/system.reg", std::ios::binary) << reg;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string name = argv[i];
        if (name == "--db")
            options.db = argv[i + 1];
        else if (name == "--devices")
            options.devices = std::atoi(argv[i + 1]);
        else if (name == "--rounds")
            options.rounds = std::max(1, std::atoi(argv[i + 1]));
        else if (name == "--work")
            options.work = argv[i + 1];
    }
    if (options.db.empty()) {
        std::error_code ec;
        options.db = fs::read_symlink("/proc/self/exe", ec).parent_path().parent_path() / "pcidevs.txt";
    }
    if (options.work.empty())
        options.work = fs::temp_directory_path() / ("pci_bench." + std::to_string(getpid()));
    std::string text = ReadHostFile(options.db);
    auto ids = PickHardwareIds(text, options.devices);
    if (ids.empty()) {
        std::fprintf(stderr, "pci_bench: no subsystem lines in %s\n", options.db.string().c_str());
        return 1;
    }
    fs::path root = options.work / "machine";
    BuildImage(root, options.db, ids);
    std::string error;
    auto image = vantrel::LoadMachineImage(root.string(), (root / "program").string(), &error);
    if (!image) {
        std::fprintf(stderr, "pci_bench: %s\n", error.c_str());
        return 1;
    }
    vantrel::Platform& ports = image->Ports();
    // machine.ini names no program folder, so the image has it at the default place.
    std::string dbPath = "C:\\Program Files\\Vantrel\\" + std::string(vantrel::kDeviceDatabaseFile);
    // The best of several rounds of each, so that a busy machine disturbs both alike.
    double readOnce = 1e9, lookup = 1e9;
    std::size_t named = 0;
    for (int round = 0; round < options.rounds; ++round) {
        auto start = std::chrono::steady_clock::now();
        auto bytes = ports.fs.ReadAll(dbPath, 256u << 20);
        std::size_t lines = 0;
        if (bytes) {
            std::string_view all = bytes->View();
            for (std::size_t at = 0; at < all.size();) {
                std::size_t end = all.find('\n', at);
                std::string_view line =
                    all.substr(at, end == std::string_view::npos ? all.size() - at : end - at);
                lines += line.find('=') != std::string_view::npos;
                at = end == std::string_view::npos ? all.size() : end + 1;
            }
        }
        readOnce = std::min(readOnce, Millis(start));
        if (lines == 0) {
            std::fprintf(stderr, "pci_bench: cannot read %s in the image\n", dbPath.c_str());
            return 1;
        }

        start = std::chrono::steady_clock::now();
        vantrel::DeviceDatabase db;
        vantrel::LoadDeviceDatabase(ports.fs, dbPath, &db);
        auto devices = vantrel::DetectDevices(ports.registry, vantrel::kPciEnumKey, db);
        lookup = std::min(lookup, Millis(start));
        named = static_cast<std::size_t>(std::count_if(devices.begin(), devices.end(), [](const auto& d) {
            return d.names.oemVendor != vantrel::kOemVendorUnknown;
        }));
    }
    std::printf("pci_devices: %zu\n", ids.size());
    std::printf("pci_devices_named: %zu\n", named);
    std::printf("pci_db_bytes: %zu\n", text.size());
    std::printf("pci_lookup_ms: %.3f\n", lookup);
    std::printf("pci_read_once_ms: %.3f\n", readOnce);
    std::printf("pci_ratio: %.2f\n", lookup / readOnce);
    fs::remove_all(options.work);
    return named == ids.size() ? 0 : 1;
}
