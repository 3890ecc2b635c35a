#include <gtest/gtest.h>

#include "TestMachine.h"
#include "app/SystemServices.h"

namespace vantrel {
namespace {

TEST(SystemServicesDate, MonthDayYearBecomesIsoDate) {
    struct Case {
        const char* in;
        const char* out;
    } cases[] = {
        {"6/21/2006", "2006-06-21"},
        {"6-21-2006", "2006-06-21"},
        {"12/31/1999", "1999-12-31"},
        {" 1/2/3 ", "3-01-02"},
        {"1/ 2 /2008", "2008-01-02"},
        {"01-02-2008", "2008-01-02"},
        {"", ""},
        {"   ", ""},
        {"2006", ""},
        {"12/31", ""},
        {"12-31", ""},
        // The routine assumes month-day-year: an ISO date comes out turned around.
        {"2006-06-21", "21-2006-06"},
        // A "-" wins over "/" as the separator.
        {"6/21-2006-x", "x-6/21-2006"},
        {"a/b/c", "c-0a-0b"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(NormalizeDate(c.in), c.out) << "input \"" << c.in << "\"";
}

TEST(SystemServicesFolders, WindowsAndTempFoldersComeFromTheMachine) {
    MachineFacts facts;
    facts.windir = "D:\\WINNT";
    facts.temp = "D:\\TEMP";
    test::TestMachine machine(facts);
    EXPECT_EQ(GetWindowsFolder(machine.Ports()), "D:\\WINNT");
    EXPECT_EQ(GetTempFolder(machine.Ports()), "D:\\TEMP\\");
}

TEST(SystemServicesFolders, Wow64FollowsTheArchitecture) {
    MachineFacts x64;
    x64.arch = "x64";
    test::TestMachine machine64(x64);
    EXPECT_TRUE(IsWow64(machine64.Ports()));
    MachineFacts x86;
    x86.arch = "x86";
    test::TestMachine machine32(x86);
    EXPECT_FALSE(IsWow64(machine32.Ports()));
}

} // namespace
} // namespace vantrel
