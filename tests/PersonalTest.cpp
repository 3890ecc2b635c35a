// Personal data backup and restore on a machine image: the round trip of the four items,
// the archives' names, the faults an item survives, and the dialog over a scripted window.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "FakeDialogs.h"
#include "FakeView.h"
#include "TestMachine.h"
#include "app/App.h"
#include "app/Settings.h"
#include "archive/ZipWriter.h"
#include "personal/ImageRegistryTransfer.h"
#include "personal/PersonalData.h"
#include "personal/PersonalPage.h"
#include "platform/FileSystem.h"
#include "platform/Registry.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/ImageRegistry.h"

namespace vantrel {
namespace {

constexpr char kBackup[] = "C:\\Backup\\";
constexpr char kProfile[] = "C:\\Users\\Ann\\";

// Files a personal folder holds: nested folders and names outside ASCII.
const std::vector<std::pair<std::string, std::string>> kFiles = {
    {"Favorites\\Links\\Nachrichten.url", "[InternetShortcut]\r\nURL=http://example.org/\r\n"},
    {"Documents\\Briefe\\2024\\Grüße an Zoë.txt", "Liebe Zoë"},
    {"Documents\\empty.txt", ""},
    {"Desktop\\notes.txt", std::string(200000, 'x')},
    {"Desktop\\Проект\\план.doc", "plan"},
};

// A file system whose named files cannot be opened for reading, as files another program holds.
class LockingFileSystem : public FileSystem {
public:
    explicit LockingFileSystem(FileSystem& inner) : inner(inner) {}
    std::set<std::string> locked;

    bool Exists(std::string_view p) override { return inner.Exists(p); }
    bool IsDirectory(std::string_view p) override { return inner.IsDirectory(p); }
    bool GetInfo(std::string_view p, FindData* i) override { return inner.GetInfo(p, i); }
    bool FindFiles(std::string_view p, std::vector<FindData>* f) override { return inner.FindFiles(p, f); }
    std::unique_ptr<InputFile> OpenRead(std::string_view p) override {
        return locked.count(std::string(p)) ? nullptr : inner.OpenRead(p);
    }
    std::unique_ptr<const FileBytes> ReadAll(std::string_view p, std::uint64_t max) override {
        return locked.count(std::string(p)) ? nullptr : inner.ReadAll(p, max);
    }
    std::unique_ptr<OutputFile> OpenWrite(std::string_view p, bool a) override {
        return inner.OpenWrite(p, a);
    }
    bool CreateDirectory(std::string_view p) override { return inner.CreateDirectory(p); }
    bool RemoveDirectory(std::string_view p) override { return inner.RemoveDirectory(p); }
    bool DeleteFile(std::string_view p) override { return inner.DeleteFile(p); }
    bool CopyFile(std::string_view f, std::string_view t, bool e) override { return inner.CopyFile(f, t, e); }
    bool MoveFile(std::string_view f, std::string_view t) override { return inner.MoveFile(f, t); }
    bool SetAttributes(std::string_view p, std::uint32_t a) override { return inner.SetAttributes(p, a); }
    bool DeleteAtReboot(std::string_view p) override { return inner.DeleteAtReboot(p); }

private:
    FileSystem& inner;
};

class PersonalData : public ::testing::Test {
protected:
    PersonalData() {
        SetShellFolders();
        for (const auto& [path, bytes] : kFiles)
            Put(kProfile + path, bytes);
        CreateDirectories(fs, kBackup);
        SetMarker("before");
    }
    void SetShellFolders() {
        RegKey key(machine.Ports().registry);
        key.Create(kHkeyCurrentUser, kShellFoldersKey);
        for (const char* name : {"Favorites", "Desktop"})
            RegWriteString(machine.Ports().registry, key.Handle(), name, std::string(kProfile) + name);
        RegWriteString(machine.Ports().registry, key.Handle(), "Personal",
                       std::string(kProfile) + "Documents");
    }
    void Put(const std::string& path, const std::string& bytes) {
        CreateDirectories(fs, path.substr(0, path.rfind('\\')));
        ASSERT_TRUE(WriteWholeFile(fs, path, bytes)) << path;
    }
    std::string Get(const std::string& path) {
        std::string bytes;
        return ReadWholeFile(fs, path, &bytes) ? bytes : "<missing>";
    }
    void SetMarker(const std::string& text) {
        RegKey key(machine.Ports().registry);
        key.Create(kHkeyLocalMachine, "SOFTWARE\\Ann\\Ünï");
        RegWriteString(machine.Ports().registry, key.Handle(), "Marker", text);
    }
    std::string Marker() {
        RegKey key(machine.Ports().registry);
        std::string text;
        if (key.Open(kHkeyLocalMachine, "SOFTWARE\\Ann\\Ünï") != kErrorSuccess ||
            !RegReadString(machine.Ports().registry, key.Handle(), "Marker", 100, &text))
            return "<missing>";
        return RegStringData(text);
    }
    std::set<std::string> BackupFiles() {
        std::set<std::string> names;
        std::filesystem::path host;
        machine.Image().Files().MapPath(kBackup, &host);
        for (const auto& entry : std::filesystem::directory_iterator(host))
            names.insert(entry.path().filename().string());
        return names;
    }

    test::TestMachine machine;
    FileSystem& fs = machine.Ports().fs;
    ImageRegistryTransfer transfer{machine.Image().Registry(), machine.Ports().fs};
    PersonalObserver quiet;
};

const std::vector<PersonalItem> kAll = {PersonalItem::Favorites, PersonalItem::Registry,
                                        PersonalItem::Documents, PersonalItem::Desktop};

TEST_F(PersonalData, RoundTripOfAllFourItems) {
    auto backup = BackUpPersonalItems(machine.Ports(), kAll, kBackup, 9, transfer, quiet);
    EXPECT_EQ(backup.done, kAll);
    EXPECT_TRUE(backup.failed.empty());
    // Letter case as written; the registry export itself is not left behind.
    EXPECT_EQ(BackupFiles(),
              (std::set<std::string>{"Registry.zip", "desktop.zip", "document.zip", "favorite.zip"}));
    EXPECT_EQ(RestorableItems(fs, kBackup), kAll);

    // Everything changes after the backup; the restore brings back each item.
    for (const auto& [path, bytes] : kFiles)
        Put(kProfile + path, "changed");
    SetMarker("after");
    auto restore = RestorePersonalItems(machine.Ports(), kAll, kBackup, transfer, quiet);
    EXPECT_EQ(restore.done, kAll);
    for (const auto& [path, bytes] : kFiles)
        EXPECT_EQ(Get(kProfile + path), bytes) << path;
    EXPECT_EQ(Marker(), "before");
}

TEST_F(PersonalData, FaultsCostOnlyTheirItem) {
    struct Case {
        const char* what;
        std::function<void()> fault;
        std::vector<PersonalItem> items;
        std::vector<PersonalItem> failed;
    };
    const Case cases[] = {
        {"documents folder missing from Shell Folders",
         [&] {
             RegKey key(machine.Ports().registry);
             key.Open(kHkeyCurrentUser, kShellFoldersKey);
             machine.Ports().registry.DeleteValue(key.Handle(), "Personal");
         },
         kAll,
         {PersonalItem::Documents}},
        {"desktop points nowhere",
         [&] {
             RegKey key(machine.Ports().registry);
             key.Open(kHkeyCurrentUser, kShellFoldersKey);
             RegWriteString(machine.Ports().registry, key.Handle(), "Desktop", "Q:\\Nowhere");
         },
         {PersonalItem::Desktop, PersonalItem::Favorites},
         {PersonalItem::Desktop}},
        {"disk full",
         [&] { machine.Image().Files().SetDiskFullAfter(100); },
         {PersonalItem::Desktop},
         {PersonalItem::Desktop}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        SetShellFolders();
        c.fault();
        auto result = BackUpPersonalItems(machine.Ports(), c.items, kBackup, 6, transfer, quiet);
        EXPECT_EQ(result.failed, c.failed);
        EXPECT_EQ(result.done.size() + result.failed.size(), c.items.size());
        machine.Image().Files().ClearFaults();
    }
}

TEST_F(PersonalData, LockedFilesAreLeftOutAndNamed) {
    LockingFileSystem locking(machine.Ports().fs);
    locking.locked.insert(std::string(kProfile) + "Documents\\empty.txt");
    Platform ports = machine.Ports();
    Platform withLocks{ports.registry, locking,         ports.system,  ports.processes,
                       ports.shell,    ports.resources, ports.profile, ports.clock};
    struct Recorder : PersonalObserver {
        std::vector<std::string> names;
        void FileSkipped(const std::string& name, const std::string&) override { names.push_back(name); }
    } recorder;
    auto result = BackUpPersonalItems(withLocks, {PersonalItem::Documents}, kBackup, 6, transfer, recorder);
    EXPECT_EQ(result.done, std::vector<PersonalItem>{PersonalItem::Documents});
    ASSERT_EQ(recorder.names.size(), 1u);
    EXPECT_NE(recorder.names[0].find("empty.txt"), std::string::npos);
    Put(kProfile + std::string("Documents\\Briefe\\2024\\Grüße an Zoë.txt"), "changed");
    RestorePersonalItems(machine.Ports(), {PersonalItem::Documents}, kBackup, transfer, quiet);
    EXPECT_EQ(Get(kProfile + std::string("Documents\\Briefe\\2024\\Grüße an Zoë.txt")), "Liebe Zoë");
}

TEST_F(PersonalData, UnsafeArchiveWritesNothingOutsideItsFolder) {
    ZipWriter writer(fs);
    ASSERT_TRUE(writer.Create(std::string(kBackup) + "document.zip"));
    writer.AddBytes("../../escaped.txt", "x", 0);
    writer.AddBytes("C:/Windows/evil.txt", "x", 0);
    writer.AddBytes("fine.txt", "ok", 0);
    ASSERT_TRUE(writer.Close());
    auto result = RestorePersonalItems(machine.Ports(), {PersonalItem::Documents}, kBackup, transfer, quiet);
    EXPECT_EQ(result.failed, std::vector<PersonalItem>{PersonalItem::Documents});
    EXPECT_EQ(result.skipped.size(), 2u);
    EXPECT_EQ(Get(std::string(kProfile) + "Documents\\fine.txt"), "ok");
    EXPECT_FALSE(fs.Exists("C:\\Users\\escaped.txt"));
    EXPECT_FALSE(fs.Exists("C:\\Windows\\evil.txt"));
}

TEST(PersonalRegedit, ExportIsWaitedForImportLeftToRun) {
    test::TestMachine machine;
    auto& processes = machine.Image().Processes();
    // The stand-in editor writes its export only when it is waited for.
    processes.handler = [&](const std::string& line, bool wait) {
        if (wait && line == "regedit.exe /e \"C:\\Backup\\registry\"")
            WriteWholeFile(machine.Ports().fs, "C:\\Backup\\registry", "REGEDIT4\r\n");
        return true;
    };
    CreateDirectories(machine.Ports().fs, "C:\\Backup");
    RegeditTransfer regedit(machine.Ports());
    PersonalObserver quiet;
    auto backup =
        BackUpPersonalItems(machine.Ports(), {PersonalItem::Registry}, "C:\\Backup", 6, regedit, quiet);
    EXPECT_EQ(backup.done, std::vector<PersonalItem>{PersonalItem::Registry});
    ASSERT_EQ(processes.timeouts, std::vector<std::uint32_t>{0u}); // no time limit

    auto restore =
        RestorePersonalItems(machine.Ports(), {PersonalItem::Registry}, "C:\\Backup", regedit, quiet);
    EXPECT_EQ(restore.done, std::vector<PersonalItem>{PersonalItem::Registry});
    auto& shell = machine.Image().Shell().calls;
    ASSERT_EQ(shell.size(), 1u);
    EXPECT_EQ(shell[0].file, "regedit.exe");
    EXPECT_EQ(shell[0].parameters, "/s \"C:\\Backup\\registry\"");

    // An editor that is not there: the item fails, nothing else happens.
    processes.handler = [](const std::string&, bool) { return false; };
    backup = BackUpPersonalItems(machine.Ports(), {PersonalItem::Registry}, "C:\\Backup", 6, regedit, quiet);
    EXPECT_EQ(backup.failed, std::vector<PersonalItem>{PersonalItem::Registry});
}

} // namespace
} // namespace vantrel

namespace vantrel {
namespace {

class PersonalDialog : public PersonalData {
protected:
    PersonalDialog() { page.Load(); }
    void Tick(std::string_view list, std::vector<int> rows) {
        for (int row : rows)
            view.SetRowChecked(list, row, true);
    }
    std::vector<std::string> Rows(const char* list) {
        std::vector<std::string> out;
        for (const auto& row : view.lists[list].rows)
            out.push_back(row.cells.at(0));
        return out;
    }
    std::string Stored() {
        SettingsStore settings(machine.Ports().registry);
        return settings.ReadSettingOr(kSetMoreBackupPath, "<none>", kPathBufferChars);
    }

    App app{machine.Ports()};
    test::FakeView view;
    test::FakeDialogs dialogs;
    PersonalPage page{app, view, dialogs, transfer};
};

TEST_F(PersonalDialog, BackUpWithItsQuestions) {
    EXPECT_EQ(Rows("lvwother"), (std::vector<std::string>{"Internet Explorer Favorites Folder", "Registry",
                                                          "My Documents", "Desktop"}));
    EXPECT_EQ(view.lists["lvwother"].columns.at(0).header, "Items to Be Backed Up");

    page.OnStartClick(); // nothing ticked
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "Please select the items you want to back up at first.");
    EXPECT_EQ(dialogs.messages[0].icon, MsgIcon::Exclamation);

    Tick("lvwother", {0, 2});
    page.OnStartClick(); // folder browser cancelled
    EXPECT_EQ(dialogs.prompts.back(), "Please select the directory where you want to save your backup:");
    EXPECT_EQ(Stored(), "<none>");

    std::vector<std::string> labels;
    view.onPump = [&] {
        labels.push_back(view.controls["lblprogress"].caption);
        EXPECT_EQ(view.controls["cmdstart"].caption, "&Stop Backup");
        EXPECT_FALSE(view.controls["cmdexit"].enabled);
    };
    dialogs.folders.push_back("C:\\Backup");
    page.OnStartClick();
    EXPECT_EQ(Stored(), "C:\\Backup\\");
    EXPECT_EQ(BackupFiles(), (std::set<std::string>{"document.zip", "favorite.zip"}));
    ASSERT_FALSE(labels.empty());
    EXPECT_EQ(labels.front(), "Completed0.0% ");
    EXPECT_NE(std::find(labels.begin(), labels.end(), "Completed100.0% "), labels.end());
    EXPECT_EQ(view.controls["lblprogress"].caption, "Completed100% ");
    EXPECT_EQ(dialogs.messages.back().text, "Backup process finished successfully!");
    EXPECT_EQ(view.controls["cmdstart"].caption, "&Start Backup");
    EXPECT_TRUE(view.controls["cmdexit"].enabled);
}

TEST_F(PersonalDialog, StopIsAskedAndHonouredBetweenItems) {
    for (MsgAnswer answer : {MsgAnswer::No, MsgAnswer::Yes}) {
        SCOPED_TRACE(answer == MsgAnswer::Yes ? "yes" : "no");
        std::filesystem::path host;
        machine.Image().Files().MapPath(kBackup, &host);
        std::filesystem::remove_all(host);
        dialogs.messages.clear();
        page.OnSelectAllClick();
        EXPECT_EQ(view.controls["cmdselectall"].caption, "Select &None");
        bool asked = false;
        view.onPump = [&] {
            if (asked)
                return;
            asked = true;
            dialogs.answers.push_back(answer);
            page.OnStartClick(); // the stop button, during the first item
        };
        dialogs.folders.push_back(kBackup);
        page.OnStartClick();
        ASSERT_EQ(dialogs.messages.size(), 2u);
        EXPECT_EQ(dialogs.messages[0].text, "Do you really want to stop backup?");
        EXPECT_EQ(dialogs.messages[0].buttons, MsgButtons::YesNo);
        EXPECT_EQ(dialogs.messages[1].text, answer == MsgAnswer::Yes
                                                ? "Backup process stopped."
                                                : "Backup process finished successfully!");
        EXPECT_EQ(BackupFiles().size(), answer == MsgAnswer::Yes ? 1u : 4u);
        page.OnSelectAllClick();
    }
}

TEST_F(PersonalDialog, RestorePageFindsTheArchivesAndRestores) {
    ASSERT_EQ(BackUpPersonalItems(machine.Ports(), {PersonalItem::Desktop, PersonalItem::Registry}, kBackup,
                                  6, transfer, quiet)
                  .done.size(),
              2u);
    // No stored folder: straight to the browser.
    dialogs.folders.push_back("C:\\Backup");
    page.OnTabChange(1);
    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_EQ(dialogs.prompts.back(), "Please select the directory where you haved saved your backups:");
    EXPECT_EQ(Rows("LvwOtherRestore"), (std::vector<std::string>{"Registry", "Desktop"}));
    EXPECT_EQ(view.controls["cmdstart"].caption, "&Start Restoration");

    // A stored folder is offered; No goes to the browser, whose cancel lists nothing.
    page.OnTabChange(0);
    EXPECT_EQ(view.controls["cmdstart"].caption, "&Start Backup");
    dialogs.answers.push_back(MsgAnswer::No);
    page.OnTabChange(1);
    EXPECT_EQ(dialogs.messages.back().text,
              "Vantrel detects that your backups are saved in 'C:\\Backup\\'. If not, "
              "please click No button and select other directory.");
    EXPECT_TRUE(Rows("LvwOtherRestore").empty());
    dialogs.answers.push_back(MsgAnswer::Yes);
    page.OnTabChange(1);
    ASSERT_EQ(Rows("LvwOtherRestore").size(), 2u);

    dialogs.messages.clear();
    page.OnStartClick();
    EXPECT_EQ(dialogs.messages.back().text,
              "Please select the items you want to restore from backup at first.");
    Tick("LvwOtherRestore", {1});
    Put(kProfile + std::string("Desktop\\notes.txt"), "changed");
    dialogs.answers.push_back(MsgAnswer::Cancel);
    page.OnStartClick();
    EXPECT_EQ(dialogs.messages.back().text,
              "Backup will be restored to your machine. Do you want to continue?");
    EXPECT_EQ(Get(kProfile + std::string("Desktop\\notes.txt")), "changed");
    page.OnStartClick();
    EXPECT_EQ(dialogs.messages.back().text, "Restoration process finished successfully!");
    EXPECT_EQ(Get(kProfile + std::string("Desktop\\notes.txt")), std::string(200000, 'x'));
    EXPECT_EQ(view.controls["lblprogress"].caption, "Completed100% ");
}

} // namespace
} // namespace vantrel
