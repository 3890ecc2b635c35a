// An INF file read as text: the line reader's view (sections found by their cleaned header
// line) and the profile reader's view of section [Version].
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

class FileBytes;
class System;

// Drops the characters that are not printable text (tab, CR, NUL and the other controls).
std::string CleanInfLine(std::string_view line);
// The line up to its first ";".
std::string_view StripInfComment(std::string_view line);
// Replaces every occurrence of character in text by one blank.
std::string ReplaceWithBlank(std::string_view text, char character);

// One line of a section as Windows' INF reader splits it: the key before the first "=" outside
// quotes, then the fields between the commas outside quotes. Quotes are removed (two quotes
// inside a quoted text stand for one), blanks around a field dropped, a ";" outside quotes
// starts a comment and control characters are dropped. A blank or comment line has no fields.
struct InfLineFields {
    bool hasKey = false;
    std::string key;
    std::vector<std::string> fields;
};
InfLineFields SplitInfLine(std::string_view line);

// The bytes of an INF as text in the program's code page: a UTF-16LE or UTF-8 file with a
// byte-order mark is converted, anything else is taken as it is.
std::string DecodeInfBytes(std::string_view bytes, System& system);
// Whether DecodeInfBytes would change the bytes.
bool InfNeedsDecoding(std::string_view bytes);

class InfText {
public:
    explicit InfText(std::string text);
    // Bytes that need no decoding, kept as they were read.
    explicit InfText(std::unique_ptr<const FileBytes> bytes);
    ~InfText();
    InfText(const InfText&) = delete; // text points into the object
    InfText& operator=(const InfText&) = delete;

    // The lines after the first line that, comment-stripped, cleaned and lower-cased, equals
    // header (lower-case, brackets included), up to the next line whose first character is
    // "[". Empty when no line matches. Lines keep their text as it stands (no CR or LF).
    std::vector<std::string_view> SectionLines(std::string_view header) const;
    bool HasSection(std::string_view header) const;

    // Section [name] as Windows' INF reader finds it: the name compared without case and
    // without the blanks around it inside the brackets, whatever follows the "]" ignored, a
    // header line found after leading blanks too, and the bodies of all sections of the name
    // run together in file order.
    std::vector<std::string_view> SectionLinesByName(std::string_view name) const;
    bool HasSectionByName(std::string_view name) const;

    // What GetPrivateProfileStringA returns for a key of section [Version]: the first
    // section of that name, the first key of that name in it, trimmed, one pair of matching
    // quotes removed, at most bufferChars - 1 characters; "" when missing.
    std::string VersionValue(std::string_view key, std::uint32_t bufferChars) const;

    // The first line whose cleaned text starts with "signature" (any case), cleaned; "" when none.
    std::string SignatureLine() const;

    std::size_t Size() const { return text.size(); }

private:
    struct VersionEntry {
        std::string key; // lower-cased
        std::string value;
    };
    const std::vector<VersionEntry>& VersionEntries() const;

    // A line whose first character other than blanks and controls is "[".
    struct Header {
        std::size_t lineStart;
        std::size_t bracket; // offset of the "["
        std::size_t lineEnd; // offset of the line break (or the end of the text)
        std::uint64_t keyHash;
        std::string key; // the cleaned, lower-cased line
    };
    std::string_view LineAt(std::size_t start, std::size_t end) const {
        return std::string_view(text).substr(start, end - start);
    }
    static constexpr std::size_t kNoHeader = static_cast<std::size_t>(-1);
    // Body end, and the first header of a cleaned name, indexing further headers as needed.
    std::size_t BodyEnd(std::size_t headerIndex, bool profileRules) const;
    std::size_t FindHeader(std::string_view header) const;
    bool IndexNextHeader() const;
    // The body lines of header k, up to the next header line.
    std::vector<std::string_view> BodyLines(std::size_t headerIndex, bool profileRules) const;
    // Every header's name by Windows' rules ("" for a line without "]"), made on first use.
    const std::vector<std::string>& HeaderNames() const;

    std::string owned;
    std::unique_ptr<const FileBytes> file;
    std::string_view text; // over owned or file
    // The header index grows on demand, so a text is not for two threads at once.
    mutable std::vector<Header> headers;
    mutable std::size_t scanned = 0;              // headers indexed up to here
    mutable std::vector<VersionEntry> version;    // section [Version], read on first use
    mutable std::vector<std::string> headerNames; // lower-cased, by header index
    mutable bool versionRead = false;
};

// Splits a block of text into lines at CR, LF or CR LF.
std::vector<std::string_view> SplitInfLines(std::string_view block);

} // namespace vantrel
