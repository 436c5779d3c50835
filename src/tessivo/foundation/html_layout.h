// Internal to the HTML renderer: the element table, the layout rules and
// the text writer shared by its two readers, the one-pass reader
// (html_text.cpp) and the layout of gumbo's HTML5 tree (html_tree.cpp).
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <unicode/utf8.h>

#include "tessivo/foundation/html_text.h"

namespace tessivo::html {

constexpr bool isAsciiSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }
constexpr bool isAsciiAlpha(unsigned char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }
constexpr bool isAsciiDigit(unsigned char c) { return c >= '0' && c <= '9'; }
constexpr bool isAsciiAlnum(unsigned char c) { return isAsciiAlpha(c) || isAsciiDigit(c); }
constexpr unsigned char lowerAscii(unsigned char c) { return (c >= 'A' && c <= 'Z') ? c + 0x20 : c; }

inline void appendUtf8(std::string& out, char32_t c) {
    char buffer[4];
    std::int32_t length = 0;
    UBool error = false;
    U8_APPEND(reinterpret_cast<std::uint8_t*>(buffer), length, 4, static_cast<UChar32>(c), error);
    if (!error) out.append(buffer, static_cast<std::size_t>(length));
}

// ---------------------------------------------------------------------------
// Elements

enum class Kind : std::uint8_t {
    Inline, Block, Paragraph, Heading, Br, Hr, Img, Void, ListItem, DefinitionItem, List, OrderedList,
    Table, RowGroup, Row, Cell, Caption, Option, OptGroup, Pre, Textarea, Xmp, Plaintext, RawHidden, Title,
    Hidden, Dialog, Ignored,
};

enum Flag : std::uint8_t {
    kSpecial = 1,   // stops the search for an open inline element of the same name
    kClosesP = 2,   // its start tag ends an open paragraph
    kScope = 4,     // bounds the search for open elements
    kListScope = 8,  // also bounds it for list items
    kTableScope = 16,  // bounds it for table parts
};

struct TagInfo {
    std::string_view name;
    Kind kind;
    std::uint8_t flags;
};

constexpr std::uint8_t kBlockFlags = kSpecial | kClosesP;

// The element of a lower-case tag name; an inline element for unknown names.
const TagInfo& findTag(std::string_view name);

// Blank lines that the element's box leaves around it: 0 inline, 1 own line, 2 with a blank line after.
int lineBreaksOf(Kind kind);

// True when an inline style sets display to none (any case, spaces allowed).
bool styleHidesElement(std::string_view style);

// The attributes that change the text; views into the input or into the tree.
struct Attributes {
    std::optional<std::string_view> style, alt, start, value;
    bool hidden = false;
    bool open = false;
};

// A decimal integer attribute ("start", "value"), clamped to 31 bits.
std::optional<std::int64_t> parseInteger(std::optional<std::string_view> text);

// The element is not shown by its kind, its `hidden` attribute, an inline
// display:none, or as a dialog that is not open.
bool hidesItself(const TagInfo& info, const Attributes& attributes);

// White space inside the element is kept as it stands.
constexpr bool keepsWhiteSpace(Kind kind) {
    return kind == Kind::Pre || kind == Kind::Textarea || kind == Kind::Xmp || kind == Kind::Plaintext;
}

// ---------------------------------------------------------------------------
// Output: one buffer; line breaks, separators and spaces are held back until
// the next visible character so that none is left dangling at a line's end.

class Writer {
public:
    explicit Writer(std::size_t reserve) { out_.reserve(reserve); }

    // Visible characters (never white space to collapse).
    void content(std::string_view text) {
        flush();
        out_.append(text);
        trailingNewlines_ = 0;
    }
    void content(char32_t c) {
        flush();
        appendUtf8(out_, c);
        trailingNewlines_ = 0;
    }

    // Text kept as it stands (pre); line feeds count as line ends.
    void verbatim(std::string_view text) {
        if (text.empty()) return;
        flush();
        out_.append(text);
        std::size_t newlines = 0;
        while (newlines < text.size() && text[text.size() - 1 - newlines] == '\n') ++newlines;
        trailingNewlines_ = newlines == text.size() ? trailingNewlines_ + static_cast<int>(newlines) : static_cast<int>(newlines);
        atBreak_ = trailingNewlines_ > 0;
    }

    // Collapsible white space between words.
    void space() {
        if (!atBreak_) pendingSpace_ = true;
    }

    // The current line must end and `count` - 1 blank lines follow before more text.
    void requestLineBreaks(int count) {
        if (!fresh_) wantNewlines_ = std::max(wantNewlines_, count);
    }

    // <br>: a line break that always shows.
    void lineBreak() {
        flushSeparators();
        out_.push_back('\n');
        ++trailingNewlines_;
        atBreak_ = true;
    }

    // A cell after the first in a row.
    void cellSeparator() {
        wantNewlines_ = 0;
        pendingSpace_ = false;
        ++pendingTabs_;
        fresh_ = true;
        atBreak_ = true;
    }

    // A row begins: one line break, then nothing more until text.
    void beginLine() {
        pendingTabs_ = 0;
        fresh_ = false;
        requestLineBreaks(1);
        fresh_ = true;
    }

    void endRow() {
        pendingTabs_ = 0;
        fresh_ = false;
        wantNewlines_ = 1;
    }

    // The end of a list item: its line ends even if it stayed empty.
    void endItem() {
        fresh_ = false;
        requestLineBreaks(1);
    }

    // A list marker: shows like text but lets the item's content follow on its line.
    void marker(std::string_view text) {
        content(text);
        fresh_ = true;
        atBreak_ = true;
    }

    std::string& text() { return out_; }

private:
    void flushSeparators() {
        if (pendingTabs_ > 0) {
            out_.append(static_cast<std::size_t>(pendingTabs_), '\t');
            trailingNewlines_ = 0;
        } else if (wantNewlines_ > trailingNewlines_ && !out_.empty()) {
            out_.append(static_cast<std::size_t>(wantNewlines_ - trailingNewlines_), '\n');
            trailingNewlines_ = wantNewlines_;
        }
        pendingTabs_ = 0;
        wantNewlines_ = 0;
        pendingSpace_ = false;
        fresh_ = false;
    }

    void flush() {
        const bool space = pendingSpace_ && pendingTabs_ == 0 && wantNewlines_ <= trailingNewlines_;
        flushSeparators();
        if (space) out_.push_back(' ');
        atBreak_ = false;
    }

    std::string out_;
    int trailingNewlines_ = 0;
    int wantNewlines_ = 0;
    int pendingTabs_ = 0;
    bool pendingSpace_ = false;
    bool atBreak_ = true;   // at a line start or after a separator: white space is dropped
    bool fresh_ = false;    // a row, cell or item just began: block edges add no line breaks
};

// Writes a list item's marker: "N. " from the enclosing ordered list's next
// number `orderedCounter` (which the item's "value" may reset), else a bullet.
void writeListMarker(Writer& writer, std::int64_t* orderedCounter, const Attributes& item);

// The text of the document as laid out from gumbo's HTML5 tree; the input
// must be valid UTF-8.
std::string layOutTree(std::string_view utf8, const HtmlTextOptions& options);

}  // namespace tessivo::html
