#include "backup/BackupRun.h"

#include <algorithm>
#include <memory>

#include "app/App.h"
#include "app/Settings.h"
#include "app/SystemServices.h"
#include "archive/ZipSafety.h"
#include "backup/BackupInfo.h"
#include "backup/Packaging.h"
#include "inventory/DriverFiles.h"
#include "inventory/InfFile.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/System.h"
#include "restore/BackupCheck.h"
#include "util/Text.h"

namespace vantrel {

namespace {

struct FormInfo {
    BackupForm form;
    const char* option;
    const char* packageName; // in the root; none for folders
    const char* logKey;
    const char* logEnglish;
    int (*pack)(PackagingContext&, const PackageJob&);
};

constexpr FormInfo kForms[] = {
    {BackupForm::Folder, kBckFolder, nullptr, nullptr, nullptr, nullptr},
    {BackupForm::Zip, kBckZip, "\\MyDrivers.zip", "MsgBackupCompress", "Compressing driver files",
     ZipProcess},
    {BackupForm::Sfx, kBckSfx, "\\MyDrivers.exe", "MsgBacupSfx", "Adding driver files to self-extractor",
     SelfExtractExeProcess},
    {BackupForm::AutoSetup, kBckAutoExe, "\\DriverAutoSetup.exe", "MsgBackupAutoSetup",
     "Adding driver files to auto-setup package", SelfExtractAutoExeProcess},
};

const FormInfo& Info(BackupForm form) {
    for (const auto& info : kForms) {
        if (info.form == form)
            return info;
    }
    return kForms[0];
}

std::string TempFolderNoSlash(Platform& platform) {
    std::string temp = GetTempFolder(platform);
    if (temp.size() > 3 && temp.back() == '\\')
        temp.pop_back();
    return temp;
}

BackupInfoSource InfoSource(Inventory& inventory, int recordIndex) {
    const DriverRecord& record = inventory.drivers[recordIndex];
    BackupInfoSource source;
    source.driverDesc = record.driverDesc.Trimmed();
    source.infFileName = inventory.files.names[1];
    source.infSection = record.infSection.Trimmed();
    source.infSectionExt = record.infSectionExt.Trimmed();
    source.hardwareId = record.hardwareId.Trimmed();
    source.driverVersion = record.driverVersion.Trimmed();
    source.driverDate = record.driverDate.Trimmed();
    source.providerName = record.providerName.Trimmed();
    source.className = record.className.Trimmed();
    source.fileCount = inventory.files.count;
    source.needRestore = !IsMicrosoftProvider(source.providerName);
    return source;
}

// The bar's value after `done` of the `total` files of the driver with index `driver`: each
// driver an equal share of 100, each file an equal part of that share.
int Share(std::size_t driver, std::size_t drivers, int done, int total) {
    if (total <= 0)
        done = total = 1;
    long long steps = static_cast<long long>(drivers) * total;
    return static_cast<int>(100 * (static_cast<long long>(driver) * total + done) / steps);
}

} // namespace

BackupForm BackupFormFromSetting(std::string_view option) {
    for (const auto& info : kForms) {
        if (option == info.option)
            return info.form;
    }
    return BackupForm::Folder;
}

std::string BackupTarget(const std::string& root, BackupForm form) {
    const FormInfo& info = Info(form);
    return info.packageName ? root + info.packageName : root;
}

std::string BackupFolderName(std::string_view driverDesc) {
    std::string name = Trim(driverDesc);
    for (char c : {'*', '\\', '|', '/', ':', '?', '>', '<', '"'})
        name = ReplaceWithBlank(name, c);
    // Windows drops trailing blanks and dots from a folder name; a package must not keep them.
    while (!name.empty() && (name.back() == ' ' || name.back() == '.'))
        name.pop_back();
    // Windows cannot make a folder named CON or NUL.
    if (IsDeviceName(name)) {
        std::size_t dot = std::min(name.find('.'), name.size());
        name = name.substr(0, dot) + '_' + name.substr(dot);
    }
    return name.empty() ? std::string(1, '_') : name;
}

BackupRun::BackupRun(App& app, Inventory& inventory) : app(app), inventory(inventory) {}

std::string BackupRun::Lang(const char* key, const char* english) const {
    return app.GetLangText("FormMain", key, english);
}

std::vector<std::string> BackupRun::SearchDriverFiles(FileFinder& finder,
                                                      const std::vector<std::string>& trees,
                                                      DriverStore& store, const std::string& package,
                                                      BackupObserver& observer, int barFrom, int barTo) {
    const DriverFileList& files = inventory.files;
    std::vector<std::string> found(static_cast<std::size_t>(files.count) + 1);
    for (int i = 1; i <= files.count; ++i) {
        const std::string name = Trim(files.names[static_cast<std::size_t>(i)]);
        observer.AppendLog("\r\n " + Lang("StrSearch", "Searching") + " " + name + "...");
        std::string& path = found[static_cast<std::size_t>(i)];
        // The INF is the one the list was read from, wherever it was found.
        if (i == 1) {
            path = files.currentInfPath;
        } else if (!name.empty()) {
            // The package folder holds this version's files, where the trees may first meet
            // another version's or a 32-bit file of the same name (SysWOW64).
            const std::string source = Trim(files.sourceNames[static_cast<std::size_t>(i)]);
            path = store.FindInPackage(package, source.empty() ? name : source);
            if (path.empty() && !source.empty())
                path = store.FindInPackage(package, name);
            if (path.empty())
                path = finder.FindFileInTrees(trees, name);
        }
        observer.Progress(barFrom + (barTo - barFrom) * i / files.count);
    }
    return found;
}

BackupSummary BackupRun::Run(const std::string& root, const std::vector<BackupItem>& items,
                             BackupObserver& observer) {
    Platform& platform = app.platform;
    FileSystem& fs = platform.fs;
    BackupSummary summary;

    SettingsStore settings(platform.registry);
    BackupForm form = BackupFormFromSetting(settings.ReadSettingOr(kSetBackupOption, kBckFolder));
    std::string level = settings.ReadSettingOr(kSetCompressionLevel, "Medium");
    settings.CloseSettingsKey();
    const FormInfo& formInfo = Info(form);
    summary.target = BackupTarget(root, form);

    // A finished auto-setup package carries its launcher and trailer, so it cannot take
    // more drivers: a new run builds it afresh.
    if (form == BackupForm::AutoSetup)
        fs.DeleteFile(summary.target);

    std::string windows = GetWindowsFolder(platform);
    std::string systemFolder;
    std::unique_ptr<FsRedirectionOff> redirection;
    if (IsWow64(platform)) {
        systemFolder = windows + "\\SysWOW64";
        redirection = std::make_unique<FsRedirectionOff>(platform);
    } else {
        systemFolder = platform.system.GetSystemDirectory();
    }
    const std::vector<std::string> trees = {systemFolder, windows};
    std::string workBase = form == BackupForm::Folder ? root : TempFolderNoSlash(platform);
    PackagingContext packaging{fs, platform.system, platform.resources, nullptr};
    FileFinder finder(fs); // the trees are listed once for the whole run
    // Past redirection: the 32-bit program reaches the 64-bit system's store.
    DriverStore store(fs, windows + "\\System32\\DriverStore\\FileRepository");
    OsVersion version = platform.system.GetVersion();
    InfTarget target{platform.system.Is64BitWindows() ? "amd64" : "x86", version.major, version.minor,
                     version.build};
    InventoryRun inventoryRun(inventory);

    for (std::size_t n = 0; n < items.size(); ++n) {
        const BackupItem& item = items[n];
        observer.DriverStarted(item.row);
        std::string desc = inventory.drivers[item.recordIndex].driverDesc.Trimmed();
        observer.ClearLog();
        observer.AppendLog(Lang("MsgBackingDrivers", "Backing up drivers of") + " '" + desc + "', " +
                           Lang("MsgWait", "please wait patiently") + " ...");
        observer.Pump();

        BuildDriverFileList(inventory, item.recordIndex);
        const DriverFileList& files = inventory.files;
        if (Trim(files.currentInfPath).empty()) {
            ++summary.driversSkipped;
            continue;
        }
        std::string folderName = BackupFolderName(desc);
        std::string folder = workBase + "\\" + folderName;
        bool folderIsNew = !fs.Exists(folder);
        CreateDirectories(fs, folder);
        // What this run puts into the folder: in the temporary folder only that is removed.
        std::vector<std::string> written = {folder + "\\" + kBackupInfoFile};
        BackupInfoSource source = InfoSource(inventory, item.recordIndex);
        source.signature = GetSupportedOs(inventory, item.recordIndex);
        // A half-written information file must not pass for a backup.
        if (!WriteBackupInfo(platform, folder, source))
            fs.DeleteFile(folder + "\\" + kBackupInfoFile);

        // The search moves the bar only within the first file's part of the driver's share,
        // so that setting it per copied file never moves it back.
        std::string package = store.PackageOf(files.currentInfPath);
        std::vector<std::string> found =
            SearchDriverFiles(finder, trees, store, package, observer, Share(n, items.size(), 0, files.count),
                              Share(n, items.size(), 1, files.count));

        for (int i = 1; i <= files.count; ++i) {
            if (observer.Cancelled()) {
                summary.stopped = true;
                return summary;
            }
            const std::string& from = found[static_cast<std::size_t>(i)];
            std::string fileName = Trim(files.names[static_cast<std::size_t>(i)]);
            std::string sourceName = Trim(files.sourceNames[static_cast<std::size_t>(i)]);
            std::string to = folder + "\\" + (sourceName.empty() ? fileName : sourceName);
            if (from.empty() && !fileName.empty())
                summary.filesMissing.push_back(fileName);
            if (!from.empty() && !EqualsNoCase(from, to)) {
                observer.AppendLog("\r\n " + Lang("MsgBackingUp", "Backing up") + " " + from);
                observer.Pump();
                if (fs.CopyFile(from, to, false)) {
                    ++summary.filesCopied;
                    written.push_back(to);
                } else {
                    summary.filesFailed.push_back(from);
                }
            }
            observer.Progress(Share(n, items.size(), i, files.count));
        }
        ++summary.driversSaved;

        // Can the folder install the driver again? Checked now, while the machine that has
        // the files is at hand.
        BackupEntry saved;
        saved.driverDesc = desc;
        saved.infPath = files.names[1];
        saved.matchingDeviceId = source.hardwareId;
        saved.infSection = source.infSection + source.infSectionExt;
        saved.folder = folder;
        BackupDriverCheck check = CheckBackedUpDriver(platform, saved, target, !IsNtFamily(platform));
        if (!check.Complete())
            summary.incomplete.push_back({desc, std::move(check.missing)});

        if (formInfo.pack != nullptr) {
            observer.AppendLog("\r\n" + Lang(formInfo.logKey, formInfo.logEnglish) + "...");
            observer.Pump();
            PackageJob job{summary.target, workBase, folderName + "\\*.*", true, level};
            if (formInfo.pack(packaging, job) != kPackOk)
                ++summary.packageErrors;
            // The working copy has served its purpose; what was there before the run stays.
            for (const auto& file : written)
                fs.DeleteFile(file);
            if (folderIsNew)
                fs.RemoveDirectory(folder);
        }
    }
    if (form == BackupForm::AutoSetup && !FinishAutoSetupPackage(packaging, summary.target))
        ++summary.packageErrors;
    observer.Progress(100);
    return summary;
}

} // namespace vantrel
