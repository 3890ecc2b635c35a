// The one-file backup forms at the level of single packaging calls: adding to archives,
// compression levels, what outside zip tools make of our packages, and failures.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "TestMachine.h"
#include "archive/ZipReader.h"
#include "backup/Packaging.h"
#include "backup/SelfExtract.h"
#include "platform/FileSystem.h"
#include "platform/Resources.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImagePorts.h"
#include "platform/image/MachineImage.h"

namespace vantrel {
namespace {

bool HasTool(const char* tool) {
#ifdef _WIN32
    (void)tool;
    return false; // the outside tools are Linux programs
#else
    return std::system((std::string("command -v ") + tool + " >/dev/null 2>&1").c_str()) == 0;
#endif
}

std::string Shell(const std::string& command, int* status) {
    std::string output;
#ifndef _WIN32
    if (FILE* pipe = popen((command + " 2>&1").c_str(), "r")) {
        char buffer[4096];
        for (std::size_t n; (n = fread(buffer, 1, sizeof(buffer), pipe)) > 0;)
            output.append(buffer, n);
        *status = pclose(pipe);
        return output;
    }
#endif
    (void)command;
    *status = -1;
    return output;
}

// Text that compresses, but differently at each level.
std::string DriverLikeText(std::size_t size, unsigned seed) {
    static const char* words[] = {"HKR",        "CopyFiles",     "AddReg",    "DriverVer", "%ProviderName%",
                                  "0x00000001", "ServiceBinary", "StartType", "\r\n",      "=",
                                  ",",          "[Strings]"};
    std::string text;
    while (text.size() < size) {
        seed = seed * 1103515245u + 12345u;
        text += words[(seed >> 16) % (sizeof(words) / sizeof(words[0]))];
        text += static_cast<char>('a' + (seed >> 8) % 26);
    }
    text.resize(size);
    return text;
}

// The stub of this build when the helpers were built for it, else a stand-in that carries the
// signatures a real stub's code holds, to show they do not mislead a reader.
std::string Stub() {
#if defined(VANTREL_RESOURCE_DIR) && !defined(_WIN32)
    std::string bytes = test::ReadHostFile(std::filesystem::path(VANTREL_RESOURCE_DIR) / "105.bin");
    if (!bytes.empty())
        return bytes;
#endif
    std::string stub = "MZ" + std::string(3000, '\x90');
    stub += "PK\x03\x04 PK\x01\x02 PK\x05\x06";
    return stub + std::string(1000, '\0');
}

class PackagingMachine {
public:
    PackagingMachine() {
        for (const auto& [folder, files] : drivers)
            for (const auto& [name, bytes] : files)
                Write("C:\\work\\" + folder + "\\" + name, bytes);
        EXPECT_TRUE(CreateDirectories(fs, "C:\\out"));
        EXPECT_TRUE(CreateDirectories(fs, machine.Ports().system.GetTempPath()));
    }
    PackageJob Job(const std::string& package, const std::string& folder, const std::string& level = "") {
        return PackageJob{package, "C:\\work\\", folder + "\\*.*", true, level};
    }
    void Write(const std::string& path, const std::string& bytes) {
        auto slash = path.find_last_of('\\');
        ASSERT_TRUE(CreateDirectories(fs, path.substr(0, slash)));
        ASSERT_TRUE(WriteWholeFile(fs, path, bytes)) << path;
    }
    std::string Read(const std::string& path) {
        std::string bytes;
        ReadWholeFile(fs, path, &bytes);
        return bytes;
    }
    std::string Host(const std::string& path) {
        std::filesystem::path host;
        EXPECT_TRUE(machine.Image().Files().MapPath(path, &host));
        return host.string();
    }
    // File name -> bytes through our reader, each entry's CRC checked; empty when it does not open.
    std::map<std::string, std::string> Contents(const std::string& path) {
        std::map<std::string, std::string> out;
        ZipReader reader(fs);
        if (!reader.Open(path))
            return out;
        EXPECT_TRUE(reader.Test("").ok) << path;
        for (std::size_t i = 0; i < reader.Entries().size(); ++i) {
            if (reader.Entries()[i].IsDirectory())
                continue;
            std::string data, why;
            EXPECT_TRUE(reader.ReadEntry(i, "", &data, &why)) << why;
            out[reader.Entries()[i].name] = data;
        }
        return out;
    }
    std::map<std::string, ZipEntry> Entries(const std::string& path) {
        std::map<std::string, ZipEntry> out;
        ZipReader reader(fs);
        EXPECT_TRUE(reader.Open(path)) << reader.Error();
        for (const auto& entry : reader.Entries())
            out[entry.name] = entry;
        return out;
    }
    void AddResource(int id, std::string bytes) { machine.Image().Resources().items[id] = std::move(bytes); }

    const std::map<std::string, std::map<std::string, std::string>> drivers = {
        {"Acme Net", {{"oem1.inf", DriverLikeText(20000, 1)}, {"acme.sys", std::string(9000, 'A')}}},
        {"Birch Audio", {{"oem2.inf", DriverLikeText(150000, 2)}, {"drvbck.pdb", "[info]\r\n"}}},
    };
    test::TestMachine machine;
    FileSystem& fs = machine.Ports().fs;
    PackagingContext context{fs, machine.Ports().system, machine.Ports().resources, nullptr};
};

std::map<std::string, std::string> ExpectedEntries(const PackagingMachine& m) {
    std::map<std::string, std::string> out;
    for (const auto& [folder, files] : m.drivers)
        for (const auto& [name, bytes] : files)
            out[folder + "/" + name] = bytes;
    return out;
}

TEST(PackagingZip, SecondCallAddsItsDriverAndKeepsTheFirst) {
    PackagingMachine m;
    ASSERT_EQ(ZipProcess(m.context, m.Job("C:\\out\\MyDrivers.zip", "Acme Net")), kPackOk);
    ASSERT_EQ(ZipProcess(m.context, m.Job("C:\\out\\MyDrivers.zip", "Birch Audio")), kPackOk);
    EXPECT_EQ(m.Contents("C:\\out\\MyDrivers.zip"), ExpectedEntries(m));

    // The same driver again replaces its entries instead of storing them twice.
    m.Write("C:\\work\\Acme Net\\acme.sys", "newer");
    ASSERT_EQ(ZipProcess(m.context, m.Job("C:\\out\\MyDrivers.zip", "Acme Net")), kPackOk);
    auto contents = m.Contents("C:\\out\\MyDrivers.zip");
    EXPECT_EQ(contents.size(), 4u);
    EXPECT_EQ(contents["Acme Net/acme.sys"], "newer");
    EXPECT_EQ(contents["Birch Audio/oem2.inf"], DriverLikeText(150000, 2));
}

TEST(PackagingZip, LevelTextsAndTheMissingSetting) {
    PackagingMachine m;
    std::map<std::string, std::uint64_t> sizeOf;
    for (const char* level : {"High", "Medium", "Low", "None", "", "Fastest"}) {
        std::string package = std::string("C:\\out\\level-") + level + ".zip";
        ASSERT_EQ(ZipProcess(m.context, m.Job(package, "Birch Audio", level)), kPackOk) << level;
        ZipEntry inf = m.Entries(package)["Birch Audio/oem2.inf"];
        sizeOf[level] = inf.compressedSize;
        EXPECT_EQ(inf.method, std::string(level) == "None" ? 0 : 8) << level;
    }
    EXPECT_EQ(sizeOf["None"], 150000u);
    EXPECT_LT(sizeOf["Low"], sizeOf["None"]);
    EXPECT_LT(sizeOf["Medium"], sizeOf["Low"]);
    EXPECT_LE(sizeOf["High"], sizeOf["Medium"]);
    // No setting is "Medium"; an unknown text leaves the default level, which is "Medium" too.
    EXPECT_EQ(sizeOf[""], sizeOf["Medium"]);
    EXPECT_EQ(sizeOf["Fastest"], sizeOf["Medium"]);
}

void ExpectToolsAccept(PackagingMachine& m, const std::string& package) {
    std::string host = m.Host(package);
    int status = 0;
    if (HasTool("unzip")) {
        std::string out = Shell("unzip -t '" + host + "'", &status);
        EXPECT_EQ(status, 0) << out;
        EXPECT_NE(out.find("No errors detected"), std::string::npos) << out;
    } else {
        std::printf("unzip not available here: not checked with it\n");
    }
    if (HasTool("7z")) {
        std::string out = Shell("7z t '" + host + "'", &status);
        EXPECT_EQ(status, 0) << out;
        EXPECT_NE(out.find("Everything is Ok"), std::string::npos) << out;
    } else {
        std::printf("7z not available here: not checked with it\n");
    }
}

TEST(PackagingSfx, SelfExtractorStaysAZipAndKeepsItsSettingsWhenAddedTo) {
    PackagingMachine m;
    std::string stub = Stub();
    m.AddResource(kResSfxStub, stub);
    ASSERT_EQ(SelfExtractExeProcess(m.context, m.Job("C:\\out\\MyDrivers.exe", "Acme Net", "High")), kPackOk);
    ASSERT_EQ(SelfExtractExeProcess(m.context, m.Job("C:\\out\\MyDrivers.exe", "Birch Audio", "High")),
              kPackOk);

    std::string bytes = m.Read("C:\\out\\MyDrivers.exe");
    EXPECT_EQ(bytes.compare(0, stub.size(), stub), 0);
    EXPECT_EQ(m.Contents("C:\\out\\MyDrivers.exe"), ExpectedEntries(m));
    SfxSettings settings;
    ASSERT_TRUE(ReadSfxSettings(m.fs, "C:\\out\\MyDrivers.exe", &settings));
    EXPECT_EQ(settings.title, "Vantrel Self-Extractor");
    EXPECT_EQ(settings.introduction,
              "Welcome to Vantrel self-extractor. This file contains driver files backup of your computer.");
    EXPECT_TRUE(settings.extractFolder.empty());
    EXPECT_TRUE(settings.runAfter.empty());
    EXPECT_FALSE(settings.silent);
    ExpectToolsAccept(m, "C:\\out\\MyDrivers.exe");
}

TEST(PackagingAutoSetup, LauncherFirstLengthLastAndTheArchiveListsOnItsOwn) {
    PackagingMachine m;
    m.AddResource(kResSfxStub, Stub());
    m.AddResource(kResAutoSetupWizard, "MZ wizard");
    m.AddResource(kResDrvInstall32, "MZ installer x86");
    m.AddResource(kResDrvInstall64, "MZ installer x64");
    const std::string launcher = "MZ launcher " + std::string(500, 'L');
    m.AddResource(kResAutoSetupLauncher, launcher);
    const std::string package = "C:\\out\\DriverAutoSetup.exe";
    for (const char* driver : {"Acme Net", "Birch Audio"})
        ASSERT_EQ(SelfExtractAutoExeProcess(m.context, m.Job(package, driver)), kPackOk);
    std::string before = m.Read(package);
    ASSERT_TRUE(FinishAutoSetupPackage(m.context, package));

    std::string bytes = m.Read(package);
    ASSERT_GT(bytes.size(), launcher.size() + 4);
    EXPECT_EQ(bytes.compare(0, launcher.size(), launcher), 0);
    std::uint32_t trailer = 0;
    for (std::size_t i = 0; i < 4; ++i)
        trailer |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[bytes.size() - 4 + i]))
                   << (8 * i);
    EXPECT_EQ(trailer, bytes.size() - 4 - launcher.size());
    EXPECT_GT(trailer, before.size()); // the wizard joined the archive
    std::uint64_t offset = 0;
    ASSERT_TRUE(LocateTrailingArchive(bytes.size(), trailer, &offset));
    EXPECT_EQ(offset, launcher.size());

    m.Write("C:\\out\\inner.exe", bytes.substr(offset, trailer));
    auto expected = ExpectedEntries(m);
    expected["DriverAutoInstall.exe"] = "MZ wizard";
    expected["DrvInstall32.exe"] = "MZ installer x86";
    expected["DrvInstall64.exe"] = "MZ installer x64";
    EXPECT_EQ(m.Contents("C:\\out\\inner.exe"), expected);
    if (HasTool("7z")) {
        int status = 0;
        std::string out = Shell("7z l '" + m.Host("C:\\out\\inner.exe") + "'", &status);
        EXPECT_EQ(status, 0) << out;
        for (const char* name : {"oem1.inf", "oem2.inf", "DriverAutoInstall.exe", "DrvInstall64.exe"})
            EXPECT_NE(out.find(name), std::string::npos) << out;
    } else {
        std::printf("7z not available here: the cut-out archive is not listed with it\n");
    }
}

TEST(PackagingFailures, MissingPartsAndUnwritablePlacesGiveCodes) {
    PackagingMachine m;
    // No stub: no package at all rather than a zip posing as a program.
    EXPECT_EQ(SelfExtractExeProcess(m.context, m.Job("C:\\out\\MyDrivers.exe", "Acme Net")),
              kPackMissingStub);
    EXPECT_EQ(SelfExtractAutoExeProcess(m.context, m.Job("C:\\out\\Auto.exe", "Acme Net")), kPackMissingStub);
    EXPECT_FALSE(m.fs.Exists("C:\\out\\MyDrivers.exe"));
    EXPECT_FALSE(m.fs.Exists("C:\\out\\Auto.exe"));

    // A package path below a file, or one that is a folder.
    m.Write("C:\\out\\blocked", "a file");
    EXPECT_EQ(ZipProcess(m.context, m.Job("C:\\out\\blocked\\MyDrivers.zip", "Acme Net")), kPackWriteError);
    ASSERT_TRUE(CreateDirectories(m.fs, "C:\\out\\taken.zip"));
    EXPECT_NE(ZipProcess(m.context, m.Job("C:\\out\\taken.zip", "Acme Net")), kPackOk);

    // A file that is not an archive is not taken over.
    m.Write("C:\\out\\letter.zip", "Dear reader, this is not an archive.");
    EXPECT_EQ(ZipProcess(m.context, m.Job("C:\\out\\letter.zip", "Acme Net")), kPackWriteError);
    EXPECT_EQ(m.Read("C:\\out\\letter.zip"), "Dear reader, this is not an archive.");

    // Nothing to add leaves an existing archive as it was.
    ASSERT_EQ(ZipProcess(m.context, m.Job("C:\\out\\MyDrivers.zip", "Acme Net")), kPackOk);
    std::string before = m.Read("C:\\out\\MyDrivers.zip");
    EXPECT_EQ(ZipProcess(m.context, m.Job("C:\\out\\MyDrivers.zip", "Gone")), kPackNothingToDo);
    EXPECT_EQ(m.Read("C:\\out\\MyDrivers.zip"), before);
}

TEST(PackagingFailures, UnfinishedAutoSetupKeepsThePackageAsItWas) {
    PackagingMachine m;
    m.AddResource(kResSfxStub, Stub());
    const std::string package = "C:\\out\\DriverAutoSetup.exe";
    ASSERT_EQ(SelfExtractAutoExeProcess(m.context, m.Job(package, "Acme Net")), kPackOk);

    // No launcher: nothing to wrap with.
    EXPECT_FALSE(FinishAutoSetupPackage(m.context, package));
    EXPECT_EQ(m.Contents(package).count("Acme Net/acme.sys"), 1u);

    m.AddResource(kResAutoSetupLauncher, "MZ launcher");
    EXPECT_FALSE(FinishAutoSetupPackage(m.context, "C:\\out\\missing.exe"));
    EXPECT_FALSE(m.fs.Exists("C:\\out\\missing.exe"));

    // The wrapped copy cannot be written: the package stays a working self-extractor.
    std::string unwrapped = m.Read(package);
    m.machine.Image().Files().SetDiskFullAfter(unwrapped.size() / 2);
    EXPECT_FALSE(FinishAutoSetupPackage(m.context, package));
    m.machine.Image().Files().ClearFaults();
    EXPECT_EQ(m.Read(package), unwrapped);
    EXPECT_FALSE(m.fs.Exists(m.machine.Ports().system.GetTempPath() + "DriverAutoSetup_New.exe"));
}

} // namespace
} // namespace vantrel
