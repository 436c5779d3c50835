#include "tessivo/foundation/encoding.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstring>
#include <memory>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/ucsdet.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace tessivo {
namespace {

// ICU works with 32-bit lengths; a decoded string may take two units per byte.
constexpr std::size_t kMaxBytes = INT32_MAX / 2;
// The charset detector reads this many bytes at most.
constexpr std::size_t kDetectPrefixBytes = 64 * 1024;
// Detector confidence (0-100) from which a guess outside the suggestions is
// taken; short texts give the detector little to go on.
constexpr int32_t kConfidentGuess = 60;
// Bonus that makes a suggested encoding win over an equally likely other guess.
constexpr int32_t kSuggestedBonus = 10;

struct EncodingInfo {
    Encoding encoding;
    const char* charset;  // ICU converter name; nullptr when decoded by our own code
    const char16_t* name;
};

using namespace encodings;

constexpr EncodingInfo kEncodings[] = {
    {ASCII, "US-ASCII", u"Western (ASCII)"},
    {NeXTSTEP, nullptr, u"Western (NextStep)"},
    {EUCJP, "EUC-JP", u"Japanese (EUC)"},
    {UTF8, "UTF-8", u"Unicode (UTF-8)"},
    {ISOLatin1, "ISO-8859-1", u"Western (ISO Latin 1)"},
    {Symbol, nullptr, u"Symbol (Mac OS)"},
    {ShiftJISWindows, "windows-31j", u"Japanese (Windows, DOS)"},
    {ISOLatin2, "ISO-8859-2", u"Central European (ISO Latin 2)"},
    {UTF16, nullptr, u"Unicode (UTF-16)"},
    {Windows1251, "windows-1251", u"Cyrillic (Windows)"},
    {Windows1252, "windows-1252", u"Western (Windows Latin 1)"},
    {Windows1253, "windows-1253", u"Greek (Windows)"},
    {Windows1254, "windows-1254", u"Turkish (Windows Latin 5)"},
    {Windows1250, "windows-1250", u"Central European (Windows Latin 2)"},
    {ISO2022JP, "ISO-2022-JP", u"Japanese (ISO 2022-JP)"},
    {MacRoman, "macintosh", u"Western (Mac OS Roman)"},
    {UTF16BE, "UTF-16BE", u"Unicode (UTF-16BE)"},
    {UTF16LE, "UTF-16LE", u"Unicode (UTF-16LE)"},
    {UTF32, nullptr, u"Unicode (UTF-32)"},
    {UTF32BE, "UTF-32BE", u"Unicode (UTF-32BE)"},
    {UTF32LE, "UTF-32LE", u"Unicode (UTF-32LE)"},
    {ISOLatin4, "ISO-8859-4", u"Central European (ISO Latin 4)"},
    {ISOCyrillic, "ISO-8859-5", u"Cyrillic (ISO 8859-5)"},
    {ISOArabic, "ISO-8859-6", u"Arabic (ISO 8859-6)"},
    {ISOGreek, "ISO-8859-7", u"Greek (ISO 8859-7)"},
    {ISOHebrew, "ISO-8859-8", u"Hebrew (ISO 8859-8)"},
    {ISOLatin5, "ISO-8859-9", u"Turkish (ISO Latin 5)"},
    {ISOThai, "ISO-8859-11", u"Thai (ISO 8859-11)"},
    {ISOLatin7, "ISO-8859-13", u"Baltic (ISO Latin 7)"},
    {ISOLatin9, "ISO-8859-15", u"Western (ISO Latin 9)"},
    {Windows874, "windows-874", u"Thai (Windows, DOS)"},
    {Windows936, "windows-936", u"Simplified Chinese (Windows, DOS)"},
    {Windows949, "windows-949", u"Korean (Windows, DOS)"},
    {Windows950, "windows-950", u"Traditional Chinese (Windows, DOS)"},
    {Windows1255, "windows-1255", u"Hebrew (Windows)"},
    {Windows1256, "windows-1256", u"Arabic (Windows)"},
    {Windows1257, "windows-1257", u"Baltic (Windows)"},
    {Windows1258, "windows-1258", u"Vietnamese (Windows)"},
    {GB2312, "GB2312", u"Simplified Chinese (GB 2312)"},
    {GBK, "GBK", u"Simplified Chinese (GBK)"},
    {GB18030, "GB18030", u"Chinese (GB 18030)"},
    {ISO2022KR, "ISO-2022-KR", u"Korean (ISO 2022-KR)"},
    {EUCKR, "EUC-KR", u"Korean (EUC)"},
    {ShiftJIS, "Shift_JIS", u"Japanese (Shift JIS)"},
    {KOI8R, "KOI8-R", u"Cyrillic (KOI8-R)"},
    {Big5, "Big5", u"Traditional Chinese (Big 5)"},
    {KOI8U, "KOI8-U", u"Ukrainian (KOI8-U)"},
};

const EncodingInfo* findInfo(Encoding e) {
    for (const auto& info : kEncodings)
        if (info.encoding == e) return &info;
    return nullptr;
}

// NeXTSTEP upper half (0x80-0xFF); 0 marks an unassigned byte. The lower half is ASCII.
constexpr std::array<char16_t, 128> kNeXTSTEPHigh = {
    0x00A0, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C7, 0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC,
    0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3, 0x00D4, 0x00D5, 0x00D6, 0x00D9, 0x00DA, 0x00DB,
    0x00DC, 0x00DD, 0x00DE, 0x00B5, 0x00D7, 0x00F7, 0x00A9, 0x00A1, 0x00A2, 0x00A3, 0x2044, 0x00A5, 0x0192,
    0x00A7, 0x00A4, 0x2019, 0x201C, 0x00AB, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x00AE, 0x2013, 0x2020, 0x2021,
    0x00B7, 0x00A6, 0x00B6, 0x2022, 0x201A, 0x201E, 0x201D, 0x00BB, 0x2026, 0x2030, 0x00AC, 0x00BF, 0x00B9,
    0x02CB, 0x00B4, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x00A8, 0x00B2, 0x02DA, 0x00B8, 0x00B3, 0x02DD,
    0x02DB, 0x02C7, 0x2014, 0x00B1, 0x00BC, 0x00BD, 0x00BE, 0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5,
    0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB, 0x00EC, 0x00C6, 0x00ED, 0x00AA, 0x00EE, 0x00EF, 0x00F0, 0x00F1,
    0x0141, 0x00D8, 0x0152, 0x00BA, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00E6, 0x00F9, 0x00FA, 0x00FB,
    0x0131, 0x00FC, 0x00FD, 0x0142, 0x00F8, 0x0153, 0x00DF, 0x00FE, 0x00FF, 0,      0,
};

// Mac OS Symbol, all 256 bytes; 0 marks an unassigned byte except at 0x00.
constexpr std::array<char16_t, 256> kSymbol = [] {
    std::array<char16_t, 256> t{};
    for (int b = 0; b < 0x7F; ++b) t[b] = static_cast<char16_t>(b);
    const std::pair<int, char16_t> lowChanges[] = {
        {0x22, 0x2200}, {0x24, 0x2203}, {0x27, 0x220D}, {0x2A, 0x2217}, {0x2D, 0x2212}, {0x40, 0x2245},
        {0x41, 0x0391}, {0x42, 0x0392}, {0x43, 0x03A7}, {0x44, 0x0394}, {0x45, 0x0395}, {0x46, 0x03A6},
        {0x47, 0x0393}, {0x48, 0x0397}, {0x49, 0x0399}, {0x4A, 0x03D1}, {0x4B, 0x039A}, {0x4C, 0x039B},
        {0x4D, 0x039C}, {0x4E, 0x039D}, {0x4F, 0x039F}, {0x50, 0x03A0}, {0x51, 0x0398}, {0x52, 0x03A1},
        {0x53, 0x03A3}, {0x54, 0x03A4}, {0x55, 0x03A5}, {0x56, 0x03C2}, {0x57, 0x03A9}, {0x58, 0x039E},
        {0x59, 0x03A8}, {0x5A, 0x0396}, {0x5C, 0x2234}, {0x5E, 0x22A5}, {0x60, 0xF8E5}, {0x61, 0x03B1},
        {0x62, 0x03B2}, {0x63, 0x03C7}, {0x64, 0x03B4}, {0x65, 0x03B5}, {0x66, 0x03C6}, {0x67, 0x03B3},
        {0x68, 0x03B7}, {0x69, 0x03B9}, {0x6A, 0x03D5}, {0x6B, 0x03BA}, {0x6C, 0x03BB}, {0x6D, 0x03BC},
        {0x6E, 0x03BD}, {0x6F, 0x03BF}, {0x70, 0x03C0}, {0x71, 0x03B8}, {0x72, 0x03C1}, {0x73, 0x03C3},
        {0x74, 0x03C4}, {0x75, 0x03C5}, {0x76, 0x03D6}, {0x77, 0x03C9}, {0x78, 0x03BE}, {0x79, 0x03C8},
        {0x7A, 0x03B6}, {0x7E, 0x223C},
    };
    for (auto [b, c] : lowChanges) t[b] = c;
    const char16_t high[] = {
        0x20AC, 0x03D2, 0x2032, 0x2264, 0x2044, 0x221E, 0x0192, 0x2663, 0x2666, 0x2665, 0x2660, 0x2194, 0x2190,
        0x2191, 0x2192, 0x2193, 0x00B0, 0x00B1, 0x2033, 0x2265, 0x00D7, 0x221D, 0x2202, 0x2022, 0x00F7, 0x2260,
        0x2261, 0x2248, 0x2026, 0xF8E6, 0x23AF, 0x21B5, 0x2135, 0x2111, 0x211C, 0x2118, 0x2297, 0x2295, 0x2205,
        0x2229, 0x222A, 0x2283, 0x2287, 0x2284, 0x2282, 0x2286, 0x2208, 0x2209, 0x2220, 0x2207, 0x00AE, 0x00A9,
        0x2122, 0x220F, 0x221A, 0x22C5, 0x00AC, 0x2227, 0x2228, 0x21D4, 0x21D0, 0x21D1, 0x21D2, 0x21D3, 0x22C4,
        0x3008, 0x00AE, 0x00A9, 0x2122, 0x2211, 0x239B, 0x239C, 0x239D, 0x23A1, 0x23A2, 0x23A3, 0x23A7, 0x23A8,
        0x23A9, 0x23AA, 0xF8FF, 0x3009, 0x222B, 0x2320, 0x23AE, 0x2321, 0x239E, 0x239F, 0x23A0, 0x23A4, 0x23A5,
        0x23A6, 0x23AB, 0x23AC, 0x23AD,
    };
    for (std::size_t i = 0; i < std::size(high); ++i) t[0xA0 + i] = high[i];
    return t;
}();

static_assert(kNeXTSTEPHigh[0xFD - 0x80] == 0x00FF && kNeXTSTEPHigh[0xFE - 0x80] == 0);

char16_t tableChar(Encoding e, std::uint8_t b) {
    if (e == Symbol) return kSymbol[b];
    return b < 0x80 ? static_cast<char16_t>(b) : kNeXTSTEPHigh[b - 0x80];
}

std::optional<icu::UnicodeString> decodeTable(ByteView bytes, Encoding e, bool lossy) {
    icu::UnicodeString out;
    char16_t* buf = out.getBuffer(static_cast<int32_t>(bytes.size()));
    if (!buf) return std::nullopt;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        char16_t c = tableChar(e, bytes[i]);
        if (c == 0 && bytes[i] != 0) {
            if (!lossy) {
                out.releaseBuffer(0);
                return std::nullopt;
            }
            c = 0xFFFD;
        }
        buf[i] = c;
    }
    out.releaseBuffer(static_cast<int32_t>(bytes.size()));
    return out;
}

struct ConverterCloser {
    void operator()(UConverter* c) const { ucnv_close(c); }
};
using ConverterPtr = std::unique_ptr<UConverter, ConverterCloser>;

ConverterPtr openConverter(const char* charset) {
    UErrorCode ec = U_ZERO_ERROR;
    ConverterPtr cnv(ucnv_open(charset, &ec));
    if (U_FAILURE(ec)) return nullptr;
    return cnv;
}

std::optional<icu::UnicodeString> decodeWithConverter(ByteView bytes, const char* charset, bool lossy) {
    ConverterPtr cnv = openConverter(charset);
    if (!cnv) return std::nullopt;
    UErrorCode ec = U_ZERO_ERROR;
    ucnv_setToUCallBack(cnv.get(), lossy ? UCNV_TO_U_CALLBACK_SUBSTITUTE : UCNV_TO_U_CALLBACK_STOP, nullptr,
                        nullptr, nullptr, &ec);
    if (U_FAILURE(ec)) return std::nullopt;

    icu::UnicodeString out;
    // Most charsets give at most one unit per byte; the loop grows the buffer otherwise.
    int32_t capacity = static_cast<int32_t>(bytes.size()) + 16;
    const char* src = reinterpret_cast<const char*>(bytes.data());
    const char* srcLimit = src + bytes.size();
    int32_t length = 0;
    for (;;) {
        char16_t* buf = out.getBuffer(capacity);
        if (!buf) return std::nullopt;
        UChar* target = buf + length;
        ec = U_ZERO_ERROR;
        ucnv_toUnicode(cnv.get(), &target, buf + capacity, &src, srcLimit, nullptr, true, &ec);
        length = static_cast<int32_t>(target - buf);
        out.releaseBuffer(length);
        if (ec != U_BUFFER_OVERFLOW_ERROR) break;
        if (capacity > INT32_MAX / 2) return std::nullopt;
        capacity *= 2;
    }
    if (U_FAILURE(ec)) return std::nullopt;
    return out;
}

std::optional<Bytes> encodeWithConverter(const icu::UnicodeString& text, const char* charset) {
    ConverterPtr cnv = openConverter(charset);
    if (!cnv) return std::nullopt;
    UErrorCode ec = U_ZERO_ERROR;
    ucnv_setFromUCallBack(cnv.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &ec);
    if (U_FAILURE(ec)) return std::nullopt;
    Bytes out(static_cast<std::size_t>(text.length()) * 2 + 16);
    const UChar* src = text.getBuffer();
    const UChar* srcLimit = src + text.length();
    std::size_t length = 0;
    for (;;) {
        char* target = reinterpret_cast<char*>(out.data()) + length;
        char* targetLimit = reinterpret_cast<char*>(out.data()) + out.size();
        ec = U_ZERO_ERROR;
        ucnv_fromUnicode(cnv.get(), &target, targetLimit, &src, srcLimit, nullptr, true, &ec);
        length = static_cast<std::size_t>(target - reinterpret_cast<char*>(out.data()));
        if (ec != U_BUFFER_OVERFLOW_ERROR) break;
        out.resize(out.size() * 2);
    }
    if (U_FAILURE(ec)) return std::nullopt;
    out.resize(length);
    return out;
}

// Bytes looked at together by the ASCII path of decodeUTF8.
constexpr std::size_t kAsciiBlock = 32;

bool blockIsAscii(const std::uint8_t* p) {
    std::uint8_t any = 0;
    for (std::size_t k = 0; k < kAsciiBlock; ++k) any |= p[k];
    return (any & 0x80) == 0;
}

// Blocks of ASCII are widened directly, several times faster than ICU's
// conversion; the rest goes through ICU in stretches that end before an ASCII
// byte, which always begins a character, so the text and the failures are
// those of converting the whole at once.
std::optional<icu::UnicodeString> decodeUTF8(ByteView bytes) {
    icu::UnicodeString out;
    const std::size_t n = bytes.size();
    char16_t* buf = out.getBuffer(static_cast<int32_t>(n));
    if (!buf) return std::nullopt;
    const std::uint8_t* s = bytes.data();
    std::size_t i = 0;
    int32_t o = 0;
    while (i < n) {
        if (n - i >= kAsciiBlock && blockIsAscii(s + i)) {
            for (std::size_t k = 0; k < kAsciiBlock; ++k) buf[o + static_cast<int32_t>(k)] = s[i + k];
            i += kAsciiBlock;
            o += static_cast<int32_t>(kAsciiBlock);
            continue;
        }
        std::size_t end = std::min(n, i + kAsciiBlock);
        while (end < n && s[end] >= 0x80) ++end;
        int32_t length = 0;
        UErrorCode ec = U_ZERO_ERROR;
        u_strFromUTF8(buf + o, static_cast<int32_t>(n) - o, &length, reinterpret_cast<const char*>(s + i),
                      static_cast<int32_t>(end - i), &ec);
        if (U_FAILURE(ec)) {
            out.releaseBuffer(0);
            return std::nullopt;
        }
        o += length;
        i = end;
    }
    out.releaseBuffer(o);
    return out;
}

std::optional<icu::UnicodeString> decodeSingleByte(ByteView bytes, bool asciiOnly) {
    if (asciiOnly) {
        std::uint8_t any = 0;
        for (std::uint8_t b : bytes) any |= b;
        if (any & 0x80) return std::nullopt;
    }
    icu::UnicodeString out;
    char16_t* buf = out.getBuffer(static_cast<int32_t>(bytes.size()));
    if (!buf) return std::nullopt;
    for (std::size_t i = 0; i < bytes.size(); ++i) buf[i] = bytes[i];
    out.releaseBuffer(static_cast<int32_t>(bytes.size()));
    return out;
}

// bytes holds an even number of bytes.
std::optional<icu::UnicodeString> decodeUTF16(ByteView bytes, bool bigEndian) {
    const auto units = static_cast<int32_t>(bytes.size() / 2);
    icu::UnicodeString out;
    char16_t* buf = out.getBuffer(units);
    if (!buf) return std::nullopt;
    if (bigEndian == (std::endian::native == std::endian::big)) {
        std::memcpy(buf, bytes.data(), bytes.size());
    } else {
        const int hi = bigEndian ? 0 : 1;
        for (int32_t i = 0; i < units; ++i)
            buf[i] = static_cast<char16_t>(bytes[2 * i + hi] << 8 | bytes[2 * i + (1 - hi)]);
    }
    // An unpaired surrogate is kept as the code unit it is, as the platform's decoder does.
    out.releaseBuffer(units);
    return out;
}

// Windows-1252 leaves five bytes undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D);
// the converter maps them to the C1 controls of the same value, which no
// defined byte gives. A strict decode fails on them; a lossy one substitutes.
std::optional<icu::UnicodeString> withoutUndefinedWindows1252(icu::UnicodeString text, bool lossy) {
    for (int32_t i = 0; i < text.length(); ++i) {
        const char16_t c = text.charAt(i);
        if (c != 0x81 && c != 0x8D && c != 0x8F && c != 0x90 && c != 0x9D) continue;
        if (!lossy) return std::nullopt;
        text.setCharAt(i, 0xFFFD);
    }
    return text;
}

// UTF16 and UTF32 take their byte order from a leading mark, little-endian
// without one; UTF-8 drops a leading mark.
std::pair<ByteView, Encoding> resolveMark(ByteView bytes, Encoding e) {
    if (e == UTF8) {
        if (bytes.size() >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) return {bytes.subspan(3), e};
        return {bytes, e};
    }
    if (e == UTF16) {
        if (bytes.size() >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF) return {bytes.subspan(2), UTF16BE};
        if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) return {bytes.subspan(2), UTF16LE};
        return {bytes, UTF16LE};
    }
    if (e == UTF32) {
        if (bytes.size() >= 4 && bytes[0] == 0 && bytes[1] == 0 && bytes[2] == 0xFE && bytes[3] == 0xFF)
            return {bytes.subspan(4), UTF32BE};
        if (bytes.size() >= 4 && bytes[0] == 0xFF && bytes[1] == 0xFE && bytes[2] == 0 && bytes[3] == 0)
            return {bytes.subspan(4), UTF32LE};
        return {bytes, UTF32LE};
    }
    return {bytes, e};
}

std::optional<icu::UnicodeString> decodeImpl(ByteView bytes, Encoding encoding, bool lossy) {
    if (bytes.size() > kMaxBytes) return std::nullopt;
    auto [body, e] = resolveMark(bytes, encoding);
    const EncodingInfo* info = findInfo(e);
    if (!info) return std::nullopt;
    if (body.empty()) return icu::UnicodeString();
    if (e == NeXTSTEP || e == Symbol) return decodeTable(body, e, lossy);
    if ((e == UTF16LE || e == UTF16BE) && body.size() % 2 == 0) return decodeUTF16(body, e == UTF16BE);
    if (!lossy) {
        switch (e) {
            case UTF8: return decodeUTF8(body);
            case ASCII: return decodeSingleByte(body, true);
            case ISOLatin1: return decodeSingleByte(body, false);
            case UTF16LE:
            case UTF16BE: return std::nullopt;  // odd length
            default: break;
        }
    }
    auto text = decodeWithConverter(body, info->charset, lossy);
    if (text && e == Windows1252) return withoutUndefinedWindows1252(std::move(*text), lossy);
    return text;
}

std::optional<Bytes> encodeSingleByte(const icu::UnicodeString& text, char16_t limit) {
    Bytes out(static_cast<std::size_t>(text.length()));
    const char16_t* s = text.getBuffer();
    for (int32_t i = 0; i < text.length(); ++i) {
        if (s[i] > limit) return std::nullopt;
        out[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(s[i]);
    }
    return out;
}

std::optional<Bytes> encodeTable(const icu::UnicodeString& text, Encoding e) {
    Bytes out;
    out.reserve(static_cast<std::size_t>(text.length()));
    const char16_t* s = text.getBuffer();
    for (int32_t i = 0; i < text.length(); ++i) {
        int found = -1;
        for (int b = 0; b < 256 && found < 0; ++b)
            if (tableChar(e, static_cast<std::uint8_t>(b)) == s[i] && (s[i] != 0 || b == 0)) found = b;
        if (found < 0) return std::nullopt;
        out.push_back(static_cast<std::uint8_t>(found));
    }
    return out;
}

}  // namespace

std::optional<icu::UnicodeString> decode(ByteView bytes, Encoding encoding) {
    return decodeImpl(bytes, encoding, false);
}

std::optional<Bytes> encode(const icu::UnicodeString& text, Encoding encoding) {
    if (text.isBogus()) return std::nullopt;
    switch (encoding) {
        case ASCII: return encodeSingleByte(text, 0x7F);
        case ISOLatin1: return encodeSingleByte(text, 0xFF);
        case NeXTSTEP:
        case Symbol: return encodeTable(text, encoding);
        case UTF16:
        case UTF32: {
            auto body = encodeWithConverter(text, encoding == UTF16 ? "UTF-16LE" : "UTF-32LE");
            if (!body) return std::nullopt;
            Bytes out = encoding == UTF16 ? Bytes{0xFF, 0xFE} : Bytes{0xFF, 0xFE, 0, 0};
            out.insert(out.end(), body->begin(), body->end());
            return out;
        }
        default: break;
    }
    const EncodingInfo* info = findInfo(encoding);
    if (!info) return std::nullopt;
    return encodeWithConverter(text, info->charset);
}

const std::vector<Encoding>& availableEncodings() {
    static const std::vector<Encoding> list = [] {
        std::vector<Encoding> v;
        for (const auto& info : kEncodings) v.push_back(info.encoding);
        return v;
    }();
    return list;
}

icu::UnicodeString encodingDisplayName(Encoding encoding) {
    const EncodingInfo* info = findInfo(encoding);
    return info ? icu::UnicodeString(info->name) : icu::UnicodeString();
}

const char* encodingCharsetName(Encoding encoding) {
    const EncodingInfo* info = findInfo(encoding);
    return info ? info->charset : nullptr;
}

namespace {

struct DetectorCloser {
    void operator()(UCharsetDetector* d) const { ucsdet_close(d); }
};

Encoding encodingForCharset(const char* charset) {
    if (!charset) return 0;
    // The detector names visual and logical Hebrew apart; both decode as ISO 8859-8.
    if (ucnv_compareNames(charset, "ISO-8859-8-I") == 0) return ISOHebrew;
    for (const auto& info : kEncodings)
        if (info.charset && ucnv_compareNames(info.charset, charset) == 0) return info.encoding;
    return 0;
}

struct Guess {
    Encoding encoding;
    int32_t confidence;
    bool suggested;
    int32_t score;
};

// The bytes the charset detector judges: for text without NUL bytes, its
// lines that hold a byte of 0x80 or above, up to kDetectPrefixBytes of them;
// otherwise the first kDetectPrefixBytes. ASCII lines say nothing about which
// 8-bit charset a text is in, while the detector's work grows with every byte
// it reads, and mail is mostly ASCII (headers, base64, markup). NUL bytes mark
// UTF-16 or UTF-32 without a byte-order mark, whose units lines would cut.
ByteView detectorSample(ByteView bytes, Bytes& sample) {
    if (std::memchr(bytes.data(), 0, bytes.size())) return bytes.first(std::min(bytes.size(), kDetectPrefixBytes));
    for (std::size_t start = 0; start < bytes.size() && sample.size() < kDetectPrefixBytes;) {
        const void* lineFeed = std::memchr(bytes.data() + start, '\n', bytes.size() - start);
        const std::size_t end =
            lineFeed ? static_cast<std::size_t>(static_cast<const std::uint8_t*>(lineFeed) - bytes.data()) + 1
                     : bytes.size();
        std::uint8_t any = 0;
        for (std::size_t i = start; i < end; ++i) any |= bytes[i];
        if (any & 0x80) {
            const std::size_t take = std::min(end, start + kDetectPrefixBytes - sample.size());
            sample.insert(sample.end(), bytes.data() + start, bytes.data() + take);
        }
        start = end;
    }
    return sample;
}

std::vector<Guess> detectorGuesses(ByteView bytes, std::span<const Encoding> suggested) {
    std::vector<Guess> guesses;
    UErrorCode ec = U_ZERO_ERROR;
    std::unique_ptr<UCharsetDetector, DetectorCloser> det(ucsdet_open(&ec));
    if (U_FAILURE(ec)) return guesses;
    Bytes storage;
    const ByteView sample = detectorSample(bytes, storage);
    ucsdet_setText(det.get(), reinterpret_cast<const char*>(sample.data()), static_cast<int32_t>(sample.size()), &ec);
    int32_t count = 0;
    const UCharsetMatch** matches = ucsdet_detectAll(det.get(), &count, &ec);
    if (U_FAILURE(ec) || !matches) return guesses;
    for (int32_t i = 0; i < count; ++i) {
        UErrorCode mec = U_ZERO_ERROR;
        const Encoding e = encodingForCharset(ucsdet_getName(matches[i], &mec));
        const int32_t confidence = ucsdet_getConfidence(matches[i], &mec);
        if (U_FAILURE(mec) || e == 0) continue;
        const bool isSuggested = std::find(suggested.begin(), suggested.end(), e) != suggested.end();
        guesses.push_back({e, confidence, isSuggested, confidence + (isSuggested ? kSuggestedBonus : 0)});
    }
    std::stable_sort(guesses.begin(), guesses.end(), [](const Guess& a, const Guess& b) { return a.score > b.score; });
    return guesses;
}

std::optional<DetectedText> byteOrderMark(ByteView bytes) {
    struct Mark {
        std::array<std::uint8_t, 4> bytes;
        std::size_t size;
        Encoding encoding;
    };
    static constexpr Mark kMarks[] = {
        {{0x00, 0x00, 0xFE, 0xFF}, 4, UTF32BE}, {{0xFF, 0xFE, 0x00, 0x00}, 4, UTF32LE},
        {{0xEF, 0xBB, 0xBF, 0x00}, 3, UTF8},    {{0xFE, 0xFF, 0x00, 0x00}, 2, UTF16BE},
        {{0xFF, 0xFE, 0x00, 0x00}, 2, UTF16LE},
    };
    for (const auto& m : kMarks) {
        if (bytes.size() < m.size || !std::equal(m.bytes.begin(), m.bytes.begin() + m.size, bytes.begin())) continue;
        if (auto s = decode(bytes.subspan(m.size), m.encoding)) return DetectedText{m.encoding, std::move(*s), false};
    }
    return std::nullopt;
}

}  // namespace

std::optional<DetectedText> detectEncoding(ByteView bytes, std::span<const Encoding> suggested, bool suggestedOnly) {
    if (bytes.empty() || bytes.size() > kMaxBytes) return std::nullopt;
    auto allowed = [&](Encoding e) {
        return !suggestedOnly || std::find(suggested.begin(), suggested.end(), e) != suggested.end();
    };
    if (auto marked = byteOrderMark(bytes); marked && allowed(marked->encoding)) return marked;
    if (allowed(UTF8))
        if (auto s = decode(bytes, UTF8)) return DetectedText{UTF8, std::move(*s), false};

    std::vector<Guess> guesses;
    if (!suggestedOnly) guesses = detectorGuesses(bytes, suggested);
    for (const auto& g : guesses) {
        if (!g.suggested && g.confidence < kConfidentGuess) continue;
        if (auto s = decode(bytes, g.encoding)) return DetectedText{g.encoding, std::move(*s), false};
    }
    for (Encoding e : suggested)
        if (auto s = decode(bytes, e)) return DetectedText{e, std::move(*s), false};

    const Encoding fallback = !guesses.empty() ? guesses.front().encoding : (suggested.empty() ? 0 : suggested.front());
    if (fallback == 0) return std::nullopt;
    if (auto s = decodeImpl(bytes, fallback, true)) return DetectedText{fallback, std::move(*s), true};
    return std::nullopt;
}

}  // namespace tessivo
