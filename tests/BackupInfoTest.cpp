#include <algorithm>

#include <gtest/gtest.h>

#include "TestMachine.h"
#include "backup/BackupInfo.h"
#include "platform/FileSystem.h"
#include "platform/image/ImagePorts.h"

namespace vantrel {
namespace {

using test::TestMachine;

BackupInfoSource SampleSource() {
    BackupInfoSource source;
    source.driverDesc = "  Northwind HD Audio   ";
    source.infFileName = "oem12.inf";
    source.infSection = "NWAudio.Install ";
    source.infSectionExt = " .NTamd64";
    source.hardwareId = "HDAUDIO\\FUNC_01&VEN_1D17&DEV_0042 ";
    source.driverVersion = "6.0.1.8123   ";
    source.driverDate = "2021-03-04 ";
    source.providerName = " Northwind Audio ";
    source.className = "MEDIA   ";
    source.fileCount = 7;
    source.signature = "All Windows Operating Systems";
    source.needRestore = true;
    return source;
}

MachineFacts FixedDay(int major = 10) {
    MachineFacts facts;
    facts.now = "2026-11-14 09:30:00";
    facts.version.major = major;
    if (major == 4) {
        facts.version.minor = 10;
        facts.version.platform = 1;
    }
    return facts;
}

// A machine whose user reads German while the system keeps English names.
class GermanUser : public ImageSystem {
public:
    using ImageSystem::ImageSystem;
    std::string FormatDate(int, int, int, const std::string&) override {
        return "Samstag, 14. November 2026";
    }
    std::string FormatSystemDate(int year, int month, int day, const std::string& picture) override {
        return ImageSystem::FormatDate(year, month, day, picture);
    }
};

TEST(BackupInfoFile, ThirteenCrlfLinesByteForByte) {
    TestMachine machine(FixedDay());
    Platform& image = machine.Ports();
    GermanUser system(FixedDay());
    Platform ports{image.registry, image.fs,        system,        image.processes,
                   image.shell,    image.resources, image.profile, image.clock};
    auto& fs = ports.fs;
    ASSERT_TRUE(CreateDirectories(fs, "C:\\Backup\\Northwind HD Audio"));
    ASSERT_TRUE(WriteBackupInfo(ports, "C:\\Backup\\Northwind HD Audio", SampleSource()));
    std::string written;
    ASSERT_TRUE(ReadWholeFile(fs, "C:\\Backup\\Northwind HD Audio\\drvbck.pdb", &written));
    EXPECT_EQ(written, "[driver backup information]\r\n"
                       "driverdesc=Northwind HD Audio\r\n"
                       "infpath=oem12.inf\r\n"
                       "infsection=NWAudio.Install.NTamd64\r\n"
                       "MatchingDeviceId=HDAUDIO\\FUNC_01&VEN_1D17&DEV_0042\r\n"
                       "driverversion=6.0.1.8123\r\n"
                       "driverdate=2021-03-04\r\n"
                       "providername=Northwind Audio\r\n"
                       "class=MEDIA\r\n"
                       "filenum=7\r\n"
                       "signature=All Windows Operating Systems\r\n"
                       "needrestore=yes\r\n"
                       "backuptime=Saturday, November 14, 2026\r\n");
}

TEST(BackupInfoFile, RewrittenFileReplacesTheOld) {
    TestMachine machine(FixedDay());
    auto source = SampleSource();
    source.needRestore = false;
    source.fileCount = 0;
    source.signature.clear();
    ASSERT_TRUE(CreateDirectories(machine.Ports().fs, "C:\\B\\x"));
    ASSERT_TRUE(WriteWholeFile(machine.Ports().fs, "C:\\B\\x\\drvbck.pdb", std::string(5000, 'z')));
    ASSERT_TRUE(WriteBackupInfo(machine.Ports(), "C:\\B\\x", source));
    std::string written;
    ASSERT_TRUE(ReadWholeFile(machine.Ports().fs, "C:\\B\\x\\drvbck.pdb", &written));
    EXPECT_EQ(written.find('z'), std::string::npos);
    EXPECT_NE(written.find("\r\nfilenum=0\r\nsignature=\r\nneedrestore=no\r\n"), std::string::npos);
}

TEST(BackupInfoFile, ReadBackRoundTripsAndCutsAt79) {
    TestMachine machine(FixedDay());
    auto source = SampleSource();
    source.driverDesc = std::string(100, 'D');
    ASSERT_TRUE(CreateDirectories(machine.Ports().fs, "C:\\B\\one"));
    ASSERT_TRUE(WriteBackupInfo(machine.Ports(), "C:\\B\\one", source));
    BackupEntry entry = ReadBackupInfo(machine.Ports(), "C:\\B\\one");
    EXPECT_EQ(entry.driverDesc, std::string(79, 'D'));
    EXPECT_EQ(entry.infPath, "oem12.inf");
    EXPECT_EQ(entry.infSection, "NWAudio.Install.NTamd64");
    EXPECT_EQ(entry.matchingDeviceId, "HDAUDIO\\FUNC_01&VEN_1D17&DEV_0042");
    EXPECT_EQ(entry.driverVersion, "6.0.1.8123");
    EXPECT_EQ(entry.driverDate, "2021-03-04");
    EXPECT_EQ(entry.providerName, "Northwind Audio");
    EXPECT_EQ(entry.className, "MEDIA");
    EXPECT_EQ(entry.fileNum, "7");
    EXPECT_EQ(entry.needRestore, "yes");
    EXPECT_EQ(entry.backupTime, "Saturday, November 14, 2026");
    EXPECT_EQ(entry.folder, "C:\\B\\one");
}

void WritePdb(TestMachine& machine, const std::string& folder, const std::string& body) {
    ASSERT_TRUE(CreateDirectories(machine.Ports().fs, folder));
    ASSERT_TRUE(WriteWholeFile(machine.Ports().fs, folder + "\\drvbck.pdb",
                               "[driver backup information]\r\n" + body));
}

TEST(BackupInfoValidity, RequiredKeysDependOnTheWindowsFamily) {
    const std::string noDeviceId = "driverdesc=Old Modem\r\ninfpath=modem.inf\r\n";
    TestMachine nt(FixedDay(10));
    WritePdb(nt, "C:\\B\\m", noDeviceId);
    EXPECT_FALSE(IsValidBackupInfo(nt.Ports(), "C:\\B\\m\\drvbck.pdb"));
    WritePdb(nt, "C:\\B\\n", noDeviceId + "MatchingDeviceId=PCI\\VEN_1\r\n");
    EXPECT_TRUE(IsValidBackupInfo(nt.Ports(), "C:\\B\\n\\drvbck.pdb"));
    WritePdb(nt, "C:\\B\\o", "infpath=modem.inf\r\nMatchingDeviceId=x\r\n");
    EXPECT_FALSE(IsValidBackupInfo(nt.Ports(), "C:\\B\\o\\drvbck.pdb"));
    EXPECT_FALSE(IsValidBackupInfo(nt.Ports(), "C:\\B\\missing\\drvbck.pdb"));

    TestMachine win98(FixedDay(4));
    WritePdb(win98, "C:\\B\\m", noDeviceId);
    EXPECT_TRUE(IsValidBackupInfo(win98.Ports(), "C:\\B\\m\\drvbck.pdb"));
}

TEST(BackupInfoScan, OwnFolderWinsOverSubfolders) {
    TestMachine machine(FixedDay());
    const std::string valid = "driverdesc=D\r\ninfpath=d.inf\r\nMatchingDeviceId=ID\r\n";
    WritePdb(machine, "C:\\Root\\Drivers Backup\\A", valid);
    WritePdb(machine, "C:\\Root\\Drivers Backup\\B", valid);
    WritePdb(machine, "C:\\Root\\Drivers Backup\\Broken", "driverdesc=\r\n");
    WritePdb(machine, "C:\\Root\\Drivers Backup\\A\\Deeper", valid);
    ASSERT_TRUE(CreateDirectories(machine.Ports().fs, "C:\\Root\\Drivers Backup\\Empty"));

    auto parent = ScanBackupFolder(machine.Ports(), "C:\\Root\\Drivers Backup");
    std::vector<std::string> folders;
    for (const auto& entry : parent)
        folders.push_back(entry.folder);
    std::sort(folders.begin(), folders.end());
    EXPECT_EQ(folders,
              (std::vector<std::string>{"C:\\Root\\Drivers Backup\\A", "C:\\Root\\Drivers Backup\\B"}));

    // A driver's own folder lists just that driver, whatever lies below it.
    auto own = ScanBackupFolder(machine.Ports(), "C:\\Root\\Drivers Backup\\A");
    ASSERT_EQ(own.size(), 1u);
    EXPECT_EQ(own[0].folder, "C:\\Root\\Drivers Backup\\A");

    // Two levels up finds nothing: only one level is searched.
    EXPECT_TRUE(ScanBackupFolder(machine.Ports(), "C:\\Root").empty());
}

} // namespace
} // namespace vantrel
