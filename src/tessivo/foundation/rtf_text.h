// The RTF reader: the plain characters of an RTF document, as a word
// processor's text view holds them after opening it.
//
//   if (auto text = tessivo::rtfPlainText(rtfBytes)) index(*text);
//
// Paragraph and line breaks become "\n", tabs and table cells "\t", table
// rows "\n", page breaks "\f". Font, colour and style tables, document
// information, pictures, headers and footers, field instructions and every
// "\*" destination (such as the HTML tags of RTF made from HTML) are not
// text; field results are. "\'hh" bytes are decoded in the code page of the
// current font's character set or of the document, runs of them together so
// that double-byte and UTF-8 sequences come out whole; "\uN" characters
// replace their fallback text.
//
// Damaged RTF yields what was read up to the damage; bytes that do not begin
// "{\rtf" yield nothing. The result owns its characters.
#pragma once

#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

std::optional<icu::UnicodeString> rtfPlainText(ByteView rtf);

}  // namespace tessivo
