// Builds the inventory from the registry: the NT device tree joined to the driver class keys,
// or the class tree of Windows 98/Me.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Registry.h"

namespace vantrel {

class Inventory;
struct DriverRecord;

inline constexpr char kEnumKeyPath[] = "System\\CurrentControlSet\\Enum";
inline constexpr char kClassKeyPath[] = "System\\CurrentControlSet\\control\\Class";
inline constexpr char kClassKeyPath9x[] = "System\\CurrentControlSet\\Services\\Class";

// Empties the list and fills it again for the running Windows (98/Me, or 2000 and later; any
// other version leaves it empty), then removes the duplicates.
void RefreshDriverList(Inventory& inventory);

void EnumerateDriversNt(Inventory& inventory);
void EnumerateDrivers9x(Inventory& inventory);
// Every key below keyPath that has an "infpath" value becomes a record of the class named
// className, depth first in index order. Deep trees are walked without deep recursion.
void CollectClassSubtree9x(Inventory& inventory, const std::string& keyPath, std::string_view className);

// A text value read into a buffer of bufferChars: a longer value is cut to the buffer instead
// of being lost, and a value that is not text counts as missing. Cut at the first NUL.
bool ReadRegText(Registry& registry, RegHandle key, std::string_view name, std::uint32_t bufferChars,
                 std::string* text);

// For a Non-Microsoft record: a blank date or version is taken from the INF's DriverVer, and
// what is still blank becomes "null".
void CompleteDateAndVersion(Inventory& inventory, DriverRecord& record);

} // namespace vantrel
