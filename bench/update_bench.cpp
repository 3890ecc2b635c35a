// Times one update search over a large database against the raw cost of extracting and reading
// that database once, and prints "name: value" lines:
//   update_search_ms   the whole search (extract, read, index, look up 300 devices)
//   db_read_once_ms    extracting the text and reading it once
//   update_ratio       their quotient
//   peak_memory_kb     the measuring process's peak
//
//   update_bench [--work DIR] [--devices 500000] [--records 200000]
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "archive/ZipReader.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/ImageProfile.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/MachineImage.h"
#include "updates/AddressCipher.h"
#include "updates/UpdateDatabase.h"
#include "updates/UpdateKeys.h"
#include "updates/UpdateSearch.h"

namespace fs = std::filesystem;
using namespace vantrel;

namespace {

constexpr char kDatabase[] = "C:\\Program Files\\Vantrel\\DriverDB.dat";
constexpr int kImageDevices = 300;

double Ms(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

std::string Hex(unsigned value, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", digits, value);
    return text;
}

// The hardware IDs of the image's devices and the keys they make, of every kind.
std::vector<std::string> DeviceIds() {
    std::vector<std::string> ids;
    for (int i = 0; i < kImageDevices; ++i) {
        std::string v = Hex(0x1000 + i % 97, 4), d = Hex(0x2000 + i * 7, 4), s = Hex(0x10000000u + i * 13, 8);
        switch (i % 6) {
        case 0:
        case 1:
            ids.push_back("PCI\\VEN_" + v + "&DEV_" + d + "&SUBSYS_" + s + "&REV_01");
            break;
        case 2:
            ids.push_back("USB\\VID_" + v + "&PID_" + d + "&REV_0100");
            break;
        case 3:
            ids.push_back("HDAUDIO\\FUNC_01&VEN_" + v + "&DEV_" + d + "&SUBSYS_" + s + "&REV_1000");
            break;
        case 4:
            ids.push_back("MONITOR\\MON" + Hex(i, 4));
            break;
        default:
            ids.push_back("USBPRINT\\VENDORPRINTER_" + Hex(i, 6));
            break;
        }
    }
    return ids;
}

void Generate(const fs::path& program, int deviceLines, int recordLines) {
    std::mt19937 random(42);
    std::string text = "20250301\r\n";
    text.reserve(static_cast<std::size_t>(deviceLines) * 160 + static_cast<std::size_t>(recordLines) * 220);
    auto deviceLine = [&](const std::string& key) {
        text += key + ":";
        for (int slot = 0; slot < kOsSlotCount; ++slot) {
            unsigned number = random() % 3 == 0 ? 1 + random() % static_cast<unsigned>(recordLines) : 0;
            char slotText[8];
            std::snprintf(slotText, sizeof slotText, "%06u:", number);
            text += slotText;
        }
        text += "\r\n";
    };
    // The image's devices are spread through the file; the rest are filler of the same shapes.
    std::vector<std::string> keys;
    for (const auto& id : DeviceIds())
        keys.push_back(MakeLookupKey(id));
    int every = deviceLines / static_cast<int>(keys.size());
    for (int i = 0; i < deviceLines; ++i) {
        if (i % every == every / 2 && static_cast<std::size_t>(i / every) < keys.size())
            deviceLine(keys[static_cast<std::size_t>(i / every)]);
        else
            deviceLine("P" + Hex(random() & 0xFFFF, 4) + ":" + Hex(random() & 0xFFFF, 4) + ":" +
                       (i % 4 == 0 ? std::string(kWildcardSubsystem) : Hex(random(), 8)));
    }
    for (int i = 1; i <= recordLines; ++i) {
        char head[16];
        std::snprintf(head, sizeof head, "%06dD:", i);
        text += head;
        text += "Vendor " + std::to_string(random() % 500) + " Device Driver for Windows 10 x64$" +
                std::to_string(random() % 300) + ".5$Vendor$20" + std::to_string(10 + random() % 15) + "0" +
                std::to_string(1 + random() % 9) + "1" + std::to_string(random() % 10) + "$1.0." +
                std::to_string(i) + "$Net$1$" +
                EncipherAddress("https://files.vendor.example/drivers/" + std::to_string(i) + ".zip") +
                "\r\n";
    }
    MachineFacts facts;
    ImagePlatform image("", facts, program.string());
    std::string error;
    if (!WriteUpdateDatabase(image.Ports().fs, kDatabase, std::move(text), &error)) {
        std::fprintf(stderr, "update_bench: %s\n", error.c_str());
        std::exit(1);
    }
}

int Measure(const fs::path& work) {
    fs::create_directories(work / "image");
    MachineFacts facts;
    ImagePlatform image((work / "image").string(), facts, (work / "program").string());
    Platform& platform = image.Ports();
    Inventory inventory(platform);
    for (const auto& id : DeviceIds()) {
        DriverRecord* record = inventory.drivers.Append();
        record->driverDesc.Set("Device " + id);
        record->hardwareId.Set(id);
        record->driverDate.Set("2015-06-01");
    }
    std::string temp = platform.system.GetTempPath();
    CreateDirectories(platform.fs, temp);

    double search = 1e18, once = 1e18;
    std::size_t found = 0;
    for (int round = 0; round < 3; ++round) {
        auto start = std::chrono::steady_clock::now();
        ZipReader reader(platform.fs);
        ZipExtractOptions options;
        options.password = kUpdateDbPassword;
        std::string bytes;
        ZipResult extracted;
        if (reader.Open(kDatabase))
            extracted = reader.Extract(temp, options);
        if (!extracted.ok || !ReadWholeFile(platform.fs, temp + kUpdateDbEntry, &bytes)) {
            std::fprintf(stderr, "update_bench: cannot extract %s: %s%s\n", kDatabase, reader.Error().c_str(),
                         extracted.error.c_str());
            return 1;
        }
        // Reading it once: every line looked at.
        std::size_t lines = std::count(bytes.begin(), bytes.end(), '\n');
        platform.fs.DeleteFile(temp + kUpdateDbEntry);
        once = std::min(once, Ms(start));
        if (lines == 0)
            return 1;

        start = std::chrono::steady_clock::now();
        UpdateSearch result = SearchUpdates(inventory, kDatabase, "Win10x64", false);
        search = std::min(search, Ms(start));
        found = result.listed.size();
        if (result.status != UpdateSearchStatus::Done) {
            std::fprintf(stderr, "update_bench: the search found no database\n");
            return 1;
        }
    }
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    std::printf("update_devices: %d\n", kImageDevices);
    std::printf("update_results: %zu\n", found);
    std::printf("update_search_ms: %.1f\n", search);
    std::printf("db_read_once_ms: %.1f\n", once);
    std::printf("update_ratio: %.2f\n", search / once);
    std::printf("peak_memory_kb: %ld\n", usage.ru_maxrss);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    fs::path work = "update_bench_work";
    int devices = 500000, records = 200000;
    bool measure = false;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        bool hasValue = i + 1 < argc;
        if (arg == "--work" && hasValue)
            work = argv[++i];
        else if (arg == "--devices" && hasValue)
            devices = std::atoi(argv[++i]);
        else if (arg == "--records" && hasValue)
            records = std::atoi(argv[++i]);
        else if (arg == "--measure")
            measure = true;
        else {
            std::fprintf(stderr, "usage: update_bench [--work DIR] [--devices N] [--records N]\n");
            return 2;
        }
    }
    work = fs::absolute(work);
    if (measure)
        return Measure(work);
    fs::remove_all(work);
    fs::create_directories(work / "program");
    auto start = std::chrono::steady_clock::now();
    Generate(work / "program", std::max(devices, kImageDevices), std::max(records, 1));
    std::printf("update_generate_ms: %.0f\n", Ms(start));
    std::fflush(stdout);
    // Measured in a process of its own, so the peak memory is the search's, not the generator's.
    std::string self = fs::read_symlink("/proc/self/exe").string();
    int status = std::system(("'" + self + "' --measure --work '" + work.string() + "'").c_str());
    fs::remove_all(work);
    return status == 0 ? 0 : 1;
}
