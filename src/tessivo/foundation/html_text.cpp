#include "tessivo/foundation/html_text.h"

#include "tessivo/foundation/html_layout.h"
#include "tessivo/foundation/text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <unicode/utf8.h>

namespace tessivo {
namespace {

using namespace html;

// ---------------------------------------------------------------------------
// Character references

// Bytes that end a run of text outside pre: markup, references, white space, NUL.
constexpr std::array<bool, 256> makeStops(bool keepSpace) {
    std::array<bool, 256> table{};
    table['<'] = table['&'] = table['\0'] = table['\r'] = true;
    if (!keepSpace) table[' '] = table['\t'] = table['\n'] = table['\f'] = true;
    return table;
}
constexpr auto kTextStops = makeStops(false);
constexpr auto kPreStops = makeStops(true);

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

// ---------------------------------------------------------------------------
// The one-pass reader: a tokenizer that lays out text as it goes, with a
// stack of open elements for what is inherited (hidden, pre, list numbering,
// rows). It notes where the markup needs the HTML5 tree builder instead:
// content inside a table but outside its cells, which the tree builder moves
// in front of the table, and nesting deeper than it tracks.

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

    // The markup needs the tree builder (content outside table cells).
    bool needsTree() const { return needsTree_; }
    // The markup nested deeper than kHtmlMaxOpenElements.
    bool tooDeep() const { return tooDeep_; }

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

    // The current element is a table, row group or row, where text and most
    // elements do not stay.
    bool inTableBody() const {
        if (stack_.empty()) return false;
        const Kind kind = stack_.back().kind;
        return kind == Kind::Table || kind == Kind::RowGroup || kind == Kind::Row;
    }


    void text(std::string_view run, bool pre) {
        if (skipNewline_) {
            skipNewline_ = false;
            if (!run.empty() && run.front() == '\n') run.remove_prefix(1);
        }
        if (inTableBody() && run.find_first_not_of(" \t\n\f\r") != std::string_view::npos) needsTree_ = true;
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
        if (inTableBody()) needsTree_ = true;
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
        if (inTableBody()) needsTree_ = true;
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
        const TagInfo& info = nameLength <= sizeof name ? findTag(std::string_view(name, nameLength)) : findTag("");
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
        if (stack_.size() >= kHtmlMaxOpenElements) {
            tooDeep_ = true;
            return;
        }
        const bool parentHidden = currentHidden();
        const bool parentPre = currentPre();
        stack_.push_back({hash, info.kind, info.flags, parentHidden || hidden, parentPre || pre, counter});
        if (info.kind == Kind::Paragraph) ++paragraphs_;
    }

    void startTag(const TagInfo& info, std::uint64_t hash, const Attributes& attributes) {
        if (inTableBody() && !staysInTable(info)) needsTree_ = true;
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
            if (options_.imageAltText && !hidden && attributes.alt && !hidesItself(info, attributes))
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

        const bool ownHidden = hidesItself(info, attributes);
        const bool pre = keepsWhiteSpace(info.kind);

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

    // Table parts, and the elements that are not shown anyway.
    static bool staysInTable(const TagInfo& info) {
        switch (info.kind) {
        case Kind::Table:
        case Kind::RowGroup:
        case Kind::Row:
        case Kind::Cell:
        case Kind::Caption:
        case Kind::RawHidden:
        case Kind::Hidden:
        case Kind::Void:
        case Kind::Ignored:
            return true;
        default:
            return info.name == "colgroup" || info.name == "form";
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
        const bool ordered = list >= 0 && stack_[static_cast<std::size_t>(list)].kind == Kind::OrderedList;
        writeListMarker(writer_, ordered ? &stack_[static_cast<std::size_t>(list)].counter : nullptr, attributes);
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
    bool needsTree_ = false;
    bool tooDeep_ = false;
    std::string scratch_;
};

}  // namespace

std::optional<icu::UnicodeString> htmlToPlainText(std::string_view utf8, const HtmlTextOptions& options) {
    // The text must fit a UTF-16 string: 2^31 - 1 units.
    if (!isValidUtf8(utf8)) return std::nullopt;
    const bool treeAffordable = options.trailingNuls <= kHtmlMaxTreeBytes && utf8.size() <= kHtmlMaxTreeBytes - options.trailingNuls;
    // The one pass drops NULs wherever they stand, so trailing ones change nothing there.
    Renderer renderer(utf8, options);
    std::string text = std::move(renderer.run());
    if ((renderer.needsTree() || options.buildTree) && treeAffordable && !renderer.tooDeep()) {
        std::string whole(utf8);
        whole.append(options.trailingNuls, '\0');
        text = html::layOutTree(whole, options);
    }
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
}

}  // namespace tessivo
