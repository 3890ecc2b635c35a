#include "platform/win32/Win32Ports.h"

#include <vector>

#include "platform/win32/WindowsApi.h"

namespace vantrel {

namespace {

// The roots travel as their 32-bit values; a 64-bit Windows sign-extends HKEY_CURRENT_USER
// and its siblings, so they are widened here and narrowed again on the way back.
HKEY ToHkey(RegHandle handle) {
#ifdef _WIN64
    if (handle >= 0x80000000u && handle <= 0xFFFFFFFFu)
        return reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<std::int32_t>(handle)));
#endif
    return reinterpret_cast<HKEY>(handle);
}

RegHandle FromHkey(HKEY key) {
    auto value = reinterpret_cast<std::uintptr_t>(key);
#ifdef _WIN64
    if (value >= 0xFFFFFFFF80000000u)
        return value & 0xFFFFFFFFu;
#endif
    return value;
}

bool IsStringType(std::uint32_t type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

} // namespace

// Reads need no more than KEY_READ, so the driver keys under HKEY_LOCAL_MACHINE open for
// a user without administrator rights. A key the program writes to is always opened
// with CreateKey, which asks for every right.
long Win32Registry::OpenKey(RegHandle parent, std::string_view subKey, RegHandle* out) {
    HKEY key = nullptr;
    LONG rc = RegOpenKeyExA(ToHkey(parent), std::string(subKey).c_str(), 0, KEY_READ, &key);
    *out = rc == ERROR_SUCCESS ? FromHkey(key) : 0;
    return rc;
}

long Win32Registry::CreateKey(RegHandle parent, std::string_view subKey, RegHandle* out) {
    HKEY key = nullptr;
    char keyClass[] = "REG_SZ";
    LONG rc = RegCreateKeyExA(ToHkey(parent), std::string(subKey).c_str(), 0, keyClass, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr);
    *out = rc == ERROR_SUCCESS ? FromHkey(key) : 0;
    return rc;
}

long Win32Registry::CloseKey(RegHandle key) {
    return RegCloseKey(ToHkey(key));
}

long Win32Registry::QueryInfoKey(RegHandle key, RegKeyInfo* info) {
    DWORD subKeys = 0, maxSubKeyLen = 0, values = 0, maxValueNameLen = 0, maxValueLen = 0;
    LONG rc = RegQueryInfoKeyA(ToHkey(key), nullptr, nullptr, nullptr, &subKeys, &maxSubKeyLen, nullptr,
                               &values, &maxValueNameLen, &maxValueLen, nullptr, nullptr);
    if (rc == ERROR_SUCCESS)
        *info = {subKeys, maxSubKeyLen, values, maxValueNameLen, maxValueLen};
    return rc;
}

long Win32Registry::EnumKey(RegHandle key, std::uint32_t index, std::uint32_t bufferChars,
                            std::string* name) {
    std::vector<char> buffer(std::size_t{bufferChars} + 1);
    DWORD length = bufferChars;
    LONG rc = RegEnumKeyExA(ToHkey(key), index, buffer.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (rc == ERROR_SUCCESS)
        name->assign(buffer.data(), length);
    else
        name->clear();
    return rc;
}

long Win32Registry::EnumValue(RegHandle key, std::uint32_t index, std::string* name, std::uint32_t* type) {
    // Value names reach 16,383 characters, twice that in bytes on a double-byte code page.
    for (DWORD capacity = 260;; capacity *= 2) {
        std::vector<char> buffer(capacity);
        DWORD length = capacity;
        DWORD valueType = 0;
        LONG rc =
            RegEnumValueA(ToHkey(key), index, buffer.data(), &length, nullptr, &valueType, nullptr, nullptr);
        if (rc == ERROR_MORE_DATA && capacity < 65536)
            continue;
        if (rc == ERROR_SUCCESS) {
            name->assign(buffer.data(), length);
            if (type)
                *type = valueType;
        } else {
            name->clear();
        }
        return rc;
    }
}

long Win32Registry::QueryValue(RegHandle key, std::string_view name, std::uint32_t bufferBytes,
                               std::uint32_t* type, std::string* data) {
    // Never a null buffer: with one, Windows reports the size and success instead of a
    // failed read.
    std::vector<char> buffer(std::size_t{bufferBytes} + 1);
    DWORD size = bufferBytes;
    DWORD valueType = 0;
    LONG rc = RegQueryValueExA(ToHkey(key), std::string(name).c_str(), nullptr, &valueType,
                               reinterpret_cast<BYTE*>(buffer.data()), &size);
    if (type)
        *type = rc == ERROR_SUCCESS || rc == ERROR_MORE_DATA ? valueType : 0;
    if (rc == ERROR_SUCCESS)
        data->assign(buffer.data(), size);
    else
        data->clear();
    return rc;
}

long Win32Registry::SetValue(RegHandle key, std::string_view name, std::uint32_t type,
                             std::string_view data) {
    // Windows also stores a NUL that merely follows a string's counted bytes; a guard
    // byte after the copy keeps what is stored exactly the bytes given.
    std::string bytes(data);
    if (IsStringType(type))
        bytes.push_back('\x01');
    return RegSetValueExA(ToHkey(key), std::string(name).c_str(), 0, type,
                          reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(data.size()));
}

long Win32Registry::DeleteValue(RegHandle key, std::string_view name) {
    return RegDeleteValueA(ToHkey(key), std::string(name).c_str());
}

long Win32Registry::DeleteKey(RegHandle parent, std::string_view subKey) {
    return RegDeleteKeyA(ToHkey(parent), std::string(subKey).c_str());
}

} // namespace vantrel
