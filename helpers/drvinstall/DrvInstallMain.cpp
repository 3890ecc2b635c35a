// DrvInstall.exe, started once per driver by the restore and the removal runs:
//   /i "inf" "hwid"  installs the INF's driver on the devices with the hardware ID, first
//                    making a root-enumerated device for it when no present device has it;
//   /r "hwid"        removes every device whose hardware IDs include the ID.
// The exit code says how it went (restore/DrvInstallCodes.h), a line on standard error why.
// A console program: started hidden it shows nothing, and a command line sees its reasons.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "common/HelperCommon.h"
#include "platform/win32/WindowsApi.h"

#include <setupapi.h>

#include "inventory/InfFile.h"
#include "inventory/InfInstall.h"
#include "platform/win32/Win32Ports.h"
#include "restore/DrvInstallCodes.h"
#include "restore/DrvInstallPackage.h"
#include "util/Text.h"

namespace {

using namespace vantrel;

constexpr std::uint64_t kMaxInfBytes = 64ull << 20;
constexpr DWORD kInstallFlagForce = 0x00000001; // INSTALLFLAG_FORCE of newdev.h
constexpr DWORD kClassNameChars = 32;           // MAX_CLASS_NAME_LEN

int Say(int code, const std::string& why) {
    std::fprintf(stderr, "DrvInstall: %s\n", why.c_str());
    return code;
}

std::string ErrorText(DWORD error) {
    char text[512] = {};
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, text, sizeof text, nullptr);
    while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n' || text[length - 1] == ' '))
        --length;
    char code[32];
    std::snprintf(code, sizeof code, "error 0x%08lX", static_cast<unsigned long>(error));
    return length == 0 ? std::string(code) : std::string(code) + ": " + std::string(text, length);
}

class DeviceSet {
public:
    explicit DeviceSet(HDEVINFO set) : set(set) {}
    ~DeviceSet() {
        if (Valid())
            SetupDiDestroyDeviceInfoList(set);
    }
    DeviceSet(const DeviceSet&) = delete;
    DeviceSet& operator=(const DeviceSet&) = delete;
    bool Valid() const { return set != INVALID_HANDLE_VALUE; }
    HDEVINFO Get() const { return set; }

private:
    HDEVINFO set;
};

// A multi-string property of a device (hardware or compatible IDs); "" when it has none.
std::string DeviceIds(HDEVINFO set, SP_DEVINFO_DATA* device, DWORD property) {
    DWORD type = 0, size = 0;
    SetupDiGetDeviceRegistryPropertyA(set, device, property, &type, nullptr, 0, &size);
    if (size == 0)
        return {};
    std::string ids(size, '\0');
    if (!SetupDiGetDeviceRegistryPropertyA(set, device, property, &type, reinterpret_cast<BYTE*>(ids.data()),
                                           size, &size) ||
        (type != REG_MULTI_SZ && type != REG_SZ))
        return {};
    ids.resize(size);
    return ids;
}

// The ID as a present device spells it (hardware or compatible ID); "" when none has it.
std::string PresentDeviceId(const std::string& id) {
    DeviceSet set(SetupDiGetClassDevsA(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES | DIGCF_PRESENT));
    if (!set.Valid())
        return {};
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    for (DWORD k = 0; SetupDiEnumDeviceInfo(set.Get(), k, &device); ++k) {
        // The restore names the ID the driver was matched by, which may be a compatible one.
        for (DWORD property : {SPDRP_HARDWAREID, SPDRP_COMPATIBLEIDS}) {
            std::string ids = DeviceIds(set.Get(), &device, property);
            for (std::size_t start = 0, end = 0; start < ids.size(); start = end + 1) {
                end = std::min(ids.find('\0', start), ids.size());
                std::string one = ids.substr(start, end - start);
                if (!one.empty() && EqualsNoCase(one, id))
                    return one;
            }
        }
    }
    return {};
}

bool RemoveDevice(HDEVINFO set, SP_DEVINFO_DATA* device) {
    SP_REMOVEDEVICE_PARAMS params{};
    params.ClassInstallHeader.cbSize = sizeof(SP_CLASSINSTALL_HEADER);
    params.ClassInstallHeader.InstallFunction = DIF_REMOVE;
    params.Scope = DI_REMOVEDEVICE_GLOBAL;
    if (SetupDiSetClassInstallParamsA(set, device, &params.ClassInstallHeader, sizeof params) &&
        SetupDiCallClassInstaller(DIF_REMOVE, set, device))
        return true;
    return SetupDiRemoveDevice(set, device) != FALSE;
}

bool NeedsReboot(HDEVINFO set, SP_DEVINFO_DATA* device) {
    SP_DEVINSTALL_PARAMS_A params{};
    params.cbSize = sizeof params;
    return SetupDiGetDeviceInstallParamsA(set, device, &params) &&
           (params.Flags & (DI_NEEDREBOOT | DI_NEEDRESTART)) != 0;
}

// A root-enumerated device node of the INF's class with the hardware ID, registered, so that
// the driver has a device to go on. It is removed again if the installation fails.
class RootDevice {
public:
    bool Create(const std::string& inf, const std::string& className, const std::vector<std::string>& ids,
                std::string* error) {
        GUID guid{};
        char name[kClassNameChars] = {};
        if (!SetupDiGetINFClassA(inf.c_str(), &guid, name, sizeof name, nullptr)) {
            // An INF may name its class without the GUID; the system knows the installed classes.
            DWORD count = 0;
            if (className.empty() || !SetupDiClassGuidsFromNameA(className.c_str(), &guid, 1, &count) ||
                count == 0) {
                *error = "the INF's device class is not known: " + ErrorText(GetLastError());
                return false;
            }
            lstrcpynA(name, className.c_str(), sizeof name);
        }
        set = SetupDiCreateDeviceInfoList(&guid, nullptr);
        if (set == INVALID_HANDLE_VALUE) {
            *error = "cannot make a device list: " + ErrorText(GetLastError());
            return false;
        }
        device.cbSize = sizeof device;
        // A multi-string: each ID with its NUL, and the list's closing NUL.
        std::string list;
        for (const auto& id : ids)
            list += id + '\0';
        list += '\0';
        if (!SetupDiCreateDeviceInfoA(set, name, &guid, nullptr, nullptr, DICD_GENERATE_ID, &device) ||
            !SetupDiSetDeviceRegistryPropertyA(set, &device, SPDRP_HARDWAREID,
                                               reinterpret_cast<const BYTE*>(list.data()),
                                               static_cast<DWORD>(list.size())) ||
            !SetupDiCallClassInstaller(DIF_REGISTERDEVICE, set, &device)) {
            *error = "cannot make a device for " + ids.front() + ": " + ErrorText(GetLastError());
            return false;
        }
        registered = true;
        return true;
    }
    void Remove() {
        if (registered)
            RemoveDevice(set, &device);
        registered = false;
    }
    ~RootDevice() {
        if (set != INVALID_HANDLE_VALUE)
            SetupDiDestroyDeviceInfoList(set);
    }

private:
    HDEVINFO set = INVALID_HANDLE_VALUE;
    SP_DEVINFO_DATA device{};
    bool registered = false;
};

std::unique_ptr<InfText> ReadInf(FileSystem& fs, System& system, const std::string& path) {
    auto bytes = fs.ReadAll(path, kMaxInfBytes);
    if (!bytes)
        return nullptr;
    if (InfNeedsDecoding(bytes->View()))
        return std::make_unique<InfText>(DecodeInfBytes(bytes->View(), system));
    return std::make_unique<InfText>(std::move(bytes));
}

std::string FullPath(const std::string& path) {
    char full[MAX_PATH * 2] = {};
    DWORD length = GetFullPathNameA(path.c_str(), sizeof full, full, nullptr);
    return length == 0 || length >= sizeof full ? path : std::string(full, length);
}

// A new, empty folder in the temporary folder; "" when none can be made.
std::string MakeStageFolder() {
    std::string base = helper::TempFolder() + "\\DrvInstall";
    for (unsigned k = 0; k < 100; ++k) {
        std::string folder = base + std::to_string(GetCurrentProcessId()) + "_" + std::to_string(k);
        if (CreateDirectoryA(folder.c_str(), nullptr))
            return folder;
    }
    return {};
}

int Install(const DrvInstallCommand& command) {
    Win32FileSystem fs;
    Win32System system;
    std::string infPath = FullPath(command.infPath);
    auto inf = ReadInf(fs, system, infPath);
    if (!inf)
        return Say(kDrvInstallInfNotFound, "cannot read the INF " + infPath);

    OsVersion version = system.GetVersion();
    InfTarget target{system.Is64BitWindows() ? "amd64" : "x86", version.major, version.minor, version.build};
    InfInstallInfo info;
    switch (AnalyzeInfInstall(*inf, command.hardwareId, target, &info)) {
    case InfInstallResult::NoModel:
        return Say(kDrvInstallNoModel,
                   "the INF has no model for " + command.hardwareId + " on " + target.processor);
    case InfInstallResult::NoInstallSection:
        return Say(kDrvInstallNoModel, "the INF lacks the install section " + info.model.installSection);
    case InfInstallResult::Ok:
        break;
    }

    // The system would ask for the disk, or under Wine spin for ever: check first.
    std::string infFolder = infPath.substr(0, infPath.find_last_of('\\'));
    std::vector<std::string> missing = MissingPackageFiles(fs, infFolder, info);
    if (!missing.empty()) {
        std::string names;
        for (const auto& name : missing)
            names += (names.empty() ? "" : ", ") + name;
        return Say(kDrvInstallFilesMissing, "files missing beside the INF: " + names);
    }
    if (!info.catalogFile.empty() && PackageFiles(fs, infFolder).Locate("", info.catalogFile, "").empty())
        Say(0, "warning: the catalog " + info.catalogFile + " is not beside the INF");

    std::string stageFolder = MakeStageFolder();
    if (stageFolder.empty())
        return Say(kDrvInstallStagingFailed, "cannot make a folder in " + helper::TempFolder());
    PackageStage stage(fs, stageFolder);
    std::string error;
    if (!stage.Stage(infPath, info, &error))
        return Say(kDrvInstallStagingFailed, error);

    // Windows compares IDs without case, Wine with: the installation is asked for the ID as the
    // device spells it. A device of another revision of the same chip is the same device to
    // the driver, so the general forms are looked for before a device is made.
    RootDevice root;
    bool madeDevice = false;
    std::vector<std::string> ids = GeneralHardwareIds(command.hardwareId);
    std::string deviceId;
    for (std::size_t k = 0; k < ids.size() && deviceId.empty(); ++k)
        deviceId = PresentDeviceId(ids[k]);
    if (deviceId.empty()) {
        // A device made here carries the ID and its general forms, as a real one does, and the
        // INF's own spelling of the matched one.
        if (std::find(ids.begin(), ids.end(), info.model.matchedId) == ids.end())
            ids.push_back(info.model.matchedId);
        deviceId = ids.front();
        if (!root.Create(stage.InfPath(), info.infClass, ids, &error))
            return Say(kDrvInstallNoDevice, error);
        madeDevice = true;
    }

    // Looked up now, so that the program still starts where the library is missing.
    using UpdateFn = BOOL(WINAPI*)(HWND, LPCSTR, LPCSTR, DWORD, PBOOL);
    HMODULE newdev = LoadLibraryA("newdev.dll");
    auto update =
        newdev ? reinterpret_cast<UpdateFn>(GetProcAddress(newdev, "UpdateDriverForPlugAndPlayDevicesA"))
               : nullptr;
    if (!update) {
        root.Remove();
        return Say(kDrvInstallFailed, "this Windows cannot install drivers for devices (newdev.dll)");
    }
    BOOL reboot = FALSE;
    if (!update(nullptr, deviceId.c_str(), stage.InfPath().c_str(), kInstallFlagForce, &reboot)) {
        DWORD failure = GetLastError();
        if (madeDevice)
            root.Remove();
        return Say(kDrvInstallFailed, "Windows refused the installation: " + ErrorText(failure));
    }
    return reboot ? Say(kDrvInstallNeedsReboot, "installed; Windows needs a restart")
                  : static_cast<int>(kDrvInstallOk);
}

int Remove(const std::string& id) {
    DeviceSet set(SetupDiGetClassDevsA(nullptr, nullptr, nullptr, DIGCF_ALLCLASSES));
    if (!set.Valid())
        return Say(kDrvInstallFailed, "cannot list the devices: " + ErrorText(GetLastError()));
    int found = 0, failed = 0;
    bool reboot = false;
    DWORD failure = 0;
    SP_DEVINFO_DATA device{};
    device.cbSize = sizeof device;
    for (DWORD k = 0; SetupDiEnumDeviceInfo(set.Get(), k, &device); ++k) {
        if (!IdListHas(DeviceIds(set.Get(), &device, SPDRP_HARDWAREID), id))
            continue;
        ++found;
        if (!RemoveDevice(set.Get(), &device)) {
            failure = GetLastError();
            ++failed;
        }
        reboot = reboot || NeedsReboot(set.Get(), &device);
    }
    if (found == 0)
        return Say(kDrvInstallNoDevice, "no device has the hardware ID " + id);
    if (failed > 0)
        return Say(kDrvInstallFailed, std::to_string(failed) + " of " + std::to_string(found) +
                                          " devices could not be removed: " + ErrorText(failure));
    return reboot ? Say(kDrvInstallNeedsReboot, "removed; Windows needs a restart")
                  : static_cast<int>(kDrvInstallOk);
}

} // namespace

int main() {
    helper::RestrictDllSearch();
    // No system error boxes for a missing disk or file: nobody may be there to answer them.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    DrvInstallCommand command;
    if (!ParseDrvInstallCommandLine(GetCommandLineA(), &command))
        return Say(kDrvInstallUsage,
                   "usage: DrvInstall.exe /i \"INF path\" \"hardware ID\" | /r \"hardware ID\"");
    return command.mode == DrvInstallCommand::Mode::Install ? Install(command) : Remove(command.hardwareId);
}
