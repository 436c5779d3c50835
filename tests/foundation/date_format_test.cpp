#include <gtest/gtest.h>

#include "tessivo/foundation/date_format.h"

namespace tessivo {
namespace {

TEST(DateFormatTest, ParsesWholeTextOnly) {
    auto f = DateFormatter::withPattern(u"EEE, dd MMM yyyy HH:mm:ss Z");
    ASSERT_TRUE(f);
    EXPECT_EQ(f->parse(u"Mon, 01 Jan 2024 10:00:00 +0000"), Date{1704103200});
    EXPECT_EQ(f->parse(u"Mon, 01 Jan 2024 10:00:00 -0530"), Date{1704103200 + 19800});
    EXPECT_FALSE(f->parse(u"Mon, 01 Jan 2024 10:00:00 +0000 (UTC)"));
    EXPECT_FALSE(f->parse(u"Mon, 01 Jan 2024"));
    EXPECT_FALSE(f->parse(u""));
    EXPECT_FALSE(f->parse(u"Mon, 32 Jan 2024 10:00:00 +0000"));  // not lenient
}

TEST(DateFormatTest, PatternWithoutZoneUsesNamedOrDefaultZone) {
    auto utc = DateFormatter::withPattern(u"yyyy-MM-dd HH:mm:ss");
    ASSERT_TRUE(utc);  // tests run with TZ=UTC
    EXPECT_EQ(utc->parse(u"1970-01-02 00:00:00"), Date{86400});
    auto tokyo = DateFormatter::withPattern(u"yyyy-MM-dd HH:mm:ss", "Asia/Tokyo");
    ASSERT_TRUE(tokyo);
    EXPECT_EQ(tokyo->parse(u"1970-01-02 09:00:00"), Date{86400});
    EXPECT_FALSE(DateFormatter::withPattern(u"yyyy", "No/Such_Zone"));
}

TEST(DateFormatTest, FormatsInGmtWithPosixNames) {
    auto f = DateFormatter::withPattern(u"EEE, dd MMM yyyy HH:mm:ss Z", "GMT");
    ASSERT_TRUE(f);
    EXPECT_EQ(f->format(Date{0}), icu::UnicodeString(u"Thu, 01 Jan 1970 00:00:00 +0000"));
    EXPECT_EQ(f->format(Date{-1}), icu::UnicodeString(u"Wed, 31 Dec 1969 23:59:59 +0000"));
}

TEST(DateFormatTest, StylesGiveReadableDateAndTime) {
    auto f = DateFormatter::withStyles(DateStyle::Medium, DateStyle::Short, "UTC");
    ASSERT_TRUE(f);
    const icu::UnicodeString s = f->format(Date{1704103200});
    EXPECT_NE(s.indexOf(u"2024"), -1);
    EXPECT_NE(s.indexOf(u"Jan"), -1);
    EXPECT_NE(s.indexOf(u"10:00"), -1);
}

}  // namespace
}  // namespace tessivo
