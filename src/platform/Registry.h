// Registry port: the ANSI registry calls the program makes, with their Win32 results.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

// Opaque key handle. The predefined roots carry the Win32 values so the Windows
// implementation can pass them straight through.
using RegHandle = std::uintptr_t;
inline constexpr RegHandle kHkeyClassesRoot = 0x80000000u;
inline constexpr RegHandle kHkeyCurrentUser = 0x80000001u;
inline constexpr RegHandle kHkeyLocalMachine = 0x80000002u;
inline constexpr RegHandle kHkeyUsers = 0x80000003u;

// Win32 error codes returned by every call.
inline constexpr long kErrorSuccess = 0;
inline constexpr long kErrorFileNotFound = 2;
inline constexpr long kErrorAccessDenied = 5;
inline constexpr long kErrorInvalidHandle = 6;
inline constexpr long kErrorInvalidParameter = 87;
inline constexpr long kErrorMoreData = 234;
inline constexpr long kErrorNoMoreItems = 259;

// Value types.
inline constexpr std::uint32_t kRegNone = 0;
inline constexpr std::uint32_t kRegSz = 1;
inline constexpr std::uint32_t kRegExpandSz = 2;
inline constexpr std::uint32_t kRegBinary = 3;
inline constexpr std::uint32_t kRegDword = 4;
inline constexpr std::uint32_t kRegMultiSz = 7;
inline constexpr std::uint32_t kRegQword = 11;

struct RegKeyInfo {
    std::uint32_t subKeys = 0;
    std::uint32_t maxSubKeyLen = 0; // characters, without NUL
    std::uint32_t values = 0;
    std::uint32_t maxValueNameLen = 0;
    std::uint32_t maxValueLen = 0; // bytes
};

class Registry {
public:
    virtual ~Registry() = default;

    // RegOpenKeyExA / RegCreateKeyExA relative to a root or an open key. An empty
    // subKey opens a new handle to the parent itself.
    virtual long OpenKey(RegHandle parent, std::string_view subKey, RegHandle* out) = 0;
    virtual long CreateKey(RegHandle parent, std::string_view subKey, RegHandle* out) = 0;
    virtual long CloseKey(RegHandle key) = 0;
    virtual long QueryInfoKey(RegHandle key, RegKeyInfo* info) = 0;

    // RegEnumKeyExA: subkeys by index in case-insensitive alphabetical order. A name
    // that does not fit bufferChars (with its NUL) fails with kErrorMoreData.
    virtual long EnumKey(RegHandle key, std::uint32_t index, std::uint32_t bufferChars,
                         std::string* name) = 0;

    // RegEnumValueA: value names by index in the order they were written.
    virtual long EnumValue(RegHandle key, std::uint32_t index, std::string* name, std::uint32_t* type) = 0;

    // RegQueryValueExA into a buffer of bufferBytes: the stored bytes exactly as they
    // are (a REG_SZ may or may not end in NUL). Data larger than the buffer fails with
    // kErrorMoreData and returns nothing. Names are case-insensitive; "" is the default value.
    virtual long QueryValue(RegHandle key, std::string_view name, std::uint32_t bufferBytes,
                            std::uint32_t* type, std::string* data) = 0;

    // RegSetValueExA with the exact bytes to store.
    virtual long SetValue(RegHandle key, std::string_view name, std::uint32_t type,
                          std::string_view data) = 0;
    virtual long DeleteValue(RegHandle key, std::string_view name) = 0;

    // RegDeleteKeyA: removes a key that has no subkeys.
    virtual long DeleteKey(RegHandle parent, std::string_view subKey) = 0;
};

// Closes its key when it goes out of scope.
class RegKey {
public:
    RegKey(Registry& registry) : registry(registry) {}
    ~RegKey() { Close(); }
    RegKey(const RegKey&) = delete;
    RegKey& operator=(const RegKey&) = delete;

    long Open(RegHandle parent, std::string_view subKey) {
        Close();
        return registry.OpenKey(parent, subKey, &handle);
    }
    long Create(RegHandle parent, std::string_view subKey) {
        Close();
        return registry.CreateKey(parent, subKey, &handle);
    }
    void Close() {
        if (handle != 0) {
            registry.CloseKey(handle);
            handle = 0;
        }
    }
    bool IsOpen() const { return handle != 0; }
    RegHandle Handle() const { return handle; }

private:
    Registry& registry;
    RegHandle handle = 0;
};

// REG_SZ data as a string: cut at the first NUL. Callers trim as they need.
std::string RegStringData(std::string_view data);

// Reads a string value into a buffer of bufferChars; false when the read fails for any reason.
bool RegReadString(Registry& registry, RegHandle key, std::string_view name, std::uint32_t bufferChars,
                   std::string* text);

// Stores text as REG_SZ with its terminating NUL.
long RegWriteString(Registry& registry, RegHandle key, std::string_view name, std::string_view text);

} // namespace vantrel
