#include "tessivo/compound/sector_alloc_table.h"

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

namespace {
constexpr std::uint64_t kSectorMarkerFirst = 0xFFFFFFFC;
constexpr std::uint64_t kSectorMarkerLast = 0xFFFFFFFE;
constexpr std::uint64_t kInitialEntries = 128;
}  // namespace

void ChainWalk::logEnding() const {
    if (ending == Ending::Circular)
        log("OLE: Circular reference detected at sector %llu", static_cast<unsigned long long>(repeated));
    else if (ending == Ending::TooLong)
        log("OLE: Sector chain exceeded maximum length (0xFFFFF). Possible corruption or circular reference.");
}

void SectorAllocTable::initialize() {
    entries_.clear();
    visited_.clear();
    allocationResize(kInitialEntries);
    sectorSize_ = 4096;
}

void SectorAllocTable::allocationResize(std::uint64_t count) { entries_.resize(count, kFreeEntry); }

void SectorAllocTable::allocationSetValue(std::uint32_t value, std::uint64_t index) {
    if (entries_.size() < index) allocationResize(index + 1);
    if (index < entries_.size()) entries_[index] = value;
}

void SectorAllocTable::allocationLoad(ByteView bytes, std::uint64_t length) {
    const std::uint64_t count = length / 4;
    entries_.assign(count, 0);
    for (std::uint64_t i = 0; i < count; ++i) entries_[i] = readU32le(bytes, 4 * i).value_or(0);
}

std::vector<std::uint32_t> SectorAllocTable::allocationFollow(std::uint64_t start) const {
    ChainWalk chain = walk(start);
    chain.logEnding();
    return std::move(chain.sectors);
}

ChainWalk SectorAllocTable::walk(std::uint64_t start) const {
    ChainWalk result;
    const std::uint64_t count = entries_.size();
    if (start >= count) return result;
    if (visited_.size() * 64 < count) visited_.assign((count + 63) / 64, 0);

    std::uint64_t current = start;
    while (current < count && !(current >= kSectorMarkerFirst && current <= kSectorMarkerLast)) {
        std::uint64_t& word = visited_[current / 64];
        const std::uint64_t bit = std::uint64_t{1} << (current % 64);
        if (word & bit) {
            result.ending = ChainWalk::Ending::Circular;
            result.repeated = current;
            break;
        }
        word |= bit;
        result.sectors.push_back(static_cast<std::uint32_t>(current));
        if (result.sectors.size() >= compound::kMaxChainLengthSectors) {
            result.ending = ChainWalk::Ending::TooLong;
            break;
        }
        current = entries_[current];
    }
    for (std::uint32_t sector : result.sectors) visited_[sector / 64] &= ~(std::uint64_t{1} << (sector % 64));
    return result;
}

}  // namespace tessivo
