// Packs driver folders into the three one-file forms of a backup: a zip archive, a
// self-extracting program and an auto-setup package (launcher + self-extractor + length).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

class ArchiveCallback;
class FileSystem;
class Resources;
class System;

// Carried programs beyond the numbered ones: the self-extractor stub.
inline constexpr int kResSfxStub = 105;

// The installers an auto-setup package carries beside its wizard, whose own resources do not
// hold them: 32-bit and 64-bit Windows.
inline constexpr char kPackagedInstaller32[] = "DrvInstall32.exe";
inline constexpr char kPackagedInstaller64[] = "DrvInstall64.exe";

inline constexpr char kSfxTitle[] = "Vantrel Self-Extractor";
inline constexpr char kSfxIntroduction[] =
    "Welcome to Vantrel self-extractor. This file contains driver files backup of your computer.";

// What a self-extractor does when started. Travels inside the file (see FormatSfxSettings),
// so one stub serves every package.
struct SfxSettings {
    std::string title;
    std::string introduction;
    std::string extractFolder; // may hold %t (temporary folder); empty: the user chooses
    std::string runAfter;      // may hold %d (extraction folder); empty: nothing
    bool silent = false;       // no questions, no windows
    bool overwrite = true;     // existing files are replaced without asking
};

// The settings as text, and back. Parse accepts what Format writes and rejects anything else.
std::string FormatSfxSettings(const SfxSettings& settings);
bool ParseSfxSettings(std::string_view text, SfxSettings* settings);
// The settings stored right before the archive of a self-extractor: given the bytes from the
// start of the file up to the archive's first entry, false when none are there.
bool FindSfxSettings(std::string_view bytesBeforeArchive, SfxSettings* settings);

// One packaging call: files to process relative to baseFolder ("Name\*.*" for a driver's
// folder, or a bare file name), stored with their relative paths when keepPaths is set.
struct PackageJob {
    std::string packagePath;
    std::string baseFolder;
    std::string filesToProcess;
    bool keepPaths = true;
    std::string compressionLevel; // the "CompressionLevel" setting text
};

// Result codes: 0 success, anything else a failure the caller may log.
inline constexpr int kPackOk = 0;
inline constexpr int kPackNothingToDo = 1;
inline constexpr int kPackWriteError = 2;
inline constexpr int kPackMissingStub = 3;

struct PackagingContext {
    FileSystem& fs;
    System& system;
    Resources& resources;
    ArchiveCallback* callback = nullptr;
};

// "BckZip": adds to (or starts) a zip archive; entries already there are kept.
int ZipProcess(PackagingContext& context, const PackageJob& job);
// "BckSfx": as ZipProcess, inside a self-extractor with the title and introduction above.
int SelfExtractExeProcess(PackagingContext& context, const PackageJob& job);
// "BckAutoEXE": a silent self-extractor that unpacks into %t\DrvAutoSetup and runs
// %d\DriverAutoInstall.exe.
int SelfExtractAutoExeProcess(PackagingContext& context, const PackageJob& job);
// After the last driver of an auto-setup run: adds the wizard and the two installers and wraps
// the package in the launcher with the 4-byte length trailer.
bool FinishAutoSetupPackage(PackagingContext& context, const std::string& packagePath);

} // namespace vantrel
