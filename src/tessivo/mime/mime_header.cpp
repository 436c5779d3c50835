// Decoding of encoded words in header values.
#include <unicode/uchar.h>

#include "tessivo/mime/encoded_words.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

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

}  // namespace

icu::UnicodeString decodeMimeHeader(const icu::UnicodeString& value) {
    const std::vector<EncodedWordRange> words = findEncodedWords(value);
    if (words.empty()) return value;
    icu::UnicodeString out;
    std::int32_t last = 0;
    for (const EncodedWordRange& word : words) {
        // Whatever lies between two words is copied, white space included.
        out.append(value, last, word.start - last);
        const auto decoded = decodeEncodedWord(value.tempSubString(word.start + 2, word.end - word.start - 4));
        if (decoded && !decoded->isEmpty()) out.append(*decoded);
        last = word.end;
    }
    out.append(value, last, value.length() - last);
    return out;
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
