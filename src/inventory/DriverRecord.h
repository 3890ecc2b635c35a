// One installed driver as the registry describes it, and the list of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantrel {

// A text of exactly `width` characters: longer values are cut, shorter ones blank-padded.
// Readers trim (Trimmed) before using a field.
class FixedText {
public:
    explicit FixedText(std::size_t width) : text(width, ' ') {}
    void Set(std::string_view value);
    void Clear() { text.assign(text.size(), ' '); }
    const std::string& Raw() const { return text; }
    std::string Trimmed() const;
    std::string_view TrimmedView() const; // valid until the field changes
    std::size_t Width() const { return text.size(); }
    bool operator==(const FixedText& other) const { return text == other.text; }

private:
    std::string text;
};

inline constexpr std::size_t kHardwareIdWidth = 80;
inline constexpr std::size_t kDriverDateWidth = 30;
inline constexpr std::size_t kDriverDescWidth = 80;
inline constexpr std::size_t kInfPathWidth = 80;
inline constexpr std::size_t kInfSectionWidth = 80;
inline constexpr std::size_t kInfSectionExtWidth = 80;
inline constexpr std::size_t kProviderNameWidth = 80;
inline constexpr std::size_t kDriverVersionWidth = 30;
inline constexpr std::size_t kDeviceVxdsWidth = 100;
inline constexpr std::size_t kClassNameWidth = 80;

struct DriverRecord {
    FixedText hardwareId{kHardwareIdWidth};
    FixedText driverDate{kDriverDateWidth};
    FixedText driverDesc{kDriverDescWidth};
    FixedText infPath{kInfPathWidth};
    FixedText infSection{kInfSectionWidth};
    FixedText infSectionExt{kInfSectionExtWidth};
    FixedText providerName{kProviderNameWidth};
    FixedText driverVersion{kDriverVersionWidth};
    FixedText deviceVxds{kDeviceVxdsWidth};
    FixedText className{kClassNameWidth};
};

// The inventory, indexed from 1 like the rest of the program (slot 0 exists, unused). The
// count is a signed 16-bit number, so the list never holds more than 32,767 records.
class DriverList {
public:
    static constexpr int kMaxCount = 32767;

    DriverList() : slots(1) {}

    int Count() const { return count; }
    // Forgets the records; the slots stay (stale slots are never shown).
    void Reset() { count = 0; }
    // Appends a blank record and returns it; nullptr once the list is full.
    DriverRecord* Append();

    // 1-based access to live records.
    DriverRecord& operator[](int index) { return slots.at(static_cast<std::size_t>(index)); }
    const DriverRecord& operator[](int index) const { return slots.at(static_cast<std::size_t>(index)); }
    // The index of the first record whose trimmed description is `description`; 0 when none.
    int FindByDescription(std::string_view description) const;

    // Every slot, stale ones included; duplicate removal works on them in place.
    std::vector<DriverRecord>& Slots() { return slots; }
    void SetCount(int newCount) { count = newCount; }

private:
    std::vector<DriverRecord> slots;
    int count = 0;
};

// Whether a provider ships its drivers with Windows: "microsoft", "microsoft corporation" or
// a name in parentheses such as "(Standard disk drives)". Everything else needs a backup.
bool IsMicrosoftProvider(std::string_view providerName);

// Removes later records whose description equals an earlier one. Works in place with loop
// bounds fixed when each loop starts, so three equal neighbours may leave two.
void RemoveDuplicateDrivers(DriverList& list);

} // namespace vantrel
