#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tessivo/mime/email_addresses.h"

namespace tessivo {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs namesAndAddresses(const Array& list) {
    Pairs out;
    for (const Value& v : list) {
        const Dictionary* d = v.dictionary();
        out.emplace_back(toUtf8(*d->get(u"Name")->string()), toUtf8(*d->get(u"Address")->string()));
    }
    return out;
}

Pairs parse(const char16_t* value) { return namesAndAddresses(processEmailAddresses(icu::UnicodeString(value))); }

TEST(EmailAddressesTest, PieceForms) {
    EXPECT_EQ(parse(u"\"Doe, Jane\" <jane@example.com>"), (Pairs{{"Doe, Jane", "jane@example.com"}}));
    EXPECT_EQ(parse(u"Ann Lee <ann@example.com>"), (Pairs{{"Ann Lee", "ann@example.com"}}));
    EXPECT_EQ(parse(u"bob@example.com"), (Pairs{{"", "bob@example.com"}}));
    EXPECT_EQ(parse(u"<bob@example.com>"), (Pairs{{"", "bob@example.com"}}));
    EXPECT_EQ(parse(u"bob@example.com (Bob Smith)"), (Pairs{{"Bob Smith", "bob@example.com"}}));
    EXPECT_EQ(parse(u"Undisclosed recipients"), (Pairs{{"Undisclosed recipients", ""}}));
    EXPECT_EQ(parse(u"\"O\\\"Neil\" <o@example.com>"), (Pairs{{"O\"Neil", "o@example.com"}}));
    EXPECT_EQ(parse(u"=?utf-8?Q?Ren=C3=A9?= <rene@example.com>"), (Pairs{{"Ren\xC3\xA9", "rene@example.com"}}));
}

TEST(EmailAddressesTest, SplitsAtCommasOutsideQuotes) {
    EXPECT_EQ(parse(u"\"Doe, Jane\" <jane@example.com>, bob@example.com ,, \"a\\,b\" <c@example.com>"),
              (Pairs{{"Doe, Jane", "jane@example.com"}, {"", "bob@example.com"}, {"a,b", "c@example.com"}}));
    // An escaped comma outside quotes does not split.
    EXPECT_EQ(parse(u"a\\,b <c@example.com>"), (Pairs{{"a,b", "c@example.com"}}));
}

TEST(EmailAddressesTest, LineBreaksTabsAndDoubleSpacesAreRemovedBeforeSplitting) {
    EXPECT_EQ(parse(u"Ann\r\n\tLee <ann@example.com>,\r\n bob@example.com"),
              (Pairs{{"AnnLee", "ann@example.com"}, {"", "bob@example.com"}}));
    EXPECT_EQ(parse(u"Ann  Lee <ann@example.com>"), (Pairs{{"AnnLee", "ann@example.com"}}));
    EXPECT_EQ(parse(u"Ann   Lee <ann@example.com>"), (Pairs{{"Ann Lee", "ann@example.com"}}));
}

TEST(EmailAddressesTest, NothingGivesAnEmptyList) {
    EXPECT_TRUE(processEmailAddresses(std::nullopt).empty());
    EXPECT_TRUE(processEmailAddresses(icu::UnicodeString()).empty());
    EXPECT_TRUE(parse(u" , ,").empty());
}

TEST(EmailAddressesTest, UnbalancedQuoteSwallowsTheRestOfTheList) {
    EXPECT_EQ(parse(u"\"a <a@example.com>, b@example.com"), (Pairs{{"\"a", "a@example.com"}}));
}

TEST(EmailAddressesTest, OverlongValuesSplitAtEveryComma) {
    icu::UnicodeString value(u"\"x, y\" <x@example.com>");
    while (value.length() <= kMaxQuotedSplitLength) value += u", z@example.com";
    const Pairs pairs = namesAndAddresses(processEmailAddresses(value));
    ASSERT_GT(pairs.size(), 2u);
    EXPECT_EQ(pairs[0].second, "");                 // the quoted comma split "x, y" apart
    EXPECT_EQ(pairs[1].second, "x@example.com");
}

TEST(EmailAddressesTest, LongListsStopAtTheAddressLimit) {
    icu::UnicodeString quoted, plain;
    for (std::size_t i = 0; i <= kMaxAddresses; ++i) quoted += u"\"a\" <a@example.com>, ";
    while (plain.length() <= kMaxQuotedSplitLength) plain += u"b@example.com,";
    for (std::size_t i = 0; i <= kMaxAddresses; ++i) plain += u"c@example.com,";
    EXPECT_EQ(processEmailAddresses(quoted).size(), kMaxAddresses);
    EXPECT_EQ(processEmailAddresses(plain).size(), kMaxAddresses);
}

TEST(EmailAddressesTest, BuildAddressFromTagsKeepsEmptyStrings) {
    const Dictionary d = buildAddressFromTags(u"", u"");
    EXPECT_EQ(d.keys(), (std::vector<icu::UnicodeString>{u"Name", u"Address"}));
    EXPECT_EQ(*d.get(u"Name")->string(), u"");
    EXPECT_EQ(*buildAddressFromTags(u"", u"a@example.com").get(u"Address")->string(), u"a@example.com");
}

}  // namespace
}  // namespace tessivo
