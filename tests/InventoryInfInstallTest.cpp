#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "inventory/InfFile.h"
#include "inventory/InfInstall.h"

namespace vantrel {
namespace {

// Headers written loosely, decorated and undecorated models and install sections, media for
// both processors (one disk path from [Strings]) and a co-installer section.
const char kAcmeInf[] = "[Version]\r\n"
                        "Signature = \"$Windows NT$\"\r\n"
                        "Class = Net ; network\r\n"
                        "ClassGUID = {4d36e972-e325-11ce-bfc1-08002be10318}\r\n"
                        "CatalogFile = acme.cat\r\n"
                        "CatalogFile.NTamd64 = acme64.cat\r\n"
                        "\r\n"
                        "[Manufacturer]\r\n"
                        "%Mfg% = Acme, NTamd64, NTx86.6.1\r\n"
                        "Other\r\n"
                        "\r\n"
                        "[ Acme.NTamd64 ]  ; 64-bit models\r\n"
                        "%Dev% = Acme_Inst, PCI\\VEN_1234&DEV_0001\r\n"
                        "%Dev% = Acme_Inst, PCI\\VEN_1234&DEV_0002, PCI\\CC_0200\r\n"
                        "\t[Acme.NTx86.6.1]\r\n"
                        "\"Acme, 32-bit\" = Acme_Inst, PCI\\VEN_1234&DEV_0001\r\n"
                        "[Acme]\r\n"
                        "Old Acme = Old_Inst, PCI\\VEN_1234&DEV_0001\r\n"
                        "[Other]\r\n"
                        "Generic = Gen_Inst, USB\\VID_0001, PCI\\VEN_1234&DEV_0003\r\n"
                        "Special = Acme_Inst, PCI\\VEN_1234&DEV_0003\r\n"
                        "Broken = Missing_Inst, PCI\\VEN_1234&DEV_0009\r\n"
                        "\r\n"
                        "[Acme_Inst.NTamd64]\r\n"
                        "CopyFiles = Acme.Copy, @acmehelp.dll\r\n"
                        "[acme_inst.ntamd64.coinstallers]\r\n"
                        "CopyFiles = Co.Copy\r\n"
                        "[Acme_Inst.NT]\r\n"
                        "CopyFiles = Acme.Copy\r\n"
                        "[Old_Inst]\r\n"
                        "CopyFiles = @old.sys\r\n"
                        "[Gen_Inst]\r\n"
                        "[Acme.Copy]\r\n"
                        "acme.sys, acme_src.sys ,,2\r\n"
                        "acme.sys,acme_src.sys\r\n"
                        "[Co.Copy]\r\n"
                        "acmeco.dll\r\n"
                        "\r\n"
                        "[SourceDisksNames.amd64]\r\n"
                        "1 = %Disk%,,,\\amd64\r\n"
                        "[SourceDisksFiles.amd64]\r\n"
                        "acme_src.sys = 1,drv\r\n"
                        "acmeco.dll = 2\r\n"
                        "[SourceDisksNames]\r\n"
                        "1 = \"Acme, Inc. disk\",,,\\x86\\\r\n"
                        "2 = %Disk%,,,%CoDir%\r\n"
                        "[SourceDisksFiles]\r\n"
                        "acme_src.sys = 1\r\n"
                        "old.sys = 1\r\n"
                        "\r\n"
                        "[Strings]\r\n"
                        "Mfg = \"Acme\"\r\n"
                        "Dev = \"Acme 100%% Network\"\r\n"
                        "Disk = \"Acme disk\"\r\n"
                        "CoDir = \"\\co\"\r\n";

TEST(InventoryInfInstall, FollowsWindowsThroughModelsSectionsAndMedia) {
    struct Case {
        const char* hardwareId;
        InfTarget target;
        InfInstallResult result;
        const char* description;
        const char* section; // the install section Windows runs
        bool compatible;
        std::vector<std::string> files; // "name<source@folder"
        const char* catalog;
    };
    const InfTarget amd64{"amd64"}, x86{"x86"}, xp{"x86", 5, 1, 2600};
    const std::vector<Case> cases = {
        // Decorated models, install and co-installer sections; the processor's media first.
        {"pci\\ven_1234&dev_0001",
         amd64,
         InfInstallResult::Ok,
         "Acme 100% Network",
         "Acme_Inst.NTamd64",
         false,
         {"acme.sys<acme_src.sys@amd64\\drv", "acmehelp.dll<acmehelp.dll@", "acmeco.dll<acmeco.dll@co"},
         "acme64.cat"},
        {"PCI\\VEN_1234&DEV_0001",
         x86,
         InfInstallResult::Ok,
         "Acme, 32-bit",
         "Acme_Inst.NT",
         false,
         {"acme.sys<acme_src.sys@x86"},
         "acme.cat"},
        // No decoration fits Windows XP: the undecorated models section.
        {"PCI\\VEN_1234&DEV_0001",
         xp,
         InfInstallResult::Ok,
         "Old Acme",
         "Old_Inst",
         false,
         {"old.sys<old.sys@x86"},
         "acme.cat"},
        {"PCI\\CC_0200", amd64, InfInstallResult::Ok, "Acme 100% Network", "Acme_Inst.NTamd64", true, {}, ""},
        // A later hardware-ID line wins over an earlier compatible one.
        {"PCI\\VEN_1234&DEV_0003",
         amd64,
         InfInstallResult::Ok,
         "Special",
         "Acme_Inst.NTamd64",
         false,
         {},
         ""},
        // A backup records the device's first ID, revision and subsystem included; the model
        // names the chip.
        {"PCI\\VEN_1234&DEV_0001&SUBSYS_00011234&REV_1A",
         x86,
         InfInstallResult::Ok,
         "Acme, 32-bit",
         "Acme_Inst.NT",
         false,
         {"acme.sys<acme_src.sys@x86"},
         "acme.cat"},
        {"PCI\\VEN_1234&DEV_0009", amd64, InfInstallResult::NoInstallSection, "Broken", "", false, {}, ""},
        {"PCI\\VEN_9999", amd64, InfInstallResult::NoModel, "", "", false, {}, ""},
    };
    InfText inf(kAcmeInf);
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.hardwareId) + " " + c.target.processor);
        InfInstallInfo info;
        ASSERT_EQ(AnalyzeInfInstall(inf, c.hardwareId, c.target, &info), c.result);
        EXPECT_EQ(info.infClass, "Net");
        EXPECT_EQ(info.model.description, c.description);
        if (c.result != InfInstallResult::Ok)
            continue;
        EXPECT_EQ(info.installSection, c.section);
        // Every ID of the INF is written in capitals: the match keeps the INF's spelling, of
        // the general form that matched.
        std::string upper = GeneralHardwareIds(c.hardwareId).back();
        std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
        EXPECT_EQ(info.model.matchedId, upper);
        EXPECT_EQ(info.model.byCompatibleId, c.compatible);
        EXPECT_EQ(info.classGuid, "{4d36e972-e325-11ce-bfc1-08002be10318}");
        if (c.files.empty())
            continue;
        std::vector<std::string> files;
        for (const auto& file : info.files)
            files.push_back(file.name + "<" + file.sourceName + "@" + file.sourceFolder);
        EXPECT_EQ(files, c.files);
        EXPECT_EQ(info.catalogFile, c.catalog);
    }
}

TEST(InventoryInfInstall, GeneralFormsOfAHardwareId) {
    const std::pair<const char*, std::vector<std::string>> table[] = {
        {"PCI\\VEN_1&DEV_2&SUBSYS_3&REV_4",
         {"PCI\\VEN_1&DEV_2&SUBSYS_3&REV_4", "PCI\\VEN_1&DEV_2&SUBSYS_3", "PCI\\VEN_1&DEV_2&REV_4",
          "PCI\\VEN_1&DEV_2"}},
        {"USB\\VID_1&PID_2&rev_0100", {"USB\\VID_1&PID_2&rev_0100", "USB\\VID_1&PID_2"}},
        {" ACPI\\ACME0001 ", {"ACPI\\ACME0001"}},
        {"quillon_vpnadp", {"quillon_vpnadp"}},
        {"", {}},
    };
    for (const auto& [id, general] : table)
        EXPECT_EQ(GeneralHardwareIds(id), general) << id;
}

TEST(InventoryInfInstall, SectionHeadersMatchAsWindowsMatchesThem) {
    InfText inf("[ Drv_Install ]   ; blanks and a comment\n"
                "a.sys\n"
                "  [Next]\n"
                "b.sys\n"
                "[Broken\n"
                "c.sys\n"
                "[DRV_INSTALL]x\n"
                "d.sys\n");
    using Lines = std::vector<std::string_view>;
    // Indented headers end a section; sections of one name run together.
    EXPECT_EQ(inf.SectionLinesByName(" drv_install "), (Lines{"a.sys", "d.sys"}));
    EXPECT_EQ(inf.SectionLinesByName("next"), (Lines{"b.sys"}));
    EXPECT_FALSE(inf.HasSectionByName("broken"));
    EXPECT_FALSE(inf.HasSectionByName(""));
    // The file list's own rule is left as it was.
    EXPECT_FALSE(inf.HasSection("[drv_install]"));
}

TEST(InventoryInfInstall, SplitsLinesIntoKeyAndFields) {
    struct Case {
        const char* line;
        bool hasKey;
        const char* key;
        std::vector<std::string> fields;
    };
    const std::vector<Case> cases = {
        {"1 = \"Disk, one\" ,, ,\\amd64 ; path", true, "1", {"Disk, one", "", "", "\\amd64"}},
        {"\tfile.sys,src.sys", false, "", {"file.sys", "src.sys"}},
        {"Key = \"a \"\"quoted\"\" ;text\"", true, "Key", {"a \"quoted\" ;text"}},
        {"\"=\" = x", true, "=", {"x"}},
        {"   ; only a comment", false, "", {}},
        {"a =", true, "a", {""}},
    };
    for (const Case& c : cases) {
        InfLineFields line = SplitInfLine(c.line);
        EXPECT_EQ(line.hasKey, c.hasKey) << c.line;
        EXPECT_EQ(line.key, c.key) << c.line;
        EXPECT_EQ(line.fields, c.fields) << c.line;
    }
}

} // namespace
} // namespace vantrel
