// The small ports of a machine image: system facts, processes, shell, resources and clock.
// Processes and Shell only record what the program asked for, so tests can check it.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/Clock.h"
#include "platform/Processes.h"
#include "platform/Resources.h"
#include "platform/Shell.h"
#include "platform/System.h"
#include "platform/image/MachineImage.h"

namespace vantrel {

class ImageSystem : public System {
public:
    explicit ImageSystem(const MachineFacts& facts) : facts(facts) {}

    OsVersion GetVersion() override { return facts.version; }
    std::string GetWindowsDirectory() override { return facts.windir; }
    std::string GetSystemDirectory() override { return facts.sysdir; }
    std::string GetTempPath() override;
    std::string GetModuleFolder() override { return facts.programDir; }
    // AppData from the facts; Desktop, Personal and Favorites in the profile folder above it.
    std::string GetSpecialFolder(int csidl) override;
    // The shipped program is 32-bit, so it runs under WOW64 on every 64-bit image.
    bool IsWow64Process() override { return facts.arch == "x64"; }
    bool Is64BitWindows() override { return facts.arch == "x64"; }
    bool DisableFsRedirection() override { return true; }
    void RevertFsRedirection() override {}
    // English names, as GetDateFormatA gives them on an English system.
    std::string FormatDate(int year, int month, int day, const std::string& picture) override;

private:
    MachineFacts facts;
};

class ImageProcesses : public Processes {
public:
    struct Call {
        std::string commandLine;
        bool wait = false;
    };
    std::vector<Call> calls;
    // Stands in for the child: gets the command line and whether the caller waits; its answer
    // is the call's result. Without it every start succeeds.
    std::function<bool(const std::string& commandLine, bool wait)> handler;
    // The exit code a waited-for child returns (0 without it); the time limit of each call.
    std::function<ProcessResult(const std::string& commandLine)> exitHandler;
    std::vector<std::uint32_t> timeouts;

    std::vector<unsigned> exitFlags; // every ExitWindows call
    bool exitWindowsResult = true;

    bool RunAndWait(const std::string& commandLine) override;
    ProcessResult RunAndWaitFor(const std::string& commandLine, std::uint32_t timeoutMs) override;
    bool Start(const std::string& commandLine) override;
    bool EnableShutdownPrivilege() override { return true; }
    bool ExitWindows(unsigned flags, unsigned reason) override;
};

class ImageShell : public Shell {
public:
    struct Call {
        std::string verb, file, parameters, folder;
    };
    std::vector<Call> calls;
    bool result = true;

    bool Execute(const std::string& verb, const std::string& file, const std::string& parameters,
                 const std::string& folder) override;
};

class ImageResources : public Resources {
public:
    std::map<int, std::string> items;

    bool LoadCustom(int id, std::string* bytes) override;
    // Adds every "<id>.bin" of a host folder; false when the folder cannot be read.
    bool LoadFolder(const std::string& hostFolder);
};

class ImageClock : public Clock {
public:
    // The real local time unless a fixed time is set.
    std::optional<LocalTime> fixed;
    // An image never waits: pauses are added up here and move TickMs on.
    std::uint64_t sleptMs = 0;

    LocalTime Now() override;
    std::uint64_t TickMs() override;
    void Sleep(std::uint32_t ms) override { sleptMs += ms; }
};

// "yyyy-mm-dd hh:mm:ss" (the time may be left out) with its day of the week; false when malformed.
bool ParseLocalTime(std::string_view text, LocalTime* time);
// 0 Sunday .. 6 Saturday.
int DayOfWeek(int year, int month, int day);

} // namespace vantrel
