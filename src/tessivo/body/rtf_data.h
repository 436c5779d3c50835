// Byte-buffer operations on RTF bodies: decompression and plain text.
//
//   namespace data = tessivo::DataWangersNSDataAdditions;
//   if (auto rtf = data::getRTFForData(streamBytes))
//       if (auto text = data::stringFromRTFData(*rtf)) index(*text);
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

// getRTFForData without the zero bytes that pad the RTF to the declared raw
// size (see RTFWangers::decodeRTFSourceWithoutPadding). Its plain text is the
// same, since the reader stops at trailing NULs, so the importer reads this.
std::optional<Bytes> getRTFForDataWithoutPadding(ByteView data);

// The plain text an RTF reader shows for the document; nothing when the
// bytes are not RTF.
std::optional<icu::UnicodeString> stringFromRTFData(ByteView data);

// The bytes as text: UTF-8 when valid, else ISO Latin 1 (which takes any bytes).
std::optional<icu::UnicodeString> rtfStringFromData(ByteView data);

// The plain text of the first half of the characters of the UTF-8 bytes
// (length / 2 code units, rounded down); nothing when the bytes are not UTF-8.
std::optional<icu::UnicodeString> rtfAsPlainText(ByteView data);

}  // namespace tessivo::DataWangersNSDataAdditions
