#include "support/word_f1.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

#include <unicode/regex.h>
#include <unicode/uchar.h>

namespace tessivo::testing {
namespace {

bool isWordCharacter(UChar32 c) {
    return u_hasBinaryProperty(c, UCHAR_ALPHABETIC) || u_charType(c) == U_DECIMAL_DIGIT_NUMBER ||
           u_charType(c) == U_NON_SPACING_MARK || u_charType(c) == U_COMBINING_SPACING_MARK ||
           u_charType(c) == U_ENCLOSING_MARK || u_charType(c) == U_CONNECTOR_PUNCTUATION;
}

}  // namespace

std::vector<std::u16string> words(const icu::UnicodeString& text) {
    icu::UnicodeString folded(text);
    folded.foldCase();
    std::vector<std::u16string> out;
    std::u16string word;
    for (std::int32_t i = 0; i < folded.length();) {
        const UChar32 c = folded.char32At(i);
        const std::int32_t next = folded.moveIndex32(i, 1);
        if (isWordCharacter(c)) {
            word.append(folded.getBuffer() + i, folded.getBuffer() + next);
        } else if (!word.empty()) {
            out.push_back(std::move(word));
            word.clear();
        }
        i = next;
    }
    if (!word.empty()) out.push_back(std::move(word));
    return out;
}

icu::UnicodeString withoutLinkTargets(const icu::UnicodeString& plain) {
    UErrorCode status = U_ZERO_ERROR;
    static const std::unique_ptr<icu::RegexPattern> pattern(
        icu::RegexPattern::compile(u"<(?:https?|ftp|mailto|file):[^<>\\s]*>", UREGEX_CASE_INSENSITIVE, status));
    if (!pattern) return plain;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(plain, status));
    if (U_FAILURE(status)) return plain;
    return matcher->replaceAll(u"", status);
}

WordScore wordF1(const icu::UnicodeString& candidate, const icu::UnicodeString& reference) {
    const auto got = words(candidate);
    const auto want = words(withoutLinkTargets(reference));
    std::unordered_map<std::u16string, std::size_t> counts;
    for (const auto& w : want) ++counts[w];
    WordScore s;
    s.candidateWords = got.size();
    s.referenceWords = want.size();
    for (const auto& w : got) {
        auto it = counts.find(w);
        if (it != counts.end() && it->second > 0) {
            --it->second;
            ++s.commonWords;
        }
    }
    if (got.empty() && want.empty()) {
        s.precision = s.recall = s.f1 = 1;
        return s;
    }
    s.precision = got.empty() ? 0 : static_cast<double>(s.commonWords) / static_cast<double>(got.size());
    s.recall = want.empty() ? 0 : static_cast<double>(s.commonWords) / static_cast<double>(want.size());
    s.f1 = s.precision + s.recall > 0 ? 2 * s.precision * s.recall / (s.precision + s.recall) : 0;
    return s;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const std::size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

}  // namespace tessivo::testing
