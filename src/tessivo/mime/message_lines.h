// The text of a message as the MIME reader walks it: every line break made a
// single "\n", with the positions of the line breaks and of every "--" noted
// in one pass, so that any stretch of the text can be read as an array of
// lines and searched for a boundary without copying it.
//
//   tessivo::mime::MessageLines text(decoded);               // CR LF, CR, U+2028 ... become "\n"
//   tessivo::mime::LineRange lines = text.lines(0, text.length());
//   std::u16string_view first = text.view(lines.line(0));
//   tessivo::mime::BoundarySearch search(text, u"--b1");
//   std::int32_t at = search.next(0, text.length());          // -1 when absent
//
// Internal to the MIME reader. Positions and lengths are UTF-16 units.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

namespace tessivo::mime {

// A stretch of the text: [start, end).
struct Span {
    std::int32_t start = 0;
    std::int32_t end = 0;
    std::int32_t length() const { return end - start; }
};

// The lines of one stretch of the text, as splitting it at "\n" gives them.
class LineRange {
public:
    LineRange(const std::vector<std::int32_t>& breaks, Span span);

    std::int64_t count() const { return count_; }
    // Line index (0 <= index < count()); line 0 starts at the stretch's start,
    // every later line just after a "\n" that lies inside the stretch.
    Span line(std::int64_t index) const;
    const Span& span() const { return span_; }

private:
    const std::vector<std::int32_t>* breaks_;
    Span span_;
    std::size_t firstBreak_;  // index in breaks_ of the first "\n" inside the stretch
    std::int64_t count_;
};

class MessageLines {
public:
    // Replaces every CR LF by "\n", then every other line break (LF, VT, FF,
    // CR, U+0085, U+2028, U+2029) by "\n". Text without such breaks is shared,
    // not copied.
    explicit MessageLines(const icu::UnicodeString& text);

    std::int32_t length() const { return text_.length(); }
    const icu::UnicodeString& text() const { return text_; }
    std::u16string_view view(Span s) const {
        return {text_.getBuffer() + s.start, static_cast<std::size_t>(s.length())};
    }
    LineRange lines(std::int32_t start, std::int32_t end) const { return LineRange(breaks_, {start, end}); }

private:
    friend class BoundarySearch;

    icu::UnicodeString text_;
    std::vector<std::int32_t> breaks_;  // positions of "\n", ascending
    std::vector<std::int32_t> dashes_;  // positions p with "--" at p, ascending
};

// Finds a boundary line ("--" followed by the boundary) in the text: it
// starts only where a "--" was noted and, once started, reads on in the
// manner of Knuth-Morris-Pratt, so a search is linear in the stretch searched
// whatever the text and the needle. Borrows both for its lifetime.
class BoundarySearch {
public:
    // needle must begin with "--".
    BoundarySearch(const MessageLines& text, std::u16string_view needle);

    // The first occurrence that starts at or after from and ends at or before
    // end; -1 when there is none.
    std::int32_t next(std::int32_t from, std::int32_t end) const;

private:
    const MessageLines& text_;
    std::u16string_view needle_;
    std::vector<std::int32_t> fallback_;  // longest proper border of each prefix of the needle
};

}  // namespace tessivo::mime
