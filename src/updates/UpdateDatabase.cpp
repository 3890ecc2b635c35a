#include "updates/UpdateDatabase.h"

#include <algorithm>
#include <set>

#include "archive/ZipReader.h"
#include "archive/ZipWriter.h"
#include "updates/AddressCipher.h"
#include "updates/UpdateKeys.h"
#include "util/Text.h"

namespace vantrel {

namespace {

bool IsRecordLine(std::string_view line) {
    if (line.size() < kRecordNumberWidth + 2 || line[kRecordNumberWidth] != 'D')
        return false;
    for (std::size_t i = 0; i < kRecordNumberWidth; ++i) {
        if (line[i] < '0' || line[i] > '9')
            return false;
    }
    return true;
}

// Runs change over field 8 of each whole record line, keeping every line end as it was.
template <typename Change> std::string ChangeAddresses(std::string_view text, Change change) {
    std::string out;
    out.reserve(text.size() + text.size() / 2);
    while (!text.empty()) {
        std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        std::string_view ending = end == std::string_view::npos ? std::string_view() : std::string_view("\n");
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
            ending = end == std::string_view::npos ? std::string_view("\r") : std::string_view("\r\n");
        }
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        std::vector<std::string> fields;
        if (IsRecordLine(line))
            fields = Split(line.substr(kRecordNumberWidth + 2), '$');
        if (fields.size() >= static_cast<std::size_t>(kRecordFieldCount)) {
            std::string address;
            if (change(fields[kRecordFieldCount - 1], &address)) {
                fields[kRecordFieldCount - 1] = address;
                out += line.substr(0, kRecordNumberWidth + 2);
                for (std::size_t i = 0; i < fields.size(); ++i)
                    out += (i == 0 ? "" : "$") + fields[i];
                out += ending;
                continue;
            }
        }
        out += line;
        out += ending;
    }
    return out;
}

// The date line as a time of day at noon, so the entry's date reads the same in every zone.
std::int64_t DatabaseTime(std::string_view text) {
    std::string_view date = text.substr(0, text.find_first_of("\r\n"));
    if (date.size() != 8 || date.find_first_not_of("0123456789") != std::string_view::npos)
        return 315576000; // 1980-01-01
    int y = std::stoi(std::string(date.substr(0, 4))), m = std::stoi(std::string(date.substr(4, 2)));
    int d = std::stoi(std::string(date.substr(6, 2)));
    // Days from 1970-01-01 of a proleptic Gregorian date.
    y -= m <= 2;
    int era = (y >= 0 ? y : y - 399) / 400;
    int yoe = y - era * 400;
    int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    std::int64_t days = static_cast<std::int64_t>(era) * 146097 + doe - 719468;
    return days * 86400 + 12 * 3600;
}

} // namespace

std::string EncipherRecordAddresses(std::string_view source) {
    return ChangeAddresses(source, [](std::string_view plain, std::string* stored) {
        *stored = EncipherAddress(plain);
        return !stored->empty();
    });
}

std::string DecipherRecordAddresses(std::string_view text) {
    return ChangeAddresses(
        text, [](std::string_view stored, std::string* plain) { return DecipherAddress(stored, plain); });
}

bool WriteUpdateDatabase(FileSystem& fs, std::string_view path, std::string text, std::string* error) {
    ZipWriter writer(fs);
    std::int64_t time = DatabaseTime(text);
    if (!writer.Create(path)) {
        *error = writer.Error();
        return false;
    }
    writer.SetLevel(9);
    writer.SetPassword(kUpdateDbPassword);
    writer.AddBytes(kUpdateDbEntry, std::move(text), time);
    if (!writer.Close()) {
        *error = writer.Error();
        return false;
    }
    return true;
}

bool ReadUpdateDatabase(FileSystem& fs, std::string_view path, std::string* text, std::string* error) {
    ZipReader reader(fs);
    if (!reader.Open(path)) {
        *error = reader.Error();
        return false;
    }
    const auto& entries = reader.Entries();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (EqualsNoCase(entries[i].name, kUpdateDbEntry))
            return reader.ReadEntry(i, kUpdateDbPassword, text, error);
    }
    *error = std::string("no entry ") + kUpdateDbEntry;
    return false;
}

std::string WildcardKey(std::string_view key) {
    if (std::count(key.begin(), key.end(), ':') != 2)
        return {};
    return std::string(key.substr(0, key.rfind(':') + 1)) + kWildcardSubsystem;
}

void UpdateDatabase::Load(std::string newText) {
    text = std::move(newText);
    lines.clear();
    records.clear();
    hits.clear();
    indexedTexts.clear();
    std::string_view rest = text;
    while (!rest.empty()) {
        std::size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        lines.push_back(line);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string_view line = lines[i];
        if (line.size() >= kRecordNumberWidth + 1 && line[kRecordNumberWidth] == 'D')
            records.emplace(line.substr(0, kRecordNumberWidth), i);
    }
}

void UpdateDatabase::Index(const std::vector<std::string>& keys) {
    hits.clear();
    indexedTexts.clear();
    indexedTexts.reserve(keys.size() * 2);
    std::set<std::size_t> lengths;
    auto add = [&](std::string textToFind, bool wildcard) {
        if (textToFind.empty())
            return;
        indexedTexts.push_back(std::move(textToFind));
        const std::string& stored = indexedTexts.back();
        lengths.insert(stored.size());
        hits[stored].wildcard |= wildcard;
    };
    for (const auto& key : keys) {
        add(key, false);
        add(WildcardKey(key), true);
    }
    // A line matches a key by its start alone, so each line's start is looked up at every
    // length asked for; keys come in only a few lengths.
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string_view line = lines[i];
        for (std::size_t length : lengths) {
            if (length > line.size())
                break;
            auto it = hits.find(line.substr(0, length));
            if (it == hits.end())
                continue;
            if (it->second.first == kNone)
                it->second.first = i;
            if (it->second.wildcard)
                it->second.all.push_back(i);
        }
    }
}

void UpdateDatabase::FindLines(std::string_view key, std::size_t* exact, std::size_t* wildcard) const {
    *exact = kNone;
    *wildcard = kNone;
    std::string wild = WildcardKey(key);
    auto exactHits = hits.find(key);
    auto wildHits = wild.empty() ? hits.end() : hits.find(std::string_view(wild));
    if (exactHits != hits.end() && (wild.empty() || wildHits != hits.end())) {
        *exact = exactHits->second.first;
        if (!wild.empty()) {
            // The last wildcard line the scan passed before it stopped, its own line included.
            const auto& all = wildHits->second.all;
            auto after = std::upper_bound(all.begin(), all.end(), *exact);
            if (after != all.begin())
                *wildcard = *std::prev(after);
        }
        return;
    }
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string_view line = lines[i];
        if (!wild.empty() && line.starts_with(wild))
            *wildcard = i;
        if (!key.empty() && line.starts_with(key)) {
            *exact = i;
            return;
        }
    }
}

std::string UpdateDatabase::SlotOf(std::size_t line, std::size_t keyLength, int slot) const {
    if (line == kNone || slot == 0)
        return kNoRecord;
    std::string_view text = lines[line];
    std::size_t at = keyLength + 1 + static_cast<std::size_t>(slot - 1) * kOsSlotWidth;
    if (at + kRecordNumberWidth > text.size())
        return kNoRecord; // a short line has no driver there
    std::string_view number = text.substr(at, kRecordNumberWidth);
    for (char c : number) {
        if (c < '0' || c > '9')
            return kNoRecord;
    }
    return std::string(number);
}

std::string UpdateDatabase::FindDeviceSlot(std::string_view key, std::string_view code) const {
    int slot = OsSlot(code);
    std::size_t exact, wildcard;
    FindLines(key, &exact, &wildcard);
    std::string number = SlotOf(exact, key.size(), slot);
    if (number != kNoRecord)
        return number;
    // The wildcard line's slots are read at the key's own length, as the scan has always done.
    return SlotOf(wildcard, key.size(), slot);
}

std::string_view UpdateDatabase::FindRecord(std::string_view number) const {
    if (number.size() != kRecordNumberWidth)
        return {};
    auto it = records.find(number);
    if (it == records.end())
        return {};
    std::string_view line = lines[it->second];
    return line.size() > kRecordNumberWidth + 2 ? line.substr(kRecordNumberWidth + 2) : std::string_view();
}

} // namespace vantrel
