#include "tessivo/mime/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace tessivo {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNotInAlphabet = 0xFF;

constexpr std::array<std::uint8_t, 256> makeDecodeTable() {
    std::array<std::uint8_t, 256> table{};
    for (auto& v : table) v = kNotInAlphabet;
    for (std::uint8_t i = 0; i < 64; ++i) table[static_cast<std::uint8_t>(kAlphabet[i])] = i;
    return table;
}
constexpr std::array<std::uint8_t, 256> kDecode = makeDecodeTable();

std::uint8_t valueOf(char c) { return kDecode[static_cast<std::uint8_t>(c)]; }

// The 3 bytes that a group of 4 six-bit values stands for.
std::array<std::uint8_t, 3> groupBytes(const std::uint8_t v[4]) {
    return {static_cast<std::uint8_t>(v[0] << 2 | v[1] >> 4), static_cast<std::uint8_t>(v[1] << 4 | v[2] >> 2),
            static_cast<std::uint8_t>(v[2] << 6 | v[3])};
}

void appendGroup(Bytes& out, const std::uint8_t v[4], std::size_t byteCount) {
    const auto b = groupBytes(v);
    out.insert(out.end(), b.begin(), b.begin() + static_cast<std::ptrdiff_t>(byteCount));
}

void appendQuad(std::string& out, std::uint8_t b0, std::uint8_t b1, std::uint8_t b2) {
    out += kAlphabet[b0 >> 2];
    out += kAlphabet[(b0 & 0x03) << 4 | b1 >> 4];
    out += kAlphabet[(b1 & 0x0F) << 2 | b2 >> 6];
    out += kAlphabet[b2 & 0x3F];
}

}  // namespace

Bytes NewBase64Decode(const char* input, std::size_t length) {
    if (input == nullptr) return {};
    if (length == kBase64NulTerminated) length = std::strlen(input);
    Bytes out((length + 3) / 4 * 3, 0);
    std::size_t written = 0;
    std::size_t i = 0;
    while (i < length) {
        std::uint8_t values[4] = {0, 0, 0, 0};
        std::size_t count = 0;
        while (i < length && count < 4) {
            const std::uint8_t v = valueOf(input[i++]);
            if (v != kNotInAlphabet) values[count++] = v;
        }
        const auto b = groupBytes(values);
        for (std::size_t k = 0; k + 1 < count; ++k) out[written + k] = b[k];
        // The position moves by the value count less one, so a final group of
        // no values takes back the last byte written.
        if (count > 0) {
            written += count - 1;
        } else if (written > 0) {
            --written;
        }
    }
    out.resize(written);
    return out;
}

std::string NewBase64Encode(ByteView input, bool separateLines) {
    constexpr std::size_t kLineBytes = 48;
    const std::size_t groups = (input.size() + 2) / 3;
    std::string out;
    out.reserve(groups * 4 + (separateLines ? groups / 8 : 0) + 1);
    std::size_t i = 0;
    while (i < input.size()) {
        std::size_t lineEnd = input.size();
        if (separateLines && input.size() - i > kLineBytes) lineEnd = i + kLineBytes;
        for (; i + 3 <= lineEnd; i += 3) appendQuad(out, input[i], input[i + 1], input[i + 2]);
        if (lineEnd == input.size()) break;
        out += "\r\n";
    }
    const std::size_t rest = input.size() - i;
    if (rest == 2) {
        appendQuad(out, input[i], input[i + 1], 0);
        out.back() = '=';
    } else if (rest == 1) {
        appendQuad(out, input[i], 0, 0);
        out.replace(out.size() - 2, 2, "==");
    }
    return out;
}

std::string base64_encode(ByteView input, bool lineBreaks) {
    constexpr std::size_t kLineChars = 76;
    std::string out;
    if (input.empty()) return out;
    out.reserve((input.size() + 2) / 3 * 4 * (kLineChars + 1) / kLineChars + 1);
    std::size_t column = 0;
    for (std::size_t i = 0; i < input.size(); i += 3) {
        if (lineBreaks && column == kLineChars) {
            out += '\n';
            column = 0;
        }
        const std::uint8_t b1 = i + 1 < input.size() ? input[i + 1] : 0;
        const std::uint8_t b2 = i + 2 < input.size() ? input[i + 2] : 0;
        appendQuad(out, input[i], b1, b2);
        column += 4;
    }
    out.back() = '=';
    return out;
}

std::optional<Bytes> base64_decode(const char* text) {
    if (text == nullptr) return std::nullopt;
    const std::size_t length = std::strlen(text);
    Bytes out;
    out.reserve((length + 3) / 4 * 3 + 1);
    for (std::size_t i = 0; i < length; i += 4) {
        std::uint8_t v[4] = {0, 0, 0, 0};
        for (std::size_t k = 0; k < 4 && i + k < length; ++k) {
            const std::uint8_t value = valueOf(text[i + k]);
            v[k] = value == kNotInAlphabet ? 0 : value;
        }
        appendGroup(out, v, 3);
    }
    out.push_back(0);
    return out;
}

bool requires_base64_encoding(ByteView input) {
    for (const std::uint8_t b : input)
        if (b < 0x20 && b != '\t' && b != '\n') return true;
    return false;
}

std::optional<Bytes> decodeBase64IgnoringUnknownCharacters(std::string_view text) {
    Bytes values;
    values.reserve(text.size());
    std::size_t padding = 0;
    for (const char c : text) {
        if (c == '=') {
            ++padding;
            continue;
        }
        const std::uint8_t v = valueOf(c);
        if (v == kNotInAlphabet) continue;
        if (padding > 0) return std::nullopt;
        values.push_back(v);
    }
    if (padding > 2 || (values.size() + padding) % 4 != 0) return std::nullopt;
    Bytes out;
    out.reserve(values.size() / 4 * 3 + 2);
    for (std::size_t i = 0; i < values.size(); i += 4) {
        std::uint8_t group[4] = {0, 0, 0, 0};
        const std::size_t count = std::min<std::size_t>(4, values.size() - i);
        std::copy_n(values.begin() + static_cast<std::ptrdiff_t>(i), count, group);
        appendGroup(out, group, count - 1);
    }
    return out;
}

namespace DataWangersNSDataAdditions {

Bytes dataFromBase64String(const icu::UnicodeString& text) {
    const std::string utf8 = toUtf8(text);
    return NewBase64Decode(utf8.c_str(), utf8.size());
}

icu::UnicodeString base64EncodedString(ByteView receiver) {
    return icu::UnicodeString::fromUTF8(NewBase64Encode(receiver, true));
}

}  // namespace DataWangersNSDataAdditions

}  // namespace tessivo
