// String helpers over ICU: literal and case-insensitive search and replace,
// splitting, the platform's character sets, trimming and percent decoding.
//
//   using namespace tessivo;
//   int32_t at = indexOf(text, u"charset=", 0, CaseInsensitive);   // -1 when absent
//   auto clean = replaceAll(text, u"\r", u"");                        // literal
//   auto t = trim(text, whitespaceAndNewlineSet());
//   auto parts = split(u"a:b::c", u":");                              // {"a", "b", "", "c"}
//   if (auto s = removingPercentEncoding(u"%41b")) { ... }            // u"Ab"
//
// Indexes and lengths are UTF-16 code units. Case-insensitive comparison uses
// Unicode simple case folding. The character sets are process-wide frozen
// singletons, safe to share between threads.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <unicode/uniset.h>
#include <unicode/unistr.h>

namespace tessivo {

enum CaseSensitivity { CaseSensitive, CaseInsensitive };

// Simple case folding that keeps the UTF-16 length (a folding that would
// change it keeps the original character), so indexes in the result are
// those of text: what case-insensitive searches compare. Fold a long text
// once to search it for several needles.
icu::UnicodeString foldCaseSameLength(const icu::UnicodeString& text);

// First index of needle at or after from, or -1. An empty needle is never found.
std::int32_t indexOf(const icu::UnicodeString& text, const icu::UnicodeString& needle, std::int32_t from = 0,
                     CaseSensitivity cs = CaseSensitive);
bool contains(const icu::UnicodeString& text, const icu::UnicodeString& needle, CaseSensitivity cs = CaseSensitive);
bool hasPrefix(const icu::UnicodeString& text, const icu::UnicodeString& prefix, CaseSensitivity cs = CaseSensitive);
bool equalsCaseInsensitive(const icu::UnicodeString& a, const icu::UnicodeString& b);

// Every non-overlapping occurrence of target, left to right, replaced; the
// text unchanged when target is empty.
icu::UnicodeString replaceAll(const icu::UnicodeString& text, const icu::UnicodeString& target,
                              const icu::UnicodeString& replacement, CaseSensitivity cs = CaseSensitive);

// Pieces between occurrences of separator, empty pieces kept (an empty text
// gives one empty piece). An empty separator gives the text itself.
std::vector<icu::UnicodeString> split(const icu::UnicodeString& text, const icu::UnicodeString& separator,
                                      CaseSensitivity cs = CaseSensitive);
// Pieces between characters of the set, empty pieces kept.
std::vector<icu::UnicodeString> splitBySet(const icu::UnicodeString& text, const icu::UnicodeSet& separators);
icu::UnicodeString join(const std::vector<icu::UnicodeString>& pieces, const icu::UnicodeString& separator);

// Spaces and tabs: Unicode Zs plus TAB.
const icu::UnicodeSet& whitespaceSet();
// Whitespace plus line breaks: Unicode Z, U+0009-U+000D and U+0085.
const icu::UnicodeSet& whitespaceAndNewlineSet();
// Unassigned code points and non-characters.
const icu::UnicodeSet& illegalCharacterSet();
// Letters, marks and numbers (Unicode L, M, N).
const icu::UnicodeSet& alphanumericSet();
// Unicode punctuation (P).
const icu::UnicodeSet& punctuationSet();

// Removes characters of the set at both ends (or only the start / end).
icu::UnicodeString trim(const icu::UnicodeString& text, const icu::UnicodeSet& set);
icu::UnicodeString trimStart(const icu::UnicodeString& text, const icu::UnicodeSet& set);
icu::UnicodeString trimEnd(const icu::UnicodeString& text, const icu::UnicodeSet& set);
// Removes every character of the set.
icu::UnicodeString removeCharacters(const icu::UnicodeString& text, const icu::UnicodeSet& set);

// Decodes %XX escapes (either hex case) as UTF-8 bytes. nullopt when a "%"
// is not followed by two hex digits or the bytes are not valid UTF-8.
std::optional<icu::UnicodeString> removingPercentEncoding(const icu::UnicodeString& text);

// True when the bytes are well-formed UTF-8 (no overlong forms, surrogates
// or code points above U+10FFFF). Texts over 2 GiB count as invalid.
bool isValidUtf8(std::string_view bytes);

// Upper and lower case with the root locale's rules.
icu::UnicodeString toUpper(const icu::UnicodeString& text);
icu::UnicodeString toLower(const icu::UnicodeString& text);

}  // namespace tessivo
