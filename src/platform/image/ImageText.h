// Text helpers of the machine-image ports: UTF-16LE <-> UTF-8 and host paths from the UTF-8
// names the image uses.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vantrel {

// UTF-16LE bytes to UTF-8. An odd last byte is dropped. Lone surrogates U+DC80..U+DCFF stand for
// the raw bytes 0x80..0xFF that Utf8ToUtf16Le could not decode, so any byte string survives a
// round trip through both functions.
std::string Utf16LeToUtf8(std::string_view bytes);
std::string Utf8ToUtf16Le(std::string_view text);
bool IsValidUtf8(std::string_view text);

// The bytes of a text file as UTF-8: a UTF-16LE file (with BOM, or recognisably without)
// is converted, a UTF-8 BOM is skipped, anything else is returned as it is.
std::string DecodeTextFile(std::string_view bytes);

// Host paths from and to the UTF-8 names of the image, on Linux and on Windows alike.
std::filesystem::path HostPath(std::string_view utf8);
std::string HostPathString(const std::filesystem::path& path);

} // namespace vantrel
