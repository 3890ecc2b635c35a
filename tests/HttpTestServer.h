// A real HTTP server on 127.0.0.1 for one test (tests/http/test-server.py): a folder of files
// plus a few faulty answers. Under Wine the Windows test program starts the Linux Python,
// so the served folder lies under /tmp, which Wine shows as Z:\tmp.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>

#include "platform/FileSystem.h"
#include "platform/Http.h"

#ifdef _WIN32
#include "platform/Platform.h"
#include "platform/Processes.h"
#else
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace vantrel::test {

// The bytes of a download, kept in memory.
class MemoryFile : public OutputFile {
public:
    std::string bytes;
    bool failWrites = false;

    bool Write(const void* data, std::size_t size) override {
        if (failWrites)
            return false;
        bytes.append(static_cast<const char*>(data), size);
        return true;
    }
    bool Seek(std::uint64_t) override { return false; }
    std::uint64_t Tell() const override { return bytes.size(); }
    bool Truncate(std::uint64_t size) override {
        bytes.resize(size);
        return true;
    }
    bool Close() override { return true; }
};

class HttpTestServer {
public:
    // lifetime: the server ends by itself after so many seconds.
    explicit HttpTestServer(int lifetime = 60) {
        static std::atomic<unsigned> counter{0};
        std::string name = "vantrel-http-" + std::to_string(Pid()) + "-" + std::to_string(counter++);
        unixRoot = "/tmp/" + name;
        std::filesystem::create_directories(Local(unixRoot + "/www"));
        std::string script = std::string(VANTREL_SOURCE_DIR) + "/tests/http/test-server.py";
        std::string portFile = unixRoot + "/port";
#ifdef _WIN32
        auto platform = CreateWin32Platform();
        platform->Ports().processes.Start("Z:\\usr\\bin\\python3 " + script + " " + unixRoot + "/www " +
                                          portFile + " " + std::to_string(lifetime));
#else
        child = fork();
        if (child == 0) {
            std::string seconds = std::to_string(lifetime);
            execlp("python3", "python3", script.c_str(), (unixRoot + "/www").c_str(), portFile.c_str(),
                   seconds.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
#endif
        for (int i = 0; i < 200 && port == 0; ++i) {
            std::ifstream in(Local(portFile));
            if (!(in >> port))
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    ~HttpTestServer() {
        if (port != 0) {
            MemoryFile ignored;
            HttpLimits quick{2000, 2000, 1024};
            HttpGet(*CreateHttp(), Url("/quit"), quick, ignored, nullptr);
        }
#ifndef _WIN32
        if (child > 0) {
            int status = 0;
            for (int i = 0; i < 40 && waitpid(child, &status, WNOHANG) == 0; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (waitpid(child, &status, WNOHANG) == 0) {
                kill(child, SIGKILL);
                waitpid(child, &status, 0);
            }
        }
#endif
        std::error_code ec;
        std::filesystem::remove_all(Local(unixRoot), ec);
    }
    HttpTestServer(const HttpTestServer&) = delete;
    HttpTestServer& operator=(const HttpTestServer&) = delete;

    bool Running() const {
        return port != 0;
    }
    std::string Url(std::string_view path = "") const {
        return "http://127.0.0.1:" + std::to_string(port) + std::string(path);
    }
    // Serves bytes under the path ("update11/update.txt").
    void Put(std::string_view path, std::string_view bytes) const {
        std::filesystem::path file = Local(unixRoot + "/www/" + std::string(path));
        std::filesystem::create_directories(file.parent_path());
        std::ofstream out(file, std::ios::binary);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }
    void Remove(std::string_view path) const {
        std::error_code ec;
        std::filesystem::remove(Local(unixRoot + "/www/" + std::string(path)), ec);
    }

private:
    // A path of the Linux host as this program opens it.
    static std::filesystem::path Local(const std::string& unixPath) {
#ifdef _WIN32
        std::string path = "Z:" + unixPath;
        for (char& c : path)
            if (c == '/')
                c = '\\';
        return path;
#else
        return unixPath;
#endif
    }
    static long Pid() {
#ifdef _WIN32
        return static_cast<long>(std::chrono::steady_clock::now().time_since_epoch().count() % 1000000007);
#else
        return static_cast<long>(getpid());
#endif
    }

    std::string unixRoot;
    int port = 0;
#ifndef _WIN32
    pid_t child = -1;
#endif
};

} // namespace vantrel::test
