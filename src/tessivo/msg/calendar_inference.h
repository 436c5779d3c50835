// Start, end and duration for calendar items saved without a time of day,
// inferred from the texts they carry: the recurrence description, the name
// of the file they came from, and the subject (a time range in it, else a
// meal word such as "lunch").
//
//   auto t = tessivo::parseTimeFromFilename(u"meeting 0930-1045.msg", day);   // 09:30 to 10:45, 75
//   auto s = tessivo::parseTimeFromSubject(u"Review 3pm-4:30pm", day);        // 15:00 to 16:30, 90
//
// ReadMSG::enrichCalendarData applies them to a calendar item's dictionary.
//
// Times are built on the day of a base date in the host's calendar and zone
// (hour and minute set, seconds 0); a missing base date means now. Durations
// are whole minutes from start to end, truncated toward zero, negative when
// the end comes first. Nothing is logged; the functions are reentrant.
#pragma once

#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

// What a parser found: a start, and for a range also an end and the minutes between.
struct CalendarTimes {
    Date startTime;
    std::optional<Date> endTime;
    std::optional<std::int64_t> duration;
    friend bool operator==(const CalendarTimes&, const CalendarTimes&) = default;
};

using OptionalText = std::optional<icu::UnicodeString>;

// The first date the text mentions (see date_detector.h), else the text's own
// date conversion (convertStringToDate); nullopt when neither finds one.
std::optional<Date> extractDateFromString(const OptionalText& text);

// Every parser answers nullopt for a missing or empty text.

// Times "h:mm" (AM/PM optional) on the day the text mentions, or on the base
// day: two or more give start and end, one gives a start; with none the day
// itself is the start. Any non-empty text thus gives at least a start.
std::optional<CalendarTimes> parseTimeFromRecurrence(const OptionalText& text, std::optional<Date> baseDate);
// "HHMM-HHMM", then "H-H" (start before end), then "HHMMHHMM", joined by "-" or "_".
std::optional<CalendarTimes> parseTimeFromFilename(const OptionalText& text, std::optional<Date> baseDate);
// The first time range ("3pm-4:30pm", "11:00 – 1 PM"); nullopt when it is out
// of bounds; the recurrence parser on the subject when there is no range.
std::optional<CalendarTimes> parseTimeFromSubject(const OptionalText& text, std::optional<Date> baseDate);
// Breakfast 07:00-09:00, lunch 12:00-14:00, dinner 18:00-21:00 by a meal word
// in English, German, Spanish, Italian, Portuguese, Dutch or French.
std::optional<CalendarTimes> inferTimeFromKeywords(const OptionalText& text, std::optional<Date> baseDate);

}  // namespace tessivo
