// What the self-extractor and the auto-setup launcher do, apart from their windows: reading
// their command line, finding their settings and archive inside their own file, unpacking.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "backup/Packaging.h"

namespace vantrel {

class ArchiveCallback;
class FileSystem;

// "/s" unpacks without questions; "/d:FOLDER" (or /d:"FOLDER") unpacks there and runs nothing
// afterwards. Anything else is an error.
struct SfxCommand {
    bool silent = false;
    std::string folder;
};
bool ParseSfxCommandLine(std::string_view arguments, SfxCommand* command, std::string* error);

// What a self-extractor starts once it has unpacked: the program of its settings, handed the
// self-extractor's own arguments. With /s it waits for the program and ends with its exit
// code, so a script knows when the installation is over and whether it worked. /d: starts
// nothing. An empty program: nothing to start.
struct SfxRunAfter {
    std::string program;
    std::string arguments;
    bool wait = false;
};
SfxRunAfter PlanSfxRunAfter(const SfxCommand& command, const SfxSettings& settings,
                            std::string_view arguments, std::string_view tempFolder, std::string_view folder);

// %t becomes the temporary folder, %d the extraction folder (neither with a trailing "\").
std::string ExpandSfxPath(std::string_view text, std::string_view tempFolder, std::string_view folder);

// The settings stored in a self-extractor's file; false when it carries none.
bool ReadSfxSettings(FileSystem& fs, const std::string& path, SfxSettings* settings);

// Unpacks the self-extractor's archive into folder. False with *error set on any failure;
// entries that would land outside folder are refused.
bool ExtractSelf(FileSystem& fs, const std::string& path, const std::string& folder, bool overwrite,
                 ArchiveCallback* callback, std::string* error);

// An auto-setup package ends with the 4-byte length of the archive before it. Where that
// archive starts, or false when the length does not fit the file.
bool LocateTrailingArchive(std::uint64_t fileSize, std::uint32_t trailer, std::uint64_t* offset);

} // namespace vantrel
