#include "tessivo/compound/compound_document_io.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_map>

#include "tessivo/compound/limits.h"
#include "tessivo/compound/stream_handler.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

namespace {

std::string hexBytes(ByteView bytes) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (std::uint8_t b : bytes) {
        if (!out.empty()) out += ' ';
        out += kHex[b >> 4];
        out += kHex[b & 15];
    }
    return out;
}

std::string bytesText(std::uint64_t n) { return std::to_string(n) + " bytes"; }

}  // namespace

const char* compoundResultReason(int resultCode) {
    switch (resultCode) {
    case kCompoundTooShort: return "too short for a compound document (fewer than 512 bytes)";
    case kCompoundBadSignature: return "wrong signature: not a compound document";
    case kCompoundInvalid: return "invalid header or damaged structure";
    case kCompoundNoComponent: return "empty file: not a compound document";
    default: return "cannot be opened as a compound document";
    }
}

std::string compoundOpenFailure(int resultCode, const Fault& fault) {
    return std::string(compoundResultReason(resultCode)) + " (" + fault.describe() + ")";
}

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
    fault_.reset();
    result_ = kCompoundTooShort;
    filesize_ = data_.size();
    if (filesize_ < compound::kHeaderBytes) {
        refuse({"header", "length", 0, "at least 512 bytes", bytesText(filesize_)});
        return false;
    }
    header_.oleLoad(data_.first(compound::kHeaderBytes));

    result_ = kCompoundBadSignature;
    for (std::size_t i = 0; i < Header::kSignature.size(); ++i) {
        if (header_.getIdent(i) != Header::kSignature[i]) {
            refuse({"header", "signature", Header::kIdentOffset, hexBytes(Header::kSignature),
                    hexBytes(data_.first(Header::kSignature.size()))});
            return true;
        }
    }

    result_ = kCompoundInvalid;
    if (auto invalid = header_.validate()) {
        refuse(std::move(*invalid));
        return true;
    }

    const std::uint64_t sectorSize = std::uint64_t{1} << header_.masterShift;
    masterSectorAllocationTable_.setSectorSize(static_cast<std::int32_t>(sectorSize));
    smallSectorAllocationTable_.setSectorSize(1 << header_.smallShift);
    bigSectorData_.clear();

    // Tables read when opening may hold no more bytes than the data (see limits.h).
    std::uint64_t budget = filesize_;
    // Sectors that start within the data, after the header's slot.
    const std::uint64_t sectorsInData = (filesize_ + sectorSize - 1) / sectorSize - 1;
    const std::uint64_t tableCount = header_.allocationTableCount;
    if (tableCount > sectorsInData) {
        refuse({"header", "allocationTableCount", Header::kAllocationTableCountOffset,
                "at most the " + std::to_string(sectorsInData) + " sectors of " + bytesText(sectorSize) +
                    " that start within the data",
                std::to_string(tableCount)});
        return false;
    }
    std::vector<std::uint64_t> offsets;
    const std::vector<std::uint32_t> blocks = sectorBlocks(true, &offsets);
    std::optional<std::size_t> missing;
    const Bytes table = loadedPrefix(blocks, &missing);
    if (missing) {
        refuse({"allocation table", "sector list entry " + std::to_string(*missing), offsets[*missing],
                "a sector that starts within the data (below " + std::to_string(sectorsInData) + ")",
                std::to_string(blocks[*missing])});
        return false;
    }
    masterSectorAllocationTable_.allocationLoad(table, tableCount * sectorSize);
    budget -= table.size();

    // The small-sector table and the directory: a read error is not checked;
    // what lies past the data reads as zeros. Each yields its chain and the
    // bytes of it that lie in the data, or nothing when those would pass the budget.
    const auto readOnOpen = [&](std::uint64_t start, const char* structure, std::size_t startOffset)
        -> std::optional<std::pair<std::vector<std::uint32_t>, Bytes>> {
        std::vector<std::uint32_t> chain = masterSectorAllocationTable_.allocationFollow(start);
        Bytes bytes = loadedPrefix(chain, nullptr);
        if (bytes.size() > budget) {
            refuse({structure, "sector chain", startOffset,
                    "at most " + bytesText(budget) + " in sectors that no other table holds", bytesText(bytes.size())});
            return std::nullopt;
        }
        budget -= bytes.size();
        return std::pair{std::move(chain), std::move(bytes)};
    };
    const auto smallTable =
        readOnOpen(header_.smallSectorAllocationTableStart, "small-sector table", Header::kSmallTableStartOffset);
    if (!smallTable) return false;
    smallSectorAllocationTable_.allocationLoad(smallTable->second, smallTable->first.size() * sectorSize);
    const auto directoryRead = readOnOpen(header_.directoryEntryStart, "directory", Header::kDirectoryEntryStartOffset);
    if (!directoryRead) return false;
    const auto& [directoryChain, directory] = *directoryRead;
    if (!directoryTree_.loadEntries(directory, directoryChain.size() * sectorSize)) {
        refuse({"header", "directoryEntryStart", Header::kDirectoryEntryStartOffset,
                "a sector of the big-sector table (below " +
                    std::to_string(masterSectorAllocationTable_.allocationCount()) + ")",
                std::to_string(header_.directoryEntryStart)});
        return false;
    }

    smallSectorArray_ = masterSectorAllocationTable_.allocationFollow(
        readU32le(directory, DirectoryTree::kStartOffset).value_or(0));

    result_ = kCompoundOpened;
    opened_ = true;
    return true;
}

Bytes CompoundDocumentIO::loadedPrefix(std::span<const std::uint32_t> chain,
                                       std::optional<std::size_t>* firstMissing) const {
    const std::uint64_t sectorSize = bigSectorSize();
    Bytes out;
    out.reserve(std::min<std::uint64_t>(chain.size() * sectorSize, data_.size()));
    for (std::size_t i = 0; i < chain.size(); ++i) {
        // The header fills the first sector slot.
        const std::uint64_t offset = (static_cast<std::uint64_t>(chain[i]) + 1) * sectorSize;
        if (offset >= data_.size()) {
            if (firstMissing) *firstMissing = i;
            break;
        }
        const std::uint64_t n = std::min(sectorSize, data_.size() - offset);
        out.insert(out.end(), data_.begin() + static_cast<std::ptrdiff_t>(offset),
                   data_.begin() + static_cast<std::ptrdiff_t>(offset + n));
    }
    return out;
}

std::uint32_t CompoundDocumentIO::firstWordOfSector(std::uint64_t sector) const {
    std::uint8_t word[4];
    copyBigSector(sector, 0, word, sizeof word);
    return loadU32le(word);
}

std::vector<std::uint32_t> CompoundDocumentIO::getSectorBlocks(bool reload) { return sectorBlocks(reload, nullptr); }

std::vector<std::uint32_t> CompoundDocumentIO::sectorBlocks(bool reload, std::vector<std::uint64_t>* offsets) {
    const std::uint64_t count = header_.allocationTableCount;
    std::vector<std::uint32_t> list;
    const auto put = [&](std::uint64_t p, std::uint32_t word, std::uint64_t offset) {
        if (p == list.size()) {
            list.push_back(word);
            if (offsets) offsets->push_back(offset);
        } else {
            list[p] = word;
            if (offsets) (*offsets)[p] = offset;
        }
    };
    for (std::uint64_t i = 0; i < std::min<std::uint64_t>(compound::kHeaderTableSectors, count); ++i)
        put(i, static_cast<std::uint32_t>(header_.masterSectors[i]), Header::kMasterSectorsOffset + 4 * i);
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
                const std::uint64_t steps = masterCount - k;
                std::uint64_t value = toRead;
                std::uint64_t source = 0;  // the sector whose first word value is
                const auto step = [&] {
                    source = value;
                    value = firstWordOfSector(value);
                };
                std::unordered_map<std::uint64_t, std::uint64_t> seen;
                for (std::uint64_t i = 0; i < steps; ++i) {
                    if (auto it = seen.find(value); it != seen.end()) {
                        for (std::uint64_t rest = (steps - i) % (i - it->second); rest > 0; --rest) step();
                        break;
                    }
                    seen.emplace(value, i);
                    step();
                }
                put(p, static_cast<std::uint32_t>(value), (source + 1) * sectorSize);
                break;
            }
        }
        copyBigSector(toRead, 0, sector.data(), sectorSize);
        for (std::uint64_t w = 0; w + 4 <= sectorSize && p < count; w += 4, ++p) {
            const std::uint32_t word = loadU32le(sector.data() + w);
            put(p, word, (toRead + 1) * sectorSize + w);
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
    if (!buffer || sector > UINT32_MAX) return 0;
    const std::uint32_t one[1] = {static_cast<std::uint32_t>(sector)};
    bool error = false;
    return loadSectors(one, buffer, maxLength, error);
}

std::optional<SmallSectorFault> CompoundDocumentIO::smallSectorFault(std::uint64_t sector) const {
    // Sector sizes are powers of two: shifts, not divisions.
    const std::uint64_t index = (sector << smallShift()) >> bigShift();
    if (index >= smallSectorArray_.size())
        return SmallSectorFault{SmallSectorFault::Kind::OutOfBounds, index, smallSectorArray_.size()};
    if (smallSectorArray_[index] >= compound::kInvalidSmallAreaSector)
        return SmallSectorFault{SmallSectorFault::Kind::InvalidValue, smallSectorArray_[index], 0};
    return std::nullopt;
}

void CompoundDocumentIO::copyData(std::uint64_t start, std::uint8_t* out, std::uint64_t n) const {
    std::memset(out, 0, n);
    if (start < data_.size()) std::memcpy(out, data_.data() + start, std::min(n, data_.size() - start));
}

void CompoundDocumentIO::copyBigSector(std::uint64_t sector, std::uint64_t offset, std::uint8_t* out,
                                       std::uint64_t n) const {
    copyData((sector + 1) * bigSectorSize() + offset, out, n);
}

std::optional<std::uint64_t> CompoundDocumentIO::smallSectorOffset(std::uint64_t sector) const {
    if (smallSectorFault(sector)) return std::nullopt;
    const std::uint64_t position = sector << smallShift();
    return (std::uint64_t{smallSectorArray_[position >> bigShift()]} + 1) * bigSectorSize() +
           (position & (bigSectorSize() - 1));
}

void CompoundDocumentIO::appendData(Bytes& out, std::optional<std::uint64_t> offset, std::uint64_t n) const {
    const std::uint64_t available = offset && *offset < data_.size() ? std::min(n, data_.size() - *offset) : 0;
    if (available > 0) out.insert(out.end(), data_.begin() + *offset, data_.begin() + *offset + available);
    out.resize(out.size() + (n - available));
}

void CompoundDocumentIO::copySmallSector(std::uint64_t sector, std::uint64_t offset, std::uint8_t* out,
                                         std::uint64_t n) const {
    if (const auto start = smallSectorOffset(sector))
        copyData(*start + offset, out, n);
    else
        std::memset(out, 0, n);
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
    if (sector > UINT32_MAX) return 0;
    const std::uint32_t one[1] = {static_cast<std::uint32_t>(sector)};
    return loadSmallSectors(one, buffer, maxLength);
}

std::unique_ptr<StreamHandler> CompoundDocumentIO::streamHandler(const icu::UnicodeString& path) const {
    if (path.isEmpty()) return nullptr;
    const DirectoryEntry* entry = directoryTree_.findEntry(path);
    if (!entry || entry->dir) return nullptr;
    return streamHandler(*entry);
}

std::unique_ptr<StreamHandler> CompoundDocumentIO::streamHandler(const DirectoryEntry& entry, bool logMessages) const {
    auto handler = std::make_unique<StreamHandler>();
    if (!handler->initializeStreamHandler(*this, entry, logMessages)) return nullptr;
    return handler;
}

}  // namespace tessivo
