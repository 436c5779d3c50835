#include "tessivo/foundation/date_format.h"

#include <cmath>

#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace tessivo {
namespace {

const icu::Locale& posixLocale() {
    static const icu::Locale locale("en_US_POSIX");
    return locale;
}

// Applies the zone and strict parsing; false when the zone is unknown.
bool configure(icu::DateFormat& f, const char* timeZone) {
    std::unique_ptr<icu::TimeZone> zone(timeZone ? icu::TimeZone::createTimeZone(timeZone)
                                                 : icu::TimeZone::createDefault());
    if (!zone || *zone == icu::TimeZone::getUnknown()) return false;
    f.adoptTimeZone(zone.release());
    f.setLenient(false);
    return true;
}

icu::DateFormat::EStyle icuStyle(DateStyle s) {
    switch (s) {
        case DateStyle::None: return icu::DateFormat::kNone;
        case DateStyle::Short: return icu::DateFormat::kShort;
        case DateStyle::Medium: return icu::DateFormat::kMedium;
        case DateStyle::Long: return icu::DateFormat::kLong;
        case DateStyle::Full: return icu::DateFormat::kFull;
    }
    return icu::DateFormat::kNone;
}

}  // namespace

std::optional<DateFormatter> DateFormatter::withPattern(const icu::UnicodeString& pattern, const char* timeZone) {
    UErrorCode ec = U_ZERO_ERROR;
    auto f = std::make_shared<icu::SimpleDateFormat>(pattern, posixLocale(), ec);
    if (U_FAILURE(ec) || !configure(*f, timeZone)) return std::nullopt;
    return DateFormatter(std::move(f));
}

std::optional<DateFormatter> DateFormatter::withStyles(DateStyle date, DateStyle time, const char* timeZone) {
    std::shared_ptr<icu::DateFormat> f(
        icu::DateFormat::createDateTimeInstance(icuStyle(date), icuStyle(time), posixLocale()));
    if (!f || !configure(*f, timeZone)) return std::nullopt;
    return DateFormatter(std::move(f));
}

std::optional<Date> DateFormatter::parse(const icu::UnicodeString& text) const {
    icu::ParsePosition pos(0);
    const UDate d = format_->parse(text, pos);
    if (pos.getErrorIndex() >= 0 || pos.getIndex() != text.length() || pos.getIndex() == 0) return std::nullopt;
    if (!std::isfinite(d)) return std::nullopt;
    return Date{d / 1000.0};
}

icu::UnicodeString DateFormatter::format(Date date) const {
    icu::UnicodeString out;
    format_->format(date.secondsSince1970 * 1000.0, out);
    return out;
}

}  // namespace tessivo
