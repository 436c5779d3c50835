// Byte buffers that tests own, from text or from a list of byte values.
//
//   tessivo::Bytes b = tessivo::testing::bytesOf("caf\xC3\xA9");
//   tessivo::Bytes marks = tessivo::testing::bytesOf({0xFF, 0xFE, 'A', 0});
//
// (A borrowed view of a text is tessivo::asBytes.)
#pragma once

#include <initializer_list>
#include <string_view>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

inline Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

inline Bytes bytesOf(std::initializer_list<int> values) {
    Bytes bytes;
    for (int v : values) bytes.push_back(static_cast<std::uint8_t>(v));
    return bytes;
}

}  // namespace tessivo::testing
