#include <gtest/gtest.h>

#include <algorithm>

#include "tessivo/foundation/value.h"
#include "tessivo/foundation/zeroed_bytes.h"

namespace tessivo {
namespace {

TEST(DictionaryTest, KeepsInsertionOrderAndReplacesInPlace) {
    Dictionary d;
    d.set(u"b", Value(1));
    d.set(u"a", Value(2));
    d.set(u"c", Value(3));
    d.set(u"a", Value(u"two"));
    ASSERT_EQ(d.size(), 3u);
    EXPECT_EQ(d.keys(), (std::vector<icu::UnicodeString>{u"b", u"a", u"c"}));
    EXPECT_EQ(*d.get(u"a")->string(), icu::UnicodeString(u"two"));
    EXPECT_EQ(d.get(u"missing"), nullptr);
}

TEST(DictionaryTest, EraseKeepsLookupsConsistent) {
    Dictionary d;
    for (int i = 0; i < 5; ++i) d.set(icu::UnicodeString(static_cast<UChar>(u'a' + i)), Value(i));
    EXPECT_TRUE(d.erase(u"b"));
    EXPECT_FALSE(d.erase(u"b"));
    EXPECT_EQ(d.get(u"e")->toInt64(), 4);
    EXPECT_EQ(d.keys(), (std::vector<icu::UnicodeString>{u"a", u"c", u"d", u"e"}));
}

TEST(DictionaryTest, LargeDictionariesFindEveryKeyAsTheyGrowAndShrink) {
    // Past a few keys lookups go through a hash index, rebuilt as it fills up.
    const auto key = [](int i) { return fromUtf8("__substg1.0_" + std::to_string(i)); };
    Dictionary d;
    for (int i = 0; i < 300; ++i) {
        d.set(key(i), Value(i));
        ASSERT_EQ(d.get(key(i / 2))->toInt64(), i / 2) << i;
    }
    for (int i = 0; i < 300; i += 3) d.set(key(i), Value(-i));
    ASSERT_EQ(d.size(), 300u);
    EXPECT_EQ(d.keys()[3], key(3));
    for (int i = 0; i < 300; ++i) EXPECT_EQ(d.get(key(i))->toInt64(), i % 3 ? i : -i);
    EXPECT_EQ(d.get(key(300)), nullptr);

    Dictionary copy = d;
    for (int i = 0; i < 295; ++i) ASSERT_TRUE(copy.erase(key(i)));
    EXPECT_EQ(copy.keys(), (std::vector<icu::UnicodeString>{key(295), key(296), key(297), key(298), key(299)}));
    EXPECT_EQ(copy.get(key(10)), nullptr);
    copy.set(key(10), Value(10));
    EXPECT_EQ(copy.get(key(10))->toInt64(), 10);
    EXPECT_EQ(d.get(key(10))->toInt64(), 10) << "the original keeps its entries";
    EXPECT_EQ(d.size(), 300u);
}

TEST(DictionaryTest, EqualityIgnoresOrderButNotValues) {
    Dictionary a, b;
    a.set(u"x", Value(1u));
    a.set(u"y", Value(Bytes{1, 2}));
    b.set(u"y", Value(Bytes{1, 2}));
    b.set(u"x", Value(1u));
    EXPECT_EQ(a, b);
    b.set(u"x", Value(2u));
    EXPECT_FALSE(a == b);
}

TEST(ValueTest, NumbersConvertAcrossKindsAndOthersAreZero) {
    EXPECT_EQ(Value(std::uint64_t{7}).toInt64(), 7);
    EXPECT_EQ(Value(-3).toUInt64(), static_cast<std::uint64_t>(-3));
    EXPECT_DOUBLE_EQ(Value(true).toDouble(), 1.0);
    EXPECT_EQ(Value(u"12").toInt64(), 0);
    EXPECT_TRUE(Value().isNull());
}

TEST(ValueTest, DescribeNestsContainers) {
    Dictionary inner;
    inner.set(u"k", Value(u"v"));
    Value v(Array{Value(1), Value(std::move(inner)), Value(Bytes(3))});
    EXPECT_EQ(v.describe(), "(1, {k = v}, {length = 3})");
}

TEST(ValueTest, Utf8RoundTrip) {
    const icu::UnicodeString s(u"Caf\u00e9 \U0001F600");
    EXPECT_EQ(fromUtf8(toUtf8(s)), s);
}

// Sizes around the huge-page path: below one huge page, and several pages
// with an unaligned tail.
TEST(ZeroedBytesTest, HoldsExactlyTheCountOfZeros) {
    for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{(2 << 20) - 1}, std::size_t{(5 << 20) + 3}}) {
        const Bytes bytes = zeroedBytes(count);
        ASSERT_EQ(bytes.size(), count);
        EXPECT_TRUE(std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; }));
    }
}

}  // namespace
}  // namespace tessivo
