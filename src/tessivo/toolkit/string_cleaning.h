// Cleaning operations applied to decoded text: dropping NULs and the garbage
// tail that 8-bit bytes read as UTF-16 leave, control and illegal characters,
// surplus white space and line breaks, and a plausibility check.
//
//   namespace clean = tessivo::WindowsCodePageWangersNSStringAdditions;
//   icu::UnicodeString v = clean::zapGremlins(decoded);      // what every decoded property goes through
//   icu::UnicodeString t = clean::condenseWhitespace(u"  a \t b ");   // u"a b"
//   bool plausible = clean::isValidNSStringWithStrictCheck(text, false);
//
// Each function takes the receiver first and returns a new string.
#pragma once

#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {

// Removes every U+0000 at the end.
icu::UnicodeString trimTrailingNulls(const icu::UnicodeString& text);

// Cuts a tail of characters above U+3000 (8-bit bytes decoded as UTF-16) or
// the text from its first NUL after some ordinary characters. Text that
// starts with such characters is left alone. The cut index is the count of
// ordinary characters seen, even when high characters lie among them.
icu::UnicodeString truncateAtGarbageCharacters(const icu::UnicodeString& text);

// truncateAtGarbageCharacters, then percent escapes decoded (kept as they
// were when that fails), then illegal characters deleted, then white space
// and line breaks trimmed at both ends. "%41" therefore becomes "A".
icu::UnicodeString zapGremlins(const icu::UnicodeString& text);

// Deletes U+0000-U+0008, U+000B and U+000E-U+001F; keeps TAB, LF, CR and
// form feed.
icu::UnicodeString cleanString(const icu::UnicodeString& text);

// Keeps characters 2 and above except U+00A0, each reduced to its low eight
// bits (as a single-byte format would print it); nullopt stays nullopt.
std::optional<icu::UnicodeString> trimCharsInString(const std::optional<icu::UnicodeString>& text);

// Runs of spaces and tabs become one space; leading and trailing ones vanish.
// Line breaks are not white space here.
icu::UnicodeString condenseWhitespace(const icu::UnicodeString& text);

// Runs of LF become one LF, then every CR is removed (so LF CR LF stays two LFs).
icu::UnicodeString replaceDoubleNewline(const icu::UnicodeString& text);

// Round-trips through UTF-8 unchanged and has no (strict) or at most 5 %
// (lenient) characters outside letters, digits, common punctuation, space,
// LF, CR, TAB and U+00A0. A value that is not a string is never valid.
bool isValidNSStringWithStrictCheck(const icu::UnicodeString& text, bool strict);
bool isValidNSStringWithStrictCheck(const Value& object, bool strict);

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
