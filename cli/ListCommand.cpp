// vantrel list / vantrel show: the Backup tab's driver list and a driver's details.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "Cli.h"
#include "app/App.h"
#include "app/Startup.h"
#include "inventory/BackupListPage.h"
#include "inventory/DriverFiles.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"

namespace vantrel {

namespace {

std::string ForConsole(std::string text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            continue;
        out.push_back(text[i]);
    }
    return out;
}

void PrintTable(const std::vector<ListedDriver>& listed) {
    static const char* headers[] = {"Description", "Class", "Version", "Date", "Provider"};
    std::vector<std::size_t> widths;
    for (const char* header : headers)
        widths.push_back(std::string(header).size());
    for (const auto& driver : listed) {
        for (std::size_t c = 0; c < widths.size() && c < driver.row.cells.size(); ++c)
            widths[c] = std::max(widths[c], driver.row.cells[c].size());
    }
    auto printRow = [&](const char* mark, const std::vector<std::string>& cells) {
        std::string line = mark;
        for (std::size_t c = 0; c < widths.size(); ++c) {
            std::string cell = c < cells.size() ? cells[c] : std::string();
            line += cell;
            if (c + 1 < widths.size())
                line += std::string(widths[c] - cell.size() + 2, ' ');
        }
        std::printf("%s\n", line.c_str());
    };
    printRow("  ", std::vector<std::string>(std::begin(headers), std::end(headers)));
    for (const auto& driver : listed)
        printRow(driver.row.red ? "* " : "  ", driver.row.cells);
}

} // namespace

int RunList(CliArgs& args) {
    std::string error, imageDir;
    args.TakeValue("--image", &imageDir, &error);
    bool all = args.TakeFlag("--all");
    bool csv = args.TakeFlag("--csv");
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr, "vantrel list: %s\nusage: vantrel list [--all] [--image DIR] [--csv]\n",
                     error.empty() ? "unexpected argument" : error.c_str());
        return 2;
    }
    Machine machine;
    if (!OpenInventory("list", imageDir, &machine))
        return 1;
    Inventory& inventory = *machine.inventory;
    InventoryRun run(inventory);
    std::vector<ListedDriver> listed = CollectListedDrivers(inventory, !all);

    if (!csv) {
        PrintTable(listed);
        std::printf("\n%zu driver(s)%s\n\n%s\n", listed.size(),
                    all ? "; * marks the Non-Microsoft ones, shown in red" : "",
                    ForConsole(SearchTipText(*machine.app, !all)).c_str());
        return 0;
    }
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY); // the CRLF line ends are ours
#endif
    std::string out = "Description,Class,Version,Date,Provider,NonMicrosoft,HardwareId,Inf,Files\r\n";
    for (const auto& driver : listed) {
        BuildDriverFileList(inventory, driver.recordIndex);
        const DriverRecord& record = inventory.drivers[driver.recordIndex];
        std::vector<std::string> fields = driver.row.cells;
        fields.push_back(driver.row.red ? "yes" : "no");
        fields.push_back(record.hardwareId.Trimmed());
        fields.push_back(GetInfDisplayPath(inventory, driver.recordIndex));
        fields.push_back(std::to_string(inventory.files.count));
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (i)
                out += ',';
            out += CsvField(fields[i]);
        }
        out += "\r\n";
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    return 0;
}

int RunShow(CliArgs& args) {
    std::string error, imageDir;
    args.TakeValue("--image", &imageDir, &error);
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || rest.size() != 1) {
        std::fprintf(stderr, "vantrel show: %s\nusage: vantrel show \"<description>\" [--image DIR]\n",
                     !error.empty() ? error.c_str()
                     : rest.empty() ? "no description given"
                                    : "unexpected argument");
        return 2;
    }
    Machine machine;
    if (!OpenInventory("show", imageDir, &machine))
        return 1;
    // As a click on the row of Search All Drivers.
    for (const auto& driver : CollectListedDrivers(*machine.inventory, false)) {
        if (driver.row.cells[0] != rest[0])
            continue;
        std::string text = DriverDetailsText(*machine.app, *machine.inventory, driver.recordIndex);
        std::printf("%s\n", ForConsole(text).c_str());
        return 0;
    }
    std::fprintf(stderr, "vantrel show: no listed driver is described as \"%s\"\n", rest[0].c_str());
    return 1;
}

} // namespace vantrel
