#include "tessivo/toolkit/time_functions.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace tessivo {
namespace {

constexpr int kDaysInMonth[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr std::size_t kFiletimeStringBytes = 39;
constexpr std::size_t kTimeStringBytes = 128;
constexpr std::int64_t kLatestParsedTime = 5000000000LL;
// The fraction carries minutes as hundredths: 59 at most.
constexpr double kMaxMinuteFraction = 0.59;

bool kindMatches(const char* kind, const char* name) { return std::strncmp(kind, name, std::strlen(kind)) == 0; }

std::tm localTime(std::int64_t seconds) {
    std::tm tm{};
    const auto t = static_cast<std::time_t>(seconds);
    localtime_r(&t, &tm);
    return tm;
}

}  // namespace

bool is_leap_year(std::uint32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

bool date_is_valid(int day, int month, int year) {
    if (month < 1 || month > 12 || day < 1) return false;
    int length = kDaysInMonth[month - 1];
    if (month == 2 && year >= 0 && is_leap_year(static_cast<std::uint32_t>(year))) length = 29;
    return day <= length;
}

bool time_is_valid(const char* kind, double value) {
    if (!kind) kind = "";
    double whole = 0;
    const double fraction = std::modf(value, &whole);
    if (kindMatches(kind, "time") && (whole < 0 || whole > 23)) return false;
    if (kindMatches(kind, "long") && (whole < 0 || whole > 360)) return false;
    if (kindMatches(kind, "lat") && std::fabs(whole) > 90) return false;
    return fraction <= kMaxMinuteFraction;
}

std::uint64_t timeunixtovms(std::int64_t seconds) {
    return static_cast<std::uint64_t>(seconds) * kTicksPerSecond + kVMSEpochTicks;
}

std::uint64_t timeunixtowindows(std::int64_t seconds) {
    return static_cast<std::uint64_t>(seconds) * kTicksPerSecond + kWindowsEpochTicks;
}

std::int64_t timewindowstounix(std::uint64_t ticks) {
    return static_cast<std::int64_t>(ticks - kWindowsEpochTicks) / static_cast<std::int64_t>(kTicksPerSecond);
}

std::int64_t filetime_to_unix(const std::uint64_t* ticks) {
    return static_cast<std::int64_t>(*ticks / kTicksPerSecond) - kWindowsEpochSeconds;
}

std::size_t filetime_to_string(const std::uint64_t* ticks, const char* format, char* out) {
    const std::tm tm = localTime(filetime_to_unix(ticks));
    return std::strftime(out, kFiletimeStringBytes, format, &tm);
}

std::tm* filetime_to_tm(const std::uint64_t* ticks, std::tm* tm) {
    const auto t = static_cast<std::time_t>(filetime_to_unix(ticks));
    gmtime_r(&t, tm);
    return tm;
}

char* filetime_to_format(const std::uint64_t* ticks, std::size_t size, char* out, const char* format) {
    std::tm tm{};
    filetime_to_tm(ticks, &tm);
    if (std::strftime(out, size, format, &tm) == 0 && size > 0) out[0] = '\0';
    return out;
}

char* now_to_format(std::size_t size, char* out, const char* format) {
    const std::time_t now = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&now, &tm);
    if (std::strftime(out, size, format, &tm) == 0 && size > 0) out[0] = '\0';
    return out;
}

std::string string_from_time(std::int64_t seconds, const char* format) {
    if (!format) return {};
    char buffer[kTimeStringBytes] = {};
    const std::tm tm = localTime(seconds);
    const std::size_t n = std::strftime(buffer, sizeof buffer, format, &tm);
    return std::string(buffer, n);
}

std::int64_t time_from_string(const char* text, const char* format) {
    if (!format || !text) return 0;
    std::tm tm{};
    strptime(text, format, &tm);
    const std::int64_t t = std::mktime(&tm);
    if (t < 1 || t > kLatestParsedTime) return 0;
    return t;
}

void debug_time(const std::tm* tm) {
    std::printf("%d   seconds after the minute (0-61)\n", tm->tm_sec);
    std::printf("%d   minutes after the hour (0-59)\n", tm->tm_min);
    std::printf("%d   hours since midnight (0-23)\n", tm->tm_hour);
    std::printf("%d   day of the month (1-31)\n", tm->tm_mday);
    std::printf("%d   months since january (0-11)\n", tm->tm_mon);
    std::printf("%d   years since 1900\n", tm->tm_year);
    std::printf("%d   days since sunday (0-6)\n", tm->tm_wday);
    std::printf("%d   days since Jan 1 (0-365)\n", tm->tm_yday);
    std::printf("%d   DST Flag (0 / 1)\n", tm->tm_isdst);
}

}  // namespace tessivo
