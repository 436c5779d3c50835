#include "tessivo/compound/header.h"

#include <string>

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

void Header::initialize() {
    ident = kSignature;
    masterShift = 9;
    smallShift = 6;
    allocationTableCount = 0;
    directoryEntryStart = 0;
    threshold = compound::kStreamThresholdBytes;
    smallSectorAllocationTableStart = 0;
    smallSectorAllocationTableCount = 0;
    masterSectorAllocationTableStart = 0;
    masterSectorAllocationTableCount = 0;
    masterSectors.fill(compound::kFreeSect);
}

void Header::oleLoad(ByteView data) {
    auto u16 = [&](std::size_t offset) -> std::uint64_t { return readU16le(data, offset).value_or(0); };
    auto u32 = [&](std::size_t offset) -> std::uint64_t { return readU32le(data, offset).value_or(0); };
    for (std::size_t i = 0; i < ident.size(); ++i) ident[i] = i < data.size() ? data[kIdentOffset + i] : 0;
    masterShift = u16(kMasterShiftOffset);
    smallShift = u16(kSmallShiftOffset);
    allocationTableCount = u32(kAllocationTableCountOffset);
    directoryEntryStart = u32(kDirectoryEntryStartOffset);
    threshold = u32(kThresholdOffset);
    smallSectorAllocationTableStart = u32(kSmallTableStartOffset);
    smallSectorAllocationTableCount = u32(kSmallTableCountOffset);
    masterSectorAllocationTableStart = u32(kMasterTableStartOffset);
    masterSectorAllocationTableCount = u32(kMasterTableCountOffset);
    for (std::size_t i = 0; i < masterSectors.size(); ++i) masterSectors[i] = u32(kMasterSectorsOffset + 4 * i);
}

std::optional<Fault> Header::validate() const {
    const auto fault = [](const char* field, std::size_t offset, std::string expected, std::uint64_t found) {
        return Fault{"header", field, offset, std::move(expected), std::to_string(found)};
    };
    if (threshold != compound::kStreamThresholdBytes)
        return fault("threshold", kThresholdOffset, std::to_string(compound::kStreamThresholdBytes), threshold);
    if (allocationTableCount == 0)
        return fault("allocationTableCount", kAllocationTableCountOffset, "at least 1", allocationTableCount);
    if (allocationTableCount >= compound::kHeaderTableSectors + 1) {
        // 127 entries per master sector whatever the sector size.
        const std::uint64_t capacity =
            masterSectorAllocationTableCount * compound::kMasterSectorEntries + compound::kHeaderTableSectors;
        if (allocationTableCount > capacity)
            return fault("allocationTableCount", kAllocationTableCountOffset,
                         "at most " + std::to_string(capacity) + " (109 + 127 per master sector)",
                         allocationTableCount);
    } else if (allocationTableCount < compound::kHeaderTableSectors && masterSectorAllocationTableCount != 0) {
        return fault("masterSectorAllocationTableCount", kMasterTableCountOffset,
                     "0 with " + std::to_string(allocationTableCount) + " table sectors",
                     masterSectorAllocationTableCount);
    }
    if (smallShift > masterShift)
        return fault("smallShift", kSmallShiftOffset, "at most masterShift " + std::to_string(masterShift), smallShift);
    if (masterShift < 7 || masterShift > 30) return fault("masterShift", kMasterShiftOffset, "7 to 30", masterShift);
    return std::nullopt;
}

std::uint8_t Header::getIdent(std::uint64_t index) const {
    if (index >= ident.size()) {
        log("Warning: getIdent called with index %llu (max: 7)", static_cast<unsigned long long>(index));
        return 0;
    }
    return ident[index];
}

std::uint64_t Header::getBBsectors(std::uint64_t index) const {
    if (index >= masterSectors.size()) {
        log("Warning: getBBsectors called with index %llu (max: 108)", static_cast<unsigned long long>(index));
        return compound::kFreeSect;
    }
    return masterSectors[index];
}

}  // namespace tessivo
