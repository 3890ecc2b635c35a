#include "platform/image/ImagePorts.h"

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/image/ImageText.h"
#include "util/Text.h"

namespace vantrel {

namespace {

const char* const kDayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};
const char* const kMonthNames[] = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};

std::string TwoDigits(int n) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%02d", n);
    return buffer;
}

std::string ParentFolder(std::string_view path) {
    auto slash = path.find_last_of('\\');
    return std::string(slash == std::string_view::npos ? path : path.substr(0, slash));
}

} // namespace

int DayOfWeek(int year, int month, int day) {
    // Sakamoto's method.
    static const int offsets[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
    if (month < 3)
        year -= 1;
    return (year + year / 4 - year / 100 + year / 400 + offsets[(month - 1) % 12] + day) % 7;
}

bool ParseLocalTime(std::string_view text, LocalTime* time) {
    LocalTime t;
    std::string s(text);
    int used = 0;
    if (std::sscanf(s.c_str(), "%4d-%2d-%2d%n", &t.year, &t.month, &t.day, &used) != 3)
        return false;
    std::string_view rest = std::string_view(s).substr(static_cast<std::size_t>(used));
    t.hour = t.minute = t.second = 0;
    if (rest.find_first_not_of(' ') != std::string_view::npos) {
        std::string tail(rest);
        used = 0;
        if (std::sscanf(tail.c_str(), " %2d:%2d:%2d%n", &t.hour, &t.minute, &t.second, &used) != 3 ||
            tail.find_first_not_of(' ', static_cast<std::size_t>(used)) != std::string::npos)
            return false;
    }
    static const int monthDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (t.year < 1601 || t.month < 1 || t.month > 12 || t.day < 1 || t.day > monthDays[t.month - 1] ||
        t.hour < 0 || t.hour > 23 || t.minute < 0 || t.minute > 59 || t.second < 0 || t.second > 59)
        return false;
    t.dayOfWeek = DayOfWeek(t.year, t.month, t.day);
    *time = t;
    return true;
}

std::string ImageSystem::GetTempPath() {
    std::string path = facts.temp;
    if (path.empty() || path.back() != '\\')
        path += '\\';
    return path;
}

std::string ImageSystem::GetSpecialFolder(int csidl) {
    const std::string& appdata = facts.appdata;
    if (csidl == kCsidlAppData)
        return appdata;
    // C:\Users\Name\AppData\Roaming, or C:\Documents and Settings\Name\Application Data.
    std::string profile = EndsWithNoCase(appdata, "\\AppData\\Roaming") ? ParentFolder(ParentFolder(appdata))
                                                                        : ParentFolder(appdata);
    switch (csidl) {
    case kCsidlDesktop:
        return profile + "\\Desktop";
    case kCsidlPersonal:
        return profile + (facts.version.major >= 6 ? "\\Documents" : "\\My Documents");
    case kCsidlFavorites:
        return profile + "\\Favorites";
    default:
        return {};
    }
}

std::string ImageSystem::FormatDate(int year, int month, int day, const std::string& picture) {
    std::string out;
    int dow = DayOfWeek(year, month, day);
    std::size_t i = 0;
    while (i < picture.size()) {
        char c = picture[i];
        if (c == '\'') {
            // Quoted literal; '' stands for one quote.
            ++i;
            if (i < picture.size() && picture[i] == '\'') {
                out.push_back('\'');
                ++i;
                continue;
            }
            while (i < picture.size()) {
                if (picture[i] == '\'') {
                    if (i + 1 < picture.size() && picture[i + 1] == '\'') {
                        out.push_back('\'');
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                out.push_back(picture[i++]);
            }
            continue;
        }
        std::size_t run = 1;
        while (i + run < picture.size() && picture[i + run] == c)
            ++run;
        if (c == 'd') {
            if (run == 1)
                out += std::to_string(day);
            else if (run == 2)
                out += TwoDigits(day);
            else if (run == 3)
                out += std::string(kDayNames[dow]).substr(0, 3);
            else
                out += kDayNames[dow];
        } else if (c == 'M') {
            const char* name = kMonthNames[(month - 1 + 12) % 12];
            if (run == 1)
                out += std::to_string(month);
            else if (run == 2)
                out += TwoDigits(month);
            else if (run == 3)
                out += std::string(name).substr(0, 3);
            else
                out += name;
        } else if (c == 'y') {
            if (run == 1)
                out += std::to_string(year % 100);
            else if (run == 2)
                out += TwoDigits(year % 100);
            else
                out += std::to_string(year);
        } else if (c == 'g') {
            out += "A.D."; // the era, Gregorian calendar
        } else {
            out.append(run, c);
        }
        i += run;
    }
    return out;
}

bool ImageProcesses::RunAndWait(const std::string& commandLine) {
    calls.push_back(Call{commandLine, true});
    return handler ? handler(commandLine, true) : true;
}

ProcessResult ImageProcesses::RunAndWaitFor(const std::string& commandLine, std::uint32_t timeoutMs) {
    timeouts.push_back(timeoutMs);
    if (!RunAndWait(commandLine))
        return {};
    return exitHandler ? exitHandler(commandLine) : ProcessResult{true, false, 0};
}

bool ImageProcesses::Start(const std::string& commandLine) {
    calls.push_back(Call{commandLine, false});
    return handler ? handler(commandLine, false) : true;
}

bool ImageProcesses::ExitWindows(unsigned flags, unsigned) {
    exitFlags.push_back(flags);
    return exitWindowsResult;
}

bool ImageShell::Execute(const std::string& verb, const std::string& file, const std::string& parameters,
                         const std::string& folder) {
    calls.push_back(Call{verb, file, parameters, folder});
    return result;
}

bool ImageResources::LoadCustom(int id, std::string* bytes) {
    auto it = items.find(id);
    if (it == items.end())
        return false;
    *bytes = it->second;
    return true;
}

bool ImageResources::LoadFolder(const std::string& hostFolder) {
    namespace fs = std::filesystem;
    std::error_code ec;
    for (fs::directory_iterator dir(HostPath(hostFolder), ec), end; !ec && dir != end; dir.increment(ec)) {
        std::string name = HostPathString(dir->path().filename());
        if (name.size() <= 4 || !EqualsNoCase(name.substr(name.size() - 4), ".bin"))
            continue;
        std::string stem = name.substr(0, name.size() - 4);
        if (stem.empty() || stem.find_first_not_of("0123456789") != std::string::npos || stem.size() > 6)
            continue;
        std::ifstream in(dir->path(), std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (in.bad())
            return false;
        items[std::stoi(stem)] = std::move(bytes);
    }
    return !ec;
}

LocalTime ImageClock::Now() {
    if (fixed)
        return *fixed;
    std::time_t now = std::time(nullptr);
    std::tm tm{};
#ifdef _WIN32
    localtime_s(&tm, &now);
#else
    localtime_r(&now, &tm);
#endif
    LocalTime t;
    t.year = tm.tm_year + 1900;
    t.month = tm.tm_mon + 1;
    t.day = tm.tm_mday;
    t.hour = tm.tm_hour;
    t.minute = tm.tm_min;
    t.second = tm.tm_sec;
    t.dayOfWeek = tm.tm_wday;
    return t;
}

std::uint64_t ImageClock::TickMs() {
    using namespace std::chrono;
    return sleptMs + static_cast<std::uint64_t>(
                         duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace vantrel
