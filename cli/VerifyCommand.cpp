// vantrel verify: whether each driver of a backup can be installed again from it.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Cli.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/MachineImage.h"
#include "restore/BackupCheck.h"
#include "restore/RestoreCatalog.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kVerifyUsage[] = "usage: vantrel verify PATH [--image DIR]";

} // namespace

int RunVerify(CliArgs& args) {
    std::string error, imageDir;
    args.TakeValue("--image", &imageDir, &error);
    std::vector<std::string> rest;
    if (!error.empty() || !args.Rest(&rest, &error) || rest.size() != 1) {
        std::fprintf(stderr, "vantrel verify: %s\n%s\n",
                     !error.empty() ? error.c_str()
                     : rest.empty() ? "no PATH given"
                                    : "unexpected argument",
                     kVerifyUsage);
        return 2;
    }
    std::unique_ptr<PlatformSet> set = OpenMachine(imageDir, &error);
    std::string path;
    if (!set || !SourcePath(*set, rest[0], &path, &error)) {
        std::fprintf(stderr, "vantrel verify: %s\n", error.c_str());
        return 1;
    }
    Platform& platform = set->Ports();
    CatalogResult catalog = LoadRestoreCatalog(platform, path, nullptr);
    for (const auto& refused : catalog.refused)
        std::fprintf(stderr, "vantrel verify: not unpacked: %s\n", refused.c_str());
    if (!catalog.ok || catalog.entries.empty()) {
        std::string why = !catalog.error.empty() ? catalog.error : "no driver backup found in " + rest[0];
        std::fprintf(stderr, "vantrel verify: %s\n", why.c_str());
        return 1;
    }

    std::vector<BackupDriverCheck> checks = CheckBackup(platform, catalog.entries);
    std::size_t incomplete = 0;
    for (std::size_t k = 0; k < checks.size(); ++k) {
        std::string desc = Trim(catalog.entries[k].driverDesc);
        if (checks[k].Complete()) {
            std::printf("%s: complete\n", desc.c_str());
            continue;
        }
        ++incomplete;
        std::printf("%s: incomplete: missing %s (for %s)\n", desc.c_str(),
                    DescribeMissing(checks[k].missing, "catalog").c_str(), checks[k].processor.c_str());
    }
    std::printf("%zu of %zu backed-up drivers complete\n", checks.size() - incomplete, checks.size());
    return incomplete == 0 ? 0 : 1;
}

} // namespace vantrel
