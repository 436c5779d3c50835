#include <gtest/gtest.h>

#include "tessivo/foundation/regex.h"

namespace tessivo {
namespace {

TEST(RegexTest, CompileErrorIsReported) {
    std::string error;
    EXPECT_FALSE(Regex::compile(u"(unclosed", Regex::None, &error));
    EXPECT_NE(error.find("U_REGEX_MISMATCHED_PAREN"), std::string::npos) << error;
    EXPECT_FALSE(regexSearch(u"[", u"["));
}

TEST(RegexTest, FirstMatchGivesGroupsAndRanges) {
    auto re = Regex::compile(u"([+-])(\\d{2})(\\d{2})\\s*$");
    ASSERT_TRUE(re);
    const icu::UnicodeString text(u"Mon, 1 Jan 2024 10:00:00 -0530 ");
    auto m = re->firstMatch(text);
    ASSERT_TRUE(m);
    EXPECT_EQ(m->range().start, 25);
    EXPECT_EQ(m->range().end, text.length());
    EXPECT_EQ(m->group(text, 1), icu::UnicodeString(u"-"));
    EXPECT_EQ(m->group(text, 3), icu::UnicodeString(u"30"));
    EXPECT_TRUE(m->group(text, 9).isEmpty());

    auto optional = Regex::compile(u"a(x)?b");
    auto om = optional->firstMatch(u"ab");
    ASSERT_TRUE(om);
    EXPECT_FALSE(om->groups[1].matched());
    EXPECT_FALSE(optional->firstMatch(u"ab", 1));
}

TEST(RegexTest, AllMatchesIncludingEmptyOnesAdvance) {
    auto words = Regex::compile(u"\\w+");
    const icu::UnicodeString text(u"one two  three");
    auto all = words->allMatches(text);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[2].group(text, 0), icu::UnicodeString(u"three"));

    auto empty = Regex::compile(u"x*");
    EXPECT_EQ(empty->allMatches(u"abc").size(), 4u);
}

TEST(RegexTest, ReplaceAllUsesTemplateAndFlags) {
    auto runs = Regex::compile(u"\n+");
    EXPECT_EQ(runs->replaceAll(u"a\n\n\nb\n", u"\n"), icu::UnicodeString(u"a\nb\n"));
    auto swap = Regex::compile(u"(\\w+)@(\\w+)", Regex::CaseInsensitive);
    EXPECT_EQ(swap->replaceAll(u"x FOO@bar y", u"$2 at $1"), icu::UnicodeString(u"x bar at FOO y"));
    EXPECT_EQ(swap->replaceAll(u"keep", u"$9"), icu::UnicodeString(u"keep"));
    auto lazy = Regex::compile(u"<.*?>");
    EXPECT_EQ(lazy->replaceAll(u"<a>text<b>", u""), icu::UnicodeString(u"text"));
}

TEST(RegexTest, WholeStringMatchIsAnchored) {
    EXPECT_TRUE(regexMatchesWhole(u"[A-Z0-9._%+-]+@[A-Z0-9.-]+", u"me@example.org", Regex::CaseInsensitive));
    EXPECT_FALSE(regexMatchesWhole(u"[a-z]+", u"abc1"));
    EXPECT_TRUE(regexSearch(u"[a-z]+", u"abc1"));
}

}  // namespace
}  // namespace tessivo
