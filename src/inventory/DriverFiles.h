// The files that make up one driver, read from its INF, and where they lie on disk.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

class FileSystem;
class Inventory;

// Fills inventory.files for record recordIndex (1-based): the INF, its catalog files and
// every file the CopyFiles directives of its install and co-installer sections name.
void BuildDriverFileList(Inventory& inventory, int recordIndex);

// Appends the files of one file-list section of the INF at inventory.files.currentInfPath.
void ReadCopyFilesSection(Inventory& inventory, std::string_view sectionName);

// The systems the record's INF is meant for, from its signature line: "Windows Vista",
// "Windows 2000, Windows XP, Windows 2003", "Windows 9x/Me", "All Windows Operating Systems"
// or "".
std::string GetSupportedOs(Inventory& inventory, int recordIndex);

// Finds files by name in folder trees. The first question about a tree lists the whole tree
// once, depth first; later questions are answered from that index. Keep one finder for a
// whole run.
class FileFinder {
public:
    static constexpr int kMaxFound = 65535;

    explicit FileFinder(FileSystem& fs) : fs(fs) {}

    // The full path of the first file named `name` (any case) met in a depth-first walk of
    // folder, in listing order; "" when there is none, or once 65,535 files have been found.
    std::string FindFileRecursive(const std::string& folder, std::string_view name);
    // The same over several trees in turn: the first tree that holds the name wins. The
    // trees share one index, and a tree that lies inside an earlier one is listed only once.
    std::string FindFileInTrees(const std::vector<std::string>& folders, std::string_view name);
    int FoundCount() const { return found; }
    // How many folders were listed so far (each tree is listed once).
    std::size_t FoldersListed() const { return listed; }

private:
    using Index = std::unordered_map<std::string, std::string>; // lower-cased name -> path
    // Adds the files of the tree at root; folders named in skip (lower-cased) are left out.
    void Walk(const std::string& root, Index* index, const std::vector<std::string>& skip);
    std::string Lookup(const Index& index, std::string_view name);

    FileSystem& fs;
    std::unordered_map<std::string, Index> trees; // by lower-cased folder(s)
    int found = 0;
    std::size_t listed = 0;
};

// The driver store (System32\DriverStore\FileRepository): a folder per driver package, named
// "<inf name>_<arch>_<hash>", that holds the package's INF under its original name and its
// files under their names on the medium, and often several versions of one package side by
// side. The store is listed once; each package's INF is looked at and read at most once.
class DriverStore {
public:
    DriverStore(FileSystem& fs, std::string repository);

    // The package folder whose INF has the same bytes as installedInf (an "oemNN.inf" of the
    // INF folder has the package INF's bytes under another name); "" when there is none.
    std::string PackageOf(const std::string& installedInf);
    // Where package holds a file named name (any case), in its subfolders too; "".
    std::string FindInPackage(const std::string& package, std::string_view name);

    std::size_t InfsRead() const { return infsRead; }

private:
    struct Package {
        std::string folder;
        std::string inf;
        bool measured = false;
        bool read = false;
        std::uint64_t size = 0;
        std::string bytes;
    };
    void List();
    bool Measure(Package& package);
    bool SameBytes(Package& package, std::uint64_t size, const std::string& bytes);

    FileSystem& fs;
    std::string repository;
    bool listed = false;
    std::vector<Package> packages;
    std::unordered_map<std::string, std::vector<std::size_t>> byInfName; // lower-cased
    // Every package INF's size is asked once, the first time an INF's own name finds none.
    bool sized = false;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> bySize;
    FileFinder files;
    std::size_t infsRead = 0;
};

} // namespace vantrel
