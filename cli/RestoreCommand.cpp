// vantrel catalog / vantrel restore: the Restore tab's catalogue, plan and restoration run.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#define VANTREL_ISATTY _isatty
#define VANTREL_FILENO _fileno
#else
#include <unistd.h>
#define VANTREL_ISATTY isatty
#define VANTREL_FILENO fileno
#endif

#include "Cli.h"
#include "archive/ArchiveCallback.h"
#include "inventory/DriverRecord.h"
#include "platform/FileSystem.h"
#include "platform/Resources.h"
#include "platform/System.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/MachineImage.h"
#include "restore/DrvInstallCodes.h"
#include "restore/RestoreCatalog.h"
#include "restore/RestoreCheck.h"
#include "restore/RestoreEngine.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kCatalogUsage[] = "usage: vantrel catalog PATH [--csv] [--image DIR]";
constexpr char kRestoreUsage[] =
    "usage: vantrel restore --from PATH [--driver \"DESC\"]... [--all] [--plan] [--yes] "
    "[--image DIR] [--resources DIR] [--timeout SECONDS]";
// On a machine image the host folder that holds the backup appears as this drive.
constexpr unsigned kDefaultTimeoutSeconds = 300;

bool StderrIsTerminal() {
    return VANTREL_ISATTY(VANTREL_FILENO(stderr)) != 0;
}

std::string OneLine(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c != '\r')
            out.push_back(c);
    }
    while (!out.empty() && out.front() == '\n')
        out.erase(out.begin());
    return out;
}

// The extraction's percentage, where someone watches.
class ConsoleUnzip : public ArchiveCallback {
public:
    explicit ConsoleUnzip(bool show) : show(show) {}
    ~ConsoleUnzip() override {
        if (shown >= 0)
            std::fputc('\n', stderr);
    }
    void Progress(double percent) override {
        int value = static_cast<int>(percent);
        if (!show || value == shown)
            return;
        shown = value;
        std::fprintf(stderr,
                     "\rDecompressing the driver backup file, please wait patiently... (%d%% Completed)",
                     value);
        std::fflush(stderr);
    }

private:
    bool show;
    int shown = -1;
};

class ConsoleRestore : public RestoreObserver {
public:
    void AppendLog(const std::string& text) override { std::fprintf(stderr, "%s\n", OneLine(text).c_str()); }
    void Progress(int percent) override {
        if (percent == shown)
            return;
        shown = percent;
        std::fprintf(stderr, "[%3d%%]\n", percent);
    }
    void Pump() override { std::fflush(stderr); }

private:
    int shown = -1;
};

const char* KindName(RestoreSourceKind kind) {
    switch (kind) {
    case RestoreSourceKind::Folder:
        return "folder";
    case RestoreSourceKind::Zip:
        return "zip archive";
    case RestoreSourceKind::Sfx:
        return "self-extractor";
    case RestoreSourceKind::AutoSetup:
        return "auto-setup package";
    default:
        return "unknown";
    }
}

// The catalogue of a source, with what went wrong on stderr.
bool LoadCatalog(const char* command, Machine& machine, const std::string& given, CatalogResult* catalog,
                 RestoreSourceKind* kind) {
    std::string path, error;
    if (!SourcePath(*machine.set, given, &path, &error)) {
        std::fprintf(stderr, "vantrel %s: %s\n", command, error.c_str());
        return false;
    }
    Platform& platform = machine.set->Ports();
    *kind = DetectRestoreSource(platform, path);
    {
        ConsoleUnzip progress(StderrIsTerminal());
        *catalog = LoadRestoreCatalog(platform, path, &progress);
    }
    // Nothing the archive held is dropped without a word.
    for (const auto& refused : catalog->refused)
        std::fprintf(stderr, "vantrel %s: not unpacked: %s\n", command, refused.c_str());
    if (!catalog->ok || catalog->entries.empty()) {
        std::string why = !catalog->error.empty() ? catalog->error : "no driver backup found in " + given;
        std::fprintf(stderr, "vantrel %s: %s\n", command, why.c_str());
        return false;
    }
    return true;
}

void PrintTable(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t c = 0; c < row.size(); ++c)
            widths[c] = std::max(widths[c], row[c].size());
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            line += row[c];
            if (c + 1 < row.size())
                line += std::string(widths[c] - row[c].size() + 2, ' ');
        }
        std::printf("%s\n", line.c_str());
    }
}

bool NeedsRestore(const BackupEntry& entry) {
    return EqualsNoCase(Trim(entry.needRestore), "yes");
}

// The installer named by --resources, written where the engine would write its own.
bool WriteInstallerFrom(Platform& platform, const std::string& folder, std::string* installer) {
    int id = platform.system.Is64BitWindows() ? kResDrvInstall64 : kResDrvInstall32;
    std::string bytes;
    std::string source = (std::filesystem::path(folder) / (std::to_string(id) + ".bin")).string();
    if (!ReadWholeFile(platform.fs, source, &bytes) || bytes.empty())
        return false;
    *installer = WithBackslash(platform.system.GetTempPath()) + kDrvInstallName;
    platform.fs.DeleteFile(*installer);
    return WriteWholeFile(platform.fs, *installer, bytes);
}

} // namespace

int RunCatalog(CliArgs& args) {
    std::string error, imageDir;
    args.TakeValue("--image", &imageDir, &error);
    bool csv = args.TakeFlag("--csv");
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || rest.size() != 1) {
        std::fprintf(stderr, "vantrel catalog: %s\n%s\n",
                     !error.empty() ? error.c_str()
                     : rest.empty() ? "no PATH given"
                                    : "unexpected argument",
                     kCatalogUsage);
        return 2;
    }
    Machine machine;
    if (!OpenInventory("catalog", imageDir, &machine))
        return 1;
    CatalogResult catalog;
    RestoreSourceKind kind = RestoreSourceKind::Unknown;
    if (!LoadCatalog("catalog", machine, rest[0], &catalog, &kind))
        return 1;

    std::vector<std::vector<std::string>> rows = {
        {"Description", "Class", "Version", "Date", "Provider", "NeedsRestore", "HardwareId"}};
    for (const auto& entry : catalog.entries)
        rows.push_back({Trim(entry.driverDesc), Trim(entry.className), Trim(entry.driverVersion),
                        Trim(entry.driverDate), Trim(entry.providerName), Trim(entry.needRestore),
                        Trim(entry.matchingDeviceId)});
    if (!csv) {
        std::printf("%s (%s): %zu backed-up driver(s)\n", rest[0].c_str(), KindName(kind),
                    catalog.entries.size());
        PrintTable(rows);
        return 0;
    }
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY); // the CRLF line ends are ours
#endif
    std::string out;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i)
                out += ',';
            out += CsvField(row[i]);
        }
        out += "\r\n";
    }
    std::fwrite(out.data(), 1, out.size(), stdout);
    return 0;
}

int RunRestore(CliArgs& args) {
    std::string error, imageDir, from, resources, timeoutText;
    args.TakeValue("--image", &imageDir, &error);
    args.TakeValue("--from", &from, &error);
    args.TakeValue("--resources", &resources, &error);
    args.TakeValue("--timeout", &timeoutText, &error);
    std::vector<std::string> names = args.TakeValues("--driver", &error);
    bool all = args.TakeFlag("--all");
    bool planOnly = args.TakeFlag("--plan");
    bool yes = args.TakeFlag("--yes");
    unsigned timeout = kDefaultTimeoutSeconds;
    if (error.empty() && !timeoutText.empty())
        ParseTimeoutSeconds(timeoutText, "--timeout", &timeout, &error);
    if (error.empty() && from.empty())
        error = "--from PATH is needed";
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(stderr, "vantrel restore: %s\n%s\n",
                     error.empty() ? "unexpected argument" : error.c_str(), kRestoreUsage);
        return 2;
    }

    Machine machine;
    if (!OpenInventory("restore", imageDir, &machine))
        return 1;
    CatalogResult catalog;
    RestoreSourceKind kind = RestoreSourceKind::Unknown;
    if (!LoadCatalog("restore", machine, from, &catalog, &kind))
        return 1;

    std::vector<BackupEntry> chosen;
    for (const auto& entry : catalog.entries) {
        bool named = std::find(names.begin(), names.end(), Trim(entry.driverDesc)) != names.end();
        if (names.empty() ? (all || NeedsRestore(entry)) : named)
            chosen.push_back(entry);
    }
    for (const auto& name : names) {
        if (std::none_of(catalog.entries.begin(), catalog.entries.end(),
                         [&](const BackupEntry& entry) { return Trim(entry.driverDesc) == name; })) {
            std::fprintf(stderr, "vantrel restore: the backup holds no driver \"%s\" (see vantrel catalog)\n",
                         name.c_str());
            return 1;
        }
    }
    if (chosen.empty()) {
        std::printf("No backed-up driver needs restoring (--all restores every one).\n");
        return 0;
    }

    if (planOnly) {
        std::vector<std::vector<std::string>> rows = {{"Description", "Device", "Installed now", "Action"}};
        for (const auto& item : PlanRestore(*machine.inventory, chosen)) {
            std::string installed = item.sameInstalled    ? "same " + item.installedVersion
                                    : item.newerInstalled ? "newer " + item.installedVersion
                                                          : item.installedVersion;
            rows.push_back({Trim(item.entry.driverDesc), item.deviceFound ? "present" : "absent",
                            installed.empty() ? "-" : installed, item.action});
        }
        std::printf("Restore plan for %zu driver(s) from %s (%s); nothing is changed:\n", chosen.size(),
                    from.c_str(), KindName(kind));
        PrintTable(rows);
        return 0;
    }

    Platform& platform = machine.set->Ports();
    if (dynamic_cast<ImagePlatform*>(machine.set.get()) != nullptr) {
        std::fprintf(stderr, "vantrel restore: installing drivers needs Windows; on a machine image only "
                             "--plan works\n");
        return 1;
    }
    if (!IsNtFamily(platform)) {
        std::fprintf(stderr,
                     "vantrel restore: the command line installs drivers on Windows 2000 and later\n");
        return 1;
    }
    App& app = *machine.app;
    if (!yes) {
        std::string question = app.GetLangText(
            "FormMain", "MsgRestoreTip1",
            "Driver restoration process will start, during the restoration process the computer may seem to "
            "have no response, please don't interrupt it. Do you want to continue?");
        if (!AskYesNo(question)) {
            std::printf("Nothing was restored.\n");
            return 1;
        }
    }

    RestoreRunOptions options;
    options.installerTimeoutMs = timeout * 1000u;
    if (!resources.empty() && !WriteInstallerFrom(platform, resources, &options.installerPath)) {
        std::fprintf(stderr, "vantrel restore: the driver installer is not in %s\n", resources.c_str());
        return 1;
    }
    ConsoleRestore observer;
    std::vector<RestoreOutcome> outcomes = RestoreEngine(app, observer, options).RunNt(chosen);
    if (!options.installerPath.empty())
        platform.fs.DeleteFile(options.installerPath);

    std::vector<std::string> failures, skipped;
    for (const auto& outcome : outcomes) {
        if (outcome.skipped)
            skipped.push_back(Trim(outcome.entry.driverDesc) + ": " +
                              RestoreResultReason(outcome.lastRun, false, true, InstallCheck{}));
    }
    std::vector<RestoreResult> results = CheckRestoreResults(platform, outcomes);
    int installed = 0;
    int attempted = static_cast<int>(results.size());
    for (const auto& result : results) {
        if (result.installed)
            ++installed;
        else
            failures.push_back(Trim(result.entry.driverDesc) + ": not installed (" + result.reason + ")");
    }
    std::printf("%d of %d drivers installed\n", installed, attempted);
    for (const auto& line : failures)
        std::printf("  %s\n", line.c_str());
    for (const auto& line : skipped)
        std::printf("  %s\n", line.c_str());
    if (installed > 0)
        std::printf("Windows may need a restart to finish the installation.\n");
    return failures.empty() ? 0 : 1;
}

} // namespace vantrel
