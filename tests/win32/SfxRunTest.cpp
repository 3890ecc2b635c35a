// The self-extractor and the auto-setup launcher of this build, run for real: packages are
// made with the packaging code and started as Windows programs.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "Win32TestSupport.h"
#include "backup/Packaging.h"
#include "platform/FileSystem.h"
#include "platform/Resources.h"
#include "platform/win32/WindowsApi.h"

#ifdef VANTREL_RESOURCE_DIR

namespace vantrel {
namespace {

// The helper programs as the build left them, read through Wine's view of the host.
class BuiltHelpers : public Resources {
public:
    bool LoadCustom(int id, std::string* bytes) override {
        Win32FileSystem fs;
        if (id == kResAutoSetupWizard && !wizard.empty())
            return ReadWholeFile(fs, wizard, bytes);
        std::string folder = std::string("Z:") + VANTREL_RESOURCE_DIR;
        for (char& c : folder)
            c = c == '/' ? '\\' : c;
        return ReadWholeFile(fs, folder + "\\" + std::to_string(id) + ".bin", bytes);
    }

    std::string wizard; // another program to carry as the wizard
};

// Names in folder that match pattern.
std::vector<std::string> Matching(const std::string& folder, const char* pattern) {
    std::vector<std::string> names;
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA((folder + "\\" + pattern).c_str(), &data);
    if (find == INVALID_HANDLE_VALUE)
        return names;
    do
        names.push_back(data.cFileName);
    while (FindNextFileA(find, &data));
    FindClose(find);
    return names;
}

// Points TMP and TEMP of this process, and so of the programs it starts, at folder.
class TempFolderOverride {
public:
    explicit TempFolderOverride(const std::string& folder) {
        for (const char* name : {"TMP", "TEMP"}) {
            char value[MAX_PATH * 2] = {};
            DWORD length = GetEnvironmentVariableA(name, value, sizeof(value));
            saved.emplace_back(name, length ? std::string(value, length) : std::string());
            SetEnvironmentVariableA(name, folder.c_str());
        }
    }
    ~TempFolderOverride() {
        for (const auto& [name, value] : saved)
            SetEnvironmentVariableA(name.c_str(), value.empty() ? nullptr : value.c_str());
    }

private:
    std::vector<std::pair<std::string, std::string>> saved;
};

int RunProgram(const std::string& program, const std::string& arguments) {
    std::string line = "\"" + program + "\" " + arguments;
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process))
        return -1;
    if (WaitForSingleObject(process.hProcess, 60000) != WAIT_OBJECT_0) {
        TerminateProcess(process.hProcess, 99);
        WaitForSingleObject(process.hProcess, 5000);
    }
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(code);
}

class SfxRun : public ::testing::Test {
protected:
    SfxRun() {
        fs.CreateDirectory(scratch / "Drv One");
        WriteWholeFile(fs, scratch / "Drv One\\a.sys", std::string(70000, 'a'));
        WriteWholeFile(fs, scratch / "Drv One\\drvbck.pdb", "[driver backup information]\r\n");
    }
    PackageJob Job(const std::string& package) {
        return PackageJob{scratch / package, scratch.Path(), "Drv One\\*.*", true, "Medium"};
    }
    std::string Read(const std::string& path) {
        std::string bytes;
        ReadWholeFile(fs, path, &bytes);
        return bytes;
    }

    Win32FileSystem fs;
    Win32System system;
    BuiltHelpers helpers;
    test::ScratchFolder scratch{fs};
    PackagingContext context{fs, system, helpers, nullptr};
};

TEST_F(SfxRun, SelfExtractorUnpacksSilentlyIntoTheChosenFolder) {
    ASSERT_EQ(SelfExtractExeProcess(context, Job("MyDrivers.exe")), kPackOk);
    EXPECT_EQ(Read(scratch / "MyDrivers.exe").substr(0, 2), "MZ");
    ASSERT_EQ(RunProgram(scratch / "MyDrivers.exe", "/s /d:\"" + (scratch / "out folder") + "\""), 0);
    EXPECT_EQ(Read(scratch / "out folder\\Drv One\\a.sys"), std::string(70000, 'a'));
    EXPECT_EQ(Read(scratch / "out folder\\Drv One\\drvbck.pdb"), "[driver backup information]\r\n");
}

TEST_F(SfxRun, LauncherFindsTheArchiveByItsTrailerAndPassesArguments) {
    ASSERT_EQ(SelfExtractAutoExeProcess(context, Job("DriverAutoSetup.exe")), kPackOk);
    ASSERT_TRUE(FinishAutoSetupPackage(context, scratch / "DriverAutoSetup.exe"));
    ASSERT_EQ(RunProgram(scratch / "DriverAutoSetup.exe", "/d:" + (scratch / "auto")), 0);
    EXPECT_EQ(Read(scratch / "auto\\Drv One\\a.sys"), std::string(70000, 'a'));
    std::string wizard = Read(scratch / "auto\\DriverAutoInstall.exe");
    EXPECT_EQ(wizard.substr(0, 2), "MZ");
}

TEST_F(SfxRun, AutoSetupWithoutArgumentsUnpacksIntoTheTemporaryFolderAndLeavesNoCopies) {
    // The package starts its wizard after unpacking: a stand-in that ends without a window.
    helpers.wizard = system.GetSystemDirectory() + "\\hostname.exe";
    ASSERT_TRUE(fs.Exists(helpers.wizard));
    ASSERT_EQ(SelfExtractAutoExeProcess(context, Job("DriverAutoSetup.exe")), kPackOk);
    ASSERT_TRUE(FinishAutoSetupPackage(context, scratch / "DriverAutoSetup.exe"));
    std::string temp = scratch / "temp";
    ASSERT_TRUE(fs.CreateDirectory(temp));
    {
        // A trailing backslash, as GetTempPath returns it, must not double in the paths.
        TempFolderOverride override(temp + "\\");
        ASSERT_EQ(RunProgram(scratch / "DriverAutoSetup.exe", ""), 0);
    }
    EXPECT_EQ(Read(temp + "\\DrvAutoSetup\\Drv One\\a.sys"), std::string(70000, 'a'));
    EXPECT_EQ(Read(temp + "\\DrvAutoSetup\\DriverAutoInstall.exe"), Read(helpers.wizard));
    // The launcher's copy of the self-extractor is gone again, with its name's placeholder.
    EXPECT_EQ(Matching(temp, "*.exe"), std::vector<std::string>{});
    EXPECT_EQ(Matching(temp, "*.tmp"), std::vector<std::string>{});
}

TEST_F(SfxRun, DamagedPackagesFailWithoutWriting) {
    ASSERT_EQ(SelfExtractExeProcess(context, Job("MyDrivers.exe")), kPackOk);
    std::string bytes = Read(scratch / "MyDrivers.exe");
    ASSERT_TRUE(WriteWholeFile(fs, scratch / "cut.exe", bytes.substr(0, bytes.size() - 30)));
    EXPECT_NE(RunProgram(scratch / "cut.exe", "/d:" + (scratch / "cut")), 0);
    EXPECT_FALSE(fs.Exists(scratch / "cut\\Drv One\\a.sys"));

    std::string launcher;
    ASSERT_TRUE(helpers.LoadCustom(kResAutoSetupLauncher, &launcher));
    ASSERT_TRUE(WriteWholeFile(fs, scratch / "bad.exe", launcher + std::string("\xff\xff\xff\x7f", 4)));
    EXPECT_NE(RunProgram(scratch / "bad.exe", "/d:" + (scratch / "bad")), 0);
    EXPECT_FALSE(fs.Exists(scratch / "bad"));
}

} // namespace
} // namespace vantrel

#endif
