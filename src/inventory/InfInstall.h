// How Windows reads an INF to install a driver on a device: the model line for a hardware ID,
// the install section decorated for the processor, the files that section copies and where
// the INF expects them on its medium, the catalog and the class.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

class InfText;

// The machine an INF is read for. processor is "x86" or "amd64"; a zero major version takes
// the newest decoration of the processor, as on the newest Windows.
struct InfTarget {
    std::string processor = "x86";
    int major = 0;
    int minor = 0;
    int build = 0;
};

struct InfSourceFile {
    std::string name;         // the name it is installed under
    std::string sourceName;   // its name on the medium: the copy line's second field, else name
    std::string sourceFolder; // below the INF's folder: disk path + subfolder, no "\" at the ends
};

struct InfModel {
    std::string modelsSection;  // the models section the line was found in
    std::string description;    // strings expanded
    std::string installSection; // as the model line names it
    std::string matchedId;      // the hardware ID as the model line spells it
    bool byCompatibleId = false;
};

enum class InfInstallResult { Ok, NoModel, NoInstallSection };

struct InfInstallInfo {
    std::string infClass;
    std::string classGuid;
    std::string catalogFile; // for the processor; "" when the INF names none
    InfModel model;
    std::string installSection;    // the section Windows runs, decorated: "Drv_Install.NTamd64"
    std::string installSectionExt; // its decoration: ".NTamd64", ".NTx86", ".NT" or ""
    std::vector<InfSourceFile> files;
};

class InfInstallReader {
public:
    InfInstallReader(const InfText& inf, InfTarget target);

    // The model line for a hardware ID, through [Manufacturer] and the models section decorated
    // for the target (the undecorated one when no decoration fits). A line that has the ID as
    // its hardware ID wins over one that has it as a compatible ID. IDs compare without case.
    bool FindModel(std::string_view hardwareId, InfModel* model) const;
    // The decoration Windows adds to an install section for the processor: the most specific
    // of ".NTamd64"/".NTx86", ".NT" and "" whose section exists; false when none exists.
    bool DecorateInstallSection(std::string_view section, std::string* extension) const;
    // The files the CopyFiles directives of a (decorated) install section and of its
    // ".CoInstallers" section copy, each once, with where the medium holds them.
    std::vector<InfSourceFile> CopiedFiles(std::string_view installSection) const;
    // CatalogFile.NTamd64 or .NTx86, then .NT, then CatalogFile: the first that has a value.
    std::string CatalogFile() const;
    std::string VersionText(std::string_view key) const;
    // %key% replaced from [Strings], %% by %; unknown keys stay as they are.
    std::string Expand(std::string_view text) const;

private:
    struct DiskFile {
        std::string disk;
        std::string subfolder;
    };
    void ReadCopyList(std::string_view section, std::vector<InfSourceFile>* files) const;
    void AddFile(std::string name, std::string sourceName, std::vector<InfSourceFile>* files) const;
    std::string SourceFolder(std::string_view sourceName) const;
    void ReadSourceSections() const;
    bool DecorationFits(std::string_view decoration, int* rank) const;

    const InfText& inf;
    InfTarget target;
    mutable bool stringsRead = false;
    mutable std::unordered_map<std::string, std::string> strings; // lower-cased key
    mutable bool sourcesRead = false;
    // Lower-cased names and disk IDs; the processor's decorated sections before the plain ones.
    mutable std::unordered_map<std::string, DiskFile> diskFiles[2];
    mutable std::unordered_map<std::string, std::string> diskPaths[2];
};

// The IDs a device with this hardware ID also carries, most specific first, as Windows lists
// them: the ID itself, then without its revision, without its subsystem, without both
// ("PCI\VEN_1&DEV_2&SUBSYS_3&REV_4", "PCI\VEN_1&DEV_2&SUBSYS_3", "PCI\VEN_1&DEV_2&REV_4",
// "PCI\VEN_1&DEV_2"). A backup records the first, and INFs seldom name a revision.
std::vector<std::string> GeneralHardwareIds(std::string_view hardwareId);

// All of the above for one hardware ID: the first of its general forms that an INF model
// names.
InfInstallResult AnalyzeInfInstall(const InfText& inf, std::string_view hardwareId, const InfTarget& target,
                                   InfInstallInfo* info);

} // namespace vantrel
