// Dates to and from text with fixed Unicode date patterns, the way the
// platform's date formatter does it: locale en_US_POSIX, the process time zone
// unless one is named, strict parsing that must consume the whole text.
//
//   auto f = tessivo::DateFormatter::withPattern(u"EEE, dd MMM yyyy HH:mm:ss Z", "GMT");
//   if (f) {
//       std::optional<tessivo::Date> d = f->parse(u"Mon, 01 Jan 2024 10:00:00 +0000");
//       icu::UnicodeString s = f->format(tessivo::Date{0});   // "Thu, 01 Jan 1970 00:00:00 +0000"
//   }
//   auto styled = tessivo::DateFormatter::withStyles(tessivo::DateStyle::Medium, tessivo::DateStyle::Short);
//
// A formatter is not safe for concurrent use; make one per call or per thread.
#pragma once

#include <memory>
#include <optional>

#include <unicode/datefmt.h>
#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

enum class DateStyle { None, Short, Medium, Long, Full };

class DateFormatter {
public:
    // nullopt when the pattern is invalid or the named zone is unknown. A null
    // timeZone means the process default (TZ).
    static std::optional<DateFormatter> withPattern(const icu::UnicodeString& pattern, const char* timeZone = nullptr);
    static std::optional<DateFormatter> withStyles(DateStyle date, DateStyle time, const char* timeZone = nullptr);

    // The date the whole text denotes, or nullopt when it does not fit the
    // pattern exactly (leniency off, no characters left over).
    std::optional<Date> parse(const icu::UnicodeString& text) const;
    icu::UnicodeString format(Date date) const;

private:
    explicit DateFormatter(std::shared_ptr<icu::DateFormat> f) : format_(std::move(f)) {}
    std::shared_ptr<icu::DateFormat> format_;
};

}  // namespace tessivo
