#include "tessivo/toolkit/date_patterns.h"

#include <unordered_map>

#include "tessivo/foundation/date_format.h"

namespace tessivo {

std::optional<Date> parseWithFirstPattern(std::span<const char16_t* const> patterns, const icu::UnicodeString& text) {
    // Building a formatter costs far more than a parse; each thread keeps its own.
    thread_local std::unordered_map<const char16_t*, std::optional<DateFormatter>> formatters;
    for (const char16_t* pattern : patterns) {
        auto it = formatters.find(pattern);
        if (it == formatters.end()) it = formatters.emplace(pattern, DateFormatter::withPattern(pattern)).first;
        if (!it->second) continue;
        if (auto date = it->second->parse(text)) return date;
    }
    return std::nullopt;
}

}  // namespace tessivo
