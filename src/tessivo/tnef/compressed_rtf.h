// Compressed RTF bodies of TNEF property values, decompressed within what
// their bytes can hold.
//
//   if (auto rtf = tessivo::tnef::decompressedRTF(value)) store(*rtf);
//
// Internal to the TNEF reader.
#pragma once

#include <optional>

#include "tessivo/foundation/value.h"

namespace tessivo::tnef {

// getRTFFromBuffer's result for value ("LZFu" bodies decoded, nothing for
// others), except that a raw size beyond what the data can decode to (eight
// bytes for each compressed byte) is cut there: past that point the result
// could only be zero bytes, and a value of a few bytes must not ask for
// hundreds of megabytes.
std::optional<Bytes> decompressedRTF(ByteView value);

}  // namespace tessivo::tnef
