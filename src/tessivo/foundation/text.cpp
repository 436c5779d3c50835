#include "tessivo/foundation/text.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

namespace tessivo {
namespace {

const icu::UnicodeSet& frozenSet(const char16_t* pattern) {
    // Each call site passes its own literal and keeps the reference in a static.
    UErrorCode ec = U_ZERO_ERROR;
    auto* set = new icu::UnicodeSet(icu::UnicodeString(pattern), ec);
    set->freeze();
    return *set;
}

int hexValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

// The first index at or after from of unit in s[0, n), or n. Blocks without
// it are passed over with one test each, as most texts have none.
int32_t findUnit(const char16_t* s, int32_t n, char16_t unit, int32_t from) {
    constexpr int32_t kBlock = 32;
    int32_t i = from;
    for (; n - i >= kBlock; i += kBlock) {
        char16_t found = 0;
        for (int32_t k = 0; k < kBlock; ++k) found |= static_cast<char16_t>(s[i + k] == unit);
        if (found) break;
    }
    while (i < n && s[i] != unit) ++i;
    return i;
}

// How many units of s[0, n) come before the first that may start a code
// point at or above limit (a surrogate may, whatever the limit).
int32_t unitsBelow(const char16_t* s, int32_t n, UChar32 limit) {
    limit = std::min<UChar32>(limit, 0xD800);
    constexpr int32_t kBlock = 32;
    int32_t i = 0;
    for (; n - i >= kBlock; i += kBlock) {
        char16_t top = 0;
        for (int32_t k = 0; k < kBlock; ++k) top = std::max(top, s[i + k]);
        if (top >= limit) break;
    }
    while (i < n && s[i] < limit) ++i;
    return i;
}

// An ASCII text with the letters first..last moved by delta, which is what
// the root locale's case mappings do to ASCII; nothing for other texts.
std::optional<icu::UnicodeString> shiftAsciiLetters(const icu::UnicodeString& text, char16_t first, char16_t last,
                                                    int delta) {
    const int32_t n = text.length();
    const char16_t* src = text.getBuffer();
    icu::UnicodeString out;
    char16_t* buf = out.getBuffer(n);
    if (!buf) return std::nullopt;
    for (int32_t i = 0; i < n; ++i) {
        if (src[i] >= 0x80) {
            out.releaseBuffer(0);
            return std::nullopt;
        }
        buf[i] = src[i] >= first && src[i] <= last ? static_cast<char16_t>(src[i] + delta) : src[i];
    }
    out.releaseBuffer(n);
    return out;
}

}  // namespace

// Code point by code point, with ASCII, the common case, on a short path.
icu::UnicodeString foldCaseSameLength(const icu::UnicodeString& s) {
    icu::UnicodeString out;
    const int32_t n = s.length();
    char16_t* buf = out.getBuffer(n);
    if (!buf) return s;
    const char16_t* src = s.getBuffer();
    int32_t i = 0;
    while (i < n) {
        // ASCII, the common case, folds A-Z to a-z and nothing else.
        if (src[i] < 0x80) {
            buf[i] = src[i] >= u'A' && src[i] <= u'Z' ? static_cast<char16_t>(src[i] + 0x20) : src[i];
            ++i;
            continue;
        }
        const int32_t start = i;
        UChar32 c;
        U16_NEXT(src, i, n, c);
        UChar32 folded = u_foldCase(c, U_FOLD_CASE_DEFAULT);
        if (U16_LENGTH(folded) != i - start) folded = c;
        int32_t at = start;
        UBool unusedError = false;
        U16_APPEND(buf, at, n, folded, unusedError);
        if (unusedError) buf[start] = src[start];
    }
    out.releaseBuffer(n);
    return out;
}

std::int32_t indexOf(const icu::UnicodeString& text, const icu::UnicodeString& needle, std::int32_t from,
                     CaseSensitivity cs) {
    if (needle.isEmpty() || from < 0 || from > text.length()) return -1;
    if (cs == CaseSensitive) return text.indexOf(needle, from);
    return foldCaseSameLength(text).indexOf(foldCaseSameLength(needle), from);
}

bool contains(const icu::UnicodeString& text, const icu::UnicodeString& needle, CaseSensitivity cs) {
    return indexOf(text, needle, 0, cs) >= 0;
}

bool hasPrefix(const icu::UnicodeString& text, const icu::UnicodeString& prefix, CaseSensitivity cs) {
    if (prefix.length() > text.length()) return false;
    if (cs == CaseSensitive) return text.startsWith(prefix);
    return foldCaseSameLength(icu::UnicodeString(text, 0, prefix.length())) == foldCaseSameLength(prefix);
}

bool equalsCaseInsensitive(const icu::UnicodeString& a, const icu::UnicodeString& b) {
    return a.length() == b.length() && foldCaseSameLength(a) == foldCaseSameLength(b);
}

icu::UnicodeString replaceAll(const icu::UnicodeString& text, const icu::UnicodeString& target,
                              const icu::UnicodeString& replacement, CaseSensitivity cs) {
    if (target.isEmpty()) return text;
    const icu::UnicodeString haystack = cs == CaseSensitive ? text : foldCaseSameLength(text);
    const icu::UnicodeString needle = cs == CaseSensitive ? target : foldCaseSameLength(target);
    icu::UnicodeString out;
    int32_t pos = 0;
    for (int32_t at = haystack.indexOf(needle, 0); at >= 0; at = haystack.indexOf(needle, pos)) {
        out.append(text, pos, at - pos).append(replacement);
        pos = at + needle.length();
    }
    if (pos == 0) return text;
    out.append(text, pos, text.length() - pos);
    return out;
}

std::vector<icu::UnicodeString> split(const icu::UnicodeString& text, const icu::UnicodeString& separator,
                                      CaseSensitivity cs) {
    std::vector<icu::UnicodeString> out;
    if (separator.isEmpty()) return {text};
    const icu::UnicodeString haystack = cs == CaseSensitive ? text : foldCaseSameLength(text);
    const icu::UnicodeString needle = cs == CaseSensitive ? separator : foldCaseSameLength(separator);
    int32_t pos = 0;
    for (int32_t at = haystack.indexOf(needle, 0); at >= 0; at = haystack.indexOf(needle, pos)) {
        out.emplace_back(text, pos, at - pos);
        pos = at + needle.length();
    }
    out.emplace_back(text, pos, text.length() - pos);
    return out;
}

std::vector<icu::UnicodeString> splitBySet(const icu::UnicodeString& text, const icu::UnicodeSet& separators) {
    std::vector<icu::UnicodeString> out;
    int32_t pos = 0;
    int32_t i = 0;
    while (i < text.length()) {
        const UChar32 c = text.char32At(i);
        const int32_t next = text.moveIndex32(i, 1);
        if (separators.contains(c)) {
            out.emplace_back(text, pos, i - pos);
            pos = next;
        }
        i = next;
    }
    out.emplace_back(text, pos, text.length() - pos);
    return out;
}

icu::UnicodeString join(const std::vector<icu::UnicodeString>& pieces, const icu::UnicodeString& separator) {
    icu::UnicodeString out;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i) out.append(separator);
        out.append(pieces[i]);
    }
    return out;
}

const icu::UnicodeSet& whitespaceSet() {
    static const icu::UnicodeSet& set = frozenSet(u"[\\p{Zs}\\u0009]");
    return set;
}

const icu::UnicodeSet& whitespaceAndNewlineSet() {
    static const icu::UnicodeSet& set = frozenSet(u"[\\p{Z}\\u0009-\\u000D\\u0085]");
    return set;
}

const icu::UnicodeSet& illegalCharacterSet() {
    static const icu::UnicodeSet& set = frozenSet(u"[\\p{Cn}\\p{Noncharacter_Code_Point}]");
    return set;
}

const icu::UnicodeSet& alphanumericSet() {
    static const icu::UnicodeSet& set = frozenSet(u"[\\p{L}\\p{M}\\p{N}]");
    return set;
}

const icu::UnicodeSet& punctuationSet() {
    static const icu::UnicodeSet& set = frozenSet(u"[\\p{P}]");
    return set;
}

icu::UnicodeString trimStart(const icu::UnicodeString& text, const icu::UnicodeSet& set) {
    const int32_t start = set.span(text, 0, USET_SPAN_SIMPLE);
    return start == 0 ? text : icu::UnicodeString(text, start);
}

icu::UnicodeString trimEnd(const icu::UnicodeString& text, const icu::UnicodeSet& set) {
    const int32_t end = set.spanBack(text, text.length(), USET_SPAN_SIMPLE);
    return end == text.length() ? text : icu::UnicodeString(text, 0, end);
}

icu::UnicodeString trim(const icu::UnicodeString& text, const icu::UnicodeSet& set) {
    return trimStart(trimEnd(text, set), set);
}

icu::UnicodeString removeCharacters(const icu::UnicodeString& text, const icu::UnicodeSet& set) {
    const int32_t n = text.length();
    // Units below the set's first code point are never in it; a text of
    // nothing else (most texts, for sets like the unassigned characters) is
    // passed over a block at a time before the set is asked.
    const int32_t below = set.isEmpty() ? n : unitsBelow(text.getBuffer(), n, set.getRangeStart(0));
    if (below == n) return text;
    icu::UnicodeString out;
    int32_t i = 0;
    while (i < n) {
        const int32_t keep = set.span(text, i == 0 ? below : i, USET_SPAN_NOT_CONTAINED);
        if (i == 0 && keep == n) return text;
        out.append(text, i, keep - i);
        i = set.span(text, keep, USET_SPAN_SIMPLE);
    }
    return out;
}

std::optional<icu::UnicodeString> removingPercentEncoding(const icu::UnicodeString& text) {
    // Hex digits are ASCII, so a "%" without two of them after it is found
    // as well in UTF-16 as in UTF-8, without converting first.
    const char16_t* s = text.getBuffer();
    const int32_t n = text.length();
    bool escaped = false;
    for (int32_t i = findUnit(s, n, u'%', 0); i < n; i = findUnit(s, n, u'%', i + 3)) {
        if (i + 2 >= n || hexValue(s[i + 1]) < 0 || hexValue(s[i + 2]) < 0) return std::nullopt;
        escaped = true;
    }
    if (!escaped) return text;
    // The result is the UTF-8 of the text, unescaped, decoded. The text
    // between escapes encodes as whole UTF-8 characters, so that is valid
    // exactly when the bytes of each run of escapes are valid on their own,
    // and it decodes run by run. The text's unpaired surrogates become
    // U+FFFD, as they do in UTF-8. No part grows: a run of escapes decodes to
    // at most a unit per three.
    icu::UnicodeString out;
    char16_t* buf = out.getBuffer(n);
    if (!buf) return std::nullopt;
    int32_t o = 0;
    std::string run;
    for (int32_t i = 0; i < n;) {
        const int32_t escape = findUnit(s, n, u'%', i);
        while (i < escape) {
            const int32_t start = i;
            UChar32 c;
            U16_NEXT(s, i, escape, c);
            if (U_IS_SURROGATE(c)) {
                buf[o++] = 0xFFFD;
                continue;
            }
            // Up to the next surrogate, copied as it is.
            while (i < escape && !U16_IS_SURROGATE(s[i])) ++i;
            std::memcpy(buf + o, s + start, static_cast<std::size_t>(i - start) * sizeof(char16_t));
            o += i - start;
        }
        if (escape == n) break;
        run.clear();
        for (; i < n && s[i] == u'%'; i += 3) run += static_cast<char>(hexValue(s[i + 1]) * 16 + hexValue(s[i + 2]));
        int32_t length = 0;
        UErrorCode ec = U_ZERO_ERROR;
        u_strFromUTF8(buf + o, n - o, &length, run.data(), static_cast<int32_t>(run.size()), &ec);
        if (U_FAILURE(ec)) {
            out.releaseBuffer(0);
            return std::nullopt;
        }
        o += length;
    }
    // Decoding UTF-8 drops a leading byte order mark.
    const int32_t mark = o > 0 && buf[0] == 0xFEFF ? 1 : 0;
    out.releaseBuffer(o);
    if (mark) out.remove(0, 1);
    return out;
}

icu::UnicodeString toUpper(const icu::UnicodeString& text) {
    if (auto ascii = shiftAsciiLetters(text, u'a', u'z', u'A' - u'a')) return *ascii;
    icu::UnicodeString out(text);
    return out.toUpper(icu::Locale::getRoot());
}

icu::UnicodeString toLower(const icu::UnicodeString& text) {
    if (auto ascii = shiftAsciiLetters(text, u'A', u'Z', u'a' - u'A')) return *ascii;
    icu::UnicodeString out(text);
    return out.toLower(icu::Locale::getRoot());
}

bool isValidUtf8(std::string_view s) {
    if (s.size() > static_cast<std::size_t>(INT32_MAX)) return false;
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

}  // namespace tessivo
