#include "tessivo/mime/message_lines.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace tessivo::mime {
namespace {

bool isLineBreak(char16_t c) { return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029; }

// Units looked at together when scanning. Most blocks of a message hold no
// line break and no "-" and are passed over as a whole; most others hold
// only "\n"s, which are noted from a bit mask.
constexpr std::int32_t kScanBlock = 8;

struct BlockMarks {
    std::uint32_t lineFeeds = 0;  // bit k: unit k is "\n"
    bool other = false;           // some other control character, line break or "-"
};

#if defined(__SSE2__)
BlockMarks blockMarks(const char16_t* s) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
    const __m128i lineFeed = _mm_cmpeq_epi16(v, _mm_set1_epi16(0x0A));
    const __m128i control = _mm_cmpeq_epi16(_mm_subs_epu16(v, _mm_set1_epi16(0x0D)), _mm_setzero_si128());
    const __m128i rare =
        _mm_or_si128(_mm_or_si128(_mm_andnot_si128(lineFeed, control), _mm_cmpeq_epi16(v, _mm_set1_epi16(u'-'))),
                     _mm_or_si128(_mm_cmpeq_epi16(v, _mm_set1_epi16(0x85)),
                                  _mm_cmpeq_epi16(_mm_or_si128(v, _mm_set1_epi16(1)), _mm_set1_epi16(0x2029))));
    // One bit per byte: keep the low byte's bit of each unit.
    const auto lineFeeds = static_cast<std::uint32_t>(_mm_movemask_epi8(lineFeed)) & 0x5555;
    return {lineFeeds, _mm_movemask_epi8(rare) != 0};
}
#else
BlockMarks blockMarks(const char16_t* s) {
    BlockMarks marks;
    for (std::int32_t k = 0; k < kScanBlock; ++k) {
        if (s[k] == u'\n')
            marks.lineFeeds |= 1u << (2 * k);
        else if (isLineBreak(s[k]) || s[k] < 0x0A || s[k] == u'-')
            marks.other = true;
    }
    return marks;
}
#endif

}  // namespace

LineRange::LineRange(const std::vector<std::int32_t>& breaks, Span span) : breaks_(&breaks), span_(span) {
    const auto first = std::lower_bound(breaks.begin(), breaks.end(), span.start);
    const auto last = std::lower_bound(first, breaks.end(), span.end);
    firstBreak_ = static_cast<std::size_t>(first - breaks.begin());
    count_ = (last - first) + 1;
}

Span LineRange::line(std::int64_t index) const {
    const std::vector<std::int32_t>& b = *breaks_;
    const std::size_t at = firstBreak_ + static_cast<std::size_t>(index);
    const std::int32_t start = index == 0 ? span_.start : b[at - 1] + 1;
    const std::int32_t end = index + 1 < count_ ? b[at] : span_.end;
    return {start, end};
}

MessageLines::MessageLines(const icu::UnicodeString& text) : text_(text) {
    const char16_t* s = text.getBuffer();
    const std::int32_t n = text.length();
    if (!s) return;
    // The text is shared until the first line break other than a lone LF;
    // from there on it is written anew into out, o units long.
    icu::UnicodeString out;
    char16_t* d = nullptr;
    std::int32_t o = 0;
    auto startCopy = [&](std::int32_t upTo) {
        d = out.getBuffer(n);
        if (d) std::copy(s, s + upTo, d);
        o = upTo;
    };
    auto look = [&](std::int32_t i) {
        const char16_t c = s[i];
        if (isLineBreak(c)) {
            const bool crlf = c == u'\r' && i + 1 < n && s[i + 1] == u'\n';
            if (!d && c != u'\n') startCopy(i);
            if (crlf) return;
            breaks_.push_back(d ? o : i);
            if (d) d[o++] = u'\n';
            return;
        }
        if (c == u'-' && i + 1 < n && s[i + 1] == u'-') dashes_.push_back(d ? o : i);
        if (d) d[o++] = c;
    };
    std::int32_t i = 0;
    for (; i + kScanBlock <= n; i += kScanBlock) {
        const BlockMarks marks = blockMarks(s + i);
        if (marks.other || (marks.lineFeeds && d)) {
            for (std::int32_t k = i; k < i + kScanBlock; ++k) look(k);
        } else if (marks.lineFeeds) {
            for (std::uint32_t bits = marks.lineFeeds; bits; bits &= bits - 1)
                breaks_.push_back(i + std::countr_zero(bits) / 2);
        } else if (d) {
            std::copy(s + i, s + i + kScanBlock, d + o);
            o += kScanBlock;
        }
    }
    for (; i < n; ++i) look(i);
    if (d) {
        out.releaseBuffer(o);
        text_ = std::move(out);
    }
}

BoundarySearch::BoundarySearch(const MessageLines& text, std::u16string_view needle)
    : text_(text), needle_(needle), fallback_(needle.size(), 0) {
    std::int32_t k = 0;
    for (std::size_t q = 1; q < needle.size(); ++q) {
        while (k > 0 && needle[q] != needle[static_cast<std::size_t>(k)])
            k = fallback_[static_cast<std::size_t>(k) - 1];
        if (needle[q] == needle[static_cast<std::size_t>(k)]) ++k;
        fallback_[q] = k;
    }
}

std::int32_t BoundarySearch::next(std::int32_t from, std::int32_t end) const {
    const auto m = static_cast<std::int32_t>(needle_.size());
    if (m == 0 || end - from < m) return -1;
    const char16_t* s = text_.text_.getBuffer();
    const std::vector<std::int32_t>& dashes = text_.dashes_;
    auto d = std::lower_bound(dashes.begin(), dashes.end(), from);
    while (d != dashes.end() && *d <= end - m) {
        // Read on from the candidate while the needle's prefix keeps matching.
        std::int32_t i = *d;
        std::int32_t q = 0;
        while (i < end) {
            const char16_t c = s[i++];
            while (q > 0 && needle_[static_cast<std::size_t>(q)] != c) q = fallback_[static_cast<std::size_t>(q) - 1];
            if (needle_[static_cast<std::size_t>(q)] == c) ++q;
            if (q == m) return i - m;
            if (q == 0) break;
        }
        while (d != dashes.end() && *d < i) ++d;
    }
    return -1;
}

}  // namespace tessivo::mime
