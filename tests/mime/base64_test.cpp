#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include "tessivo/mime/base64.h"

namespace tessivo {
namespace {

std::string text(const Bytes& b) { return std::string(b.begin(), b.end()); }
std::string newDecode(std::string_view s) { return text(NewBase64Decode(s.data(), s.size())); }

Bytes randomBytes(std::mt19937& rng, std::size_t n) {
    Bytes b(n);
    for (auto& x : b) x = static_cast<std::uint8_t>(rng());
    return b;
}

TEST(NewBase64DecodeTest, DecodesGroupsAndSkipsForeignCharacters) {
    EXPECT_EQ(newDecode("TWFu"), "Man");
    EXPECT_EQ(newDecode("TWE="), "Ma");
    EXPECT_EQ(newDecode("TQ=="), "M");
    EXPECT_EQ(newDecode("TWE"), "Ma");  // padding is optional
    EXPECT_EQ(newDecode("T"), "");      // one value writes nothing
    EXPECT_EQ(newDecode("TW\r\nF u"), "Man");
    EXPECT_EQ(newDecode("T=W=F=u"), "Man");
    EXPECT_EQ(newDecode("TWFu\xC3\xA9TWFu"), "ManMan");
    EXPECT_EQ(newDecode(""), "");
}

TEST(NewBase64DecodeTest, TrailingForeignCharactersCostTheLastByte) {
    EXPECT_EQ(newDecode("TWFu\n"), "Ma");
    EXPECT_EQ(newDecode("TWFuTWFu="), "ManMa");
    EXPECT_EQ(newDecode("TWE=\r\n"), "Ma");  // the "=" ends the group of 3, the line end starts an empty one
    EXPECT_EQ(newDecode("\n"), "");          // nothing to take back
}

TEST(NewBase64DecodeTest, AllOnesLengthMeasuresNulTerminatedInput) {
    EXPECT_EQ(text(NewBase64Decode("TWFuTWE=", kBase64NulTerminated)), "ManMa");
    EXPECT_EQ(text(NewBase64Decode("TWFu", 2)), "M");
    EXPECT_TRUE(NewBase64Decode(nullptr, 4).empty());
}

TEST(NewBase64EncodeTest, PadsAndSeparatesLines) {
    EXPECT_EQ(NewBase64Encode(asBytes("Man"), false), "TWFu");
    EXPECT_EQ(NewBase64Encode(asBytes("Ma"), false), "TWE=");
    EXPECT_EQ(NewBase64Encode(asBytes("M"), false), "TQ==");
    EXPECT_EQ(NewBase64Encode(asBytes(""), true), "");

    const std::string line(48, 'x');
    const std::string encodedLine = NewBase64Encode(asBytes(line), false);
    ASSERT_EQ(encodedLine.size(), 64u);
    EXPECT_EQ(NewBase64Encode(asBytes(line), true), encodedLine);  // no break after the last line
    EXPECT_EQ(NewBase64Encode(asBytes(line + line), true), encodedLine + "\r\n" + encodedLine);
    EXPECT_EQ(NewBase64Encode(asBytes(line + "M"), true), encodedLine + "\r\nTQ==");
}

TEST(NewBase64Test, RoundTripsRandomBytes) {
    std::mt19937 rng(20261122);
    for (std::size_t n = 0; n < 200; ++n) {
        const Bytes data = randomBytes(rng, n);
        for (const bool lines : {false, true}) {
            const std::string encoded = NewBase64Encode(data, lines);
            EXPECT_EQ(NewBase64Decode(encoded.c_str(), kBase64NulTerminated), data) << n;
            EXPECT_EQ(decodeBase64IgnoringUnknownCharacters(encoded), data) << n;
        }
    }
}

TEST(Base64EncodeTest, LastCharacterIsAlwaysASingleEquals) {
    EXPECT_EQ(base64_encode(asBytes(""), false), "");
    EXPECT_EQ(base64_encode(asBytes("M"), false), "TQA=");
    EXPECT_EQ(base64_encode(asBytes("Ma"), false), "TWE=");
    EXPECT_EQ(base64_encode(asBytes("Man"), false), "TWF=");
    EXPECT_EQ(base64_encode(asBytes("ManM"), false), "TWFuTQA=");
}

TEST(Base64EncodeTest, LineBreaksEvery76Characters) {
    const std::string input(57 * 2 + 3, 'x');  // two full lines and one group
    const std::string out = base64_encode(asBytes(input), true);
    ASSERT_EQ(out.size(), 76u * 2 + 4 + 2);
    EXPECT_EQ(out[76], '\n');
    EXPECT_EQ(out[153], '\n');
    EXPECT_EQ(out.find('\n', 154), std::string::npos);
    EXPECT_EQ(base64_encode(asBytes(std::string(57, 'x')), true).find('\n'), std::string::npos);
}

TEST(Base64DecodeTest, PaddingAndForeignCharactersDecodeAsZero) {
    const auto decoded = [](const char* s) { return text(*base64_decode(s)); };
    EXPECT_EQ(decoded("TWFu"), std::string("Man\0", 4));
    EXPECT_EQ(decoded("TQ=="), std::string("M\0\0\0", 4));
    EXPECT_EQ(decoded("TW*u"), std::string("M`.\0", 4));
    EXPECT_EQ(decoded("TWFuTQ"), std::string("ManM\0\0\0", 7));  // a short last group is zero-filled
    EXPECT_EQ(decoded(""), std::string("\0", 1));
    EXPECT_FALSE(base64_decode(nullptr));
}

TEST(Base64DecodeTest, ReadsWhatBase64EncodeWritesAsCString) {
    std::mt19937 rng(7);
    for (std::size_t n = 1; n < 100; ++n) {
        Bytes data = randomBytes(rng, n);
        for (auto& b : data) b = static_cast<std::uint8_t>(b % 255 + 1);  // no NUL inside
        const std::string encoded = base64_encode(data, false);
        const auto decoded = base64_decode(encoded.c_str());
        ASSERT_TRUE(decoded);
        const std::string asCString(reinterpret_cast<const char*>(decoded->data()));
        // The forced "=" clears the low six bits of a complete final group.
        if (n % 3 == 0) data.back() &= 0xC0;
        const std::string expected(data.begin(), data.end());
        EXPECT_EQ(asCString, expected.substr(0, expected.find('\0'))) << n;
    }
}

TEST(RequiresBase64EncodingTest, ControlCharactersOtherThanTabAndLineFeed) {
    EXPECT_TRUE(requires_base64_encoding(asBytes("a\rb")));
    EXPECT_TRUE(requires_base64_encoding(asBytes(std::string_view("a\0", 2))));
    EXPECT_TRUE(requires_base64_encoding(asBytes("\x1F")));
    EXPECT_FALSE(requires_base64_encoding(asBytes("a\tb\n")));
    EXPECT_FALSE(requires_base64_encoding(asBytes("caf\xC3\xA9 \x7F")));
    EXPECT_FALSE(requires_base64_encoding(asBytes("")));
}

TEST(StrictBase64DecodeTest, SkipsUnknownCharactersButChecksPadding) {
    const auto decoded = [](std::string_view s) -> std::string {
        const auto out = decodeBase64IgnoringUnknownCharacters(s);
        return out ? text(*out) : "<fail>";
    };
    EXPECT_EQ(decoded("SGVs\r\nbG8=\n"), "Hello");
    EXPECT_EQ(decoded("S G V s b G 8 g"), "Hello ");
    EXPECT_EQ(decoded("TQ=="), "M");
    EXPECT_EQ(decoded(""), "");
    EXPECT_EQ(decoded("SGVsbG8"), "<fail>");   // unpadded
    EXPECT_EQ(decoded("TQ="), "<fail>");
    EXPECT_EQ(decoded("T==="), "<fail>");
    EXPECT_EQ(decoded("TQ==TWFu"), "<fail>");  // data after padding
    EXPECT_EQ(decoded("TW=u"), "<fail>");
}

TEST(Base64BufferHelpersTest, StringsGoThroughTheLenientCodec) {
    using namespace DataWangersNSDataAdditions;
    EXPECT_EQ(text(dataFromBase64String(u"TWFu TWE=")), "ManMa");
    EXPECT_EQ(text(dataFromBase64String(u"TWFu\u00E9")), "Ma");
    const Bytes data(100, 0xAB);
    const icu::UnicodeString encoded = base64EncodedString(data);
    EXPECT_EQ(encoded.indexOf(u"\r\n"), 64);
    EXPECT_EQ(dataFromBase64String(encoded), data);
}

}  // namespace
}  // namespace tessivo
