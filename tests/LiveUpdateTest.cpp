// The LiveUpdate wizard against a real server on 127.0.0.1, the installation under injected
// write failures, and the start-up reminder. After every run both installed databases must
// open and be either the old or the new one.
#include <gtest/gtest.h>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "HttpTestServer.h"
#include "TestMachine.h"
#include "archive/ZipWriter.h"
#include "liveupdate/LiveUpdatePage.h"
#include "platform/FileSystem.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "updates/UpdateDatabase.h"

namespace vantrel {
namespace {

constexpr char kOldPci[] = "20240101";
constexpr char kNewPci[] = "20250101";
constexpr char kOldDb[] = "20240105";
constexpr char kNewDb[] = "20250105";

std::string PciText(const std::string& date) {
    return date + "=pci.ids " + date + "\r\n8086=Intel\r\n8086:1234=Bridge chip\r\n";
}
std::string DbText(const std::string& date) {
    return date + "\r\nPCI\\VEN_8086&DEV_1234:000001A000001A\r\n";
}

// A program folder with the old databases, and server files made by the program's own writers.
struct Machine {
    Machine() {
        app.appPath = ComputeAppPath(machine.Ports());
        Install(kOldPci, kOldDb);
    }
    FileSystem& Fs() { return machine.Ports().fs; }
    std::string Path(const char* file) { return app.appPath + file; }
    void Install(const std::string& pci, const std::string& db) {
        std::string error;
        ASSERT_TRUE(WriteWholeFile(Fs(), Path("pcidevs.txt"), PciText(pci)));
        ASSERT_TRUE(WriteUpdateDatabase(Fs(), Path("DriverDB.dat"), DbText(db), &error)) << error;
    }
    std::string DriverDbBytes(const std::string& text) {
        std::string error, bytes;
        EXPECT_TRUE(WriteUpdateDatabase(Fs(), Path("scratch.dat"), text, &error)) << error;
        EXPECT_TRUE(ReadWholeFile(Fs(), Path("scratch.dat"), &bytes));
        Fs().DeleteFile(Path("scratch.dat"));
        return bytes;
    }
    std::string PciZipBytes(const std::string& text) {
        ZipWriter zip(Fs());
        EXPECT_TRUE(zip.Create(Path("scratch.zip")));
        zip.AddBytes("pcidevs.txt", text, 0);
        EXPECT_TRUE(zip.Close());
        std::string bytes;
        EXPECT_TRUE(ReadWholeFile(Fs(), Path("scratch.zip"), &bytes));
        Fs().DeleteFile(Path("scratch.zip"));
        return bytes;
    }
    // The installed dates; each database must open.
    std::pair<std::string, std::string> Dates() {
        std::pair<std::string, std::string> dates{InstalledDeviceDbDate(Fs(), Path("pcidevs.txt")),
                                                  InstalledDriverDbDate(Fs(), Path("DriverDB.dat"))};
        EXPECT_TRUE(dates.first == kOldPci || dates.first == kNewPci) << dates.first;
        EXPECT_TRUE(dates.second == kOldDb || dates.second == kNewDb) << dates.second;
        return dates;
    }

    test::TestMachine machine;
    App app{machine.Ports()};
};

// One update folder on the server: the index and the two downloads.
struct Folder {
    std::string index, pciZip, driverDb;
    bool hasIndex = true;
};

Folder MakeFolder(Machine& m, const std::string& pciDate, const std::string& dbDate, int sizeSkew = 0) {
    Folder f;
    f.pciZip = m.PciZipBytes(PciText(pciDate));
    f.driverDb = m.DriverDbBytes(DbText(dbDate));
    f.index = "[update]\r\nUnKnownDBDate=" + pciDate +
              "\r\nUnknownDBSize=" + std::to_string(f.pciZip.size()) + "\r\nDriverDBDate=" + dbDate +
              "\r\nDriverDBSize=" + std::to_string(f.driverDb.size() + sizeSkew) +
              "\r\nSomethingNew=ignored\r\n";
    return f;
}

// The index's size of the driver database after its bytes were swapped.
void SetDriverDbSize(Folder* f) {
    std::size_t at = f->index.find("DriverDBSize=") + 13;
    f->index.replace(at, f->index.find('\r', at) - at, std::to_string(f->driverDb.size()));
}

class LiveUpdateWizard : public ::testing::Test {
protected:
    static void SetUpTestSuite() { server = new test::HttpTestServer(); }
    static void TearDownTestSuite() {
        delete server;
        server = nullptr;
    }
    void SetUp() override { ASSERT_TRUE(server->Running()); }

    // Serves the folder under its own prefix and runs the wizard up to the search result.
    std::string Serve(const Folder& f) {
        std::string prefix = "case" + std::to_string(++cases);
        // Each index of its own size: the image's profile reader keeps a file it read until the
        // size or the time of last write changes, and MinGW's file times count whole seconds.
        if (f.hasIndex)
            server->Put(prefix + "/update11/update.txt",
                        f.index + "Padding=" + std::string(cases, 'p') + "\r\n");
        server->Put(prefix + "/update11/pcidevs.zip", f.pciZip);
        server->Put(prefix + "/update11/NewDriverDB.dat", f.driverDb);
        return server->Url("/" + prefix);
    }
    std::string Label2() { return view.GetCaption("Label2"); }
    std::vector<std::string> Messages() {
        std::vector<std::string> texts;
        for (const auto& m : dialogs.messages)
            texts.push_back(m.text);
        return texts;
    }

    static test::HttpTestServer* server;
    static int cases;
    Machine m;
    test::FakeView view;
    test::FakeDialogs dialogs;
    std::unique_ptr<Http> http = CreateHttp();
};
test::HttpTestServer* LiveUpdateWizard::server = nullptr;
int LiveUpdateWizard::cases = 0;

TEST_F(LiveUpdateWizard, TwoNewerDatabasesAreListedDownloadedAndInstalled) {
    LiveUpdatePage page(m.app, view, dialogs, *http, Serve(MakeFolder(m, kNewPci, kNewDb)));
    page.Load();
    EXPECT_FALSE(view.controls["CmdBack"].enabled);
    EXPECT_EQ(view.GetCaption("LblWelcome"), "Welcome to LiveUpdate of Vantrel. The following components are "
                                             "installed on your computer:\r\nDevice Identifier Database\r\n"
                                             "Drivers Update Database");
    EXPECT_FALSE(page.OnNext());
    EXPECT_EQ(Label2(),
              "There are two updates for your computer, please click Next to download and install them.");
    ASSERT_EQ(view.lists["Lvw"].rows.size(), 2u);
    EXPECT_EQ(view.lists["Lvw"].rows[1].cells[0], "Drivers Update Database");
    EXPECT_EQ(view.lists["Lvw"].rows[0].cells[1],
              std::to_string(MakeFolder(m, kNewPci, kNewDb).pciZip.size()) + " bytes");
    EXPECT_FALSE(m.Fs().Exists(m.Path("update.txt")));
    page.OnBack();
    EXPECT_EQ(page.CurrentStep(), LiveUpdatePage::Step::Welcome);
    EXPECT_FALSE(view.controls["CmdBack"].enabled);
    EXPECT_FALSE(view.controls["Lvw"].visible);
    page.OnNext();
    ASSERT_EQ(view.lists["Lvw"].rows.size(), 2u);

    EXPECT_FALSE(page.OnNext());
    EXPECT_TRUE(dialogs.messages.empty()) << Messages()[0];
    EXPECT_EQ(page.CurrentStep(), LiveUpdatePage::Step::Finished);
    EXPECT_EQ(Label2(), "LiveUpdate finished successfully.");
    EXPECT_EQ(view.GetCaption("CmdNext"), "&Finished");
    EXPECT_EQ(view.GetCaption("LblCurrent"), "Update Drivers Update Database (100% Completed)");
    EXPECT_EQ((std::pair<int, int>(view.progress["PgBarTotal"])), (std::pair<int, int>(2, 2)));
    EXPECT_EQ(m.Dates(), (std::pair<std::string, std::string>(kNewPci, kNewDb)));
    for (const char* left : {"pcidevs.zip", "NewDriverDB.dat", "pcidevs.new"})
        EXPECT_FALSE(m.Fs().Exists(m.Path(left))) << left;
    EXPECT_TRUE(page.OnNext());
}

TEST_F(LiveUpdateWizard, EachFailureKeepsTheInstalledDatabases) {
    struct Case {
        const char* name;
        Folder folder;
        std::string label2;
        std::string message; // the first message box
        std::pair<std::string, std::string> dates;
    };
    const std::string upToDate = "All the components on your computer are up-to-date. There are no database "
                                 "updates for your computer now.";
    const std::string indexError = "Error happened while getting the update information.";
    const std::string transferError =
        "Error happened while downloading database updates, please try it later.";
    const std::string damagedDb =
        "Drivers update database was destroyed during the downloading process, please "
        "try to download it again.";
    const std::string damagedPci = "Device identifier database was destroyed during the downloading process, "
                                   "please try to download it again.";
    Folder equal = MakeFolder(m, kOldPci, kOldDb);
    Folder noIndex = MakeFolder(m, kNewPci, kNewDb);
    noIndex.hasIndex = false;
    Folder wrongSize = MakeFolder(m, kOldPci, kNewDb, 7);
    Folder badPassword = MakeFolder(m, kOldPci, kNewDb);
    badPassword.driverDb = m.PciZipBytes(DbText(kNewDb)); // a zip, but without the password
    SetDriverDbSize(&badPassword);
    Folder notZip = MakeFolder(m, kNewPci, kOldDb);
    notZip.pciZip = std::string(notZip.pciZip.size(), 'z');
    Folder older = MakeFolder(m, kOldPci, kNewDb);
    older.driverDb = m.DriverDbBytes(DbText("20200101"));
    SetDriverDbSize(&older);
    Case cases[] = {
        {"equal dates", equal, upToDate, "", {kOldPci, kOldDb}},
        {"no index",
         noIndex,
         indexError,
         "Error happened while downloading the database update of Vantrel, please try it later.",
         {kOldPci, kOldDb}},
        {"wrong size", wrongSize, "", transferError, {kOldPci, kOldDb}},
        {"wrong password",
         badPassword,
         "The downloaded database did not open and was deleted; the installed one "
         "is kept.",
         damagedDb,
         {kOldPci, kOldDb}},
        {"not a zip",
         notZip,
         "The downloaded database did not open and was deleted; the installed one is kept.",
         damagedPci,
         {kOldPci, kOldDb}},
        {"older",
         older,
         "The downloaded database is older than the installed one, which is kept.",
         damagedDb,
         {kOldPci, kOldDb}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        test::FakeView caseView;
        dialogs.messages.clear();
        LiveUpdatePage page(m.app, caseView, dialogs, *http, Serve(c.folder));
        page.Load();
        page.OnNext();
        if (page.CurrentStep() == LiveUpdatePage::Step::Search && caseView.controls["CmdNext"].enabled)
            page.OnNext();
        EXPECT_NE(page.CurrentStep(), LiveUpdatePage::Step::Finished);
        EXPECT_TRUE(caseView.controls["CmdCancel"].enabled);
        if (!c.label2.empty()) {
            EXPECT_EQ(caseView.GetCaption("Label2"), c.label2);
        }
        EXPECT_EQ(dialogs.messages.empty() ? "" : dialogs.messages[0].text, c.message);
        EXPECT_EQ(m.Dates(), c.dates);
        for (const char* left : {"update.txt", "pcidevs.zip", "NewDriverDB.dat", "pcidevs.new"})
            EXPECT_FALSE(m.Fs().Exists(m.Path(left))) << left;
    }
}

TEST_F(LiveUpdateWizard, MissingDatabaseStopsBeforeAnyTransfer) {
    m.Fs().DeleteFile(m.Path("pcidevs.txt"));
    LiveUpdatePage page(m.app, view, dialogs, *http, "http://127.0.0.1:1");
    page.Load();
    page.OnNext();
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "Databases don't exist, please re-install the software.");
    EXPECT_EQ(page.CurrentStep(), LiveUpdatePage::Step::Welcome);
    EXPECT_EQ(Label2(), "");
}

// A file system that fails its n-th change (a write, close, move or delete) and all after it.
class FailingFs : public FileSystem {
public:
    FailingFs(FileSystem& real, int failAt) : real(real), left(failAt) {}
    bool Fail() { return left-- <= 0; }

    bool Exists(std::string_view p) override { return real.Exists(p); }
    bool IsDirectory(std::string_view p) override { return real.IsDirectory(p); }
    bool GetInfo(std::string_view p, FindData* i) override { return real.GetInfo(p, i); }
    bool FindFiles(std::string_view p, std::vector<FindData>* f) override { return real.FindFiles(p, f); }
    std::unique_ptr<InputFile> OpenRead(std::string_view p) override { return real.OpenRead(p); }
    std::unique_ptr<OutputFile> OpenWrite(std::string_view p, bool append) override {
        if (Fail())
            return nullptr;
        return std::make_unique<Out>(*this, real.OpenWrite(p, append));
    }
    bool CreateDirectory(std::string_view p) override { return !Fail() && real.CreateDirectory(p); }
    bool RemoveDirectory(std::string_view p) override { return !Fail() && real.RemoveDirectory(p); }
    bool DeleteFile(std::string_view p) override { return !Fail() && real.DeleteFile(p); }
    bool CopyFile(std::string_view f, std::string_view t, bool e) override {
        return !Fail() && real.CopyFile(f, t, e);
    }
    bool MoveFile(std::string_view f, std::string_view t) override { return !Fail() && real.MoveFile(f, t); }
    bool SetAttributes(std::string_view p, std::uint32_t a) override {
        return !Fail() && real.SetAttributes(p, a);
    }
    bool DeleteAtReboot(std::string_view p) override { return !Fail() && real.DeleteAtReboot(p); }

private:
    struct Out : OutputFile {
        Out(FailingFs& fs, std::unique_ptr<OutputFile> file) : fs(fs), file(std::move(file)) {}
        bool Write(const void* d, std::size_t s) override { return !fs.Fail() && file->Write(d, s); }
        bool Seek(std::uint64_t o) override { return file->Seek(o); }
        std::uint64_t Tell() const override { return file->Tell(); }
        bool Truncate(std::uint64_t s) override { return !fs.Fail() && file->Truncate(s); }
        bool Close() override { return !fs.Fail() && file->Close(); }
        FailingFs& fs;
        std::unique_ptr<OutputFile> file;
    };
    FileSystem& real;
    int left;
};

TEST_F(LiveUpdateWizard, AFailureAtAnyWriteLeavesWholeDatabases) {
    std::string url = Serve(MakeFolder(m, kNewPci, kNewDb));
    bool finished = false;
    for (int failAt = 0; failAt < 200 && !finished; ++failAt) {
        SCOPED_TRACE("failure at change " + std::to_string(failAt));
        m.Install(kOldPci, kOldDb);
        Platform& real = m.machine.Ports();
        FailingFs failing(real.fs, failAt);
        Platform ports{real.registry, failing,        real.system,  real.processes,
                       real.shell,    real.resources, real.profile, real.clock};
        LiveUpdate update(ports, *http, m.app.appPath, url);
        update.RecoverInterruptedInstall();
        std::vector<UpdateOffer> offers;
        HttpResult transfer;
        if (update.Search(nullptr, &offers, &transfer) == SearchOutcome::Done && offers.size() == 2) {
            finished = true;
            for (const auto& offer : offers)
                finished = update.Download(offer, nullptr).Ok() &&
                           update.Install(offer) == InstallOutcome::Installed && finished;
        }
        // Whole right away, and still whole after the next start's recovery.
        m.Dates();
        LiveUpdate(real, *http, m.app.appPath, url).RecoverInterruptedInstall();
        m.Dates();
    }
    EXPECT_TRUE(finished);
    EXPECT_EQ(m.Dates(), (std::pair<std::string, std::string>(kNewPci, kNewDb)));
}

TEST(LiveUpdateReminder, AsksFromFifteenDaysOn) {
    struct Case {
        const char* today;
        const char* databaseDate; // nullptr: no database
        bool asked;
    } cases[] = {
        {"2025-01-16 10:00:00", "20250101", true}, {"2025-01-15 10:00:00", "20250101", false},
        {"2025-03-01 10:00:00", "20241231", true}, {"2025-03-01 10:00:00", "20250230", false},
        {"2025-03-01 10:00:00", "2025010", false}, {"2025-03-01 10:00:00", nullptr, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.today) + " " + (c.databaseDate ? c.databaseDate : "none"));
        Machine m;
        if (c.databaseDate)
            m.Install(kOldPci, c.databaseDate);
        else
            m.Fs().DeleteFile(m.Path("DriverDB.dat"));
        LocalTime now;
        ASSERT_TRUE(ParseLocalTime(c.today, &now));
        m.machine.Image().Clock().fixed = now;
        test::FakeDialogs dialogs;
        dialogs.answers = {MsgAnswer::Yes};
        EXPECT_EQ(ShowDatabaseAgeReminder(m.app, dialogs), c.asked);
        ASSERT_EQ(dialogs.messages.size(), c.asked ? 1u : 0u);
        if (c.asked) {
            EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::YesNo);
            EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Question);
        }
    }
}

} // namespace
} // namespace vantrel
