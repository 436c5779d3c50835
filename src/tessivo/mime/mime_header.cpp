// Decoding of encoded words in header values.
#include <exception>
#include <string>

#include "tessivo/foundation/log.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

// An encoded word runs lazily from "=?" to the first "?=" that is followed by
// white space or the end of the value; "." keeps it on one line.
constexpr char16_t kEncodedWordPattern[] = u"=\\?(.*?)\\?=(?!\\S)";

// The text of one encoded word ("charset?method?text"), or nothing.
std::optional<icu::UnicodeString> decodeEncodedWord(const icu::UnicodeString& word) {
    const std::int32_t first = word.indexOf(u'?');
    if (first < 0) return std::nullopt;
    const std::int32_t second = word.indexOf(u'?', first + 1);
    if (second < 0 || word.indexOf(u'?', second + 1) >= 0) return std::nullopt;
    const icu::UnicodeString charset(word, 0, first);
    const icu::UnicodeString method(word, first + 1, second - first - 1);
    const icu::UnicodeString text(word, second + 1);
    const Encoding encoding = getCharacterEncodingFromMime(charset);
    if (method.caseCompare(u"B", U_FOLD_CASE_DEFAULT) == 0) return base64DecodeWithEncoding(text, encoding);
    if (method.caseCompare(u"Q", U_FOLD_CASE_DEFAULT) == 0) return quotedPrintableDecodeWithEncoding(text, encoding);
    return std::nullopt;
}

icu::UnicodeString decodeWords(const Regex& re, const icu::UnicodeString& value) {
    const std::int32_t length = value.length();
    icu::UnicodeString out;
    Regex::Range last{0, 0};
    bool found = false;
    for (const auto& match : re.allMatches(value)) {
        const Regex::Range& range = match.range();
        if (!range.matched() || range.end > length) continue;
        // Whatever lies between two words is copied, white space included.
        if (range.start > last.end && last.end < length) out.append(value, last.end, range.start - last.end);
        last = range;
        found = true;
        if (match.groups.size() < 2 || !match.groups[1].matched() || match.groups[1].end > length) continue;
        const auto decoded = decodeEncodedWord(match.group(value, 1));
        if (decoded && !decoded->isEmpty()) out.append(*decoded);
    }
    if (!found) return value;
    if (last.end < length) out.append(value, last.end, length - last.end);
    return out;
}

}  // namespace

icu::UnicodeString decodeMimeHeader(const icu::UnicodeString& value) {
    if (value.isEmpty()) return {};
    static std::string compileError;
    static const std::optional<Regex> re = Regex::compile(kEncodedWordPattern, Regex::CaseInsensitive, &compileError);
    if (!re) {
        log("Failed to create MIME header regex: %s", compileError.c_str());
        return value;
    }
    try {
        return decodeWords(*re, value);
    } catch (const std::exception& e) {
        log("Exception during MIME header regex processing: %s", e.what());
        return value;
    }
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
