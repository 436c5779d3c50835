#include "tessivo/toolkit/date_strings.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <utility>
#include <vector>

#include <unicode/uchar.h>

#include "tessivo/foundation/date_format.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/text.h"
#include "tessivo/toolkit/date_patterns.h"

namespace tessivo {
namespace {

// Formatters convertDateToStringWithFormat keeps per thread.
constexpr std::size_t kCachedFormatters = 8;

// Leading white space, an optional sign and decimal digits; 0 when there are
// none, saturated on overflow (as a string's integer value reads).
int intValue(const icu::UnicodeString& s) {
    int32_t i = whitespaceAndNewlineSet().span(s, 0, USET_SPAN_SIMPLE);
    bool negative = false;
    if (i < s.length() && (s[i] == u'+' || s[i] == u'-')) negative = s[i++] == u'-';
    long long value = 0;
    for (; i < s.length() && s[i] >= u'0' && s[i] <= u'9'; ++i) {
        value = value * 10 + (s[i] - u'0');
        if (value > INT_MAX) return negative ? INT_MIN : INT_MAX;
    }
    return static_cast<int>(negative ? -value : value);
}

struct ClockTime {
    int hour;
    int minute;
};

std::optional<ClockTime> hourAndMinute(const icu::UnicodeString& text) {
    const std::vector<icu::UnicodeString> pieces = split(text, u":");
    if (pieces.size() < 2) return std::nullopt;
    return ClockTime{intValue(pieces[0]), intValue(pieces[1])};
}

icu::UnicodeString printed(const char* format, int a, int b, const char* suffix = "") {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, a, b, suffix);
    return icu::UnicodeString(buffer, -1, US_INV);
}

}  // namespace

std::optional<Date> convertStringToDate(const std::optional<icu::UnicodeString>& text) {
    if (!text) return std::nullopt;
    return parseWithFirstPattern(kFreeDatePatterns, *text);
}

std::optional<icu::UnicodeString> convertDateToStringWithFormat(Date date, const icu::UnicodeString& pattern) {
    // Making a formatter costs far more than formatting with one: each thread
    // keeps the few it made last, by pattern. They use the process time zone,
    // which ICU reads once anyway.
    thread_local std::vector<std::pair<icu::UnicodeString, std::optional<DateFormatter>>> formatters;
    auto cached = std::find_if(formatters.begin(), formatters.end(), [&](const auto& f) { return f.first == pattern; });
    if (cached == formatters.end()) {
        if (formatters.size() == kCachedFormatters) formatters.clear();
        cached = formatters.emplace(formatters.end(), pattern, DateFormatter::withPattern(pattern));
    }
    if (!cached->second) return std::nullopt;
    return cached->second->format(date);
}

std::optional<icu::UnicodeString> create24HourStringFrom12HourString(const icu::UnicodeString& text) {
    const icu::UnicodeString upper = toUpper(text);
    const bool pm = upper.indexOf(u"PM") >= 0;
    const auto time = hourAndMinute(replaceAll(replaceAll(upper, u"PM", u""), u"AM", u""));
    if (!time) return std::nullopt;
    int hour = time->hour == 12 ? (pm ? 12 : 0) : time->hour;
    if (hour < 12 && pm) hour += 12;
    // Minute 60 passes, as it always has.
    if (hour < 0 || hour > 23 || time->minute < 0 || time->minute > 60) return std::nullopt;
    return printed("%02d:%02d", hour, time->minute);
}

std::optional<icu::UnicodeString> create12HourStringFrom24HourString(const icu::UnicodeString& text) {
    const auto time = hourAndMinute(text);
    if (!time) return std::nullopt;
    const int h = time->hour;
    const int hour = h == 0 ? 12 : (h >= 13 ? h - 12 : h);
    if (hour < 1 || hour > 12 || time->minute < 0 || time->minute > 60) return std::nullopt;
    return printed("%d:%02d%s", hour, time->minute, h < 12 ? "AM" : "PM");
}

std::optional<icu::UnicodeString> formatDataAsDate(ByteView data) {
    if (data.empty()) return std::nullopt;
    const auto text = decode(data, encodings::ASCII);
    if (!text) return std::nullopt;
    const std::vector<icu::UnicodeString> fields = split(*text, u";");
    if (fields.size() < 4) return std::nullopt;
    const std::vector<icu::UnicodeString> pieces = split(fields[3], u"-");
    if (pieces.size() < 2) return std::nullopt;
    const icu::UnicodeString& stamp = pieces[pieces.size() - 2];
    if (stamp.length() < 12) return std::nullopt;
    auto part = [&](int32_t at) { return icu::UnicodeString(stamp, at, 2); };
    const icu::UnicodeString assembled = u"20" + part(0) + u"-" + part(2) + u"-" + part(4) + u" " + part(6) + u":" +
                                         part(8) + u":" + part(10) + u" +0000";
    auto parser = DateFormatter::withPattern(u"yyyy-MM-dd HH:mm:ss Z");
    auto styled = DateFormatter::withStyles(DateStyle::Medium, DateStyle::Short);
    if (!parser || !styled) return std::nullopt;
    const auto date = parser->parse(assembled);
    if (!date) return std::nullopt;
    return styled->format(*date);
}

}  // namespace tessivo
