// String encodings by number: strict decoding and encoding, the list of
// encodings with their English display names, and encoding detection.
//
//   using namespace tessivo;
//   if (auto s = decode(bytes, encodings::Windows1252)) { ... }   // nullopt on any invalid byte
//   auto utf8 = encode(s, encodings::UTF8);                         // nullopt when a character has no mapping
//   auto hebrew = encodingDisplayName(encodings::Windows1255);      // u"Hebrew (Windows)"
//   if (auto d = detectEncoding(bytes, {{encodings::UTF8, encodings::ISOLatin1}})) { d->text; d->lossy; }
//
// Encoding numbers are the platform's: small numbers for the built-in
// encodings, 0x80000000 | code for the extended ones. Decoders are strict: a
// byte sequence that is invalid or unmapped in the encoding makes the whole
// decode fail (see decode for the platform's exceptions). Nothing here throws; every function is safe to call from any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

using Encoding = std::uint64_t;

namespace encodings {
inline constexpr Encoding ASCII = 1;
inline constexpr Encoding NeXTSTEP = 2;
inline constexpr Encoding EUCJP = 3;
inline constexpr Encoding UTF8 = 4;
inline constexpr Encoding ISOLatin1 = 5;
inline constexpr Encoding Symbol = 6;
inline constexpr Encoding ShiftJISWindows = 8;  // code page 932, "Japanese (Windows, DOS)"
inline constexpr Encoding ISOLatin2 = 9;
inline constexpr Encoding UTF16 = 10;  // byte-order mark honoured; little-endian without one
inline constexpr Encoding Windows1251 = 11;
inline constexpr Encoding Windows1252 = 12;
inline constexpr Encoding Windows1253 = 13;
inline constexpr Encoding Windows1254 = 14;
inline constexpr Encoding Windows1250 = 15;
inline constexpr Encoding ISO2022JP = 21;
inline constexpr Encoding MacRoman = 30;
inline constexpr Encoding UTF32 = 0x8C000100;  // byte-order mark honoured; little-endian without one
inline constexpr Encoding UTF16BE = 0x90000100;
inline constexpr Encoding UTF16LE = 0x94000100;
inline constexpr Encoding UTF32BE = 0x98000100;
inline constexpr Encoding UTF32LE = 0x9C000100;

// Extended encodings: 0x80000000 | the platform's code for the character set.
inline constexpr Encoding ISOLatin4 = 0x80000204;
inline constexpr Encoding ISOCyrillic = 0x80000205;  // ISO 8859-5
inline constexpr Encoding ISOArabic = 0x80000206;    // ISO 8859-6
inline constexpr Encoding ISOGreek = 0x80000207;     // ISO 8859-7
inline constexpr Encoding ISOHebrew = 0x80000208;    // ISO 8859-8
inline constexpr Encoding ISOLatin5 = 0x80000209;    // ISO 8859-9
inline constexpr Encoding ISOThai = 0x8000020B;      // ISO 8859-11
inline constexpr Encoding ISOLatin7 = 0x8000020D;    // ISO 8859-13
inline constexpr Encoding ISOLatin9 = 0x8000020F;    // ISO 8859-15
inline constexpr Encoding Windows874 = 0x8000041D;
inline constexpr Encoding Windows936 = 0x80000421;
inline constexpr Encoding Windows949 = 0x80000422;
inline constexpr Encoding Windows950 = 0x80000423;
inline constexpr Encoding Windows1255 = 0x80000505;
inline constexpr Encoding Windows1256 = 0x80000506;
inline constexpr Encoding Windows1257 = 0x80000507;
inline constexpr Encoding Windows1258 = 0x80000508;
inline constexpr Encoding GB2312 = 0x80000930;  // EUC-CN
inline constexpr Encoding GBK = 0x80000631;
inline constexpr Encoding GB18030 = 0x80000632;
inline constexpr Encoding ISO2022KR = 0x80000840;
inline constexpr Encoding EUCKR = 0x80000940;
inline constexpr Encoding ShiftJIS = 0x80000A01;
inline constexpr Encoding KOI8R = 0x80000A02;
inline constexpr Encoding Big5 = 0x80000A03;
inline constexpr Encoding KOI8U = 0x80000A08;
}  // namespace encodings

// The text of bytes in an encoding, or nullopt when a byte sequence is invalid
// or unmapped in it, or the encoding is unknown. As the platform's decoders:
// UTF-16 keeps an unpaired surrogate as the code unit it is (only an odd byte
// count fails); Windows-1252 fails on its five undefined bytes (0x81, 0x8D,
// 0x8F, 0x90, 0x9D); UTF-8 drops a leading byte-order mark. UTF16 and UTF32
// consume their mark; the other encodings keep it as U+FEFF.
std::optional<icu::UnicodeString> decode(ByteView bytes, Encoding encoding);

// The bytes of a string in an encoding, or nullopt when a character cannot be
// represented (an unpaired surrogate in a Unicode encoding, a character
// outside a legacy character set) or the encoding is unknown. UTF16 and UTF32
// write a little-endian byte-order mark first.
std::optional<Bytes> encode(const icu::UnicodeString& text, Encoding encoding);

// Every encoding this library can decode, in a fixed order.
const std::vector<Encoding>& availableEncodings();

// The English display name, e.g. u"Western (Windows Latin 1)"; empty when the
// encoding is unknown.
icu::UnicodeString encodingDisplayName(Encoding encoding);

// The IANA/ICU charset name used for an encoding (e.g. "windows-1252"), or
// nullptr for unknown encodings and those decoded by our own tables.
const char* encodingCharsetName(Encoding encoding);

struct DetectedText {
    Encoding encoding = 0;
    icu::UnicodeString text;
    bool lossy = false;  // some bytes were invalid and became U+FFFD
};

// Guesses the encoding of bytes and converts them. A byte-order mark or valid
// UTF-8 decide at once; otherwise the charset detector's guesses are tried
// best first (a suggested encoding wins ties, others must be confident), then
// the suggested encodings in order, then the best guess with lossy conversion.
// The detector judges the lines that hold bytes of 0x80 and above (64 KB of
// them at most), or the first 64 KB of data with NUL bytes. With
// suggestedOnly only the suggested encodings are considered.
// nullopt for empty input or when nothing fits.
std::optional<DetectedText> detectEncoding(ByteView bytes, std::span<const Encoding> suggested,
                                           bool suggestedOnly = false);

}  // namespace tessivo
