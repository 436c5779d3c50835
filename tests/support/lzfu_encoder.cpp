#include "support/lzfu_encoder.h"

#include <array>
#include <algorithm>
#include <cstdint>

namespace tessivo::testing {
namespace {

constexpr char kInitialDictionary[] =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
    "\\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\r\n\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
constexpr std::size_t kInitialBytes = sizeof(kInitialDictionary) - 1;
constexpr std::size_t kWindow = 4096;
constexpr std::size_t kMaxMatch = 17;
constexpr std::size_t kMaxChain = 64;
constexpr std::size_t kNoPosition = SIZE_MAX;

void putU32(Bytes& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

std::array<std::uint32_t, 256> crcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t c = i;
        for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[i] = c;
    }
    return table;
}

}  // namespace

std::uint32_t lzfuCrc(ByteView data) {
    static const auto table = crcTable();
    std::uint32_t crc = 0;
    for (auto b : data) crc = table[(crc ^ b) & 0xFF] ^ (crc >> 8);
    return crc;
}

Bytes lzfuPackTokens(const std::vector<LzfuToken>& tokens) {
    Bytes out;
    std::size_t controlAt = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (i % 8 == 0) {
            controlAt = out.size();
            out.push_back(0);
        }
        const auto& t = tokens[i];
        if (t.reference) {
            out[controlAt] |= static_cast<std::uint8_t>(1u << (i % 8));
            out.push_back(static_cast<std::uint8_t>((t.offset >> 4) & 0xFF));
            out.push_back(static_cast<std::uint8_t>(((t.offset & 15) << 4) | ((t.length - 2) & 15)));
        } else {
            out.push_back(t.literal);
        }
    }
    return out;
}

Bytes lzfuWrap(ByteView data, std::uint32_t rawSize, std::uint32_t type) {
    Bytes out;
    putU32(out, static_cast<std::uint32_t>(data.size() + 12));
    putU32(out, rawSize);
    putU32(out, type);
    putU32(out, type == kMelaType ? 0 : lzfuCrc(data));
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

std::vector<LzfuToken> lzfuTokenize(ByteView rtf) {
    // The history is the initial dictionary followed by the text; history
    // index k lives at dictionary position k % 4096.
    Bytes history(kInitialDictionary, kInitialDictionary + kInitialBytes);
    history.insert(history.end(), rtf.begin(), rtf.end());
    const std::size_t end = history.size();

    std::vector<std::size_t> head(1u << 16, kNoPosition);
    std::vector<std::size_t> previous(end, kNoPosition);
    auto insert = [&](std::size_t k) {
        if (k + 1 >= end) return;
        const unsigned h = history[k] | (history[k + 1] << 8);
        previous[k] = head[h];
        head[h] = k;
    };
    for (std::size_t k = 0; k < kInitialBytes; ++k) insert(k);

    std::vector<LzfuToken> tokens;
    std::size_t pos = kInitialBytes;
    while (pos < end) {
        std::size_t bestLength = 1;
        std::size_t bestAt = 0;
        if (pos + 1 < end) {
            const std::size_t limit = std::min(kMaxMatch, end - pos);
            std::size_t candidate = head[history[pos] | (history[pos + 1] << 8)];
            for (std::size_t steps = 0; candidate != kNoPosition && steps < kMaxChain; ++steps) {
                // Older positions have been overwritten in the ring.
                if (pos - candidate >= kWindow) break;
                std::size_t length = 0;
                while (length < limit && history[candidate + length] == history[pos + length]) ++length;
                if (length > bestLength) {
                    bestLength = length;
                    bestAt = candidate;
                    if (length == limit) break;
                }
                candidate = previous[candidate];
            }
        }
        if (bestLength >= 2) {
            tokens.push_back(LzfuToken::ref(static_cast<std::uint16_t>(bestAt % kWindow),
                                            static_cast<std::uint8_t>(bestLength)));
        } else {
            tokens.push_back(LzfuToken::lit(history[pos]));
        }
        for (std::size_t k = 0; k < bestLength; ++k) insert(pos + k);
        pos += bestLength;
    }
    tokens.push_back(LzfuToken::ref(static_cast<std::uint16_t>(pos % kWindow), 2));
    return tokens;
}

Bytes lzfuCompress(ByteView rtf) {
    return lzfuWrap(lzfuPackTokens(lzfuTokenize(rtf)), static_cast<std::uint32_t>(rtf.size()));
}

Bytes lzfuStore(ByteView rtf) { return lzfuWrap(rtf, static_cast<std::uint32_t>(rtf.size()), kMelaType); }

}  // namespace tessivo::testing
