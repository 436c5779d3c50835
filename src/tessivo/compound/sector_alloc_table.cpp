#include "tessivo/compound/sector_alloc_table.h"

#include <algorithm>

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

namespace {
constexpr std::uint64_t kInitialEntries = 128;
// Sectors a walk makes room for at most before it meets them.
constexpr std::uint64_t kReservedSectorsMost = 1024;
// Sectors a walk follows before it marks the sectors it meets (see walk).
constexpr std::uint64_t kUnmarkedSectorsMost = 64;
static_assert(kUnmarkedSectorsMost < compound::kMaxChainLengthSectors);
}  // namespace

void SectorChain::push_back(std::uint32_t sector) {
    if (size_ < kInPlace) {
        inPlace_[size_++] = sector;
        return;
    }
    if (spilled_.empty()) {
        spilled_.reserve(2 * kInPlace);
        spilled_.assign(inPlace_.begin(), inPlace_.end());
    }
    spilled_.push_back(sector);
    ++size_;
}

void SectorChain::reserve(std::size_t count) {
    // Only room: the sectors move out of place when the seventh is added.
    if (count > kInPlace) spilled_.reserve(count);
}

void ChainWalk::logEnding() const {
    if (ending == Ending::Circular)
        log("OLE: Circular reference detected at sector %llu", static_cast<unsigned long long>(repeated));
    else if (ending == Ending::TooLong)
        log("OLE: Sector chain exceeded maximum length (0xFFFFF). Possible corruption or circular reference.");
}

void SectorAllocTable::initialize() {
    stored_.clear();
    zeroTail_ = 0;
    visited_.clear();
    allocationResize(kInitialEntries);
    sectorSize_ = 4096;
}

void SectorAllocTable::storeZeroTail() {
    stored_.resize(stored_.size() + zeroTail_, 0);
    zeroTail_ = 0;
}

void SectorAllocTable::allocationResize(std::uint64_t count) {
    if (count > stored_.size()) storeZeroTail();
    stored_.resize(count, compound::kFreeSect);
    zeroTail_ = 0;
}

void SectorAllocTable::allocationSetValue(std::uint32_t value, std::uint64_t index) {
    if (allocationCount() < index) allocationResize(index + 1);
    if (index >= allocationCount()) return;
    if (index >= stored_.size()) storeZeroTail();
    stored_[index] = value;
}

void SectorAllocTable::allocationLoad(ByteView bytes, std::uint64_t length) {
    const std::uint64_t count = length / 4;
    // Whole words of bytes, and a word cut by their end.
    const std::uint64_t present = std::min<std::uint64_t>(count, (bytes.size() + 3) / 4);
    stored_.resize(present);
    const std::uint64_t whole = std::min<std::uint64_t>(present, bytes.size() / 4);
    for (std::uint64_t i = 0; i < whole; ++i) stored_[i] = loadU32le(bytes.data() + 4 * i);
    if (whole < present) {
        std::uint8_t cut[4] = {};
        std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(4 * whole), bytes.end(), cut);
        stored_[whole] = loadU32le(cut);
    }
    zeroTail_ = count - present;
}

std::uint32_t SectorAllocTable::entry(std::uint64_t index) const {
    if (index < stored_.size()) return stored_[index];
    return index < allocationCount() ? 0 : compound::kFreeSect;
}

std::vector<std::uint32_t> SectorAllocTable::allocationFollow(std::uint64_t start) const {
    const ChainWalk chain = walk(start);
    chain.logEnding();
    return chain.sectors.toVector();
}

ChainWalk SectorAllocTable::walk(std::uint64_t start, std::uint64_t expectedSectors) const {
    ChainWalk result;
    const std::uint64_t count = allocationCount();
    if (start >= count) return result;
    // A declared size may be anything: longer chains grow as they are met.
    result.sectors.reserve(std::min<std::uint64_t>(expectedSectors, kReservedSectorsMost));

    // Each sector has one successor, so a walk that meets a sector twice
    // goes round for ever: a chain that ends within 64 steps (most streams'
    // chains) repeats nothing, and only a longer one is walked again,
    // marking the sectors it meets to find the first repeat. A damaged
    // chain that loops costs at most those 64 steps more.
    std::uint64_t current = start;
    while (current < count && !compound::endsChain(current) && result.sectors.size() < kUnmarkedSectorsMost) {
        result.sectors.push_back(static_cast<std::uint32_t>(current));
        current = entry(current);
    }
    if (current >= count || compound::endsChain(current)) return result;
    result.sectors.clear();

    const std::uint64_t stored = stored_.size();
    if (visited_.size() * 64 < stored) visited_.assign((stored + 63) / 64, 0);
    // Every zero entry leads to sector 0, so a walk meets at most two of them
    // (one before sector 0 and one after); they are kept in a short list.
    std::vector<std::uint64_t> zeroEntriesVisited;
    const auto visit = [&](std::uint64_t sector) {
        if (sector >= stored) {
            if (std::find(zeroEntriesVisited.begin(), zeroEntriesVisited.end(), sector) != zeroEntriesVisited.end())
                return false;
            zeroEntriesVisited.push_back(sector);
            return true;
        }
        std::uint64_t& word = visited_[sector / 64];
        const std::uint64_t bit = std::uint64_t{1} << (sector % 64);
        if (word & bit) return false;
        word |= bit;
        return true;
    };

    current = start;
    while (current < count && !compound::endsChain(current)) {
        if (!visit(current)) {
            result.ending = ChainWalk::Ending::Circular;
            result.repeated = current;
            break;
        }
        result.sectors.push_back(static_cast<std::uint32_t>(current));
        if (result.sectors.size() >= compound::kMaxChainLengthSectors) {
            result.ending = ChainWalk::Ending::TooLong;
            break;
        }
        current = entry(current);
    }
    for (std::uint32_t sector : result.sectors)
        if (sector < stored) visited_[sector / 64] &= ~(std::uint64_t{1} << (sector % 64));
    return result;
}

}  // namespace tessivo
