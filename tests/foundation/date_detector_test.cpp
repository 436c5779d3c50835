#include <iostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/timezone.h>

#include "tessivo/foundation/calendar.h"
#include "tessivo/foundation/date_detector.h"
#include "tessivo/foundation/date_format.h"

namespace tessivo {
namespace {

// Monday 4 March 2024, 15:20 UTC (tests run with TZ=UTC).
const Date kBase{1709565600};

std::string utcText(Date d) {
    return toUtf8(DateFormatter::withPattern(u"yyyy-MM-dd HH:mm:ss", "UTC")->format(d));
}

struct Phrasing {
    const char16_t* text;
    const char* date;     // UTC, as the detector should read it
    const char16_t* mention;  // the part of the text it should cover
};

// Phrasings as they occur in mail: headers quoted in replies, invitations,
// invoices, recurrence patterns, chat-style notes.
const std::vector<Phrasing> kPhrasings = {
    // ISO dates and date-times
    {u"Deadline: 2024-03-15", "2024-03-15 00:00:00", u"2024-03-15"},
    {u"Build started at 2024-03-05T09:30:00Z on runner 4", "2024-03-05 09:30:00", u"2024-03-05T09:30:00Z"},
    {u"Logged 2024-03-05 14:07:33 by the server", "2024-03-05 14:07:33", u"2024-03-05 14:07:33"},
    {u"Window opens 2024-03-05T09:30+01:00", "2024-03-05 08:30:00", u"2024-03-05T09:30+01:00"},
    {u"See the report dated 2023/12/31.", "2023-12-31 00:00:00", u"2023/12/31"},
    {u"Timestamp 2024-02-29T23:59:59.123Z", "2024-02-29 23:59:59", u"2024-02-29T23:59:59.123Z"},
    {u"Your appointment: 2024-04-02 at 14:15", "2024-04-02 14:15:00", u"2024-04-02 at 14:15"},
    {u"Version 1.2.3 shipped on 2024-03-01", "2024-03-01 00:00:00", u"2024-03-01"},
    {u"archived on 2024.03.05 by the admin", "2024-03-05 00:00:00", u"2024.03.05"},
    // numeric with "/": month first
    {u"Please reply by 3/15/2024.", "2024-03-15 00:00:00", u"3/15/2024"},
    {u"Invoice date: 03/05/2024", "2024-03-05 00:00:00", u"03/05/2024"},
    {u"Your order shipped 12/24/23", "2023-12-24 00:00:00", u"12/24/23"},
    {u"Occurs every Tuesday effective 3/5/2024 from 10:00 AM to 11:30 AM.", "2024-03-05 10:00:00",
     u"3/5/2024 from 10:00 AM"},
    {u"Payment received 25/12/2024, thank you", "2024-12-25 00:00:00", u"25/12/2024"},
    {u"Sent: 1/9/2024 4:12 PM", "2024-01-09 16:12:00", u"1/9/2024 4:12 PM"},
    {u"Account statement for the period 01/01/2024 to 01/31/2024", "2024-01-01 00:00:00", u"01/01/2024"},
    {u"Call 555-123-4567 about the 3/18/2024 meeting", "2024-03-18 00:00:00", u"3/18/2024"},
    {u"Next session 6/12/24 @ 7:00pm", "2024-06-12 19:00:00", u"6/12/24 @ 7:00pm"},
    // numeric with ".": day first
    {u"Termin am 05.03.2024 um 14 Uhr", "2024-03-05 00:00:00", u"05.03.2024"},
    {u"Rechnung vom 28.02.24", "2024-02-28 00:00:00", u"28.02.24"},
    {u"meeting 5.3.2024, 10:00 in room B", "2024-03-05 10:00:00", u"5.3.2024, 10:00"},
    {u"Submitted 10.10.2023 18:45", "2023-10-10 18:45:00", u"10.10.2023 18:45"},
    // numeric with "-": month first
    {u"Period ending 03-31-2024", "2024-03-31 00:00:00", u"03-31-2024"},
    {u"DOB 07-04-1990", "1990-07-04 00:00:00", u"07-04-1990"},
    // day, month name, year, with or without weekday
    {u"Tuesday, 5 March 2024", "2024-03-05 00:00:00", u"Tuesday, 5 March 2024"},
    {u"Expires 5 Mar 24", "2024-03-05 00:00:00", u"5 Mar 24"},
    {u"On Mon, 4 Mar 2024 10:02:11 +0100, Anna wrote:", "2024-03-04 09:02:11", u"Mon, 4 Mar 2024 10:02:11 +0100"},
    {u"the conference runs from 12th June", "2024-06-12 00:00:00", u"12th June"},
    {u"Sat 16 Nov 2024", "2024-11-16 00:00:00", u"Sat 16 Nov 2024"},
    {u"Webinar on the 21st of May 2024", "2024-05-21 00:00:00", u"the 21st of May 2024"},
    {u"Date: Friday, 1 March 2024 15:45", "2024-03-01 15:45:00", u"Friday, 1 March 2024 15:45"},
    {u"Holiday: 25-Dec-2024", "2024-12-25 00:00:00", u"25-Dec-2024"},
    {u"See you 1 April!", "2024-04-01 00:00:00", u"1 April"},
    {u"Q3 review - 15 Aug 2024 - room 4", "2024-08-15 00:00:00", u"15 Aug 2024"},
    {u"Thu, 07 Nov 2024 08:00:00 GMT", "2024-11-07 08:00:00", u"Thu, 07 Nov 2024 08:00:00 GMT"},
    {u"Starts Monday 11 March 2024", "2024-03-11 00:00:00", u"Monday 11 March 2024"},
    {u"Flight LH 454 departs 12 APRIL 2024 07:15", "2024-04-12 07:15:00", u"12 APRIL 2024 07:15"},
    {u"leap day 29 Feb 2024", "2024-02-29 00:00:00", u"29 Feb 2024"},
    {u"Ref 123456, dated 14 May 2024", "2024-05-14 00:00:00", u"14 May 2024"},
    {u"Kickoff: 2 September 2024, 09:00-10:00", "2024-09-02 09:00:00", u"2 September 2024, 09:00"},
    {u"Save the 1st of July", "2024-07-01 00:00:00", u"the 1st of July"},
    {u"Monday, 18th March, 2024", "2024-03-18 00:00:00", u"Monday, 18th March, 2024"},
    {u"10:30 on 5 March", "2024-03-05 10:30:00", u"10:30 on 5 March"},
    // month name, day, year, with or without weekday
    {u"Join us on March 5, 2024 at 6:30 pm", "2024-03-05 18:30:00", u"March 5, 2024 at 6:30 pm"},
    {u"On Tue, Mar 5, 2024 at 9:14 AM John Smith <john@example.com> wrote:", "2024-03-05 09:14:00",
     u"Tue, Mar 5, 2024 at 9:14 AM"},
    {u"Due: Sept. 30, 2024", "2024-09-30 00:00:00", u"Sept. 30, 2024"},
    {u"released January 31st 2024", "2024-01-31 00:00:00", u"January 31st 2024"},
    {u"On Wednesday, February 28, 2024 11:02 PM, Bob wrote:", "2024-02-28 23:02:00",
     u"Wednesday, February 28, 2024 11:02 PM"},
    {u"dinner Feb 14", "2024-02-14 00:00:00", u"Feb 14"},
    {u"party on Dec 31st at 9pm", "2024-12-31 21:00:00", u"Dec 31st at 9pm"},
    {u"Deadline is Nov 1", "2024-11-01 00:00:00", u"Nov 1"},
    {u"Sent: Thursday, July 11, 2024 3:45 PM", "2024-07-11 15:45:00", u"Thursday, July 11, 2024 3:45 PM"},
    {u"Total $1,234.56 due March 20", "2024-03-20 00:00:00", u"March 20"},
    {u"Wed Mar 6 2024", "2024-03-06 00:00:00", u"Wed Mar 6 2024"},
    {u"Reminder: Fri, Mar 8", "2024-03-08 00:00:00", u"Fri, Mar 8"},
    {u"Scheduled for Jun 3 2025 2:00 PM", "2025-06-03 14:00:00", u"Jun 3 2025 2:00 PM"},
    {u"at 11:00 AM, March 8th", "2024-03-08 11:00:00", u"11:00 AM, March 8th"},
    {u"Fri Mar  8 09:15:00 2024", "2024-03-08 09:15:00", u"Fri Mar  8 09:15:00"},
    // today and tomorrow
    {u"Can we talk tomorrow?", "2024-03-05 00:00:00", u"tomorrow"},
    {u"I'll send it today", "2024-03-04 00:00:00", u"today"},
    {u"meet tomorrow at 10:30", "2024-03-05 10:30:00", u"tomorrow at 10:30"},
    {u"3pm tomorrow works for me", "2024-03-05 15:00:00", u"3pm tomorrow"},
    {u"Today 9:00 standup", "2024-03-04 09:00:00", u"Today 9:00"},
    {u"Meeting moved to tomorrow 2pm.", "2024-03-05 14:00:00", u"tomorrow 2pm"},
    {u"as discussed yesterday", "2024-03-03 00:00:00", u"yesterday"},
    {u"tomorrow morning then", "2024-03-05 00:00:00", u"tomorrow"},
    // more of everything
    {u"Interview scheduled Thursday 14 March at 2.30pm", "2024-03-14 14:30:00", u"Thursday 14 March at 2.30pm"},
    {u"Sent: 05 March 2024 17:42", "2024-03-05 17:42:00", u"05 March 2024 17:42"},
    {u"From: Bob Sent: Mon 3/4/2024 8:15 AM To: Alice", "2024-03-04 08:15:00", u"3/4/2024 8:15 AM"},
    {u"The office is closed on Good Friday, 29 March.", "2024-03-29 00:00:00", u"Friday, 29 March"},
    {u"Order placed on Mar 2, 2024 - arriving Mar 6", "2024-03-02 00:00:00", u"Mar 2, 2024"},
    {u"Due date 2024-03-31T17:00:00-05:00", "2024-03-31 22:00:00", u"2024-03-31T17:00:00-05:00"},
    {u"Offer valid until 31 Dec. Terms apply.", "2024-12-31 00:00:00", u"31 Dec."},
    {u"Appointment: Wed., March 6th at 4 PM", "2024-03-06 16:00:00", u"Wed., March 6th at 4 PM"},
    {u"Delivered: 2024-03-02 11:20 AM", "2024-03-02 11:20:00", u"2024-03-02 11:20 AM"},
    {u"Posted 12 Mar, 2024", "2024-03-12 00:00:00", u"12 Mar, 2024"},
    {u"Week 10 (Mar 4 - Mar 8)", "2024-03-04 00:00:00", u"Mar 4"},
    {u"Updated: 04/03/2024 10:15:30", "2024-04-03 10:15:30", u"04/03/2024 10:15:30"},
    {u"Starts at 9:00 am on Monday, March 11, 2024", "2024-03-11 09:00:00", u"9:00 am on Monday, March 11, 2024"},
};

// Texts that mention no date, many of them with numbers that look like one.
const std::vector<const char16_t*> kNoDate = {
    u"",
    u"Thanks for your help!",
    u"Call me at +1 (555) 123-4567",
    u"My number is 555.123.4567",
    u"Tel: +44 20 7946 0958",
    u"Ring 06.12.34.56.78 after lunch",
    u"Call 1-800-555-0199",
    u"Total: $1,234.56",
    u"Price 12.50 EUR",
    u"EUR 1.250.000,00",
    u"Upgrade to version 2.10.4",
    u"Release v1.2.30 is out",
    u"Server 192.168.1.10 is down",
    u"See section 3.2.1 for details",
    u"ISBN 978-3-16-148410-0",
    u"Final score 3-2",
    u"Lunch at 12:30",
    u"Every Tuesday",
    u"see you in March",
    u"Order #20240305",
    u"Meeting room 4.12",
    u"Mix 1/2 cup of flour",
    u"Aspect ratio 16:9",
    u"May I ask a question?",
    u"Birthday 29 Feb 2023",
    u"Due 31/31/2024",
    u"Case 2024-1234 is closed",
    u"Tracking 1Z999AA10123456784",
};

TEST(DateDetectorTest, FindsTheDateOfRealPhrasings) {
    ASSERT_GE(kPhrasings.size(), 60u);
    std::size_t right = 0;
    for (const Phrasing& p : kPhrasings) {
        const icu::UnicodeString text(p.text);
        const auto found = detectFirstDate(text, kBase);
        const std::string got = found ? utcText(found->date) : "nothing";
        const icu::UnicodeString mention = found ? icu::UnicodeString(text, found->start, found->length) : u"";
        if (got == p.date && mention == p.mention)
            ++right;
        else
            std::cout << "miss: \"" << toUtf8(text) << "\" gave " << got << " from \"" << toUtf8(mention) << "\"\n";
    }
    const double score = 100.0 * static_cast<double>(right) / static_cast<double>(kPhrasings.size());
    std::cout << "date detector: " << right << " of " << kPhrasings.size() << " phrasings (" << score << "%)\n";
    EXPECT_GE(score, 95.0);
}

TEST(DateDetectorTest, TextsWithoutDatesGiveNothing) {
    for (const char16_t* text : kNoDate) {
        const auto found = detectFirstDate(text, kBase);
        EXPECT_FALSE(found) << toUtf8(text) << " gave " << utcText(found->date);
    }
}

TEST(DateDetectorTest, FirstOfSeveralDatesWins) {
    const icu::UnicodeString text(u"moved from March 12 to 2024-03-08, then tomorrow");
    const auto found = detectFirstDate(text, kBase);
    ASSERT_TRUE(found);
    EXPECT_EQ(utcText(found->date), "2024-03-12 00:00:00");
    EXPECT_EQ(found->start, 11);
    EXPECT_FALSE(found->hasTime);
}

TEST(DateDetectorTest, TwoDigitYearsFallNearTheBaseYear) {
    EXPECT_EQ(utcText(detectFirstDate(u"3/5/43", kBase)->date), "2043-03-05 00:00:00");
    EXPECT_EQ(utcText(detectFirstDate(u"3/5/44", kBase)->date), "1944-03-05 00:00:00");
    EXPECT_EQ(utcText(detectFirstDate(u"5 Mar 99", kBase)->date), "1999-03-05 00:00:00");
}

TEST(DateDetectorTest, RelativeWordsCrossMonthEnds) {
    const Date lastOfFebruary{1709164800};  // 2024-02-29 00:00 UTC
    EXPECT_EQ(utcText(detectFirstDate(u"tomorrow", lastOfFebruary)->date), "2024-03-01 00:00:00");
    EXPECT_EQ(utcText(detectFirstDate(u"yesterday", Date{1704067200})->date), "2023-12-31 00:00:00");
}

TEST(DateDetectorTest, DatesAreBuiltInTheHostZone) {
    icu::TimeZone* saved = icu::TimeZone::createDefault();
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("Europe/Berlin"));
    const auto local = detectFirstDate(u"on 5 March 2024 at 10:00", kBase);
    const auto zoned = detectFirstDate(u"on 5 March 2024 at 10:00 UTC", kBase);
    icu::TimeZone::adoptDefault(saved);
    ASSERT_TRUE(local && zoned);
    EXPECT_EQ(utcText(local->date), "2024-03-05 09:00:00");
    EXPECT_EQ(utcText(zoned->date), "2024-03-05 10:00:00");
}

TEST(DateDetectorTest, InvalidTimesStayOutOfTheMention) {
    const icu::UnicodeString text(u"5 March 2024 at 25:00");
    const auto found = detectFirstDate(text, kBase);
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->hasTime);
    EXPECT_EQ(found->length, 12);
    EXPECT_EQ(utcText(found->date), "2024-03-05 00:00:00");
}

TEST(DateDetectorTest, CalendarFieldsRoundTripAndBuildLeniently) {
    const auto f = calendarFields(Date{1709631000.75});  // 2024-03-05 09:30:00.75 UTC
    ASSERT_TRUE(f);
    EXPECT_EQ(f->year, 2024);
    EXPECT_EQ(f->month, 3);
    EXPECT_EQ(f->day, 5);
    EXPECT_EQ(f->hour, 9);
    EXPECT_EQ(f->minute, 30);
    EXPECT_EQ(f->second, 0);
    EXPECT_EQ(dateFromCalendarFields(*f), Date{1709631000});
    EXPECT_EQ(utcText(*dateFromCalendarFields({2024, 3, 5, 25, 0, 0})), "2024-03-06 01:00:00");
    EXPECT_EQ(utcText(*dateFromCalendarFields({2024, 3, 5, 12, 0, 0}, -5 * 3600)), "2024-03-05 17:00:00");
    EXPECT_FALSE(calendarFields(Date{1e300}));
}

}  // namespace
}  // namespace tessivo
