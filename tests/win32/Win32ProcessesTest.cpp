// Processes and shell ports: real child programs.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "platform/win32/Win32Ports.h"
#include "platform/win32/WindowsApi.h"
#include "win32/Win32TestSupport.h"

namespace vantrel {
namespace {

class Win32ProcessesPort : public ::testing::Test {
protected:
    Win32Processes processes;
    Win32FileSystem fs;
    test::ScratchFolder folder{fs};
    std::string cmd = Win32System().GetSystemDirectory() + "\\cmd.exe";

    static std::string Quoted(const std::string& path) {
        std::string text = "\"";
        text.append(path).append("\"");
        return text;
    }

    // Polls for a file a started program writes; false after ten seconds.
    bool Appears(const std::string& path) {
        for (int i = 0; i < 200; ++i) {
            std::string bytes;
            if (fs.Exists(path) && ReadWholeFile(fs, path, &bytes) && !bytes.empty())
                return true;
            Sleep(50);
        }
        return false;
    }
};

TEST_F(Win32ProcessesPort, RunAndWaitReturnsOnlyWhenTheChildHasEnded) {
    // The child appends line by line; a return before it ends would find the file short.
    std::string lines = folder / "lines.txt";
    ASSERT_TRUE(
        processes.RunAndWait(Quoted(cmd) + " /c for /L %i in (1,1,150) do @echo %i>>" + Quoted(lines)));
    std::string bytes;
    ASSERT_TRUE(ReadWholeFile(fs, lines, &bytes));
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), 150);
    EXPECT_NE(bytes.find("150"), std::string::npos);

    EXPECT_FALSE(processes.RunAndWait(Quoted(folder / "missing.exe")));
}

TEST_F(Win32ProcessesPort, RunAndWaitForGivesTheExitCodeAndEndsAHungChild) {
    ProcessResult done = processes.RunAndWaitFor(Quoted(cmd) + " /c exit 5", 0);
    EXPECT_TRUE(done.started);
    EXPECT_FALSE(done.timedOut);
    EXPECT_EQ(done.exitCode, 5u);

    // A loop that would run for minutes stands in for a hung installer.
    std::uint64_t before = GetTickCount();
    ProcessResult hung =
        processes.RunAndWaitFor(Quoted(cmd) + " /c for /L %i in (1,1,100000000) do @rem", 300);
    EXPECT_TRUE(hung.started);
    EXPECT_TRUE(hung.timedOut);
    EXPECT_LT(GetTickCount() - before, 5000u);

    EXPECT_FALSE(processes.RunAndWaitFor(Quoted(folder / "missing.exe"), 0).started);
}

TEST_F(Win32ProcessesPort, StartRunsTheProgram) {
    std::string marker = folder / "started.txt";
    ASSERT_TRUE(processes.Start(Quoted(cmd) + " /c echo started>" + Quoted(marker)));
    EXPECT_TRUE(Appears(marker));
    EXPECT_FALSE(processes.Start(Quoted(folder / "missing.exe")));
}

TEST_F(Win32ProcessesPort, ShutdownPrivilegeCanBeEnabled) {
    EXPECT_TRUE(processes.EnableShutdownPrivilege());
}

TEST_F(Win32ProcessesPort, ShellRunsInTheGivenFolder) {
    Win32Shell shell;
    // A relative output name lands in the working folder handed to the shell.
    ASSERT_TRUE(shell.Execute("open", cmd, "/c echo shell>relative.txt", folder.Path()));
    EXPECT_TRUE(Appears(folder / "relative.txt"));
    EXPECT_FALSE(shell.Execute("open", folder / "missing.doc", "", folder.Path()));
}

} // namespace
} // namespace vantrel
