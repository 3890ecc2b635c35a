#include "liveupdate/LiveUpdate.h"

#include <memory>

#include "app/Settings.h"
#include "archive/ZipReader.h"
#include "devices/DeviceDatabase.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Profile.h"
#include "updates/UpdateDatabase.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr std::uint64_t kIndexMaxBytes = 64 * 1024;
constexpr std::uint64_t kDatabaseMaxBytes = 64u << 20;

std::string FirstLine(std::string_view text) {
    std::string_view line = text.substr(0, text.find('\n'));
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return std::string(line);
}

std::string DeviceDbDateOf(std::string_view text) {
    std::string line = FirstLine(text);
    return Trim(line.substr(0, line.find('=')));
}

bool ParseSize(const std::string& text, std::uint64_t* bytes) {
    if (text.empty() || text.size() > 15)
        return false;
    std::uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return false;
        value = value * 10 + static_cast<std::uint64_t>(c - '0');
    }
    *bytes = value;
    return true;
}

// The driver database's text, or nothing when the file does not open with its password.
bool DriverDbText(FileSystem& fs, const std::string& path, std::string* text) {
    std::string error;
    return fs.Exists(path) && ReadUpdateDatabase(fs, path, text, &error);
}

// GET into a file of the program folder; the file is gone again unless the transfer worked.
HttpResult Fetch(Http& http, FileSystem& fs, const std::string& url, const std::string& path,
                 const HttpLimits& limits, HttpObserver* observer) {
    std::unique_ptr<OutputFile> out = fs.OpenWrite(path);
    if (!out)
        return {HttpError::Write, 0, 0, {}, "cannot create " + path};
    HttpResult result = HttpGet(http, url, limits, *out, observer);
    if (!out->Close() && result.Ok())
        result.error = HttpError::Write;
    if (!result.Ok())
        fs.DeleteFile(path);
    return result;
}

} // namespace

UpdateIndex ReadUpdateIndex(Profile& profile, std::string_view path) {
    UpdateIndex index;
    for (int i = 0; i < kUpdateComponentCount; ++i) {
        const UpdateComponent& c = kUpdateComponents[i];
        profile.GetString("update", c.dateKey, "", kIndexValueChars, path, &index.date[i]);
        profile.GetString("update", c.sizeKey, "", kIndexValueChars, path, &index.size[i]);
    }
    return index;
}

std::string InstalledDeviceDbDate(FileSystem& fs, std::string_view path) {
    std::unique_ptr<InputFile> file = fs.OpenRead(path);
    if (!file)
        return "";
    // The first line is short; the file is large.
    char head[256];
    std::int64_t got = file->Read(head, sizeof head);
    return got > 0 ? DeviceDbDateOf(std::string_view(head, static_cast<std::size_t>(got))) : "";
}

std::string InstalledDriverDbDate(FileSystem& fs, std::string_view path) {
    std::string text;
    if (!DriverDbText(fs, std::string(path), &text))
        return "000";
    std::string date = Trim(FirstLine(text));
    return date.empty() ? "000" : date;
}

std::vector<UpdateOffer> FindUpdateOffers(const UpdateIndex& index, const std::string (&installed)[2]) {
    std::vector<UpdateOffer> offers;
    for (int i = 0; i < kUpdateComponentCount; ++i) {
        if (!(index.date[i] > installed[i]))
            continue;
        UpdateOffer offer;
        offer.component = i;
        offer.date = index.date[i];
        offer.size = index.size[i];
        offer.sizeKnown = ParseSize(Trim(index.size[i]), &offer.bytes);
        offers.push_back(offer);
    }
    return offers;
}

std::string ReadUpdateServer(Registry& registry) {
    SettingsStore settings(registry);
    std::string server = settings.ReadSettingOr(kSetUpdateServer, "", kPathBufferChars);
    while (!server.empty() && server.back() == '/')
        server.pop_back();
    return server.empty() ? kDefaultUpdateServer : server;
}

LiveUpdate::LiveUpdate(Platform& platform, Http& http, std::string appPath, std::string server)
    : platform(platform), http(http), appPath(std::move(appPath)), server(std::move(server)) {
    while (!this->server.empty() && this->server.back() == '/')
        this->server.pop_back();
}

std::string LiveUpdate::ServerHost() const {
    HttpUrl url;
    return ParseHttpUrl(server, &url) ? url.host : server;
}

void LiveUpdate::RecoverInterruptedInstall() {
    FileSystem& fs = platform.fs;
    std::string deviceDb = appPath + kUpdateComponents[0].installedFile;
    std::string staged = appPath + kStagedDeviceDb;
    if (fs.Exists(staged)) {
        // Staged files are complete before the swap starts, so a missing or undated database
        // means the swap was under way.
        if (InstalledDeviceDbDate(fs, deviceDb).empty())
            fs.MoveFile(staged, deviceDb);
        else
            fs.DeleteFile(staged);
    }
    std::string driverDb = appPath + kUpdateComponents[1].installedFile;
    std::string download = appPath + kUpdateComponents[1].downloadFile;
    std::string text;
    if (fs.Exists(download)) {
        if (!DriverDbText(fs, driverDb, &text) && DriverDbText(fs, download, &text))
            fs.MoveFile(download, driverDb);
        else
            fs.DeleteFile(download);
    }
    fs.DeleteFile(appPath + kUpdateComponents[0].downloadFile);
}

SearchOutcome LiveUpdate::Search(HttpObserver* observer, std::vector<UpdateOffer>* offers,
                                 HttpResult* transfer) {
    FileSystem& fs = platform.fs;
    offers->clear();
    for (const auto& c : kUpdateComponents) {
        if (!fs.Exists(appPath + c.installedFile))
            return SearchOutcome::DatabasesMissing;
    }
    std::string indexPath = appPath + kUpdateIndexFile;
    fs.DeleteFile(indexPath);
    HttpLimits limits;
    limits.maxBytes = kIndexMaxBytes;
    *transfer = Fetch(http, fs, server + kUpdateServerFolder + kUpdateIndexFile, indexPath, limits, observer);
    if (!transfer->Ok())
        return SearchOutcome::IndexFailed;
    UpdateIndex index = ReadUpdateIndex(platform.profile, indexPath);
    std::string installed[2] = {InstalledDeviceDbDate(fs, appPath + kUpdateComponents[0].installedFile),
                                InstalledDriverDbDate(fs, appPath + kUpdateComponents[1].installedFile)};
    *offers = FindUpdateOffers(index, installed);
    fs.DeleteFile(indexPath);
    return SearchOutcome::Done;
}

HttpResult LiveUpdate::Download(const UpdateOffer& offer, HttpObserver* observer) {
    const UpdateComponent& c = kUpdateComponents[offer.component];
    HttpLimits limits;
    // The index names the size: a longer answer is not the file it describes.
    limits.maxBytes = offer.sizeKnown ? offer.bytes : kDatabaseMaxBytes;
    std::string path = appPath + c.downloadFile;
    HttpResult result =
        Fetch(http, platform.fs, server + kUpdateServerFolder + c.downloadFile, path, limits, observer);
    if (result.Ok() && offer.sizeKnown && result.bytes != offer.bytes) {
        result.error = HttpError::ShortBody;
        platform.fs.DeleteFile(path);
    }
    return result;
}

InstallOutcome LiveUpdate::Install(const UpdateOffer& offer) {
    return offer.component == 0 ? InstallDeviceDb(offer) : InstallDriverDb(offer);
}

InstallOutcome LiveUpdate::InstallDeviceDb(const UpdateOffer& offer) {
    FileSystem& fs = platform.fs;
    const UpdateComponent& c = kUpdateComponents[offer.component];
    std::string zipPath = appPath + c.downloadFile;
    std::string installed = appPath + c.installedFile;
    std::string text;
    bool read = false;
    {
        ZipReader zip(fs);
        if (zip.Open(zipPath)) {
            for (std::size_t i = 0; i < zip.Entries().size() && !read; ++i) {
                std::string why;
                if (EqualsNoCase(zip.Entries()[i].name, c.installedFile))
                    read = zip.ReadEntry(i, "", &text, &why);
            }
        }
    }
    fs.DeleteFile(zipPath);
    std::string date = read ? DeviceDbDateOf(text) : "";
    DeviceDatabase check;
    if (read)
        check.Load(text);
    if (date.empty() || check.Empty())
        return InstallOutcome::Damaged;
    if (date < InstalledDeviceDbDate(fs, installed))
        return InstallOutcome::Older;
    // Written whole beside the old one, then renamed over it: there is always one whole file.
    std::string staged = appPath + kStagedDeviceDb;
    if (!WriteWholeFile(fs, staged, text) || !fs.MoveFile(staged, installed)) {
        fs.DeleteFile(staged);
        return InstallOutcome::WriteFailed;
    }
    return InstallOutcome::Installed;
}

InstallOutcome LiveUpdate::InstallDriverDb(const UpdateOffer& offer) {
    FileSystem& fs = platform.fs;
    const UpdateComponent& c = kUpdateComponents[offer.component];
    std::string download = appPath + c.downloadFile;
    std::string installed = appPath + c.installedFile;
    std::string text;
    if (!DriverDbText(fs, download, &text) || Trim(FirstLine(text)).empty()) {
        fs.DeleteFile(download);
        return InstallOutcome::Damaged;
    }
    std::string installedDate = InstalledDriverDbDate(fs, installed);
    if (installedDate != "000" && Trim(FirstLine(text)) < installedDate) {
        fs.DeleteFile(download);
        return InstallOutcome::Older;
    }
    if (!fs.MoveFile(download, installed)) {
        fs.DeleteFile(download);
        return InstallOutcome::WriteFailed;
    }
    return InstallOutcome::Installed;
}

} // namespace vantrel
