// Removing drivers on a machine image whose process port stands in for the helper.
#include <gtest/gtest.h>

#include "InventoryFixture.h"
#include "inventory/Enumeration.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "removal/Removal.h"
#include "restore/DrvInstallCodes.h"

namespace vantrel {
namespace {

using test::InventoryMachine;

constexpr char kHelper[] = "C:\\Users\\Some One\\Temp\\DrvInstall.exe";
constexpr char kInf[] = "C:\\WINDOWS\\inf\\oem3.inf";
constexpr char kOtherInf[] = "C:\\WINDOWS\\inf\\other\\oem3.inf";

class RemovalDriver : public ::testing::Test {
protected:
    RemovalDriver() {
        m.Inf("oem3.inf", "[Version]\n");
        m.File("inf\\other\\oem3.inf", "[Version]\n");
    }
    Platform& Ports() { return m.machine.Ports(); }
    ImageFileSystem& Files() { return m.machine.Image().Files(); }
    ImageProcesses& Processes() { return m.machine.Image().Processes(); }

    InventoryMachine m;
};

TEST_F(RemovalDriver, HelperRunsForTheQuotedIdThenBothCopiesGoWhateverItAnswered) {
    // The helper finds no device; the INF is deleted all the same.
    Processes().exitHandler = [](const std::string&) {
        return ProcessResult{true, false, kDrvInstallNoDevice};
    };
    bool infsThereWhileHelperRuns = false;
    Processes().handler = [&](const std::string&, bool) {
        infsThereWhileHelperRuns = Ports().fs.Exists(kInf) && Ports().fs.Exists(kOtherInf);
        return true;
    };
    int pumps = 0;
    RemovalOptions options;
    options.pump = [&] { ++pumps; };
    RemovalOutcome outcome;
    EXPECT_FALSE(RemoveDriver(Ports(), "PCI\\VEN_1&DEV_2 REV 01", kHelper, "OEM3.INF", options, &outcome));

    ASSERT_EQ(Processes().calls.size(), 1u);
    EXPECT_EQ(Processes().calls[0].commandLine,
              "C:\\Users\\Some One\\Temp\\DrvInstall.exe /r \"PCI\\VEN_1&DEV_2 REV 01\"");
    EXPECT_TRUE(Processes().calls[0].wait);
    EXPECT_EQ(Processes().timeouts, std::vector<std::uint32_t>{0});
    EXPECT_TRUE(infsThereWhileHelperRuns);
    EXPECT_FALSE(Ports().fs.Exists(kInf));
    EXPECT_FALSE(Ports().fs.Exists(kOtherInf));
    EXPECT_EQ(outcome.deleted.size(), 2u);
    EXPECT_EQ(outcome.helper.exitCode, kDrvInstallNoDevice);
    EXPECT_EQ(RemovalReason(outcome.helper), "no device has the hardware ID");
    EXPECT_EQ(pumps, 1);
}

TEST_F(RemovalDriver, CopyInUseIsScheduledForTheRestartWithItsAttributesCleared) {
    ASSERT_TRUE(Ports().fs.SetAttributes(kInf, kFileAttributeReadOnly | kFileAttributeHidden));
    Files().FailDeleteOf(kInf);
    RemovalOutcome outcome;
    EXPECT_TRUE(RemoveDriver(Ports(), "ACPI\\X", kHelper, "oem3.inf", {}, &outcome));

    EXPECT_EQ(Files().DeletesAtReboot(), std::vector<std::string>{kInf});
    EXPECT_EQ(outcome.scheduled, std::vector<std::string>{kInf});
    FindData info;
    ASSERT_TRUE(Ports().fs.GetInfo(kInf, &info));
    EXPECT_EQ(info.attributes & kFileAttributeReadOnly, 0u);
    // The other copy is not held and goes at once.
    EXPECT_EQ(outcome.deleted, std::vector<std::string>{kOtherInf});
    EXPECT_FALSE(Ports().fs.Exists(kOtherInf));
}

TEST_F(RemovalDriver, NothingOutsideTheInfFoldersIsTouched) {
    m.File("system.ini", "x");
    m.File("inf\\sub\\oem3.inf", "x");
    struct Case {
        const char* infName;
        bool refused;
    };
    const Case cases[] = {
        {"..\\system.ini", true},
        {"sub\\oem3.inf", true},
        {"sub/oem3.inf", true},
        {"C:system.ini", true},
        {"C:\\WINDOWS\\system.ini", true},
        {"..", true},
        {"other", false}, // a folder, not a file
        {"", false},      // cleared by an earlier removal
    };
    for (const Case& c : cases) {
        RemovalOutcome outcome;
        EXPECT_FALSE(RemoveDriver(Ports(), "ACPI\\X", kHelper, c.infName, {}, &outcome)) << c.infName;
        EXPECT_EQ(outcome.infRefused, c.refused) << c.infName;
        EXPECT_TRUE(outcome.deleted.empty() && outcome.scheduled.empty()) << c.infName;
    }
    // The helper ran every time: only the file deletion is held back.
    EXPECT_EQ(Processes().calls.size(), std::size(cases));
    EXPECT_TRUE(Files().DeletesAtReboot().empty());
    for (const char* path : {"C:\\WINDOWS\\system.ini", "C:\\WINDOWS\\inf\\sub\\oem3.inf", kInf, kOtherInf})
        EXPECT_TRUE(Ports().fs.Exists(path)) << path;
}

class RecordingRemoval : public RemovalObserver {
public:
    void DriverStarted(int index) override { events.push_back("start " + std::to_string(index)); }
    void Removing(const std::string& description) override { events.push_back("removing " + description); }
    void Pump() override { events.push_back("pump"); }
    std::vector<std::string> events;
};

class RemovalRun : public ::testing::Test {
protected:
    RemovalRun() {
        m.Inf("oem3.inf", "[Version]\n");
        m.Inf("oem7.inf", "[Version]\n");
        m.Driver("PCI\\VEN_1\\1", "0001", {{"DriverDesc", "Zeta Wireless"}, {"InfPath", "oem3.inf"}},
                 {"PCI\\VEN_1&DEV_2"});
        m.Driver("PCI\\VEN_1\\2", "0002", {{"DriverDesc", "Alpha Camera"}, {"InfPath", "oem7.inf"}},
                 {"USB\\VID_2"});
        RefreshDriverList(m.inventory);
    }
    ImageProcesses& Processes() { return m.machine.Image().Processes(); }

    InventoryMachine m;
    RecordingRemoval observer;
};

TEST_F(RemovalRun, NamedDriversGoInTheGivenOrderWithTheHelperForTheWidthOfWindows) {
    m.machine.Image().Resources().items[kResDrvInstall32] = "32-bit helper";
    m.machine.Image().Resources().items[kResDrvInstall64] = "64-bit helper";
    const std::string helper = "C:\\Users\\User\\AppData\\Local\\Temp\\DrvInstall.exe";
    std::string written;
    Processes().handler = [&](const std::string&, bool) {
        ReadWholeFile(m.machine.Ports().fs, helper, &written);
        return true;
    };
    RemovalRunResult result =
        RemoveDrivers(m.inventory, {"Alpha Camera", "No Such Driver", "Zeta Wireless"}, observer, 60000);

    EXPECT_TRUE(result.helperWritten);
    EXPECT_EQ(written, "64-bit helper");
    std::vector<std::string> lines;
    for (const auto& call : Processes().calls)
        lines.push_back(call.commandLine);
    EXPECT_EQ(lines,
              (std::vector<std::string>{helper + " /r \"USB\\VID_2\"", helper + " /r \"PCI\\VEN_1&DEV_2\""}));
    EXPECT_EQ(Processes().timeouts, (std::vector<std::uint32_t>{60000, 60000}));
    EXPECT_EQ(observer.events,
              (std::vector<std::string>{"start 0", "removing Alpha Camera", "pump", "start 1", "start 2",
                                        "removing Zeta Wireless", "pump"}));
    ASSERT_EQ(result.drivers.size(), 3u);
    EXPECT_FALSE(result.drivers[1].found);
    EXPECT_EQ(result.drivers[2].outcome.deleted, std::vector<std::string>{"C:\\WINDOWS\\inf\\oem3.inf"});
    // The records stay, without an INF, until the drivers are read again.
    EXPECT_EQ(m.inventory.drivers.Count(), 2);
    for (int i = 1; i <= 2; ++i)
        EXPECT_EQ(m.inventory.drivers[i].infPath.Trimmed(), "");
}

} // namespace
} // namespace vantrel
