// Other zip programs must read what we write, and we must read what they write. Skipped
// where the tools are missing (always on Windows).
#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "ZipTestSupport.h"
#include "archive/ZipReader.h"
#include "archive/ZipWriter.h"

namespace vantrel {

using namespace ziptest;

namespace {

using Contents = std::map<std::string, std::string>; // archive name -> bytes

const char* kPythonLister = R"(
import sys, zipfile, zlib
z = zipfile.ZipFile(sys.argv[1])
z.setpassword(sys.argv[2].encode())
for info in z.infolist():
    if not info.is_dir():
        print("%s\t%08x" % (info.filename, zlib.crc32(z.read(info))))
)";

// unzip -t, 7z t and Python's zipfile accept the archive; Python reads back the expected bytes.
void ExpectReadersAgree(Sandbox& box, const std::string& zip, const Contents& expected,
                        const std::string& password) {
    std::string host = Quote(box.Host(zip)), out, want;
    if (HaveTool("unzip")) {
        EXPECT_EQ(RunTool("unzip -tqq -P '" + password + "' " + host, &out), 0) << out;
    }
    if (HaveTool("7z")) {
        EXPECT_EQ(RunTool("7z t -tzip -bd -y '-p" + password + "' " + host, &out), 0) << out;
        EXPECT_EQ(out.find("Warnings"), std::string::npos) << out;
    }
    if (HaveTool("python3")) {
        EXPECT_EQ(RunTool("python3 -c " + Quote(kPythonLister) + " " + host + " '" + password + "'", &out),
                  0);
        for (auto& [name, data] : expected) {
            char crc[16];
            std::snprintf(crc, sizeof crc, "%08x", Crc(data));
            want += name + "\t" + crc + "\n";
        }
        EXPECT_EQ(out, want);
    }
}

Contents MakeTree(Sandbox& box) {
    Contents files = {
        {"Drv1/a.inf", TextData(30000, 1)},
        {"Drv1/empty.txt", ""},
        {"Drv1/sub/big.sys", TextData(2300000, 2) + NoiseData(400000, 3)},
        {"Drv1/sub/noise.bin", NoiseData(70000, 4)},
    };
    for (auto& [name, data] : files) {
        std::string path = "C:\\Temp\\" + name;
        std::replace(path.begin(), path.end(), '/', '\\');
        box.Write(path, data);
    }
    box.Fs().CreateDirectory("C:\\Temp\\Drv1\\empty folder");
    return files;
}

bool AnyReader() {
    return HaveTool("unzip") || HaveTool("7z") || HaveTool("python3");
}

} // namespace

TEST(ZipInterop, ReadersAgreeOnWhatWeWrite) {
    if (!AnyReader())
        GTEST_SKIP() << "no outside zip reader installed";
    struct Case {
        const char* what;
        int level;
        std::string password;
        bool zip64;
        std::function<bool(Sandbox&, ZipWriter&, Contents&)> write;
    };
    auto plain = [](Sandbox&, ZipWriter& w, Contents&) {
        return w.Create("C:\\t.zip") && w.AddFolder("C:\\Temp\\Drv1", "C:\\Temp", true) && w.Close();
    };
    // A second run replaces every entry, leaving unreferenced bytes behind, and adds a folder.
    auto append = [&](Sandbox& box, ZipWriter& w, Contents& files) {
        box.Write("C:\\Temp\\Drv1\\a.inf", files["Drv1/a.inf"] = "changed");
        box.Write("C:\\Temp\\Drv2\\new.inf", files["Drv2/new.inf"] = "new");
        return plain(box, w, files) && w.Append("C:\\t.zip") &&
               w.AddFolder("C:\\Temp\\Drv1", "C:\\Temp", true) &&
               w.AddFolder("C:\\Temp\\Drv2", "C:\\Temp", true) && w.Close();
    };
    auto stub = [](Sandbox&, ZipWriter& w, Contents&) {
        return w.Create("C:\\t.zip", "MZ" + NoiseData(20000, 7)) &&
               w.AddFolder("C:\\Temp\\Drv1", "C:\\Temp", true) && w.Close();
    };
    std::vector<Case> cases = {
        {"stored", 0, "", false, plain},
        {"deflated", 6, "", false, plain},
        {"encrypted", 6, "p4ss.w0rd", false, plain},
        {"zip64", 9, "", true, plain},
        {"zip64 encrypted", 1, "pw", true, plain},
        {"appended", 6, "", false, append},
        {"behind a stub", 6, "", false, stub},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox box;
        Contents files = MakeTree(box);
        ZipWriter writer(box.Fs());
        writer.SetLevel(c.level);
        writer.SetPassword(c.password);
        writer.SetForceZip64(c.zip64);
        ASSERT_TRUE(c.write(box, writer, files)) << writer.Error();
        ExpectReadersAgree(box, "C:\\t.zip", files, c.password);
    }
}

// Archives of the outside writers, including data descriptors, ZIP64 and their encryption.
TEST(ZipInterop, WeReadWhatOtherProgramsWrite) {
    Sandbox box;
    Contents files = MakeTree(box);
    std::string cd = "cd " + Quote(box.Host("C:\\Temp")) + " && ";
    const char* python =
        "python3 -c \"import sys, zipfile, pathlib\n"
        "z = zipfile.ZipFile(sys.stdout.buffer, 'w', zipfile.ZIP_DEFLATED)\n"
        "for p in sorted(pathlib.Path('Drv1').rglob('*')):\n"
        "    if p.is_file():\n"
        "        with z.open(p.as_posix(), 'w', force_zip64=True) as f: f.write(p.read_bytes())\n"
        "z.close()\" | cat > ../py.zip";
    struct Case {
        std::string tool, zip, command, password;
    } cases[] = {
        {"zip", "C:\\infozip.zip", cd + "zip -qr -6 ../infozip.zip Drv1", ""},
        {"zip", "C:\\infozip64.zip", cd + "zip -qr -fz ../infozip64.zip Drv1", ""},
        {"zip", "C:\\infozippw.zip", cd + "zip -qr -P secret ../infozippw.zip Drv1", "secret"},
        {"7z", "C:\\7z.zip", cd + "7z a -bd -tzip -mem=ZipCrypto -psecret ../7z.zip Drv1", "secret"},
        {"python3", "C:\\py.zip", cd + python, ""}, // streamed: sizes in data descriptors
    };
    int ran = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        if (!HaveTool(c.tool))
            continue;
        ++ran;
        std::string out;
        ASSERT_EQ(RunTool(c.command, &out), 0) << out;
        ZipReader reader(box.Fs());
        ASSERT_TRUE(reader.Open(c.zip)) << reader.Error();
        ZipExtractOptions options;
        options.password = c.password;
        ZipResult result = reader.Extract("C:\\Out", options);
        ASSERT_TRUE(result.ok) << result.error;
        for (auto& [name, data] : files) {
            std::string path = "C:\\Out\\" + name;
            std::replace(path.begin(), path.end(), '/', '\\');
            EXPECT_EQ(box.Read(path), data) << name;
        }
        std::filesystem::remove_all(box.Host("C:\\Out"));
    }
    if (ran == 0)
        GTEST_SKIP() << "no outside zip writer installed";
}

} // namespace vantrel
