// The ports over the running Windows, each a thin layer over the ANSI calls.
// The header stays free of <windows.h> so that callers only see the port types.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "platform/Profile.h"
#include "platform/Registry.h"
#include "platform/Resources.h"
#include "platform/Shell.h"
#include "platform/System.h"

namespace vantrel {

class Win32Registry : public Registry {
public:
    long OpenKey(RegHandle parent, std::string_view subKey, RegHandle* out) override;
    long CreateKey(RegHandle parent, std::string_view subKey, RegHandle* out) override;
    long CloseKey(RegHandle key) override;
    long QueryInfoKey(RegHandle key, RegKeyInfo* info) override;
    long EnumKey(RegHandle key, std::uint32_t index, std::uint32_t bufferChars, std::string* name) override;
    long EnumValue(RegHandle key, std::uint32_t index, std::string* name, std::uint32_t* type) override;
    long QueryValue(RegHandle key, std::string_view name, std::uint32_t bufferBytes, std::uint32_t* type,
                    std::string* data) override;
    long SetValue(RegHandle key, std::string_view name, std::uint32_t type, std::string_view data) override;
    long DeleteValue(RegHandle key, std::string_view name) override;
    long DeleteKey(RegHandle parent, std::string_view subKey) override;
};

class Win32FileSystem : public FileSystem {
public:
    bool Exists(std::string_view path) override;
    bool IsDirectory(std::string_view path) override;
    bool GetInfo(std::string_view path, FindData* info) override;
    bool FindFiles(std::string_view pattern, std::vector<FindData>* found) override;
    std::unique_ptr<InputFile> OpenRead(std::string_view path) override;
    std::unique_ptr<const FileBytes> ReadAll(std::string_view path, std::uint64_t maxBytes) override;
    std::unique_ptr<OutputFile> OpenWrite(std::string_view path, bool append = false) override;
    bool CreateDirectory(std::string_view path) override;
    bool RemoveDirectory(std::string_view path) override;
    bool DeleteFile(std::string_view path) override;
    bool CopyFile(std::string_view from, std::string_view to, bool failIfExists) override;
    bool MoveFile(std::string_view from, std::string_view to) override;
    bool SetAttributes(std::string_view path, std::uint32_t attributes) override;
    bool DeleteAtReboot(std::string_view path) override;
};

// A file move that replaces the target, for Windows 9x, whose MoveFileExA only fails.
bool MoveFileWithoutEx(const std::string& from, const std::string& to);

class Win32System : public System {
public:
    OsVersion GetVersion() override;
    std::string GetWindowsDirectory() override;
    std::string GetSystemDirectory() override;
    std::string GetTempPath() override;
    std::string GetModuleFolder() override;
    std::string GetSpecialFolder(int csidl) override;
    bool IsWow64Process() override;
    bool Is64BitWindows() override;
    bool DisableFsRedirection() override;
    void RevertFsRedirection() override;
    std::string FormatDate(int year, int month, int day, const std::string& picture) override;
    std::string FormatSystemDate(int year, int month, int day, const std::string& picture) override;

private:
    void* redirectionState = nullptr; // the value Wow64DisableWow64FsRedirection hands back
    bool redirectionOff = false;
};

class Win32Processes : public Processes {
public:
    bool RunAndWait(const std::string& commandLine) override;
    ProcessResult RunAndWaitFor(const std::string& commandLine, std::uint32_t timeoutMs) override;
    bool Start(const std::string& commandLine) override;
    bool EnableShutdownPrivilege() override;
    bool ExitWindows(unsigned flags, unsigned reason) override;
};

class Win32Shell : public Shell {
public:
    bool Execute(const std::string& verb, const std::string& file, const std::string& parameters,
                 const std::string& folder) override;
};

class Win32Resources : public Resources {
public:
    bool LoadCustom(int id, std::string* bytes) override;
};

class Win32Profile : public Profile {
public:
    std::uint32_t GetString(std::string_view section, std::string_view key, std::string_view defaultText,
                            std::uint32_t bufferChars, std::string_view file, std::string* text) override;
};

class Win32Clock : public Clock {
public:
    LocalTime Now() override;
    std::uint64_t TickMs() override;
    void Sleep(std::uint32_t ms) override;
};

} // namespace vantrel
