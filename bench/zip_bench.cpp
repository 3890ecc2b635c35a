// Packs and unpacks a folder tree with our zip code and with Info-ZIP's zip/unzip, and
// prints "name: value" lines. Without --tree it gathers a tree of real files from /usr.
//
//   zip_bench [--tree DIR] [--work DIR] [--mb 300] [--threads 2] [--level 6]
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "archive/ArchiveCallback.h"
#include "archive/ZipReader.h"
#include "archive/ZipWriter.h"
#include "platform/image/ImageFileSystem.h"

namespace fs = std::filesystem;

namespace {

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

std::string Quote(const fs::path& p) {
    return "'" + p.string() + "'";
}

// Copies regular files from /usr until about mb megabytes: binaries, libraries, text and
// already-compressed files, several thousand of them, as a driver backup mixes them.
void GatherTree(const fs::path& tree, std::uint64_t mb) {
    struct Source {
        const char* folder;
        int percent;
    } sources[] = {{"/usr/share", 35}, {"/usr/lib", 50}, {"/usr/bin", 10}, {"/usr/include", 5}};
    std::error_code ec;
    for (const Source& source : sources) {
        std::uint64_t total = 0, limit = (mb << 20) * source.percent / 100;
        for (auto it = fs::recursive_directory_iterator(source.folder,
                                                        fs::directory_options::skip_permission_denied, ec);
             !ec && it != fs::recursive_directory_iterator() && total < limit; it.increment(ec)) {
            // Names Windows cannot hold would only be refused on the way back.
            std::string name = it->path().filename().string();
            if (name.back() == '.' || name.back() == ' ' ||
                name.find_first_of(":*?\"<>|\\") != std::string::npos) {
                if (it->is_directory(ec))
                    it.disable_recursion_pending();
                continue;
            }
            if (it->is_symlink(ec) || !it->is_regular_file(ec))
                continue;
            std::uint64_t size = it->file_size(ec);
            if (ec || size == 0 || size > (4u << 20))
                continue;
            fs::path target = tree / fs::relative(it->path(), "/usr");
            fs::create_directories(target.parent_path(), ec);
            if (fs::copy_file(it->path(), target, fs::copy_options::skip_existing, ec))
                total += size;
            ec.clear();
        }
    }
}

// The host folders as drive C:, without the case folding of a machine image: shows what the
// archive code costs by itself.
class DirectFileSystem : public vantrel::FileSystem {
public:
    explicit DirectFileSystem(fs::path root) : root(std::move(root)) {}

    bool Exists(std::string_view path) override { return fs::exists(Host(path)); }
    bool IsDirectory(std::string_view path) override { return fs::is_directory(Host(path)); }
    bool GetInfo(std::string_view path, vantrel::FindData* info) override {
        std::error_code ec;
        fs::path host = Host(path);
        auto status = fs::status(host, ec);
        if (ec || !fs::exists(status))
            return false;
        *info = {};
        info->name = host.filename().string();
        info->attributes =
            fs::is_directory(status) ? vantrel::kFileAttributeDirectory : vantrel::kFileAttributeArchive;
        info->size = fs::is_directory(status) ? 0 : fs::file_size(host, ec);
        return true;
    }
    bool FindFiles(std::string_view pattern, std::vector<vantrel::FindData>* found) override {
        found->clear();
        std::error_code ec;
        for (auto& e : fs::directory_iterator(Host(pattern.substr(0, pattern.rfind('\\'))), ec)) {
            vantrel::FindData info;
            if (GetInfo(std::string(pattern.substr(0, pattern.rfind('\\') + 1)) +
                            e.path().filename().string(),
                        &info))
                found->push_back(info);
        }
        return !found->empty();
    }
    std::unique_ptr<vantrel::InputFile> OpenRead(std::string_view path) override {
        FILE* f = std::fopen(Host(path).c_str(), "rb");
        return f ? std::make_unique<Input>(f) : nullptr;
    }
    std::unique_ptr<vantrel::OutputFile> OpenWrite(std::string_view path, bool append) override {
        FILE* f = std::fopen(Host(path).c_str(), append && Exists(path) ? "r+b" : "wb");
        if (f && append)
            std::fseek(f, 0, SEEK_END);
        return f ? std::make_unique<Output>(f) : nullptr;
    }
    bool CreateDirectory(std::string_view path) override { return fs::create_directory(Host(path)); }
    bool RemoveDirectory(std::string_view path) override { return fs::remove(Host(path)); }
    bool DeleteFile(std::string_view path) override { return fs::remove(Host(path)); }
    bool CopyFile(std::string_view, std::string_view, bool) override { return false; }
    bool MoveFile(std::string_view from, std::string_view to) override {
        std::error_code ec;
        fs::rename(Host(from), Host(to), ec);
        return !ec;
    }
    bool SetAttributes(std::string_view, std::uint32_t) override { return false; }
    bool DeleteAtReboot(std::string_view) override { return false; }

private:
    class Input : public vantrel::InputFile {
    public:
        explicit Input(FILE* f) : f(f) {
            std::fseek(f, 0, SEEK_END);
            size = static_cast<std::uint64_t>(ftello(f));
            std::fseek(f, 0, SEEK_SET);
        }
        ~Input() override { std::fclose(f); }
        std::int64_t Read(void* buffer, std::size_t n) override {
            std::size_t got = std::fread(buffer, 1, n, f);
            return std::ferror(f) ? -1 : static_cast<std::int64_t>(got);
        }
        bool Seek(std::uint64_t offset) override {
            return fseeko(f, static_cast<off_t>(offset), SEEK_SET) == 0;
        }
        std::uint64_t Size() const override { return size; }

    private:
        FILE* f;
        std::uint64_t size = 0;
    };
    class Output : public vantrel::OutputFile {
    public:
        explicit Output(FILE* f) : f(f) {}
        ~Output() override { Close(); }
        bool Write(const void* data, std::size_t n) override { return f && std::fwrite(data, 1, n, f) == n; }
        bool Seek(std::uint64_t offset) override {
            return f && fseeko(f, static_cast<off_t>(offset), SEEK_SET) == 0;
        }
        std::uint64_t Tell() const override { return f ? static_cast<std::uint64_t>(ftello(f)) : 0; }
        bool Truncate(std::uint64_t size) override {
            return f && std::fflush(f) == 0 && ftruncate(fileno(f), static_cast<off_t>(size)) == 0 &&
                   fseeko(f, static_cast<off_t>(size), SEEK_SET) == 0;
        }
        bool Close() override {
            bool ok = f && std::fclose(f) == 0;
            f = nullptr;
            return ok;
        }

    private:
        FILE* f;
    };

    fs::path Host(std::string_view windows) const {
        std::string rest(windows.size() > 2 && windows[1] == ':' ? windows.substr(2) : windows);
        std::replace(rest.begin(), rest.end(), '\\', '/');
        return root / rest.substr(rest.find_first_not_of('/') == std::string::npos
                                      ? rest.size()
                                      : rest.find_first_not_of('/'));
    }

    fs::path root;
};

std::uint64_t WarmUp(const fs::path& tree, std::uint64_t* files) {
    std::uint64_t bytes = 0;
    std::vector<char> buffer(1 << 20);
    for (auto& e : fs::recursive_directory_iterator(tree)) {
        if (!e.is_regular_file())
            continue;
        std::ifstream in(e.path(), std::ios::binary);
        while (in.read(buffer.data(), buffer.size()) || in.gcount() > 0)
            bytes += static_cast<std::uint64_t>(in.gcount());
        ++*files;
    }
    return bytes;
}

double RunShell(const std::string& command) {
    auto start = std::chrono::steady_clock::now();
    int rc = std::system(command.c_str());
    double t = Seconds(start);
    return rc == 0 ? t : -1;
}

void Print(const char* name, double value, const char* unit = "") {
    std::printf("%s: %.3f%s\n", name, value, unit);
}

} // namespace

int main(int argc, char** argv) {
    fs::path work = fs::temp_directory_path() / "vantrel-zip-bench";
    fs::path tree;
    std::uint64_t mb = 300;
    int threads = 2, level = 6;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string key = argv[i], value = argv[i + 1];
        if (key == "--tree")
            tree = value;
        else if (key == "--work")
            work = value;
        else if (key == "--mb")
            mb = std::stoull(value);
        else if (key == "--threads")
            threads = std::stoi(value);
        else if (key == "--level")
            level = std::stoi(value);
    }
    work = fs::absolute(work); // the outside tools run in another folder
    fs::create_directories(work / "drive_c");
    if (tree.empty()) {
        tree = work / "tree";
        if (!fs::exists(tree))
            GatherTree(tree, mb);
    }
    tree = fs::absolute(tree);
    std::uint64_t files = 0, bytes = WarmUp(tree, &files);
    std::printf("tree: %s\nfiles: %llu\n", tree.string().c_str(), static_cast<unsigned long long>(files));
    Print("input_mb", bytes / 1048576.0);

    vantrel::ImageFileSystem image(work.string());
    image.AddMount("C:\\Tree", tree.string());
    fs::path ours = work / "drive_c" / "ours.zip", theirs = work / "theirs.zip";

    double oursSeconds[2] = {0, 0};
    for (int pass = 0; pass < 2; ++pass) {
        // The second pass runs single-threaded to show what the threads bring.
        fs::remove(ours);
        vantrel::ZipWriter writer(image);
        writer.SetLevel(level);
        writer.SetThreads(pass == 0 ? threads : 1);
        auto start = std::chrono::steady_clock::now();
        if (!writer.Create("C:\\ours.zip") || !writer.AddFolder("C:\\Tree", "C:\\", true) ||
            !writer.Close()) {
            std::fprintf(stderr, "zip_bench: %s\n", writer.Error().c_str());
            return 1;
        }
        oursSeconds[pass] = Seconds(start);
    }
    std::uint64_t oursSize = fs::file_size(ours);
    Print("ours_pack_s", oursSeconds[0], "");
    Print("ours_pack_1thread_s", oursSeconds[1]);
    Print("ours_pack_mb_s", bytes / 1048576.0 / oursSeconds[0]);
    Print("ours_size_mb", oursSize / 1048576.0);

    fs::remove(theirs);
    double zipSeconds = RunShell("cd " + Quote(tree.parent_path()) + " && zip -q -r -" +
                                 std::to_string(level) + " " + Quote(theirs) + " " + Quote(tree.filename()));
    if (zipSeconds > 0) {
        std::uint64_t theirSize = fs::file_size(theirs);
        Print("infozip_pack_s", zipSeconds);
        Print("infozip_size_mb", theirSize / 1048576.0);
        Print("speed_vs_infozip", zipSeconds / oursSeconds[0], "x");
        Print("size_vs_infozip", 100.0 * (static_cast<double>(oursSize) / theirSize - 1.0), "%");
        Print("zip_vs_infozip_ratio", oursSeconds[0] / zipSeconds);
    }
    fs::path theirs7 = work / "theirs7.zip";
    fs::remove(theirs7);
    double sevenSeconds = RunShell("cd " + Quote(tree.parent_path()) + " && 7z a -bd -tzip -mx=5 " +
                                   Quote(theirs7) + " " + Quote(tree.filename()) + " >/dev/null");
    std::error_code sevenError;
    if (sevenSeconds > 0 && fs::exists(theirs7, sevenError)) {
        Print("7z_pack_s", sevenSeconds);
        Print("7z_size_mb", fs::file_size(theirs7) / 1048576.0);
        Print("zip_vs_7z_ratio", oursSeconds[0] / sevenSeconds);
    }
    fs::remove(theirs7);

    // Extraction through the machine image and straight to the host folders, each into a
    // fresh folder, then Info-ZIP's unzip the same way.
    DirectFileSystem direct(work / "drive_c");
    const char* runs[] = {"image", "direct"};
    for (int run = 0; run < 2; ++run) {
        vantrel::FileSystem& files = run == 0 ? static_cast<vantrel::FileSystem&>(image) : direct;
        vantrel::ZipReader reader(files);
        if (!reader.Open("C:\\ours.zip")) {
            std::fprintf(stderr, "zip_bench: %s\n", reader.Error().c_str());
            return 1;
        }
        auto start = std::chrono::steady_clock::now();
        vantrel::ZipResult result = run == 0 ? reader.Test("") : reader.Extract("C:\\out-direct", {});
        if (run == 0) {
            Print("ours_test_mb_s", bytes / 1048576.0 / Seconds(start));
            start = std::chrono::steady_clock::now();
            result = reader.Extract("C:\\out-image", {});
        }
        double seconds = Seconds(start);
        if (!result.ok)
            std::fprintf(stderr, "zip_bench: %s\n", result.error.c_str());
        std::printf("ours_extract_%s_mb_s: %.3f\n", runs[run], bytes / 1048576.0 / seconds);
    }
    double unzipSeconds = RunShell("unzip -qq -o " + Quote(ours) + " -d " + Quote(work / "unzip-out"));
    if (unzipSeconds > 0)
        Print("infozip_extract_mb_s", bytes / 1048576.0 / unzipSeconds);

    // The backup run's copy step: every file copied through the machine image, as the run
    // copies a driver's files, against cp of the same tree. Both run twice, taking turns after
    // the same deletions (new inodes right after many deletions cost the file system extra),
    // and the better time of each counts.
    const std::string treePrefix = tree.string() + "/";
    auto copyThroughImage = [&](std::uint64_t* copied) {
        fs::remove_all(work / "drive_c" / "copy");
        auto copyStart = std::chrono::steady_clock::now();
        image.CreateDirectory("C:\\copy");
        // The relative name by cutting the prefix: fs::relative resolves every component on
        // disk, which would be charged to the copy.
        for (const auto& entry : fs::recursive_directory_iterator(tree)) {
            std::string relative = entry.path().string().substr(treePrefix.size());
            std::replace(relative.begin(), relative.end(), '/', '\\');
            if (entry.is_directory()) {
                image.CreateDirectory("C:\\copy\\" + relative);
            } else if (entry.is_regular_file()) {
                *copied += image.CopyFile("C:\\Tree\\" + relative, "C:\\copy\\" + relative, false) ? 1 : 0;
            }
        }
        return Seconds(copyStart);
    };
    double copySeconds = 1e300, cpSeconds = 1e300;
    std::uint64_t copied = 0;
    for (int round = 0; round < 2; ++round) {
        copied = 0;
        copySeconds = std::min(copySeconds, copyThroughImage(&copied));
        fs::remove_all(work / "cp-out");
        double seconds = RunShell("cp -r " + Quote(tree) + " " + Quote(work / "cp-out"));
        cpSeconds = seconds > 0 ? std::min(cpSeconds, seconds) : -1;
    }
    std::printf("copied_files: %llu\n", static_cast<unsigned long long>(copied));
    Print("copy_s", copySeconds);
    if (cpSeconds > 0 && cpSeconds < 1e300) {
        Print("cp_s", cpSeconds);
        Print("copy_vs_cp_ratio", copySeconds / cpSeconds);
    }
    for (const char* folder :
         {"unzip-out", "drive_c/out-image", "drive_c/out-direct", "drive_c/copy", "cp-out"})
        fs::remove_all(work / folder);
    return 0;
}
