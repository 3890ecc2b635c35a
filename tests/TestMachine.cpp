#include "TestMachine.h"

#include <fstream>
#include <random>
#include <sstream>

namespace vantrel::test {

TempDir::TempDir() {
    std::random_device random;
    auto base = std::filesystem::temp_directory_path();
    do {
        path = base / ("vantrel-test-" + std::to_string(random()));
    } while (std::filesystem::exists(path));
    std::filesystem::create_directories(path);
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
}

void WriteHostFile(const std::filesystem::path& file, const std::string& bytes) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << bytes;
}

std::string ReadHostFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

TestMachine::TestMachine(const MachineFacts& facts) {
    std::filesystem::create_directories(ProgramFolder());
    std::filesystem::create_directories(ImageFolder() / "drive_c");
    image = std::make_unique<ImagePlatform>(ImageFolder().string(), facts, ProgramFolder().string());
}

void TestMachine::ProgramFile(const std::string& relative, const std::string& bytes) {
    WriteHostFile(ProgramFolder() / relative, bytes);
}

} // namespace vantrel::test
