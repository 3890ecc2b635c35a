// System, clock, resources and platform ports on the running Windows.
#include <gtest/gtest.h>

#include <cctype>
#include <ctime>
#include <string>

#include "platform/win32/Win32Ports.h"
#include "platform/win32/WindowsApi.h"
#include "platform/win32/link/WideImports.h"

namespace vantrel {
namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string LocaleText(LCTYPE what, LCID locale = LOCALE_USER_DEFAULT) {
    char buffer[128] = {};
    GetLocaleInfoA(locale, what, buffer, sizeof buffer);
    return buffer;
}

class Win32SystemPort : public ::testing::Test {
protected:
    Win32System system;
    Win32FileSystem fs;
};

TEST_F(Win32SystemPort, VersionIsTheNtFamily) {
    OsVersion version = system.GetVersion();
    EXPECT_EQ(version.platform, kPlatformNt);
    EXPECT_GE(version.major, 5);
    EXPECT_GT(version.build, 0);
    EXPECT_TRUE(version.productType == 1 || version.productType == 2 || version.productType == 3);
    // Windows 10 and 11 share major 10; their builds start at 10240.
    if (version.major == 10) {
        EXPECT_GE(version.build, 10240);
    }
}

TEST_F(Win32SystemPort, FoldersExistAndFitTogether) {
    std::string windows = system.GetWindowsDirectory();
    ASSERT_FALSE(windows.empty());
    EXPECT_NE(windows.back(), '\\');
    EXPECT_TRUE(fs.IsDirectory(windows + "\\inf"));

    std::string systemDir = system.GetSystemDirectory();
    EXPECT_EQ(Lower(systemDir).rfind(Lower(windows) + "\\", 0), 0u) << systemDir;
    EXPECT_TRUE(fs.IsDirectory(systemDir));

    std::string temp = system.GetTempPath();
    ASSERT_FALSE(temp.empty());
    EXPECT_EQ(temp.back(), '\\');
    EXPECT_TRUE(fs.IsDirectory(temp));

    std::string module = system.GetModuleFolder();
    EXPECT_NE(module.back(), '\\');
    char self[MAX_PATH];
    GetModuleFileNameA(nullptr, self, MAX_PATH);
    std::string selfName = self;
    selfName = selfName.substr(selfName.find_last_of('\\') + 1);
    EXPECT_TRUE(fs.Exists(module + "\\" + selfName)) << module;

    std::string appData = system.GetSpecialFolder(kCsidlAppData);
    EXPECT_TRUE(fs.IsDirectory(appData)) << appData;
    EXPECT_FALSE(system.GetSpecialFolder(kCsidlPersonal).empty());
    EXPECT_EQ(system.GetSpecialFolder(0x7F), "");
}

#ifdef _WIN64
TEST_F(Win32SystemPort, SixtyFourBitProgramIsNeverRedirected) {
    EXPECT_TRUE(system.Is64BitWindows());
    EXPECT_FALSE(system.IsWow64Process());
    EXPECT_FALSE(system.DisableFsRedirection());
    system.RevertFsRedirection();
    EXPECT_TRUE(fs.IsDirectory(system.GetSystemDirectory() + "\\drivers"));
}
#endif

TEST_F(Win32SystemPort, FormatDateUsesTheLocaleNames) {
    // 14 November 2026 is a Saturday, 1 January 2006 a Sunday: both week ends of the names.
    EXPECT_EQ(system.FormatDate(2026, 11, 14, "dddd, MMMM dd, yyyy"),
              LocaleText(LOCALE_SDAYNAME6) + ", " + LocaleText(LOCALE_SMONTHNAME11) + " 14, 2026");
    EXPECT_EQ(system.FormatDate(2006, 1, 1, "dddd MMMM d"),
              LocaleText(LOCALE_SDAYNAME7) + " " + LocaleText(LOCALE_SMONTHNAME1) + " 1");
    EXPECT_EQ(system.FormatSystemDate(2026, 11, 14, "dddd, MMMM dd, yyyy"),
              LocaleText(LOCALE_SDAYNAME6, LOCALE_SYSTEM_DEFAULT) + ", " +
                  LocaleText(LOCALE_SMONTHNAME11, LOCALE_SYSTEM_DEFAULT) + " 14, 2026");
    EXPECT_EQ(system.FormatSystemDate(2024, 13, 1, "yyyy-MM-dd"), "");
    EXPECT_EQ(system.FormatDate(2024, 2, 29, "yyyy-MM-dd"), "2024-02-29");
    EXPECT_EQ(system.FormatDate(2024, 13, 1, "yyyy-MM-dd"), "");
    EXPECT_EQ(system.FormatDate(2024, 0, 1, "yyyy-MM-dd"), "");
}

TEST(Win32ClockPort, AgreesWithTheRuntimeClock) {
    Win32Clock clock;
    LocalTime now = clock.Now();
    std::time_t t = std::time(nullptr);
    std::tm runtime = *std::localtime(&t);
    auto minutes = [](int y, int mo, int d, int h, int mi) {
        return (((static_cast<long long>(y) * 12 + mo) * 31 + d) * 24 + h) * 60 + mi;
    };
    long long ours = minutes(now.year, now.month, now.day, now.hour, now.minute);
    long long theirs =
        minutes(runtime.tm_year + 1900, runtime.tm_mon + 1, runtime.tm_mday, runtime.tm_hour, runtime.tm_min);
    EXPECT_LE(std::llabs(ours - theirs), 1);
    EXPECT_EQ(now.dayOfWeek, runtime.tm_wday);

    std::uint64_t before = clock.TickMs();
    Sleep(60);
    std::uint64_t after = clock.TickMs();
    EXPECT_GE(after - before, 40u);
    EXPECT_LT(after - before, 10000u);
}

// 32-bit programs take these for the runtime's wide imports; only the binding is 32-bit.
TEST(Win32WideImports, AnsiStandInsAnswerAsTheWideFunctions) {
    HANDLE semaphore = CreateSemaphoreAnsi(nullptr, 1, 2, nullptr);
    ASSERT_NE(semaphore, nullptr);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(semaphore, 0), static_cast<DWORD>(WAIT_TIMEOUT));
    EXPECT_TRUE(ReleaseSemaphore(semaphore, 2, nullptr));
    EXPECT_FALSE(ReleaseSemaphore(semaphore, 1, nullptr)); // beyond its maximum
    CloseHandle(semaphore);
    HANDLE named = CreateSemaphoreAnsi(nullptr, 0, 1, L"VantrelWideImportTest");
    ASSERT_NE(named, nullptr);
    HANDLE again = OpenSemaphoreA(SEMAPHORE_ALL_ACCESS, FALSE, "VantrelWideImportTest");
    EXPECT_NE(again, nullptr);
    CloseHandle(again);
    CloseHandle(named);

    EXPECT_EQ(GetModuleHandleAnsi(L"kernel32.dll"), GetModuleHandleA("kernel32.dll"));
    EXPECT_EQ(GetModuleHandleAnsi(nullptr), GetModuleHandleA(nullptr));
    EXPECT_EQ(GetModuleHandleAnsi(L"no-such-module.dll"), nullptr);
    HMODULE version = LoadLibraryAnsi(L"version.dll");
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version, GetModuleHandleA("version.dll"));
    FreeLibrary(version);
    EXPECT_EQ(LoadLibraryAnsi(L"no-such-module.dll"), nullptr);
    EXPECT_EQ(LoadLibraryAnsi(std::wstring(400, L'x').c_str()), nullptr); // longer than a path
}

TEST(Win32ResourcesPort, MissingResourceIsReadFromTheResourcesFolderBesideTheProgram) {
    Win32Resources resources;
    Win32FileSystem fs;
    // An id no build carries, so only the file can answer.
    constexpr int kId = 999;
    std::string folder = Win32System().GetModuleFolder() + "\\resources";
    std::string file = folder + "\\999.bin";
    std::string bytes = "untouched";
    ASSERT_FALSE(fs.Exists(file));
    EXPECT_FALSE(resources.LoadCustom(kId, &bytes));
    bool made = !fs.IsDirectory(folder) && fs.CreateDirectory(folder);
    ASSERT_TRUE(WriteWholeFile(fs, file, std::string("MZ\0helper", 9)));
    EXPECT_TRUE(resources.LoadCustom(kId, &bytes));
    EXPECT_EQ(bytes, std::string("MZ\0helper", 9));
    fs.DeleteFile(file);
    if (made)
        fs.RemoveDirectory(folder);
}

TEST(Win32PlatformSet, HandsOutWorkingPorts) {
    auto set = CreateWin32Platform();
    ASSERT_TRUE(set);
    Platform& ports = set->Ports();
    EXPECT_EQ(&ports, &set->Ports());
    RegHandle key = 0;
    EXPECT_EQ(ports.registry.OpenKey(kHkeyCurrentUser, "Software", &key), kErrorSuccess);
    ports.registry.CloseKey(key);
    EXPECT_TRUE(ports.fs.IsDirectory(ports.system.GetWindowsDirectory()));
    std::string error;
    EXPECT_TRUE(set->Save(&error));
}

} // namespace
} // namespace vantrel
