// Parsing a text with the first of several fixed date patterns that takes it
// whole (locale en_US_POSIX, process time zone).
//
//   static constexpr const char16_t* kPatterns[] = {u"yyyy-MM-dd", u"dd/MM/yyyy"};
//   std::optional<tessivo::Date> d = tessivo::parseWithFirstPattern(kPatterns, text);
//
// Formatters are built once per thread and pattern; patterns must be string
// literals (they are cached by address).
#pragma once

#include <optional>
#include <span>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

std::optional<Date> parseWithFirstPattern(std::span<const char16_t* const> patterns, const icu::UnicodeString& text);

}  // namespace tessivo
