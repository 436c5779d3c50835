// Dates of the message formats to and from the library's Date: Windows and
// MAPI ticks, VMS ticks, OLE automation dates, HFS and CoreFoundation
// seconds, and header date strings.
//
//   std::optional<tessivo::Date> sent = tessivo::TimeWangers::dateFromMAPITime(ticks);  // nullopt for 0
//   auto parsed = tessivo::TimeWangers::dateFromMIMEString(u"Mon, 01 Jan 2024 10:00:00 +0000");
//   icu::UnicodeString header = tessivo::TimeWangers::mimeStringFromDate(parsed);    // "... +0000"
//   long offset = tessivo::TimeWangers::timezoneOffsetFromDateString(u"... CEST");    // 7200
//
// "No date" is nullopt. All functions are reentrant; date strings are parsed
// with locale en_US_POSIX in the process time zone unless they name one.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

class TimeWangers {
public:
    TimeWangers() = delete;

    // Header date patterns, tried in order.
    static constexpr std::array<const char16_t*, 11> kMIMEDatePatterns = {
        u"EEE, dd MMM yyyy HH:mm:ss Z", u"EEE, dd MMM yyyy HH:mm:ss zzz", u"EEE, d MMM yyyy HH:mm:ss Z",
        u"dd MMM yyyy HH:mm:ss Z",      u"d MMM yyyy HH:mm:ss Z",         u"EEE, dd MMM yy HH:mm:ss Z",
        u"yyyy-MM-dd'T'HH:mm:ssZ",      u"yyyy-MM-dd'T'HH:mm:ss.SSSZ",    u"yyyy-MM-dd HH:mm:ss Z",
        u"EEE MMM dd HH:mm:ss yyyy",    u"EEE MMM d HH:mm:ss yyyy",
    };
    // Zone abbreviations in the order they are looked for, with seconds east
    // of UTC. Substring search: CEST precedes EST, AEDT precedes EDT.
    static constexpr std::array<std::pair<const char16_t*, long>, 17> kZoneOffsets = {{
        {u"AEDT", 39600}, {u"AEST", 36000}, {u"BST", 3600},   {u"CDT", -18000}, {u"CEST", 7200},  {u"CET", 3600},
        {u"CST", -21600}, {u"EDT", -14400}, {u"EST", -18000}, {u"GMT", 0},      {u"IST", 19800},  {u"JST", 32400},
        {u"MDT", -21600}, {u"MST", -25200}, {u"PDT", -25200}, {u"PST", -28800}, {u"UTC", 0},
    }};

    static bool isLeapYear(std::uint32_t year);
    static bool dateIsValidWithDay(int day, int month, int year);
    // flag 0: 0-23, 1: 0-360, 2: magnitude at most 90, other: fraction only;
    // the fraction at most 0.59999 (single precision carries 12.59 as 12.5900002).
    static bool timeIsValid(float value, int flag);

    static std::uint64_t getVMSTimeFromUnixTime(std::int64_t seconds);
    // (ticks - VMS epoch) / 10^7, unsigned.
    static std::int64_t getUnixTimeFromVMSTime(std::uint64_t ticks);
    // ticks / 10^7 (signed), then minus 11644473600.
    static std::int64_t getUnixTimeFromWindowsTime(std::uint64_t ticks);
    static std::uint64_t getWindowsTimeFromUnixTime(std::int64_t seconds);

    // nullopt for a value that is not finite.
    static std::optional<Date> dateFromOLEDate(double days);
    static double oleDateFromDate(std::optional<Date> date);
    static std::optional<Date> dateFromHFSDate(std::uint32_t seconds);
    static std::uint32_t hfsDateFromDate(std::optional<Date> date);
    static std::optional<Date> dateFromCFAbsoluteTime(double seconds);
    // nullopt for 0.
    static std::optional<Date> dateFromMAPITime(std::uint64_t ticks);
    static std::uint64_t mapiTimeFromDate(std::optional<Date> date);

    // Double spaces halved, trimmed, then the header patterns in order, then
    // convertStringToDate; nullopt for nothing, empty or unparsable text.
    static std::optional<Date> dateFromMIMEString(const std::optional<icu::UnicodeString>& text);
    // "EEE, dd MMM yyyy HH:mm:ss Z" in GMT; "" for no date.
    static icu::UnicodeString mimeStringFromDate(std::optional<Date> date);
    // A trailing numeric offset (+hhmm, -hhmm), else the first zone
    // abbreviation found anywhere in the text, else 0.
    static long timezoneOffsetFromDateString(const std::optional<icu::UnicodeString>& text);
};

}  // namespace tessivo
