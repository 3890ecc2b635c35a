// vantrel updates: the newer drivers the update database holds for the machine's devices.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "Cli.h"
#include "platform/FileSystem.h"
#include "updates/UpdateDatabase.h"
#include "updates/UpdateKeys.h"
#include "updates/UpdateSearch.h"

namespace vantrel {

namespace {

constexpr char kUsage[] = "usage: vantrel updates [--os CODE] [--db FILE] [--image DIR] [--csv]\n"
                          "       vantrel updates --hide URL [--image DIR]\n";

std::string CodeList() {
    std::string list;
    for (const char* code : kOsCodes)
        list += std::string(list.empty() ? "" : " ") + code;
    return list;
}

std::string DisplayOf(const std::string& code) {
    for (const auto& choice : UpdateOsChoices()) {
        if (code == choice.code)
            return choice.display;
    }
    return code;
}

// The database the search reads: --db, else the program folder's, else the one beside this
// program (an image's program folder may hold none).
bool DatabasePath(Machine& machine, const std::string& given, std::string* path, std::string* error) {
    if (!given.empty())
        return SourcePath(*machine.set, given, path, error);
    *path = machine.app->appPath + kUpdateDbFile;
    if (machine.set->Ports().fs.Exists(*path))
        return true;
    std::string beside = (std::filesystem::path(ProgramFolder()) / kUpdateDbFile).string();
    std::error_code ec;
    if (std::filesystem::exists(beside, ec))
        return SourcePath(*machine.set, beside, path, error);
    return true; // the search reports the missing file
}

} // namespace

int RunUpdates(CliArgs& args) {
    std::string error, imageDir, code, dbFile, hide;
    args.TakeValue("--image", &imageDir, &error);
    if (error.empty())
        args.TakeValue("--os", &code, &error);
    if (error.empty())
        args.TakeValue("--db", &dbFile, &error);
    if (error.empty())
        args.TakeValue("--hide", &hide, &error);
    bool csv = args.TakeFlag("--csv");
    std::vector<std::string> rest;
    if (error.empty() && args.Rest(&rest, &error) && !rest.empty())
        error = "unexpected argument " + rest[0];
    if (error.empty() && !code.empty() && OsSlot(code) == 0)
        error = "unknown system " + code + " (one of: " + CodeList() + ")";
    if (!error.empty()) {
        std::fprintf(stderr, "vantrel updates: %s\n%s", error.c_str(), kUsage);
        return 2;
    }
    Machine machine;
    if (!OpenInventory("updates", imageDir, &machine))
        return 1;
    Platform& platform = machine.set->Ports();
    App& app = *machine.app;

    if (!hide.empty()) {
        if (!HideUpdate(platform, hide)) {
            std::fprintf(stderr, "vantrel updates: cannot write %s\n", HiddenUpdatesPath(platform).c_str());
            return 1;
        }
        std::printf("hidden: %s\n", hide.c_str());
        return 0;
    }

    std::string running = RunningOsCode(platform);
    if (code.empty())
        code = running;
    std::string database;
    if (!DatabasePath(machine, dbFile, &database, &error)) {
        std::fprintf(stderr, "vantrel updates: %s\n", error.c_str());
        return 1;
    }
    UpdateSearch search = SearchUpdates(*machine.inventory, database, code, code == running);
    if (search.status == UpdateSearchStatus::MissingDatabase) {
        std::fprintf(
            stderr, "vantrel updates: %s: %s\n", database.c_str(),
            app.GetLangText("FormUpdate", "MsgTip4", "Drivers update database file doesn't exist!").c_str());
        return 1;
    }
    if (search.status == UpdateSearchStatus::BrokenDatabase) {
        std::fprintf(stderr, "vantrel updates: %s: %s\n", database.c_str(),
                     app.GetLangText("FormUpdate", "MsgTip5",
                                     "Driver update database is destroyed, please re-install the software.")
                         .c_str());
        return 1;
    }

    if (csv) {
#ifdef _WIN32
        _setmode(_fileno(stdout), _O_BINARY); // the CRLF line ends are ours
#endif
        std::string out = "Name,Class,Version,Provider,Date,SupportedOS,Size,Signed,URL\r\n";
        for (std::size_t index : search.listed) {
            const UpdateResult& r = search.results[index];
            for (const std::string* field : {&r.name, &r.className, &r.version, &r.provider, &r.date,
                                             &r.supportedOs, &r.size, &r.isSigned, &r.url})
                out += CsvField(*field) + (field == &r.url ? "\r\n" : ",");
        }
        std::fwrite(out.data(), 1, out.size(), stdout);
        return 0;
    }
    for (std::size_t index : search.listed) {
        const UpdateResult& r = search.results[index];
        std::printf("%s[%s] %s, %s, %s, %s, signed %s: %s\n", r.name.c_str(), r.className.c_str(),
                    r.version.c_str(), r.date.c_str(), r.provider.c_str(), r.size.c_str(), r.isSigned.c_str(),
                    r.url.c_str());
    }
    std::printf("%zu update(s) for %s (%s)\n", search.listed.size(), DisplayOf(code).c_str(), code.c_str());
    return 0;
}

} // namespace vantrel
