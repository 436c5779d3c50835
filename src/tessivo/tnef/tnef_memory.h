// The bounded reader under the TNEF record loop: copies or hands out bytes of
// the stream only when they are all there, and logs every refusal.
//
//   tessivo::TNEFMemory io{bytes.data(), bytes.data(), bytes.size()};
//   std::uint32_t signature = 0;
//   if (tessivo::ReadMemory(&io, sizeof signature, 1, &signature) < 1) return fail();
//   const std::uint8_t* chunk = tessivo::ClaimMemory(&io, 1, size);   // borrowed from bytes
//
// Multi-byte values are copied as they lie in the stream (little-endian).
#pragma once

#include <cstddef>
#include <cstdint>

#include "tessivo/tnef/tnef_data.h"

namespace tessivo {

// Sets the read position back to the start; always 0.
int GetMemory(TNEFMemory* io);

// Copies count elements of size bytes to dest and advances; returns count,
// or 0 (with a log line, except for a zero size or count) when the reader or
// dest is null, the reader is empty, size * count overflows, the position is
// out of place or fewer bytes are left.
std::size_t ReadMemory(TNEFMemory* io, std::size_t size, std::size_t count, void* dest);

// The same checks and messages without a copy (io must not be null): the
// start of the claimed bytes inside the stream, or null.
const std::uint8_t* ClaimMemory(TNEFMemory* io, std::size_t size, std::size_t count);

}  // namespace tessivo
