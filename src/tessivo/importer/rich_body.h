// The converters of the two rich message bodies to plain text.
//
//   if (auto text = tessivo::importer::rtfBodyText(streamBytes)) index(*text);
//
// Each takes the bytes of one body stream (whole sectors, possibly padded)
// and answers the text exactly as the decoders produce it, or nothing when
// the bytes are not that kind of body or carry no text. Neither logs.
#pragma once

#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::importer {

// Compressed RTF (an "LZFu" header) decompressed and read as RTF; nothing for
// an empty stream, another header (uncompressed "MELA" bodies included),
// an empty decompression or RTF without text.
std::optional<icu::UnicodeString> rtfBodyText(ByteView streamBytes);

// HTML bytes decoded strictly as UTF-8 (no other character set is tried)
// and rendered as text; nothing for empty or non-UTF-8 bytes or HTML
// without text. zeroTail zero bytes that follow the stream's bytes are
// counted rather than stored.
std::optional<icu::UnicodeString> htmlBodyText(ByteView streamBytes, std::uint64_t zeroTail = 0);

}  // namespace tessivo::importer
