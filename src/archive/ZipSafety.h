// What an archive is allowed to write. Every rule that keeps an extraction inside its target
// folder, and away from devices and links, lives here so it can be read in one place.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

// Turns a stored entry name into a path relative to the target folder, with "\" between
// components. "/" and "\" both separate, whatever the platform. Refuses, with *why set:
// empty names, roots, UNC and drive prefixes, "..", ":" (drives and alternate data streams),
// device names (CON, NUL.txt, COM1...), characters Windows cannot store and components that
// Windows would silently rename (trailing dot or space).
// CON, NUL, COM1 and the rest: names Windows opens as devices, whatever their extension.
bool IsDeviceName(std::string_view component);

bool SanitizeEntryPath(std::string_view name, std::string* relativePath, std::string* why);

// A symbolic link or other reparse point, told by the external attributes: a Unix mode of type
// link in the high half, or the Windows reparse-point attribute in the low half.
bool IsLinkEntry(std::uint32_t externalAttributes);

// Declared sizes that only a decompression bomb has: more than a thousand to one on more than
// 32 MiB. Applied to each entry and to the archive as a whole.
bool IsAbsurdRatio(std::uint64_t size, std::uint64_t compressedSize);

} // namespace vantrel
