// The short lookup keys of the update database, its 19 system slots and the systems the
// Update tab offers.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/System.h"

namespace vantrel {

inline constexpr int kOsSlotCount = 19;
inline constexpr int kOsSlotWidth = 7;
inline constexpr int kRecordNumberWidth = 6;
inline constexpr char kNoRecord[] = "000000";
inline constexpr char kWildcardSubsystem[] = "********";

// The system codes in slot order: slot n is kOsCodes[n - 1].
extern const char* const kOsCodes[kOsSlotCount];

// The 1-based slot of a system code; 0 for a code that names no slot.
int OsSlot(std::string_view code);

// The key of a hardware identifier (any case); "" for an identifier of no known kind.
std::string MakeLookupKey(std::string_view hardwareId);

// One choice of the Update tab's system list and the slot code it searches.
struct OsChoice {
    const char* display;
    const char* code;
};
// In list order.
const std::vector<OsChoice>& UpdateOsChoices();
// The code of a display name; "" when the name is not offered.
std::string OsCodeOfChoice(std::string_view display);
// The choice for the running system; "" for a version the list does not know.
std::string DefaultOsChoice(const OsVersion& version, bool is64Bit);

} // namespace vantrel
