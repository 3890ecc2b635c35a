// A small machine image in a temporary folder, for tests that need the whole set of ports.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "app/App.h"
#include "platform/image/MachineImage.h"

namespace vantrel::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& Path() const { return path; }

private:
    std::filesystem::path path;
};

// Writes a host file, creating its folders.
void WriteHostFile(const std::filesystem::path& file, const std::string& bytes);
std::string ReadHostFile(const std::filesystem::path& file);

class TestMachine {
public:
    explicit TestMachine(const MachineFacts& facts = MachineFacts());

    Platform& Ports() { return image->Ports(); }
    ImagePlatform& Image() { return *image; }
    // Host folder mounted as the program folder (AppPath).
    std::filesystem::path ProgramFolder() const { return root.Path() / "program"; }
    std::filesystem::path ImageFolder() const { return root.Path() / "image"; }
    // Puts a file beside the program, e.g. ProgramFile("Language/English.ini", ...).
    void ProgramFile(const std::string& relative, const std::string& bytes);

private:
    TempDir root;
    std::unique_ptr<ImagePlatform> image;
};

} // namespace vantrel::test
