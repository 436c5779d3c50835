#include "tessivo/msg/calendar_inference.h"

#include <array>
#include <cmath>
#include <vector>

#include "tessivo/foundation/calendar.h"
#include "tessivo/foundation/date_detector.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/foundation/text.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/date_strings.h"

namespace tessivo {
namespace {

constexpr const char16_t* kSingleTimePattern = u"\\b([0-2]?[0-9]):([0-5][0-9])\\s*(AM|PM|am|pm)?\\b";
constexpr const char16_t* kTimeRangePattern =
    u"\\b([0-2]?[0-9]):?([0-5][0-9])?\\s*(AM|PM|am|pm)?\\s*[-\u2013\u2014]\\s*([0-2]?[0-9]):?([0-5][0-9])?\\s*(AM|PM|"
    u"am|pm)?\\b";
// File names, in the order they are tried: HHMM-HHMM, H-H, HHMMHHMM.
constexpr const char16_t* kFileRangePattern = u"\\b([0-2][0-9])([0-5][0-9])[-_]([0-2][0-9])([0-5][0-9])\\b";
constexpr const char16_t* kFileHoursPattern = u"\\b([0-2]?[0-9])[-_]([0-2]?[0-9])\\b";
constexpr const char16_t* kFileDigitsPattern = u"\\b([0-2][0-9])([0-5][0-9])([0-2][0-9])([0-5][0-9])\\b";

struct Patterns {
    std::optional<Regex> singleTime = Regex::compile(kSingleTimePattern);
    std::optional<Regex> timeRange = Regex::compile(kTimeRangePattern);
    std::optional<Regex> fileRange = Regex::compile(kFileRangePattern);
    std::optional<Regex> fileHours = Regex::compile(kFileHoursPattern);
    std::optional<Regex> fileDigits = Regex::compile(kFileDigitsPattern);
};

const Patterns& patterns() {
    static const Patterns p;
    return p;
}

struct Meal {
    std::vector<std::optional<Regex>> words;  // each as a whole word, case-insensitive
    int startHour;
    int endHour;
};

Meal meal(std::initializer_list<const char16_t*> words, int startHour, int endHour) {
    Meal m{{}, startHour, endHour};
    // \Q...\E quotes the word for use in the expression.
    for (const char16_t* w : words)
        m.words.push_back(Regex::compile(icu::UnicodeString(u"\\b\\Q") + w + u"\\E\\b", Regex::CaseInsensitive));
    return m;
}

// Searched in this order; "tea" is the evening meal.
const std::array<Meal, 3>& meals() {
    static const std::array<Meal, 3> kMeals = {
        meal({u"breakfast", u"fr\u00fchst\u00fcck", u"desayuno", u"colazione", u"pequeno almo\u00e7o", u"ontbijt",
              u"petit d\u00e9jeuner"},
             7, 9),
        meal({u"lunch", u"d\u00e9jeuner", u"mittagessen", u"almuerzo", u"pranzo", u"almo\u00e7o", u"middag"}, 12, 14),
        meal({u"dinner", u"supper", u"tea", u"d\u00eener", u"abendessen", u"cena", u"jantar", u"avondeten"}, 18, 21),
    };
    return kMeals;
}

bool usable(const OptionalText& text) { return text && !text->isEmpty(); }

// A group of ASCII digits as a number; 0 for an empty group.
int intValue(const icu::UnicodeString& digits) {
    int value = 0;
    for (int32_t i = 0; i < digits.length(); ++i) value = value * 10 + (digits[i] - u'0');
    return value;
}

// The hour with an AM/PM suffix (upper-cased) applied.
int withMeridiem(int hour, const icu::UnicodeString& suffix) {
    if (suffix == u"PM" && hour <= 11) return hour + 12;
    if (suffix == u"AM" && hour == 12) return 0;
    return hour;
}

// The day's date at the given hour and minute, seconds 0.
std::optional<Date> onDay(Date day, int hour, int minute) {
    auto fields = calendarFields(day);
    if (!fields) return std::nullopt;
    fields->hour = hour;
    fields->minute = minute;
    fields->second = 0;
    return dateFromCalendarFields(*fields);
}

std::int64_t minutesBetween(Date start, Date end) {
    return static_cast<std::int64_t>(std::trunc((end.secondsSince1970 - start.secondsSince1970) / 60.0));
}

std::optional<CalendarTimes> range(Date day, int startHour, int startMinute, int endHour, int endMinute) {
    const auto start = onDay(day, startHour, startMinute);
    const auto end = onDay(day, endHour, endMinute);
    if (!start || !end) return std::nullopt;
    return CalendarTimes{*start, *end, minutesBetween(*start, *end)};
}

Date dayOrNow(std::optional<Date> baseDate) { return baseDate ? *baseDate : currentDate(); }

std::optional<CalendarTimes> fileRange(const std::optional<Regex>& re, const icu::UnicodeString& name, Date day) {
    const auto m = re ? re->firstMatch(name) : std::nullopt;
    if (!m) return std::nullopt;
    const int startHour = intValue(m->group(name, 1)), startMinute = intValue(m->group(name, 2));
    const int endHour = intValue(m->group(name, 3)), endMinute = intValue(m->group(name, 4));
    if (startHour >= 24 || endHour >= 24 || startMinute >= 60 || endMinute >= 60) return std::nullopt;
    return range(day, startHour, startMinute, endHour, endMinute);
}

std::optional<CalendarTimes> fileHours(const icu::UnicodeString& name, Date day) {
    const auto& re = patterns().fileHours;
    const auto m = re ? re->firstMatch(name) : std::nullopt;
    if (!m) return std::nullopt;
    const int startHour = intValue(m->group(name, 1)), endHour = intValue(m->group(name, 2));
    if (startHour >= 24 || endHour >= 24 || startHour >= endHour) return std::nullopt;
    return range(day, startHour, 0, endHour, 0);
}

}  // namespace

std::optional<Date> extractDateFromString(const OptionalText& text) {
    if (!text) return std::nullopt;
    if (const auto found = detectFirstDate(*text, currentDate())) return found->date;
    return convertStringToDate(text);
}

std::optional<CalendarTimes> parseTimeFromRecurrence(const OptionalText& text, std::optional<Date> baseDate) {
    if (!usable(text)) return std::nullopt;
    const Date day = extractDateFromString(text).value_or(dayOrNow(baseDate));
    const auto& re = patterns().singleTime;
    if (!re) return std::nullopt;
    const std::vector<Regex::Match> matches = re->allMatches(*text);
    if (matches.empty()) return CalendarTimes{day, std::nullopt, std::nullopt};
    std::vector<Date> times;
    for (const Regex::Match& m : matches) {
        const int hour = withMeridiem(intValue(m.group(*text, 1)), toUpper(m.group(*text, 3)));
        if (const auto d = onDay(day, hour, intValue(m.group(*text, 2)))) times.push_back(*d);
    }
    if (times.size() >= 2) return CalendarTimes{times[0], times[1], minutesBetween(times[0], times[1])};
    if (times.size() == 1) return CalendarTimes{times[0], std::nullopt, std::nullopt};
    return std::nullopt;
}

std::optional<CalendarTimes> parseTimeFromSubject(const OptionalText& text, std::optional<Date> baseDate) {
    if (!usable(text)) return std::nullopt;
    const auto& re = patterns().timeRange;
    const auto m = re ? re->firstMatch(*text) : std::nullopt;
    if (!m) return parseTimeFromRecurrence(text, baseDate);
    const auto minuteOf = [&](std::size_t group) {
        return m->groups[group].matched() ? intValue(m->group(*text, group)) : 0;
    };
    int startHour = intValue(m->group(*text, 1)), endHour = intValue(m->group(*text, 4));
    const int startMinute = minuteOf(2), endMinute = minuteOf(5);
    if (startHour >= 24 || endHour >= 24 || startMinute >= 60 || endMinute >= 60) return std::nullopt;
    const icu::UnicodeString startSuffix = toUpper(m->group(*text, 3));
    const icu::UnicodeString endSuffix = toUpper(m->group(*text, 6));
    startHour = withMeridiem(startHour, startSuffix);
    // The start's suffix carries over to the end only for PM ("3-4pm" stays 03:00 to 16:00).
    if (!endSuffix.isEmpty())
        endHour = withMeridiem(endHour, endSuffix);
    else if (startSuffix == u"PM" && endHour < 12)
        endHour += 12;
    if (auto times = range(dayOrNow(baseDate), startHour, startMinute, endHour, endMinute)) return times;
    return parseTimeFromRecurrence(text, baseDate);
}

std::optional<CalendarTimes> parseTimeFromFilename(const OptionalText& text, std::optional<Date> baseDate) {
    if (!usable(text)) return std::nullopt;
    const Date day = dayOrNow(baseDate);
    // Hours only before eight digits, as it always was: "0930-1045" needs the separator.
    if (auto times = fileRange(patterns().fileRange, *text, day)) return times;
    if (auto times = fileHours(*text, day)) return times;
    return fileRange(patterns().fileDigits, *text, day);
}

std::optional<CalendarTimes> inferTimeFromKeywords(const OptionalText& text, std::optional<Date> baseDate) {
    if (!usable(text)) return std::nullopt;
    icu::UnicodeString subject = trim(toLower(*text), punctuationSet());
    for (int32_t i = 0; i < subject.length(); ++i)
        if (punctuationSet().contains(subject[i])) subject.setCharAt(i, u' ');
    subject = trim(subject, whitespaceAndNewlineSet());
    for (const Meal& meal : meals())
        for (const auto& word : meal.words)
            if (word && word->search(subject)) return range(dayOrNow(baseDate), meal.startHour, 0, meal.endHour, 0);
    return std::nullopt;
}

void ReadMSG::enrichCalendarData(Dictionary& calendar) const {
    const icu::UnicodeString sourceFilename = sourceFilename_.value_or(icu::UnicodeString());
    const auto missing = [&](const char16_t* key) {
        const Value* v = calendar.get(key);
        return !v || v->isNull();
    };
    if (missing(u"Start Time"))
        if (const Value* d = calendar.get(u"DateObject"); d && d->is<Date>()) calendar.set(u"Start Time", *d);
    if (missing(u"Organizer"))
        if (const Value* from = calendar.get(u"From")) calendar.set(u"Organizer", *from);

    std::optional<Date> base;
    if (const Value* start = calendar.get(u"Start Time"); start && start->is<Date>()) {
        base = *start->as<Date>();
        const auto f = calendarFields(*base);
        if (f && (f->hour != 0 || f->minute != 0 || f->second != 0)) return;  // the time is known
    }
    const auto text = [&](const char16_t* key) -> OptionalText {
        const Value* v = calendar.get(key);
        if (!v || !v->string()) return std::nullopt;
        return *v->string();
    };

    std::optional<CalendarTimes> found;
    if (const OptionalText recurrence = text(u"Recurrence Desc"); usable(recurrence))
        found = parseTimeFromRecurrence(recurrence, base);
    if (!found && !sourceFilename.isEmpty()) found = parseTimeFromFilename(sourceFilename, base);
    if (const OptionalText subject = text(u"Subject"); !found && usable(subject)) {
        found = parseTimeFromSubject(subject, base);
        if (!found) found = inferTimeFromKeywords(subject, base);
    }
    if (!found) return;

    calendar.set(u"Start Time", found->startTime);
    if (found->endTime) calendar.set(u"End Time", *found->endTime);
    if (found->duration) calendar.set(u"Duration", *found->duration);
}

void ReadMSG::reEnrichCalendarDataIfNeeded() {
    const Value* type = mailContent_.get(u"MessageType");
    if (!type || !type->string() || *type->string() != u"Calendar" || !sourceFilename_ || sourceFilename_->isEmpty())
        return;
    Dictionary refined = mailContent_;
    enrichCalendarData(refined);
    mailContent_ = std::move(refined);
}

}  // namespace tessivo
