// Large zero-filled byte buffers, such as a decompressed body padded to the
// size its header declares.
//
//   tessivo::Bytes out = tessivo::zeroedBytes(rawSize);   // throws std::bad_alloc
#pragma once

#include <cstddef>

#include "tessivo/foundation/value.h"

namespace tessivo {

// count zero bytes. Where the system allows it, a buffer of megabytes is
// backed by huge pages: filling 128 MB then costs about sixty page faults
// instead of thirty thousand, which on a virtual machine is most of the time.
Bytes zeroedBytes(std::size_t count);

}  // namespace tessivo
