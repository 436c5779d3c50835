#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tessivo/toolkit/date_strings.h"
#include "tessivo/toolkit/time_functions.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo {
namespace {

using U = icu::UnicodeString;
constexpr double kJan1st2024At10 = 1704103200;

TEST(EpochTest, WindowsAndVmsTicks) {
    EXPECT_EQ(timewindowstounix(116444736000000000ULL), 0);
    std::uint64_t epoch = 116444736000000000ULL;
    EXPECT_EQ(filetime_to_unix(&epoch), 0);
    EXPECT_EQ(timeunixtowindows(0), 116444736000000000ULL);
    EXPECT_EQ(timeunixtovms(0), 35067168000000000ULL);
    EXPECT_EQ(timeunixtowindows(-1), 116444735990000000ULL);
    // Divide first versus subtract first, just before 1970.
    EXPECT_EQ(TimeWangers::getUnixTimeFromWindowsTime(116444735990000001ULL), -1);
    EXPECT_EQ(timewindowstounix(116444735990000001ULL), 0);
    std::uint64_t justBefore = 116444735990000001ULL;
    EXPECT_EQ(filetime_to_unix(&justBefore), -1);
    EXPECT_EQ(TimeWangers::getUnixTimeFromVMSTime(35067168000000000ULL + 25 * kTicksPerSecond), 25);
    EXPECT_EQ(TimeWangers::getVMSTimeFromUnixTime(1), 35067168010000000ULL);
    EXPECT_EQ(TimeWangers::getWindowsTimeFromUnixTime(1), 116444736010000000ULL);
}

TEST(EpochTest, DatesOfOtherEpochs) {
    EXPECT_EQ(TimeWangers::dateFromOLEDate(25569.0), Date{0});
    EXPECT_EQ(TimeWangers::dateFromOLEDate(0.0), Date{-2209161600});
    EXPECT_EQ(TimeWangers::dateFromOLEDate(25569.5), Date{43200});
    EXPECT_FALSE(TimeWangers::dateFromOLEDate(NAN));
    EXPECT_FALSE(TimeWangers::dateFromOLEDate(INFINITY));
    EXPECT_DOUBLE_EQ(TimeWangers::oleDateFromDate(Date{86400}), 25570.0);
    EXPECT_EQ(TimeWangers::oleDateFromDate(std::nullopt), 0.0);

    EXPECT_EQ(TimeWangers::dateFromHFSDate(2082844800), Date{0});
    EXPECT_EQ(TimeWangers::dateFromHFSDate(0), Date{-2082844800});
    EXPECT_EQ(TimeWangers::hfsDateFromDate(Date{0}), 2082844800u);
    EXPECT_EQ(TimeWangers::hfsDateFromDate(std::nullopt), 0u);
    EXPECT_EQ(TimeWangers::dateFromCFAbsoluteTime(0), Date{978307200});

    EXPECT_FALSE(TimeWangers::dateFromMAPITime(0));
    EXPECT_EQ(TimeWangers::dateFromMAPITime(116444736000000000ULL + 15), Date{0});
    EXPECT_EQ(TimeWangers::mapiTimeFromDate(Date{1.9}), 116444736010000000ULL);
    EXPECT_EQ(TimeWangers::mapiTimeFromDate(std::nullopt), 0u);
}

TEST(ValidityTest, LeapYearsAndDates) {
    EXPECT_FALSE(is_leap_year(1900));
    EXPECT_TRUE(is_leap_year(2000));
    EXPECT_TRUE(TimeWangers::isLeapYear(2024));
    EXPECT_FALSE(date_is_valid(29, 2, 2100));
    EXPECT_TRUE(date_is_valid(29, 2, 2000));
    EXPECT_TRUE(TimeWangers::dateIsValidWithDay(31, 12, 2023));
    EXPECT_FALSE(TimeWangers::dateIsValidWithDay(31, 4, 2023));
    EXPECT_FALSE(date_is_valid(0, 1, 2023));
    EXPECT_FALSE(date_is_valid(1, 13, 2023));
}

TEST(ValidityTest, ClockTimesAndAngles) {
    EXPECT_TRUE(time_is_valid("time", 23.59));
    EXPECT_FALSE(time_is_valid("time", 23.6));
    EXPECT_FALSE(time_is_valid("time", 24.0));
    EXPECT_TRUE(time_is_valid("lat", -90.3));
    EXPECT_FALSE(time_is_valid("lat", 91.0));
    EXPECT_TRUE(time_is_valid("long", 360.0));
    // "" is a prefix of all three names and gets every check; "l" gets long and lat.
    EXPECT_FALSE(time_is_valid("", 100.0));
    EXPECT_FALSE(time_is_valid("l", 100.0));
    EXPECT_TRUE(time_is_valid("lo", 100.0));
    EXPECT_TRUE(time_is_valid("other", 1000.0));

    // Single precision: 12.59f carries a fraction just above 0.59.
    EXPECT_TRUE(TimeWangers::timeIsValid(12.59f, 0));
    EXPECT_FALSE(TimeWangers::timeIsValid(12.6f, 0));
    EXPECT_FALSE(TimeWangers::timeIsValid(24.0f, 0));
    EXPECT_TRUE(TimeWangers::timeIsValid(359.0f, 1));
    EXPECT_FALSE(TimeWangers::timeIsValid(-91.0f, 2));
    EXPECT_TRUE(TimeWangers::timeIsValid(5000.0f, 7));
}

TEST(HeaderDateTest, ParsesTheHeaderPatterns) {
    // Two spaces become one before parsing; "2024-01-01" falls back to the free-form patterns.
    for (const char16_t* text : {u"Mon, 01 Jan 2024 10:00:00 +0000", u"Mon,  01 Jan 2024 10:00:00 +0000",
                                 u" Mon, 1 Jan 2024 11:00:00 +0100\r\n", u"1 Jan 2024 10:00:00 +0000",
                                 u"2024-01-01T10:00:00.000+0000", u"Mon Jan 1 10:00:00 2024"})
        EXPECT_EQ(TimeWangers::dateFromMIMEString(U(text)), Date{kJan1st2024At10}) << toUtf8(text);
    EXPECT_EQ(TimeWangers::dateFromMIMEString(U(u"2024-01-01")), Date{kJan1st2024At10 - 36000});
    EXPECT_FALSE(TimeWangers::dateFromMIMEString(U(u"not a date")));
    EXPECT_FALSE(TimeWangers::dateFromMIMEString(U()));
    EXPECT_FALSE(TimeWangers::dateFromMIMEString(std::nullopt));
}

TEST(HeaderDateTest, WritesGmt) {
    EXPECT_EQ(TimeWangers::mimeStringFromDate(Date{kJan1st2024At10}), U(u"Mon, 01 Jan 2024 10:00:00 +0000"));
    EXPECT_EQ(TimeWangers::mimeStringFromDate(std::nullopt), U());
}

TEST(HeaderDateTest, ZoneOffsets) {
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Mon, 1 Jan 2024 10:00:00 -0530")), -19800);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Mon, 1 Jan 2024 10:00:00 +0100  ")), 3600);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Tue, 2 Jan 2024 10:00:00 CEST")), 7200);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Tue, 2 Jan 2024 10:00:00 AEDT")), 39600);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Tue, 2 Jan 2024 10:00:00 EST")), -18000);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Tue, 2 Jan 2024 10:00:00 IST")), 19800);
    // An offset not at the end is not numeric; the first abbreviation in table order wins.
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"+0200 (PST, GMT)")), 0);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(U(u"Wed, 3 Jan 2024 10:00:00")), 0);
    EXPECT_EQ(TimeWangers::timezoneOffsetFromDateString(std::nullopt), 0);
}

TEST(FreeDateTest, ConvertStringToDate) {
    EXPECT_EQ(convertStringToDate(U(u"2024-01-01 10:00:00")), Date{kJan1st2024At10});
    EXPECT_EQ(convertStringToDate(U(u"20240101T100000Z")), Date{kJan1st2024At10});
    EXPECT_EQ(convertStringToDate(U(u"01 Jan 2024 at 10:00")), Date{kJan1st2024At10});
    EXPECT_EQ(convertStringToDate(U(u"31/01/2024 10:00")), Date{kJan1st2024At10 + 30 * 86400});
    EXPECT_EQ(convertStringToDate(U(u"01/31/2024, 10:00")), Date{kJan1st2024At10 + 30 * 86400});
    // "hh" is a 12-hour field: 13 o'clock does not parse with it.
    EXPECT_FALSE(convertStringToDate(U(u"5 Mar 2024 13:00")));
    EXPECT_FALSE(convertStringToDate(U(u"2024-01-01 junk")));
    EXPECT_FALSE(convertStringToDate(std::nullopt));
}

TEST(FreeDateTest, TwelveAndTwentyFourHourClocks) {
    EXPECT_EQ(create24HourStringFrom12HourString(U(u"12:30 am")), U(u"00:30"));
    EXPECT_EQ(create24HourStringFrom12HourString(U(u"12:30 PM")), U(u"12:30"));
    EXPECT_EQ(create24HourStringFrom12HourString(U(u"1:05pm")), U(u"13:05"));
    EXPECT_EQ(create24HourStringFrom12HourString(U(u"9:60")), U(u"09:60"));
    EXPECT_FALSE(create24HourStringFrom12HourString(U(u"9:61")));
    EXPECT_FALSE(create24HourStringFrom12HourString(U(u"24:00")));
    EXPECT_FALSE(create24HourStringFrom12HourString(U(u"noon")));

    EXPECT_EQ(create12HourStringFrom24HourString(U(u"00:30")), U(u"12:30AM"));
    EXPECT_EQ(create12HourStringFrom24HourString(U(u"0:05")), U(u"12:05AM"));
    EXPECT_EQ(create12HourStringFrom24HourString(U(u"12:00")), U(u"12:00PM"));
    EXPECT_EQ(create12HourStringFrom24HourString(U(u"13:05")), U(u"1:05PM"));
    EXPECT_EQ(create12HourStringFrom24HourString(U(u"24:00")), U(u"12:00PM"));
    EXPECT_FALSE(create12HourStringFrom24HourString(U(u"25:00")));
    EXPECT_FALSE(create12HourStringFrom24HourString(U(u"7")));
}

TEST(FreeDateTest, FormatDataAsDate) {
    const std::string field = "a;b;c;ID-240131102030-x;e";
    auto shown = formatDataAsDate(Bytes(field.begin(), field.end()));
    ASSERT_TRUE(shown);
    EXPECT_NE(shown->indexOf(u"Jan 31, 2024"), -1);
    EXPECT_NE(shown->indexOf(u"10:20"), -1);
    EXPECT_FALSE(formatDataAsDate({}));
    const std::string missing = "a;b;c";
    EXPECT_FALSE(formatDataAsDate(Bytes(missing.begin(), missing.end())));
    const std::string shortStamp = "a;b;c;ID-2401-x";
    EXPECT_FALSE(formatDataAsDate(Bytes(shortStamp.begin(), shortStamp.end())));
}

TEST(FreeDateTest, ConvertDateToStringWithFormat) {
    EXPECT_EQ(convertDateToStringWithFormat(Date{kJan1st2024At10}, u"dd MMM  yyyy 'at' HH:mm"), u"01 Jan  2024 at 10:00");
    EXPECT_EQ(convertDateToStringWithFormat(Date{kJan1st2024At10}, u"E, d MMM yyyy HH:mm:ss Z"),
              u"Mon, 1 Jan 2024 10:00:00 +0000");
}

TEST(CLibraryTimeTest, FormatsAndParses) {
    EXPECT_EQ(string_from_time(86400, "%Y-%m-%d %H:%M:%S"), "1970-01-02 00:00:00");
    EXPECT_EQ(string_from_time(0, nullptr), "");
    EXPECT_EQ(time_from_string("2024-01-01 10:00:00", "%Y-%m-%d %H:%M:%S"), 1704103200);
    EXPECT_EQ(time_from_string("1960-01-01 00:00:00", "%Y-%m-%d %H:%M:%S"), 0);
    EXPECT_EQ(time_from_string("x", nullptr), 0);

    std::uint64_t ticks = timeunixtowindows(1704103200);
    char out[64];
    EXPECT_EQ(filetime_to_string(&ticks, "%Y-%m-%d", out), 10u);
    EXPECT_STREQ(out, "2024-01-01");
    // 39 bytes including the terminator at most.
    EXPECT_EQ(filetime_to_string(&ticks, "%Y-%m-%d %Y-%m-%d %Y-%m-%d %Y-%m-%d", out), 0u);
    std::tm tm{};
    EXPECT_EQ(filetime_to_tm(&ticks, &tm)->tm_hour, 10);
    EXPECT_STREQ(filetime_to_format(&ticks, sizeof out, out, "%H:%M"), "10:00");
    EXPECT_EQ(std::strlen(now_to_format(sizeof out, out, "%Y")), 4u);

    testing::internal::CaptureStdout();
    debug_time(&tm);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find("10   hours since midnight (0-23)\n"), std::string::npos);
    EXPECT_NE(printed.find("124   years since 1900\n"), std::string::npos);
}

}  // namespace
}  // namespace tessivo
