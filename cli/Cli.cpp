#include "Cli.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "app/Startup.h"
#include "inventory/Enumeration.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/MachineImage.h"
#ifndef _WIN32
#include "platform/image/OfflineWindows.h"
#endif
#include "util/Text.h"

namespace vantrel {

bool CliArgs::TakeValue(const std::string& name, std::string* value, std::string* error) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == name) {
            if (i + 1 >= args.size()) {
                *error = name + " needs a value";
                return false;
            }
            *value = args[i + 1];
            args.erase(args.begin() + static_cast<long>(i), args.begin() + static_cast<long>(i) + 2);
            return true;
        }
        if (args[i].rfind(name + "=", 0) == 0) {
            *value = args[i].substr(name.size() + 1);
            args.erase(args.begin() + static_cast<long>(i));
            return true;
        }
    }
    return false;
}

std::vector<std::string> CliArgs::TakeValues(const std::string& name, std::string* error) {
    std::vector<std::string> values;
    std::string value;
    while (TakeValue(name, &value, error))
        values.push_back(value);
    return values;
}

bool CliArgs::TakeFlag(const std::string& name) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == name) {
            args.erase(args.begin() + static_cast<long>(i));
            return true;
        }
    }
    return false;
}

bool CliArgs::Rest(std::vector<std::string>* words, std::string* error) const {
    for (const auto& arg : args) {
        if (arg.size() > 2 && arg.rfind("--", 0) == 0) {
            *error = "unknown option " + arg;
            return false;
        }
        words->push_back(arg);
    }
    return true;
}

std::string ProgramFolder() {
#ifdef _WIN32
    // Machine images mount this folder as their program folder: the language files and the
    // databases beside vantrel-cli.exe are the ones they use.
    std::string folder = CreateWin32Platform()->Ports().system.GetModuleFolder();
    while (folder.size() > 3 && (folder.back() == '\\' || folder.back() == '/'))
        folder.pop_back();
    return folder.empty() ? std::string(".") : folder;
#else
    std::error_code ec;
    auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::string(".") : exe.parent_path().string();
#endif
}

namespace {
std::string assumedWindowsVersion;
}

void SetAssumedWindowsVersion(const std::string& version) {
    assumedWindowsVersion = version;
}

std::unique_ptr<PlatformSet> OpenMachine(const std::string& imageDir, std::string* error) {
#ifndef _WIN32
    if (!imageDir.empty() && IsWindowsInstallation(imageDir)) {
        auto note = [](const std::string& text) {
            std::fprintf(stderr, "vantrel: note: %s\n", text.c_str());
        };
        return OpenOfflineWindows(imageDir, ProgramFolder(), OfflineOptions{assumedWindowsVersion, note},
                                  error);
    }
#endif
    if (!imageDir.empty())
        return LoadMachineImage(imageDir, ProgramFolder(), error);
#ifdef _WIN32
    return CreateWin32Platform();
#else
    *error = "no machine image given: use --image DIR (for example samples/machine)";
    return nullptr;
#endif
}

MsgAnswer ConsoleDialogs::MessageBox(const std::string& text, const std::string& title, MsgButtons buttons,
                                     MsgIcon) {
    std::printf("[%s] %s\n", title.c_str(), text.c_str());
    switch (buttons) {
    case MsgButtons::Ok:
        return MsgAnswer::Ok;
    case MsgButtons::OkCancel:
        return answerYes ? MsgAnswer::Ok : MsgAnswer::Cancel;
    default:
        return answerYes ? MsgAnswer::Yes : MsgAnswer::No;
    }
}

bool ConsoleDialogs::BrowseForFolder(const std::string&, std::string*) {
    return false;
}

bool ConsoleDialogs::OpenFile(const std::string&, const std::string&, std::string*) {
    return false;
}

bool AskYesNo(const std::string& question) {
    std::printf("%s [y/N] ", question.c_str());
    std::fflush(stdout);
    char answer[32] = {};
    if (!std::fgets(answer, sizeof answer, stdin))
        return false;
    std::string text = LowerAscii(TrimWhite(answer));
    return text == "y" || text == "yes";
}

bool ParseTimeoutSeconds(const std::string& text, const std::string& option, unsigned* seconds,
                         std::string* error) {
    char* end = nullptr;
    unsigned long value = std::strtoul(text.c_str(), &end, 10);
    if (end == text.c_str() || *end != '\0' || value > 24 * 3600 || text[0] == '-') {
        *error = option + " needs a number of seconds (0 waits without limit)";
        return false;
    }
    *seconds = static_cast<unsigned>(value);
    return true;
}

bool OpenInventory(const char* command, const std::string& imageDir, Machine* machine) {
    std::string error;
    machine->set = OpenMachine(imageDir, &error);
    if (!machine->set) {
        std::fprintf(stderr, "vantrel %s: %s\n", command, error.c_str());
        return false;
    }
    machine->app = std::make_unique<App>(machine->set->Ports());
    // Start-up sets the program folder and the language file; on an image nothing is saved.
    RunStartup(*machine->app);
    machine->inventory = std::make_unique<Inventory>(machine->set->Ports());
    RefreshDriverList(*machine->inventory);
    return true;
}

// The path the core uses for a source the user named: on an image, a host path is reached
// through a drive of its own (a path that already names a drive of the image stays as it is).
bool SourcePath(PlatformSet& set, const std::string& given, std::string* path, std::string* error) {
    // On an image the host folder holding the source appears as this drive.
    constexpr char kImageSourceDrive[] = "V:\\";
    auto* image = dynamic_cast<ImagePlatform*>(&set);
    bool windowsPath = given.size() >= 3 && given[1] == ':' && given[2] == '\\';
    if (image == nullptr || windowsPath) {
        *path = given;
#ifdef _WIN32
        if (image == nullptr)
            *path = std::filesystem::absolute(given).string();
#endif
        while (path->size() > 3 && (path->back() == '\\' || path->back() == '/'))
            path->pop_back();
        return true;
    }
    std::error_code ec;
    std::filesystem::path host = std::filesystem::absolute(given, ec).lexically_normal();
    if (!host.has_filename())
        host = host.parent_path();
    if (ec || !std::filesystem::exists(host, ec)) {
        *error = "no such folder or file: " + given;
        return false;
    }
    image->Files().AddMount(kImageSourceDrive, host.parent_path().string());
    *path = kImageSourceDrive + host.filename().string();
    return true;
}

// One field as RFC 4180 quotes it: only when it holds a comma, a quote or a line break.
std::string CsvField(const std::string& value) {
    if (value.find_first_of(",\"\r\n") == std::string::npos)
        return value;
    std::string out = "\"";
    for (char c : value) {
        if (c == '"')
            out += '"';
        out += c;
    }
    return out + "\"";
}

} // namespace vantrel
