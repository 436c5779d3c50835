// Bytes to text when the stated encoding may be wrong or missing: the chain
// the message readers use for every string property.
//
//   namespace data = tessivo::DataWangersNSDataAdditions;
//   std::optional<icu::UnicodeString> s = data::getStringWithEncoding(bytes, tessivo::encodings::UTF16LE);
//   auto guessed = data::getStringWithUnknownEncoding(bytes);   // marks, UTF-8, UTF-16 sniff, 8-bit fallbacks
//
// nullopt means nothing could be decoded (empty bytes included); an empty
// string is a successful decode of nothing. All functions are reentrant.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/value.h"

namespace tessivo::DataWangersNSDataAdditions {

// Single-byte encodings tried in order when nothing else fits.
inline constexpr std::array<Encoding, 4> kSingleByteFallbacks = {encodings::ASCII, encodings::Windows1252,
                                                                 encodings::ISOLatin1, encodings::MacRoman};

// Decodes with the encoding, falling back to getStringWithUnknownEncoding; a
// non-empty result goes through zapGremlins. functionName and location name
// the caller for diagnostics and do not change the result.
std::optional<icu::UnicodeString> getStringWithEncoding(ByteView data, Encoding encoding,
                                                        const icu::UnicodeString& functionName,
                                                        std::int64_t location);
std::optional<icu::UnicodeString> getStringWithEncoding(ByteView data, Encoding encoding);
// The same for a dictionary value: anything but non-empty bytes gives nullopt.
std::optional<icu::UnicodeString> getStringWithEncoding(const Value* data, Encoding encoding);

// Byte-order marks (UTF-32, UTF-8, UTF-16), then UTF-8, then UTF-16 without a
// mark when most of the first 100 byte pairs are printable ASCII in one byte
// order, then UTF-8 cut before a truncated last sequence, then the
// single-byte fallbacks, then the printable ASCII bytes alone.
std::optional<icu::UnicodeString> getStringWithUnknownEncoding(ByteView data);

}  // namespace tessivo::DataWangersNSDataAdditions
