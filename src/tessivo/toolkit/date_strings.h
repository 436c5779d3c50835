// Dates and clock times in free-form strings and byte fields.
//
//   std::optional<tessivo::Date> d = tessivo::convertStringToDate(u"2024-01-31");
//   auto shown = tessivo::convertDateToStringWithFormat(*d, u"dd MMM  yyyy 'at' HH:mm");
//   auto h24 = tessivo::create24HourStringFrom12HourString(u"12:30 am");   // u"00:30"
//   auto h12 = tessivo::create12HourStringFrom24HourString(u"13:05");      // u"1:05PM"
//   auto stamp = tessivo::formatDataAsDate(fieldBytes);                    // medium date, short time
//
// nullopt means no date or no valid time. Reentrant.
#pragma once

#include <array>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

// Patterns tried in order by convertStringToDate. "YYYY" is the week-based
// year and "hh" a 12-hour hour without a day period, as they always were.
inline constexpr std::array<const char16_t*, 11> kFreeDatePatterns = {
    u"yyyy-MM-dd",         u"EEE MMM dd HH:mm:ss yyyy",    u"yyyy-MM-dd HH:mm:ss", u"yyyyMMdd'T'HHmmss'Z'",
    u"d MMM YYYY hh:mm",   u"dd MMM YYYY hh:mm",           u"dd MMM yyyy 'at' HH:mm", u"EEE, dd MMM yyyy HH:mm:ss Z",
    u"dd/MM/yyyy, HH:mm",  u"dd/MM/yyyy HH:mm",            u"MM/dd/yyyy, HH:mm",
};

// The first pattern that takes the whole text, in the process time zone.
std::optional<Date> convertStringToDate(const std::optional<icu::UnicodeString>& text);

// The date written with a Unicode date pattern, locale en_US_POSIX, in the
// process time zone; nullopt for an invalid pattern.
std::optional<icu::UnicodeString> convertDateToStringWithFormat(Date date, const icu::UnicodeString& pattern);

// "h:mm AM/PM" (any case, any spacing) to "HH:mm"; minute 60 is accepted.
std::optional<icu::UnicodeString> create24HourStringFrom12HourString(const icu::UnicodeString& text);
// "H:mm" to "h:mmAM" / "h:mmPM" without a space; "24:00" gives "12:00PM".
std::optional<icu::UnicodeString> create12HourStringFrom24HourString(const icu::UnicodeString& text);

// A date stamp inside a ';'-separated ASCII field list: the fourth field's
// second-to-last '-' piece holds yyMMddHHmmss (UTC). The date in the medium
// date and short time styles, or nullopt for empty bytes, non-ASCII bytes,
// missing fields or a stamp that is too short or not a date.
std::optional<icu::UnicodeString> formatDataAsDate(ByteView data);

}  // namespace tessivo
