#include "tessivo/mime/encoded_words.h"

#include <unicode/uchar.h>

namespace tessivo {
namespace {

bool isLineTerminator(char16_t c) { return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029; }

}  // namespace

std::vector<EncodedWordRange> findEncodedWords(const icu::UnicodeString& value) {
    std::vector<EncodedWordRange> words;
    const char16_t* s = value.getBuffer();
    const std::int32_t n = value.length();
    if (!s) return words;
    // The first "?=" followed by white space or the end, and the first line
    // terminator, at or after a position that only moves forward: each is
    // found again only once the search has passed it, so the whole is linear.
    std::int32_t close = -1;
    std::int32_t terminator = -1;
    auto nextClose = [&](std::int32_t from) {
        for (std::int32_t g = from; g + 1 < n; ++g)
            if (s[g] == u'?' && s[g + 1] == u'=' && (g + 2 == n || u_isUWhiteSpace(s[g + 2]))) return g;
        return n;
    };
    auto nextTerminator = [&](std::int32_t from) {
        for (std::int32_t g = from; g < n; ++g)
            if (isLineTerminator(s[g])) return g;
        return n;
    };
    std::int32_t at = 0;
    while (at + 1 < n) {
        if (s[at] != u'=' || s[at + 1] != u'?') {
            ++at;
            continue;
        }
        const std::int32_t from = at + 2;
        if (close < from) close = nextClose(from);
        if (terminator < from) terminator = nextTerminator(from);
        if (close < n && close <= terminator) {
            words.push_back({at, close + 2});
            at = close + 2;
        } else {
            ++at;
        }
    }
    return words;
}

}  // namespace tessivo
