#include "tessivo/foundation/html_text.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <unicode/utf8.h>

namespace tessivo {
namespace {

// ---------------------------------------------------------------------------
// Character classes and references

constexpr bool isAsciiSpace(unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r'; }
constexpr bool isAsciiAlpha(unsigned char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }
constexpr bool isAsciiDigit(unsigned char c) { return c >= '0' && c <= '9'; }
constexpr bool isAsciiAlnum(unsigned char c) { return isAsciiAlpha(c) || isAsciiDigit(c); }
constexpr unsigned char lowerAscii(unsigned char c) { return (c >= 'A' && c <= 'Z') ? c + 0x20 : c; }

// Bytes that end a run of text outside pre: markup, references, white space, NUL.
constexpr std::array<bool, 256> makeStops(bool keepSpace) {
    std::array<bool, 256> table{};
    table['<'] = table['&'] = table['\0'] = table['\r'] = true;
    if (!keepSpace) table[' '] = table['\t'] = table['\n'] = table['\f'] = true;
    return table;
}
constexpr auto kTextStops = makeStops(false);
constexpr auto kPreStops = makeStops(true);

bool isValidUtf8(std::string_view s) {
    const auto* p = reinterpret_cast<const std::uint8_t*>(s.data());
    const std::int32_t length = static_cast<std::int32_t>(s.size());
    std::int32_t i = 0;
    while (i < length) {
        // Skip ASCII eight bytes at a time.
        while (i + 8 <= length) {
            std::uint64_t word;
            std::memcpy(&word, p + i, 8);
            if (word & 0x8080808080808080ULL) break;
            i += 8;
        }
        if (i >= length) break;
        UChar32 c;
        U8_NEXT(p, i, length, c);
        if (c < 0) return false;
    }
    return true;
}

struct NamedReference {
    std::string_view name;
    char32_t first;
    char32_t second;
    bool withoutSemicolon;
};

constexpr NamedReference kNamedReferences[] = {
#include "tessivo/foundation/html_entities.inc"
};
constexpr std::size_t kLongestReferenceName = 32;

const NamedReference* findReference(std::string_view name) {
    const auto* end = std::end(kNamedReferences);
    const auto* it = std::lower_bound(std::begin(kNamedReferences), end, name,
                                      [](const NamedReference& r, std::string_view n) { return r.name < n; });
    return (it != end && it->name == name) ? it : nullptr;
}

// Numeric references to 0x80-0x9F mean the Windows-1252 characters there.
constexpr char32_t kWindows1252High[32] = {
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
    0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178,
};

char32_t repairNumeric(std::uint32_t value) {
    if (value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return 0xFFFD;
    if (value >= 0x80 && value <= 0x9F) return kWindows1252High[value - 0x80];
    return value;
}

// A decoded character reference: up to two code points and the bytes it took.
struct Reference {
    char32_t points[2] = {0, 0};
    std::size_t length = 0;  // 0: not a reference, the '&' is text
};

// Reads the reference that starts with the '&' at s[0].
Reference readReference(std::string_view s) {
    Reference ref;
    std::size_t i = 1;
    if (i < s.size() && s[i] == '#') {
        ++i;
        const bool hex = i < s.size() && (s[i] | 0x20) == 'x';
        if (hex) ++i;
        const std::size_t digitsStart = i;
        std::uint32_t value = 0;
        for (; i < s.size(); ++i) {
            const unsigned char c = static_cast<unsigned char>(s[i]);
            std::uint32_t digit;
            if (isAsciiDigit(c)) digit = c - '0';
            else if (hex && (c | 0x20) >= 'a' && (c | 0x20) <= 'f') digit = (c | 0x20) - 'a' + 10;
            else break;
            value = std::min<std::uint32_t>(value * (hex ? 16 : 10) + digit, 0x110000);
        }
        if (i == digitsStart) return ref;
        if (i < s.size() && s[i] == ';') ++i;
        ref.points[0] = repairNumeric(value);
        ref.length = i;
        return ref;
    }
    std::size_t end = i;
    while (end < s.size() && end - i < kLongestReferenceName && isAsciiAlnum(static_cast<unsigned char>(s[end]))) ++end;
    if (end == i) return ref;
    if (end < s.size() && s[end] == ';') {
        if (const auto* named = findReference(s.substr(i, end - i))) {
            ref.points[0] = named->first;
            ref.points[1] = named->second;
            ref.length = end + 1;
            return ref;
        }
    }
    // Without the semicolon only the old references count, longest first.
    for (std::size_t n = std::min<std::size_t>(end - i, 6); n >= 2; --n) {
        const auto* named = findReference(s.substr(i, n));
        if (named && named->withoutSemicolon) {
            ref.points[0] = named->first;
            ref.points[1] = named->second;
            ref.length = i + n;
            return ref;
        }
    }
    return ref;
}

void appendUtf8(std::string& out, char32_t c) {
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

// Sorted by name.
constexpr TagInfo kTags[] = {
    {"address", Kind::Block, kBlockFlags},      {"applet", Kind::Inline, kSpecial | kScope},
    {"area", Kind::Void, kSpecial},              {"article", Kind::Block, kBlockFlags},
    {"aside", Kind::Block, kBlockFlags},         {"base", Kind::Void, kSpecial},
    {"basefont", Kind::Void, kSpecial},          {"bgsound", Kind::Void, kSpecial},
    {"blockquote", Kind::Block, kBlockFlags},    {"body", Kind::Ignored, kSpecial},
    {"br", Kind::Br, kSpecial},                  {"button", Kind::Inline, kSpecial},
    {"caption", Kind::Caption, kSpecial | kScope}, {"center", Kind::Block, kBlockFlags},
    {"col", Kind::Void, kSpecial},               {"colgroup", Kind::Inline, kSpecial},
    {"datalist", Kind::Hidden, 0},               {"dd", Kind::DefinitionItem, kBlockFlags},
    {"details", Kind::Block, kBlockFlags},       {"dialog", Kind::Dialog, kBlockFlags},
    {"dir", Kind::List, kBlockFlags},            {"div", Kind::Block, kBlockFlags},
    {"dl", Kind::Block, kBlockFlags},            {"dt", Kind::DefinitionItem, kBlockFlags},
    {"embed", Kind::Void, kSpecial},             {"fieldset", Kind::Block, kBlockFlags},
    {"figcaption", Kind::Block, kBlockFlags},    {"figure", Kind::Block, kBlockFlags},
    {"footer", Kind::Block, kBlockFlags},        {"form", Kind::Block, kBlockFlags},
    {"frame", Kind::Void, kSpecial},             {"frameset", Kind::Hidden, kSpecial},
    {"h1", Kind::Heading, kBlockFlags},          {"h2", Kind::Heading, kBlockFlags},
    {"h3", Kind::Heading, kBlockFlags},          {"h4", Kind::Heading, kBlockFlags},
    {"h5", Kind::Heading, kBlockFlags},          {"h6", Kind::Heading, kBlockFlags},
    {"head", Kind::Ignored, kSpecial},           {"header", Kind::Block, kBlockFlags},
    {"hgroup", Kind::Block, kBlockFlags},        {"hr", Kind::Hr, kBlockFlags},
    {"html", Kind::Ignored, kSpecial | kScope | kTableScope},  {"iframe", Kind::RawHidden, kSpecial},
    {"image", Kind::Img, kSpecial},              {"img", Kind::Img, kSpecial},
    {"input", Kind::Void, kSpecial},             {"keygen", Kind::Void, kSpecial},
    {"legend", Kind::Block, 0},                  {"li", Kind::ListItem, kBlockFlags},
    {"link", Kind::Void, kSpecial},              {"listing", Kind::Pre, kBlockFlags},
    {"main", Kind::Block, kBlockFlags},          {"marquee", Kind::Inline, kSpecial | kScope},
    {"menu", Kind::List, kBlockFlags},           {"meta", Kind::Void, kSpecial},
    {"nav", Kind::Block, kBlockFlags},           {"noembed", Kind::RawHidden, kSpecial},
    {"noframes", Kind::RawHidden, kSpecial},     {"object", Kind::Inline, kSpecial | kScope},
    {"ol", Kind::OrderedList, kBlockFlags | kListScope},      {"optgroup", Kind::OptGroup, 0},
    {"option", Kind::Option, 0},                 {"p", Kind::Paragraph, kBlockFlags},
    {"param", Kind::Void, kSpecial},             {"plaintext", Kind::Plaintext, kBlockFlags},
    {"pre", Kind::Pre, kBlockFlags},             {"rp", Kind::Hidden, 0},
    {"script", Kind::RawHidden, kSpecial},       {"section", Kind::Block, kBlockFlags},
    {"source", Kind::Void, kSpecial},            {"style", Kind::RawHidden, kSpecial},
    {"summary", Kind::Block, kBlockFlags},       {"svg", Kind::Hidden, 0},
    {"table", Kind::Table, kBlockFlags | kScope | kTableScope}, {"tbody", Kind::RowGroup, kSpecial},
    {"td", Kind::Cell, kSpecial | kScope},       {"template", Kind::Hidden, kSpecial | kScope | kTableScope},
    {"textarea", Kind::Textarea, kSpecial},      {"tfoot", Kind::RowGroup, kSpecial},
    {"th", Kind::Cell, kSpecial | kScope},       {"thead", Kind::RowGroup, kSpecial},
    {"title", Kind::Title, kSpecial},            {"tr", Kind::Row, kSpecial},
    {"track", Kind::Void, kSpecial},             {"ul", Kind::List, kBlockFlags | kListScope},
    {"wbr", Kind::Void, kSpecial},               {"xmp", Kind::Xmp, kBlockFlags},
};

constexpr TagInfo kUnknownTag = {"", Kind::Inline, 0};

const TagInfo& findTag(std::string_view name) {
    const auto* end = std::end(kTags);
    const auto* it = std::lower_bound(std::begin(kTags), end, name,
                                      [](const TagInfo& t, std::string_view n) { return t.name < n; });
    return (it != end && it->name == name) ? *it : kUnknownTag;
}

// Blank lines that the element's box leaves around it: 0 inline, 1 own line, 2 with a blank line after.
int lineBreaksOf(Kind kind) {
    switch (kind) {
    case Kind::Paragraph:
    case Kind::Heading:
        return 2;
    case Kind::Inline:
    case Kind::Img:
    case Kind::Void:
    case Kind::Br:
    case Kind::Cell:
    case Kind::RowGroup:
    case Kind::Textarea:
    case Kind::Ignored:
    case Kind::Hidden:
    case Kind::RawHidden:
    case Kind::Title:
        return 0;
    default:
        return 1;
    }
}

// True when an inline style sets display to none (any case, spaces allowed).
bool styleHidesElement(std::string_view style) {
    constexpr std::string_view kProperty = "display";
    for (std::size_t at = 0; at + kProperty.size() <= style.size(); ++at) {
        std::size_t i = at;
        std::size_t k = 0;
        while (k < kProperty.size() && lowerAscii(static_cast<unsigned char>(style[i])) == kProperty[k]) ++i, ++k;
        if (k < kProperty.size()) continue;
        // A whole property name: not the tail of "mso-display" and the like.
        if (at > 0) {
            const unsigned char before = static_cast<unsigned char>(style[at - 1]);
            if (before != ';' && before != '{' && before != '"' && before != '\'' && !isAsciiSpace(before)) continue;
        }
        while (i < style.size() && isAsciiSpace(static_cast<unsigned char>(style[i]))) ++i;
        if (i >= style.size() || style[i] != ':') continue;
        ++i;
        while (i < style.size() && isAsciiSpace(static_cast<unsigned char>(style[i]))) ++i;
        constexpr std::string_view kNone = "none";
        std::size_t n = 0;
        while (n < kNone.size() && i + n < style.size() && lowerAscii(static_cast<unsigned char>(style[i + n])) == kNone[n]) ++n;
        if (n < kNone.size()) continue;
        i += n;
        if (i == style.size() || !(isAsciiAlnum(static_cast<unsigned char>(style[i])) || style[i] == '-')) return true;
    }
    return false;
}

// The attributes that change the text; views into the input.
struct Attributes {
    std::optional<std::string_view> style, alt, start, value;
    bool hidden = false;
    bool open = false;
};

std::optional<std::int64_t> parseInteger(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    std::string_view s = *text;
    std::size_t i = 0;
    while (i < s.size() && isAsciiSpace(static_cast<unsigned char>(s[i]))) ++i;
    bool negative = false;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) negative = s[i++] == '-';
    if (i >= s.size() || !isAsciiDigit(static_cast<unsigned char>(s[i]))) return std::nullopt;
    std::int64_t value = 0;
    for (; i < s.size() && isAsciiDigit(static_cast<unsigned char>(s[i])); ++i)
        value = std::min<std::int64_t>(value * 10 + (s[i] - '0'), 0x7FFFFFFF);
    return negative ? -value : value;
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

// ---------------------------------------------------------------------------
// The renderer: a tokenizer that lays out text as it goes, with a stack of
// open elements for what is inherited (hidden, pre, list numbering, rows).

struct OpenElement {
    std::uint64_t nameHash;
    Kind kind;
    std::uint8_t flags;
    bool hidden;
    bool pre;
    std::int64_t counter;  // next number of an ordered list; cells begun in a row
};

std::uint64_t hashName(std::string_view lowerName) {
    std::uint64_t h = 1469598103934665603ULL;
    for (unsigned char c : lowerName) h = (h ^ c) * 1099511628211ULL;
    return h;
}

class Renderer {
public:
    Renderer(std::string_view input, const HtmlTextOptions& options)
        : in_(input), options_(options), writer_(input.size() / 2 + 16) {
        stack_.reserve(64);
    }

    std::string& run() {
        while (pos_ < in_.size()) {
            const bool pre = currentPre();
            const auto& stops = pre ? kPreStops : kTextStops;
            const std::size_t start = pos_;
            while (pos_ < in_.size() && !stops[static_cast<unsigned char>(in_[pos_])]) ++pos_;
            if (pos_ > start) text(in_.substr(start, pos_ - start), pre);
            if (pos_ >= in_.size()) break;
            const char c = in_[pos_];
            if (c == '<') {
                markup();
            } else if (c == '&') {
                reference();
            } else if (c == '\r') {
                // CR and CR LF read as LF.
                pos_ += (pos_ + 1 < in_.size() && in_[pos_ + 1] == '\n') ? 1 : 0;
                if (pre) {
                    ++pos_;
                    text("\n", true);
                } else {
                    ++pos_;
                    if (!currentHidden()) writer_.space();
                }
            } else if (c == '\0') {
                ++pos_;  // NUL characters are dropped from the body
            } else {
                ++pos_;
                if (!currentHidden()) writer_.space();
            }
        }
        return writer_.text();
    }

private:
    bool currentHidden() const { return !stack_.empty() && stack_.back().hidden; }
    bool currentPre() const { return !stack_.empty() && stack_.back().pre; }

    void text(std::string_view run, bool pre) {
        if (skipNewline_) {
            skipNewline_ = false;
            if (!run.empty() && run.front() == '\n') run.remove_prefix(1);
        }
        if (currentHidden() || run.empty()) return;
        if (pre) writer_.verbatim(run);
        else writer_.content(run);
    }

    void reference() {
        skipNewline_ = false;
        const Reference ref = readReference(in_.substr(pos_));
        if (ref.length == 0) {
            ++pos_;
            if (!currentHidden()) writer_.content(std::string_view("&"));
            return;
        }
        pos_ += ref.length;
        if (currentHidden()) return;
        for (char32_t c : ref.points) {
            if (c == 0) break;
            if (c < 0x80 && isAsciiSpace(static_cast<unsigned char>(c)) && !currentPre()) writer_.space();
            else if (c == '\r' && currentPre()) writer_.verbatim("\n");
            else if (c < 0x80 && currentPre()) {
                const char ascii = static_cast<char>(c);
                writer_.verbatim(std::string_view(&ascii, 1));
            }
            else writer_.content(c);
        }
    }

    // ----- tokenizer

    // At '<': a tag, a comment, a doctype or a plain '<'.
    void markup() {
        const std::size_t n = in_.size();
        const std::size_t next = pos_ + 1;
        if (next >= n) {
            textChar('<');
            return;
        }
        const unsigned char c = static_cast<unsigned char>(in_[next]);
        if (isAsciiAlpha(c)) {
            tag(next, false);
        } else if (c == '/') {
            if (next + 1 >= n) {
                textChar('<');
                return;
            }
            const unsigned char d = static_cast<unsigned char>(in_[next + 1]);
            if (isAsciiAlpha(d)) tag(next + 1, true);
            else if (d == '>') pos_ = next + 2;
            else skipPast(next + 1, '>');
        } else if (c == '!') {
            if (in_.compare(next + 1, 2, "--") == 0) comment(next + 3);
            else skipPast(next + 1, '>');
        } else if (c == '?') {
            skipPast(next, '>');
        } else {
            textChar('<');
        }
    }

    void textChar(char c) {
        ++pos_;
        skipNewline_ = false;
        if (!currentHidden()) writer_.content(std::string_view(&c, 1));
    }

    void skipPast(std::size_t from, char c) {
        const std::size_t end = in_.find(c, from);
        pos_ = end == std::string_view::npos ? in_.size() : end + 1;
    }

    // After "<!--": ends at "-->", "--!>", or at once for "<!-->" and "<!--->".
    void comment(std::size_t from) {
        const std::size_t n = in_.size();
        if (from < n && in_[from] == '>') { pos_ = from + 1; return; }
        if (from + 1 < n && in_[from] == '-' && in_[from + 1] == '>') { pos_ = from + 2; return; }
        std::size_t i = from;
        while (true) {
            const std::size_t dashes = in_.find("--", i);
            if (dashes == std::string_view::npos) { pos_ = n; return; }
            std::size_t j = dashes + 2;
            while (j < n && in_[j] == '-') ++j;
            if (j < n && in_[j] == '>') { pos_ = j + 1; return; }
            if (j + 1 < n && in_[j] == '!' && in_[j + 1] == '>') { pos_ = j + 2; return; }
            i = dashes + 1;
        }
    }

    // A start or end tag whose name begins at `at`. A tag cut off by the end
    // of the input is dropped with everything after it.
    void tag(std::size_t at, bool end) {
        const std::size_t n = in_.size();
        char name[16];
        std::size_t nameLength = 0;
        std::uint64_t hash = 1469598103934665603ULL;
        std::size_t i = at;
        for (; i < n; ++i) {
            const unsigned char c = static_cast<unsigned char>(in_[i]);
            if (isAsciiSpace(c) || c == '/' || c == '>') break;
            const unsigned char lower = lowerAscii(c);
            hash = (hash ^ lower) * 1099511628211ULL;
            if (nameLength < sizeof name) name[nameLength] = static_cast<char>(lower);
            ++nameLength;
        }
        Attributes attributes;
        bool selfClosing = false;
        if (!readAttributes(i, attributes, selfClosing)) {
            pos_ = n;
            return;
        }
        const TagInfo& info = nameLength <= sizeof name ? findTag(std::string_view(name, nameLength)) : kUnknownTag;
        skipNewline_ = false;
        if (end) endTag(info, hash);
        else startTag(info, hash, attributes);
    }

    // Reads attributes up to and past the closing '>'; false at the end of input.
    bool readAttributes(std::size_t i, Attributes& attributes, bool& selfClosing) {
        const std::size_t n = in_.size();
        while (true) {
            while (i < n && isAsciiSpace(static_cast<unsigned char>(in_[i]))) ++i;
            if (i >= n) return false;
            if (in_[i] == '>') {
                pos_ = i + 1;
                return true;
            }
            if (in_[i] == '/') {
                ++i;
                if (i < n && in_[i] == '>') selfClosing = true;
                continue;
            }
            // Name: the first character may be '='.
            const std::size_t nameStart = i++;
            while (i < n) {
                const unsigned char c = static_cast<unsigned char>(in_[i]);
                if (isAsciiSpace(c) || c == '/' || c == '>' || c == '=') break;
                ++i;
            }
            const std::string_view attributeName = in_.substr(nameStart, i - nameStart);
            while (i < n && isAsciiSpace(static_cast<unsigned char>(in_[i]))) ++i;
            std::optional<std::string_view> value;
            if (i < n && in_[i] == '=') {
                ++i;
                while (i < n && isAsciiSpace(static_cast<unsigned char>(in_[i]))) ++i;
                if (i >= n) return false;
                const char quote = in_[i];
                if (quote == '"' || quote == '\'') {
                    const std::size_t close = in_.find(quote, i + 1);
                    if (close == std::string_view::npos) return false;
                    value = in_.substr(i + 1, close - i - 1);
                    i = close + 1;
                } else if (quote != '>') {
                    const std::size_t valueStart = i;
                    while (i < n && !isAsciiSpace(static_cast<unsigned char>(in_[i])) && in_[i] != '>') ++i;
                    value = in_.substr(valueStart, i - valueStart);
                }
            }
            noteAttribute(attributeName, value.value_or(std::string_view()), attributes);
        }
    }

    static bool nameIs(std::string_view name, std::string_view lower) {
        if (name.size() != lower.size()) return false;
        for (std::size_t k = 0; k < name.size(); ++k)
            if (lowerAscii(static_cast<unsigned char>(name[k])) != lower[k]) return false;
        return true;
    }

    // The first of duplicate attributes wins.
    static void noteAttribute(std::string_view name, std::string_view value, Attributes& a) {
        switch (name.size()) {
        case 3:
            if (!a.alt && nameIs(name, "alt")) a.alt = value;
            break;
        case 4:
            if (nameIs(name, "open")) a.open = true;
            break;
        case 5:
            if (!a.style && nameIs(name, "style")) a.style = value;
            else if (!a.start && nameIs(name, "start")) a.start = value;
            else if (!a.value && nameIs(name, "value")) a.value = value;
            break;
        case 6:
            if (nameIs(name, "hidden")) a.hidden = true;
            break;
        default:
            break;
        }
    }

    // ----- tree

    // Index of the topmost open element matching `match`, searching no deeper
    // than the first element that bounds the scope; -1 when there is none.
    template <typename Match>
    std::ptrdiff_t findInScope(Match match, std::uint8_t boundary = kScope) const {
        for (std::size_t k = stack_.size(); k-- > 0;) {
            if (match(stack_[k])) return static_cast<std::ptrdiff_t>(k);
            if (stack_[k].flags & boundary) return -1;
        }
        return -1;
    }

    std::ptrdiff_t findKindInScope(Kind kind, std::uint8_t boundary = kScope) const {
        return findInScope([kind](const OpenElement& e) { return e.kind == kind; }, boundary);
    }

    void popTo(std::ptrdiff_t index) {
        if (index < 0) return;
        while (stack_.size() > static_cast<std::size_t>(index)) {
            const OpenElement element = stack_.back();
            stack_.pop_back();
            if (element.kind == Kind::Paragraph) --paragraphs_;
            if (element.hidden) continue;
            if (element.kind == Kind::Row || element.kind == Kind::Table) writer_.endRow();
            else if (element.kind == Kind::ListItem || element.kind == Kind::DefinitionItem) writer_.endItem();
            else if (const int breaks = lineBreaksOf(element.kind)) writer_.requestLineBreaks(breaks);
        }
    }

    void closeParagraph() {
        if (paragraphs_ > 0) popTo(findKindInScope(Kind::Paragraph));
    }

    bool tableOpen() const { return findKindInScope(Kind::Table, kTableScope) >= 0; }

    // The li, dd or dt that a new item closes: the nearest one, unless a
    // block other than address, div or p lies between.
    std::ptrdiff_t openItem(bool definition) const {
        for (std::size_t k = stack_.size(); k-- > 0;) {
            const OpenElement& e = stack_[k];
            if (definition ? e.kind == Kind::DefinitionItem : e.kind == Kind::ListItem) return static_cast<std::ptrdiff_t>(k);
            if ((e.flags & kSpecial) && e.kind != Kind::Block && e.kind != Kind::Paragraph) return -1;
        }
        return -1;
    }

    // Closes an open cell and, when asked, the open row of the current table.
    void closeCellAndRow(bool row) {
        const std::ptrdiff_t table = findKindInScope(Kind::Table, kTableScope);
        for (std::size_t k = stack_.size(); k-- > static_cast<std::size_t>(table + 1);) {
            if (stack_[k].kind == Kind::Cell || (row && stack_[k].kind == Kind::Row)) {
                popTo(static_cast<std::ptrdiff_t>(k));
                if (!row) return;
            }
        }
    }

    void push(const TagInfo& info, std::uint64_t hash, bool hidden, bool pre, std::int64_t counter) {
        if (stack_.size() >= kHtmlMaxOpenElements) return;
        const bool parentHidden = currentHidden();
        const bool parentPre = currentPre();
        stack_.push_back({hash, info.kind, info.flags, parentHidden || hidden, parentPre || pre, counter});
        if (info.kind == Kind::Paragraph) ++paragraphs_;
    }

    void startTag(const TagInfo& info, std::uint64_t hash, const Attributes& attributes) {
        const bool hidden = currentHidden();
        switch (info.kind) {
        case Kind::Br:
            if (!hidden) writer_.lineBreak();
            return;
        case Kind::Hr:
            closeParagraph();
            if (!hidden) writer_.requestLineBreaks(1);
            return;
        case Kind::Img:
            if (options_.imageAltText && !hidden && attributes.alt && !attributes.hidden &&
                !(attributes.style && styleHidesElement(*attributes.style)))
                altText(*attributes.alt);
            return;
        case Kind::Void:
        case Kind::Ignored:
            return;
        default:
            break;
        }
        if (info.flags & kClosesP) closeParagraph();
        std::int64_t counter = 0;
        switch (info.kind) {
        case Kind::ListItem:
            popTo(openItem(false));
            break;
        case Kind::DefinitionItem:
            popTo(openItem(true));
            break;
        case Kind::Heading:
            if (!stack_.empty() && stack_.back().kind == Kind::Heading) popTo(static_cast<std::ptrdiff_t>(stack_.size() - 1));
            break;
        case Kind::OrderedList:
            counter = parseInteger(attributes.start).value_or(1);
            break;
        case Kind::Cell:
            if (!tableOpen()) return;
            closeCellAndRow(false);
            if (findKindInScope(Kind::Row, kTableScope) < 0) beginRow(findTag("tr"), hashName("tr"), false);
            break;
        case Kind::Row:
            if (!tableOpen()) return;
            closeCellAndRow(true);
            break;
        case Kind::RowGroup:
        case Kind::Caption:
            if (!tableOpen()) return;
            closeCellAndRow(true);
            break;
        case Kind::Option:
            if (!stack_.empty() && stack_.back().kind == Kind::Option) popTo(static_cast<std::ptrdiff_t>(stack_.size() - 1));
            break;
        case Kind::OptGroup:
            if (!stack_.empty() && stack_.back().kind == Kind::Option) popTo(static_cast<std::ptrdiff_t>(stack_.size() - 1));
            if (!stack_.empty() && stack_.back().kind == Kind::OptGroup) popTo(static_cast<std::ptrdiff_t>(stack_.size() - 1));
            break;
        default:
            break;
        }

        const bool ownHidden = attributes.hidden || (attributes.style && styleHidesElement(*attributes.style)) ||
                               info.kind == Kind::Hidden || info.kind == Kind::RawHidden || info.kind == Kind::Title ||
                               (info.kind == Kind::Dialog && !attributes.open);
        const bool pre = info.kind == Kind::Pre || info.kind == Kind::Textarea || info.kind == Kind::Xmp ||
                         info.kind == Kind::Plaintext;

        if (info.kind == Kind::Row) {
            beginRow(info, hash, ownHidden);
            return;
        }
        const std::size_t depth = stack_.size();
        push(info, hash, ownHidden, pre, counter);
        const bool shown = !hidden && !ownHidden;
        if (shown) {
            if (info.kind == Kind::Cell) startCell();
            else if (const int breaks = lineBreaksOf(info.kind)) writer_.requestLineBreaks(breaks);
            if (info.kind == Kind::ListItem) listMarker(attributes);
        }

        switch (info.kind) {
        case Kind::Pre:
        case Kind::Textarea:
            skipNewline_ = true;
            if (info.kind == Kind::Textarea) rawText(info.name, shown, true, depth);
            return;
        case Kind::Xmp:
            rawText(info.name, shown, false, depth);
            return;
        case Kind::RawHidden:
        case Kind::Title:
            rawText(info.name, false, false, depth);
            return;
        case Kind::Plaintext:
            if (shown) writer_.verbatim(normalizeNewlines(in_.substr(pos_)));
            pos_ = in_.size();
            return;
        default:
            return;
        }
    }

    void beginRow(const TagInfo& info, std::uint64_t hash, bool ownHidden) {
        push(info, hash, ownHidden, false, 0);
        if (!currentHidden()) writer_.beginLine();
    }

    void startCell() {
        const std::ptrdiff_t row = findKindInScope(Kind::Row, kTableScope);
        if (row < 0) return;
        if (stack_[static_cast<std::size_t>(row)].counter++ > 0) writer_.cellSeparator();
    }

    void listMarker(const Attributes& attributes) {
        const std::ptrdiff_t list = findInScope(
            [](const OpenElement& e) { return e.kind == Kind::List || e.kind == Kind::OrderedList; }, 0);
        if (list >= 0 && stack_[static_cast<std::size_t>(list)].kind == Kind::OrderedList) {
            OpenElement& ordered = stack_[static_cast<std::size_t>(list)];
            if (const auto value = parseInteger(attributes.value)) ordered.counter = *value;
            const std::string marker = std::to_string(ordered.counter) + ". ";
            ordered.counter = std::min<std::int64_t>(ordered.counter + 1, 0x7FFFFFFF);
            writer_.marker(marker);
        } else {
            writer_.marker("\u2022 ");
        }
    }

    void altText(std::string_view alt) {
        bool wroteSomething = false;
        for (std::size_t i = 0; i < alt.size();) {
            const unsigned char c = static_cast<unsigned char>(alt[i]);
            if (isAsciiSpace(c)) {
                writer_.space();
                ++i;
            } else if (c == '&') {
                const Reference ref = readReference(alt.substr(i));
                if (ref.length == 0) {
                    writer_.content(std::string_view("&"));
                    ++i;
                    continue;
                }
                for (char32_t point : ref.points)
                    if (point != 0) writer_.content(point);
                i += ref.length;
            } else {
                std::size_t j = i;
                while (j < alt.size() && !isAsciiSpace(static_cast<unsigned char>(alt[j])) && alt[j] != '&') ++j;
                writer_.content(alt.substr(i, j - i));
                i = j;
            }
            wroteSomething = true;
        }
        if (wroteSomething) writer_.space();
    }

    // The content of script, style, title, textarea, xmp and the like runs to
    // the matching end tag; it is text, never markup.
    void rawText(std::string_view name, bool shown, bool references, std::size_t depth) {
        const std::size_t nameLength = name.size();
        std::size_t end = in_.size();
        std::size_t resume = in_.size();
        for (std::size_t i = in_.find("</", pos_); i != std::string_view::npos; i = in_.find("</", i + 1)) {
            const std::size_t after = i + 2 + nameLength;
            if (after > in_.size()) break;
            if (!nameIs(in_.substr(i + 2, nameLength), name)) continue;
            if (after < in_.size() && !(isAsciiSpace(static_cast<unsigned char>(in_[after])) || in_[after] == '/' || in_[after] == '>'))
                continue;
            end = i;
            const std::size_t close = in_.find('>', after);
            resume = close == std::string_view::npos ? in_.size() : close + 1;
            break;
        }
        std::string_view content = in_.substr(pos_, end - pos_);
        if (skipNewline_ && !content.empty() && (content.front() == '\n' || content.front() == '\r')) {
            content.remove_prefix(content.size() > 1 && content[0] == '\r' && content[1] == '\n' ? 2 : 1);
        }
        skipNewline_ = false;
        if (shown && !content.empty()) {
            if (references) verbatimWithReferences(content);
            else writer_.verbatim(normalizeNewlines(content));
        }
        pos_ = resume;
        popTo(static_cast<std::ptrdiff_t>(depth));
    }

    void verbatimWithReferences(std::string_view content) {
        std::size_t i = 0;
        while (i < content.size()) {
            const std::size_t amp = content.find('&', i);
            const std::size_t stop = amp == std::string_view::npos ? content.size() : amp;
            writer_.verbatim(normalizeNewlines(content.substr(i, stop - i)));
            if (amp == std::string_view::npos) break;
            const Reference ref = readReference(content.substr(amp));
            if (ref.length == 0) {
                writer_.verbatim("&");
                i = amp + 1;
                continue;
            }
            for (char32_t point : ref.points)
                if (point != 0) writer_.content(point);
            i = amp + ref.length;
        }
    }

    // CR LF and lone CR become LF; NUL is dropped. Returns a view into scratch_ or the input.
    std::string_view normalizeNewlines(std::string_view s) {
        if (s.find_first_of(std::string_view("\r\0", 2)) == std::string_view::npos) return s;
        scratch_.clear();
        for (std::size_t i = 0; i < s.size(); ++i) {
            if (s[i] == '\r') {
                scratch_.push_back('\n');
                if (i + 1 < s.size() && s[i + 1] == '\n') ++i;
            } else if (s[i] != '\0') {
                scratch_.push_back(s[i]);
            }
        }
        return scratch_;
    }

    void endTag(const TagInfo& info, std::uint64_t hash) {
        switch (info.kind) {
        case Kind::Br:
            if (!currentHidden()) writer_.lineBreak();
            return;
        case Kind::Paragraph: {
            const std::ptrdiff_t p = findKindInScope(Kind::Paragraph);
            if (p >= 0) popTo(p);
            else if (!currentHidden()) writer_.requestLineBreaks(2);  // "</p>" alone is an empty paragraph
            return;
        }
        case Kind::Heading:
            popTo(findKindInScope(Kind::Heading));
            return;
        case Kind::ListItem:
            popTo(findKindInScope(Kind::ListItem, kScope | kListScope));
            return;
        case Kind::Ignored:
        case Kind::Void:
        case Kind::Img:
        case Kind::Hr:
            return;
        default:
            break;
        }
        if (info.flags & kSpecial) {
            const std::uint8_t boundary = (info.kind == Kind::Cell || info.kind == Kind::Row ||
                                           info.kind == Kind::RowGroup || info.kind == Kind::Table ||
                                           info.kind == Kind::Caption)
                                              ? kTableScope
                                              : kScope;
            popTo(findInScope([hash](const OpenElement& e) { return e.nameHash == hash; }, boundary));
            return;
        }
        // Inline elements: the nearest of that name, unless a block lies between.
        popTo(findInScope([hash](const OpenElement& e) { return e.nameHash == hash; }, kSpecial));
    }

    std::string_view in_;
    const HtmlTextOptions& options_;
    Writer writer_;
    std::vector<OpenElement> stack_;
    std::size_t pos_ = 0;
    int paragraphs_ = 0;
    bool skipNewline_ = false;  // the line feed right after <pre> or <textarea> is not content
    std::string scratch_;
};

}  // namespace

std::optional<icu::UnicodeString> htmlToPlainText(std::string_view utf8, const HtmlTextOptions& options) {
    // The text must fit a UTF-16 string: 2^31 - 1 units.
    if (utf8.size() > static_cast<std::size_t>(INT32_MAX) || !isValidUtf8(utf8)) return std::nullopt;
    Renderer renderer(utf8, options);
    const std::string& text = renderer.run();
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

}  // namespace tessivo
