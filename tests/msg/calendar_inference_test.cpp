#include <gtest/gtest.h>
#include <unicode/timezone.h>

#include "tessivo/foundation/calendar.h"
#include "tessivo/foundation/date_format.h"
#include "tessivo/msg/calendar_inference.h"
#include "tessivo/msg/read_msg.h"

namespace tessivo {
namespace {

// Tuesday 5 March 2024, midnight UTC (tests run with TZ=UTC).
constexpr double kDay = 1709596800;

Date at(int hour, int minute) { return Date{kDay + hour * 3600 + minute * 60}; }

CalendarTimes range(Date start, Date end, std::int64_t minutes) { return {start, end, minutes}; }
CalendarTimes startOnly(Date start) { return {start, std::nullopt, std::nullopt}; }

std::string utcText(const Value* v) {
    if (!v || !v->is<Date>()) return "none";
    return toUtf8(DateFormatter::withPattern(u"yyyy-MM-dd HH:mm", "UTC")->format(*v->as<Date>()));
}

// A calendar item starting at the given date, with the given texts.
Dictionary item(std::optional<Date> start, const char16_t* subject, const char16_t* recurrence = nullptr) {
    Dictionary d;
    d.set(u"MessageType", u"Calendar");
    if (start) d.set(u"Start Time", *start);
    if (subject) d.set(u"Subject", subject);
    if (recurrence) d.set(u"Recurrence Desc", recurrence);
    return d;
}

// The refinement a reader whose file has this name makes.
void enrich(Dictionary& item, const char16_t* sourceFilename) {
    ReadMSG reader;
    reader.setSourceFilename(icu::UnicodeString(sourceFilename));
    reader.enrichCalendarData(item);
}

struct Enrichment {
    const char* name;
    Dictionary before;
    const char16_t* sourceFilename;
    const char* start;
    const char* end;
    std::int64_t duration;  // -1: no "Duration"
};

TEST(CalendarInferenceTest, EnrichesItemsFromTheirTexts) {
    const Enrichment cases[] = {
        {"a known time is kept", item(at(9, 30), u"Review 3pm-4:30pm"), u"slot 9-11.msg", "2024-03-05 09:30", "none",
         -1},
        {"no range, no time: midnight stays", item(at(0, 0), u"Team lunch"), u"", "2024-03-05 00:00", "none", -1},
        {"range out of bounds: meal words", item(at(0, 0), u"Lunch 25:00-26:00"), u"", "2024-03-05 12:00",
         "2024-03-05 14:00", 120},
        {"tea is dinner", item(at(0, 0), u"Tea 24:00-25:00"), u"", "2024-03-05 18:00", "2024-03-05 21:00", 180},
        {"range with PM", item(at(0, 0), u"Review 3pm-4:30pm"), u"", "2024-03-05 15:00", "2024-03-05 16:30", 90},
        {"en dash and a spaced PM", item(at(0, 0), u"Call 11:00 \u2013 1 PM"), u"", "2024-03-05 11:00",
         "2024-03-05 13:00", 120},
        {"end before start", item(at(0, 0), u"Sync 10:00-09:00"), u"", "2024-03-05 10:00", "2024-03-05 09:00", -60},
        {"file name", item(at(0, 0), u"Planning"), u"meeting 0930-1045.msg", "2024-03-05 09:30", "2024-03-05 10:45",
         75},
        {"file name before subject", item(at(0, 0), u"Review 3pm-4:30pm"), u"slot 9-11.msg", "2024-03-05 09:00",
         "2024-03-05 11:00", 120},
        {"recurrence before file name", item(at(0, 0), u"Review 3pm-4:30pm", u"every weekday"),
         u"slot 9-11.msg", "2024-03-05 00:00", "none", -1},
        {"recurrence with two times", item(at(0, 0), nullptr, u"every Tuesday from 10:00 to 11:30"), u"",
         "2024-03-05 10:00", "2024-03-05 11:30", 90},
        {"recurrence names its day", item(at(0, 0), nullptr, u"Occurs every Tuesday effective 3/12/2024 from 10:00 AM to 11:30 AM."),
         u"", "2024-03-12 10:00", "2024-03-12 11:30", 90},
        {"a single time in the subject, meal words unread", item(at(0, 0), u"Lunch at 12:30"), u"",
         "2024-03-05 12:30", "none", -1},
        {"no start, no texts", item(std::nullopt, nullptr), u"", "none", "none", -1},
    };
    for (const Enrichment& c : cases) {
        SCOPED_TRACE(c.name);
        Dictionary d = c.before;
        enrich(d, c.sourceFilename);
        EXPECT_EQ(utcText(d.get(u"Start Time")), c.start);
        EXPECT_EQ(utcText(d.get(u"End Time")), c.end);
        const Value* duration = d.get(u"Duration");
        EXPECT_EQ(duration ? duration->toInt64() : -1, c.duration);
        EXPECT_EQ(*d.get(u"MessageType"), Value(u"Calendar"));  // nothing removed
    }
}

TEST(CalendarInferenceTest, FillsStartAndOrganizerOnlyWhenMissing) {
    Dictionary d = item(std::nullopt, nullptr);
    d.set(u"DateObject", at(0, 0));
    d.set(u"From", u"ann@example.com");
    enrich(d, u"slot 9-11.msg");
    EXPECT_EQ(utcText(d.get(u"Start Time")), "2024-03-05 09:00");
    EXPECT_EQ(*d.get(u"Organizer"), Value(u"ann@example.com"));

    Dictionary kept = item(at(8, 0), nullptr);
    kept.set(u"DateObject", at(0, 0));
    kept.set(u"Organizer", u"bob@example.com");
    kept.set(u"From", u"ann@example.com");
    enrich(kept, u"");
    EXPECT_EQ(utcText(kept.get(u"Start Time")), "2024-03-05 08:00");
    EXPECT_EQ(*kept.get(u"Organizer"), Value(u"bob@example.com"));
}

TEST(CalendarInferenceTest, TextsThatAreNotStringsAreSkipped) {
    // A missing location or recurrence text holds the HTML body's bytes.
    Dictionary d = item(at(0, 0), u"Review 3pm-4:30pm");
    d.set(u"Recurrence Desc", Bytes{'<', 'p', '>'});
    enrich(d, u"");
    EXPECT_EQ(utcText(d.get(u"Start Time")), "2024-03-05 15:00");
}

TEST(CalendarInferenceTest, SubjectRanges) {
    const Date day = at(0, 0);
    EXPECT_EQ(parseTimeFromSubject(u"Review 3pm-4:30pm", day), range(at(15, 0), at(16, 30), 90));
    // PM carries over to an end without a suffix; AM does not.
    EXPECT_EQ(parseTimeFromSubject(u"Talk 2pm-3", day), range(at(14, 0), at(15, 0), 60));
    EXPECT_EQ(parseTimeFromSubject(u"Talk 10am-2", day), range(at(10, 0), at(2, 0), -480));
    EXPECT_EQ(parseTimeFromSubject(u"Talk 3-4pm", day), range(at(3, 0), at(16, 0), 780));
    EXPECT_EQ(parseTimeFromSubject(u"Talk 12am-12pm", day), range(at(0, 0), at(12, 0), 720));
    EXPECT_EQ(parseTimeFromSubject(u"Retro 14:00\u201415:15", day), range(at(14, 0), at(15, 15), 75));
    EXPECT_EQ(parseTimeFromSubject(u"Lunch 25:00-26:00", day), std::nullopt);
    // No range: the recurrence parser on the subject.
    EXPECT_EQ(parseTimeFromSubject(u"Standup 9:15", day), startOnly(at(9, 15)));
    EXPECT_EQ(parseTimeFromSubject(u"Planning", day), startOnly(day));
}

TEST(CalendarInferenceTest, FileNames) {
    const Date day = at(0, 0);
    EXPECT_EQ(parseTimeFromFilename(u"meeting 0930-1045.msg", day), range(at(9, 30), at(10, 45), 75));
    EXPECT_EQ(parseTimeFromFilename(u"meeting_0930-1045.msg", day), std::nullopt);  // "_0930" is one word
    EXPECT_EQ(parseTimeFromFilename(u"slot 9-11.msg", day), range(at(9, 0), at(11, 0), 120));
    EXPECT_EQ(parseTimeFromFilename(u"slot 11-9.msg", day), std::nullopt);
    EXPECT_EQ(parseTimeFromFilename(u"call 2330_2400.msg", day), std::nullopt);
    EXPECT_EQ(parseTimeFromFilename(u"09301045.msg", day), range(at(9, 30), at(10, 45), 75));
    // Hours only come before the eight digits.
    EXPECT_EQ(parseTimeFromFilename(u"09301045 8-9.msg", day), range(at(8, 0), at(9, 0), 60));
    EXPECT_EQ(parseTimeFromFilename(u"minutes.msg", day), std::nullopt);
}

TEST(CalendarInferenceTest, RecurrenceDescriptions) {
    const Date day = at(0, 0);
    EXPECT_EQ(parseTimeFromRecurrence(u"every Tuesday from 10:00 to 11:30", day), range(at(10, 0), at(11, 30), 90));
    EXPECT_EQ(parseTimeFromRecurrence(u"daily 9:00 AM, 12:00 PM and 5:00 PM", day), range(at(9, 0), at(12, 0), 180));
    EXPECT_EQ(parseTimeFromRecurrence(u"at 12:05 am", day), startOnly(at(0, 5)));
    EXPECT_EQ(parseTimeFromRecurrence(u"every weekday", at(0, 0)), startOnly(at(0, 0)));
    // The day the text names, as it is.
    EXPECT_EQ(parseTimeFromRecurrence(u"every week effective 2024-03-12", day), startOnly(Date{kDay + 7 * 86400}));
    // An hour past 23 rolls into the next day, as the calendar builds it.
    EXPECT_EQ(parseTimeFromRecurrence(u"until 25:30", day), startOnly(at(25, 30)));
}

TEST(CalendarInferenceTest, MealWords) {
    const Date day = at(0, 0);
    EXPECT_EQ(inferTimeFromKeywords(u"Afternoon TEA!", day), range(at(18, 0), at(21, 0), 180));
    EXPECT_EQ(inferTimeFromKeywords(u"Fr\u00fchst\u00fcck im Hotel", day), range(at(7, 0), at(9, 0), 120));
    // Punctuation inside becomes a space: breakfast is found before the lunch word.
    EXPECT_EQ(inferTimeFromKeywords(u"Petit-d\u00e9jeuner d'affaires", day), range(at(7, 0), at(9, 0), 120));
    EXPECT_EQ(inferTimeFromKeywords(u"D\u00e9jeuner", day), range(at(12, 0), at(14, 0), 120));
    EXPECT_EQ(inferTimeFromKeywords(u"...almo\u00e7o...", day), range(at(12, 0), at(14, 0), 120));
    EXPECT_EQ(inferTimeFromKeywords(u"Teams sync", day), std::nullopt);
}

TEST(CalendarInferenceTest, EmptyOrMissingTextsGiveNothing) {
    for (const OptionalText& text : {OptionalText{}, OptionalText{u""}}) {
        EXPECT_FALSE(parseTimeFromRecurrence(text, at(0, 0)));
        EXPECT_FALSE(parseTimeFromSubject(text, at(0, 0)));
        EXPECT_FALSE(parseTimeFromFilename(text, at(0, 0)));
        EXPECT_FALSE(inferTimeFromKeywords(text, at(0, 0)));
        EXPECT_FALSE(extractDateFromString(text));
    }
}

TEST(CalendarInferenceTest, MissingBaseDateMeansToday) {
    const auto today = [] { return calendarFields(currentDate())->day; };
    const int before = today();
    const auto times = parseTimeFromFilename(u"slot 9-11.msg", std::nullopt);
    const int after = today();
    ASSERT_TRUE(times);
    const auto start = calendarFields(times->startTime);
    EXPECT_TRUE(start->day == before || start->day == after);
    EXPECT_EQ(start->hour, 9);
}

TEST(CalendarInferenceTest, ExtractsDatesByDetectorThenByPattern) {
    EXPECT_EQ(extractDateFromString(u"Due 2024-03-05, see notes"), Date{kDay});
    EXPECT_EQ(extractDateFromString(u"20240305T093000Z"), Date{kDay + 9.5 * 3600});
    EXPECT_EQ(extractDateFromString(u"no date here"), std::nullopt);
}

TEST(CalendarInferenceTest, TimesAreBuiltInTheHostZone) {
    icu::TimeZone* saved = icu::TimeZone::createDefault();
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("America/New_York"));
    const Date newYorkMidnight{kDay + 5 * 3600};
    Dictionary d = item(newYorkMidnight, u"Review 3pm-4:30pm");
    enrich(d, u"");
    Dictionary utcMidnight = item(at(0, 0), u"Review 3pm-4:30pm");  // 19:00 the day before in New York
    enrich(utcMidnight, u"");
    icu::TimeZone::adoptDefault(saved);
    EXPECT_EQ(utcText(d.get(u"Start Time")), "2024-03-05 20:00");
    EXPECT_EQ(utcText(utcMidnight.get(u"Start Time")), "2024-03-05 00:00");
}

}  // namespace
}  // namespace tessivo
