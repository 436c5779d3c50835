// Fixed limits of the body decoders.
#pragma once

#include <cstddef>

namespace tessivo::body {

// Bytes of the compressed-RTF header: compressed size, raw size, type, CRC.
constexpr std::size_t kRtfHeaderBytes = 16;

// Largest output buffer the decoders allocate. A compound-document stream is
// cut at 16,000,016 bytes, 16,000,000 after the RTF header, and compressed RTF
// expands at most 8 times (17 input bytes to 136), so a larger declared raw
// size cannot come from a real body; it is refused like a failed allocation.
constexpr std::size_t kMaxOutputBytes = 128'000'000;

}  // namespace tessivo::body
