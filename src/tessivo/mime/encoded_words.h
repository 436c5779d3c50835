// Where the encoded words of a header value lie.
//
//   for (const tessivo::EncodedWordRange& w : tessivo::findEncodedWords(value))
//       use(value.tempSubString(w.start + 2, w.end - w.start - 4));   // "charset?method?text"
//
// A word runs from "=?" to the first "?=" after it that is followed by white
// space (Unicode White_Space) or the end of the value, on one line (no line
// terminator: LF, VT, FF, CR, U+0085, U+2028, U+2029, in between); words do not
// overlap and are found left to right. These are exactly the matches of the
// regular expression "=\?(.*?)\?=(?!\S)", found in time linear in the value,
// where the expression takes quadratic time on long values with many "=?".
#pragma once

#include <cstdint>
#include <vector>

#include <unicode/unistr.h>

namespace tessivo {

struct EncodedWordRange {
    std::int32_t start;  // of "=?"
    std::int32_t end;    // just after "?="
};

std::vector<EncodedWordRange> findEncodedWords(const icu::UnicodeString& value);

}  // namespace tessivo
