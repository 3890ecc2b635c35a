#include "inventory/DriverRecord.h"

#include <unordered_map>

#include "util/Text.h"

namespace vantrel {

namespace {

// Where to cut value so that at most `width` bytes stay: when the cut would split a UTF-8
// sequence (images and UTF-8 code pages), the whole character goes.
std::size_t CutPoint(std::string_view value, std::size_t width) {
    if (value.size() <= width)
        return value.size();
    auto byte = [&](std::size_t i) { return static_cast<unsigned char>(value[i]); };
    std::size_t lead = width;
    while (lead > 0 && width - lead < 3 && (byte(lead) & 0xC0) == 0x80)
        --lead;
    if (lead == width || byte(lead) < 0xC0)
        return width;
    std::size_t length = byte(lead) >= 0xF0 ? 4 : byte(lead) >= 0xE0 ? 3 : 2;
    return lead + length > width ? lead : width;
}

} // namespace

void FixedText::Set(std::string_view value) {
    std::size_t width = text.size();
    std::size_t keep = CutPoint(value, width);
    text.assign(value.substr(0, keep));
    text.append(width - keep, ' ');
}

std::string FixedText::Trimmed() const {
    return Trim(text);
}

std::string_view FixedText::TrimmedView() const {
    return TrimView(text);
}

DriverRecord* DriverList::Append() {
    if (count >= kMaxCount)
        return nullptr;
    ++count;
    // Slots past the count may hold stale records from duplicate removal; a new record
    // starts blank whatever the slot held.
    if (slots.size() < static_cast<std::size_t>(count) + 1)
        slots.resize(static_cast<std::size_t>(count) + 1);
    slots[static_cast<std::size_t>(count)] = DriverRecord();
    return &slots[static_cast<std::size_t>(count)];
}

int DriverList::FindByDescription(std::string_view description) const {
    for (int i = 1; i <= count; ++i) {
        if (slots[static_cast<std::size_t>(i)].driverDesc.Trimmed() == description)
            return i;
    }
    return 0;
}

bool IsMicrosoftProvider(std::string_view providerName) {
    std::string p = Trim(providerName);
    if (!p.empty() && p.front() == '(')
        return true;
    std::string lower = LowerAscii(p);
    return lower == "microsoft" || lower == "microsoft corporation";
}

void RemoveDuplicateDrivers(DriverList& list) {
    auto& slots = list.Slots();
    auto slot = [&](int i) -> DriverRecord& { return slots[static_cast<std::size_t>(i)]; };
    FixedText blank(kDriverDescWidth);
    FixedText ljj(kDriverDescWidth);
    ljj.Set("ljj");
    // How many live records carry each description: a record whose description no other
    // live record has (and that no vacated slot can carry) has nothing to compare.
    std::unordered_map<std::string, int> live;
    for (int i = 1; i <= list.Count(); ++i)
        ++live[slot(i).driverDesc.Raw()];

    // The bounds may reach past the live count into vacated slots, which keep a blanked
    // description; Append keeps the slot array at least that long.
    const int outerEnd = list.Count() - 1;
    for (int i = 1; i <= outerEnd; ++i) {
        const int innerEnd = list.Count();
        const FixedText& mine = slot(i).driverDesc;
        if (i <= innerEnd && live[mine.Raw()] <= 1 && !(mine == blank) && !(mine == ljj))
            continue;
        for (int j = i + 1; j <= innerEnd; ++j) {
            if (!(slot(j).driverDesc == slot(i).driverDesc))
                continue;
            const int count = list.Count();
            if (count >= 1)
                --live[slot(j <= count ? j : count).driverDesc.Raw()];
            // The vacated last slot would still hold the last record's description.
            std::string lastDesc = slot(count).driverDesc.Raw();
            for (int k = j + 1; k <= count; ++k)
                slot(k - 1) = std::move(slot(k));
            slot(count) = DriverRecord();
            if (Trim(lastDesc).empty())
                slot(count).driverDesc.Set("ljj");
            list.SetCount(count - 1);
        }
    }
}

} // namespace vantrel
