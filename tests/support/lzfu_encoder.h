// A compressed-RTF ("LZFu") encoder for tests: real back-references into the
// 4096-byte dictionary with its standard initial text, and a correct header.
//
//   tessivo::Bytes body = tessivo::testing::lzfuCompress(rtfBytes);
//   // body: compressed size, raw size, "LZFu", CRC, tokens, end marker
//
// The lower-level pieces let tests state damaged token streams exactly:
//   auto tokens = lzfuPackTokens({LzfuToken::lit('a'), LzfuToken::ref(207, 2)});
//   auto body = lzfuWrap(tokens, 3);
#pragma once

#include <cstdint>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

constexpr std::uint32_t kLzfuType = 0x75465A4C;  // "LZFu"
constexpr std::uint32_t kMelaType = 0x414C454D;  // "MELA"

// The format's CRC-32: reflected polynomial 0xEDB88320, initial value 0 and
// no final inversion, over the bytes after the 16-byte header.
std::uint32_t lzfuCrc(ByteView data);

struct LzfuToken {
    bool reference = false;
    std::uint8_t literal = 0;
    std::uint16_t offset = 0;  // 12 bits: dictionary position
    std::uint8_t length = 2;   // 2..17

    static LzfuToken lit(std::uint8_t c) { return {false, c, 0, 2}; }
    static LzfuToken ref(std::uint16_t offset, std::uint8_t length) { return {true, 0, offset, length}; }
};

// Tokens grouped eight to a control byte (least significant bit first).
Bytes lzfuPackTokens(const std::vector<LzfuToken>& tokens);

// A header (compressed size = data + 12, raw size, type, CRC of data)
// followed by data.
Bytes lzfuWrap(ByteView data, std::uint32_t rawSize, std::uint32_t type = kLzfuType);

// The tokens that encode rtf (greedy longest matches in the dictionary),
// ending with the end marker.
std::vector<LzfuToken> lzfuTokenize(ByteView rtf);

// A whole compressed body of rtf with its exact raw size.
Bytes lzfuCompress(ByteView rtf);

// An uncompressed ("MELA") body: header with CRC 0, then rtf.
Bytes lzfuStore(ByteView rtf);

}  // namespace tessivo::testing
