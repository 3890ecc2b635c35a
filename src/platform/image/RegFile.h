// Registry export text ("Windows Registry Editor Version 5.00" or "REGEDIT4"), as regedit and
// "reg export" write it, read into a list of keys and written back.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Registry.h"

namespace vantrel {

struct RegFileValue {
    std::string name;    // "" for the default value (@)
    bool remove = false; // "name"=-
    std::uint32_t type = kRegSz;
    // The bytes as the ANSI calls return them: quoted strings and the UTF-16LE data of
    // hex(1), hex(2) and hex(7) are converted to UTF-8 (the image's code page); a quoted
    // string gets its terminating NUL, hex data keeps exactly the NULs it has.
    std::string data;
};

struct RegFileKey {
    std::string path;    // with the long root name: "HKEY_LOCAL_MACHINE\SOFTWARE\..."
    bool remove = false; // [-path]: the key and everything below it
    std::vector<RegFileValue> values;
};

// Parses the file's bytes (UTF-16LE with BOM, or UTF-8 with or without BOM). Keys are kept in
// file order, a key named twice gives two entries. A malformed line fails with
// *error = "<fileName>:<line>: <what>".
bool ParseRegFile(std::string_view bytes, std::string_view fileName, std::vector<RegFileKey>* keys,
                  std::string* error);
bool ReadRegFile(const std::string& hostFile, std::vector<RegFileKey>* keys, std::string* error);

// Version 5.00 text in UTF-8 with CRLF line ends, keys in the given order; ParseRegFile gives
// back the same keys and values byte for byte (a string without its NUL is written as hex(1)).
std::string FormatRegFile(const std::vector<RegFileKey>& keys);
bool WriteRegFile(const std::string& hostFile, const std::vector<RegFileKey>& keys, std::string* error);

// "HKEY_LOCAL_MACHINE\SOFTWARE" (or "HKLM\SOFTWARE") -> the root handle and "SOFTWARE".
bool SplitRegRoot(std::string_view path, RegHandle* root, std::string* rest);
// The long name of a predefined root ("HKEY_CURRENT_USER"); "" for any other handle.
std::string RegRootName(RegHandle root);

} // namespace vantrel
