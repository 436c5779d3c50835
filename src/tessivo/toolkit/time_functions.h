// Epoch arithmetic and C-library time helpers over integer times.
//
//   std::int64_t unix = tessivo::timewindowstounix(ticks);        // 100 ns ticks since 1601 -> seconds since 1970
//   std::uint64_t ft = tessivo::timeunixtowindows(unix);
//   std::string s = tessivo::string_from_time(unix, "%Y-%m-%d");  // local time
//
// Seconds since 1970 are signed; tick counts are unsigned. Division truncates
// toward zero, and functions differ on purpose in whether they subtract the
// epoch before or after dividing, which changes results before 1970.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "tessivo/foundation/file_time.h"

namespace tessivo {

inline constexpr std::uint64_t kVMSEpochTicks = 35067168000000000ULL;       // 1858-11-17 to 1970-01-01
inline constexpr std::int64_t kOLEEpochSeconds = 2209161600LL;              // 1899-12-30 to 1970-01-01
inline constexpr std::int64_t kHFSEpochSeconds = 2082844800LL;              // 1904-01-01 to 1970-01-01
inline constexpr std::int64_t kCFAbsoluteEpochSeconds = 978307200LL;        // 1970-01-01 to 2001-01-01

// Gregorian: divisible by 4, and not by 100 unless by 400.
bool is_leap_year(std::uint32_t year);
// Month 1-12 and day 1 to the month's length.
bool date_is_valid(int day, int month, int year);
// kind is compared with "time", "long" and "lat" over the kind's own length,
// so a prefix gets every matching check ("" gets all three): time 0-23,
// long 0-360, lat magnitude at most 90; the fraction (minutes as hundredths)
// at most 0.59 in every case. A null kind counts as "".
bool time_is_valid(const char* kind, double value);

// seconds * 10^7 + VMS epoch ticks.
std::uint64_t timeunixtovms(std::int64_t seconds);
// seconds * 10^7 + Windows epoch ticks.
std::uint64_t timeunixtowindows(std::int64_t seconds);
// (ticks - Windows epoch ticks) / 10^7, signed: subtract first.
std::int64_t timewindowstounix(std::uint64_t ticks);
// ticks / 10^7 (unsigned) - 11644473600: divide first.
std::int64_t filetime_to_unix(const std::uint64_t* ticks);

// Local time of the ticks formatted with strftime into out, which must hold
// 39 bytes; returns the characters written (0 when they do not fit).
std::size_t filetime_to_string(const std::uint64_t* ticks, const char* format, char* out);
// UTC broken-down time of the ticks; returns tm.
std::tm* filetime_to_tm(const std::uint64_t* ticks, std::tm* tm);
// UTC time of the ticks (or now) formatted into out of the given size; returns out.
char* filetime_to_format(const std::uint64_t* ticks, std::size_t size, char* out, const char* format);
char* now_to_format(std::size_t size, char* out, const char* format);

// Local time formatted (at most 127 bytes); "" for a null format.
std::string string_from_time(std::int64_t seconds, const char* format);
// text parsed with strptime as local time; 0 for a null format, a parse
// failure, or a result below 1 or above 5000000000.
std::int64_t time_from_string(const char* text, const char* format);
// Prints the nine fields of tm to stdout, one per line.
void debug_time(const std::tm* tm);

}  // namespace tessivo
