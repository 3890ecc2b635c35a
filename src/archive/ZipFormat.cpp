#include "archive/ZipFormat.h"

#include <algorithm>
#include <ctime>

#include <zlib.h>

namespace vantrel::zipfmt {

std::uint32_t DosTimeFromUnix(std::int64_t unixSeconds) {
    std::time_t t = static_cast<std::time_t>(unixSeconds);
    std::tm tm{};
#ifdef _WIN32
    bool ok = localtime_s(&tm, &t) == 0;
#else
    bool ok = localtime_r(&t, &tm) != nullptr;
#endif
    if (!ok || tm.tm_year < 80)
        return (1u << 5 | 1u) << 16; // 1980-01-01 00:00:00
    int year = std::min(tm.tm_year - 80, 127);
    std::uint32_t date = static_cast<std::uint32_t>(year << 9 | (tm.tm_mon + 1) << 5 | tm.tm_mday);
    std::uint32_t time = static_cast<std::uint32_t>(tm.tm_hour << 11 | tm.tm_min << 5 | tm.tm_sec / 2);
    return date << 16 | time;
}

std::int64_t UnixFromDosTime(std::uint32_t dosTime) {
    std::tm tm{};
    std::uint32_t date = dosTime >> 16;
    tm.tm_year = static_cast<int>((date >> 9) & 0x7F) + 80;
    tm.tm_mon = static_cast<int>((date >> 5) & 0x0F) - 1;
    tm.tm_mday = static_cast<int>(date & 0x1F);
    tm.tm_hour = static_cast<int>((dosTime >> 11) & 0x1F);
    tm.tm_min = static_cast<int>((dosTime >> 5) & 0x3F);
    tm.tm_sec = static_cast<int>((dosTime & 0x1F) * 2);
    tm.tm_isdst = -1;
    std::time_t t = std::mktime(&tm);
    return t == static_cast<std::time_t>(-1) ? 0 : static_cast<std::int64_t>(t);
}

std::uint32_t Crc32(std::uint32_t crc, const void* data, std::size_t size) {
    auto p = static_cast<const Bytef*>(data);
    while (size > 0) {
        uInt n = static_cast<uInt>(std::min<std::size_t>(size, 1u << 30));
        crc = static_cast<std::uint32_t>(crc32(crc, p, n));
        p += n;
        size -= n;
    }
    return crc;
}

} // namespace vantrel::zipfmt
