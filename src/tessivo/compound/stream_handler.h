// Reads one stream of an open compound document through its sector chain.
//
//   auto handler = io.streamHandler(u"/__substg1.0_0037001F");
//   std::uint8_t buf[16];
//   std::uint64_t n = handler->read(buf, sizeof buf);
//
// A handler borrows its reader and the reader's directory entry, which must
// outlive it. The declared size only selects small or big sectors: a stream
// read to its end yields whole sectors.
#pragma once

#include <cstdint>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/directory_tree.h"
#include "tessivo/compound/sector_alloc_table.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

class CompoundDocumentIO;

class StreamHandler {
public:
    // Takes the entry's chain (small sectors below the threshold, else big
    // ones) and, with logMessages, logs what opening a stream logs
    // (logOpening). The entry is borrowed (one of io's directory entries).
    bool initializeStreamHandler(const CompoundDocumentIO& io, const DirectoryEntry& entry, bool logMessages = true);
    // What opening the stream logs: a damaged chain, then each small sector of
    // the stream's first block (4096 bytes, at most its declared size) that
    // cannot be located, as reading that block would.
    void logOpening() const;

    std::uint64_t currentPosition() const { return memoryPosition_; }
    // Copies up to maxLength bytes from position along the chain.
    std::uint64_t readAtPosition(std::uint64_t position, std::uint8_t* data, std::uint64_t maxLength) const;
    // Reads at the current position and advances it.
    std::uint64_t read(std::uint8_t* data, std::uint64_t maxLength);

    // Appends the first n bytes of the chain (n at most chainBytes()) to out,
    // without any message.
    void appendPrefix(Bytes& out, std::uint64_t n) const;
    // Bytes the chain holds: its length times the sector size.
    std::uint64_t chainBytes() const { return chain_.sectors.size() * sectorSize(); }
    // The chain's bytes up to the end of its last sector that lies in the
    // data, at least in part; every byte after it reads as zero.
    std::uint64_t bytesInData() const;
    bool usesSmallSectors() const;
    std::uint64_t sectorSize() const;
    const SectorChain& sectorArray() const { return chain_.sectors; }
    // Whether some small sector of the chain cannot be located (never for big sectors).
    bool hasSectorFaults() const { return sectorFaults_; }
    const DirectoryEntry& entry() const { return *entry_; }
    bool fail() const { return fail_; }

private:
    void copyFromSector(std::uint64_t chainIndex, std::uint64_t offset, std::uint8_t* out, std::uint64_t n,
                        bool logFaults) const;

    ChainWalk chain_;
    const CompoundDocumentIO* io_ = nullptr;
    std::uint64_t memoryPosition_ = 0;
    const DirectoryEntry* entry_ = nullptr;
    bool fail_ = false;
    bool sectorFaults_ = false;
};

}  // namespace tessivo
