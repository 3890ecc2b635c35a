// A host folder for one test, removed with everything in it afterwards.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace vantrel {

class HostTempDir {
public:
    HostTempDir() {
        static std::atomic<unsigned> counter{0};
        auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        path = std::filesystem::temp_directory_path() /
               ("vantrel-test-" + std::to_string(stamp) + "-" + std::to_string(counter++));
        std::filesystem::create_directories(path);
    }
    ~HostTempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    HostTempDir(const HostTempDir&) = delete;
    HostTempDir& operator=(const HostTempDir&) = delete;

    const std::filesystem::path& Path() const { return path; }
    std::string String() const { return path.string(); }

    // Writes a file below the folder, creating its parents.
    void Write(std::string_view relative, std::string_view bytes) const {
        std::filesystem::path file = path / std::filesystem::path(relative);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    std::string Read(std::string_view relative) const {
        std::ifstream in(path / std::filesystem::path(relative), std::ios::binary);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path path;
};

} // namespace vantrel
