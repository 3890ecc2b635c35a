// Small text helpers shared by every subsystem.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// Removes leading and trailing blanks (spaces only, as the program's fixed-width fields use).
std::string Trim(std::string_view text);
// Trim without a copy: the part of text inside its leading and trailing blanks.
std::string_view TrimView(std::string_view text);
// Removes leading and trailing spaces, tabs, CR and LF.
std::string TrimWhite(std::string_view text);
// The text up to its first NUL.
std::string CutAtNul(std::string_view text);
// Cut at the first NUL, then trimmed of blanks: how every registry and profile text is read.
std::string CleanText(std::string_view text);

std::string LowerAscii(std::string_view text);
std::string UpperAscii(std::string_view text);
bool EqualsNoCase(std::string_view a, std::string_view b);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
bool EndsWithNoCase(std::string_view text, std::string_view suffix);
bool ContainsNoCase(std::string_view text, std::string_view part);
// Case-insensitive (ASCII) ordering, as Windows sorts registry subkeys.
bool LessNoCase(std::string_view a, std::string_view b);

std::vector<std::string> Split(std::string_view text, char separator);
// Appends "\" unless the path already ends with one.
std::string WithBackslash(std::string_view path);

} // namespace vantrel
