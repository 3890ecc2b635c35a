#include "ZipTestSupport.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <zlib.h>
#ifndef _WIN32
#include <sys/wait.h>
#endif

#include "archive/ZipFormat.h"

namespace vantrel::ziptest {

namespace fs = std::filesystem;

Sandbox::Sandbox() : fs((temp.Path() / "image").string()) {
    fs::create_directories(temp.Path() / "image" / "drive_c");
}

fs::path Sandbox::Host(std::string_view windowsPath) {
    fs::path host;
    fs.MapPath(windowsPath, &host);
    return host;
}

void Sandbox::Write(std::string_view windowsPath, const std::string& bytes) {
    test::WriteHostFile(Host(windowsPath), bytes);
}
std::string Sandbox::Read(std::string_view windowsPath) {
    return test::ReadHostFile(Host(windowsPath));
}

std::vector<std::string> Sandbox::Listing() {
    std::vector<std::string> all;
    fs::path root = temp.Path() / "image";
    for (auto& e : fs::recursive_directory_iterator(root))
        all.push_back(fs::relative(e.path(), root).generic_string());
    std::sort(all.begin(), all.end());
    return all;
}

std::string TextData(std::size_t size, unsigned seed) {
    static const char* words[] = {
        "driver ", "device ",    "class ", "[Version]\r\n", "Signature=", "\"$Windows NT$\"\r\n",
        "HKR,,",   "CopyFiles=", "sys ",   "inf ",          "0x0000",     "PCI\\VEN_8086&DEV_"};
    std::mt19937 random(seed);
    std::string s;
    s.reserve(size + 32);
    while (s.size() < size) {
        s += words[random() % 12];
        if (random() % 7 == 0)
            s += std::to_string(random() % 100000);
    }
    s.resize(size);
    return s;
}

std::string NoiseData(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string s(size, '\0');
    for (char& c : s)
        c = static_cast<char>(random() & 0xFF);
    return s;
}

std::string Deflate(const std::string& data, int level) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&z, static_cast<uLong>(data.size())), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

std::uint32_t Crc(const std::string& data) {
    return zipfmt::Crc32(0, data.data(), data.size());
}

RawEntry StoredEntry(std::string name, std::string data) {
    RawEntry e;
    e.name = std::move(name);
    e.crc = Crc(data);
    e.size = data.size();
    e.data = std::move(data);
    return e;
}

RawEntry DeflatedEntry(std::string name, const std::string& data) {
    RawEntry e;
    e.name = std::move(name);
    e.crc = Crc(data);
    e.size = data.size();
    e.data = Deflate(data, 9);
    e.method = 8;
    return e;
}

std::string BuildRawZip(const std::vector<RawEntry>& entries) {
    using namespace zipfmt;
    std::string zip, central;
    // The fields from "version needed" to the name length are the same in both headers.
    auto common = [](std::string& out, const RawEntry& e) {
        Put16(out, 20);
        Put16(out, 0);
        Put16(out, e.method);
        Put32(out, 0x5A210000);
        Put32(out, e.crc);
        Put32(out, static_cast<std::uint32_t>(e.data.size()));
        Put32(out, static_cast<std::uint32_t>(e.size));
        Put16(out, static_cast<std::uint32_t>(e.name.size()));
        Put16(out, 0);
    };
    for (const RawEntry& e : entries) {
        std::uint64_t offset = e.offsetOverride >= 0 ? e.offsetOverride : zip.size();
        Put32(zip, kLocalHeaderSig);
        common(zip, e);
        zip += e.name + e.data;
        Put32(central, kCentralHeaderSig);
        Put16(central, e.madeBy);
        common(central, e);
        Put32(central, 0); // comment length, disk
        Put16(central, 0);
        Put32(central, e.attributes);
        Put32(central, static_cast<std::uint32_t>(offset));
        central += e.name;
    }
    std::uint64_t start = zip.size();
    zip += central;
    Put32(zip, kEndSig);
    Put32(zip, 0);
    Put16(zip, static_cast<std::uint32_t>(entries.size()));
    Put16(zip, static_cast<std::uint32_t>(entries.size()));
    Put32(zip, static_cast<std::uint32_t>(central.size()));
    Put32(zip, static_cast<std::uint32_t>(start));
    Put16(zip, 0);
    return zip;
}

bool HaveTool(const std::string& name) {
#ifdef _WIN32
    (void)name;
    return false;
#else
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
#endif
}

int RunTool(const std::string& command, std::string* output) {
#ifdef _WIN32
    (void)command;
    output->clear();
    return -1;
#else
    output->clear();
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return -1;
    std::array<char, 4096> buffer;
    std::size_t n;
    while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        output->append(buffer.data(), n);
    int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

std::string Quote(const fs::path& path) {
    std::string s = "'";
    for (char c : path.string())
        s += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return s + "'";
}

} // namespace vantrel::ziptest
