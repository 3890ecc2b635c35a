// The restore engine against a machine image whose process port records the installer runs.
#include <gtest/gtest.h>

#include "RestoreFixture.h"
#include "platform/Registry.h"
#include "restore/RestoreEngine.h"

namespace vantrel {
namespace {

using namespace test;

class RecordingRestore : public RestoreObserver {
public:
    void AppendLog(const std::string& text) override { log += text; }
    void Progress(int percent) override { progress.push_back(percent); }
    void Pump() override { ++pumps; }

    std::string log;
    std::vector<int> progress;
    int pumps = 0;
};

constexpr char kTemp[] = "C:\\Users\\User\\AppData\\Local\\Temp\\";

std::string Install(const std::string& folder, const std::string& id) {
    return std::string(kTemp) + "DrvInstall.exe /i \"" + folder + "\\drv.inf\" \"" + id + "\"";
}

TEST(RestoreEngine, PassesRunByClassThenEveryDriverIsVerifiedInRowOrder) {
    RestoreMachine m;
    m.machine.Image().Resources().items[kResDrvInstall64] = "64-bit installer";
    std::vector<BackupEntry> rows = m.AddAll({
        {"Net card", "Acme", "Net", "PCI\\VEN_1&DEV_2"},
        {"Board", "Acme", "system", "ACPI\\ACME0001"},
        {"Gadget", "Acme", "", "USB\\VID_1 \"quoted\" id"}, // no class: the middle pass
        {"Disk", "Microsoft Corporation", "hdc", "IDE\\DISK"},
    });
    std::string installer = std::string(kTemp) + "DrvInstall.exe";
    m.Processes().handler = [&](const std::string&, bool) {
        // The program is written before the runs and lies there while they go on.
        std::string bytes;
        EXPECT_TRUE(ReadWholeFile(m.Fs(), installer, &bytes));
        EXPECT_EQ(bytes, "64-bit installer");
        return true;
    };
    RecordingRestore observer;
    RestoreRunOptions options;
    options.installerTimeoutMs = 1234;
    auto outcomes = RestoreEngine(m.app, observer, options).RunNt(rows);

    const std::string& net = rows[0].folder;
    const std::string& board = rows[1].folder;
    const std::string& gadget = rows[2].folder;
    EXPECT_EQ(m.CommandLines(),
              (std::vector<std::string>{
                  Install(board, "ACPI\\ACME0001"), Install(gadget, "USB\\VID_1 \"quoted\" id"),
                  Install(net, "PCI\\VEN_1&DEV_2"), Install(net, "PCI\\VEN_1&DEV_2"),
                  Install(board, "ACPI\\ACME0001"), Install(gadget, "USB\\VID_1 \"quoted\" id")}));
    EXPECT_EQ(m.Processes().timeouts, std::vector<std::uint32_t>(6, 1234));
    // Every run is followed by the pause, taken from the clock so that nothing really waits.
    EXPECT_EQ(m.machine.Image().Clock().sleptMs, 6u * 5000u);
    EXPECT_EQ(observer.progress, (std::vector<int>{25, 50, 75, 100}));
    EXPECT_FALSE(m.Fs().Exists(installer));

    // The Microsoft row is announced in its pass but never installed.
    EXPECT_NE(
        observer.log.find("\r\nRestoring drivers of 'Board', please wait patiently ...\r\nRestoring drivers "
                          "of 'Disk', please wait patiently ...\r\nRestoring drivers of 'Gadget'"),
        std::string::npos)
        << observer.log;
    EXPECT_EQ(observer.log.find("Verifying driver restoration of 'Disk'"), std::string::npos);
    EXPECT_NE(observer.log.find("\r\nVerifying driver restoration of 'Net card' ..."), std::string::npos);
    ASSERT_EQ(outcomes.size(), 4u);
    EXPECT_TRUE(outcomes[3].skipped);
    EXPECT_FALSE(outcomes[3].attempted);
    EXPECT_TRUE(outcomes[0].attempted && outcomes[0].lastRun.started);
}

TEST(RestoreEngine, InstallerBuildFollowsTheWidthOfWindows) {
    for (const char* arch : {"x86", "x64"}) {
        MachineFacts facts;
        facts.arch = arch;
        RestoreMachine m(facts);
        m.machine.Image().Resources().items[kResDrvInstall32] = "32";
        m.machine.Image().Resources().items[kResDrvInstall64] = "64";
        std::vector<BackupEntry> rows = m.AddAll({{"Net card", "Acme", "net", "PCI\\VEN_1"}});
        std::string written;
        m.Processes().handler = [&](const std::string&, bool) {
            ReadWholeFile(m.Fs(), std::string(kTemp) + "DrvInstall.exe", &written);
            return true;
        };
        RecordingRestore observer;
        RestoreEngine(m.app, observer).RunNt(rows);
        EXPECT_EQ(written, std::string(arch) == "x64" ? "64" : "32") << arch;
    }
}

TEST(RestoreEngine, WithoutItsInstallerNothingRunsAndTheLogSaysSo) {
    RestoreMachine m;
    std::vector<BackupEntry> rows = m.AddAll({{"Net card", "Acme", "net", "PCI\\VEN_1"}});
    RecordingRestore observer;
    auto outcomes = RestoreEngine(m.app, observer).RunNt(rows);
    EXPECT_TRUE(m.Processes().calls.empty());
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_FALSE(outcomes[0].attempted);
    EXPECT_NE(observer.log.find("could not be written"), std::string::npos);
}

TEST(RestoreEngine, PassOfClass) {
    const std::pair<const char*, int> table[] = {
        {"HDC", 1},   {"system", 1},    {"DiskDrive", 1}, {"scsiadapter", 1}, {"", 2},
        {"USB", 2},   {"Bluetooth", 2}, {"net", 3},       {"Display", 3},     {"monitor", 3},
        {"mouse", 3}, {"image", 3},     {"printer", 3},   {"keyboard", 3},    {"MEDIA", 3},
        {"modem", 3}, {"hidclass", 3},
    };
    for (const auto& [name, pass] : table)
        EXPECT_EQ(RestorePassOfClass(name), pass) << name;
}

TEST(RestoreEngine, Windows98InstallsFromACopyMadeThePreferredSource) {
    MachineFacts facts;
    facts.version.major = 4;
    facts.version.minor = 10;
    facts.version.platform = kPlatformWin9x;
    facts.arch = "x86";
    CompleteMachineFacts(&facts);
    RestoreMachine m(facts);
    std::vector<BackupEntry> rows = m.AddAll({{"Sound card", "Acme", "media", "PCI\\VEN_9"}});
    WriteWholeFile(m.Fs(), rows[0].folder + "\\snd.vxd", "driver");
    std::string windows = facts.windir;
    for (const char* index : {"\\inf\\drvdata.bin", "\\inf\\drvidx.bin", "\\inf\\drivers.ddb"})
        WriteWholeFile(m.Fs(), windows + index, "index");

    RecordingRestore observer;
    RestoreEngine(m.app, observer).Run98(rows);

    std::string copy = windows + "\\inf\\driverback";
    EXPECT_TRUE(m.Fs().Exists(copy + "\\snd.vxd"));
    EXPECT_TRUE(m.Fs().Exists(copy + "\\drvbck.pdb"));
    EXPECT_EQ(m.CommandLines(),
              std::vector<std::string>{"rundll32.exe setupx.dll,installHinfSection Install 128 " + copy +
                                       "\\drv.inf"});
    for (const char* index : {"\\inf\\drvdata.bin", "\\inf\\drvidx.bin", "\\inf\\drivers.ddb"})
        EXPECT_FALSE(m.Fs().Exists(windows + index)) << index;

    Registry& registry = m.machine.Ports().registry;
    std::string source = windows + "\\inf\\DriverBack";
    const std::pair<RegHandle, const char*> mrus[] = {{kHkeyCurrentUser, ".default\\InstallLocationsMRU"},
                                                      {kHkeyCurrentUser, "InstallLocationsMRU"},
                                                      {kHkeyUsers, ".default\\InstallLocationsMRU"}};
    for (const auto& [root, path] : mrus) {
        RegKey key(registry);
        ASSERT_EQ(key.Open(root, path), kErrorSuccess) << path;
        std::string text;
        for (const char* letter : {"a", "e"}) {
            EXPECT_TRUE(RegReadString(registry, key.Handle(), letter, 260, &text));
            EXPECT_EQ(text, source);
        }
        EXPECT_TRUE(RegReadString(registry, key.Handle(), "MRUList", 260, &text));
        EXPECT_EQ(text, "abcde");
    }
    RegKey setup(registry);
    ASSERT_EQ(setup.Open(kHkeyLocalMachine, "software\\microsoft\\windows\\currentversion\\setup"),
              kErrorSuccess);
    std::string text;
    EXPECT_TRUE(RegReadString(registry, setup.Handle(), "Sourcepath", 260, &text));
    EXPECT_EQ(text, source);
    EXPECT_EQ(observer.progress, std::vector<int>{100});
}

} // namespace
} // namespace vantrel
