// Every text the program looks up must be in English.ini, with the code's English default
// as its value, and every other language file must carry the same keys.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>

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

} // namespace
} // namespace vantrel
