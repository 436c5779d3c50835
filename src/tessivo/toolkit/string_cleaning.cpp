#include "tessivo/toolkit/string_cleaning.h"

#include <algorithm>
#include <memory>

#include <unicode/uniset.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/log.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/foundation/text.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

// Characters above this are what UTF-16 decoding of 8-bit bytes produces.
constexpr char16_t kGarbageAbove = 0x3000;
// Ordinary characters that must come first before a tail can be called garbage.
constexpr int kGoodBeforeGarbage = 4;
// High characters that make a tail garbage.
constexpr int kHighForGarbage = 3;
// Share of disallowed characters the lenient validity check tolerates.
constexpr double kLenientDisallowedShare = 0.05;

// Characters looked at together by the ordinary-text path of truncateAtGarbageCharacters.
constexpr int32_t kOrdinaryBlock = 32;

// No NUL and nothing above kGarbageAbove among kOrdinaryBlock characters.
bool blockIsOrdinary(const char16_t* s) {
    // NUL wraps around to the highest value; one comparison of the largest tests all.
    char16_t top = 0;
    for (int32_t k = 0; k < kOrdinaryBlock; ++k) top = std::max(top, static_cast<char16_t>(s[k] - 1));
    return top < kGarbageAbove;
}

// What zapGremlins needs to know of a text, found in one pass.
struct TextTraits {
    char16_t top = 0;
    bool nul = false;
    bool percent = false;
};

// Block by block, with no branch inside a block, so that the compiler can
// look at many units at once.
TextTraits traitsOf(const icu::UnicodeString& text) {
    const char16_t* s = text.getBuffer();
    const int32_t n = text.length();
    char16_t top = 0;
    char16_t nul = 0;
    char16_t percent = 0;
    int32_t i = 0;
    for (; n - i >= kOrdinaryBlock; i += kOrdinaryBlock) {
        for (int32_t k = 0; k < kOrdinaryBlock; ++k) {
            const char16_t c = s[i + k];
            top = std::max(top, c);
            nul |= static_cast<char16_t>(c == 0);
            percent |= static_cast<char16_t>(c == u'%');
        }
    }
    for (; i < n; ++i) {
        top = std::max(top, s[i]);
        nul |= static_cast<char16_t>(s[i] == 0);
        percent |= static_cast<char16_t>(s[i] == u'%');
    }
    return {top, nul != 0, percent != 0};
}

const icu::UnicodeSet& frozen(const icu::UnicodeSet& set) {
    auto* s = new icu::UnicodeSet(set);
    s->freeze();
    return *s;
}

const icu::UnicodeSet& controlCharacters() {
    static const icu::UnicodeSet& set = frozen(icu::UnicodeSet(0x00, 0x08).add(0x0B).add(0x0E, 0x1F));
    return set;
}

const icu::UnicodeSet& allowedCharacters() {
    static const icu::UnicodeSet& set = []() -> const icu::UnicodeSet& {
        std::unique_ptr<icu::UnicodeSet> s(alphanumericSet().cloneAsThawed());
        s->addAll(icu::UnicodeString(u" .,;:-_()[]{}<>!?@#$%^&*+=/\\\"'\n\r\t\u00A0"));
        return frozen(*s);
    }();
    return set;
}

}  // namespace

icu::UnicodeString trimTrailingNulls(const icu::UnicodeString& text) {
    int32_t end = text.length();
    while (end > 0 && text.charAt(end - 1) == 0) --end;
    return end == text.length() ? text : icu::UnicodeString(text, 0, end);
}

icu::UnicodeString truncateAtGarbageCharacters(const icu::UnicodeString& text) {
    const int32_t length = text.length();
    if (length == 0) return text;
    const char16_t* s = text.getBuffer();
    int32_t good = 0;
    int high = 0;
    bool stoppedAtNul = false;
    for (int32_t i = 0; i < length; ++i) {
        // A block of ordinary characters (neither NUL nor high) only adds to good.
        if (length - i >= kOrdinaryBlock && blockIsOrdinary(s + i)) {
            good += kOrdinaryBlock;
            i += kOrdinaryBlock - 1;
            continue;
        }
        const char16_t c = s[i];
        if (good < kGoodBeforeGarbage && c > kGarbageAbove) return text;
        if (c == 0 && good > 0) {
            stoppedAtNul = true;
            break;
        }
        if (high < kHighForGarbage && c <= kGarbageAbove) ++good;
        // From the third high character on, nothing changes the answer.
        if (c > kGarbageAbove && ++high == kHighForGarbage) break;
    }
    if (!stoppedAtNul && high < kHighForGarbage) return text;
    return good < length ? icu::UnicodeString(text, 0, good) : text;
}

icu::UnicodeString zapGremlins(const icu::UnicodeString& text) {
    if (text.isEmpty()) return text;
    // One look at the text tells which passes can change it: the cut needs
    // a NUL or a high character, the decoding a "%", and the removal a
    // character at or above the first illegal one (or a decoded text).
    const TextTraits traits = traitsOf(text);
    icu::UnicodeString out = traits.nul || traits.top > kGarbageAbove ? truncateAtGarbageCharacters(text) : text;
    bool unusual = traits.top >= illegalCharacterSet().getRangeStart(0);
    if (traits.percent) {
        if (auto unescaped = removingPercentEncoding(out)) {
            out = std::move(*unescaped);
            unusual = true;
        }
    }
    if (unusual) out = removeCharacters(out, illegalCharacterSet());
    return trim(out, whitespaceAndNewlineSet());
}

icu::UnicodeString cleanString(const icu::UnicodeString& text) {
    if (text.isEmpty()) return text;
    return removeCharacters(text, controlCharacters());
}

std::optional<icu::UnicodeString> trimCharsInString(const std::optional<icu::UnicodeString>& text) {
    if (!text) return std::nullopt;
    icu::UnicodeString out;
    const char16_t* s = text->getBuffer();
    for (int32_t i = 0; i < text->length(); ++i) {
        if (s[i] < 2 || s[i] == 0xA0) continue;
        // A single-byte format keeps the low eight bits; a zero byte prints nothing.
        const char16_t low = s[i] & 0xFF;
        if (low != 0) out.append(low);
    }
    return out;
}

icu::UnicodeString condenseWhitespace(const icu::UnicodeString& text) {
    if (text.isEmpty()) return text;
    std::vector<icu::UnicodeString> words;
    for (auto& piece : splitBySet(text, whitespaceSet()))
        if (!piece.isEmpty()) words.push_back(std::move(piece));
    return join(words, u" ");
}

icu::UnicodeString replaceDoubleNewline(const icu::UnicodeString& text) {
    if (text.isEmpty()) return text;
    static const CompiledPattern runs(u"\n+");
    if (!runs.regex) {
        log("Failed to create regex for newline replacement: %s", runs.error.c_str());
        return text;
    }
    return replaceAll(runs.regex->replaceAll(text, u"\n"), u"\r", u"");
}

bool isValidNSStringWithStrictCheck(const icu::UnicodeString& text, bool strict) {
    auto utf8 = encode(text, encodings::UTF8);
    if (!utf8) return false;
    auto back = decode(*utf8, encodings::UTF8);
    if (!back || *back != text) return false;
    if (text.isEmpty()) return true;
    const icu::UnicodeSet& allowed = allowedCharacters();
    const char16_t* s = text.getBuffer();
    int32_t disallowed = 0;
    // Unit by unit, as a character-set membership test of UTF-16 characters.
    for (int32_t i = 0; i < text.length(); ++i)
        if (!allowed.contains(s[i])) ++disallowed;
    if (strict) return disallowed == 0;
    return static_cast<double>(disallowed) / text.length() <= kLenientDisallowedShare;
}

bool isValidNSStringWithStrictCheck(const Value& object, bool strict) {
    const icu::UnicodeString* s = object.string();
    return s && isValidNSStringWithStrictCheck(*s, strict);
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
