#include "tessivo/toolkit/time_wangers.h"

#include <cmath>
#include <limits>

#include <unicode/uchar.h>

#include "tessivo/foundation/date_format.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/foundation/text.h"
#include "tessivo/toolkit/date_patterns.h"
#include "tessivo/toolkit/date_strings.h"
#include "tessivo/toolkit/time_functions.h"

namespace tessivo {
namespace {

constexpr double kSecondsPerDay = 86400.0;
// The fraction carries minutes as hundredths; single precision needs the slack.
constexpr float kMaxMinuteFraction = 0.59999f;

// The integer part of a double, saturated to the signed 64-bit range (0 for NaN).
std::int64_t truncateToInt64(double v) {
    if (std::isnan(v)) return 0;
    if (v <= static_cast<double>(std::numeric_limits<std::int64_t>::min()))
        return std::numeric_limits<std::int64_t>::min();
    if (v >= static_cast<double>(std::numeric_limits<std::int64_t>::max()))
        return std::numeric_limits<std::int64_t>::max();
    return static_cast<std::int64_t>(v);
}

// The value of two decimal digits (any script's, as \d matches them).
long twoDigits(const icu::UnicodeString& digits) {
    return u_charDigitValue(digits.char32At(0)) * 10 + u_charDigitValue(digits.char32At(digits.moveIndex32(0, 1)));
}

}  // namespace

bool TimeWangers::isLeapYear(std::uint32_t year) { return is_leap_year(year); }

bool TimeWangers::dateIsValidWithDay(int day, int month, int year) { return date_is_valid(day, month, year); }

bool TimeWangers::timeIsValid(float value, int flag) {
    float whole = 0;
    const float fraction = std::modf(value, &whole);
    if (flag == 0 && (whole < 0 || whole > 23)) return false;
    if (flag == 1 && (whole < 0 || whole > 360)) return false;
    if (flag == 2 && std::fabs(whole) > 90) return false;
    return fraction <= kMaxMinuteFraction;
}

std::uint64_t TimeWangers::getVMSTimeFromUnixTime(std::int64_t seconds) { return timeunixtovms(seconds); }

std::int64_t TimeWangers::getUnixTimeFromVMSTime(std::uint64_t ticks) {
    return static_cast<std::int64_t>((ticks - kVMSEpochTicks) / kTicksPerSecond);
}

std::int64_t TimeWangers::getUnixTimeFromWindowsTime(std::uint64_t ticks) {
    return unixTimeFromFileTime(ticks);
}

std::uint64_t TimeWangers::getWindowsTimeFromUnixTime(std::int64_t seconds) { return timeunixtowindows(seconds); }

std::optional<Date> TimeWangers::dateFromOLEDate(double days) {
    if (!std::isfinite(days)) return std::nullopt;
    return Date{std::fma(days, kSecondsPerDay, -static_cast<double>(kOLEEpochSeconds))};
}

double TimeWangers::oleDateFromDate(std::optional<Date> date) {
    if (!date) return 0.0;
    return (date->secondsSince1970 + static_cast<double>(kOLEEpochSeconds)) / kSecondsPerDay;
}

std::optional<Date> TimeWangers::dateFromHFSDate(std::uint32_t seconds) {
    return Date{static_cast<double>(static_cast<std::int64_t>(seconds) - kHFSEpochSeconds)};
}

std::uint32_t TimeWangers::hfsDateFromDate(std::optional<Date> date) {
    if (!date) return 0;
    return static_cast<std::uint32_t>(truncateToInt64(date->secondsSince1970 + static_cast<double>(kHFSEpochSeconds)));
}

std::optional<Date> TimeWangers::dateFromCFAbsoluteTime(double seconds) {
    return Date{seconds + static_cast<double>(kCFAbsoluteEpochSeconds)};
}

std::optional<Date> TimeWangers::dateFromMAPITime(std::uint64_t ticks) {
    if (ticks == 0) return std::nullopt;
    return Date{static_cast<double>(static_cast<std::int64_t>(ticks / kTicksPerSecond) - kWindowsEpochSeconds)};
}

std::uint64_t TimeWangers::mapiTimeFromDate(std::optional<Date> date) {
    if (!date) return 0;
    return getWindowsTimeFromUnixTime(truncateToInt64(date->secondsSince1970));
}

std::optional<Date> TimeWangers::dateFromMIMEString(const std::optional<icu::UnicodeString>& text) {
    if (!text || text->isEmpty()) return std::nullopt;
    const icu::UnicodeString cleaned = trim(replaceAll(*text, u"  ", u" "), whitespaceAndNewlineSet());
    if (auto date = parseWithFirstPattern(kMIMEDatePatterns, cleaned)) return date;
    return convertStringToDate(cleaned);
}

icu::UnicodeString TimeWangers::mimeStringFromDate(std::optional<Date> date) {
    if (!date) return {};
    auto formatter = DateFormatter::withPattern(kMIMEDatePatterns[0], "GMT");
    return formatter ? formatter->format(*date) : icu::UnicodeString();
}

long TimeWangers::timezoneOffsetFromDateString(const std::optional<icu::UnicodeString>& text) {
    if (!text || text->isEmpty()) return 0;
    static const std::optional<Regex> numeric = Regex::compile(u"([+-])(\\d{2})(\\d{2})\\s*$");
    if (numeric) {
        if (auto m = numeric->firstMatch(*text)) {
            const long offset = twoDigits(m->group(*text, 2)) * 3600 + twoDigits(m->group(*text, 3)) * 60;
            return m->group(*text, 1) == u"-" ? -offset : offset;
        }
    }
    for (const auto& [abbreviation, offset] : kZoneOffsets)
        if (text->indexOf(abbreviation) >= 0) return offset;
    return 0;
}

}  // namespace tessivo
