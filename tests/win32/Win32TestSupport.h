// Scratch places on the real (Wine's) machine: a registry key under HKCU and a folder in
// the user's temporary folder, each with a random name and removed again afterwards.
#pragma once

#include <random>
#include <string>
#include <vector>

#include "platform/win32/Win32Ports.h"

namespace vantrel::test {

inline std::string RandomName(const char* prefix) {
    std::random_device device;
    return prefix + std::to_string(device()) + "_" + std::to_string(device());
}

// Deletes subKey of parent with everything below it.
inline void DeleteRegistryTree(Registry& registry, RegHandle parent, const std::string& subKey) {
    RegHandle key = 0;
    if (registry.OpenKey(parent, subKey, &key) == kErrorSuccess) {
        std::string child;
        // Each deletion renumbers the rest, so index 0 is taken until none is left.
        while (registry.EnumKey(key, 0, 1024, &child) == kErrorSuccess) {
            DeleteRegistryTree(registry, key, child);
            RegHandle check = 0;
            if (registry.OpenKey(key, child, &check) == kErrorSuccess) {
                registry.CloseKey(check);
                break; // could not be removed; stop rather than loop
            }
        }
        registry.CloseKey(key);
    }
    registry.DeleteKey(parent, subKey);
}

// HKCU\Software\VantrelTest\<random>, created on construction.
class ScratchKey {
public:
    explicit ScratchKey(Registry& registry)
        : registry(registry), path("Software\\VantrelTest\\" + RandomName("k")) {
        registry.CreateKey(kHkeyCurrentUser, path, &handle);
    }
    ~ScratchKey() {
        if (handle)
            registry.CloseKey(handle);
        DeleteRegistryTree(registry, kHkeyCurrentUser, path);
        RegHandle parent = 0;
        if (registry.OpenKey(kHkeyCurrentUser, "Software\\VantrelTest", &parent) == kErrorSuccess) {
            RegKeyInfo info;
            bool empty = registry.QueryInfoKey(parent, &info) == kErrorSuccess && info.subKeys == 0;
            registry.CloseKey(parent);
            if (empty)
                registry.DeleteKey(kHkeyCurrentUser, "Software\\VantrelTest");
        }
    }
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;

    RegHandle Handle() const { return handle; }
    const std::string& Path() const { return path; } // below HKEY_CURRENT_USER

private:
    Registry& registry;
    std::string path;
    RegHandle handle = 0;
};

inline void DeleteFolderTree(FileSystem& fs, const std::string& folder) {
    std::vector<FindData> entries;
    fs.FindFiles(folder + "\\*", &entries);
    for (const auto& entry : entries) {
        std::string path = folder + "\\" + entry.name;
        if (entry.IsDirectory())
            DeleteFolderTree(fs, path);
        else
            fs.DeleteFile(path);
    }
    fs.RemoveDirectory(folder);
}

// <temporary folder>\<random>, created on construction.
class ScratchFolder {
public:
    explicit ScratchFolder(FileSystem& fs) : fs(fs) {
        Win32System system;
        std::string temp = system.GetTempPath();
        if (!temp.empty() && temp.back() == '\\')
            temp.pop_back();
        path = temp + "\\" + RandomName("vantrel_");
        fs.CreateDirectory(path);
    }
    ~ScratchFolder() { DeleteFolderTree(fs, path); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    const std::string& Path() const { return path; }
    std::string operator/(const std::string& name) const { return path + "\\" + name; }

private:
    FileSystem& fs;
    std::string path;
};

} // namespace vantrel::test
