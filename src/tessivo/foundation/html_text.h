// HTML to plain text, laid out as a browser's text view shows a document.
//
//   std::optional<icu::UnicodeString> text = tessivo::htmlToPlainText(utf8Bytes);
//   if (!text) { /* not UTF-8 text: no usable document */ }
//
// The layout rules:
// - block elements (div, p, headings, lists, tables, blockquote, pre, ...)
//   start and end lines; a paragraph or heading is followed by a blank line;
// - <br> is a line break; white space collapses to one space outside pre,
//   listing, textarea, xmp and plaintext, and is trimmed at line starts/ends;
// - list items get a marker ("• " in unordered lists, "N. " in ordered ones);
// - table rows are lines, the cells of a row are separated by tabs;
// - character references are decoded (all named references of HTML, numeric
//   ones with the usual repairs: 0, surrogates and values past U+10FFFF give
//   U+FFFD, 0x80-0x9F read as Windows-1252);
// - not shown: head content, script, style, title, template, comments,
//   iframe/noembed/noframes content, svg, and elements hidden with the
//   `hidden` attribute or an inline style "display: none";
// - image alt text only when asked for.
//
// The input is read in one pass without building a tree. Misnested markup is
// repaired the way HTML parsers do where it changes the text (implied end of
// p, li, dd/dt, table cells and rows); open elements nest at most
// kHtmlMaxOpenElements deep, deeper ones are laid out but not tracked.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <unicode/unistr.h>

namespace tessivo {

inline constexpr std::size_t kHtmlMaxOpenElements = 512;

struct HtmlTextOptions {
    bool imageAltText = false;  // write the alt text of <img> where the image stands
};

// The text of an HTML document given as UTF-8 bytes. Nothing when the bytes
// are not valid UTF-8 or exceed 2^31 - 1 bytes; "" for a document without
// visible text.
std::optional<icu::UnicodeString> htmlToPlainText(std::string_view utf8, const HtmlTextOptions& options = {});

}  // namespace tessivo
