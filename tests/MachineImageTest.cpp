#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "HostTempDir.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/ImageProfile.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/MachineImage.h"

namespace vantrel {

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

const std::string kSample = std::string(VANTREL_SOURCE_DIR) + "/samples/machine";

std::string ReadString(vantrel::Registry& reg, RegHandle root, const std::string& path,
                       const std::string& name) {
    RegKey key(reg);
    if (key.Open(root, path) != kErrorSuccess)
        return "<no key>";
    std::string text;
    return RegReadString(reg, key.Handle(), name, 1024, &text) ? text : "<no value>";
}

} // namespace

// ---- machine.ini ----

TEST(MachineImageIni, MissingKeysTakeWindows10Defaults) {
    HostTempDir dir;
    dir.Write("machine.ini", "[System]\r\nBuild = 22631\r\n");
    MachineFacts facts;
    std::string error;
    ASSERT_TRUE(ReadMachineIni((dir.Path() / "machine.ini").string(), &facts, &error)) << error;
    EXPECT_EQ(facts.version.major, 10);
    EXPECT_EQ(facts.version.minor, 0);
    EXPECT_EQ(facts.version.build, 22631);
    EXPECT_EQ(facts.version.platform, kPlatformNt);
    EXPECT_EQ(facts.version.productType, 1);
    EXPECT_EQ(facts.arch, "x64");
    EXPECT_EQ(facts.windir, "C:\\WINDOWS");
    EXPECT_EQ(facts.sysdir, "C:\\WINDOWS\\system32");
    EXPECT_EQ(facts.temp, "C:\\Users\\User\\AppData\\Local\\Temp");
    EXPECT_EQ(facts.appdata, "C:\\Users\\User\\AppData\\Roaming");
    EXPECT_EQ(facts.programDir, "C:\\Program Files\\Vantrel");
    EXPECT_EQ(facts.now, "");
}

TEST(MachineImageIni, OlderWindowsGetTheirOwnFolders) {
    HostTempDir dir;
    dir.Write("xp.ini", "[system]\nmajor=5\nminor=1\nbuild=2600\narch=X86\ncsdversion=Service Pack 3\n"
                        "now=2026-11-22 10:30:05\n");
    dir.Write("98.ini", "[system]\nmajor=4\nminor=10\nbuild=2222\nplatform=1\narch=x86\nwindir=C:\\WIN98\n");
    MachineFacts xp, me;
    std::string error;
    ASSERT_TRUE(ReadMachineIni((dir.Path() / "xp.ini").string(), &xp, &error)) << error;
    EXPECT_EQ(xp.arch, "x86");
    EXPECT_EQ(xp.version.csdVersion, "Service Pack 3");
    EXPECT_EQ(xp.appdata, "C:\\Documents and Settings\\User\\Application Data");
    EXPECT_EQ(xp.temp, "C:\\Documents and Settings\\User\\Local Settings\\Temp");
    EXPECT_EQ(xp.now, "2026-11-22 10:30:05");
    ASSERT_TRUE(ReadMachineIni((dir.Path() / "98.ini").string(), &me, &error)) << error;
    EXPECT_EQ(me.sysdir, "C:\\WIN98\\SYSTEM");
    EXPECT_EQ(me.temp, "C:\\WIN98\\TEMP");
}

TEST(MachineImageIni, MissingFileAndBadValuesAreNamed) {
    HostTempDir dir;
    MachineFacts facts;
    std::string error;
    std::string missing = (dir.Path() / "machine.ini").string();
    EXPECT_FALSE(ReadMachineIni(missing, &facts, &error));
    EXPECT_NE(error.find(missing), std::string::npos) << error;

    for (const char* bad : {"major=ten", "arch=arm64", "platform=3", "now=2026-13-01", "build=19045x"}) {
        dir.Write("machine.ini", "[system]\n"s + bad + "\n");
        error.clear();
        EXPECT_FALSE(ReadMachineIni(missing, &facts, &error)) << bad;
        EXPECT_NE(error.find(std::string(bad).substr(0, std::string(bad).find('='))), std::string::npos)
            << error;
    }
}

// ---- The sample image ----

TEST(MachineImageLoad, SampleImageIsAWindows10Machine) {
    std::string error;
    auto image = LoadMachineImage(kSample, "", &error);
    ASSERT_NE(image, nullptr) << error;
    Platform& ports = image->Ports();
    EXPECT_EQ(ReadString(ports.registry, kHkeyLocalMachine, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion",
                         "CurrentBuild"),
              "19045");
    EXPECT_EQ(ReadString(ports.registry, kHkeyLocalMachine, "software\\microsoft\\windows nt\\currentversion",
                         "ProductName"),
              "Windows 10 Pro");
    EXPECT_EQ(ReadString(ports.registry, kHkeyLocalMachine,
                         "SYSTEM\\CurrentControlSet\\control\\Class\\{4D36E972-E325-11CE-BFC1-08002BE10318}",
                         "Class"),
              "Net");
    RegKey enumKey(ports.registry);
    EXPECT_EQ(enumKey.Open(kHkeyLocalMachine, "System\\CurrentControlSet\\Enum"), kErrorSuccess);
    EXPECT_EQ(ReadString(ports.registry, kHkeyCurrentUser,
                         "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders", "Desktop"),
              "C:\\Users\\User\\Desktop");
    // hex(2) data of the UTF-16 file arrives as ANSI text with its NUL.
    RegKey user(ports.registry);
    ASSERT_EQ(user.Open(kHkeyCurrentUser,
                        "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders"),
              kErrorSuccess);
    std::string data;
    std::uint32_t type = 0;
    ASSERT_EQ(ports.registry.QueryValue(user.Handle(), "Personal", 256, &type, &data), kErrorSuccess);
    EXPECT_EQ(type, kRegExpandSz);
    EXPECT_EQ(data, "%USERPROFILE%\\Documents\0"s);

    OsVersion version = ports.system.GetVersion();
    EXPECT_EQ(version.major * 100000 + version.minor * 10000 + version.build, 1019045);
    EXPECT_TRUE(ports.system.IsWow64Process());
    EXPECT_EQ(ports.system.GetTempPath(), "C:\\Users\\User\\AppData\\Local\\Temp\\");
    EXPECT_TRUE(ports.fs.IsDirectory(ports.system.GetTempPath()));
    EXPECT_TRUE(ports.fs.IsDirectory(ports.system.GetWindowsDirectory() + "\\INF"));
    EXPECT_TRUE(ports.fs.IsDirectory(ports.system.GetSystemDirectory() + "\\DRIVERS"));
}

TEST(MachineImageLoad, MissingImageOrBadRegFileFails) {
    HostTempDir dir;
    std::string error;
    EXPECT_EQ(LoadMachineImage(dir.String(), "", &error), nullptr);
    EXPECT_NE(error.find("machine.ini"), std::string::npos) << error;

    dir.Write("machine.ini", "[system]\n");
    dir.Write("registry/a.reg", "REGEDIT4\n\n[HKEY_CURRENT_USER\\X]\n\"ok\"=\"1\"\n");
    dir.Write("registry/b.reg", "REGEDIT4\n\n[HKEY_CURRENT_USER\\X]\n\"bad\"=hex:0g\n");
    EXPECT_EQ(LoadMachineImage(dir.String(), "", &error), nullptr);
    EXPECT_NE(error.find("b.reg:4:"), std::string::npos) << error;
}

TEST(MachineImageLoad, LaterFilesWinAndProgramFolderIsMounted) {
    HostTempDir dir, program;
    dir.Write("machine.ini", "[system]\nprogramdir=D:\\Tools\\Vantrel\nnow=2026-11-22 08:00:00\n");
    dir.Write("registry/10-base.reg", "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\T]\n\"v\"=\"base\"\n");
    dir.Write("registry/20-more.REG", "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\T]\n\"v\"=\"more\"\n");
    dir.Write("registry/notes.txt", "not a registry file");
    program.Write("Language/English.ini", "[FormMain]\nCmdOptions=Options\n");
    std::string error;
    auto image = LoadMachineImage(dir.String(), program.String(), &error);
    ASSERT_NE(image, nullptr) << error;
    Platform& ports = image->Ports();
    EXPECT_EQ(ReadString(ports.registry, kHkeyLocalMachine, "SOFTWARE\\T", "v"), "more");
    EXPECT_EQ(ports.system.GetModuleFolder(), "D:\\Tools\\Vantrel");
    std::string text;
    EXPECT_EQ(ports.profile.GetString("FormMain", "CmdOptions", "x", 1024,
                                      ports.system.GetModuleFolder() + "\\Language\\English.ini", &text),
              7u);
    LocalTime now = ports.clock.Now();
    EXPECT_EQ(now.year, 2026);
    EXPECT_EQ(now.hour, 8);
    EXPECT_EQ(now.dayOfWeek, 0); // a Sunday
}

TEST(MachineImageSave, CurrentUserSurvivesARestartAndDeletionsStick) {
    HostTempDir copy;
    fs::copy(kSample, copy.Path(), fs::copy_options::recursive);
    std::string error;
    {
        auto image = LoadMachineImage(copy.String(), "", &error);
        ASSERT_NE(image, nullptr) << error;
        vantrel::Registry& reg = image->Ports().registry;
        RegKey settings(reg);
        ASSERT_EQ(settings.Create(kHkeyCurrentUser, "software\\Vantrel"), kErrorSuccess);
        ASSERT_EQ(RegWriteString(reg, settings.Handle(), "Language", "Français"), kErrorSuccess);
        ASSERT_EQ(reg.SetValue(settings.Handle(), "Backup option", kRegSz, "BckFolder"), kErrorSuccess);
        RegKey folders(reg);
        ASSERT_EQ(folders.Open(kHkeyCurrentUser,
                               "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders"),
                  kErrorSuccess);
        ASSERT_EQ(reg.DeleteValue(folders.Handle(), "Favorites"), kErrorSuccess);
        RegKey machine(reg);
        ASSERT_EQ(machine.Create(kHkeyLocalMachine, "SOFTWARE\\NotSaved"), kErrorSuccess);
        ASSERT_TRUE(image->Save(&error)) << error;
    }
    EXPECT_TRUE(fs::exists(copy.Path() / "registry" / "user.reg"));
    EXPECT_FALSE(fs::exists(copy.Path() / "registry" / "user.reg.new"));

    auto again = LoadMachineImage(copy.String(), "", &error);
    ASSERT_NE(again, nullptr) << error;
    vantrel::Registry& reg = again->Ports().registry;
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser, "Software\\Vantrel", "Language"), "Français");
    RegKey settings(reg);
    ASSERT_EQ(settings.Open(kHkeyCurrentUser, "Software\\Vantrel"), kErrorSuccess);
    std::string data;
    std::uint32_t type = 0;
    ASSERT_EQ(reg.QueryValue(settings.Handle(), "Backup option", 30, &type, &data), kErrorSuccess);
    EXPECT_EQ(data, "BckFolder"); // still without its NUL
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser,
                         "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
                         "Favorites"),
              "<no value>");
    EXPECT_EQ(ReadString(reg, kHkeyCurrentUser,
                         "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders", "Desktop"),
              "C:\\Users\\User\\Desktop");
    EXPECT_EQ(ReadString(reg, kHkeyLocalMachine, "SOFTWARE\\NotSaved", "x"), "<no key>");
}

TEST(MachineImageSave, InMemoryMachineHasNowhereToSave) {
    MachineFacts facts;
    ImagePlatform image("", facts, "");
    std::string error;
    EXPECT_FALSE(image.Save(&error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(image.Ports().fs.Exists("C:\\"));
}

// ---- Profile cache ----

TEST(ProfileImageCache, ParsesOnceUntilTheFileChanges) {
    HostTempDir host;
    host.Write("drive_c/Lang/English.ini", "[FormMain]\nCmdBackup=Backup\n");
    ImageFileSystem files(host.String());
    ImageProfile profile(files);
    std::string text;
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(profile.GetString("FormMain", "CmdBackup", "d", 1024, "C:\\lang\\english.ini", &text), 6u);
    EXPECT_EQ(profile.ParseCount(), 1u);
    host.Write("drive_c/Lang/English.ini", "[FormMain]\nCmdBackup=Sauvegarder\n");
    EXPECT_EQ(profile.GetString("FormMain", "CmdBackup", "d", 1024, "C:\\Lang\\English.ini", &text), 11u);
    EXPECT_EQ(profile.ParseCount(), 2u);
    // Same size and, as with file times of whole seconds, the same time: the bytes tell.
    auto file = std::filesystem::path(host.String()) / "drive_c/Lang/English.ini";
    auto stamp = std::filesystem::last_write_time(file);
    host.Write("drive_c/Lang/English.ini", "[FormMain]\nCmdBackup=Sauvegarde!\n");
    std::filesystem::last_write_time(file, stamp);
    profile.GetString("FormMain", "CmdBackup", "d", 1024, "C:\\Lang\\English.ini", &text);
    EXPECT_EQ(text, "Sauvegarde!");
}

TEST(ProfileImageCache, UnicodeFilesBecomeUtf8) {
    HostTempDir host;
    std::string utf16 = "\xff\xfe"s;
    for (char c : std::string("[M]\r\nK=Fran"))
        utf16 += std::string(1, c) + '\0';
    utf16 += "\xe7\x00"s; // U+00E7
    for (char c : std::string("ais\r\n"))
        utf16 += std::string(1, c) + '\0';
    host.Write("drive_c/u16.ini", utf16);
    host.Write("drive_c/u8.ini", "\xEF\xBB\xBF[M]\nK=Fran\xc3\xa7"
                                 "ais\n");
    ImageFileSystem files(host.String());
    ImageProfile profile(files);
    std::string text;
    EXPECT_EQ(profile.GetString("M", "K", "d", 1024, "C:\\u16.ini", &text), 9u);
    EXPECT_EQ(text, "Fran\xc3\xa7"
                    "ais");
    EXPECT_EQ(profile.GetString("M", "K", "d", 1024, "C:\\u8.ini", &text), 9u);
    EXPECT_EQ(text, "Fran\xc3\xa7"
                    "ais");
}

// ---- System, processes, shell, resources ----

TEST(MachineImageSystem, FormatsDatesAsEnglishWindows) {
    MachineFacts facts;
    ImageSystem system{facts};
    EXPECT_EQ(system.FormatDate(2026, 11, 22, "dddd, MMMM dd, yyyy"), "Sunday, November 22, 2026");
    EXPECT_EQ(system.FormatDate(2024, 2, 5, "d/M/yy ddd MMM"), "5/2/24 Mon Feb");
    EXPECT_EQ(system.FormatDate(2000, 1, 1, "yyyy-MM-dd"), "2000-01-01");
    EXPECT_EQ(system.FormatDate(2026, 11, 22, "'day' d 'of' MMMM''s"), "day 22 of November's");
    EXPECT_EQ(system.FormatDate(1999, 12, 31, "dddd"), "Friday");
}

TEST(MachineImageSystem, FoldersFollowTheFacts) {
    MachineFacts facts;
    facts.temp = "C:\\Temp\\";
    CompleteMachineFacts(&facts);
    ImageSystem system{facts};
    EXPECT_EQ(system.GetTempPath(), "C:\\Temp\\");
    EXPECT_EQ(system.GetSpecialFolder(kCsidlAppData), "C:\\Users\\User\\AppData\\Roaming");
    EXPECT_EQ(system.GetSpecialFolder(kCsidlDesktop), "C:\\Users\\User\\Desktop");
    EXPECT_EQ(system.GetSpecialFolder(kCsidlPersonal), "C:\\Users\\User\\Documents");
    EXPECT_EQ(system.GetSpecialFolder(kCsidlFavorites), "C:\\Users\\User\\Favorites");
    EXPECT_EQ(system.GetSpecialFolder(0x99), "");

    MachineFacts xp;
    xp.version.major = 5;
    xp.arch = "x86";
    CompleteMachineFacts(&xp);
    ImageSystem old{xp};
    EXPECT_EQ(old.GetSpecialFolder(kCsidlPersonal), "C:\\Documents and Settings\\User\\My Documents");
    EXPECT_FALSE(old.IsWow64Process());
    EXPECT_FALSE(old.Is64BitWindows());
}

TEST(MachineImageSystem, ProcessesAndShellRecordWhatWasAsked) {
    ImageProcesses processes;
    EXPECT_TRUE(processes.RunAndWait("\"C:\\Temp\\DrvInstall.exe\" /r \"PCI\\VEN_1\""));
    processes.handler = [](const std::string& line, bool wait) {
        return wait && line.find("/i") != std::string::npos;
    };
    EXPECT_TRUE(processes.RunAndWait("DrvInstall.exe /i x.inf"));
    EXPECT_FALSE(processes.Start("DrvInstall.exe /i x.inf"));
    ASSERT_EQ(processes.calls.size(), 3u);
    EXPECT_EQ(processes.calls[0].commandLine, "\"C:\\Temp\\DrvInstall.exe\" /r \"PCI\\VEN_1\"");
    EXPECT_FALSE(processes.calls[2].wait);
    processes.exitWindowsResult = false;
    EXPECT_TRUE(processes.EnableShutdownPrivilege());
    EXPECT_FALSE(processes.ExitWindows(kEwxReboot | kEwxForce, 0));
    EXPECT_EQ(processes.exitFlags, std::vector<unsigned>{kEwxReboot | kEwxForce});

    ImageShell shell;
    EXPECT_TRUE(shell.Execute("open", "help.chm", "", "C:\\Program Files\\Vantrel"));
    ASSERT_EQ(shell.calls.size(), 1u);
    EXPECT_EQ(shell.calls[0].file, "help.chm");
}

TEST(MachineImageSystem, ResourcesFromAFolderOfBinFiles) {
    HostTempDir dir;
    dir.Write("102.bin", "MZ32");
    dir.Write("103.BIN", "MZ64");
    dir.Write("readme.bin", "not a resource id");
    ImageResources resources;
    ASSERT_TRUE(resources.LoadFolder(dir.String()));
    std::string bytes;
    ASSERT_TRUE(resources.LoadCustom(kResDrvInstall32, &bytes));
    EXPECT_EQ(bytes, "MZ32");
    ASSERT_TRUE(resources.LoadCustom(kResDrvInstall64, &bytes));
    EXPECT_EQ(bytes, "MZ64");
    EXPECT_FALSE(resources.LoadCustom(kResAutoSetupWizard, &bytes));
    EXPECT_EQ(resources.items.size(), 2u);
}

TEST(MachineImageSystem, FixedClockParsing) {
    LocalTime t;
    ASSERT_TRUE(ParseLocalTime("2024-02-29 23:59:58", &t));
    EXPECT_EQ(t.day, 29);
    EXPECT_EQ(t.second, 58);
    EXPECT_EQ(t.dayOfWeek, 4); // Thursday
    EXPECT_TRUE(ParseLocalTime("2026-11-22", &t));
    for (const char* bad :
         {"2026-11-31", "2026-11-22 24:00:00", "2026-11-22 10:00", "22/11/2026", "2026-11-22 x"})
        EXPECT_FALSE(ParseLocalTime(bad, &t)) << bad;
}

} // namespace vantrel
