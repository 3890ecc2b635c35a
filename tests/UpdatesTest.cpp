// The update finder: keys, slots, records, the date rules, duplicates, hidden updates and the
// whole search over a machine image.
#include <gtest/gtest.h>

#include <map>

#include "TestMachine.h"
#include "ZipTestSupport.h"
#include "archive/ZipWriter.h"
#include "app/MainPage.h"
#include "inventory/Inventory.h"
#include "platform/FileSystem.h"
#include "platform/Registry.h"
#include "updates/AddressCipher.h"
#include "updates/UpdateDatabase.h"
#include "updates/UpdateKeys.h"
#include "updates/UpdateSearch.h"

namespace vantrel {
namespace {

// A device line with the given record numbers; every other slot "000000".
std::string DeviceLine(const std::string& key, const std::map<std::string, int>& slots) {
    std::string line = key + ":";
    for (const char* code : kOsCodes) {
        auto it = slots.find(code);
        char number[8];
        std::snprintf(number, sizeof number, "%06d", it == slots.end() ? 0 : it->second);
        line += std::string(number) + ":";
    }
    return line;
}

std::string RecordLine(int number, const std::string& title, const std::string& date, const std::string& url,
                       const std::string& signedFlag = "1") {
    char prefix[16];
    std::snprintf(prefix, sizeof prefix, "%06dD:", number);
    return prefix + title + "$12.5$Alpha Corp$" + date + "$2.0.1$Net$" + signedFlag + "$" + url;
}

std::string Url(int number) {
    return "https://files.alpha.example/driver" + std::to_string(number) + ".zip";
}

// The database of these tests, as its source text (plain addresses).
std::string SourceText() {
    std::vector<std::string> lines = {
        "20250301", DeviceLine("P1111:2222:********", {{"Win10x64", 7}, {"Win11", 7}, {"Win7x64", 8}}),
        DeviceLine("P1111:2222:33334444", {{"Win10x64", 0}, {"Win7x64", 5}}),
        DeviceLine("P1111:2222:55556666", {{"Win10x64", 9}}),
        // The exact line before its wildcard line: the scan stops before it sees the wildcard.
        DeviceLine("P9999:0001:AAAA0001", {{"Win10x64", 11}}),
        DeviceLine("P9999:0001:********", {{"Win11", 12}}),
        DeviceLine("U046D:C52B", {{"Win98", 1}, {"Win10x64", 1}}),
        DeviceLine("MDEL4014", {{"Win11", 2}, {"Win10x64", 3}}),
        DeviceLine("LHPLASERJET_1020", {{"Win10x64", 4}}), "P5555:6666:77778888:000003:0000",
        DeviceLine("V0001:0002", {{"Win10x64", 20}, {"Win7x64", 21}, {"Win81x64", 22}, {"Win8x64", 23}}),
        RecordLine(1, "Alpha Mouse Driver for Windows 10 x64", "20060621", Url(1)),
        RecordLine(2, "Delta Monitor Driver for Windows 11", "20220101", Url(2), "0"),
        RecordLine(3, "Delta Monitor Driver for Windows 10", "20210101", Url(3)),
        RecordLine(4, "HP LaserJet 1020 Driver for Windows 10 x64", "20230101", Url(4)),
        RecordLine(5, "Alpha LAN OEM Driver for Windows 7 x64", "20200101", Url(5)),
        RecordLine(7, "Alpha LAN Driver for Windows 10/11 x64", "20240101", Url(7)),
        RecordLine(8, "Alpha LAN Driver for Windows 7 x64", "20190101", Url(8)),
        RecordLine(9, "Alpha LAN Special Driver for Windows 10 x64", "20240202", Url(9)),
        RecordLine(11, "Nine Bridge Driver for Windows 10 x64", "20240303", Url(11)),
        "000020D:Short Record for Windows 10 x64$1.0$Alpha$20240101$1.0$Net$1",
        "000021D:Bad Date for Windows 7 x64$1.0$Alpha$2024011$1.0$Net$1$" + Url(21),
        // 000023 has no record line.
    };
    std::string text;
    for (const auto& line : lines)
        text += line + "\r\n";
    return text;
}

TEST(UpdatesKeys, KeyOfEachKindOfIdentifier) {
    const std::pair<const char*, const char*> cases[] = {
        {"PCI\\VEN_8086&DEV_1C3A&SUBSYS_1C3A1849&REV_04", "P8086:1C3A:1C3A1849"},
        {"pci\\ven_8086&dev_1c3a&subsys_1c3a1849", "P8086:1C3A:1C3A1849"},
        {"PCI\\VEN_8086&DEV_1C3A&REV_04", "P8086:1C3A:********"},
        {"PCI\\VEN_8086&DEV_1C", "P8086:1C:********"},
        {"USB\\VID_046D&PID_C52B", "U046D:C52B"},
        {"USB\\VID_046D&PID_C52B&REV_1201&MI_00", "U046D:C52B"},
        {"HID\\VID_046D&PID_C52B&MI_01", "V046D:C52B"},
        {"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0888&SUBSYS_104383BA", "H10EC:0888:104383BA"},
        {"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0888&SUBSYS_104383BA&REV_1000", "H10EC:0888:104383BA"},
        {"HDAUDIO\\FUNC_01&VEN_10EC&DEV_0888", "H10EC:0888:********"},
        {"MONITOR\\DEL4014", "MDEL4014"},
        {"monitor\\del4014", "MDEL4014"},
        {"LPTENUM\\HEWLETT-PACKARDHP_LA3B4D", "LHEWLETT-PACKARDHP_LA3B4D"},
        {"USBPRINT\\HEWLETT-PACKARDHP_LA3B4D", "LHEWLETT-PACKARDHP_LA3B4D"},
        {"ACPI\\AUTHENTICAMD_-_X86_FAMILY_23_MODEL_8", "AMD23"},
        {"ACPI\\AuthenticAMD_-_x86_Family_25", "AMD25"},
        {"ACPI\\AuthenticAMD_-_AMD64_Family_23_Model_113", ""},
        {"ACPI\\GenuineIntel_-_x86_Family_6_Model_158", ""},
        {"USB\\ROOT_HUB30&VID1022&PID149C", ""},
        {"ROOT\\mssmbios", ""},
        {"", ""},
    };
    for (const auto& [id, key] : cases)
        EXPECT_EQ(MakeLookupKey(id), key) << id;
}

TEST(UpdatesKeys, DefaultSystemByVersion) {
    struct Case {
        int major, minor, build, productType;
        bool is64;
        const char* choice;
    };
    const Case cases[] = {
        {4, 10, 2222, 1, false, "Windows 98"},     {4, 90, 3000, 1, false, "Windows ME"},
        {5, 0, 2195, 1, false, "Windows 2000"},    {5, 1, 2600, 1, false, "Windows XP x86"},
        {5, 2, 3790, 1, true, "Windows XP x64"},   {5, 2, 3790, 3, false, "Windows 2003 x86"},
        {5, 2, 3790, 3, true, "Windows 2003 x64"}, {6, 0, 6002, 1, true, "Windows Vista x64"},
        {6, 1, 7601, 1, false, "Windows 7 x86"},   {6, 2, 9200, 1, true, "Windows 8 x64"},
        {6, 3, 9600, 1, false, "Windows 8.1 x86"}, {10, 0, 19045, 1, false, "Windows 10 x86"},
        {10, 0, 19045, 1, true, "Windows 10 x64"}, {10, 0, 22000, 1, true, "Windows 11"},
        {10, 0, 26100, 3, true, "Windows 11"},     {4, 0, 1381, 1, false, ""},
    };
    for (const auto& c : cases) {
        OsVersion version;
        version.major = c.major;
        version.minor = c.minor;
        version.build = c.build;
        version.productType = c.productType;
        EXPECT_EQ(DefaultOsChoice(version, c.is64), c.choice) << c.major << "." << c.minor << " " << c.build;
    }
    // The tab's list and the codes it searches belong together, each code naming a slot.
    std::vector<std::string> displays;
    for (const auto& choice : UpdateOsChoices()) {
        displays.push_back(choice.display);
        EXPECT_NE(OsSlot(choice.code), 0) << choice.code;
    }
    EXPECT_EQ(displays, OsChoices());
}

class UpdatesDatabase : public ::testing::Test {
protected:
    UpdatesDatabase() {
        // An address that does not decipher can only come from a damaged or foreign database.
        db.Load(EncipherRecordAddresses(SourceText()) +
                "000022D:Bad Address for Windows 8.1 x64$1.0$Alpha$20240101$1.0$Net$1$0011ZZ\r\n");
    }
    UpdateDatabase db;
};

TEST_F(UpdatesDatabase, SlotOfKeyAndSystemIndexedOrScanned) {
    struct Case {
        const char* key;
        const char* code;
        const char* number;
    };
    const Case cases[] = {
        {"P1111:2222:33334444", "Win10x64", "000007"}, // own line without a driver: the wildcard's
        {"P1111:2222:33334444", "Win7x64", "000005"},  // own line wins
        {"P1111:2222:55556666", "Win10x64", "000009"},
        {"P1111:2222:DEADBEEF", "Win10x64", "000007"}, // no own line
        {"P1111:2222:********", "Win7x64", "000008"},
        {"P1111:2222:33334444", "WinXP32", "000000"},
        {"P9999:0001:AAAA0001", "Win11", "000000"}, // the wildcard line lies behind the exact one
        {"P9999:0001:BBBB0001", "Win11", "000012"},
        {"U046D:C52B", "Win98", "000001"},
        {"U046D:C52B", "WinMe", "000000"},
        {"MDEL4014", "Win11", "000002"},
        {"MDEL40", "Win11", "000000"}, // found by its start, its slots read at the key's length
        {"P5555:6666:77778888", "Win98", "000003"},
        {"P5555:6666:77778888", "WinMe", "000000"}, // short line
        {"U046D:C52B", "Win12", "000000"},
        {"UFFFF:FFFF", "Win98", "000000"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(db.FindDeviceSlot(c.key, c.code), c.number) << "scan " << c.key << " " << c.code;
    std::vector<std::string> keys;
    for (const auto& c : cases)
        keys.push_back(c.key);
    db.Index(keys);
    for (const auto& c : cases)
        EXPECT_EQ(db.FindDeviceSlot(c.key, c.code), c.number) << "index " << c.key << " " << c.code;
}

TEST_F(UpdatesDatabase, ResultOfARecord) {
    std::vector<UpdateResult> results;
    ASSERT_TRUE(AddUpdateResult(db, "MDEL4014", kAnyInstalledDate, "Win11", &results, "Delta 24"));
    ASSERT_EQ(results.size(), 1u);
    const UpdateResult& r = results[0];
    EXPECT_EQ(r.name, "Delta Monitor Driver ");
    EXPECT_EQ(r.supportedOs, "Windows 11");
    EXPECT_EQ(r.size, "12.5MB");
    EXPECT_EQ(r.provider, "Alpha Corp");
    EXPECT_EQ(r.date, "2022-01-01");
    EXPECT_EQ(r.version, "2.0.1");
    EXPECT_EQ(r.className, "Net");
    EXPECT_EQ(r.isSigned, "No");
    EXPECT_EQ(r.url, Url(2));
    EXPECT_EQ(r.device, "Delta 24");
    EXPECT_EQ(db.Date(), "20250301");
    EXPECT_EQ(db.FindRecord("000023"), "");
}

TEST_F(UpdatesDatabase, DateRulesAndBrokenRecords) {
    struct Case {
        const char* key;
        const char* code;
        std::string installed;
        bool added;
    };
    // U046D:C52B's driver for Windows 10 x64 is dated 2006-06-21, as in-box INFs are.
    const Case cases[] = {
        {"U046D:C52B", "Win10x64", InstalledDateNumber("1968-07-01"), true},
        {"U046D:C52B", "Win10x64", InstalledDateNumber("2006-06-20"), true},
        {"U046D:C52B", "Win10x64", InstalledDateNumber("2006-06-21"), false},
        {"U046D:C52B", "Win10x64", InstalledDateNumber("2006-06-22"), false},
        {"U046D:C52B", "Win10x64", InstalledDateNumber("Unknown"), true},
        {"V0001:0002", "Win10x64", kAnyInstalledDate, false}, // seven fields
        {"V0001:0002", "Win7x64", kAnyInstalledDate, false},  // date of seven digits
        {"V0001:0002", "Win81x64", kAnyInstalledDate, false}, // address does not decipher
        {"V0001:0002", "Win8x64", kAnyInstalledDate, false},  // no record line
    };
    for (const auto& c : cases) {
        std::vector<UpdateResult> results;
        EXPECT_EQ(AddUpdateResult(db, c.key, c.installed, c.code, &results), c.added)
            << c.key << " " << c.code << " " << c.installed;
        EXPECT_EQ(results.size(), c.added ? 1u : 0u);
    }
}

TEST(UpdatesDates, InstalledDateNumbers) {
    const std::pair<const char*, const char*> cases[] = {
        {"2006-06-21", "20060621"}, {"1968-07-01", "19680701"}, {"2006-6-1", "20060601"},
        {"6/21/2006", "20060621"},  {"null", "10000000"},       {"Unknown", "10000000"},
        {"", "10000000"},           {"2006-13-01", "10000000"}, {"2006-06", "10000000"},
        {"20a6-06-21", "10000000"},
    };
    for (const auto& [date, number] : cases)
        EXPECT_EQ(InstalledDateNumber(date), number) << date;
}

TEST(UpdatesCipher, AddressesComeBackAndDamageIsRefused) {
    for (std::string url : {std::string("https://a.example/x.zip"), std::string(16, 'a'), std::string(),
                            std::string("http://b.example/\xC3\xA9t\xC3\xA9.exe")}) {
        std::string stored = EncipherAddress(url), plain;
        EXPECT_EQ(stored.find_first_of("$\r\n"), std::string::npos);
        EXPECT_EQ(stored.find("example"), std::string::npos);
        ASSERT_TRUE(DecipherAddress(stored, &plain)) << url;
        EXPECT_EQ(plain, url);
    }
    std::string stored = EncipherAddress("https://a.example/x.zip"), plain;
    EXPECT_EQ(stored, EncipherAddress("https://a.example/x.zip")); // the same source builds the same file
    std::string tampered = stored;
    tampered[tampered.size() - 20] = tampered[tampered.size() - 20] == '0' ? '1' : '0';
    for (std::string bad : {tampered, stored.substr(2), stored + "00", std::string("https://a.example/x.zip"),
                            std::string(64, 'G'), std::string()})
        EXPECT_FALSE(DecipherAddress(bad, &plain)) << bad;
}

TEST(UpdatesDuplicates, NewestOfEachNameIsListed) {
    struct Case {
        std::vector<std::pair<std::string, std::string>> results; // name, date
        std::vector<std::string> names;                           // after marking
    };
    const Case cases[] = {
        {{{"A ", "2020-01-01"}, {"A ", "2024-01-01"}, {"B ", "2021-01-01"}}, {"ljj", "A ", "B "}},
        {{{"A ", "2024-01-01"}, {"A ", "2020-01-01"}}, {"A ", "ljj"}},
        {{{"A ", "2024-01-01"}, {"A ", "2024-01-01"}, {"A ", "2024-01-01"}}, {"A ", "ljj", "ljj"}},
        {{{"A ", "2020-01-01"}, {"A ", "2022-01-01"}, {"A ", "2021-01-01"}}, {"ljj", "A ", "ljj"}},
    };
    for (const auto& c : cases) {
        std::vector<UpdateResult> results;
        for (const auto& [name, date] : c.results) {
            results.emplace_back();
            results.back().name = name;
            results.back().date = date;
        }
        MarkDuplicateResults(results);
        std::vector<std::string> names;
        for (const auto& r : results)
            names.push_back(r.name);
        EXPECT_EQ(names, c.names);
    }
}

// The whole search over a machine image with the database beside the program.
class UpdatesSearch : public ::testing::Test {
protected:
    static constexpr char kDatabase[] = "C:\\Program Files\\Vantrel\\DriverDB.dat";
    static constexpr char kText[] = "C:\\Users\\User\\AppData\\Local\\Temp\\du.tmp";

    UpdatesSearch() {
        std::string error;
        EXPECT_TRUE(WriteUpdateDatabase(Fs(), kDatabase, EncipherRecordAddresses(SourceText()), &error))
            << error;
        Driver("Alpha LAN", "PCI\\VEN_1111&DEV_2222&SUBSYS_33334444&REV_01", "2021-05-05");
        Driver("Alpha Mouse", "USB\\VID_046D&PID_C52B&REV_0001", "2006-06-21");
        Driver("Delta 24", "MONITOR\\DEL4014", "null");
        // A device without a class and one with a class that has no driver here.
        Enum("PCI\\VEN_9999&DEV_0001&SUBSYS_AAAA0001\\1", "",
             "PCI\\VEN_9999&DEV_0001&SUBSYS_AAAA0001&REV_01");
        Enum("LPTENUM\\HPLASERJET_1020\\1", "Unknown", "LPTENUM\\HPLASERJET_1020");
        Enum("USB\\VID_0001&PID_0002\\1", "HIDClass", "HID\\VID_0001&PID_0002");
    }

    FileSystem& Fs() { return machine.Ports().fs; }
    void Driver(const std::string& desc, const std::string& id, const std::string& date) {
        DriverRecord* record = inventory.drivers.Append();
        record->driverDesc.Set(desc);
        record->hardwareId.Set(id);
        record->driverDate.Set(date);
    }
    void Enum(const std::string& instance, const std::string& className, const std::string& id) {
        Registry& registry = machine.Ports().registry;
        RegKey key(registry);
        ASSERT_EQ(key.Create(kHkeyLocalMachine, "SYSTEM\\CurrentControlSet\\Enum\\" + instance),
                  kErrorSuccess);
        std::string multi = id + '\0' + "OTHER\\ID" + '\0' + '\0';
        registry.SetValue(key.Handle(), "HardwareID", kRegMultiSz, multi);
        if (!className.empty())
            registry.SetValue(key.Handle(), "Class", kRegSz, className + '\0');
    }
    // The listed results' names and devices, with the text deleted after every search.
    std::vector<std::string> Listed(const std::string& code, bool running) {
        UpdateSearch search = SearchUpdates(inventory, kDatabase, code, running);
        EXPECT_EQ(search.status, UpdateSearchStatus::Done);
        EXPECT_FALSE(Fs().Exists(kText));
        std::vector<std::string> names;
        for (std::size_t i : search.listed)
            names.push_back(search.results[i].name + "| " + search.results[i].device);
        return names;
    }

    test::TestMachine machine;
    Inventory inventory{machine.Ports()};
};

TEST_F(UpdatesSearch, DriversAndUnknownDevicesForEachSystem) {
    // Running system: installed dates count (the mouse's driver is as old as the installed one).
    EXPECT_EQ(
        Listed("Win10x64", true),
        (std::vector<std::string>{"Alpha LAN Driver | Alpha LAN", "Delta Monitor Driver | Delta 24",
                                  "HP LaserJet 1020 Driver | LPTENUM\\HPLASERJET_1020",
                                  "Nine Bridge Driver | PCI\\VEN_9999&DEV_0001&SUBSYS_AAAA0001&REV_01"}));
    // The same system chosen as a foreign one: every driver in the slot counts.
    EXPECT_EQ(Listed("Win10x64", false).size(), 5u);
    EXPECT_EQ(Listed("Win7x64", false), (std::vector<std::string>{"Alpha LAN OEM Driver | Alpha LAN"}));
    EXPECT_TRUE(Listed("WinXP32", false).empty());
}

TEST_F(UpdatesSearch, HiddenUpdatesStayHiddenOnEverySystem) {
    const std::string hiddenFile = "C:\\Users\\User\\AppData\\Roaming\\Vantrel\\HiddenUpdate.txt";
    ASSERT_TRUE(CreateDirectories(Fs(), "C:\\Users\\User\\AppData\\Roaming\\Vantrel"));
    ASSERT_TRUE(WriteWholeFile(Fs(), hiddenFile, ""));
    EXPECT_EQ(Listed("Win11", false).size(), 2u); // an empty list hides nothing
    ASSERT_TRUE(HideUpdate(machine.Ports(), Url(2)));
    ASSERT_TRUE(HideUpdate(machine.Ports(), Url(5)));
    std::string text;
    ASSERT_TRUE(ReadWholeFile(Fs(), hiddenFile, &text));
    EXPECT_EQ(text, Url(2) + "\r\n" + Url(5) + "\r\n");
    EXPECT_EQ(Listed("Win11", false), (std::vector<std::string>{"Alpha LAN Driver | Alpha LAN"}));
    EXPECT_TRUE(Listed("Win7x64", false).empty());
    // The Windows 10 monitor driver has another address: still shown.
    EXPECT_EQ(Listed("Win10x64", true).size(), 4u);
}

TEST_F(UpdatesSearch, DatabaseFaultsStopTheSearchAndLeaveNoText) {
    std::string good;
    ASSERT_TRUE(ReadWholeFile(Fs(), kDatabase, &good));
    std::string wrongPassword;
    {
        ziptest::Sandbox sandbox;
        ZipWriter writer(sandbox.Fs());
        ASSERT_TRUE(writer.Create("C:\\db.zip"));
        writer.SetPassword("wrong password");
        writer.AddBytes(kUpdateDbEntry, SourceText(), 0);
        ASSERT_TRUE(writer.Close());
        wrongPassword = sandbox.Read("C:\\db.zip");
    }
    const std::pair<std::string, UpdateSearchStatus> cases[] = {
        {good.substr(0, good.size() / 2), UpdateSearchStatus::BrokenDatabase},
        {"not a zip at all", UpdateSearchStatus::BrokenDatabase},
        {"", UpdateSearchStatus::BrokenDatabase},
        {wrongPassword, UpdateSearchStatus::BrokenDatabase},
        {ziptest::BuildRawZip({ziptest::StoredEntry("other.txt", "20250301\r\n")}),
         UpdateSearchStatus::BrokenDatabase},
    };
    for (const auto& [bytes, status] : cases) {
        ASSERT_TRUE(WriteWholeFile(Fs(), kDatabase, bytes));
        UpdateSearch search = SearchUpdates(inventory, kDatabase, "Win10x64", true);
        EXPECT_EQ(search.status, status) << bytes.size();
        EXPECT_TRUE(search.results.empty());
        EXPECT_FALSE(Fs().Exists(kText));
    }
    Fs().DeleteFile(kDatabase);
    EXPECT_EQ(SearchUpdates(inventory, kDatabase, "Win10x64", true).status,
              UpdateSearchStatus::MissingDatabase);
}

TEST(UpdatesDbFile, RoundTripAndOtherZipTools) {
    ziptest::Sandbox sandbox;
    // Short and malformed lines pass as they are; so do LF line ends.
    std::string source = SourceText() + "000030D:Odd$line\nP1:\n000031D:a$b$c$d$e$f$g$h$extra";
    std::string error;
    ASSERT_TRUE(
        WriteUpdateDatabase(sandbox.Fs(), "C:\\DriverDB.dat", EncipherRecordAddresses(source), &error));
    std::string text;
    ASSERT_TRUE(ReadUpdateDatabase(sandbox.Fs(), "C:\\DriverDB.dat", &text, &error)) << error;
    EXPECT_EQ(text.find(Url(7)), std::string::npos);
    EXPECT_EQ(DecipherRecordAddresses(text), source);
    if (!ziptest::HaveTool("unzip"))
        GTEST_SKIP() << "no unzip";
    std::string output;
    EXPECT_EQ(ziptest::RunTool("unzip -p -P " + std::string(kUpdateDbPassword) + " " +
                                   ziptest::Quote(sandbox.Host("C:\\DriverDB.dat")) + " du.tmp",
                               &output),
              0);
    EXPECT_EQ(output, text);
}

} // namespace
} // namespace vantrel
