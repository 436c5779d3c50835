// Byte-buffer operations on RTF bodies: decompression and plain text.
//
//   namespace data = tessivo::DataWangersNSDataAdditions;
//   if (auto rtf = data::getRTFForData(streamBytes)) ...
//
// Results are new values owned by the caller; nothing borrows the input.
#pragma once

#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::DataWangersNSDataAdditions {

// The RTF of a compressed ("LZFu") body, exactly raw-size bytes; nothing
// for other headers, "MELA" bodies included.
std::optional<Bytes> getRTFForData(ByteView data);

// The bytes as text: UTF-8 when valid, else ISO Latin 1 (which takes any bytes).
std::optional<icu::UnicodeString> rtfStringFromData(ByteView data);

}  // namespace tessivo::DataWangersNSDataAdditions
