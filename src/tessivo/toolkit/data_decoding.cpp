#include "tessivo/toolkit/data_decoding.h"

#include <algorithm>

#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::DataWangersNSDataAdditions {
namespace {

// UTF-16 without a mark is only considered from this many bytes on.
constexpr std::size_t kMinUnmarkedUTF16Bytes = 10;
// Byte pairs the UTF-16 sniff looks at.
constexpr std::size_t kSniffPairs = 100;
// Trailing bytes the truncated UTF-8 walk looks at.
constexpr std::size_t kUTF8WalkBytes = 4;

bool printable(std::uint8_t b) { return b >= 0x20 && b <= 0x7E; }

struct Mark {
    std::array<std::uint8_t, 4> bytes;
    std::size_t size;
    Encoding encoding;
};

constexpr Mark kMarks[] = {
    {{0x00, 0x00, 0xFE, 0xFF}, 4, encodings::UTF32BE}, {{0xFF, 0xFE, 0x00, 0x00}, 4, encodings::UTF32LE},
    {{0xEF, 0xBB, 0xBF, 0x00}, 3, encodings::UTF8},    {{0xFE, 0xFF, 0x00, 0x00}, 2, encodings::UTF16BE},
    {{0xFF, 0xFE, 0x00, 0x00}, 2, encodings::UTF16LE},
};

std::optional<icu::UnicodeString> afterByteOrderMark(ByteView data) {
    for (const auto& m : kMarks) {
        if (data.size() < m.size || !std::equal(m.bytes.begin(), m.bytes.begin() + m.size, data.begin())) continue;
        if (auto s = decode(data.subspan(m.size), m.encoding)) return s;
    }
    return std::nullopt;
}

std::optional<icu::UnicodeString> unmarkedUTF16(ByteView data) {
    const std::size_t n = data.size();
    if (n < kMinUnmarkedUTF16Bytes) return std::nullopt;
    const std::size_t pairs = std::min(n / 2, kSniffPairs);
    std::size_t little = 0;
    std::size_t big = 0;
    for (std::size_t i = 0; i < pairs; ++i) {
        const std::uint8_t b0 = data[2 * i];
        const std::uint8_t b1 = data[2 * i + 1];
        if (b1 == 0 && printable(b0)) ++little;
        if (b0 == 0 && printable(b1)) ++big;
    }
    const std::size_t even = n & ~std::size_t{1};
    const std::size_t half = pairs / 2;
    if (little > half) {
        // Start at the first markup character or printable pair, skipping leading junk.
        for (std::size_t at = 0; at < even; at += 2) {
            if (data[at] != '<' && !(data[at + 1] == 0 && printable(data[at]))) continue;
            if (auto s = decode(data.subspan(at, even - at), encodings::UTF16LE)) return s;
            break;
        }
        if (auto s = decode(data.first(even), encodings::UTF16LE)) return s;
    }
    if (big > half) return decode(data.first(even), encodings::UTF16BE);
    return std::nullopt;
}

std::size_t utf8SequenceLength(std::uint8_t lead) {
    if ((lead & 0xE0) == 0xC0) return 2;
    if ((lead & 0xF0) == 0xE0) return 3;
    if ((lead & 0xF8) == 0xF0) return 4;
    return 0;
}

// UTF-8 whose last sequence was cut short: the text before that sequence.
std::optional<icu::UnicodeString> truncatedUTF8(ByteView data) {
    const std::size_t n = data.size();
    if (n < 2) return std::nullopt;
    const std::size_t walk = std::min(n, kUTF8WalkBytes);
    for (std::size_t back = 1; back <= walk; ++back) {
        const std::uint8_t b = data[n - back];
        if (b < 0x80) return std::nullopt;
        const std::size_t need = utf8SequenceLength(b);
        if (need == 0) continue;
        if (back >= need) return std::nullopt;
        return decode(data.first(n - back), encodings::UTF8);
    }
    return std::nullopt;
}

std::optional<icu::UnicodeString> printableAscii(ByteView data) {
    icu::UnicodeString out;
    for (std::uint8_t b : data)
        if (printable(b) || b == '\t' || b == '\n' || b == '\r') out.append(static_cast<char16_t>(b));
    if (out.isEmpty()) return std::nullopt;
    return out;
}

}  // namespace

std::optional<icu::UnicodeString> getStringWithUnknownEncoding(ByteView data) {
    if (data.empty()) return std::nullopt;
    if (auto s = afterByteOrderMark(data)) return s;
    if (auto s = decode(data, encodings::UTF8)) return s;
    if (auto s = unmarkedUTF16(data)) return s;
    if (auto s = truncatedUTF8(data)) return s;
    for (Encoding e : kSingleByteFallbacks)
        if (auto s = decode(data, e)) return s;
    return printableAscii(data);
}

std::optional<icu::UnicodeString> getStringWithEncoding(ByteView data, Encoding encoding,
                                                        const icu::UnicodeString& functionName,
                                                        std::int64_t location) {
    if (data.empty()) return std::nullopt;
    std::optional<icu::UnicodeString> s = decode(data, encoding);
    if (!s) s = getStringWithUnknownEncoding(data);
    if (!s) return std::nullopt;
    if (s->isEmpty()) return s;
    return WindowsCodePageWangersNSStringAdditions::zapGremlins(*s);
}

std::optional<icu::UnicodeString> getStringWithEncoding(ByteView data, Encoding encoding) {
    return getStringWithEncoding(data, encoding, icu::UnicodeString(), 0);
}

std::optional<icu::UnicodeString> getStringWithEncoding(const Value* data, Encoding encoding) {
    const Bytes* bytes = data ? data->bytes() : nullptr;
    if (!bytes) return std::nullopt;
    return getStringWithEncoding(*bytes, encoding);
}

}  // namespace tessivo::DataWangersNSDataAdditions
