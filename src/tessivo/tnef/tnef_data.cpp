#include "tessivo/tnef/tnef_data.h"

#include <algorithm>

namespace tessivo {
namespace {
// Chunks start small and double, so a stream with little text costs little
// and one with much text costs few allocations.
constexpr std::size_t kFirstChunkBytes = 256;
constexpr std::size_t kLargestChunkBytes = 1 << 20;
}  // namespace

std::span<std::uint8_t> TNEFTextStore::allocate(std::size_t n) {
    if (capacity_ - used_ < n) {
        const std::size_t grown = capacity_ == 0 ? kFirstChunkBytes : std::min(2 * capacity_, kLargestChunkBytes);
        capacity_ = std::max(grown, n);
        chunks_.push_back(std::make_unique<std::uint8_t[]>(capacity_));
        used_ = 0;
    }
    std::uint8_t* start = chunks_.back().get() + used_;
    used_ += n;
    return {start, n};
}

}  // namespace tessivo
