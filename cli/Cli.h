// Shared pieces of the command-line front end.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "app/App.h"
#include "app/Dialogs.h"
#include "inventory/Inventory.h"
#include "platform/Platform.h"

namespace vantrel {

// Arguments after the sub-command: flags with values, repeated flags, and bare words.
class CliArgs {
public:
    CliArgs(std::vector<std::string> args) : args(std::move(args)) {}
    // Takes "--name VALUE" (or "--name=VALUE"); false when absent. Sets *error when the value is missing.
    bool TakeValue(const std::string& name, std::string* value, std::string* error);
    std::vector<std::string> TakeValues(const std::string& name, std::string* error);
    bool TakeFlag(const std::string& name);
    // What is left after all Take calls: bare words; unknown "--" options are an error.
    bool Rest(std::vector<std::string>* words, std::string* error) const;

private:
    std::vector<std::string> args;
};

// The machine the command works on: --image DIR, or the running Windows.
std::unique_ptr<PlatformSet> OpenMachine(const std::string& imageDir, std::string* error);
// "major.minor" to assume for a mounted Windows whose SOFTWARE hive is missing ("" refuses it).
void SetAssumedWindowsVersion(const std::string& version);

// The path the core uses for a backup the user named (a folder, zip or program): on an image
// a host path is reached through a drive of its own; a path that names a drive of the image
// stays as it is. False with *error set when the host path does not exist.
bool SourcePath(PlatformSet& set, const std::string& given, std::string* path, std::string* error);

// One field as RFC 4180 quotes it: only when it holds a comma, a quote or a line break.
std::string CsvField(const std::string& value);

// The folder holding the program and its data files (Language\...).
std::string ProgramFolder();

// Console answers: message boxes print and take the default, or "yes" with --yes.
class ConsoleDialogs : public Dialogs {
public:
    explicit ConsoleDialogs(bool answerYes) : answerYes(answerYes) {}
    MsgAnswer MessageBox(const std::string& text, const std::string& title, MsgButtons buttons,
                         MsgIcon icon) override;
    bool BrowseForFolder(const std::string& prompt, std::string* folder) override;
    bool OpenFile(const std::string& title, const std::string& filter, std::string* path) override;

private:
    bool answerYes;
};

// Asks on the terminal; true only for the answer "y" or "yes".
bool AskYesNo(const std::string& question);
// A time limit in seconds (0: none), at most a day; false with *error set when it is not one.
bool ParseTimeoutSeconds(const std::string& text, const std::string& option, unsigned* seconds,
                         std::string* error);

// A machine with the program started on it and its drivers read.
struct Machine {
    std::unique_ptr<PlatformSet> set;
    std::unique_ptr<App> app;
    std::unique_ptr<Inventory> inventory;
};
// False (with a message on stderr naming the command) when the machine cannot be opened.
bool OpenInventory(const char* command, const std::string& imageDir, Machine* machine);

// What `vantrel backup` backs up: into DIR\Drivers Backup, in a form ("folder", "zip", "sfx" or
// "auto"), the named drivers, else all listed ones with all, else the Non-Microsoft ones.
struct BackupRequest {
    std::string to;
    std::string format = "folder";
    std::string resources; // the carried programs' folder, for an image
    bool all = false;
    std::vector<std::string> names;
};
// The backup run of `vantrel backup` on an open machine, its messages naming command. 0 when
// every file was saved.
int BackUpDrivers(const char* command, Machine& machine, const std::string& imageDir,
                  const BackupRequest& request);

int RunInfo(CliArgs& args);
int RunList(CliArgs& args);
int RunShow(CliArgs& args);
int RunBackup(CliArgs& args);
int RunCatalog(CliArgs& args);
int RunRestore(CliArgs& args);
int RunUninstall(CliArgs& args);
int RunVerify(CliArgs& args);
int RunDevices(CliArgs& args);
int RunUpdates(CliArgs& args);
int RunPersonal(CliArgs& args);
int RunOptions(CliArgs& args);
int RunLiveUpdate(CliArgs& args);

} // namespace vantrel
