#include "util/Text.h"

#include <algorithm>

namespace vantrel {

namespace {

char LowerChar(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string TrimOf(std::string_view text, std::string_view blanks) {
    auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    auto last = text.find_last_not_of(blanks);
    return std::string(text.substr(first, last - first + 1));
}

} // namespace

std::string Trim(std::string_view text) {
    return std::string(TrimView(text));
}

std::string_view TrimView(std::string_view text) {
    // Fixed-width fields are mostly trailing blanks: plain loops beat the generic search.
    std::size_t first = 0, end = text.size();
    while (end > 0 && text[end - 1] == ' ')
        --end;
    while (first < end && text[first] == ' ')
        ++first;
    return text.substr(first, end - first);
}

std::string TrimWhite(std::string_view text) {
    return TrimOf(text, " \t\r\n");
}

std::string CutAtNul(std::string_view text) {
    auto nul = text.find('\0');
    return std::string(nul == std::string_view::npos ? text : text.substr(0, nul));
}

std::string CleanText(std::string_view text) {
    return Trim(CutAtNul(text));
}

std::string LowerAscii(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), LowerChar);
    return out;
}

std::string UpperAscii(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return out;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (LowerChar(a[i]) != LowerChar(b[i]))
            return false;
    }
    return true;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && EqualsNoCase(text.substr(text.size() - suffix.size()), suffix);
}

bool ContainsNoCase(std::string_view text, std::string_view part) {
    return LowerAscii(text).find(LowerAscii(part)) != std::string::npos;
}

bool LessNoCase(std::string_view a, std::string_view b) {
    std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        char x = LowerChar(a[i]);
        char y = LowerChar(b[i]);
        if (x != y)
            return static_cast<unsigned char>(x) < static_cast<unsigned char>(y);
    }
    return a.size() < b.size();
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        auto pos = text.find(separator, start);
        if (pos == std::string_view::npos) {
            parts.emplace_back(text.substr(start));
            return parts;
        }
        parts.emplace_back(text.substr(start, pos - start));
        start = pos + 1;
    }
}

std::string WithBackslash(std::string_view path) {
    std::string out(path);
    if (out.empty() || out.back() != '\\')
        out.push_back('\\');
    return out;
}

} // namespace vantrel
