// vantrel devices: the PCI devices of the machine, named from the device database.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "Cli.h"
#include "app/App.h"
#include "app/Startup.h"
#include "devices/Detection.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {

std::vector<std::string> Cells(const DetectedDevice& device) {
    bool oem = device.ids.subsystem != kNoSubsystem;
    return {device.name,
            device.className,
            device.hardwareId,
            device.names.chipName,
            device.names.chipVendor,
            oem ? device.names.oemName : std::string(),
            oem ? device.names.oemVendor : std::string()};
}

} // namespace

int RunDevices(CliArgs& args) {
    std::string error, imageDir, dbFile;
    args.TakeValue("--image", &imageDir, &error);
    if (error.empty())
        args.TakeValue("--db", &dbFile, &error);
    bool csv = args.TakeFlag("--csv");
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr,
                     "vantrel devices: %s\nusage: vantrel devices [--image DIR] [--db FILE] [--csv]\n",
                     error.empty() ? "unexpected argument" : error.c_str());
        return 2;
    }
    auto machine = OpenMachine(imageDir, &error);
    if (!machine) {
        std::fprintf(stderr, "vantrel devices: %s\n", error.c_str());
        return 1;
    }
    Platform& platform = machine->Ports();
    App app(platform);
    RunStartup(app);

    DeviceDatabase db;
    bool loaded = false;
    if (!dbFile.empty()) {
        std::ifstream in(dbFile, std::ios::binary);
        if (in) {
            db.Load(std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>()));
            loaded = true;
        }
    } else {
        loaded = LoadDeviceDatabase(platform.fs, app.appPath + kDeviceDatabaseFile, &db);
    }
    if (!loaded) {
        std::fprintf(stderr, "vantrel devices: %s\n", MissingDatabaseMessage(app).c_str());
        return 1;
    }
    std::string enumKey = PciEnumKeyFor(platform.system.GetVersion());
    if (enumKey.empty()) {
        std::fprintf(stderr, "vantrel devices: %s\n", UnsupportedWindowsMessage(app).c_str());
        return 1;
    }
    std::vector<DetectedDevice> devices = DetectDevices(platform.registry, enumKey, db);

    static const char* headers[] = {"Name",       "Class",   "HardwareId", "ChipName",
                                    "ChipVendor", "OemName", "OemVendor"};
    if (csv) {
#ifdef _WIN32
        _setmode(_fileno(stdout), _O_BINARY); // the CRLF line ends are ours
#endif
        std::string out;
        auto addRow = [&out](const std::vector<std::string>& cells) {
            for (std::size_t i = 0; i < cells.size(); ++i) {
                if (i > 0)
                    out += ',';
                out += CsvField(cells[i]);
            }
            out += "\r\n";
        };
        addRow(std::vector<std::string>(std::begin(headers), std::end(headers)));
        for (const auto& device : devices)
            addRow(Cells(device));
        std::fwrite(out.data(), 1, out.size(), stdout);
        return 0;
    }
    for (const auto& device : devices) {
        std::printf("%s  [%s]\n", device.name.c_str(), device.className.c_str());
        // The details text as the dialog shows it, indented under the device.
        for (const std::string& line : Split(DeviceDetails(app, device), '\n')) {
            if (!line.empty())
                std::printf("    %s\n", line.substr(0, line.find('\r')).c_str());
        }
        std::printf("\n");
    }
    std::printf("%zu PCI device(s)\n", devices.size());
    return 0;
}

} // namespace vantrel
