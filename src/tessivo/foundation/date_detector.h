// The first date that a free text mentions, as a mail reader's date detector
// finds it: where it stands and the date it means.
//
//   std::optional<tessivo::DetectedDate> d =
//       tessivo::detectFirstDate(u"Lunch on Tuesday, 5 March 2024 at 12:30?", tessivo::currentDate());
//   // d->date is 2024-03-05 12:30 in the host's zone; d->start 9, d->length 29
//
// Forms recognised (English, case-insensitive):
//   - ISO dates and date-times: "2024-03-05", "2024-03-05T09:30:00Z", "2024-03-05 09:30+01:00";
//     also year-first with "/" or ".": "2024/03/05".
//   - Numeric dates with "/", "." or "-" and a year of four or two digits: "3/5/2024", "05.03.24".
//     Month first, as US-English text writes them ("3/5/2024" is 5 March), with "/" and "-"; day
//     first with "." (the European form, "05.03.2024" is 5 March). When the first number cannot be
//     a month (13 to 31) the other order is taken. With "." or "-" a two-digit year needs two-digit
//     day and month, so that version numbers ("1.2.30") are no dates.
//   - Written-out month names and their abbreviations (Jan, Feb., Sept, ...), day before or after,
//     ordinal suffixes, an optional weekday in front: "Tuesday, 5 March 2024", "March 5th, 2024",
//     "5 Mar 24", "Tue, Mar 5", "the 5th of March". Without a year, the base date's year.
//   - "today", "tomorrow" and "yesterday", against the base date.
// A time right after a date ("... 2024 at 3:15 pm", "..., 10:00", "... from 9:30", "...T09:30")
// or right before it ("3pm tomorrow", "10:30 on 5 March") belongs to it and counts in its length;
// a time needs minutes or AM/PM, and may carry "Z", "UTC", "GMT" or a numeric offset. A bare time,
// a bare weekday or a month without a day is no date.
//
// Numbers that only look like dates are skipped: a numeric date may not touch letters, digits or
// further separators ("192.168.1.10", "+33 06.12.34.56.78", "555-123-4567", "v1.2.30"), and every
// date is checked against the calendar (no 31 April, no 29 February outside leap years).
//
// Dates are built in the host's calendar and zone (or at the offset the text gives); a date
// without a time is the start of its day. Two-digit years fall within 80 years before and 20
// after the base date's year. Positions are UTF-16 offsets into the text. Reentrant.
#pragma once

#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

struct DetectedDate {
    Date date;
    std::int32_t start = 0;   // first UTF-16 unit of the mention, time included
    std::int32_t length = 0;  // UTF-16 units
    bool hasTime = false;     // a time of day was given
};

// nullopt when the text mentions no date.
std::optional<DetectedDate> detectFirstDate(const icu::UnicodeString& text, Date baseDate);

}  // namespace tessivo
