#include "dictionary_json.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "tessivo/mime/base64.h"

namespace tessivo::cli {
namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr int kMillisecondsPerSecond = 1000;
// Dates are counted in 64-bit milliseconds up to this many seconds from 1970
// (some 31 million years); dates further out only come from damaged fields
// and are written as null.
constexpr double kMaxDateSeconds = 1e15;

struct CivilDate {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

// Days since 1970-01-01 to a proleptic Gregorian date (H. Hinnant's algorithm).
CivilDate civilFromDays(std::int64_t days) {
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    const unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned mp = (5 * dayOfYear + 2) / 153;
    const unsigned day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const unsigned month = mp < 10 ? mp + 3 : mp - 9;
    return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

nlohmann::ordered_json bytesJson(const Bytes& bytes, const JsonOptions& options) {
    nlohmann::ordered_json j;
    j["bytes"] = bytes.size();
    if (options.data) j["base64"] = NewBase64Encode(bytes, false);
    return j;
}

}  // namespace

std::optional<std::string> isoDateText(Date date) {
    const double seconds = date.secondsSince1970;
    if (!std::isfinite(seconds) || std::fabs(seconds) > kMaxDateSeconds) return std::nullopt;
    auto totalMs = static_cast<std::int64_t>(std::llround(seconds * kMillisecondsPerSecond));
    const std::int64_t msPerDay = kSecondsPerDay * kMillisecondsPerSecond;
    std::int64_t days = totalMs / msPerDay;
    std::int64_t msOfDay = totalMs % msPerDay;
    if (msOfDay < 0) {
        msOfDay += msPerDay;
        --days;
    }
    const CivilDate civil = civilFromDays(days);
    const auto secondOfDay = msOfDay / kMillisecondsPerSecond;
    const auto ms = msOfDay % kMillisecondsPerSecond;
    char year[32];
    if (civil.year >= 0 && civil.year <= 9999)
        std::snprintf(year, sizeof year, "%04lld", static_cast<long long>(civil.year));
    else
        std::snprintf(year, sizeof year, "%c%06lld", civil.year < 0 ? '-' : '+',
                      static_cast<long long>(civil.year < 0 ? -civil.year : civil.year));
    char text[80];
    std::snprintf(text, sizeof text, "%s-%02u-%02uT%02lld:%02lld:%02lld", year, civil.month, civil.day,
                  static_cast<long long>(secondOfDay / 3600), static_cast<long long>(secondOfDay / 60 % 60),
                  static_cast<long long>(secondOfDay % 60));
    std::string out(text);
    if (ms != 0) {
        std::snprintf(text, sizeof text, ".%03lld", static_cast<long long>(ms));
        out += text;
    }
    return out + "Z";
}

nlohmann::ordered_json valueJson(const Value& value, const JsonOptions& options) {
    return std::visit(
        [&](const auto& v) -> nlohmann::ordered_json {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return nullptr;
            } else if constexpr (std::is_same_v<T, icu::UnicodeString>) {
                return toUtf8(v);
            } else if constexpr (std::is_same_v<T, Bytes>) {
                return bytesJson(v, options);
            } else if constexpr (std::is_same_v<T, Date>) {
                if (auto text = isoDateText(v)) return *text;
                return nullptr;
            } else if constexpr (std::is_same_v<T, Array>) {
                auto list = nlohmann::ordered_json::array();
                for (const auto& item : v) list.push_back(valueJson(item, options));
                return list;
            } else if constexpr (std::is_same_v<T, Dictionary>) {
                return dictionaryJson(v, options);
            } else if constexpr (std::is_same_v<T, double>) {
                if (!std::isfinite(v)) return nullptr;
                return v;
            } else {
                return v;
            }
        },
        value.storage());
}

nlohmann::ordered_json dictionaryJson(const Dictionary& dictionary, const JsonOptions& options) {
    auto object = nlohmann::ordered_json::object();
    for (const auto& [key, value] : dictionary) object[toUtf8(key)] = valueJson(value, options);
    return object;
}

std::string jsonLine(const nlohmann::ordered_json& json) {
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace tessivo::cli
