// Every text the program looks up must be in English.ini, with the code's English default
// as its value, and every other language file must carry the same keys, with accelerators
// a keyboard user can still tell apart.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

#include "TestMachine.h"
#include "app/MainPage.h"
#include "util/Text.h"

namespace vantrel {
namespace {

namespace fs = std::filesystem;

const fs::path kSourceDir = VANTREL_SOURCE_DIR;

// (section, key) in lower case, as the profile reader matches them.
using LangKey = std::pair<std::string, std::string>;
LangKey MakeKey(std::string_view section, std::string_view key) {
    return {LowerAscii(section), LowerAscii(key)};
}

using IniFile = std::map<LangKey, std::string>;

IniFile ParseIni(const std::string& text) {
    IniFile values;
    std::string section;
    std::istringstream in(text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text);
    for (std::string line; std::getline(in, line);) {
        line = TrimWhite(line);
        if (line.empty() || line[0] == ';')
            continue;
        if (line.front() == '[' && line.back() == ']') {
            section = line.substr(1, line.size() - 2);
            continue;
        }
        auto equals = line.find('=');
        if (equals == std::string::npos)
            continue;
        std::string value = TrimWhite(line.substr(equals + 1));
        if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
            value = value.substr(1, value.size() - 2);
        values.emplace(MakeKey(section, TrimWhite(line.substr(0, equals))), value);
    }
    return values;
}

// What the code looks up, with its English default where the code spells it out.
struct Lookups {
    std::map<LangKey, std::optional<std::string>> keys;
    std::map<LangKey, std::string> where; // first place seen, for the report

    void Add(std::string_view section, std::string_view key, std::optional<std::string> english,
             const std::string& place) {
        auto id = MakeKey(section, key);
        auto [it, added] = keys.emplace(id, english);
        if (added)
            where[id] = place;
        else if (!it->second)
            it->second = english;
    }
};

// "a" "b\"c" -> ab"c; nothing when an escape cannot stand in an INI value.
std::optional<std::string> JoinLiterals(const std::string& literals) {
    std::string text;
    bool inside = false;
    for (std::size_t i = 0; i < literals.size(); ++i) {
        char c = literals[i];
        if (c == '"') {
            inside = !inside;
        } else if (inside && c == '\\') {
            char next = literals[++i];
            if (next != '"' && next != '\\')
                return std::nullopt;
            text += next;
        } else if (inside) {
            text += c;
        }
    }
    return Trim(text);
}

void ScanSources(Lookups* lookups) {
    static const std::regex call(R"re(GetLangText\(\s*"([^"]+)"\s*,\s*"([^"]+)"\s*,)re");
    static const std::regex pageCall(R"re(\bLang\((?:\s*app\s*,)?\s*"([^"]+)"\s*,)re");
    static const std::regex literalDefault(R"re(^\s*((?:"(?:[^"\\]|\\.)*"\s*)+)\))re");
    for (const char* folder : {"src", "gui"}) {
        if (!fs::exists(kSourceDir / folder))
            continue;
        for (const auto& entry : fs::recursive_directory_iterator(kSourceDir / folder)) {
            auto extension = entry.path().extension();
            if (extension != ".cpp" && extension != ".h")
                continue;
            std::string text = test::ReadHostFile(entry.path());
            std::string file = fs::relative(entry.path(), kSourceDir).string();
            // GetLangText("Section", "Key", ...) and the pages' short form for the main
            // window's section, Lang([app, ]"Key", ...); both with an optional literal default.
            for (const std::regex* pattern : {&call, &pageCall}) {
                for (std::sregex_iterator it(text.begin(), text.end(), *pattern), end; it != end; ++it) {
                    std::optional<std::string> english;
                    std::smatch rest;
                    std::string after = text.substr(it->position() + it->length(), 4000);
                    if (std::regex_search(after, rest, literalDefault))
                        english = JoinLiterals(rest[1]);
                    bool page = pattern == &pageCall;
                    lookups->Add(page ? "FormMain" : (*it)[1].str(), (*it)[page ? 1 : 2].str(), english,
                                 file);
                }
            }
        }
    }
}

// The keys the main window builds from its tables.
void AddMainWindowTables(Lookups* lookups) {
    for (const auto& entry : MainMenu()) {
        // Language items keep their names on every language: no file may carry them.
        if (entry.level < 2)
            lookups->Add("FormMain", entry.name, entry.caption, "main menu");
    }
    std::map<std::string, std::string> designer;
    for (const auto& caption : DesignerCaptions())
        designer[caption.control] = caption.caption;
    for (const auto& caption : LanguageCaptions()) {
        std::string english = designer.at(caption.control);
        // The page adds the label's colon itself.
        if (english.ends_with(':'))
            english.pop_back();
        lookups->Add(caption.section, caption.key, english, "main window captions");
    }
    for (const auto& list : LanguageColumns()) {
        for (int i = 1; i <= list.count; ++i)
            lookups->Add(list.section, "LvwHeader" + std::to_string(i), std::nullopt, list.list);
    }
}

Lookups AllLookups() {
    Lookups lookups;
    ScanSources(&lookups);
    AddMainWindowTables(&lookups);
    return lookups;
}

std::map<std::string, IniFile> LanguageFiles() {
    std::map<std::string, IniFile> files;
    for (const auto& entry : fs::directory_iterator(kSourceDir / "data" / "Language")) {
        if (entry.path().extension() == ".ini")
            files[entry.path().stem().string()] = ParseIni(test::ReadHostFile(entry.path()));
    }
    return files;
}

TEST(LanguageCoverage, SourceScanFindsTheLookups) {
    // Guards the scan itself: these calls are known to be in the sources.
    Lookups lookups = AllLookups();
    ASSERT_TRUE(lookups.keys.count(MakeKey("FormMain", "MsgLangLost")));
    EXPECT_EQ(lookups.keys[MakeKey("FormMain", "MsgLangLost")],
              "The selected language file doesn't exist, please re-install the software.");
    EXPECT_TRUE(lookups.keys.count(MakeKey("Module", "Msg2")));
    EXPECT_TRUE(lookups.keys.count(MakeKey("FormRemove", "LvwHeader5")));
    EXPECT_EQ(lookups.keys[MakeKey("FormUpdate", "LblOS")], "Operating System");
    EXPECT_EQ(lookups.keys[MakeKey("FormMain", "MnuRstZip")], "Restore From &Compressed File...");
    EXPECT_FALSE(lookups.keys.count(MakeKey("FormMain", "MnuLanGerman")));
}

TEST(LanguageCoverage, EnglishHoldsEveryKeyWithTheCodesDefault) {
    Lookups lookups = AllLookups();
    IniFile english = LanguageFiles()["English"];
    std::string missing, different;
    for (const auto& [key, text] : lookups.keys) {
        auto found = english.find(key);
        if (found == english.end())
            missing += "  [" + key.first + "] " + key.second + " (" + lookups.where[key] + ")\n";
        else if (text && *text != found->second)
            different += "  [" + key.first + "] " + key.second + ": code \"" + *text + "\", file \"" +
                         found->second + "\"\n";
    }
    EXPECT_TRUE(missing.empty()) << "English.ini lacks:\n" << missing;
    EXPECT_TRUE(different.empty()) << "English.ini differs from the code:\n" << different;
}

TEST(LanguageCoverage, EveryLanguageFileIsComplete) {
    Lookups lookups = AllLookups();
    auto files = LanguageFiles();
    std::string report;
    // Every language the menu offers, and the one reachable only as a command, ships a file.
    std::vector<std::string> offered(std::begin(kMenuLanguages), std::end(kMenuLanguages));
    offered.push_back(kHiddenLanguage);
    for (const auto& language : offered) {
        if (!files.count(language))
            report += language + ".ini is missing\n";
    }
    for (const auto& [language, values] : files) {
        std::string missing, empty;
        for (const auto& [key, text] : lookups.keys) {
            auto found = values.find(key);
            if (found == values.end())
                missing += " [" + key.first + "]" + key.second;
            else if (found->second.empty())
                empty += " [" + key.first + "]" + key.second;
        }
        // A key for a language item would rename it, and the check mark would lose it.
        std::string languageItems;
        for (const auto& [key, value] : values) {
            if (key.first == "formmain" && key.second.starts_with("mnulan") && key.second != "mnulanguage")
                languageItems += " " + key.second;
        }
        if (!missing.empty())
            report += language + " lacks:" + missing + "\n";
        if (!empty.empty())
            report += language + " has empty values (they fall back to English):" + empty + "\n";
        if (!languageItems.empty())
            report += language + " captions language items:" + languageItems + "\n";
    }
    EXPECT_TRUE(report.empty()) << report;
}

// The key an accelerator answers to: the code point after a single '&', folded to lower case
// for the scripts the language files use, as the window's mnemonic match ignores case.
std::optional<char32_t> AcceleratorKey(const std::string& caption) {
    for (std::size_t i = 0; i + 1 < caption.size(); ++i) {
        if (caption[i] != '&')
            continue;
        if (caption[i + 1] == '&') {
            ++i;
            continue;
        }
        auto byte = [&](std::size_t at) {
            return static_cast<unsigned char>(at < caption.size() ? caption[at] : 0);
        };
        unsigned char lead = byte(i + 1);
        char32_t c = lead;
        if (lead >= 0xF0)
            c = (lead & 0x07u) << 18 | (byte(i + 2) & 0x3Fu) << 12 | (byte(i + 3) & 0x3Fu) << 6 |
                (byte(i + 4) & 0x3Fu);
        else if (lead >= 0xE0)
            c = (lead & 0x0Fu) << 12 | (byte(i + 2) & 0x3Fu) << 6 | (byte(i + 3) & 0x3Fu);
        else if (lead >= 0xC0)
            c = (lead & 0x1Fu) << 6 | (byte(i + 2) & 0x3Fu);
        if (c >= 'A' && c <= 'Z')
            c += 0x20;
        else if (c >= 0xC0 && c <= 0xDE && c != 0xD7) // Latin-1
            c += 0x20;
        else if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) // Latin Extended-A pairs
            c |= 1;
        else if (((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) && (c & 1))
            c += 1;
        else if (c == 0x130) // Turkish dotted capital I
            c = 'i';
        else if (c >= 0x410 && c <= 0x42F) // Cyrillic
            c += 0x20;
        else if (c >= 0x400 && c <= 0x40F)
            c += 0x50;
        else if (c >= 0x490 && c <= 0x4BF)
            c |= 1;
        return c;
    }
    return std::nullopt;
}

// Captions shown side by side, whose accelerators must differ: each pop-up of the menu bar,
// the bar itself, and the buttons each page enables together.
std::vector<std::vector<LangKey>> AcceleratorGroups() {
    std::vector<std::vector<LangKey>> groups(1);
    for (const auto& entry : MainMenu()) {
        if (entry.level == 0) {
            groups.front().push_back(MakeKey("FormMain", entry.name));
            groups.emplace_back();
        } else if (entry.level == 1) {
            groups.back().push_back(MakeKey("FormMain", entry.name));
        }
    }
    // While a backup runs its Stop button is alone: the select button is disabled.
    for (const char* select : {"CmdSelectAll", "CmdSelectNone"}) {
        groups.push_back({MakeKey("FormMain", "CmdStartBackup"), MakeKey("FormMain", select)});
        groups.push_back({MakeKey("FormMain", "CmdRestore"), MakeKey("FormMain", select)});
    }
    groups.push_back({MakeKey("FormUpdate", "CmdDownload"), MakeKey("FormUpdate", "CmdHide")});
    return groups;
}

TEST(LanguageAccelerators, KeyIsFoldedAcrossScripts) {
    EXPECT_EQ(AcceleratorKey("Driver &Backup"), AcceleratorKey("&black"));
    EXPECT_EQ(AcceleratorKey("Save && &Quit"), AcceleratorKey("&q"));
    EXPECT_FALSE(AcceleratorKey("Save && Quit"));
    EXPECT_FALSE(AcceleratorKey("Trailing &"));
    EXPECT_EQ(AcceleratorKey("&Архив"), AcceleratorKey("&архив")); // Cyrillic
    EXPECT_EQ(AcceleratorKey("&Їжак"), AcceleratorKey("&їжак"));   // Ukrainian Yi
    EXPECT_EQ(AcceleratorKey("&Ústí"), AcceleratorKey("&úterý"));  // Latin-1
    EXPECT_EQ(AcceleratorKey("&Łódź"), AcceleratorKey("&łza"));    // Latin Extended-A, odd capital
    EXPECT_EQ(AcceleratorKey("&Şimdi"), AcceleratorKey("&şu"));    // Latin Extended-A, even capital
    EXPECT_NE(AcceleratorKey("&Ordner"), AcceleratorKey("&Öffnen"));
    EXPECT_NE(AcceleratorKey("&גיבוי"), AcceleratorKey("&שחזור"));
}

TEST(LanguageAccelerators, EveryFileKeepsDistinctAccelerators) {
    auto files = LanguageFiles();
    const IniFile& english = files["English"];
    auto groups = AcceleratorGroups();
    ASSERT_GT(groups.size(), 6u);
    std::string report;
    for (const auto& [language, values] : files) {
        std::string problems;
        // A caption reachable by keyboard in English stays reachable.
        for (const auto& [key, text] : english) {
            auto found = values.find(key);
            if (found == values.end() || !AcceleratorKey(text))
                continue;
            auto accelerator = AcceleratorKey(found->second);
            if (!accelerator || *accelerator == U' ')
                problems += " [" + key.first + "]" + key.second + " has no accelerator;";
        }
        for (const auto& group : groups) {
            std::map<char32_t, std::string> taken;
            for (const auto& key : group) {
                auto found = values.find(key);
                if (found == values.end())
                    continue;
                auto accelerator = AcceleratorKey(found->second);
                if (!accelerator)
                    continue;
                auto [it, added] = taken.emplace(*accelerator, found->second);
                if (!added)
                    problems += " \"" + it->second + "\" and \"" + found->second + "\" share a key;";
            }
        }
        if (!problems.empty())
            report += language + ":" + problems + "\n";
    }
    EXPECT_TRUE(report.empty()) << report;
}

} // namespace
} // namespace vantrel
