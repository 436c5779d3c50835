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
// Well-formed markup, as mail programs write it, is read in one pass without
// building a tree; misnested markup is repaired on the way, as HTML
// parsers do where it changes the text (implied end of p, li, dd/dt, table
// cells and rows). Markup whose text the HTML5 tree builder moves, that is
// text or elements inside a table but outside its cells, is laid out from
// gumbo's HTML5 tree instead, as long as the document is at most
// kHtmlMaxTreeBytes long (the tree costs about 13 times the document's size)
// and nests at most kHtmlMaxOpenElements deep (gumbo's time grows with the
// square of the depth). Past those bounds the one-pass reading stands: open
// elements deeper than kHtmlMaxOpenElements are laid out but not tracked.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include <unicode/unistr.h>

namespace tessivo {

inline constexpr std::size_t kHtmlMaxOpenElements = 512;
inline constexpr std::size_t kHtmlMaxTreeBytes = 4 << 20;

struct HtmlTextOptions {
    bool imageAltText = false;  // write the alt text of <img> where the image stands
    bool buildTree = false;     // lay out gumbo's tree even where one pass would do (within the bounds)
    // NUL bytes that follow the document, counted rather than stored (the
    // zeros of a cut file): dropped as every NUL is, but part of its size.
    std::size_t trailingNuls = 0;
};

// The text of an HTML document given as UTF-8 bytes. Nothing when the bytes
// are not valid UTF-8 or exceed 2^31 - 1 bytes; "" for a document without
// visible text.
std::optional<icu::UnicodeString> htmlToPlainText(std::string_view utf8, const HtmlTextOptions& options = {});

}  // namespace tessivo
