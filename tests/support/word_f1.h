// Word-level F1 between a text and a reference text, for judging how much
// of a message a body converter keeps.
//
//   auto score = tessivo::testing::wordF1(rtfText, plainBody);
//   // score.f1 in [0, 1]; 1 when both hold the same words the same number of times
//
// Words are maximal runs of Unicode word characters (letters, marks,
// digits, connector punctuation), case-folded, compared as multisets.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <unicode/unistr.h>

namespace tessivo::testing {

struct WordScore {
    std::size_t candidateWords = 0;
    std::size_t referenceWords = 0;
    std::size_t commonWords = 0;
    double precision = 0;
    double recall = 0;
    double f1 = 0;  // 1 when both texts have no words
};

// The case-folded words of text, in order.
std::vector<std::u16string> words(const icu::UnicodeString& text);

// The reference without the link targets that plain renderings add in
// angle brackets ("<https://...>", "<mailto:...>").
icu::UnicodeString withoutLinkTargets(const icu::UnicodeString& plain);

WordScore wordF1(const icu::UnicodeString& candidate, const icu::UnicodeString& reference);

// The median of values (0 for none).
double median(std::vector<double> values);

}  // namespace tessivo::testing
