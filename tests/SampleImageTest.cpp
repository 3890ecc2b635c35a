// The sample machines under samples/ must stay loadable and self-consistent: the README's expected
// listing is only worth something if every driver key, INF and driver file it relies on is there.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/Registry.h"
#include "platform/System.h"
#include "platform/image/ImageText.h"
#include "platform/image/MachineImage.h"
#include "util/Text.h"

namespace vantrel {
namespace {

std::unique_ptr<ImagePlatform> LoadSample(const std::string& name) {
    std::string error;
    auto image = LoadMachineImage(std::string(VANTREL_SOURCE_DIR) + "/samples/" + name, "", &error);
    EXPECT_NE(image, nullptr) << name << ": " << error;
    return image;
}

std::vector<std::string> SubKeys(Registry& registry, RegHandle key) {
    std::vector<std::string> names;
    RegKeyInfo info;
    if (registry.QueryInfoKey(key, &info) != kErrorSuccess)
        return names;
    for (std::uint32_t i = 0; i < info.subKeys; ++i) {
        std::string name;
        if (registry.EnumKey(key, i, 512, &name) == kErrorSuccess)
            names.push_back(name);
    }
    return names;
}

// Calls visit(path, key) for every key below root\path, depth first.
void WalkKeys(Registry& registry, const std::string& path,
              const std::function<void(const std::string&, RegHandle)>& visit) {
    RegKey key(registry);
    if (key.Open(kHkeyLocalMachine, path) != kErrorSuccess)
        return;
    visit(path, key.Handle());
    for (const auto& name : SubKeys(registry, key.Handle()))
        WalkKeys(registry, path + "\\" + name, visit);
}

// InfPath values of every driver key under the class tree, by key path.
std::map<std::string, std::string> InfPaths(Registry& registry, const std::string& classRoot) {
    std::map<std::string, std::string> found;
    WalkKeys(registry, classRoot, [&](const std::string& path, RegHandle key) {
        std::string infPath;
        if (RegReadString(registry, key, "InfPath", 100, &infPath))
            found[path] = infPath;
    });
    return found;
}

// File names an INF copies: @file entries and the lines of the sections CopyFiles names.
std::vector<std::string> CopiedFiles(const std::string& text) {
    std::map<std::string, std::vector<std::string>> sections;
    std::vector<std::string>* current = nullptr;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        std::string line = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
        start = end == std::string::npos ? text.size() : end + 1;
        line = TrimWhite(line.substr(0, line.find(';')));
        if (line.size() > 1 && line.front() == '[' && line.back() == ']')
            current = &sections[LowerAscii(TrimWhite(line.substr(1, line.size() - 2)))];
        else if (!line.empty() && current != nullptr)
            current->push_back(line);
    }
    std::vector<std::string> files;
    for (const auto& [name, lines] : sections) {
        for (const auto& line : lines) {
            if (LowerAscii(line.substr(0, 9)) != "copyfiles" || line.find('=') == std::string::npos)
                continue;
            std::string items = line.substr(line.find('=') + 1);
            for (std::size_t pos = 0; pos <= items.size();) {
                std::size_t comma = items.find(',', pos);
                std::string item = TrimWhite(
                    items.substr(pos, comma == std::string::npos ? std::string::npos : comma - pos));
                pos = comma == std::string::npos ? items.size() + 1 : comma + 1;
                if (!item.empty() && item.front() == '@') {
                    files.push_back(item.substr(1));
                } else if (auto it = sections.find(LowerAscii(item)); !item.empty() && it != sections.end()) {
                    for (const auto& fileLine : it->second)
                        files.push_back(TrimWhite(fileLine.substr(0, fileLine.find(','))));
                }
            }
        }
    }
    return files;
}

// Lower-cased names of the files in a folder, and below it when recursive.
void IndexFolder(FileSystem& fs, const std::string& folder, bool recursive, std::set<std::string>* names) {
    std::vector<FindData> found;
    if (!fs.FindFiles(folder + "\\*", &found))
        return;
    for (const auto& entry : found) {
        if (!entry.IsDirectory())
            names->insert(LowerAscii(entry.name));
        else if (recursive)
            IndexFolder(fs, folder + "\\" + entry.name, true, names);
    }
}

struct Sample {
    const char* folder;
    const char* classRoot;
    const char* missingInf; // the one INF the sample leaves out on purpose
};

const Sample kSamples[] = {
    {"machine", "SYSTEM\\CurrentControlSet\\Control\\Class", "oem15.inf"},
    {"machine-98", "System\\CurrentControlSet\\Services\\Class", "HaldaneHLDCR98.INF"},
};

TEST(MachineImageSamples, LoadWithTheirWindowsVersions) {
    auto win10 = LoadSample("machine");
    auto win98 = LoadSample("machine-98");
    ASSERT_TRUE(win10 && win98);
    OsVersion v10 = win10->Ports().system.GetVersion();
    EXPECT_EQ(v10.major, 10);
    EXPECT_EQ(v10.platform, kPlatformNt);
    OsVersion v98 = win98->Ports().system.GetVersion();
    EXPECT_EQ(v98.major, 4);
    EXPECT_EQ(v98.minor, 10);
    EXPECT_EQ(v98.platform, kPlatformWin9x);
    EXPECT_EQ(win98->Ports().system.GetSystemDirectory(), "C:\\WINDOWS\\SYSTEM");
}

TEST(MachineImageSamples, DeviceDriverValuesNameExistingDriverKeys) {
    auto image = LoadSample("machine");
    ASSERT_TRUE(image);
    Registry& registry = image->Ports().registry;
    int instances = 0;
    int withDriver = 0;
    const std::string enumRoot = "SYSTEM\\CurrentControlSet\\Enum";
    WalkKeys(registry, enumRoot, [&](const std::string& path, RegHandle key) {
        // Instance keys sit three levels below Enum.
        if (std::count(path.begin() + enumRoot.size(), path.end(), '\\') != 3)
            return;
        ++instances;
        std::string driver;
        if (!RegReadString(registry, key, "Driver", 512, &driver) || TrimWhite(driver).empty())
            return;
        ++withDriver;
        RegKey driverKey(registry);
        EXPECT_EQ(driverKey.Open(kHkeyLocalMachine,
                                 "SYSTEM\\CurrentControlSet\\Control\\Class\\" + TrimWhite(driver)),
                  kErrorSuccess)
            << path << " names " << driver;
    });
    EXPECT_GE(instances, 35);
    EXPECT_EQ(instances - withDriver, 1) << "only the SM Bus controller is without a driver";
}

TEST(MachineImageSamples, EveryInfPathButTheMissingOneIsOnDisk) {
    for (const auto& sample : kSamples) {
        auto image = LoadSample(sample.folder);
        ASSERT_TRUE(image);
        Platform& ports = image->Ports();
        std::string windir = ports.system.GetWindowsDirectory();
        auto infPaths = InfPaths(ports.registry, sample.classRoot);
        EXPECT_GE(infPaths.size(), 15u) << sample.folder;
        std::set<std::string> missing;
        for (const auto& [key, infPath] : infPaths) {
            if (!ports.fs.Exists(windir + "\\inf\\" + infPath) &&
                !ports.fs.Exists(windir + "\\inf\\other\\" + infPath))
                missing.insert(infPath);
        }
        EXPECT_EQ(missing, std::set<std::string>{sample.missingInf}) << sample.folder;
    }
}

TEST(MachineImageSamples, EveryCopiedFileIsInstalled) {
    for (const auto& sample : kSamples) {
        auto image = LoadSample(sample.folder);
        ASSERT_TRUE(image);
        Platform& ports = image->Ports();
        std::string windir = ports.system.GetWindowsDirectory();
        std::string sysdir = ports.system.GetSystemDirectory();
        std::set<std::string> installed;
        IndexFolder(ports.fs, sysdir, false, &installed);
        IndexFolder(ports.fs, sysdir + "\\drivers", false, &installed);
        IndexFolder(ports.fs, windir + "\\system32\\drivers", false, &installed);
        IndexFolder(ports.fs, windir + "\\system32\\DriverStore\\FileRepository", true, &installed);

        std::size_t checked = 0;
        std::set<std::string> infsWithFiles;
        for (const std::string& folder : {windir + "\\inf", windir + "\\inf\\other"}) {
            std::vector<FindData> infs;
            ports.fs.FindFiles(folder + "\\*.inf", &infs);
            for (const auto& inf : infs) {
                std::string bytes;
                ASSERT_TRUE(ReadWholeFile(ports.fs, folder + "\\" + inf.name, &bytes));
                for (const auto& file : CopiedFiles(DecodeTextFile(bytes))) {
                    ++checked;
                    infsWithFiles.insert(LowerAscii(inf.name));
                    EXPECT_TRUE(installed.count(LowerAscii(file)))
                        << folder << "\\" << inf.name << " copies " << file;
                }
            }
        }
        EXPECT_GE(checked, 20u) << sample.folder;
        if (std::string(sample.folder) == "machine") {
            // UTF-16LE INFs must be read as text too.
            EXPECT_TRUE(infsWithFiles.count("oem7.inf"));
            EXPECT_TRUE(infsWithFiles.count("oem8.inf"));
        }
    }
}

} // namespace
} // namespace vantrel
