#include "tessivo/foundation/regex.h"

#include <unicode/utypes.h>

namespace tessivo {

icu::UnicodeString Regex::Match::group(const icu::UnicodeString& text, std::size_t i) const {
    if (i >= groups.size() || !groups[i].matched()) return {};
    return icu::UnicodeString(text, groups[i].start, groups[i].end - groups[i].start);
}

std::optional<Regex> Regex::compile(const icu::UnicodeString& pattern, std::uint32_t flags, std::string* error) {
    UErrorCode ec = U_ZERO_ERROR;
    UParseError pe{};
    std::shared_ptr<const icu::RegexPattern> p(icu::RegexPattern::compile(pattern, flags, pe, ec));
    if (U_FAILURE(ec) || !p) {
        if (error) *error = std::string(u_errorName(ec)) + " at offset " + std::to_string(pe.offset);
        return std::nullopt;
    }
    return Regex(std::move(p));
}

std::unique_ptr<icu::RegexMatcher> Regex::matcher(const icu::UnicodeString& text) const {
    UErrorCode ec = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> m(pattern_->matcher(text, ec));
    if (U_FAILURE(ec)) return nullptr;
    return m;
}

namespace {

Regex::Match currentMatch(const icu::RegexMatcher& m) {
    Regex::Match match;
    const int32_t n = m.groupCount();
    match.groups.resize(static_cast<std::size_t>(n) + 1);
    for (int32_t g = 0; g <= n; ++g) {
        UErrorCode ec = U_ZERO_ERROR;
        const int32_t start = m.start(g, ec);
        const int32_t end = m.end(g, ec);
        if (U_SUCCESS(ec) && start >= 0) match.groups[static_cast<std::size_t>(g)] = {start, end};
    }
    return match;
}

}  // namespace

std::optional<Regex::Match> Regex::firstMatch(const icu::UnicodeString& text, std::int32_t from) const {
    auto m = matcher(text);
    if (!m || from < 0 || from > text.length()) return std::nullopt;
    UErrorCode ec = U_ZERO_ERROR;
    if (!m->find(from, ec) || U_FAILURE(ec)) return std::nullopt;
    return currentMatch(*m);
}

std::vector<Regex::Match> Regex::allMatches(const icu::UnicodeString& text) const {
    std::vector<Match> out;
    auto m = matcher(text);
    if (!m) return out;
    UErrorCode ec = U_ZERO_ERROR;
    // find() steps past empty matches itself, so the loop always advances.
    while (m->find(ec) && U_SUCCESS(ec)) out.push_back(currentMatch(*m));
    return out;
}

bool Regex::matchesWhole(const icu::UnicodeString& text) const {
    auto m = matcher(text);
    if (!m) return false;
    UErrorCode ec = U_ZERO_ERROR;
    const bool whole = m->matches(ec);
    return U_SUCCESS(ec) && whole;
}

icu::UnicodeString Regex::replaceAll(const icu::UnicodeString& text, const icu::UnicodeString& replacement) const {
    auto m = matcher(text);
    if (!m) return text;
    UErrorCode ec = U_ZERO_ERROR;
    icu::UnicodeString out = m->replaceAll(replacement, ec);
    return U_SUCCESS(ec) ? out : text;
}

bool regexSearch(const icu::UnicodeString& pattern, const icu::UnicodeString& text, std::uint32_t flags) {
    auto re = Regex::compile(pattern, flags);
    return re && re->search(text);
}

bool regexMatchesWhole(const icu::UnicodeString& pattern, const icu::UnicodeString& text, std::uint32_t flags) {
    auto re = Regex::compile(pattern, flags);
    return re && re->matchesWhole(text);
}

}  // namespace tessivo
