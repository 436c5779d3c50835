// Strict decoding of bytes in one character set, for the body decoders.
//
//   if (auto text = tessivo::body::decodeStrict(bytes, "UTF-8")) ...
//
// Internal to the body module.
#pragma once

#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::body {

// The text of bytes in the ICU charset named, or nothing when a byte
// sequence is invalid or unmapped there.
std::optional<icu::UnicodeString> decodeStrict(ByteView bytes, const char* charset);

}  // namespace tessivo::body
