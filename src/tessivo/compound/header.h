// The 512-byte header of a compound document.
//
//   tessivo::Header h;
//   h.oleLoad(first512Bytes);
//   if (auto fault = h.validate()) refuse(fault->describe());   // "header threshold at byte 56: ..."
//
// Only the fields the reader uses are loaded; the class identifier, versions,
// byte-order mark and directory sector count are ignored.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "tessivo/foundation/fault.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

class Header {
public:
    static constexpr std::array<std::uint8_t, 8> kSignature = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

    // Byte offsets of the fields within the header.
    static constexpr std::size_t kIdentOffset = 0;
    static constexpr std::size_t kMasterShiftOffset = 30;
    static constexpr std::size_t kSmallShiftOffset = 32;
    static constexpr std::size_t kAllocationTableCountOffset = 44;
    static constexpr std::size_t kDirectoryEntryStartOffset = 48;
    static constexpr std::size_t kThresholdOffset = 56;
    static constexpr std::size_t kSmallTableStartOffset = 60;
    static constexpr std::size_t kSmallTableCountOffset = 64;
    static constexpr std::size_t kMasterTableStartOffset = 68;
    static constexpr std::size_t kMasterTableCountOffset = 72;
    static constexpr std::size_t kMasterSectorsOffset = 76;

    Header() { initialize(); }

    // Sets every field to its default: 512-byte big sectors, 64-byte small
    // sectors, threshold 4096, no table sectors.
    void initialize();
    // Fills the fields from the header bytes; bytes past the end of data read as 0.
    void oleLoad(ByteView data);
    // The first validity rule the header breaks, located at its field; nothing
    // for a valid header. The rules: threshold exactly 4096; at least one
    // table sector; a table count of 110 or more fits the master sectors
    // (127 entries each whatever the sector size, plus the header's 109), one
    // of 1 to 108 comes without master sectors; smallShift at most
    // masterShift, which lies in 7..30.
    std::optional<Fault> validate() const;
    bool isValid() const { return !validate(); }

    // Signature byte 0..7; a larger index logs a warning and yields 0.
    std::uint8_t getIdent(std::uint64_t index) const;
    // masterSectors[index] for 0..108; a larger index logs a warning and yields kFreeSect.
    std::uint64_t getBBsectors(std::uint64_t index) const;

    std::array<std::uint8_t, 8> ident;
    std::uint64_t masterShift;
    std::uint64_t smallShift;
    std::uint64_t allocationTableCount;
    std::uint64_t directoryEntryStart;
    std::uint64_t threshold;
    std::uint64_t smallSectorAllocationTableStart;
    std::uint64_t smallSectorAllocationTableCount;
    std::uint64_t masterSectorAllocationTableStart;
    std::uint64_t masterSectorAllocationTableCount;
    std::array<std::uint64_t, 109> masterSectors;
};

}  // namespace tessivo
