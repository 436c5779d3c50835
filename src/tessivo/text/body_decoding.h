// Body bytes to searchable text when the stored character set is a guess:
// code pages from the message, charsets from the HTML itself, detection last.
//
//   auto encoding = encodingOfCodePage(1251);                     // encodings::Windows1251
//   icu::UnicodeString text = eightBitText(bytes, {1251});        // the code page, else detection
//   icu::UnicodeString page = htmlText(htmlBytes, {65001});       // meta charset, code page, detection
//
// Functions take the bytes for the call only and never throw.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/value.h"

namespace tessivo::text {

// Whether text holds anything but white space and NULs.
bool hasWords(const icu::UnicodeString& text);

// The encoding of a Windows code page number; nothing for one we do not decode.
std::optional<Encoding> encodingOfCodePage(std::uint32_t codePage);

// The charset an HTML document declares in its first bytes
// (<meta charset=...> or <meta http-equiv content="...; charset=...">),
// lower-cased; empty when it declares none.
std::string charsetDeclaredInHtml(ByteView html);

// 8-bit text decoded by the first of the code pages that decodes it, else by
// charset detection; trailing NULs dropped.
icu::UnicodeString eightBitText(ByteView bytes, const std::vector<std::uint32_t>& codePages);

// The encoding of a charset name (any spelling ICU knows); nothing for an
// unknown or empty name. Latin-1 and ASCII are read as Windows-1252, as
// browsers and mail programs read them.
std::optional<Encoding> encodingOfCharset(const std::string& charset);

// HTML decoded by the charset its transport states (a MIME part's), else the
// one it declares itself, else by the first of the code pages that decodes
// it, else by detection, and laid out as plain text. Markup that is really
// quoted-printable (soft line breaks or "=3D") is decoded first; an "="
// elsewhere (<font size=2>) is markup.
icu::UnicodeString htmlText(ByteView bytes, const std::vector<std::uint32_t>& codePages,
                            std::optional<Encoding> transportCharset = std::nullopt);

// Whether HTML carries quoted-printable escapes of its own: soft line breaks
// or "=3D", which no markup holds.
bool looksQuotedPrintable(std::string_view html);

// Quoted-printable escapes ("=" and two hex digits of either case) and soft
// line breaks decoded; every other byte kept as it is.
Bytes unescapeQuotedPrintable(ByteView bytes);

}  // namespace tessivo::text
