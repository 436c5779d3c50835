// Regular expressions with ICU syntax: compile once, then search, list
// matches, replace all with a template, or test a whole string.
//
//   std::string error;
//   auto re = tessivo::Regex::compile(u"([+-])(\\d{2})(\\d{2})\\s*$", tessivo::Regex::CaseInsensitive, &error);
//   if (!re) tessivo::log("bad pattern: %s", error.c_str());
//   if (auto m = re->firstMatch(text)) { icu::UnicodeString sign = m->group(text, 1); }
//   icu::UnicodeString out = re->replaceAll(text, u"$1");   // $n and \ escapes as in ICU
//   bool whole = re->matchesWhole(text);                    // anchored at both ends
//
// A compiled Regex is immutable and may be shared between threads; every call
// makes its own matcher. Ranges are UTF-16 offsets into the searched text.
// A matching error (time or stack limit) counts as no match.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <unicode/regex.h>
#include <unicode/unistr.h>

namespace tessivo {

class Regex {
public:
    enum Flags : std::uint32_t {
        None = 0,
        CaseInsensitive = UREGEX_CASE_INSENSITIVE,
        Comments = UREGEX_COMMENTS,
        DotAll = UREGEX_DOTALL,
        Literal = UREGEX_LITERAL,
        Multiline = UREGEX_MULTILINE,
        UnixLines = UREGEX_UNIX_LINES,
    };

    struct Range {
        std::int32_t start = -1;  // -1 when the group took no part in the match
        std::int32_t end = -1;
        bool matched() const { return start >= 0; }
    };

    struct Match {
        std::vector<Range> groups;  // groups[0] is the whole match
        const Range& range() const { return groups.front(); }
        // The text of group i, or an empty string when it did not take part.
        icu::UnicodeString group(const icu::UnicodeString& text, std::size_t i) const;
    };

    // nullopt when the pattern does not compile; error (if given) then
    // receives the ICU error name and the offset of the fault.
    static std::optional<Regex> compile(const icu::UnicodeString& pattern, std::uint32_t flags = None,
                                        std::string* error = nullptr);

    // The first match at or after from.
    std::optional<Match> firstMatch(const icu::UnicodeString& text, std::int32_t from = 0) const;
    std::vector<Match> allMatches(const icu::UnicodeString& text) const;
    bool search(const icu::UnicodeString& text) const { return firstMatch(text).has_value(); }
    bool matchesWhole(const icu::UnicodeString& text) const;
    // Every match replaced by the template ($0-$9, ${name}, \ escapes); the
    // text unchanged when nothing matches or the template is malformed.
    icu::UnicodeString replaceAll(const icu::UnicodeString& text, const icu::UnicodeString& replacement) const;

private:
    explicit Regex(std::shared_ptr<const icu::RegexPattern> p) : pattern_(std::move(p)) {}
    std::unique_ptr<icu::RegexMatcher> matcher(const icu::UnicodeString& text) const;

    std::shared_ptr<const icu::RegexPattern> pattern_;
};

// A pattern fixed in the code, compiled once where it is used and kept, with
// the reason should it not compile. Compiling costs ICU far more than a
// search of a message (case-insensitive classes such as [^>] above all).
//   static const CompiledPattern breaks(u"<br[^>]*>", Regex::CaseInsensitive);
//   if (breaks.regex) text = breaks.regex->replaceAll(text, u"\n");
struct CompiledPattern {
    explicit CompiledPattern(const icu::UnicodeString& pattern, std::uint32_t flags = Regex::None)
        : source(pattern), regex(Regex::compile(pattern, flags, &error)) {}

    icu::UnicodeString source;
    std::string error;  // set before regex: compile writes it
    std::optional<Regex> regex;
};

// Compiles and searches once; false when the pattern does not compile.
bool regexSearch(const icu::UnicodeString& pattern, const icu::UnicodeString& text,
                 std::uint32_t flags = Regex::None);
// The whole text matches the pattern (the platform's "MATCHES" predicate).
bool regexMatchesWhole(const icu::UnicodeString& pattern, const icu::UnicodeString& text,
                       std::uint32_t flags = Regex::None);

}  // namespace tessivo
