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

} // namespace vantrel
