#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/image/RegFile.h"

namespace vantrel {

namespace {

using namespace std::string_literals;

std::vector<RegFileKey> Parse(const std::string& text) {
    std::vector<RegFileKey> keys;
    std::string error;
    EXPECT_TRUE(ParseRegFile(text, "test.reg", &keys, &error)) << error;
    return keys;
}

std::string Utf16(const std::string& ascii) {
    std::string out;
    for (char c : ascii)
        out += std::string(1, c) + '\0';
    return out;
}

const RegFileValue& ValueOf(const RegFileKey& key, const std::string& name) {
    for (const auto& v : key.values) {
        if (v.name == name)
            return v;
    }
    static RegFileValue none;
    ADD_FAILURE() << "no value " << name << " in " << key.path;
    return none;
}

} // namespace

TEST(RegFileParse, EveryValueKind) {
    auto keys =
        Parse("Windows Registry Editor Version 5.00\r\n"
              "\r\n"
              "; a comment\r\n"
              "[HKLM\\SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e972-e325-11ce-bfc1-08002be10318}]\r\n"
              "@=\"Network adapters\"\r\n"
              "\"Path\"=\"C:\\\\WINDOWS\\\\inf\\\\net.inf \\\"q\\\"\"\r\n"
              "\"Eq=Name\"=dword:0000001F\r\n"
              "\"Bin\"=hex:00,ff, 10 ,7f\r\n"
              "\"Expand\"=hex(2):25,00,53,00,79,00,73,00,25,00,00,00\r\n"
              "\"Multi\"=hex(7):61,00,00,00,62,00,63,00,00,00,00,00\r\n"
              "\"Bare\"=hex(1):41,00,42,00\r\n"
              "\"Qword\"=hex(b):01,02,03,04,05,06,07,08\r\n"
              "\"None\"=hex(0):\r\n"
              "\"Long\"=hex:01,02,\\\r\n"
              "  03,04,\\\r\n"
              "  05\r\n"
              "\"Gone\"=-\r\n"
              "\r\n"
              "[-HKEY_CURRENT_USER\\Software\\Old]\r\n");
    ASSERT_EQ(keys.size(), 2u);
    const RegFileKey& cls = keys[0];
    EXPECT_EQ(cls.path, "HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\Class\\"
                        "{4d36e972-e325-11ce-bfc1-08002be10318}");
    ASSERT_EQ(cls.values.size(), 11u);
    EXPECT_EQ(cls.values[0].name, "");
    EXPECT_EQ(cls.values[0].data, "Network adapters\0"s);
    EXPECT_EQ(ValueOf(cls, "Path").data, "C:\\WINDOWS\\inf\\net.inf \"q\"\0"s);
    EXPECT_EQ(ValueOf(cls, "Eq=Name").type, kRegDword);
    EXPECT_EQ(ValueOf(cls, "Eq=Name").data, "\x1f\0\0\0"s);
    EXPECT_EQ(ValueOf(cls, "Bin").data, "\x00\xff\x10\x7f"s);
    EXPECT_EQ(ValueOf(cls, "Bin").type, kRegBinary);
    // String types arrive as UTF-16LE and are kept with exactly their NULs, in ANSI form.
    EXPECT_EQ(ValueOf(cls, "Expand").type, kRegExpandSz);
    EXPECT_EQ(ValueOf(cls, "Expand").data, "%Sys%\0"s);
    EXPECT_EQ(ValueOf(cls, "Multi").data, "a\0bc\0\0"s);
    EXPECT_EQ(ValueOf(cls, "Bare").type, kRegSz);
    EXPECT_EQ(ValueOf(cls, "Bare").data, "AB");
    EXPECT_EQ(ValueOf(cls, "Qword").type, kRegQword);
    EXPECT_EQ(ValueOf(cls, "Qword").data, "\1\2\3\4\5\6\7\x08"s);
    EXPECT_EQ(ValueOf(cls, "None").type, kRegNone);
    EXPECT_EQ(ValueOf(cls, "None").data, "");
    EXPECT_EQ(ValueOf(cls, "Long").data, "\1\2\3\4\5"s);
    EXPECT_TRUE(ValueOf(cls, "Gone").remove);
    EXPECT_TRUE(keys[1].remove);
    EXPECT_EQ(keys[1].path, "HKEY_CURRENT_USER\\Software\\Old");
}

TEST(RegFileParse, Utf16FileWithBomAndNonAsciiText) {
    // "Français" as UTF-16LE: the c-cedilla is U+00E7.
    std::string text = "\xff\xfe"s +
                       Utf16("Windows Registry Editor Version "
                             "5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\Vantrel]\r\n\"Language\"=\"Fran") +
                       "\xe7\x00"s + Utf16("ais\"\r\n\"Hex\"=hex(1):e7,00,00,00\r\n");
    auto keys = Parse(text);
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(ValueOf(keys[0], "Language").data, "Fran\xc3\xa7"
                                                 "ais\0"s);
    EXPECT_EQ(ValueOf(keys[0], "Hex").data, "\xc3\xa7\0"s);
}

TEST(RegFileParse, Utf8BomAndRegedit4) {
    auto keys = Parse("\xEF\xBB\xBFREGEDIT4\n\n[HKEY_USERS\\.DEFAULT]\n\"Raw\"=hex(2):41,42,00\n");
    ASSERT_EQ(keys.size(), 1u);
    EXPECT_EQ(keys[0].path, "HKEY_USERS\\.DEFAULT");
    // REGEDIT4 string data is ANSI already: no UTF-16 conversion.
    EXPECT_EQ(ValueOf(keys[0], "Raw").data, "AB\0"s);
}

TEST(RegFileParse, MalformedLinesNameFileAndLine) {
    const std::string header = "Windows Registry Editor Version 5.00\r\n\r\n";
    const std::string key = "[HKEY_CURRENT_USER\\Software\\X]\r\n";
    struct Case {
        std::string text;
        std::string where;
    };
    const Case cases[] = {
        {"REGEDIT5\r\n", "test.reg:1:"},
        {"", "test.reg:1:"},
        {header + "\"v\"=\"1\"\r\n", "test.reg:3:"},                       // value before any key
        {header + key + "\"v\"=\"unterminated\r\n", "test.reg:4:"},        // unterminated string
        {header + key + "\"v=\"1\"\r\n", "test.reg:4:"},                   // name never closed
        {header + key + "\"v\"=hex:01,zz\r\n", "test.reg:4:"},             // bad hex
        {header + key + "\"v\"=hex:01,\\\r\n  02,0x3\r\n", "test.reg:4:"}, // bad hex on a continuation
        {header + key + "\"v\"=dword:123456789\r\n", "test.reg:4:"},       // dword too long
        {header + key + "\"v\"=dword:\r\n", "test.reg:4:"},
        {header + key + "\"v\"=hex(q):00\r\n", "test.reg:4:"},
        {header + key + "\"v\"=word:1\r\n", "test.reg:4:"},
        {header + key + "\"v\" \"1\"\r\n", "test.reg:4:"}, // no "="
        {header + key + "junk line\r\n", "test.reg:4:"},
        {header + "[HKEY_NOWHERE\\X]\r\n", "test.reg:3:"},
        {header + "[HKEY_CURRENT_USER\\X\r\n", "test.reg:3:"},
        {header + key + "\"v\"=hex:01,\\", "test.reg:4:"}, // continued past the end
    };
    for (const auto& c : cases) {
        std::vector<RegFileKey> keys;
        std::string error;
        EXPECT_FALSE(ParseRegFile(c.text, "test.reg", &keys, &error)) << c.text;
        EXPECT_EQ(error.substr(0, c.where.size()), c.where) << c.text << " -> " << error;
        EXPECT_GT(error.size(), c.where.size() + 2) << "no reason given: " << error;
    }
}

TEST(RegFileParse, ReadRegFileNamesAMissingFile) {
    std::vector<RegFileKey> keys;
    std::string error;
    EXPECT_FALSE(ReadRegFile("/nonexistent/dir/none.reg", &keys, &error));
    EXPECT_NE(error.find("/nonexistent/dir/none.reg"), std::string::npos) << error;
}

TEST(RegFileWrite, RoundTripsEveryTypeByteForByte) {
    std::string binary;
    for (int i = 0; i < 300; ++i)
        binary.push_back(static_cast<char>(i));
    std::vector<RegFileKey> keys(3);
    keys[0].path = "HKEY_CURRENT_USER\\Software\\Vantrel";
    keys[0].values = {
        {"", false, kRegSz, "default\0"s},
        {"Backup option", false, kRegSz, "BckFolder\0"s},
        {"Quote \"and\" \\slash", false, kRegSz, "C:\\a \"b\"\0"s},
        {"NoNul", false, kRegSz, "BckZip"},
        {"TwoNuls", false, kRegSz, "x\0\0"s},
        {"Lines", false, kRegSz, "a\r\nb\0"s},
        {"Latin1", false, kRegSz, "caf\xe9\0"s}, // not UTF-8: must still come back as these bytes
        {"Utf8", false, kRegSz,
         "Fran\xc3\xa7"
         "ais\0"s},
        {"Expand", false, kRegExpandSz, "%SystemRoot%\\inf"},
        {"Multi", false, kRegMultiSz, "a\0bc\0\0"s},
        {"Dword", false, kRegDword, "\x78\x56\x34\x12"s},
        {"ShortDword", false, kRegDword, "\1\2"s},
        {"Qword", false, kRegQword, "\1\2\3\4\5\6\7\x08"s},
        {"Binary", false, kRegBinary, binary},
        {"Empty", false, kRegBinary, ""},
        {"Odd", false, 0x20000u, "zz"},
        {"Deleted", true, kRegSz, ""},
    };
    keys[1].path = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Empty Key";
    keys[2].path = "HKEY_CURRENT_USER\\Software\\Gone";
    keys[2].remove = true;

    std::string text = FormatRegFile(keys);
    EXPECT_EQ(text.rfind("Windows Registry Editor Version 5.00\r\n", 0), 0u);
    EXPECT_NE(text.find("\"Backup option\"=\"BckFolder\"\r\n"), std::string::npos) << text;
    EXPECT_NE(text.find("\"Quote \\\"and\\\" \\\\slash\"=\"C:\\\\a \\\"b\\\"\"\r\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("\"NoNul\"=hex(1):42,00,63,00,6b,00,5a,00,69,00,70,00\r\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("\"Dword\"=dword:12345678\r\n"), std::string::npos) << text;
    for (std::size_t start = 0, nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1)
        EXPECT_LE(nl - start, 82u) << "long line: " << text.substr(start, nl - start);

    auto back = Parse(text);
    ASSERT_EQ(back.size(), keys.size());
    for (std::size_t k = 0; k < keys.size(); ++k) {
        EXPECT_EQ(back[k].path, keys[k].path);
        EXPECT_EQ(back[k].remove, keys[k].remove);
        ASSERT_EQ(back[k].values.size(), keys[k].values.size()) << keys[k].path;
        for (std::size_t v = 0; v < keys[k].values.size(); ++v) {
            const auto& want = keys[k].values[v];
            const auto& got = back[k].values[v];
            EXPECT_EQ(got.name, want.name);
            EXPECT_EQ(got.remove, want.remove) << want.name;
            if (!want.remove) {
                EXPECT_EQ(got.type, want.type) << want.name;
                EXPECT_EQ(got.data, want.data) << want.name;
            }
        }
    }
}

TEST(RegFileWrite, RootNamesAndShortForms) {
    RegHandle root = 0;
    std::string rest;
    ASSERT_TRUE(SplitRegRoot("hkcu\\Software\\Vantrel\\", &root, &rest));
    EXPECT_EQ(root, kHkeyCurrentUser);
    EXPECT_EQ(rest, "Software\\Vantrel");
    ASSERT_TRUE(SplitRegRoot("HKEY_CLASSES_ROOT", &root, &rest));
    EXPECT_EQ(root, kHkeyClassesRoot);
    EXPECT_EQ(rest, "");
    EXPECT_FALSE(SplitRegRoot("HKEY_CURRENT_USERS\\x", &root, &rest));
    EXPECT_EQ(RegRootName(kHkeyLocalMachine), "HKEY_LOCAL_MACHINE");
}

} // namespace vantrel
