// Choosing a text for bytes of unknown encoding, the way the MIME reader and
// the TNEF layer need it: these never give "no string", only "" at worst.
//
//   icu::UnicodeString body = tessivo::StringWangers::stringFromNSData(bytes);    // detector, then fixed list
//   icu::UnicodeString name = tessivo::StringWangers::stringFromCString(cstr);    // ASCII, UTF-8, UTF-16, 1252
//   tessivo::Dictionary names = tessivo::StringWangers::getStringEncodingsForText();
//   // names: display name (u"Hebrew (Windows)") -> Value(std::uint64_t encoding number)
//
// All functions are reentrant. The encoding-name dictionary is built once per
// process; each call returns the caller's own copy.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

class StringWangers {
public:
    StringWangers() = delete;

    // Encodings suggested to the detector, in order.
    static constexpr std::array<Encoding, 3> kSuggestedEncodings = {encodings::UTF8, encodings::ISOLatin1,
                                                                    encodings::Windows1252};
    // Candidates tried in order when the detector's answer is missing or lossy.
    static constexpr std::array<Encoding, 19> kCandidateEncodings = {
        encodings::UTF8,        encodings::ISOLatin1,  encodings::Windows1252, encodings::ASCII,
        encodings::UTF16,       encodings::UTF16BE,    encodings::UTF16LE,     encodings::UTF32,
        encodings::UTF32BE,     encodings::UTF32LE,    encodings::MacRoman,    encodings::ISOLatin2,
        encodings::Windows1250, encodings::Windows1251, encodings::ShiftJISWindows, encodings::ISO2022JP,
        encodings::EUCJP,       encodings::Symbol,     encodings::NeXTSTEP,
    };
    // Encodings tried in order for NUL-terminated 8-bit strings.
    static constexpr std::array<Encoding, 4> kCStringEncodings = {encodings::ASCII, encodings::UTF8, encodings::UTF16,
                                                                  encodings::Windows1252};

    // A string is returned as it is; bytes are decoded (detector first, then
    // the candidates that give a valid string, then Latin-1); anything else,
    // and empty bytes, give "".
    static icu::UnicodeString stringFromNSData(const Value& object);
    static icu::UnicodeString stringFromNSData(ByteView bytes);
    static icu::UnicodeString stringFromNSData(const Bytes& bytes) { return stringFromNSData(ByteView(bytes)); }
    // stringFromNSData's text of bytes with the encoding that gave it (0 for
    // empty bytes and for the "" of a failed Latin-1 decode).
    static DetectedText decodedWithEncoding(ByteView bytes);

    // Non-empty, and at most a fifth of the first 100 units are U+FFFD.
    static bool isValidDecodedString(const icu::UnicodeString& text);

    // The bytes up to the first NUL decoded with the C-string encodings; ""
    // for a null pointer or when none fits.
    static icu::UnicodeString stringFromCString(const char* text);

    // Display name -> encoding number (Value holding std::uint64_t) for every
    // available encoding.
    static Dictionary getStringEncodingsForText();

    // Whether some 16-bit unit at an even offset below length is zero. An odd
    // trailing byte has no partner inside the view and is not examined.
    static bool utf16CStringIsTerminated(ByteView bytes);

    // The text for key in a string table ("messages": "VoiceNote",
    // "unnamedName"); the key itself when the table or key is unknown.
    static icu::UnicodeString localizedStringFor(const icu::UnicodeString& key, const icu::UnicodeString& table);

    // A hook that returns its argument unchanged.
    static icu::UnicodeString fixUnicode(const icu::UnicodeString& text) { return text; }
};

}  // namespace tessivo
