// MIME charset names to encoding numbers.
#include <array>
#include <utility>

#include "tessivo/foundation/text.h"
#include "tessivo/foundation/value.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

constexpr std::array<std::pair<const char16_t*, Encoding>, 13> kFixedCharsets{{
    {u"UTF-8", encodings::UTF8},
    {u"UTF-16LE", encodings::UTF16LE},
    {u"UTF-16BE", encodings::UTF16BE},
    {u"UTF-16", encodings::UTF16},
    {u"ASCII", encodings::ASCII},
    {u"WINDOWS-1250", encodings::Windows1250},
    {u"WINDOWS-1251", encodings::Windows1251},
    {u"WINDOWS-1252", encodings::Windows1252},
    {u"WINDOWS-1253", encodings::Windows1253},
    {u"WINDOWS-1254", encodings::Windows1254},
    {u"ISO-8859-1", encodings::ISOLatin1},
    {u"ISO-8859-2", encodings::ISOLatin2},
    {u"EUC-JP", encodings::EUCJP},
}};

// Charsets whose numbers come from the encoding-name dictionary, by display name.
constexpr std::array<std::pair<const char16_t*, const char16_t*>, 17> kNamedCharsets{{
    {u"WINDOWS-1255", u"Hebrew (Windows)"},
    {u"WINDOWS-1256", u"Arabic (Windows)"},
    {u"WINDOWS-1257", u"Baltic (Windows)"},
    {u"WINDOWS-1258", u"Vietnamese (Windows)"},
    {u"WINDOWS-874", u"Thai (Windows, DOS)"},
    {u"ISO-8859-5", u"Cyrillic (ISO 8859-5)"},
    {u"ISO-8859-6", u"Arabic (ISO 8859-6)"},
    {u"ISO-8859-7", u"Greek (ISO 8859-7)"},
    {u"ISO-8859-8", u"Hebrew (ISO 8859-8)"},
    {u"ISO-8859-11", u"Thai (ISO 8859-11)"},
    {u"KOI8-R", u"Cyrillic (KOI8-R)"},
    {u"KOI8-U", u"Ukrainian (KOI8-U)"},
    {u"SHIFT_JIS", u"Japanese (Shift JIS)"},
    {u"EUC-KR", u"Korean (EUC)"},
    {u"BIG5", u"Traditional Chinese (Big 5)"},
    {u"GB2312", u"Simplified Chinese (GB 2312)"},
    {u"GB18030", u"Chinese (GB 18030)"},
}};

}  // namespace

std::uint32_t getCharacterEncodingFromMime(const icu::UnicodeString& charset) {
    const icu::UnicodeString key = toUpper(charset);
    for (const auto& [name, encoding] : kFixedCharsets)
        if (key == name) return static_cast<std::uint32_t>(encoding);
    for (const auto& [name, displayName] : kNamedCharsets) {
        if (key != name) continue;
        const Dictionary names = StringWangers::getStringEncodingsForText();
        const Value* number = names.get(displayName);
        return number ? static_cast<std::uint32_t>(number->toUInt64()) : static_cast<std::uint32_t>(encodings::UTF8);
    }
    return static_cast<std::uint32_t>(encodings::UTF8);
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
