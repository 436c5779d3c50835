#include "tessivo/mime/quoted_printable.h"

#include <cstdint>

namespace tessivo {
namespace {

enum class QpClass { HexDigit, Blank, LineEnd, Invalid };

QpClass classify(std::uint8_t b) {
    if ((b >= '0' && b <= '9') || (b >= 'A' && b <= 'F')) return QpClass::HexDigit;
    if (b == ' ' || b == '\t') return QpClass::Blank;
    if (b == '\r' || b == '\n') return QpClass::LineEnd;
    return QpClass::Invalid;
}

std::uint8_t hexValue(std::uint8_t b) {
    return static_cast<std::uint8_t>(b <= '9' ? b - '0' : b - 'A' + 10);
}

}  // namespace

std::optional<Bytes> quoted_printable_decode(ByteView input, std::size_t& outputLength, bool underscoreIsSpace) {
    const std::size_t n = input.size();
    Bytes out;
    out.reserve(n + 1);
    std::size_t i = 0;
    while (i < n) {
        const std::uint8_t c = input[i];
        if (c == 0) break;
        if (c != '=') {
            out.push_back(underscoreIsSpace && c == '_' ? ' ' : c);
            ++i;
            continue;
        }
        if (i + 1 >= n || input[i + 1] == 0) break;
        switch (classify(input[i + 1])) {
        case QpClass::HexDigit:
            if (i + 2 >= n || classify(input[i + 2]) != QpClass::HexDigit) return std::nullopt;
            out.push_back(static_cast<std::uint8_t>(hexValue(input[i + 1]) << 4 | hexValue(input[i + 2])));
            i += 3;
            continue;
        case QpClass::Invalid:
            return std::nullopt;
        case QpClass::Blank:
        case QpClass::LineEnd:
            break;
        }
        // Soft line break: blanks, then one line end (CR LF counts as one).
        std::size_t j = i + 1;
        while (j < n && classify(input[j]) == QpClass::Blank) ++j;
        if (j >= n || classify(input[j]) == QpClass::Invalid) return std::nullopt;
        if (n - j >= 2 && input[j] == '\r' && input[j + 1] == '\n') ++j;
        i = j + 1;
    }
    outputLength = out.size();
    out.push_back(0);
    return out;
}

}  // namespace tessivo
