// Calendar fields of a date and dates built from fields, in the host's
// calendar (Gregorian) and time zone, as the platform's current calendar
// splits and builds dates.
//
//   std::optional<tessivo::CalendarFields> f = tessivo::calendarFields(date);  // local year ... second
//   f->hour = 9; f->minute = 30; f->second = 0;
//   std::optional<tessivo::Date> at930 = tessivo::dateFromCalendarFields(*f);
//   auto noonUtc = tessivo::dateFromCalendarFields({2024, 3, 5, 12, 0, 0}, 0);  // fixed offset from UTC
//
// Building is lenient, like the platform's calendar: hour 25 is 01:00 of the
// next day and 32 January is 1 February. A fixed offset (seconds east of UTC)
// replaces the host's zone where given. nullopt for a date that is not finite
// or outside the calendar's range. Reentrant.
#pragma once

#include <optional>

#include "tessivo/foundation/value.h"

namespace tessivo {

struct CalendarFields {
    int year = 1970;
    int month = 1;  // 1 to 12
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;  // whole seconds; a fraction of the date is dropped
};

std::optional<CalendarFields> calendarFields(Date date, std::optional<int> utcOffsetSeconds = std::nullopt);
std::optional<Date> dateFromCalendarFields(const CalendarFields& fields,
                                           std::optional<int> utcOffsetSeconds = std::nullopt);

// The current date and time.
Date currentDate();

}  // namespace tessivo
