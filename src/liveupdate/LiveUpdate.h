// Database LiveUpdate: the update server's index, the installed dates, the downloads, their
// checks and the installation. The wizard page and the command line drive the same steps.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Http.h"

namespace vantrel {

class FileSystem;
class Profile;
class Registry;
struct Platform;

inline constexpr char kUpdateIndexFile[] = "update.txt";
inline constexpr char kUpdateServerFolder[] = "/update11/";
inline constexpr std::uint32_t kIndexValueChars = 30;
// Staged name of the device database while it is written, before it takes the real name.
inline constexpr char kStagedDeviceDb[] = "pcidevs.new";

struct UpdateComponent {
    const char* nameKey; // language key of the row text
    const char* name;    // its English text
    const char* installedFile;
    const char* downloadFile;
    const char* dateKey; // keys of the index, spelt as the server writes them
    const char* sizeKey;
};

inline constexpr UpdateComponent kUpdateComponents[] = {
    {"LvwItem1", "Device Identifier Database", "pcidevs.txt", "pcidevs.zip", "UnKnownDBDate",
     "UnknownDBSize"},
    {"LvwItem2", "Drivers Update Database", "DriverDB.dat", "NewDriverDB.dat", "DriverDBDate",
     "DriverDBSize"},
};
inline constexpr int kUpdateComponentCount = 2;

// One newer database the server offers.
struct UpdateOffer {
    int component = 0; // index into kUpdateComponents
    std::string date;
    std::string size; // as the index writes it
    std::uint64_t bytes = 0;
    bool sizeKnown = false; // the size is a plain number
};

struct UpdateIndex {
    std::string date[kUpdateComponentCount];
    std::string size[kUpdateComponentCount];
};

UpdateIndex ReadUpdateIndex(Profile& profile, std::string_view path);
// The device database's date: its first line up to the first "="; "" when unreadable.
std::string InstalledDeviceDbDate(FileSystem& fs, std::string_view path);
// The driver database's date: the first line of its text; "000" when it cannot be read.
std::string InstalledDriverDbDate(FileSystem& fs, std::string_view path);
// The components whose server date is greater, as text, than the installed one.
std::vector<UpdateOffer> FindUpdateOffers(const UpdateIndex& index, const std::string (&installed)[2]);

// The "UpdateServer" setting without trailing "/", or the default address.
std::string ReadUpdateServer(Registry& registry);

enum class SearchOutcome { DatabasesMissing, IndexFailed, Done };
enum class InstallOutcome { Installed, Damaged, Older, WriteFailed };

// The steps against one server for the program folder appPath (ending in "\").
class LiveUpdate {
public:
    LiveUpdate(Platform& platform, Http& http, std::string appPath, std::string server);

    // A database swap that a crash cut short is finished or undone, so that both databases
    // are whole before anything else reads them.
    void RecoverInterruptedInstall();
    // Fetches the index and lists what is newer.
    SearchOutcome Search(HttpObserver* observer, std::vector<UpdateOffer>* offers, HttpResult* transfer);
    // Fetches one database under its download name; a failed download is removed again.
    HttpResult Download(const UpdateOffer& offer, HttpObserver* observer);
    // Checks the download and puts it in place of the installed database; the download is
    // gone afterwards either way, and a failure leaves the installed database as it was.
    InstallOutcome Install(const UpdateOffer& offer);

    std::string ServerHost() const;
    const std::string& AppPath() const { return appPath; }

private:
    InstallOutcome InstallDeviceDb(const UpdateOffer& offer);
    InstallOutcome InstallDriverDb(const UpdateOffer& offer);

    Platform& platform;
    Http& http;
    std::string appPath;
    std::string server;
};

} // namespace vantrel
