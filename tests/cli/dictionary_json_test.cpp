// The JSON rendering of dictionaries: every value kind, key order, and what
// nothing may lose between a dictionary and its JSON.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "dictionary_json.h"

namespace tessivo::cli {
namespace {

using nlohmann::ordered_json;

Dictionary address(const char16_t* name, const char16_t* mail) {
    Dictionary d;
    d.set(u"Name", Value(name));
    d.set(u"Address", Value(mail));
    return d;
}

TEST(DictionaryJsonTest, EveryValueKindKeepsKeyOrder) {
    Dictionary d;
    d.set(u"Subject", Value(u"Hello"));
    d.set(u"To", Value(Array{Value(address(u"Doe, Jane", u"jane@example.com"))}));
    d.set(u"Flag", Value(true));
    d.set(u"Signed", Value(-5));
    d.set(u"Unsigned", Value(std::uint64_t{18446744073709551615ULL}));
    d.set(u"Double", Value(2.5));
    d.set(u"Nothing", Value());
    d.set(u"RTF", Value(Bytes{'{', '\\', 'r'}));
    d.set(u"Date", Value(Date{0}));
    d.set(u"Nested", Value(Dictionary{}));

    const ordered_json j = dictionaryJson(d, {});
    EXPECT_EQ(jsonLine(j),
              R"({"Subject":"Hello","To":[{"Name":"Doe, Jane","Address":"jane@example.com"}],"Flag":true,)"
              R"("Signed":-5,"Unsigned":18446744073709551615,"Double":2.5,"Nothing":null,"RTF":{"bytes":3},)"
              R"("Date":"1970-01-01T00:00:00Z","Nested":{}})");
}

TEST(DictionaryJsonTest, BytesCarryBase64OnlyWithData) {
    const Value bytes(Bytes{'M', 'a', 'n', 0});
    EXPECT_EQ(jsonLine(valueJson(bytes, {})), R"({"bytes":4})");
    EXPECT_EQ(jsonLine(valueJson(bytes, {.data = true})), R"({"bytes":4,"base64":"TWFuAA=="})");
    EXPECT_EQ(jsonLine(valueJson(Value(Bytes{}), {.data = true})), R"({"bytes":0,"base64":""})");
}

TEST(DictionaryJsonTest, DatesAreIsoTextInUtc) {
    EXPECT_EQ(isoDateText(Date{1706695200}), "2024-01-31T10:00:00Z");
    EXPECT_EQ(isoDateText(Date{1706695200.25}), "2024-01-31T10:00:00.250Z");
    EXPECT_EQ(isoDateText(Date{-1}), "1969-12-31T23:59:59Z");
    EXPECT_EQ(isoDateText(Date{-11644473600}), "1601-01-01T00:00:00Z");
    EXPECT_EQ(isoDateText(Date{951782400}), "2000-02-29T00:00:00Z");
    EXPECT_EQ(isoDateText(Date{253402300799}), "9999-12-31T23:59:59Z");
    EXPECT_EQ(isoDateText(Date{253402300800}), "+010000-01-01T00:00:00Z");
    EXPECT_EQ(isoDateText(Date{-62167219201}), "-000001-12-31T23:59:59Z");
    EXPECT_EQ(isoDateText(Date{std::numeric_limits<double>::quiet_NaN()}), std::nullopt);
    EXPECT_EQ(isoDateText(Date{1e300}), std::nullopt);
    EXPECT_EQ(jsonLine(valueJson(Value(Date{INFINITY}), {})), "null");
    EXPECT_EQ(jsonLine(valueJson(Value(std::nan("")), {})), "null");
}

TEST(DictionaryJsonTest, TextSurvivesAsUtf8) {
    icu::UnicodeString text(u"caf\u00e9 \U0001F600 tab\tnul");
    text.append(char16_t{0});
    const ordered_json parsed = ordered_json::parse(jsonLine(valueJson(Value(text), {})));
    EXPECT_EQ(parsed.get<std::string>(), toUtf8(text));
    EXPECT_EQ(parsed.get<std::string>().back(), '\0');

    icu::UnicodeString lone(u"a");
    lone.append(char16_t{0xD800});
    EXPECT_EQ(ordered_json::parse(jsonLine(valueJson(Value(lone), {}))).get<std::string>(), "a\xEF\xBF\xBD");
}

// Reading the JSON back gives every key, in order, with its value.
TEST(DictionaryJsonTest, ParsedBackNothingIsLostOrInvented) {
    Dictionary attachment;
    attachment.set(u"name", Value(u"a.pdf"));
    attachment.set(u"size", Value(std::uint64_t{3}));
    attachment.set(u"data", Value(Bytes{1, 2, 3}));
    Dictionary d;
    d.set(u"Subject", Value(u"S"));
    d.set(u"AttachmentList", Value(Array{Value(attachment), Value(attachment)}));
    d.set(u"FROM", Value(Array{}));

    const ordered_json back = ordered_json::parse(jsonLine(dictionaryJson(d, {.data = true})));
    ASSERT_EQ(back.size(), d.size());
    auto key = back.begin();
    for (const auto& [name, value] : d) EXPECT_EQ((key++).key(), toUtf8(name));
    EXPECT_EQ(back["AttachmentList"].size(), 2u);
    EXPECT_EQ(back["AttachmentList"][1]["data"]["base64"], "AQID");
    EXPECT_EQ(back["AttachmentList"][1]["size"], 3);
    EXPECT_TRUE(back["FROM"].is_array());
}

TEST(DictionaryJsonTest, InvalidUtf8InAPathIsReplaced) {
    ordered_json line;
    line["path"] = std::string("a\xFF.msg");
    EXPECT_EQ(jsonLine(line), "{\"path\":\"a\xEF\xBF\xBD.msg\"}");
}

}  // namespace
}  // namespace tessivo::cli
