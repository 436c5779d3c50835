// HTML bodies to plain text and back, and the tests of whether a text is HTML.
//
//   using namespace tessivo::WindowsCodePageWangersNSStringAdditions;
//   icu::UnicodeString text = stringFromHTML(html);          // "" when the HTML gives nothing
//   icu::UnicodeString tidy = stringByStrippingHTML(html);   // trimmed lines, falls back to tag stripping
//   if (isHTML(body)) { ... }
//   icu::UnicodeString fragment = stringByConvertingToHTMLWithWrapAtColumn(u"a  b\n", 72);
//
// The receiver of each operation is its first argument; a nil receiver is
// passed as an empty string. None of them throws; failures give "" (or
// false), the tag-stripping fallback, or a log line as each comment says.
#pragma once

#include <cstdint>

#include <unicode/unistr.h>

namespace tessivo::WindowsCodePageWangersNSStringAdditions {

// The importer's converter: quoted-printable decoded as UTF-8 when that works,
// "</p>" and "</div>" (any case) turned into line breaks, every "<br...>" into
// "\n", then laid out as a browser's text view shows it. "" when the text is
// empty, cannot be encoded as UTF-8 or the layout fails; no fallback.
icu::UnicodeString stringFromHTML(const icu::UnicodeString& html);
// The same for html followed by trailingNuls NUL characters, counted rather
// than stored (the zeros of a cut file).
icu::UnicodeString stringFromHTML(const icu::UnicodeString& html, std::uint64_t trailingNuls);

// Text view layout, tidied: runs of spaces and tabs become one space, three or
// more line breaks two, every line is trimmed of spaces and tabs, line breaks
// at both ends are removed. When the layout fails, stringByStrippingHTMLFallback.
// Logs "Failed to create regex with pattern '%@': %@" or "Exception during
// regex replacement in HTML cleanup: %@" when a clean-up step fails.
icu::UnicodeString stringByStrippingHTML(const icu::UnicodeString& html);

// Tag stripping by regular expressions: comments, style and script elements
// removed; p, div, br, h1-h6, li, ul, ol, blockquote, pre tags (and any tag
// whose name merely starts with one of those, "<param>" or "<link>" too)
// become "\n"; other tags removed; sixteen named entities replaced in a fixed
// order, any case, "&amp;" first (so "&amp;lt;" ends as "<"), "&nbsp;" as a
// plain space. No white space is collapsed.
icu::UnicodeString stringByStrippingHTMLFallback(const icu::UnicodeString& html);

// Every doubly escaped decimal reference "&amp;#NNN;" (or "&amp;NNN;") with a
// value of at least 1 replaced by the character of the value's low 16 bits.
icu::UnicodeString decodeHTMLFormattingTags(const icu::UnicodeString& text);

// After trimming: at least 13 characters and either "<html" at the start with
// "</html>" among the last 19 characters, or "<!DOCTYPE" at the start, or two
// of "<head", "<body", "<html" anywhere (any case).
bool isHTML(const icu::UnicodeString& text);

// Plain text to an HTML fragment: &, <, >, ", ' escaped, line breaks as
// "<br>", tabs as four "&nbsp;", every second space of a pair as "&nbsp;";
// wrapped in a pre-wrap <div> of the given width in characters when column >= 1.
// "" for an empty text.
icu::UnicodeString stringByConvertingToHTML(const icu::UnicodeString& text);
icu::UnicodeString stringByConvertingToHTMLWithWrapAtColumn(const icu::UnicodeString& text, std::int64_t column);

// Plain text in a <pre> element, only &, <, >, ", ' escaped; with a pre-wrap
// style of the given width when column >= 1. "<pre></pre>" for an empty text.
icu::UnicodeString stringByConvertingToHTMLWithPreTag(const icu::UnicodeString& text);
icu::UnicodeString stringByConvertingToHTMLWithPreTagAndWrapAtColumn(const icu::UnicodeString& text,
                                                                    std::int64_t column);

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions

namespace tessivo {

// Whether the NUL-terminated bytes (read as StringWangers::stringFromCString
// does) contain "<html" in any case. False for a null pointer.
bool typeIsHTML(const char* bytes);

}  // namespace tessivo
