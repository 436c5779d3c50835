#include "tessivo/text/body_decoding.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>
#include <utility>

#include <unicode/uchar.h>
#include <unicode/ucnv.h>

#include "tessivo/foundation/html_text.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo::text {
namespace {

constexpr std::array<std::pair<std::uint32_t, Encoding>, 44> kCodePages{{
    {437, encodings::ISOLatin1},  // DOS Latin US, read as Latin-1 for its letters
    {874, encodings::Windows874},
    {932, encodings::ShiftJISWindows},
    {936, encodings::Windows936},
    {949, encodings::Windows949},
    {950, encodings::Windows950},
    {1200, encodings::UTF16LE},
    {1201, encodings::UTF16BE},
    {1250, encodings::Windows1250},
    {1251, encodings::Windows1251},
    {1252, encodings::Windows1252},
    {1253, encodings::Windows1253},
    {1254, encodings::Windows1254},
    {1255, encodings::Windows1255},
    {1256, encodings::Windows1256},
    {1257, encodings::Windows1257},
    {1258, encodings::Windows1258},
    {10000, encodings::MacRoman},
    {12000, encodings::UTF32LE},
    {12001, encodings::UTF32BE},
    {20127, encodings::ASCII},
    {20866, encodings::KOI8R},
    {20932, encodings::EUCJP},
    {21866, encodings::KOI8U},
    {28591, encodings::ISOLatin1},
    {28592, encodings::ISOLatin2},
    {28594, encodings::ISOLatin4},
    {28595, encodings::ISOCyrillic},
    {28596, encodings::ISOArabic},
    {28597, encodings::ISOGreek},
    {28598, encodings::ISOHebrew},
    {28599, encodings::ISOLatin5},
    {28603, encodings::ISOLatin7},
    {28605, encodings::ISOLatin9},
    {38598, encodings::ISOHebrew},
    {50220, encodings::ISO2022JP},
    {50221, encodings::ISO2022JP},
    {50222, encodings::ISO2022JP},
    {50225, encodings::ISO2022KR},
    {51932, encodings::EUCJP},
    {51936, encodings::GB2312},
    {51949, encodings::EUCKR},
    {54936, encodings::GB18030},
    {65001, encodings::UTF8},
}};

// Where a declared charset is searched for: meta elements sit in the head.
constexpr std::size_t kCharsetSearchBytes = 4096;

std::string lowerAscii(std::string_view text) {
    std::string out(text);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
    return out;
}

bool isCharsetCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == ':' || c == '.';
}

std::optional<icu::UnicodeString> decodedByCodePages(ByteView bytes, const std::vector<std::uint32_t>& codePages) {
    for (const std::uint32_t page : codePages)
        if (const auto encoding = encodingOfCodePage(page))
            if (auto text = decode(bytes, *encoding)) return text;
    return std::nullopt;
}

icu::UnicodeString detected(ByteView bytes) {
    static constexpr std::array<Encoding, 3> kSuggested = {encodings::UTF8, encodings::Windows1252,
                                                           encodings::ISOLatin1};
    if (auto found = detectEncoding(bytes, kSuggested)) return std::move(found->text);
    return StringWangers::stringFromNSData(bytes);
}

std::string_view asChars(ByteView bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }

}  // namespace

std::optional<Encoding> encodingOfCharset(const std::string& charset) {
    if (charset == "utf-8" || charset == "utf8") return encodings::UTF8;
    // Browsers read Latin-1 and ASCII pages as Windows-1252, and so do mail programs.
    if (charset == "iso-8859-1" || charset == "latin1" || charset == "us-ascii" || charset == "windows-1252")
        return encodings::Windows1252;
    UErrorCode status = U_ZERO_ERROR;
    const char* wanted = ucnv_getAlias(charset.c_str(), 0, &status);
    if (U_FAILURE(status) || !wanted) return std::nullopt;
    for (const Encoding encoding : availableEncodings()) {
        const char* name = encodingCharsetName(encoding);
        if (!name) continue;
        status = U_ZERO_ERROR;
        const char* known = ucnv_getAlias(name, 0, &status);
        if (U_SUCCESS(status) && known && ucnv_compareNames(known, wanted) == 0) return encoding;
    }
    return std::nullopt;
}

bool hasWords(const icu::UnicodeString& text) {
    for (std::int32_t i = 0; i < text.length(); ++i)
        if (!u_isUWhiteSpace(text[i]) && text[i] != u'\0') return true;
    return false;
}

std::optional<Encoding> encodingOfCodePage(std::uint32_t codePage) {
    const auto* found = std::find_if(kCodePages.begin(), kCodePages.end(),
                                     [&](const auto& entry) { return entry.first == codePage; });
    if (found == kCodePages.end()) return std::nullopt;
    return found->second;
}

std::string charsetDeclaredInHtml(ByteView html) {
    const std::string head = lowerAscii(asChars(html.first(std::min(html.size(), kCharsetSearchBytes))));
    for (std::size_t meta = head.find("<meta"); meta != std::string::npos; meta = head.find("<meta", meta + 5)) {
        const std::size_t end = std::min(head.find('>', meta), head.size());
        const std::size_t at = head.find("charset", meta);
        if (at == std::string::npos || at > end) continue;
        std::size_t i = at + 7;
        while (i < end && (head[i] == ' ' || head[i] == '=' || head[i] == '"' || head[i] == '\'')) ++i;
        const std::size_t start = i;
        while (i < end && isCharsetCharacter(head[i])) ++i;
        if (i > start) return head.substr(start, i - start);
    }
    return {};
}

icu::UnicodeString eightBitText(ByteView bytes, const std::vector<std::uint32_t>& codePages) {
    auto text = decodedByCodePages(bytes, codePages);
    return WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(text ? *text : detected(bytes));
}

bool looksQuotedPrintable(std::string_view html) {
    for (const char* escape : {"=3D", "=3d", "=\n", "=\r\n"})
        if (html.find(escape) != std::string_view::npos) return true;
    return false;
}

Bytes unescapeQuotedPrintable(ByteView bytes) {
    auto hex = [](std::uint8_t c) {
        return std::isxdigit(c) ? (std::isdigit(c) ? c - '0' : std::tolower(c) - 'a' + 10) : -1;
    };
    Bytes out;
    out.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '=') {
            out.push_back(bytes[i]);
        } else if (i + 1 < bytes.size() && bytes[i + 1] == '\n') {
            i += 1;
        } else if (i + 2 < bytes.size() && bytes[i + 1] == '\r' && bytes[i + 2] == '\n') {
            i += 2;
        } else if (i + 2 < bytes.size() && hex(bytes[i + 1]) >= 0 && hex(bytes[i + 2]) >= 0) {
            out.push_back(static_cast<std::uint8_t>(hex(bytes[i + 1]) << 4 | hex(bytes[i + 2])));
            i += 2;
        } else {
            out.push_back(bytes[i]);
        }
    }
    return out;
}

icu::UnicodeString htmlText(ByteView bytes, const std::vector<std::uint32_t>& codePages,
                            std::optional<Encoding> transportCharset) {
    Bytes unescaped;
    if (looksQuotedPrintable(asChars(bytes))) {
        unescaped = unescapeQuotedPrintable(bytes);
        bytes = unescaped;
    }
    std::optional<icu::UnicodeString> html;
    if (transportCharset) html = decode(bytes, *transportCharset);
    if (!html)
        if (const auto declared = encodingOfCharset(charsetDeclaredInHtml(bytes))) html = decode(bytes, *declared);
    if (!html) html = decodedByCodePages(bytes, codePages);
    if (!html) html = detected(bytes);
    std::string utf8;
    html->toUTF8String(utf8);
    return htmlToPlainText(utf8).value_or(icu::UnicodeString());
}

}  // namespace tessivo::text
