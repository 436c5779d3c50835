#include "tessivo/foundation/zeroed_bytes.h"

#include <cstdint>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

namespace tessivo {

Bytes zeroedBytes(std::size_t count) {
    Bytes bytes;
    bytes.reserve(count);
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t kHugePage = 2 << 20;
    const auto start = reinterpret_cast<std::uintptr_t>(bytes.data());
    const std::uintptr_t begin = (start + kHugePage - 1) & ~(kHugePage - 1);
    const std::uintptr_t end = (start + count) & ~(kHugePage - 1);
    // Only a hint: the buffer is filled the same way when it is refused.
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#endif
    bytes.resize(count);
    return bytes;
}

}  // namespace tessivo
