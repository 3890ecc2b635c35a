// vantrel liveupdate: the wizard's steps with a text progress line.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Cli.h"
#include "app/App.h"
#include "app/Startup.h"
#include "liveupdate/LiveUpdate.h"
#include "platform/FileSystem.h"
#include "platform/Http.h"
#include "platform/image/MachineImage.h"

namespace vantrel {

namespace {

// Prints one line per transfer state and rewrites the progress line as bytes come in.
class ConsoleProgress : public HttpObserver {
public:
    const UpdateOffer* current = nullptr;
    std::string name;
    int shown = -1;

    void OnState(HttpState) override {}
    bool OnBytes(std::uint64_t bytes) override {
        if (!current)
            return true;
        int percent = current->sizeKnown && current->bytes > 0
                          ? static_cast<int>(std::min<std::uint64_t>(bytes * 100 / current->bytes, 100))
                          : 0;
        if (percent == shown)
            return true;
        shown = percent;
        std::printf("\rUpdate %s (%d%% Completed)", name.c_str(), percent);
        std::fflush(stdout);
        return true;
    }
};

// An image keeps its own program folder; one without the databases gets those beside this
// program, as an installation would have put them there.
bool PrepareImageProgramFolder(Platform& platform, const std::string& appPath, std::string* error) {
    if (!CreateDirectories(platform.fs, appPath)) {
        *error = "cannot create the program folder " + appPath;
        return false;
    }
    for (const auto& c : kUpdateComponents) {
        if (platform.fs.Exists(appPath + c.installedFile))
            continue;
        std::ifstream in(std::filesystem::path(ProgramFolder()) / c.installedFile, std::ios::binary);
        if (!in)
            continue;
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (!WriteWholeFile(platform.fs, appPath + c.installedFile, bytes)) {
            *error = std::string("cannot write ") + appPath + c.installedFile;
            return false;
        }
    }
    return true;
}

} // namespace

int RunLiveUpdate(CliArgs& args) {
    std::string error, imageDir, server;
    args.TakeValue("--image", &imageDir, &error);
    if (error.empty())
        args.TakeValue("--server", &server, &error);
    bool checkOnly = args.TakeFlag("--check");
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || !rest.empty()) {
        std::fprintf(
            stderr,
            "vantrel liveupdate: %s\nusage: vantrel liveupdate [--server URL] [--image DIR] [--check]\n",
            error.empty() ? "unexpected argument" : error.c_str());
        return 2;
    }
    // An image's databases are its own: its program folder is not this program's.
    std::unique_ptr<PlatformSet> machine;
#ifdef _WIN32
    machine = imageDir.empty() ? CreateWin32Platform() : LoadMachineImage(imageDir, "", &error);
#else
    if (imageDir.empty())
        error = "no machine image given: use --image DIR (for example samples/machine)";
    else
        machine = LoadMachineImage(imageDir, "", &error);
#endif
    if (!machine) {
        std::fprintf(stderr, "vantrel liveupdate: %s\n", error.c_str());
        return 1;
    }
    Platform& platform = machine->Ports();
    App app(platform);
    RunStartup(app);
    if (!imageDir.empty() && !PrepareImageProgramFolder(platform, app.appPath, &error)) {
        std::fprintf(stderr, "vantrel liveupdate: %s\n", error.c_str());
        return 1;
    }
    if (server.empty())
        server = ReadUpdateServer(platform.registry);
    std::unique_ptr<Http> http = CreateHttp();
    LiveUpdate update(platform, *http, app.appPath, server);
    update.RecoverInterruptedInstall();

    std::printf("Searching %s for updates of %s\n", server.c_str(), app.appPath.c_str());
    std::vector<UpdateOffer> offers;
    HttpResult transfer;
    SearchOutcome outcome = update.Search(nullptr, &offers, &transfer);
    if (outcome == SearchOutcome::DatabasesMissing) {
        std::fprintf(stderr, "vantrel liveupdate: %s\n",
                     app.GetLangText("FormLiveUpdate", "MsgTip5",
                                     "Databases don't exist, please re-install the software.")
                         .c_str());
        return 1;
    }
    if (outcome == SearchOutcome::IndexFailed) {
        std::fprintf(stderr, "vantrel liveupdate: %s (%s)\n",
                     app.GetLangText("FormLiveUpdate", "MsgTip2",
                                     "Error happened while getting the update information.")
                         .c_str(),
                     transfer.detail.c_str());
        return 1;
    }
    if (offers.empty()) {
        std::printf("%s\n",
                    app.GetLangText("FormLiveUpdate", "MsgTip7",
                                    "All the components on your computer are up-to-date. There are no "
                                    "database updates for your computer now.")
                        .c_str());
        return 0;
    }
    auto nameOf = [&](const UpdateOffer& offer) {
        const UpdateComponent& c = kUpdateComponents[offer.component];
        return app.GetLangText("FormLiveUpdate", c.nameKey, c.name);
    };
    for (const auto& offer : offers)
        std::printf("newer: %s %s (%s bytes)\n", nameOf(offer).c_str(), offer.date.c_str(),
                    offer.size.c_str());
    if (checkOnly)
        return 0;

    ConsoleProgress progress;
    for (const auto& offer : offers) {
        progress.current = &offer;
        progress.name = nameOf(offer);
        progress.shown = -1;
        progress.OnBytes(0);
        HttpResult result = update.Download(offer, &progress);
        std::printf("\n");
        if (!result.Ok()) {
            std::fprintf(
                stderr, "vantrel liveupdate: %s (%s)\n",
                app.GetLangText("FormLiveUpdate", "MsgInet1",
                                "Error happened while downloading database updates, please try it later.")
                    .c_str(),
                result.detail.c_str());
            return 1;
        }
    }
    int failed = 0;
    for (const auto& offer : offers) {
        InstallOutcome installed = update.Install(offer);
        if (installed == InstallOutcome::Installed) {
            std::printf("installed: %s %s\n", nameOf(offer).c_str(), offer.date.c_str());
            continue;
        }
        ++failed;
        const char* why = installed == InstallOutcome::Older         ? "older than the installed one"
                          : installed == InstallOutcome::WriteFailed ? "could not replace the installed one"
                                                                     : "did not open";
        std::fprintf(stderr, "vantrel liveupdate: %s: %s; the installed database is kept\n",
                     nameOf(offer).c_str(), why);
    }
    return failed == 0 ? 0 : 1;
}

} // namespace vantrel
