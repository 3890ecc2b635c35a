// The text of the driver-update database: the date line, device lines (a key, a separator and
// 19 slots of a record number and one more character) and record lines (number, "D", a
// separator and eight fields between "$"). The text is read once and indexed; every answer is
// the one a scan from the first line would give.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantrel {

class FileSystem;

inline constexpr char kUpdateDbFile[] = "DriverDB.dat";
inline constexpr char kUpdateDbEntry[] = "du.tmp";
inline constexpr char kUpdateDbPassword[] = "xqz.plorventaquist.kjw.";
inline constexpr int kRecordFieldCount = 8;

class UpdateDatabase {
public:
    UpdateDatabase() = default;
    UpdateDatabase(const UpdateDatabase&) = delete;
    UpdateDatabase& operator=(const UpdateDatabase&) = delete;

    // Takes the text; lines end in CR LF or LF.
    void Load(std::string text);
    // The first line: the database's date, yyyymmdd.
    std::string_view Date() const { return lines.empty() ? std::string_view() : lines[0]; }
    const std::vector<std::string_view>& Lines() const { return lines; }

    // Prepares the look-ups of these keys, in one pass over the lines. Keys not prepared are
    // still answered, by a scan.
    void Index(const std::vector<std::string>& keys);

    // The record number for the key in the slot of the system code: the line of the exact key
    // unless it has none there, then the line of the key's vendor and device with the
    // "********" subsystem; "000000" when neither has one (or the code names no slot).
    std::string FindDeviceSlot(std::string_view key, std::string_view code) const;
    // The record line behind its first eight characters; "" when no line begins with the
    // number and "D".
    std::string_view FindRecord(std::string_view number) const;

private:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    struct Hits {
        std::size_t first = kNone;    // the first line that begins with the text
        std::vector<std::size_t> all; // every such line, for wildcard texts
        bool wildcard = false;
    };
    // The line the scan stops at for key, and the wildcard line it last saw by then.
    void FindLines(std::string_view key, std::size_t* exact, std::size_t* wildcard) const;
    std::string SlotOf(std::size_t line, std::size_t keyLength, int slot) const;

    std::string text;
    std::vector<std::string_view> lines;
    std::unordered_map<std::string_view, std::size_t> records; // number -> first record line
    std::vector<std::string> indexedTexts;                     // owns the keys of `hits`
    std::unordered_map<std::string_view, Hits> hits;
};

// The text with field 8 (the download address) of every record line that has eight fields
// enciphered, or deciphered; every other line, and a field that does not decipher, as it is.
std::string EncipherRecordAddresses(std::string_view source);
std::string DecipherRecordAddresses(std::string_view text);
// Writes the text as the database file: one entry, with the database's password.
bool WriteUpdateDatabase(FileSystem& fs, std::string_view path, std::string text, std::string* error);
// The text of the database file's entry, read in memory.
bool ReadUpdateDatabase(FileSystem& fs, std::string_view path, std::string* text, std::string* error);

// The wildcard text of a PCI or HD-audio key: up to its last ":" and "********"; "" for a key
// without exactly two ":".
std::string WildcardKey(std::string_view key);

} // namespace vantrel
