// vantrel: the command-line front end over the same core as the window.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Cli.h"

namespace {

void Usage(std::FILE* out) {
    std::fputs(
        "usage: vantrel <command> [options]\n"
        "commands:\n"
        "  info [--image DIR]    Windows version, folders, settings and language file\n"
        "  list [--all] [--image DIR] [--csv]\n"
        "                        the drivers the Backup tab lists (Non-Microsoft ones unless --all)\n"
        "  show \"<description>\" [--image DIR]\n"
        "                        the details of one listed driver\n"
        "  backup --to DIR [--format folder|zip|sfx|auto] [--all] [--driver \"DESC\"]...\n"
        "         [--image DIR] [--resources DIR]\n"
        "                        backs up the Non-Microsoft drivers (or all, or the named ones)\n"
        "  catalog PATH [--csv] [--image DIR]\n"
        "                        the drivers backed up in a folder, zip, self-extractor or auto-setup "
        "package\n"
        "  restore --from PATH [--driver \"DESC\"]... [--all] [--plan] [--yes] [--image DIR]\n"
        "          [--resources DIR] [--timeout SECONDS]\n"
        "                        reinstalls the backed-up drivers that need it (or all, or the named\n"
        "                        ones); --plan only says what it would do\n"
        "  verify PATH [--image DIR]\n"
        "                        whether each driver of a backup (folder, zip, self-extractor or\n"
        "                        auto-setup package) holds every file it needs to install again\n"
        "  uninstall --driver \"DESC\"... [--yes] [--backup-to DIR] [--timeout SECONDS]\n"
        "                        removes the named drivers (Windows only); --backup-to backs them\n"
        "                        up into a folder first and removes nothing if that fails\n"
        "  devices [--image DIR] [--db FILE] [--csv]\n"
        "                        the PCI devices with the chip, vendor and OEM product the device\n"
        "                        database names\n"
        "  updates [--os CODE] [--db FILE] [--image DIR] [--csv] | updates --hide URL\n"
        "                        the newer drivers the update database has for this machine's\n"
        "                        devices on one Windows (the running one by default)\n"
        "  personal backup --to DIR | restore --from DIR\n"
        "           [--items favorites,registry,documents,desktop] [--image DIR]\n"
        "                        backs up or restores favourites, registry, documents, desktop\n"
        "  options [--set NAME=VALUE]... [--image DIR]\n"
        "                        shows or changes the backup, restore and compression options\n"
        "  liveupdate [--server URL] [--image DIR] [--check]\n"
        "                        fetches newer databases from the update server and installs them\n"
        "--image DIR takes a machine image or the root of a Windows installation mounted from Linux;\n"
        "--assume-version MAJOR.MINOR names the Windows version of one whose SOFTWARE hive is missing\n",
        out);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        Usage(stderr);
        return 2;
    }
    std::string command = argv[1];
    vantrel::CliArgs args(std::vector<std::string>(argv + 2, argv + argc));
    // Any command that opens a mounted Windows may need it.
    std::string assume, error;
    if (args.TakeValue("--assume-version", &assume, &error))
        vantrel::SetAssumedWindowsVersion(assume);
    if (!error.empty()) {
        std::fprintf(stderr, "vantrel: %s\n", error.c_str());
        return 2;
    }
    if (command == "info")
        return vantrel::RunInfo(args);
    if (command == "list")
        return vantrel::RunList(args);
    if (command == "show")
        return vantrel::RunShow(args);
    if (command == "backup")
        return vantrel::RunBackup(args);
    if (command == "catalog")
        return vantrel::RunCatalog(args);
    if (command == "restore")
        return vantrel::RunRestore(args);
    if (command == "uninstall")
        return vantrel::RunUninstall(args);
    if (command == "verify")
        return vantrel::RunVerify(args);
    if (command == "devices")
        return vantrel::RunDevices(args);
    if (command == "updates")
        return vantrel::RunUpdates(args);
    if (command == "liveupdate")
        return vantrel::RunLiveUpdate(args);
    if (command == "personal")
        return vantrel::RunPersonal(args);
    if (command == "options")
        return vantrel::RunOptions(args);
    if (command == "help" || command == "--help" || command == "-h") {
        Usage(stdout);
        return 0;
    }
    std::fprintf(stderr, "vantrel: unknown command \"%s\"\n", command.c_str());
    Usage(stderr);
    return 2;
}
