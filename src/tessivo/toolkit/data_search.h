// Finding a byte sequence inside a byte buffer.
//
//   const std::uint8_t tag[] = {0x03, 0x90, 0x06, 0x00};
//   if (auto at = tessivo::DataWangersNSDataAdditions::searchForBytes(data, tag, sizeof tag)) ...
//
// Linear in the size of data; reentrant.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "tessivo/foundation/value.h"

namespace tessivo::DataWangersNSDataAdditions {

// The offset of the first occurrence of numberOfBytes bytes in data, or
// nothing when they do not occur or numberOfBytes is 0.
std::optional<std::size_t> searchForBytes(ByteView data, const std::uint8_t* bytes, std::size_t numberOfBytes);

}  // namespace tessivo::DataWangersNSDataAdditions
