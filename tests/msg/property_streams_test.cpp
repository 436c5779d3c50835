// Property look-ups: stream names, string fallback between the two string
// types, fixed-length values, times, trimming and string lists.
#include "msg_test_support.h"

namespace tessivo {
namespace {

using testing::ascii;
using testing::entries;
using testing::propertyEntry;
using testing::utf16le;

const icu::UnicodeString kPrefix(u"__substg1.0_");

TEST(PropertyStreamsTest, StreamNamesAreEightUpperCaseHexDigits) {
    EXPECT_EQ(ReadMSG::getHexFromElement(0x0037, 0x001F), u"0037001F");
    EXPECT_EQ(ReadMSG::getHexFromElement(0x8000, 0x001E), u"8000001E");
    EXPECT_EQ(ReadMSG::getHexFromElement(0x1013, 0x0102), u"10130102");
    EXPECT_EQ(ReadMSG::getHexFromElement(0, 0x001F), u"");
    EXPECT_EQ(ReadMSG::getHexFromElement(0x0037, 0), u"");
    // Numbers past four digits are written whole.
    EXPECT_EQ(ReadMSG::getHexFromElement(0x12345, 0xABCDEF01), u"12345ABCDEF01");
    EXPECT_EQ(ReadMSG::getHexFromElement(0xFFFFFFFF, 0x10000), u"FFFFFFFF10000");
    EXPECT_EQ(ReadMSG::generateKeyFromPrefix(kPrefix, 3, 0x0102), u"__substg1.0_00030102");
}

TEST(PropertyStreamsTest, MissingNullAndEmptyValuesAreAllAbsent) {
    Dictionary d = entries({{"__substg1.0_10130102", Bytes{}}, {"__substg1.0_10090102", Bytes{1}}});
    d.set(u"__substg1.0_10080102", Value());
    d.set(u"__substg1.0_37010102", Value(Dictionary{}));
    EXPECT_EQ(ReadMSG::getDataFromRoot(kPrefix, 0x1013, 0x0102, &d), nullptr);
    EXPECT_EQ(ReadMSG::getDataFromRoot(kPrefix, 0x1008, 0x0102, &d), nullptr);
    EXPECT_EQ(ReadMSG::getDataFromRoot(kPrefix, 0x1000, 0x0102, &d), nullptr);
    EXPECT_EQ(ReadMSG::getDataFromRoot(kPrefix, 0x3701, 0x0102, &d), nullptr);
    EXPECT_EQ(ReadMSG::getDataFromRoot(kPrefix, 0x1009, 0x0102, nullptr), nullptr);
    EXPECT_EQ(ReadMSG::getDataFromRoot(u"", 0, 0, &d), nullptr);
    ASSERT_NE(ReadMSG::getDataFromRoot(kPrefix, 0x1009, 0x0102, &d), nullptr);
    EXPECT_EQ(*ReadMSG::getDataFromRoot(kPrefix, 0x1009, 0x0102, &d), Bytes{1});
}

TEST(PropertyStreamsTest, StringsFallBackToTheOtherType) {
    const Dictionary only8 = entries({{"__substg1.0_0037001E", ascii("Hello")}});
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001F, &only8), u"Hello");
    const Dictionary only16 = entries({{"__substg1.0_0037001F", utf16le("Gr\xC3\xBC\xC3\x9F" "e")}});
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001E, &only16), u"Gr\u00fc\u00dfe");
    // An empty Unicode stream counts as absent and the 8-bit one is read.
    const Dictionary emptyUnicode =
        entries({{"__substg1.0_0037001F", Bytes{}}, {"__substg1.0_0037001E", ascii("Fallback")}});
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001F, &emptyUnicode), u"Fallback");
    // The asked type wins when both are present.
    const Dictionary both = entries({{"__substg1.0_0037001F", utf16le("Wide")}, {"__substg1.0_0037001E", ascii("Narrow")}});
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001F, &both), u"Wide");
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001E, &both), u"Narrow");
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001F, nullptr), u"");
    EXPECT_EQ(ReadMSG::decodeElement(0x0038, 0x001F, &both), u"");
}

TEST(PropertyStreamsTest, DecodedStringsAreCleaned) {
    Bytes padded = utf16le("  Subject line  ");
    padded.resize(64, 0);  // whole small sectors, NUL-padded
    const Dictionary d = entries({{"__substg1.0_0037001F", padded}});
    EXPECT_EQ(ReadMSG::decodeElement(0x0037, 0x001F, &d), u"Subject line");
}

TEST(PropertyStreamsTest, GeneralLookUpReadsEveryWholeEntry) {
    Bytes stream = propertyEntry(0x0E07, 0x0003, 1);
    const Bytes last = propertyEntry(0x3705, 0x0003, 5);
    stream.insert(stream.end(), last.begin(), last.end());
    const auto found = ReadMSG::getPropertyElement(0x3705, 0x0003, ByteView(stream));
    ASSERT_TRUE(found);
    EXPECT_EQ(*found, (Bytes{5, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(ReadMSG::getPropertyElement(0x3705, 0x0040, ByteView(stream)));
    EXPECT_FALSE(ReadMSG::getPropertyElement(0x3706, 0x0003, ByteView(stream)));

    // Trailing bytes short of an entry are ignored; short streams give nothing.
    Bytes ragged = stream;
    ragged.resize(stream.size() + 15, 0xFF);
    EXPECT_TRUE(ReadMSG::getPropertyElement(0x3705, 0x0003, ByteView(ragged)));
    EXPECT_FALSE(ReadMSG::getPropertyElement(0x3705, 0x0003, ByteView(last).first(15)));
    EXPECT_FALSE(ReadMSG::getPropertyElement(0x3705, 0x0003, std::nullopt));
}

TEST(PropertyStreamsTest, TimeLookUpNeverExaminesTheLastEntry) {
    const std::uint64_t noon = testing::fileTimeFromUnix(1700000000);
    const Bytes one = propertyEntry(0x0E06, 0x0040, noon);
    EXPECT_FALSE(ReadMSG::getDateFromPropertyElement(0x0E06, ByteView(one)));
    EXPECT_TRUE(ReadMSG::getPropertyElement(0x0E06, 0x0040, ByteView(one)));

    Bytes two = one;
    two.resize(32, 0);
    const auto date = ReadMSG::getDateFromPropertyElement(0x0E06, ByteView(two));
    ASSERT_TRUE(date);
    EXPECT_EQ(date->secondsSince1970, 1700000000);
    // The type must be a time.
    const Bytes integer = propertyEntry(0x0E06, 0x0003, noon);
    Bytes wrongType = integer;
    wrongType.resize(32, 0);
    EXPECT_FALSE(ReadMSG::getDateFromPropertyElement(0x0E06, ByteView(wrongType)));
}

TEST(PropertyStreamsTest, SubStorageStreamsLoseTheirEightByteHeader) {
    const Dictionary eight = entries({{"__properties_version1.0", Bytes(8, 0)}});
    EXPECT_FALSE(ReadMSG::trimmedPropertyStreamFromEntry(&eight));
    const Dictionary nine = entries({{"__properties_version1.0", Bytes{0, 0, 0, 0, 0, 0, 0, 0, 7}}});
    const auto trimmed = ReadMSG::trimmedPropertyStreamFromEntry(&nine);
    ASSERT_TRUE(trimmed);
    EXPECT_EQ(Bytes(trimmed->begin(), trimmed->end()), Bytes{7});
    EXPECT_FALSE(ReadMSG::getPropertyElement(0, 7, trimmed));
    EXPECT_FALSE(ReadMSG::trimmedPropertyStreamFromEntry(nullptr));
    const Dictionary none;
    EXPECT_FALSE(ReadMSG::trimmedPropertyStreamFromEntry(&none));
}

TEST(PropertyStreamsTest, StringListsKeepOrderAndDropWhatCannotBeRead) {
    auto list = [](std::initializer_list<Bytes> records) {
        Bytes out;
        for (const auto& r : records) out.insert(out.end(), r.begin(), r.end());
        return out;
    };
    auto names = [](const Array& a) {
        std::vector<std::string> out;
        for (const auto& v : a) out.push_back(toUtf8(*v.string()));
        return out;
    };
    using V = std::vector<std::string>;
    const Bytes two = list({testing::nameStringRecord("Keywords"), testing::nameStringRecord("x-ms-id")});
    // The second record starts at 4 + L + 2 of the first; a final record
    // loses the character that ends exactly at the end of the data.
    EXPECT_EQ(names(ReadMSG::generateStringStream(ByteView(two))), (V{"Keywords", "x-ms-id"}));
    EXPECT_EQ(names(ReadMSG::generateStringStream(ByteView(two).first(two.size() - 2))), (V{"Keywords", "x-ms-i"}));
    // An empty record adds nothing; a lone surrogate is kept as the code unit it is.
    const Bytes empty = list({testing::nameStringRecord(""), testing::nameStringRecord("a")});
    EXPECT_EQ(names(ReadMSG::generateStringStream(ByteView(empty))), (V{"a"}));
    const Bytes lone = list({Bytes{2, 0, 0, 0, 0x00, 0xD8, 0, 0}, testing::nameStringRecord("ok")});
    const Array withLone = ReadMSG::generateStringStream(ByteView(lone));
    ASSERT_EQ(withLone.size(), 2u);
    EXPECT_EQ(*withLone[0].string(), icu::UnicodeString(u"\xD800"));
    EXPECT_EQ(*withLone[1].string(), icu::UnicodeString(u"ok"));
    EXPECT_TRUE(ReadMSG::generateStringStream(ByteView(two).first(4)).empty());
    EXPECT_TRUE(ReadMSG::generateStringStream(std::nullopt).empty());
    // A huge declared length reads only what is there.
    const Bytes huge{0xFF, 0xFF, 0xFF, 0xFF, 'a', 0, 'b', 0, 'c', 0};
    EXPECT_EQ(names(ReadMSG::generateStringStream(ByteView(huge))), (V{"ab"}));
}

}  // namespace
}  // namespace tessivo
