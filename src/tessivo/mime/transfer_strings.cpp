// Quoted-printable, percent-escape and base64 text with a chosen encoding.
#include <cstdint>
#include <string>

#include "tessivo/foundation/text.h"
#include "tessivo/mime/base64.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

// The value of a hex digit in either case, or -1.
int hexDigit(std::uint8_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Reads two characters as hex the lenient way: reading stops at the first
// character that is not a hex digit, so "4G" gives 4 and "G4" gives 0.
std::uint8_t scanHexPair(std::uint8_t first, std::uint8_t second) {
    int value = 0;
    for (const std::uint8_t c : {first, second}) {
        const int digit = hexDigit(c);
        if (digit < 0) break;
        value = value * 16 + digit;
    }
    return static_cast<std::uint8_t>(value);
}

// Bytes read in an encoding; an empty buffer reads as "" in any encoding.
std::optional<icu::UnicodeString> decodeBytes(const Bytes& bytes, Encoding encoding) {
    if (bytes.empty()) return icu::UnicodeString();
    return decode(bytes, encoding);
}

// The bytes of the text's UTF-8 form with each "%" and the two characters
// after it replaced by the byte they give as hex.
Bytes percentDecodedBytes(const icu::UnicodeString& text) {
    const std::string utf8 = toUtf8(text);
    Bytes bytes;
    bytes.reserve(utf8.size());
    std::size_t i = 0;
    while (i < utf8.size()) {
        const auto c = static_cast<std::uint8_t>(utf8[i]);
        if (c == '%' && utf8.size() - i > 2) {
            bytes.push_back(scanHexPair(static_cast<std::uint8_t>(utf8[i + 1]), static_cast<std::uint8_t>(utf8[i + 2])));
            i += 3;
        } else {
            bytes.push_back(c);
            ++i;
        }
    }
    return bytes;
}

// The encodings a forced decode tries, most plausible for mail first.
constexpr Encoding kForcedDecodeOrder[] = {encodings::UTF8, encodings::Windows1252, encodings::ISOLatin1};

}  // namespace

std::optional<icu::UnicodeString> decodedStringFromPercentEscapesUsingEncoding(const icu::UnicodeString& text,
                                                                               Encoding encoding) {
    return decodeBytes(percentDecodedBytes(text), encoding);
}

icu::UnicodeString forceQuotedPrintableDecode(const icu::UnicodeString& text) {
    const Bytes bytes = percentDecodedBytes(text);
    for (Encoding encoding : kForcedDecodeOrder)
        if (auto decoded = decodeBytes(bytes, encoding)) return std::move(*decoded);
    return text;
}

std::optional<icu::UnicodeString> quotedPrintableDecodeWithEncoding(const icu::UnicodeString& text, Encoding encoding) {
    icu::UnicodeString escaped = replaceAll(text, u"=\r\n", u"");
    escaped = replaceAll(escaped, u"=\n", u"");
    escaped = replaceAll(escaped, u"%", u"%25");
    escaped = replaceAll(escaped, u"=", u"%");
    // A UTF-8 no-break space becomes a plain space whatever the encoding.
    escaped = replaceAll(escaped, u"%C2%A0", u" ");
    if (auto decoded = decodedStringFromPercentEscapesUsingEncoding(escaped, encoding)) return decoded;
    return forceQuotedPrintableDecode(escaped);
}

std::optional<icu::UnicodeString> base64DecodeWithEncoding(const icu::UnicodeString& text, Encoding encoding) {
    const auto bytes = decodeBase64IgnoringUnknownCharacters(toUtf8(text));
    if (!bytes) return std::nullopt;
    return decodeBytes(*bytes, encoding);
}

icu::UnicodeString createQuotedPrintable(const icu::UnicodeString& text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    const std::string utf8 = toUtf8(text);
    std::string out;
    out.reserve(utf8.size() * 3);
    for (const char ch : utf8) {
        const auto c = static_cast<std::uint8_t>(ch);
        if (c == '\n' || (c >= 0x20 && c <= 0x7E)) {
            out += ch;
        } else {
            out += '=';
            out += kHex[c >> 4];
            out += kHex[c & 0x0F];
        }
    }
    return trim(icu::UnicodeString::fromUTF8(out), whitespaceAndNewlineSet());
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
