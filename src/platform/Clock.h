// Clock port: the local date and time.
#pragma once

#include <cstdint>

namespace vantrel {

struct LocalTime {
    int year = 2000;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int dayOfWeek = 6; // 0 Sunday
};

class Clock {
public:
    virtual ~Clock() = default;
    virtual LocalTime Now() = 0;
    virtual std::uint64_t TickMs() = 0; // monotonic milliseconds
    virtual void Sleep(std::uint32_t ms) = 0;
};

} // namespace vantrel
