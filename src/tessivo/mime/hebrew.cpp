// Shortcuts for Hebrew (Windows-1255) text in MIME headers.
#include <cstdint>
#include <vector>

#include "tessivo/foundation/text.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

// The bytes whose "=XX" escapes decodeCP1255FromMimeEncodedString resolves:
// the points and ligatures D0-D8 and the letters E0-FA.
std::vector<std::uint8_t> hebrewCodes() {
    std::vector<std::uint8_t> codes;
    for (int b = 0xD0; b <= 0xD8; ++b) codes.push_back(static_cast<std::uint8_t>(b));
    for (int b = 0xE0; b <= 0xFA; ++b) codes.push_back(static_cast<std::uint8_t>(b));
    return codes;
}

}  // namespace

icu::UnicodeString decodeCP1255FromMimeEncodedString(const icu::UnicodeString& text) {
    static constexpr char16_t kHex[] = u"0123456789ABCDEF";
    static const std::vector<std::uint8_t> codes = hebrewCodes();
    icu::UnicodeString out(text);
    for (const std::uint8_t code : codes) {
        const std::uint8_t byte[1] = {code};
        const auto character = decode(byte, encodings::Windows1255);
        if (!character) continue;
        icu::UnicodeString escape(u'=');
        escape.append(kHex[code >> 4]).append(kHex[code & 0x0F]);
        out = replaceAll(out, escape, *character, CaseInsensitive);
    }
    return out;
}

icu::UnicodeString decodeCP1255B(const icu::UnicodeString& text) {
    static const icu::UnicodeString kWordStart(u"=?windows-1255?B?");
    icu::UnicodeString out;
    for (const icu::UnicodeString& piece : split(text, kWordStart, CaseInsensitive)) {
        const std::int32_t end = piece.indexOf(u"?=");
        if (end < 0) {
            out.append(piece);
            continue;
        }
        if (end == 0) continue;
        if (auto decoded = base64DecodeWithEncoding(icu::UnicodeString(piece, 0, end), encodings::Windows1255))
            out.append(*decoded);
        out.append(piece, end + 2, piece.length() - end - 2);
    }
    return out;
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
