#include "tessivo/compound/stream_handler.h"

#include <algorithm>
#include <optional>

#include "tessivo/compound/compound_document_io.h"
#include "tessivo/compound/limits.h"

namespace tessivo {

bool StreamHandler::initializeStreamHandler(const CompoundDocumentIO& io, const DirectoryEntry& entry,
                                            bool logMessages) {
    io_ = &io;
    entry_ = &entry;
    const SectorAllocTable& table =
        usesSmallSectors() ? io.smallSectorAllocationTable() : io.masterSectorAllocationTable();
    const auto size = static_cast<std::uint64_t>(table.sectorSize());
    chain_ = table.walk(entry.start, (entry.size + size - 1) / size);
    memoryPosition_ = 0;
    // Found once: the opening messages and every copy of the chain need it.
    sectorFaults_ = usesSmallSectors() && std::any_of(chain_.sectors.begin(), chain_.sectors.end(), [&](std::uint32_t s) {
                        return io.smallSectorFault(s).has_value();
                    });
    if (logMessages) logOpening();
    return true;
}

void StreamHandler::logOpening() const {
    chain_.logEnding();
    if (!sectorFaults_) return;
    // The first block ends at the declared size, which is below the threshold here.
    const std::uint64_t block = std::min<std::uint64_t>(compound::kStreamFirstBlockBytes, entry_->size);
    const std::uint64_t size = sectorSize();
    for (std::uint64_t i = 0; i < chain_.sectors.size() && i * size < block; ++i)
        if (auto fault = io_->smallSectorFault(chain_.sectors[i])) fault->log();
}

bool StreamHandler::usesSmallSectors() const { return entry_->size < io_->header().threshold; }

std::uint64_t StreamHandler::sectorSize() const {
    return usesSmallSectors() ? io_->smallSectorSize() : io_->bigSectorSize();
}

void StreamHandler::copyFromSector(std::uint64_t chainIndex, std::uint64_t offset, std::uint8_t* out,
                                   std::uint64_t n, bool logFaults) const {
    const std::uint32_t sector = chain_.sectors[chainIndex];
    if (!usesSmallSectors()) {
        io_->copyBigSector(sector, offset, out, n);
        return;
    }
    if (logFaults)
        if (auto fault = io_->smallSectorFault(sector)) fault->log();
    io_->copySmallSector(sector, offset, out, n);
}

std::uint64_t StreamHandler::readAtPosition(std::uint64_t position, std::uint8_t* data,
                                            std::uint64_t maxLength) const {
    if (!data || maxLength == 0) return 0;
    const std::uint64_t size = sectorSize();
    std::uint64_t index = position / size;
    if (index >= chain_.sectors.size()) return 0;
    std::uint64_t offset = position % size;
    std::uint64_t copied = 0;
    while (copied < maxLength && index < chain_.sectors.size()) {
        const std::uint64_t n = std::min(size - offset, maxLength - copied);
        copyFromSector(index, offset, data + copied, n, true);
        copied += n;
        offset = 0;
        ++index;
    }
    return copied;
}

std::uint64_t StreamHandler::read(std::uint8_t* data, std::uint64_t maxLength) {
    const std::uint64_t n = readAtPosition(memoryPosition_, data, maxLength);
    memoryPosition_ += n;
    return n;
}

std::uint64_t StreamHandler::bytesInData() const {
    const std::uint64_t size = sectorSize();
    const std::uint64_t dataSize = io_->data().size();
    for (std::size_t i = chain_.sectors.size(); i > 0; --i) {
        std::uint64_t start = (static_cast<std::uint64_t>(chain_.sectors[i - 1]) + 1) * size;
        if (usesSmallSectors()) {
            const std::uint64_t position = chain_.sectors[i - 1] * size;
            if (io_->smallSectorFault(chain_.sectors[i - 1])) continue;
            const std::uint64_t bigSize = io_->bigSectorSize();
            start = (std::uint64_t{io_->smallSectorArray()[position / bigSize]} + 1) * bigSize + position % bigSize;
        }
        if (start < dataSize) return i * size;
    }
    return 0;
}

void StreamHandler::appendPrefix(Bytes& out, std::uint64_t n) const {
    const std::uint64_t size = sectorSize();
    const bool small = usesSmallSectors();
    out.reserve(out.size() + n);
    // Sectors that follow each other in the data are appended as one run.
    std::optional<std::uint64_t> runStart;
    std::uint64_t runBytes = 0;
    for (std::size_t index = 0; n > 0; ++index) {
        const std::uint32_t sector = chain_.sectors[index];
        const std::optional<std::uint64_t> start =
            small ? io_->smallSectorOffset(sector) : std::optional<std::uint64_t>((sector + std::uint64_t{1}) * size);
        const std::uint64_t take = std::min(size, n);
        if (runStart && start && *start == *runStart + runBytes) {
            runBytes += take;
        } else {
            io_->appendData(out, runStart, runBytes);
            runStart = start;
            runBytes = take;
        }
        n -= take;
    }
    io_->appendData(out, runStart, runBytes);
}

}  // namespace tessivo
