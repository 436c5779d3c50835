// Byte-level quoted-printable decoding.
//
//   std::size_t length = 0;
//   if (auto out = tessivo::quoted_printable_decode(bytes, length, false))
//       use(out->data(), length);  // out holds length bytes and a NUL
//
// Only upper-case hex digits are accepted after "="; "=3d" is malformed.
#pragma once

#include <cstddef>
#include <optional>

#include "tessivo/foundation/value.h"

namespace tessivo {

// Decodes quoted-printable bytes. A NUL byte, a final "=" or "=" followed by
// NUL ends the input. Soft line breaks ("=", optional blanks, a line end)
// produce nothing. With underscoreIsSpace, "_" becomes a space.
// On success the result holds the decoded bytes followed by one NUL and
// outputLength is set to the decoded byte count (without the NUL); malformed
// input (a byte after "=" that is neither an upper-case hex digit, a blank
// nor a line end, a lone hex digit, blanks running to the end) gives nothing.
std::optional<Bytes> quoted_printable_decode(ByteView input, std::size_t& outputLength, bool underscoreIsSpace);

}  // namespace tessivo
