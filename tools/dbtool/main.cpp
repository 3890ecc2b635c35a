// vantrel-dbtool: builds the databases the program ships from their public sources.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "devices/PciIds.h"
#include "platform/image/ImageFileSystem.h"
#include "updates/UpdateDatabase.h"

namespace {

void Usage(std::FILE* out) {
    std::fputs("usage: vantrel-dbtool <command> [options]\n"
               "commands:\n"
               "  pcidevs --from PCI.IDS --out PCIDEVS.TXT\n"
               "                        the device database from the PCI ID repository\n"
               "  driverdb --from SOURCE.TXT --out DRIVERDB.DAT\n"
               "                        the driver-update database from its text with plain addresses\n"
               "  driverdb --dump DRIVERDB.DAT\n"
               "                        prints a driver-update database back as that text\n",
               out);
}

// The "--name VALUE" options of one command; false, after the usage, on anything else.
bool TakeOptions(const char* command, const std::vector<std::string>& args,
                 const std::map<std::string, std::string*>& options) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        auto option = options.find(args[i]);
        if (option != options.end() && i + 1 < args.size()) {
            *option->second = args[++i];
            continue;
        }
        std::fprintf(stderr, "vantrel-dbtool %s: unexpected argument \"%s\"\n", command, args[i].c_str());
        Usage(stderr);
        return false;
    }
    return true;
}

int RunPcidevs(const std::vector<std::string>& args) {
    std::string from, out;
    if (!TakeOptions("pcidevs", args, {{"--from", &from}, {"--out", &out}}))
        return 2;
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

// Host files through the core's file-system port: each file's folder becomes a drive of its own.
class HostFiles {
    using ImageFileSystem = vantrel::ImageFileSystem;

public:
    HostFiles() : fs("") {}
    ImageFileSystem& Fs() { return fs; }
    std::string Path(const std::string& host) {
        std::error_code ec;
        std::filesystem::path full = std::filesystem::absolute(host, ec).lexically_normal();
        std::string drive = std::string(1, static_cast<char>('P' + mounts++)) + ":\\";
        fs.AddMount(drive, full.parent_path().string());
        return drive + full.filename().string();
    }

private:
    ImageFileSystem fs;
    int mounts = 0;
};

int RunDriverDb(const std::vector<std::string>& args) {
    std::string from, out, dump;
    if (!TakeOptions("driverdb", args, {{"--from", &from}, {"--out", &out}, {"--dump", &dump}}))
        return 2;
    HostFiles files;
    std::string error;
    if (!dump.empty() && from.empty() && out.empty()) {
        std::string text;
        if (!vantrel::ReadUpdateDatabase(files.Fs(), files.Path(dump), &text, &error)) {
            std::fprintf(stderr, "vantrel-dbtool driverdb: %s: %s\n", dump.c_str(), error.c_str());
            return 1;
        }
        std::string source = vantrel::DecipherRecordAddresses(text);
#ifdef _WIN32
        _setmode(_fileno(stdout), _O_BINARY); // the text's own line ends
#endif
        std::fwrite(source.data(), 1, source.size(), stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    if (from.empty() || out.empty() || !dump.empty()) {
        Usage(stderr);
        return 2;
    }
    std::ifstream in(from, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "vantrel-dbtool driverdb: cannot read %s\n", from.c_str());
        return 1;
    }
    std::string source((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // Written beside and renamed, so a reader never sees half a database.
    std::string temporary = out + ".tmp";
    if (!vantrel::WriteUpdateDatabase(files.Fs(), files.Path(temporary),
                                      vantrel::EncipherRecordAddresses(source), &error)) {
        std::fprintf(stderr, "vantrel-dbtool driverdb: %s: %s\n", temporary.c_str(), error.c_str());
        return 1;
    }
    std::remove(out.c_str());
    if (std::rename(temporary.c_str(), out.c_str()) != 0) {
        std::fprintf(stderr, "vantrel-dbtool driverdb: cannot write %s\n", out.c_str());
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
    if (command == "driverdb")
        return RunDriverDb(args);
    if (command == "help" || command == "--help" || command == "-h") {
        Usage(stdout);
        return 0;
    }
    std::fprintf(stderr, "vantrel-dbtool: unknown command \"%s\"\n", command.c_str());
    Usage(stderr);
    return 2;
}
