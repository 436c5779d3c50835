#include "tessivo/foundation/date_detector.h"

#include <algorithm>
#include <array>

#include "tessivo/foundation/calendar.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/foundation/text.h"

namespace tessivo {
namespace {

// Pattern pieces. Digits are ASCII only: other scripts' digits are no dates here.
#define TESSIVO_WEEKDAY \
    u"(?:monday|tuesday|wednesday|thursday|friday|saturday|sunday|mon|tues|tue|wed|thurs|thur|thu|fri|sat|sun)\\b" \
    u"(?:(?<=mon|tue|tues|wed|thu|thur|thurs|fri|sat|sun)\\.)?"
#define TESSIVO_MONTH                                                                                          \
    u"(january|february|march|april|may|june|july|august|september|october|november|december|jan|feb|mar|apr|" \
    u"jun|jul|aug|sept|sep|oct|nov|dec)\\b(?:(?<=jan|feb|mar|apr|jun|jul|aug|sep|sept|oct|nov|dec)\\.)?"
// A day number that is not part of a time ("10:30") or a decimal ("5.5").
#define TESSIVO_DAY u"(?<![0-9][:.])([0-3]?[0-9])(?:st|nd|rd|th)?\\b(?![:.][0-9])"
// A year after a day or month; never the hour of a following time ("5 March 10:30", "5 March 10 am").
#define TESSIVO_YEAR u"([0-9]{4}|[0-9]{2})\\b(?!\\s*[ap]\\.?m\\b|[.:][0-9])"

// "Tuesday, the 5th of March 2024", "5 Mar 24", "5-Mar-2024".
constexpr const char16_t* kDayMonthPattern =
    u"\\b(?:" TESSIVO_WEEKDAY u",?\\s+)?(?:the\\s+)?" TESSIVO_DAY u"(?:\\s+of\\s+|\\s+|-)" TESSIVO_MONTH
    u"(?:(?:,?\\s+|-)" TESSIVO_YEAR u")?";
// "Tue, March 5th, 2024", "Mar. 5 2024".
constexpr const char16_t* kMonthDayPattern =
    u"\\b(?:" TESSIVO_WEEKDAY u",?\\s+)?" TESSIVO_MONTH u"\\s*" TESSIVO_DAY u"(?:,?\\s+" TESSIVO_YEAR u")?";
// "2024-03-05", "2024/3/5"; a "T" may follow for the time.
constexpr const char16_t* kYearFirstPattern =
    u"(?<![0-9A-Za-z_.,/:+-])([0-9]{4})([-/.])([0-9]{1,2})\\2([0-9]{1,2})(?![0-9A-SU-Za-su-z_]|[.,/:-][0-9])";
// "3/5/2024", "05.03.24".
constexpr const char16_t* kNumericPattern =
    u"(?<![0-9A-Za-z_.,/+-])([0-9]{1,2})([-/.])([0-9]{1,2})\\2([0-9]{4}|[0-9]{2})(?![0-9A-Za-z_]|[.,/:-][0-9])";
constexpr const char16_t* kRelativePattern = u"\\b(today|tomorrow|yesterday)\\b";

// Hour, minutes, seconds, AM/PM; "2.30pm" as the British write it, the "." only before AM/PM.
#define TESSIVO_TIME                                                                                   \
    u"([0-9]{1,2})(?::([0-9]{2})(?::([0-9]{2})(?:[.,][0-9]+)?)?|\\.([0-9]{2})(?=\\s*[ap]\\.?m\\b))?(?![0-9])" \
    u"(?:\\s*([ap])(?:m\\b|\\.m\\b\\.?))?"
// A time right after a date: "T09:30Z", ", 10:00", " at 3 pm", " from 9:30 GMT".
constexpr const char16_t* kTimeAfterPattern =
    u"^(?:T|\\s*,?\\s*(?:(?:at|from)\\s+|@\\s*)?)" TESSIVO_TIME
    u"(\\s*(?:Z\\b|UTC\\b|GMT\\b|[+-][0-9]{2}:?[0-9]{2}\\b))?";
// A time right before a date: "3pm tomorrow", "10:30 on 5 March".
constexpr const char16_t* kTimeBeforePattern =
    u"(?<![0-9A-Za-z_:.])" TESSIVO_TIME u"(?:\\s+on|\\s*,)?\\s+$";

#undef TESSIVO_WEEKDAY
#undef TESSIVO_MONTH
#undef TESSIVO_DAY
#undef TESSIVO_YEAR
#undef TESSIVO_TIME

enum class Form { DayMonth, MonthDay, YearFirst, Numeric, Relative };

struct Patterns {
    std::optional<Regex> dayMonth = Regex::compile(kDayMonthPattern, Regex::CaseInsensitive);
    std::optional<Regex> monthDay = Regex::compile(kMonthDayPattern, Regex::CaseInsensitive);
    std::optional<Regex> yearFirst = Regex::compile(kYearFirstPattern);
    std::optional<Regex> numeric = Regex::compile(kNumericPattern);
    std::optional<Regex> relative = Regex::compile(kRelativePattern, Regex::CaseInsensitive);
    std::optional<Regex> timeAfter = Regex::compile(kTimeAfterPattern, Regex::CaseInsensitive);
    std::optional<Regex> timeBefore = Regex::compile(kTimeBeforePattern, Regex::CaseInsensitive);
};

const Patterns& patterns() {
    static const Patterns p;
    return p;
}

// The value of ASCII digits; -1 for an empty group.
int number(const icu::UnicodeString& digits) {
    if (digits.isEmpty()) return -1;
    int value = 0;
    for (int32_t i = 0; i < digits.length(); ++i) value = value * 10 + (digits[i] - u'0');
    return value;
}

bool isLeap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

bool validDay(int year, int month, int day) {
    static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1) return false;
    return day <= kDays[static_cast<std::size_t>(month - 1)] + (month == 2 && isLeap(year) ? 1 : 0);
}

int monthNumber(const icu::UnicodeString& name) {
    static constexpr std::array<const char16_t*, 12> kPrefixes = {u"jan", u"feb", u"mar", u"apr", u"may", u"jun",
                                                                  u"jul", u"aug", u"sep", u"oct", u"nov", u"dec"};
    const icu::UnicodeString prefix = toLower(icu::UnicodeString(name, 0, 3));
    for (std::size_t i = 0; i < kPrefixes.size(); ++i)
        if (prefix == kPrefixes[i]) return static_cast<int>(i) + 1;
    return 0;
}

// A two-digit year in the hundred years from 80 before the base year.
int fullYear(const icu::UnicodeString& digits, int baseYear) {
    const int y = number(digits);
    if (digits.length() != 2) return y;
    int year = baseYear - baseYear % 100 + y;
    if (year >= baseYear + 20) year -= 100;
    if (year < baseYear - 80) year += 100;
    return year;
}

struct Day {
    int year;
    int month;
    int day;
};

struct Candidate {
    Day day;
    std::int32_t start;
    std::int32_t end;
};

std::optional<Day> dayOf(Form form, const icu::UnicodeString& text, const Regex::Match& m, const CalendarFields& base) {
    const auto g = [&](std::size_t i) { return m.group(text, i); };
    Day d{};
    switch (form) {
        case Form::DayMonth:
        case Form::MonthDay: {
            const bool dayFirst = form == Form::DayMonth;
            d.day = number(g(dayFirst ? 1 : 2));
            d.month = monthNumber(g(dayFirst ? 2 : 1));
            d.year = m.groups[3].matched() ? fullYear(g(3), base.year) : base.year;
            break;
        }
        case Form::YearFirst:
            d = {number(g(1)), number(g(3)), number(g(4))};
            break;
        case Form::Numeric: {
            const icu::UnicodeString separator = g(2);
            const icu::UnicodeString first = g(1), second = g(3), year = g(4);
            // Version numbers, not dates: "1.2.30".
            if (separator != u"/" && year.length() == 2 && (first.length() != 2 || second.length() != 2))
                return std::nullopt;
            const bool monthFirst = separator != u".";
            d.year = fullYear(year, base.year);
            d.month = number(monthFirst ? first : second);
            d.day = number(monthFirst ? second : first);
            if (d.month > 12) std::swap(d.month, d.day);
            break;
        }
        case Form::Relative: {
            const icu::UnicodeString word = toLower(g(1));
            const int offset = word == u"tomorrow" ? 1 : word == u"yesterday" ? -1 : 0;
            // Past month ends through the calendar's own arithmetic.
            const auto shifted = dateFromCalendarFields({base.year, base.month, base.day + offset, 12, 0, 0});
            const auto f = shifted ? calendarFields(*shifted) : std::nullopt;
            if (!f) return std::nullopt;
            return Day{f->year, f->month, f->day};
        }
    }
    if (!validDay(d.year, d.month, d.day)) return std::nullopt;
    return d;
}

// The first match of a form that names a real day.
std::optional<Candidate> firstOfForm(Form form, const Regex& re, const icu::UnicodeString& text,
                                     const CalendarFields& base) {
    for (std::int32_t from = 0; from < text.length();) {
        const auto m = re.firstMatch(text, from);
        if (!m) return std::nullopt;
        if (auto day = dayOf(form, text, *m, base)) return Candidate{*day, m->range().start, m->range().end};
        from = m->range().start + 1;
    }
    return std::nullopt;
}

struct TimeOfDay {
    int hour;
    int minute;
    int second;
    std::optional<int> utcOffsetSeconds;
    std::int32_t length;  // UTF-16 units of the time and what joins it to the date
};

// Groups of the time patterns.
enum TimeGroup : std::size_t { kHour = 1, kMinute, kSecond, kDotMinute, kMeridiem, kZone };

std::optional<TimeOfDay> timeOf(const icu::UnicodeString& text, const Regex::Match& m) {
    int hour = number(m.group(text, kHour));
    const int minute = std::max(number(m.group(text, kMinute)), number(m.group(text, kDotMinute)));
    const int second = number(m.group(text, kSecond));
    const icu::UnicodeString meridiem = toLower(m.group(text, kMeridiem));
    if (minute < 0 && meridiem.isEmpty()) return std::nullopt;  // a lone number is no time
    if (minute > 59 || second > 59) return std::nullopt;
    if (!meridiem.isEmpty()) {
        if (hour < 1 || hour > 12) return std::nullopt;
        hour = hour % 12 + (meridiem == u"p" ? 12 : 0);
    } else if (hour > 23) {
        return std::nullopt;
    }
    TimeOfDay t{hour, std::max(minute, 0), std::max(second, 0), std::nullopt, m.range().end - m.range().start};
    if (kZone < m.groups.size() && m.groups[kZone].matched()) {
        const icu::UnicodeString zone = toUpper(trim(m.group(text, kZone), whitespaceSet()));
        // "09:00-10:00" is a range, not a time at UTC-10: a negative offset needs seconds before it.
        if (zone[0] == u'-' && second < 0) {
            t.length = m.groups[kZone].start - m.range().start;
        } else if (zone[0] == u'+' || zone[0] == u'-') {
            // "+hh:mm" or "+hhmm"
            const int hours = number(icu::UnicodeString(zone, 1, 2));
            const int minutes = number(icu::UnicodeString(zone, zone.length() - 2, 2));
            if (hours > 14 || minutes > 59) return std::nullopt;
            t.utcOffsetSeconds = (zone[0] == u'-' ? -1 : 1) * (hours * 3600 + minutes * 60);
        } else {
            t.utcOffsetSeconds = 0;
        }
    }
    return t;
}

std::optional<TimeOfDay> timeAfter(const icu::UnicodeString& text, std::int32_t end) {
    const icu::UnicodeString rest(text, end);
    const auto m = patterns().timeAfter->firstMatch(rest);
    return m ? timeOf(rest, *m) : std::nullopt;
}

std::optional<TimeOfDay> timeBefore(const icu::UnicodeString& text, std::int32_t start) {
    const icu::UnicodeString head(text, 0, start);
    const auto m = patterns().timeBefore->firstMatch(head);
    return m ? timeOf(head, *m) : std::nullopt;
}

}  // namespace

std::optional<DetectedDate> detectFirstDate(const icu::UnicodeString& text, Date baseDate) {
    const Patterns& p = patterns();
    const auto base = calendarFields(baseDate);
    if (!base || !p.dayMonth || !p.monthDay || !p.yearFirst || !p.numeric || !p.relative || !p.timeAfter ||
        !p.timeBefore)
        return std::nullopt;

    const std::array<std::pair<Form, const Regex*>, 5> forms = {{{Form::DayMonth, &*p.dayMonth},
                                                                 {Form::MonthDay, &*p.monthDay},
                                                                 {Form::YearFirst, &*p.yearFirst},
                                                                 {Form::Numeric, &*p.numeric},
                                                                 {Form::Relative, &*p.relative}}};
    std::optional<Candidate> best;
    for (const auto& [form, re] : forms) {
        const auto c = firstOfForm(form, *re, text, *base);
        if (c && (!best || c->start < best->start || (c->start == best->start && c->end > best->end))) best = c;
    }
    if (!best) return std::nullopt;

    DetectedDate found{{}, best->start, best->end - best->start, false};
    std::optional<TimeOfDay> time = timeAfter(text, best->end);
    if (!time) {
        time = timeBefore(text, best->start);
        if (time) found.start -= time->length;
    }
    CalendarFields fields{best->day.year, best->day.month, best->day.day, 0, 0, 0};
    std::optional<int> offset;
    if (time) {
        fields.hour = time->hour;
        fields.minute = time->minute;
        fields.second = time->second;
        offset = time->utcOffsetSeconds;
        found.length += time->length;
        found.hasTime = true;
    }
    const auto date = dateFromCalendarFields(fields, offset);
    if (!date) return std::nullopt;
    found.date = *date;
    return found;
}

}  // namespace tessivo
