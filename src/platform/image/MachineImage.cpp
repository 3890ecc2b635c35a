#include "platform/image/MachineImage.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/ImageProfile.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/ImageText.h"
#include "util/Text.h"

namespace vantrel {

namespace fs = std::filesystem;

namespace {

bool ParseInt(const std::string& text, int* value) {
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), *value);
    return ec == std::errc() && end == text.data() + text.size();
}

} // namespace

void CompleteMachineFacts(MachineFacts* facts) {
    bool win9x = facts->version.platform == kPlatformWin9x;
    bool classicProfile = !win9x && facts->version.major < 6; // 2000, XP, 2003
    if (facts->sysdir.empty())
        facts->sysdir = facts->windir + (win9x ? "\\SYSTEM" : "\\system32");
    if (facts->appdata.empty()) {
        if (win9x)
            facts->appdata = facts->windir + "\\Application Data";
        else if (classicProfile)
            facts->appdata = "C:\\Documents and Settings\\User\\Application Data";
        else
            facts->appdata = "C:\\Users\\User\\AppData\\Roaming";
    }
    if (facts->temp.empty()) {
        if (win9x)
            facts->temp = facts->windir + "\\TEMP";
        else if (classicProfile)
            facts->temp = "C:\\Documents and Settings\\User\\Local Settings\\Temp";
        else
            facts->temp = "C:\\Users\\User\\AppData\\Local\\Temp";
    }
}

bool ReadMachineIni(const std::string& hostFile, MachineFacts* facts, std::string* error) {
    std::ifstream in(HostPath(hostFile), std::ios::binary);
    if (!in) {
        *error = hostFile + ": cannot open the machine description";
        return false;
    }
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ProfileData ini = ParseProfile(bytes);
    MachineFacts result;

    auto bad = [&](const char* key, const std::string& value) {
        *error = hostFile + ": [system] " + key + "=" + value + ": bad value";
        return false;
    };
    struct IntKey {
        const char* name;
        int* field;
    };
    const IntKey intKeys[] = {{"major", &result.version.major},
                              {"minor", &result.version.minor},
                              {"build", &result.version.build},
                              {"platform", &result.version.platform},
                              {"producttype", &result.version.productType}};
    for (const auto& key : intKeys) {
        if (const std::string* value = ini.Find("system", key.name)) {
            if (!ParseInt(*value, key.field))
                return bad(key.name, *value);
        }
    }
    if (result.version.platform != kPlatformWin9x && result.version.platform != kPlatformNt)
        return bad("platform", std::to_string(result.version.platform));

    struct TextKey {
        const char* name;
        std::string* field;
    };
    const TextKey textKeys[] = {{"arch", &result.arch},       {"windir", &result.windir},
                                {"sysdir", &result.sysdir},   {"temp", &result.temp},
                                {"appdata", &result.appdata}, {"programdir", &result.programDir},
                                {"now", &result.now},         {"csdversion", &result.version.csdVersion}};
    for (const auto& key : textKeys) {
        if (const std::string* value = ini.Find("system", key.name))
            *key.field = *value;
    }
    result.arch = LowerAscii(result.arch);
    if (result.arch != "x86" && result.arch != "x64")
        return bad("arch", result.arch);
    LocalTime when;
    if (!result.now.empty() && !ParseLocalTime(result.now, &when))
        return bad("now", result.now);
    CompleteMachineFacts(&result);
    *facts = std::move(result);
    return true;
}

ImagePlatform::ImagePlatform(const std::string& hostRoot, const MachineFacts& facts,
                             const std::string& programFolder)
    : ImagePlatform(hostRoot, facts, programFolder, nullptr) {}

ImagePlatform::ImagePlatform(const std::string& hostRoot, const MachineFacts& facts,
                             const std::string& programFolder, std::unique_ptr<ImageFileSystem> fileSystem)
    : hostRoot(hostRoot), facts(facts), files(std::move(fileSystem)) {
    CompleteMachineFacts(&this->facts);
    registry = std::make_unique<ImageRegistry>();
    if (!files)
        files = std::make_unique<ImageFileSystem>(hostRoot);
    if (!programFolder.empty())
        files->AddMount(this->facts.programDir, programFolder);
    system = std::make_unique<ImageSystem>(this->facts);
    processes = std::make_unique<ImageProcesses>();
    shell = std::make_unique<ImageShell>();
    resources = std::make_unique<ImageResources>();
    profile = std::make_unique<ImageProfile>(*files);
    clock = std::make_unique<ImageClock>();
    LocalTime when;
    if (!this->facts.now.empty() && ParseLocalTime(this->facts.now, &when))
        clock->fixed = when;
    ports = std::make_unique<Platform>(
        Platform{*registry, *files, *system, *processes, *shell, *resources, *profile, *clock});
}

ImagePlatform::~ImagePlatform() = default;

Platform& ImagePlatform::Ports() {
    return *ports;
}

bool ImagePlatform::Save(std::string* error) {
    if (hostRoot.empty()) {
        *error = "this machine has no image folder to save to";
        return false;
    }
    fs::path folder = HostPath(hostRoot) / "registry";
    std::error_code ec;
    fs::create_directories(folder, ec);
    fs::path target = folder / "user.reg";
    fs::path temporary = folder / "user.reg.new";
    // Written aside first, so a failed save leaves the old settings whole.
    if (!WriteRegFile(HostPathString(temporary), registry->Export(kHkeyCurrentUser), error))
        return false;
    fs::rename(temporary, target, ec);
    if (ec) {
        ec.clear();
        fs::remove(target, ec);
        fs::rename(temporary, target, ec);
    }
    if (ec) {
        *error = HostPathString(target) + ": cannot replace the file: " + ec.message();
        return false;
    }
    return true;
}

std::unique_ptr<ImagePlatform> LoadMachineImage(const std::string& hostRoot, const std::string& programFolder,
                                                std::string* error) {
    fs::path root = HostPath(hostRoot);
    std::error_code ec;
    if (!fs::exists(root / "machine.ini", ec)) {
        *error = hostRoot + ": neither a machine image (no machine.ini) nor a Windows installation (no "
                            "Windows/System32/config/SYSTEM)";
        return nullptr;
    }
    MachineFacts facts;
    if (!ReadMachineIni(HostPathString(root / "machine.ini"), &facts, error))
        return nullptr;
    auto image = std::make_unique<ImagePlatform>(hostRoot, facts, programFolder);

    std::vector<std::pair<std::string, fs::path>> regFiles;
    for (fs::directory_iterator dir(root / "registry", ec), end; !ec && dir != end; dir.increment(ec)) {
        std::string name = HostPathString(dir->path().filename());
        if (name.size() > 4 && EqualsNoCase(name.substr(name.size() - 4), ".reg") && dir->is_regular_file(ec))
            regFiles.emplace_back(LowerAscii(name), dir->path());
    }
    std::sort(regFiles.begin(), regFiles.end());
    for (const auto& [name, path] : regFiles) {
        if (name == "user.reg")
            image->Registry().ClearRoot(kHkeyCurrentUser);
        if (!image->Registry().LoadRegFile(HostPathString(path), error))
            return nullptr;
    }
    return image;
}

} // namespace vantrel
