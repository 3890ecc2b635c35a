// Zip record layouts and the byte-level helpers the reader and the writer share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vantrel::zipfmt {

inline constexpr std::uint32_t kLocalHeaderSig = 0x04034b50;
inline constexpr std::uint32_t kCentralHeaderSig = 0x02014b50;
inline constexpr std::uint32_t kEndSig = 0x06054b50;
inline constexpr std::uint32_t kZip64EndSig = 0x06064b50;
inline constexpr std::uint32_t kZip64LocatorSig = 0x07064b50;
inline constexpr std::uint32_t kDataDescriptorSig = 0x08074b50;

inline constexpr std::size_t kLocalHeaderSize = 30;
inline constexpr std::size_t kCentralHeaderSize = 46;
inline constexpr std::size_t kEndSize = 22;
inline constexpr std::size_t kZip64EndSize = 56;
inline constexpr std::size_t kZip64LocatorSize = 20;

inline constexpr std::uint16_t kZip64ExtraId = 0x0001;

inline constexpr std::uint16_t kFlagEncrypted = 0x0001;
inline constexpr std::uint16_t kFlagDataDescriptor = 0x0008;
inline constexpr std::uint16_t kFlagStrongEncryption = 0x0040;

inline constexpr std::uint16_t kMethodStored = 0;
inline constexpr std::uint16_t kMethodDeflated = 8;

inline constexpr std::uint16_t kVersionDefault = 20; // deflate, folders, traditional encryption
inline constexpr std::uint16_t kVersionZip64 = 45;

inline constexpr std::uint8_t kHostDos = 0;
inline constexpr std::uint8_t kHostUnix = 3;

inline constexpr std::uint32_t kMax16 = 0xFFFF;
inline constexpr std::uint32_t kMax32 = 0xFFFFFFFF;

inline constexpr std::size_t kEncryptionHeaderSize = 12;

inline void Put16(std::string& out, std::uint32_t v) {
    out.push_back(static_cast<char>(v & 0xFF));
    out.push_back(static_cast<char>((v >> 8) & 0xFF));
}
inline void Put32(std::string& out, std::uint32_t v) {
    Put16(out, v & 0xFFFF);
    Put16(out, v >> 16);
}
inline void Put64(std::string& out, std::uint64_t v) {
    Put32(out, static_cast<std::uint32_t>(v));
    Put32(out, static_cast<std::uint32_t>(v >> 32));
}
inline std::uint16_t Get16(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t Get32(const unsigned char* p) {
    return static_cast<std::uint32_t>(Get16(p)) | (static_cast<std::uint32_t>(Get16(p + 2)) << 16);
}
inline std::uint64_t Get64(const unsigned char* p) {
    return static_cast<std::uint64_t>(Get32(p)) | (static_cast<std::uint64_t>(Get32(p + 4)) << 32);
}
inline std::uint16_t Get16(const char* p) {
    return Get16(reinterpret_cast<const unsigned char*>(p));
}
inline std::uint32_t Get32(const char* p) {
    return Get32(reinterpret_cast<const unsigned char*>(p));
}
inline std::uint64_t Get64(const char* p) {
    return Get64(reinterpret_cast<const unsigned char*>(p));
}

// MS-DOS date and time in local time, date in the high half. Times before 1980 clamp to 1980.
std::uint32_t DosTimeFromUnix(std::int64_t unixSeconds);
std::int64_t UnixFromDosTime(std::uint32_t dosTime);

// zlib's CRC-32 over any length (zlib takes at most a uInt at a time).
std::uint32_t Crc32(std::uint32_t crc, const void* data, std::size_t size);

} // namespace vantrel::zipfmt
