// A sector allocation table: entry i holds the sector that follows sector i
// in its chain.
//
//   tessivo::SectorAllocTable table;
//   table.setSectorSize(512);
//   table.allocationLoad(tableBytes, tableBytes.size());
//   std::vector<std::uint32_t> chain = table.allocationFollow(firstSector);
//
// A table may be longer than the bytes it was loaded from: the entries past
// them are zeros, computed rather than stored. Not safe for concurrent use:
// a walk borrows the table's visited bitmap.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo {

// The sectors of a chain in order. Most chains are a few sectors long (the
// streams of a message mostly hold a few dozen bytes), so those are kept in
// place and only longer ones allocate.
class SectorChain {
public:
    void push_back(std::uint32_t sector);
    // Makes room for count sectors.
    void reserve(std::size_t count);
    // Forgets the sectors, keeping the room made for them.
    void clear() {
        spilled_.clear();
        size_ = 0;
    }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    std::uint32_t operator[](std::size_t i) const { return begin()[i]; }
    const std::uint32_t* begin() const { return spilled_.empty() ? inPlace_.data() : spilled_.data(); }
    const std::uint32_t* end() const { return begin() + size_; }
    std::vector<std::uint32_t> toVector() const { return {begin(), end()}; }

private:
    static constexpr std::size_t kInPlace = 6;
    std::array<std::uint32_t, kInPlace> inPlace_{};
    // Every sector, once there are more than fit in place.
    std::vector<std::uint32_t> spilled_;
    std::size_t size_ = 0;
};

// One walk along a chain: the sectors in order and how the walk ended.
struct ChainWalk {
    enum class Ending { End, Circular, TooLong };
    SectorChain sectors;
    Ending ending = Ending::End;
    // The repeated sector of a circular chain.
    std::uint64_t repeated = 0;

    // Logs the message of a damaged ending; nothing for a normal one.
    void logEnding() const;
};

class SectorAllocTable {
public:
    SectorAllocTable() { initialize(); }

    // Empties the table, then makes 128 free entries; sector size 4096.
    void initialize();
    void setSectorSize(std::int32_t size) { sectorSize_ = size; }
    std::int32_t sectorSize() const { return sectorSize_; }
    std::uint64_t allocationCount() const { return stored_.size() + zeroTail_; }

    // Shrinks from the end or grows with free entries.
    void allocationResize(std::uint64_t count);
    // Grows the table to index + 1 entries when its count is less than index.
    void allocationSetValue(std::uint32_t value, std::uint64_t index);
    // Replaces the table with length / 4 little-endian words: those of bytes,
    // then zeros where bytes end (a word cut by the end keeps its bytes).
    void allocationLoad(ByteView bytes, std::uint64_t length);
    // The entry at index, or kFreeSect past the end.
    std::uint32_t entry(std::uint64_t index) const;

    // The chain that begins at start, logging a cycle or an overlong chain.
    std::vector<std::uint32_t> allocationFollow(std::uint64_t start) const;
    // The same walk without logging; room is made for the sectors expected
    // (a declared size's worth), up to a small bound.
    ChainWalk walk(std::uint64_t start, std::uint64_t expectedSectors = 0) const;

private:
    // Stores the zero entries so that they can be changed.
    void storeZeroTail();

    std::vector<std::uint32_t> stored_;
    // Zero entries after the stored ones.
    std::uint64_t zeroTail_ = 0;
    std::int32_t sectorSize_ = 4096;
    // One bit per stored entry, set during a walk and cleared after it.
    mutable std::vector<std::uint64_t> visited_;
};

}  // namespace tessivo
