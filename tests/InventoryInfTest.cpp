#include <gtest/gtest.h>

#include <random>

#include "InventoryFixture.h"
#include "inventory/DriverFiles.h"
#include "inventory/Enumeration.h"
#include "inventory/InfFile.h"

namespace vantrel {
namespace {

using test::InventoryMachine;

const char kAcmeInf[] = "; Acme network driver\r\n"
                        "[Version]\r\n"
                        "Signature   = \"$Windows NT$\"\r\n"
                        "CatalogFile = acme.cat ; the catalog\r\n"
                        "CatalogFile.nt = acme_nt.cat\r\n"
                        "CatalogFile.NTamd64 = acme64.cat\r\n"
                        "DriverVer   = 06/21/2006,1.0.0.1\r\n"
                        "\r\n"
                        "[DestinationDirs]\r\n"
                        "DefaultDestDir = 12\r\n"
                        "Drv.Copy = 12\r\n"
                        "\r\n"
                        "[DRV_Install]\r\n"
                        "AddReg = Drv.Reg\r\n"
                        "CopyFiles = Drv.Copy, Drv.Copy2 ; two lists\r\n"
                        "CopyFiles=@single.sys\r\n"
                        "\r\n"
                        "[Drv.Copy]\r\n"
                        "mydrv.sys,,,2\r\n"
                        "dest.dll,source.dl_\r\n"
                        "plain.sys ; a comment\r\n"
                        "    ; only a comment\r\n"
                        "\r\n"
                        "[drv.copy2]\r\n"
                        "\tother.sys\r\n"
                        "[Drv.Reg]\r\n"
                        "HKR,,Foo,,bar.sys\r\n"
                        "\r\n"
                        "[DRV_Install.CoInstallers]\r\n"
                        "CopyFiles = Co.Copy\r\n"
                        "\r\n"
                        "[Co.Copy]\r\n"
                        "coinst.dll\r\n";

struct Entry {
    std::string name, source;
    bool operator==(const Entry&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Entry& e) {
    return out << e.name << "<" << e.source << ">";
}

std::vector<Entry> Entries(const DriverFileList& files) {
    std::vector<Entry> out;
    for (int i = 1; i <= files.count; ++i)
        out.push_back({files.names[i], files.sourceNames[i]});
    return out;
}

// One record for infPath/infSection, made by the walk as the program makes it.
int AddRecord(InventoryMachine& m, const std::string& infPath, const std::string& section = "drv_install") {
    m.Driver("ROOT\\TEST\\0000", "0000",
             {{"DriverDesc", "Test"}, {"InfPath", infPath}, {"InfSection", section}});
    RefreshDriverList(m.inventory);
    EXPECT_EQ(m.inventory.drivers.Count(), 1);
    return 1;
}

const std::vector<Entry> kAcmeFiles = {
    {"oem1.inf", ""},  {"acme.cat", ""},  {"acme64.cat", ""}, {"mydrv.sys", ""},  {"dest.dll", "source.dl_"},
    {"plain.sys", ""}, {"other.sys", ""}, {"single.sys", ""}, {"coinst.dll", ""},
};

TEST(InventoryFileList, ReadsCatalogsCopyFilesAndCoInstallers) {
    InventoryMachine m;
    m.Inf("oem1.inf", kAcmeInf);
    int record = AddRecord(m, "oem1.inf");
    BuildDriverFileList(m.inventory, record);
    EXPECT_EQ(m.inventory.files.currentInfPath, "C:\\WINDOWS\\inf\\oem1.inf");
    EXPECT_EQ(Entries(m.inventory.files), kAcmeFiles);
}

TEST(InventoryFileList, NinetyEightReadsNoDecoratedCatalog) {
    InventoryMachine m(test::Windows(4, 10));
    m.Inf("oem1.inf", kAcmeInf);
    m.Set("System\\CurrentControlSet\\Services\\Class\\Net\\0000", "InfPath", "oem1.inf");
    m.Set("System\\CurrentControlSet\\Services\\Class\\Net\\0000", "InfSection", "DRV_INSTALL");
    RefreshDriverList(m.inventory);
    ASSERT_EQ(m.inventory.drivers.Count(), 1);
    BuildDriverFileList(m.inventory, 1);
    std::vector<Entry> expected = kAcmeFiles;
    expected.erase(expected.begin() + 2);
    EXPECT_EQ(Entries(m.inventory.files), expected);
}

TEST(InventoryFileList, Utf16InfGivesTheSameList) {
    InventoryMachine m;
    m.Inf("oem1.inf", test::Utf16WithBom(kAcmeInf));
    int record = AddRecord(m, "oem1.inf");
    BuildDriverFileList(m.inventory, record);
    EXPECT_EQ(Entries(m.inventory.files), kAcmeFiles);
    EXPECT_EQ(GetSupportedOs(m.inventory, record), "Windows 2000, Windows XP, Windows 2003");
}

TEST(InventoryFileList, WhereTheInfIsFound) {
    InventoryMachine m;
    m.Inf("both.inf", "[Version]\nCatalogFile=from-inf.cat\n");
    m.File("inf\\other\\both.inf", "[Version]\nCatalogFile=from-other.cat\n");
    m.File("inf\\other\\other.inf", "[Version]\nCatalogFile=other.cat\n");
    m.File("drivers\\Own.INF", "[Version]\nCatalogFile=own.cat\n");
    m.File("inf\\folder.inf\\x", "a folder named like an INF");
    struct Case {
        const char* infPath;
        const char* found;
        std::vector<Entry> entries;
    } cases[] = {
        {"both.inf", "C:\\WINDOWS\\inf\\both.inf", {{"both.inf", ""}, {"from-inf.cat", ""}}},
        {"OTHER.INF", "C:\\WINDOWS\\inf\\other\\OTHER.INF", {{"OTHER.INF", ""}, {"other.cat", ""}}},
        {"C:\\Windows\\drivers\\own.inf",
         "C:\\Windows\\drivers\\own.inf",
         {{"own.inf", ""}, {"own.cat", ""}}},
        {"missing.inf", "", {{"missing.inf", ""}}},
        {"folder.inf", "", {{"folder.inf", ""}}},
        {"", "", {{"", ""}}},
    };
    for (const auto& c : cases) {
        InventoryMachine& mm = m;
        mm.Driver("ROOT\\TEST\\0000", "0000", {{"DriverDesc", "Test"}, {"InfPath", c.infPath}});
        RefreshDriverList(mm.inventory);
        ASSERT_EQ(mm.inventory.drivers.Count(), 1);
        EXPECT_EQ(FindInfFile(mm.inventory, mm.inventory.drivers[1].infPath.Raw()), *c.found != 0)
            << c.infPath;
        BuildDriverFileList(mm.inventory, 1);
        EXPECT_EQ(mm.inventory.files.currentInfPath, c.found) << c.infPath;
        EXPECT_EQ(Entries(mm.inventory.files), c.entries) << c.infPath;
    }
}

TEST(InventoryFileList, SectionsEndAtTheNextHeaderAndMissingOnesAddNothing) {
    InventoryMachine m;
    m.Inf("oem1.inf", "[Install]\n"
                      "CopyFiles=List1,Nowhere,,@,@ direct.sys \n"
                      "[Other]\n"
                      "CopyFiles=List2\n"
                      "[List1]\n"
                      "a.sys\n"
                      " [NotAHeader]\n"
                      "b.sys\n"
                      "[List2]\n"
                      "c.sys\n");
    int record = AddRecord(m, "oem1.inf", "Install");
    BuildDriverFileList(m.inventory, record);
    // " [NotAHeader]" does not start with "[", so it is read as a file name like any other.
    EXPECT_EQ(Entries(m.inventory.files),
              (std::vector<Entry>{
                  {"oem1.inf", ""}, {"a.sys", ""}, {"[NotAHeader]", ""}, {"b.sys", ""}, {"direct.sys", ""}}));
}

// After the line reader's sections come the ones Windows reads: headers written loosely and
// the install section with the decoration the registry records. Only new files are added.
TEST(InventoryFileList, AddsTheSectionsWindowsReadsOnceEach) {
    const std::string copies = "[Main.Copy]\nmain.sys\n[X64.Copy]\nx64.sys,x64_src.sys\n[Co.Copy]\nco.dll\n";
    struct Case {
        const char* name;
        std::string body;
        const char* extension;
        std::vector<Entry> added; // after oem1.inf
    } cases[] = {
        {"blanks and comments around headers",
         "[ Drv_Install ]  ; the install section\nCopyFiles=Main.Copy\n[Drv_Install.CoInstallers] \n"
         "CopyFiles=@co.dll\n",
         "",
         {{"main.sys", ""}, {"co.dll", ""}}},
        {"file-list header with a blank after it",
         "[Drv_Install]\nCopyFiles=Loose\n[Loose] \nloose.sys\n",
         "",
         {{"loose.sys", ""}}},
        {"decorated only, co-installer decorated too",
         "[Drv_Install.NTamd64]\nCopyFiles=X64.Copy\n[Drv_Install.NTamd64.CoInstallers]\nCopyFiles=Co.Copy\n",
         ".NTamd64",
         {{"x64.sys", "x64_src.sys"}, {"co.dll", ""}}},
        {"decorated install, plain co-installer",
         "[Drv_Install.NT]\nCopyFiles=X64.Copy\n[Drv_Install.CoInstallers]\nCopyFiles=Co.Copy\n",
         ".NT",
         {{"co.dll", ""}, {"x64.sys", "x64_src.sys"}}},
        {"both forms: the plain one first, shared files once",
         "[Drv_Install]\nCopyFiles=Main.Copy\n[Drv_Install.NTamd64]\nCopyFiles=Main.Copy,X64.Copy\n"
         "CopyFiles=@MAIN.SYS\n",
         ".NTamd64",
         {{"main.sys", ""}, {"x64.sys", "x64_src.sys"}}},
        {"another source name is another file",
         "[Drv_Install]\nCopyFiles=X64.Copy\n[Drv_Install.NTamd64]\nCopyFiles=Other\n[Other]\n"
         "x64.sys,x64_other.sys\n",
         ".NTamd64",
         {{"x64.sys", "x64_src.sys"}, {"x64.sys", "x64_other.sys"}}},
        {"the line reader's repeats stay",
         "[Drv_Install]\nCopyFiles=Main.Copy,Main.Copy\n",
         ".NT",
         {{"main.sys", ""}, {"main.sys", ""}}},
    };
    for (const auto& c : cases) {
        InventoryMachine m;
        m.Inf("oem1.inf", c.body + copies);
        m.Driver("ROOT\\TEST\\0000", "0000",
                 {{"DriverDesc", "Test"},
                  {"InfPath", "oem1.inf"},
                  {"InfSection", "drv_install"},
                  {"InfSectionExt", c.extension}});
        RefreshDriverList(m.inventory);
        BuildDriverFileList(m.inventory, 1);
        std::vector<Entry> expected = {{"oem1.inf", ""}};
        expected.insert(expected.end(), c.added.begin(), c.added.end());
        EXPECT_EQ(Entries(m.inventory.files), expected) << c.name;
    }
}

TEST(InventoryFileList, BadInfFilesLeaveTheRunGoing) {
    std::mt19937 random(11);
    std::string binary(64 * 1024, '\0');
    for (auto& c : binary)
        c = static_cast<char>(random());
    binary.replace(100, 12, "\n[install]\n");
    std::string hugeLine =
        "[Install]\nCopyFiles=L\n[L]\n" + std::string(100 * 1024, 'x') + ".sys\nafter.sys\n";
    struct Case {
        const char* name;
        std::string bytes;
        int minimum; // entries at least
    } cases[] = {
        {"binary", binary, 1},
        {"huge line", hugeLine, 3},
        {"open header", "[Install\nCopyFiles=L\n[L\nx.sys\n[L]\ny.sys\n", 1},
        {"odd utf16", std::string("\xFF\xFE[\0I", 5), 1},
        {"empty", "", 1},
        {"only brackets", std::string(50000, '['), 1},
        {"self reference", "[Install]\nCopyFiles=Install\nx.sys\n", 1},
    };
    for (const auto& c : cases) {
        InventoryMachine m;
        m.Inf("bad.inf", c.bytes);
        int record = AddRecord(m, "bad.inf", "install");
        BuildDriverFileList(m.inventory, record);
        EXPECT_GE(m.inventory.files.count, c.minimum) << c.name;
        EXPECT_EQ(m.inventory.files.names[1], "bad.inf") << c.name;
        GetSupportedOs(m.inventory, record);
    }
    InventoryMachine m;
    m.Inf("bad.inf", hugeLine);
    BuildDriverFileList(m.inventory, AddRecord(m, "bad.inf", "install"));
    EXPECT_EQ(m.inventory.files.names.back(), "after.sys");
    EXPECT_EQ(m.inventory.files.names[2].size(), 100 * 1024 + 4u);
}

TEST(InventoryFileList, SupportedSystemsFromTheSignature) {
    struct Case {
        int major, minor;
        const char* signature;
        const char* expected;
    } cases[] = {
        {6, 1, "Signature=\"$Windows NT$\"", "Windows Vista"},
        {6, 3, "signature = $WINDOWS NT$ ; comment", "Windows Vista"},
        {10, 0, "Signature=\"$Windows NT$\"", "Windows 2000, Windows XP, Windows 2003"},
        {5, 1, "Signature=$Windows NT$", "Windows 2000, Windows XP, Windows 2003"},
        {10, 0, "Signature=\"$CHICAGO$\"", "All Windows Operating Systems"},
        {4, 10, "Signature=$Windows 95$", "Windows 9x/Me"},
        {10, 0, "Signature=$Something$", ""},
        {10, 0, "Signature=Windows NT", ""},
        {10, 0, "; no signature", ""},
    };
    for (const auto& c : cases) {
        InventoryMachine m(test::Windows(c.major, c.minor));
        m.Inf("sig.inf", std::string("[Version]\n") + c.signature + "\nClass=Net\n");
        if (c.major == 4) {
            m.Set("System\\CurrentControlSet\\Services\\Class\\Net\\0000", "InfPath", "sig.inf");
            RefreshDriverList(m.inventory);
        } else {
            AddRecord(m, "sig.inf");
        }
        ASSERT_EQ(m.inventory.drivers.Count(), 1);
        EXPECT_EQ(GetSupportedOs(m.inventory, 1), c.expected) << c.signature << " on " << c.major;
    }
}

TEST(InventoryFileList, EachInfIsReadOncePerRun) {
    InventoryMachine m;
    m.Inf("oem1.inf", kAcmeInf);
    m.Driver("ROOT\\A\\0000", "0000",
             {{"DriverDesc", "A"}, {"InfPath", "oem1.inf"}, {"InfSection", "drv_install"}});
    m.Driver("ROOT\\B\\0000", "0001",
             {{"DriverDesc", "B"}, {"InfPath", "oem1.inf"}, {"InfSection", "other"}});
    RefreshDriverList(m.inventory);
    std::size_t before = m.inventory.InfReads();
    {
        InventoryRun run(m.inventory);
        BuildDriverFileList(m.inventory, 1);
        EXPECT_EQ(m.inventory.files.count, 9);
        BuildDriverFileList(m.inventory, 2);
        EXPECT_EQ(m.inventory.files.count, 3);
        GetSupportedOs(m.inventory, 2);
    }
    EXPECT_EQ(m.inventory.InfReads() - before, 1u);
    // Outside a run a build still reads its INF once, not once per section.
    BuildDriverFileList(m.inventory, 1);
    EXPECT_EQ(m.inventory.InfReads() - before, 2u);
    // A new run sees a changed file.
    m.Inf("oem1.inf", "[Version]\n");
    InventoryRun run(m.inventory);
    BuildDriverFileList(m.inventory, 1);
    EXPECT_EQ(m.inventory.files.count, 1);
}

TEST(InventoryInfText, VersionKeysReadAsTheProfileReaderDoes) {
    InfText inf("[Strings]\nDriverVer=wrong\n"
                "  [ VERSION ]  \n"
                "Provider = \"Acme Inc\"  \n"
                "; DriverVer=commented\n"
                "CatalogFile='q.cat'\n"
                "Class=\"Net\n"
                "Long=0123456789\n"
                "provider=second\n"
                "[Version]\n"
                "DriverVer=second section\n");
    EXPECT_EQ(inf.VersionValue("provider", 512), "Acme Inc");
    EXPECT_EQ(inf.VersionValue("CatalogFile", 512), "q.cat");
    EXPECT_EQ(inf.VersionValue("Class", 512), "\"Net");
    EXPECT_EQ(inf.VersionValue("Long", 5), "0123");
    // Only the first section of a name is read.
    EXPECT_EQ(inf.VersionValue("DriverVer", 512), "");
}

TEST(InventoryInfText, LookUpsInAnyOrderFindTheFirstSectionOfAName) {
    // Headers are indexed as look-ups need them: a later section asked first, a missing one
    // (which reads to the end) and then earlier ones must all still answer as a full index would.
    InfText inf("[Install]\n"
                "a.sys\n"
                "[Later]\r\n"
                "b.sys\r\n"
                "\r\n"
                "[install]\n"
                "second.sys\n"
                "   [Indented]\n"
                "c.sys\n"
                "[Other] ; comment\n"
                "d.sys\n"
                "[Last]");
    using Lines = std::vector<std::string_view>;
    EXPECT_EQ(inf.SectionLines("[later]"), (Lines{"b.sys", ""}));
    EXPECT_FALSE(inf.HasSection("[missing]"));
    EXPECT_EQ(inf.SectionLines("[install]"), (Lines{"a.sys"}));
    // The line reader runs on past an indented header, which it cannot name either: the
    // cleaned line keeps its blanks, before the "[" and before a comment.
    EXPECT_FALSE(inf.HasSection("[indented]"));
    EXPECT_FALSE(inf.HasSection("[other]"));
    EXPECT_TRUE(inf.HasSection("[other] "));
    EXPECT_TRUE(inf.HasSection("[last]"));
    EXPECT_EQ(inf.SectionLines("[last]"), Lines{});

    InfText twice("[A]\nx\n[B]\ny\n[A]\nz\n");
    EXPECT_TRUE(twice.HasSection("[b]"));
    EXPECT_EQ(twice.SectionLines("[a]"), (Lines{"x"}));
}

TEST(InventoryInfText, LineHelpers) {
    EXPECT_EQ(CleanInfLine(std::string_view("\tfile.sys\r\0x", 12)), "file.sysx");
    EXPECT_EQ(StripInfComment("a.sys ; b ; c"), "a.sys ");
    EXPECT_EQ(ReplaceWithBlank("Net: a/b:c", ':'), "Net  a/b c");
    EXPECT_EQ(SplitInfLines("a\r\nb\rc\n\nd"), (std::vector<std::string_view>{"a", "b", "c", "", "d"}));
}

TEST(InventoryFileFinder, FindsDepthFirstAndListsEachTreeOnce) {
    InventoryMachine m;
    m.File("a\\deep\\target.sys", "first in a depth-first walk");
    m.File("b\\target.sys", "later");
    m.File("b\\only.dll", "x");
    m.File("z.sys", "top");
    FileFinder finder(m.machine.Ports().fs);
    EXPECT_EQ(finder.FindFileRecursive("C:\\WINDOWS", "TARGET.SYS"), "C:\\WINDOWS\\a\\deep\\target.sys");
    std::size_t listed = finder.FoldersListed();
    EXPECT_EQ(finder.FindFileRecursive("C:\\WINDOWS\\", "only.dll"), "C:\\WINDOWS\\b\\only.dll");
    EXPECT_EQ(finder.FindFileRecursive("C:\\WINDOWS", "z.sys"), "C:\\WINDOWS\\z.sys");
    EXPECT_EQ(finder.FindFileRecursive("C:\\WINDOWS", "none.sys"), "");
    EXPECT_EQ(finder.FoldersListed(), listed);
    EXPECT_EQ(finder.FindFileRecursive("C:\\WINDOWS\\b", "target.sys"), "C:\\WINDOWS\\b\\target.sys");
    EXPECT_EQ(finder.FoundCount(), 4);
}

TEST(InventoryDriverStore, FindsThePackageOfTheInstalledInfAndReadsEachInfOnce) {
    InventoryMachine m;
    const std::string store = "system32\\DriverStore\\FileRepository\\";
    const std::string current = "[Version]\nDriverVer=10/12/2021,2.0\n";
    m.Inf("oem3.inf", current);
    m.Inf("acme_net.inf", current);
    m.File(store + "acme_net.inf_amd64_1aaa\\acme_net.inf",
           "[Version]\nDriverVer=05/20/2021,1.0\n"); // same size
    m.File(store + "acme_net.inf_amd64_1aaa\\acme.sys", "old");
    m.File(store + "acme_net.inf_amd64_2bbb\\acme_net.inf", current);
    m.File(store + "acme_net.inf_amd64_2bbb\\amd64\\ACME.SYS", "current");
    m.File(store + "other.inf_amd64_3ccc\\other.inf", "[Version]\n");
    m.File(store + "no-arch-or-hash\\oem3.inf", current);
    m.File(store + "loose-file.inf", current);
    FileSystem& fs = m.machine.Ports().fs;
    DriverStore driverStore(fs, "C:\\WINDOWS\\" + store);

    std::string package = "C:\\WINDOWS\\" + store + "acme_net.inf_amd64_2bbb";
    EXPECT_EQ(driverStore.PackageOf("C:\\WINDOWS\\inf\\oem3.inf"), package);
    EXPECT_EQ(driverStore.InfsRead(), 2u); // both INFs of that size, the older one first
    // An INF that kept its name is looked for among the packages of that name.
    EXPECT_EQ(driverStore.PackageOf("C:\\WINDOWS\\inf\\acme_net.inf"), package);
    EXPECT_EQ(driverStore.PackageOf("C:\\WINDOWS\\inf\\missing.inf"), "");
    EXPECT_EQ(driverStore.InfsRead(), 2u);
    EXPECT_EQ(driverStore.FindInPackage(package, "acme.sys"), package + "\\amd64\\ACME.SYS");
    EXPECT_EQ(driverStore.FindInPackage("", "acme.sys"), "");
    // Without a store nothing is found and nothing is read.
    DriverStore none(fs, "C:\\WINDOWS\\nowhere");
    EXPECT_EQ(none.PackageOf("C:\\WINDOWS\\inf\\oem3.inf"), "");
    EXPECT_EQ(none.InfsRead(), 0u);
}

TEST(InventoryFileFinder, StopsAfter65535Finds) {
    InventoryMachine m;
    m.File("x.sys", "x");
    FileFinder finder(m.machine.Ports().fs);
    for (int i = 0; i < FileFinder::kMaxFound; ++i)
        ASSERT_FALSE(finder.FindFileRecursive("C:\\WINDOWS", "x.sys").empty());
    EXPECT_EQ(finder.FindFileRecursive("C:\\WINDOWS", "x.sys"), "");
}

} // namespace
} // namespace vantrel

namespace vantrel {
namespace {

// UTF-16LE text decodes the same whichever position a non-ASCII character takes within
// the runs the decoder reads four units at a time.
TEST(InventoryInfDecoding, Utf16NonAsciiAtEveryOffset) {
    test::TestMachine machine;
    const std::string umlaut = "\xC3\xA4";       // U+00E4
    const std::string euro = "\xE2\x82\xAC";     // U+20AC, high byte not zero
    const std::string clef = "\xF0\x9D\x84\x9E"; // U+1D11E, a surrogate pair
    for (std::size_t at = 0; at < 9; ++at) {
        for (const auto& [utf8, units] :
             {std::pair{umlaut, std::string("\xE4\x00", 2)}, std::pair{euro, std::string("\xAC\x20", 2)},
              std::pair{clef, std::string("\x34\xD8\x1E\xDD", 4)}}) {
            std::string ascii = "abcdefghijklmnopq";
            std::string bytes = "\xFF\xFE";
            for (std::size_t i = 0; i < ascii.size(); ++i) {
                if (i == at)
                    bytes += units;
                bytes += ascii[i];
                bytes += '\0';
            }
            std::string expected = ascii.substr(0, at) + utf8 + ascii.substr(at);
            EXPECT_EQ(DecodeInfBytes(bytes, machine.Ports().system), expected) << "at " << at;
        }
    }
    // An odd last byte is dropped; a lone high surrogate becomes U+FFFD.
    EXPECT_EQ(DecodeInfBytes(std::string("\xFF\xFE"
                                         "a\0b\0c",
                                         7),
                             machine.Ports().system),
              "ab");
    EXPECT_EQ(DecodeInfBytes(std::string("\xFF\xFE"
                                         "a\0\x34\xD8",
                                         6),
                             machine.Ports().system),
              "a\xEF\xBF\xBD");
}

} // namespace
} // namespace vantrel
