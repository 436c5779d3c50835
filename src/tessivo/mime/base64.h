// Byte-level base64 codecs, and the byte-buffer helpers built on them.
//
//   tessivo::Bytes raw = tessivo::NewBase64Decode("TWFu", 4);
//   std::string text = tessivo::NewBase64Encode(raw, false);       // "TWFu"
//   auto strict = tessivo::decodeBase64IgnoringUnknownCharacters("TW Fu");
//
// Two families with different habits, both kept as they are: the NewBase64*
// pair (lenient, serves dataFromBase64String / base64EncodedString) and the
// base64_* pair (fixed-size groups). The strict decoder below is the one that
// text decoding uses: it skips characters outside the alphabet but fails on
// bad padding or a character count that is not a multiple of four.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

// Length value meaning "the input is NUL-terminated; measure it".
inline constexpr std::size_t kBase64NulTerminated = static_cast<std::size_t>(-1);

// Decodes base64 text, skipping every character outside the alphabet ("="
// included). Groups of 2, 3 and 4 values give 1, 2 and 3 bytes. Input that
// ends in skipped characters after a complete group yields one byte fewer
// than was decoded; this is kept on purpose. A null input decodes as empty.
Bytes NewBase64Decode(const char* input, std::size_t length);

// Encodes bytes as padded base64. With separateLines, CR LF follows every
// 64 output characters except the last line. The string's size is the
// output length; c_str() gives the NUL-terminated text.
std::string NewBase64Encode(ByteView input, bool separateLines);

// Encodes every started 3-byte group as 4 characters (missing bytes are zero)
// and then replaces the last character by a single "=", whatever the input
// length; with lineBreaks, LF separates lines of 76 characters. Empty input
// gives "".
std::string base64_encode(ByteView input, bool lineBreaks);

// Decodes NUL-terminated text in groups of 4 characters, 3 bytes per group;
// characters outside the alphabet, "=" included, count as 0, so padding
// yields zero bytes. The result ends in a NUL terminator. Null gives nothing.
std::optional<Bytes> base64_decode(const char* text);

// True when some byte is a control character other than TAB and LF.
bool requires_base64_encoding(ByteView input);

// Decodes base64 as the platform decoder does when told to ignore unknown
// characters: characters outside the alphabet are skipped, "=" is padding.
// Fails when the characters kept are not a whole number of 4-character
// groups, or padding is misplaced (more than two "=", or data after "=").
std::optional<Bytes> decodeBase64IgnoringUnknownCharacters(std::string_view text);

namespace DataWangersNSDataAdditions {

// The bytes of base64 text, through NewBase64Decode.
Bytes dataFromBase64String(const icu::UnicodeString& text);

// The receiver as base64 text in lines of 64 characters, through NewBase64Encode.
icu::UnicodeString base64EncodedString(ByteView receiver);

}  // namespace DataWangersNSDataAdditions

}  // namespace tessivo
