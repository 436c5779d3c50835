#include "tessivo/compound/compound_document_io.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>

#include "tessivo/compound/limits.h"
#include "tessivo/compound/stream_handler.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

namespace {
constexpr std::uint64_t kInvalidSmallSectorValue = 0x80000000;
}  // namespace

void SmallSectorFault::log() const {
    if (kind == Kind::OutOfBounds)
        tessivo::log("Error: Sector index %llu out of bounds (max: %lu)", static_cast<unsigned long long>(value),
                     static_cast<unsigned long>(max));
    else
        tessivo::log("Error: Invalid sector value: %llu", static_cast<unsigned long long>(value));
}

CompoundDocumentIO::CompoundDocumentIO(ByteView data) : data_(data) { initializeStream(); }

CompoundDocumentIO::CompoundDocumentIO(Bytes data) : owned_(std::move(data)), data_(owned_) { initializeStream(); }

void CompoundDocumentIO::initializeStream() {
    result_ = kCompoundOpened;
    opened_ = false;
    filesize_ = 0;
    header_.initialize();
    directoryTree_.emptyAllocationTable();
    masterSectorAllocationTable_.initialize();
    smallSectorAllocationTable_.initialize();
    masterSectorAllocationTable_.setSectorSize(1 << header_.masterShift);
    smallSectorAllocationTable_.setSectorSize(1 << header_.smallShift);
}

bool CompoundDocumentIO::open() {
    if (opened_) closeCompoundDocument();
    const bool loaded = compoundDocumentLoaded();
    return loaded ? result_ == kCompoundOpened : result_ == kCompoundInvalid;
}

bool CompoundDocumentIO::compoundDocumentLoaded() {
    result_ = kCompoundTooShort;
    filesize_ = data_.size();
    if (filesize_ < compound::kHeaderBytes) return false;
    header_.oleLoad(data_.first(compound::kHeaderBytes));

    result_ = kCompoundBadSignature;
    for (std::size_t i = 0; i < Header::kSignature.size(); ++i)
        if (header_.getIdent(i) != Header::kSignature[i]) return true;

    result_ = kCompoundInvalid;
    if (!header_.isValid() || header_.threshold != compound::kStreamThresholdBytes) return true;

    masterSectorAllocationTable_.setSectorSize(1 << header_.masterShift);
    smallSectorAllocationTable_.setSectorSize(1 << header_.smallShift);
    bigSectorData_.clear();

    // A table that claims more sectors than the data hold cannot be read without repeats.
    const auto tableBytes = checkedMul<std::uint64_t>(header_.allocationTableCount, bigSectorSize());
    if (!tableBytes || *tableBytes > filesize_) return false;
    const std::vector<std::uint32_t> blocks = getSectorBlocks(true);
    bool error = false;
    auto table = readChain(blocks, error);
    if (!table || error) return false;
    masterSectorAllocationTable_.allocationLoad(*table, table->size());

    auto smallTable = readChain(masterSectorAllocationTable_.allocationFollow(header_.smallSectorAllocationTableStart),
                                error);
    if (!smallTable) return false;
    smallSectorAllocationTable_.allocationLoad(*smallTable, smallTable->size());

    auto directory = readChain(masterSectorAllocationTable_.allocationFollow(header_.directoryEntryStart), error);
    if (!directory || !directoryTree_.loadEntries(*directory, directory->size())) return false;

    smallSectorArray_ = masterSectorAllocationTable_.allocationFollow(
        readU32le(*directory, DirectoryTree::kStartOffset).value_or(0));

    result_ = kCompoundOpened;
    opened_ = true;
    return true;
}

std::optional<Bytes> CompoundDocumentIO::readChain(const std::vector<std::uint32_t>& chain, bool& error) const {
    const std::uint64_t size = chain.size() * bigSectorSize();
    if (size > filesize_) return std::nullopt;
    Bytes buffer(size, 0);
    loadSectors(chain, buffer.data(), size, error);
    return buffer;
}

std::uint32_t CompoundDocumentIO::firstWordOfSector(std::uint64_t sector) const {
    std::uint8_t word[4];
    copyBigSector(sector, 0, word, sizeof word);
    return loadU32le(word);
}

std::vector<std::uint32_t> CompoundDocumentIO::getSectorBlocks(bool reload) {
    const std::uint64_t count = header_.allocationTableCount;
    std::vector<std::uint32_t> list;
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(compound::kHeaderTableSectors, count); ++i)
        list.push_back(static_cast<std::uint32_t>(header_.masterSectors[i]));
    if (!reload) {
        for (std::size_t i = 0; list.size() < count && i < bigSectorData_.size(); ++i)
            list.push_back(bigSectorData_[i]);
        return list;
    }

    bigSectorData_.clear();
    if (count < compound::kHeaderTableSectors + 1 || header_.masterSectorAllocationTableCount == 0) return list;

    const std::uint64_t sectorSize = bigSectorSize();
    const std::uint64_t cacheLimit = count - compound::kHeaderTableSectors;
    Bytes sector(sectorSize);
    std::uint64_t p = compound::kHeaderTableSectors;
    const std::uint64_t masterCount = header_.masterSectorAllocationTableCount;
    for (std::uint64_t k = 0; k < masterCount; ++k) {
        std::uint64_t toRead = header_.masterSectorAllocationTableStart;
        if (k > 0) {
            // The last word of the previous master sector links to the next one.
            --p;
            toRead = list[p];
            if (p == count - 1) {
                // The table is complete: every further master sector only puts
                // its first word into the last entry. That walk repeats itself
                // within as many steps as the data have sectors, so skip its cycles.
                std::uint64_t steps = masterCount - k;
                std::uint64_t value = toRead;
                std::unordered_map<std::uint64_t, std::uint64_t> seen;
                for (std::uint64_t step = 0; step < steps; ++step) {
                    if (auto it = seen.find(value); it != seen.end()) {
                        const std::uint64_t rest = (steps - step) % (step - it->second);
                        for (std::uint64_t i = 0; i < rest; ++i) value = firstWordOfSector(value);
                        break;
                    }
                    seen.emplace(value, step);
                    value = firstWordOfSector(value);
                }
                list[p] = static_cast<std::uint32_t>(value);
                break;
            }
        }
        copyBigSector(toRead, 0, sector.data(), sectorSize);
        for (std::uint64_t w = 0; w + 4 <= sectorSize && p < count; w += 4, ++p) {
            const std::uint32_t word = loadU32le(sector.data() + w);
            if (p == list.size())
                list.push_back(word);
            else
                list[p] = word;
            if (bigSectorData_.size() < cacheLimit) bigSectorData_.push_back(word);
        }
    }
    return list;
}

bool CompoundDocumentIO::dataIntoBuffer(std::uint8_t* buffer, std::uint64_t offset, std::uint64_t length) const {
    if (offset > data_.size() || length > data_.size() - offset) return false;
    if (length > 0) std::memcpy(buffer, data_.data() + offset, length);
    return true;
}

std::uint64_t CompoundDocumentIO::loadSectors(std::span<const std::uint32_t> sectors, std::uint8_t* buffer,
                                              std::uint64_t maxLength, bool& error) const {
    error = false;
    if (!buffer || maxLength == 0 || sectors.empty()) return 0;
    const std::uint64_t sectorSize = bigSectorSize();
    std::uint64_t copied = 0;
    for (std::uint32_t s : sectors) {
        if (copied >= maxLength) break;
        // The header fills the first sector slot.
        const std::uint64_t offset = (static_cast<std::uint64_t>(s) + 1) * sectorSize;
        if (offset >= data_.size()) {
            error = true;
            return 0;
        }
        const std::uint64_t n = std::min({sectorSize, maxLength - copied, data_.size() - offset});
        dataIntoBuffer(buffer + copied, offset, n);
        copied += n;
    }
    return copied;
}

std::uint64_t CompoundDocumentIO::loadSector(std::uint64_t sector, std::uint8_t* buffer, std::uint64_t maxLength) const {
    if (!buffer || sector > 0xFFFFFFFF) return 0;
    const std::uint32_t one[1] = {static_cast<std::uint32_t>(sector)};
    bool error = false;
    return loadSectors(one, buffer, maxLength, error);
}

std::optional<SmallSectorFault> CompoundDocumentIO::smallSectorFault(std::uint64_t sector) const {
    const std::uint64_t index = sector * smallSectorSize() / bigSectorSize();
    if (index >= smallSectorArray_.size())
        return SmallSectorFault{SmallSectorFault::Kind::OutOfBounds, index, smallSectorArray_.size()};
    if (smallSectorArray_[index] >= kInvalidSmallSectorValue)
        return SmallSectorFault{SmallSectorFault::Kind::InvalidValue, smallSectorArray_[index], 0};
    return std::nullopt;
}

void CompoundDocumentIO::copyBigSector(std::uint64_t sector, std::uint64_t offset, std::uint8_t* out,
                                       std::uint64_t n) const {
    std::memset(out, 0, n);
    const std::uint64_t start = (sector + 1) * bigSectorSize() + offset;
    if (start < data_.size()) std::memcpy(out, data_.data() + start, std::min(n, data_.size() - start));
}

void CompoundDocumentIO::copySmallSector(std::uint64_t sector, std::uint64_t offset, std::uint8_t* out,
                                         std::uint64_t n) const {
    if (smallSectorFault(sector)) {
        std::memset(out, 0, n);
        return;
    }
    const std::uint64_t position = sector * smallSectorSize();
    copyBigSector(smallSectorArray_[position / bigSectorSize()], position % bigSectorSize() + offset, out, n);
}

std::uint64_t CompoundDocumentIO::loadSmallSectors(std::span<const std::uint32_t> sectors, std::uint8_t* buffer,
                                                   std::uint64_t maxLength) const {
    if (!buffer || sectors.empty() || maxLength == 0) return 0;
    std::uint64_t copied = 0;
    for (std::uint32_t t : sectors) {
        if (copied >= maxLength) break;
        if (auto fault = smallSectorFault(t)) {
            fault->log();
            break;
        }
        const std::uint64_t n = std::min(smallSectorSize(), maxLength - copied);
        copySmallSector(t, 0, buffer + copied, n);
        copied += n;
    }
    return copied;
}

std::uint64_t CompoundDocumentIO::loadSmallSector(std::uint64_t sector, std::uint8_t* buffer,
                                                  std::uint64_t maxLength) const {
    if (sector > 0xFFFFFFFF) return 0;
    const std::uint32_t one[1] = {static_cast<std::uint32_t>(sector)};
    return loadSmallSectors(one, buffer, maxLength);
}

std::unique_ptr<StreamHandler> CompoundDocumentIO::streamHandler(const icu::UnicodeString& path) const {
    if (path.isEmpty()) return nullptr;
    const DirectoryEntry* entry = directoryTree_.findEntry(path);
    if (!entry || entry->dir) return nullptr;
    auto handler = std::make_unique<StreamHandler>();
    if (!handler->initializeStreamHandler(*this, *entry)) return nullptr;
    return handler;
}

}  // namespace tessivo
