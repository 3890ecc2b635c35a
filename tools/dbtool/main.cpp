// vantrel-dbtool: builds the databases the program ships from their public sources.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "devices/PciIds.h"

namespace {

void Usage(std::FILE* out) {
    std::fputs("usage: vantrel-dbtool <command> [options]\n"
               "commands:\n"
               "  pcidevs --from PCI.IDS --out PCIDEVS.TXT\n"
               "                        the device database from the PCI ID repository\n",
               out);
}

int RunPcidevs(const std::vector<std::string>& args) {
    std::string from, out;
    for (std::size_t i = 0; i < args.size(); ++i) {
        bool hasValue = i + 1 < args.size();
        if (args[i] == "--from" && hasValue)
            from = args[++i];
        else if (args[i] == "--out" && hasValue)
            out = args[++i];
        else {
            std::fprintf(stderr, "vantrel-dbtool pcidevs: unexpected argument \"%s\"\n", args[i].c_str());
            Usage(stderr);
            return 2;
        }
    }
    if (from.empty() || out.empty()) {
        Usage(stderr);
        return 2;
    }
    std::ifstream in(from, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "vantrel-dbtool pcidevs: cannot read %s\n", from.c_str());
        return 1;
    }
    std::string source((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::string text, error;
    if (!vantrel::ConvertPciIds(source, &text, &error)) {
        std::fprintf(stderr, "vantrel-dbtool pcidevs: %s: %s\n", from.c_str(), error.c_str());
        return 1;
    }
    // Written beside and renamed, so a reader never sees half a database.
    std::string temporary = out + ".tmp";
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        if (!file.write(text.data(), static_cast<std::streamsize>(text.size())) || !file.flush()) {
            std::fprintf(stderr, "vantrel-dbtool pcidevs: cannot write %s\n", temporary.c_str());
            return 1;
        }
    }
    std::remove(out.c_str());
    if (std::rename(temporary.c_str(), out.c_str()) != 0) {
        std::fprintf(stderr, "vantrel-dbtool pcidevs: cannot write %s\n", out.c_str());
        return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        Usage(stderr);
        return 2;
    }
    std::string command = argv[1];
    std::vector<std::string> args(argv + 2, argv + argc);
    if (command == "pcidevs")
        return RunPcidevs(args);
    if (command == "help" || command == "--help" || command == "-h") {
        Usage(stdout);
        return 0;
    }
    std::fprintf(stderr, "vantrel-dbtool: unknown command \"%s\"\n", command.c_str());
    Usage(stderr);
    return 2;
}
