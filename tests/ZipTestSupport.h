// Shared pieces of the archive tests: a machine-image drive in a temporary folder, archives
// built byte by byte, and the outside zip tools.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "TestMachine.h"
#include "platform/image/ImageFileSystem.h"

namespace vantrel::ziptest {

// Drive C: of an image in a fresh temporary folder, removed again at the end.
class Sandbox {
public:
    Sandbox();
    ImageFileSystem& Fs() { return fs; }
    std::filesystem::path Host(std::string_view windowsPath);
    void Write(std::string_view windowsPath, const std::string& bytes);
    std::string Read(std::string_view windowsPath);
    // Every file and folder of the image, as relative paths.
    std::vector<std::string> Listing();

private:
    test::TempDir temp;
    ImageFileSystem fs;
};

// Reproducible test data: compressible text and incompressible noise.
std::string TextData(std::size_t size, unsigned seed);
std::string NoiseData(std::size_t size, unsigned seed);
std::string Deflate(const std::string& data, int level); // raw deflate, one stream
std::uint32_t Crc(const std::string& data);

// An archive assembled by hand, for layouts and names no honest writer produces.
struct RawEntry {
    std::string name;
    std::string data;          // what is stored after the local header
    std::uint16_t method = 0;  // data must already be deflated for method 8
    std::uint32_t crc = 0;     // of the uncompressed bytes
    std::uint64_t size = 0;    // uncompressed
    std::uint16_t madeBy = 20; // host in the high byte
    std::uint32_t attributes = 0x20;
    std::int64_t offsetOverride = -1; // local header offset written in the directory
};
RawEntry StoredEntry(std::string name, std::string data);
RawEntry DeflatedEntry(std::string name, const std::string& data);
std::string BuildRawZip(const std::vector<RawEntry>& entries);

// Outside tools, when installed (never on Windows).
bool HaveTool(const std::string& name);
int RunTool(const std::string& command, std::string* output);
std::string Quote(const std::filesystem::path& path);

} // namespace vantrel::ziptest
