#include "tessivo/foundation/calendar.h"

#include <chrono>
#include <cmath>
#include <memory>

#include <unicode/gregocal.h>
#include <unicode/simpletz.h>
#include <unicode/timezone.h>

namespace tessivo {
namespace {

// The calendar's range of dates, in milliseconds (about 292 million years).
constexpr double kCalendarLimitMs = 9.2e18;

std::unique_ptr<icu::Calendar> makeCalendar(std::optional<int> utcOffsetSeconds) {
    std::unique_ptr<icu::TimeZone> zone;
    if (utcOffsetSeconds)
        zone = std::make_unique<icu::SimpleTimeZone>(*utcOffsetSeconds * 1000, icu::UnicodeString(u"Fixed"));
    else
        zone.reset(icu::TimeZone::createDefault());
    if (!zone) return nullptr;
    UErrorCode ec = U_ZERO_ERROR;
    auto calendar = std::make_unique<icu::GregorianCalendar>(zone.release(), ec);
    if (U_FAILURE(ec)) return nullptr;
    return calendar;
}

}  // namespace

std::optional<CalendarFields> calendarFields(Date date, std::optional<int> utcOffsetSeconds) {
    const double ms = std::floor(date.secondsSince1970) * 1000.0;
    if (!std::isfinite(ms) || std::fabs(ms) > kCalendarLimitMs) return std::nullopt;
    auto calendar = makeCalendar(utcOffsetSeconds);
    if (!calendar) return std::nullopt;
    UErrorCode ec = U_ZERO_ERROR;
    calendar->setTime(ms, ec);
    CalendarFields f;
    f.year = calendar->get(UCAL_EXTENDED_YEAR, ec);
    f.month = calendar->get(UCAL_MONTH, ec) + 1;
    f.day = calendar->get(UCAL_DATE, ec);
    f.hour = calendar->get(UCAL_HOUR_OF_DAY, ec);
    f.minute = calendar->get(UCAL_MINUTE, ec);
    f.second = calendar->get(UCAL_SECOND, ec);
    if (U_FAILURE(ec)) return std::nullopt;
    return f;
}

std::optional<Date> dateFromCalendarFields(const CalendarFields& fields, std::optional<int> utcOffsetSeconds) {
    auto calendar = makeCalendar(utcOffsetSeconds);
    if (!calendar) return std::nullopt;
    calendar->clear();
    calendar->set(UCAL_EXTENDED_YEAR, fields.year);
    calendar->set(UCAL_MONTH, fields.month - 1);
    calendar->set(UCAL_DATE, fields.day);
    calendar->set(UCAL_HOUR_OF_DAY, fields.hour);
    calendar->set(UCAL_MINUTE, fields.minute);
    calendar->set(UCAL_SECOND, fields.second);
    UErrorCode ec = U_ZERO_ERROR;
    const UDate ms = calendar->getTime(ec);
    if (U_FAILURE(ec) || !std::isfinite(ms)) return std::nullopt;
    return Date{ms / 1000.0};
}

Date currentDate() {
    const auto since = std::chrono::system_clock::now().time_since_epoch();
    return Date{std::chrono::duration<double>(since).count()};
}

}  // namespace tessivo
