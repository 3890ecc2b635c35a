#include "platform/image/OfflineWindows.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/ImageText.h"
#include "platform/image/OfflineHive.h"
#include "util/Text.h"

namespace vantrel {

namespace fs = std::filesystem;

namespace {

constexpr char kCurrentVersion[] = "Microsoft\\Windows NT\\CurrentVersion";

// The mounted tree never changes: a write that would land inside it fails as on a read-only disk.
class GuardedFileSystem : public ImageFileSystem {
public:
    explicit GuardedFileSystem(const fs::path& tree)
        : ImageFileSystem(std::string()), tree(fs::absolute(tree).lexically_normal()) {}

    std::unique_ptr<OutputFile> OpenWrite(std::string_view path, bool append = false) override {
        return Inside(path) ? nullptr : ImageFileSystem::OpenWrite(path, append);
    }
    bool CreateDirectory(std::string_view path) override {
        return !Inside(path) && ImageFileSystem::CreateDirectory(path);
    }
    bool RemoveDirectory(std::string_view path) override {
        return !Inside(path) && ImageFileSystem::RemoveDirectory(path);
    }
    bool DeleteFile(std::string_view path) override {
        return !Inside(path) && ImageFileSystem::DeleteFile(path);
    }
    bool CopyFile(std::string_view from, std::string_view to, bool failIfExists) override {
        return !Inside(to) && ImageFileSystem::CopyFile(from, to, failIfExists);
    }
    bool MoveFile(std::string_view from, std::string_view to) override {
        return !Inside(from) && !Inside(to) && ImageFileSystem::MoveFile(from, to);
    }
    bool SetAttributes(std::string_view path, std::uint32_t attributes) override {
        return !Inside(path) && ImageFileSystem::SetAttributes(path, attributes);
    }

private:
    bool Inside(std::string_view path) {
        fs::path host;
        if (!MapPath(path, &host))
            return false;
        fs::path relative = fs::absolute(host).lexically_normal().lexically_relative(tree);
        return !relative.empty() && *relative.begin() != "..";
    }
    fs::path tree;
};

// Settings live for this run only; the scratch folder goes with it.
class OfflinePlatform : public ImagePlatform {
public:
    OfflinePlatform(const MachineFacts& facts, const std::string& programFolder,
                    std::unique_ptr<ImageFileSystem> files, fs::path scratch)
        : ImagePlatform(std::string(), facts, programFolder, std::move(files)), scratch(std::move(scratch)) {}
    ~OfflinePlatform() override {
        std::error_code ec;
        fs::remove_all(scratch, ec);
    }
    bool Save(std::string*) override { return true; }

private:
    fs::path scratch;
};

// A child of the host folder in any letter case; "" when there is none.
std::string FindName(const fs::path& folder, std::string_view name) {
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        std::string found = HostPathString(it->path().filename());
        if (EqualsNoCase(found, name))
            return found;
    }
    return std::string();
}

// The Windows folder's name in the tree and the host path of its config folder.
bool FindConfig(const fs::path& root, std::string* windowsName, fs::path* config) {
    for (const char* candidate : {"Windows", "WINNT"}) {
        std::string windows = FindName(root, candidate);
        if (windows.empty())
            continue;
        std::string system32 = FindName(root / windows, "System32");
        std::string configName = system32.empty() ? "" : FindName(root / windows / system32, "config");
        if (configName.empty() || FindName(root / windows / system32 / configName, "SYSTEM").empty())
            continue;
        *windowsName = windows;
        *config = root / windows / system32 / configName;
        return true;
    }
    return false;
}

bool ReadDword(Registry& reg, RegHandle key, std::string_view name, std::uint32_t* value) {
    std::uint32_t type = 0;
    std::string data;
    if (reg.QueryValue(key, name, 4, &type, &data) != kErrorSuccess || type != kRegDword || data.size() != 4)
        return false;
    *value = static_cast<unsigned char>(data[0]) | static_cast<unsigned char>(data[1]) << 8 |
             static_cast<unsigned char>(data[2]) << 16 |
             static_cast<std::uint32_t>(static_cast<unsigned char>(data[3])) << 24;
    return true;
}

std::string ReadText(Registry& reg, RegHandle root, std::string_view path, std::string_view name) {
    RegKey key(reg);
    std::string text;
    if (key.Open(root, path) != kErrorSuccess || !RegReadString(reg, key.Handle(), name, 1024, &text))
        return std::string();
    return TrimWhite(text);
}

// "6.1" or "10" -> major and minor; false when it is not such a number.
bool ParseVersion(const std::string& text, int* major, int* minor) {
    unsigned a = 0, b = 0;
    char tail = 0;
    int n = std::sscanf(text.c_str(), "%u.%u%c", &a, &b, &tail);
    if (n < 1 || n > 2 || a == 0 || a > 99)
        return false;
    *major = static_cast<int>(a);
    *minor = n == 2 ? static_cast<int>(b) : 0;
    return true;
}

// SYSTEM at HKLM\SYSTEM with the current control set, SOFTWARE (when there is one) at HKLM\SOFTWARE.
bool AttachHives(ImageRegistry& reg, const std::shared_ptr<HiveFile>& system,
                 const std::shared_ptr<HiveFile>& software, const OfflineOptions& options,
                 std::string* error) {
    reg.Attach(kHkeyLocalMachine, "SYSTEM", system, system->Root());
    if (software)
        reg.Attach(kHkeyLocalMachine, "SOFTWARE", software, software->Root());
    std::uint32_t current = 0;
    RegKey select(reg);
    if (select.Open(kHkeyLocalMachine, "SYSTEM\\Select") != kErrorSuccess ||
        !ReadDword(reg, select.Handle(), "Current", &current) || current == 0 || current > 999) {
        current = 1;
        if (options.note)
            options.note(
                "the SYSTEM hive names no current control set (Select\\Current): using ControlSet001");
    }
    char name[32];
    std::snprintf(name, sizeof name, "ControlSet%03u", current);
    std::uint64_t controlSet = 0;
    if (!system->FindChild(system->Root(), name, &controlSet)) {
        *error = std::string("the SYSTEM hive has no ") + name + ", the current control set";
        return false;
    }
    reg.Attach(kHkeyLocalMachine, "SYSTEM\\CurrentControlSet", system, controlSet);
    return true;
}

bool ReadFacts(ImageRegistry& reg, bool haveSoftware, const fs::path& root, const std::string& windowsName,
               const OfflineOptions& options, MachineFacts* facts, std::string* error) {
    OsVersion& v = facts->version;
    v.platform = kPlatformNt;
    facts->windir = "C:\\" + windowsName;
    if (haveSoftware) {
        RegKey key(reg);
        std::uint32_t major = 0, minor = 0;
        if (key.Open(kHkeyLocalMachine, std::string("SOFTWARE\\") + kCurrentVersion) != kErrorSuccess) {
            *error = std::string("the SOFTWARE hive has no ") + kCurrentVersion +
                     ": the Windows version is unknown";
            return false;
        }
        // Windows 10 and later keep "6.3" in CurrentVersion for old programs' sake.
        if (ReadDword(reg, key.Handle(), "CurrentMajorVersionNumber", &major) && major > 0) {
            v.major = static_cast<int>(major);
            v.minor = ReadDword(reg, key.Handle(), "CurrentMinorVersionNumber", &minor)
                          ? static_cast<int>(minor)
                          : 0;
        } else if (!ParseVersion(ReadText(reg, key.Handle(), "", "CurrentVersion"), &v.major, &v.minor)) {
            *error = "the SOFTWARE hive names no Windows version (CurrentVersion)";
            return false;
        }
        std::string build = ReadText(reg, key.Handle(), "", "CurrentBuildNumber");
        if (build.empty())
            build = ReadText(reg, key.Handle(), "", "CurrentBuild");
        v.build = std::atoi(build.c_str());
        v.csdVersion = ReadText(reg, key.Handle(), "", "CSDVersion");
        std::string systemRoot = ReadText(reg, key.Handle(), "", "SystemRoot");
        if (systemRoot.size() > 3 && EqualsNoCase(systemRoot.substr(0, 3), "C:\\"))
            facts->windir = systemRoot;
    } else if (!options.assumeVersion.empty() && ParseVersion(options.assumeVersion, &v.major, &v.minor)) {
        if (options.note)
            options.note("the SOFTWARE hive is missing: assuming Windows " + options.assumeVersion);
    } else {
        *error = "the SOFTWARE hive is missing, so the Windows version cannot be known";
        return false;
    }

    // ProductOptions is what Windows itself reads; InstallationType only exists since Windows 7.
    std::string product =
        ReadText(reg, kHkeyLocalMachine, "SYSTEM\\CurrentControlSet\\Control\\ProductOptions", "ProductType");
    if (EqualsNoCase(product, "LanmanNT"))
        v.productType = 2;
    else if (EqualsNoCase(product, "ServerNT"))
        v.productType = 3;
    else if (product.empty() &&
             EqualsNoCase(ReadText(reg, kHkeyLocalMachine, std::string("SOFTWARE\\") + kCurrentVersion,
                                   "InstallationType"),
                          "Server"))
        v.productType = 3;
    else
        v.productType = 1;

    // 64-bit: the processor the installation was set up for; failing that, the 32-bit system
    // folder only 64-bit Windows has.
    std::string cpu =
        ReadText(reg, kHkeyLocalMachine, "SYSTEM\\CurrentControlSet\\Control\\Session Manager\\Environment",
                 "PROCESSOR_ARCHITECTURE");
    if (!cpu.empty())
        facts->arch = EqualsNoCase(cpu, "x86") ? "x86" : "x64";
    else
        facts->arch = FindName(root / windowsName, "SysWOW64").empty() ? "x86" : "x64";
    return true;
}

} // namespace

bool IsWindowsInstallation(const std::string& hostRoot) {
    std::string windowsName;
    fs::path config;
    return FindConfig(HostPath(hostRoot), &windowsName, &config);
}

std::unique_ptr<ImagePlatform> OpenOfflineWindows(const std::string& hostRoot,
                                                  const std::string& programFolder,
                                                  const OfflineOptions& options, std::string* error) {
    fs::path root = HostPath(hostRoot);
    std::string windowsName;
    fs::path config;
    if (!FindConfig(root, &windowsName, &config)) {
        *error = hostRoot + ": not a Windows installation (no Windows/System32/config/SYSTEM)";
        return nullptr;
    }
    auto system = HiveFile::Open(HostPathString(config / FindName(config, "SYSTEM")), error);
    if (!system)
        return nullptr;
    std::shared_ptr<HiveFile> software;
    if (std::string name = FindName(config, "SOFTWARE"); !name.empty()) {
        software = HiveFile::Open(HostPathString(config / name), error);
        if (!software)
            return nullptr;
    }
    for (const auto* hive : {system.get(), software.get()}) {
        if (hive != nullptr && hive->Dirty() && options.note)
            options.note(std::string(hive == system.get() ? "SYSTEM" : "SOFTWARE") +
                         " hive: Windows did not close it cleanly; its transaction logs are not applied, "
                         "what the hive file itself holds is read");
    }

    // The facts first, from a registry of their own: the platform takes them when it is made.
    MachineFacts facts;
    {
        ImageRegistry probe;
        if (!AttachHives(probe, system, software, options, error) ||
            !ReadFacts(probe, software != nullptr, root, windowsName, options, &facts, error))
            return nullptr;
    }
    CompleteMachineFacts(&facts);

    // Scratch space in the user's temporary folder for what the program writes to C:.
    fs::path scratch = fs::temp_directory_path() / "vantrel-offline-XXXXXX";
    std::string pattern = scratch.string();
    if (mkdtemp(pattern.data()) == nullptr) {
        *error = "cannot create a scratch folder in " + fs::temp_directory_path().string();
        return nullptr;
    }
    scratch = pattern;
    std::error_code ec;
    fs::create_directories(scratch / "Temp", ec);
    fs::create_directories(scratch / "AppData", ec);

    auto files = std::make_unique<GuardedFileSystem>(root);
    files->AddMount("C:\\", HostPathString(root));
    files->AddMount(facts.temp, HostPathString(scratch / "Temp"));
    files->AddMount(facts.appdata, HostPathString(scratch / "AppData"));
    auto platform = std::make_unique<OfflinePlatform>(facts, programFolder, std::move(files), scratch);
    if (!AttachHives(platform->Registry(), system, software, OfflineOptions{}, error))
        return nullptr;
    return platform;
}

} // namespace vantrel
