// The reader of a compound document held in memory: it loads the header, the
// two sector allocation tables and the directory when opened, and copies big
// and small sectors.
//
//   tessivo::CompoundDocumentIO io(bytes);        // borrows bytes
//   io.open();
//   if (io.result() == 0) { auto handler = io.streamHandler(u"/__substg1.0_1000001F"); ... }
//   else report(compoundOpenFailure(io.result(), *io.fault()));
//
// Sectors past the end of the data read as zeros: a truncated document opens
// as far as its big-sector table lies in the data, and only a directory that
// yields no entry at all refuses it. The reader borrows the bytes it is given
// (they must outlive it) unless it is given ownership of them. After
// opening, every structure is read-only.
#pragma once

#include <bit>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/directory_tree.h"
#include "tessivo/compound/header.h"
#include "tessivo/compound/sector_alloc_table.h"
#include "tessivo/foundation/fault.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

class StreamHandler;

// Result codes of opening a compound document.
enum CompoundResult : int {
    kCompoundOpened = 0,
    kCompoundTooShort = 1,
    kCompoundBadSignature = 2,
    kCompoundInvalid = 3,
    kCompoundNoComponent = 4,
};

// The meaning of a result code other than 0, in words
// ("invalid header or damaged structure").
const char* compoundResultReason(int resultCode);
// Why a document did not open, in words: the meaning of its result code and
// the located fault, as in "invalid header or damaged structure (header
// threshold at byte 56: expected 4096, found 2048)".
std::string compoundOpenFailure(int resultCode, const Fault& fault);

// Why a small sector cannot be read.
struct SmallSectorFault {
    enum class Kind { OutOfBounds, InvalidValue };
    Kind kind;
    std::uint64_t value;
    std::uint64_t max;

    void log() const;
};

class CompoundDocumentIO {
public:
    // Reads data in place; data must outlive the reader.
    explicit CompoundDocumentIO(ByteView data);
    // Keeps its own bytes.
    explicit CompoundDocumentIO(Bytes data);
    CompoundDocumentIO(const CompoundDocumentIO&) = delete;
    CompoundDocumentIO& operator=(const CompoundDocumentIO&) = delete;

    // Loads the document; true when the result code is 0 after a successful
    // load or 3 after a failed one. Judge success by result() alone.
    bool open();
    // Loads header, tables and directory, updating the result code as it goes.
    bool compoundDocumentLoaded();
    void closeCompoundDocument() { opened_ = false; }
    int result() const { return result_; }
    // The check that refused the document, located in the data; nothing once
    // it has opened.
    const std::optional<Fault>& fault() const { return fault_; }
    bool isOpened() const { return opened_; }

    // Copies length bytes at offset into buffer; false when they are not all in the data.
    bool dataIntoBuffer(std::uint8_t* buffer, std::uint64_t offset, std::uint64_t length) const;
    // Copies the big sectors in order, up to maxLength bytes; a truncated sector
    // is cut at the end of the data. A sector starting past the end sets error and yields 0.
    std::uint64_t loadSectors(std::span<const std::uint32_t> sectors, std::uint8_t* buffer, std::uint64_t maxLength,
                              bool& error) const;
    std::uint64_t loadSector(std::uint64_t sector, std::uint8_t* buffer, std::uint64_t maxLength) const;
    // The same for small sectors; a sector that cannot be located logs and ends the copy.
    std::uint64_t loadSmallSectors(std::span<const std::uint32_t> sectors, std::uint8_t* buffer,
                                   std::uint64_t maxLength) const;
    std::uint64_t loadSmallSector(std::uint64_t sector, std::uint8_t* buffer, std::uint64_t maxLength) const;

    // The sectors holding the big-sector table: the header's first 109, then
    // those named by the chain of master sectors. With reload clear, the list
    // is completed from the entries read by the last reload.
    std::vector<std::uint32_t> getSectorBlocks(bool reload);

    // A handler for the stream at path, or nullptr for a missing path or a folder.
    std::unique_ptr<StreamHandler> streamHandler(const icu::UnicodeString& path) const;
    // A handler for a stream entry of this reader's directory (borrowed by the
    // handler); without logMessages, opening it logs nothing.
    std::unique_ptr<StreamHandler> streamHandler(const DirectoryEntry& entry, bool logMessages = true) const;

    // n bytes of big sector s from offset, zeros where the data end.
    void copyBigSector(std::uint64_t sector, std::uint64_t offset, std::uint8_t* out, std::uint64_t n) const;
    // n bytes of small sector t from offset, zeros where it cannot be read.
    void copySmallSector(std::uint64_t sector, std::uint64_t offset, std::uint8_t* out, std::uint64_t n) const;
    // Why small sector t cannot be located, or nothing.
    std::optional<SmallSectorFault> smallSectorFault(std::uint64_t sector) const;
    // Where small sector t starts in the data (perhaps past their end), or
    // nothing when it cannot be located.
    std::optional<std::uint64_t> smallSectorOffset(std::uint64_t sector) const;
    // Appends n bytes of the data from offset to out, zeros where the data
    // end; n zeros for no offset.
    void appendData(Bytes& out, std::optional<std::uint64_t> offset, std::uint64_t n) const;

    const Header& header() const { return header_; }
    const DirectoryTree& directoryTree() const { return directoryTree_; }
    const SectorAllocTable& masterSectorAllocationTable() const { return masterSectorAllocationTable_; }
    const SectorAllocTable& smallSectorAllocationTable() const { return smallSectorAllocationTable_; }
    const std::vector<std::uint32_t>& smallSectorArray() const { return smallSectorArray_; }
    std::uint64_t bigSectorSize() const { return static_cast<std::uint64_t>(masterSectorAllocationTable_.sectorSize()); }
    std::uint64_t smallSectorSize() const { return static_cast<std::uint64_t>(smallSectorAllocationTable_.sectorSize()); }
    ByteView data() const { return data_; }

private:
    void initializeStream();
    // Records the fault that refuses the document.
    void refuse(Fault fault) { fault_ = std::move(fault); }
    // getSectorBlocks, also giving where in the data each sector number was read.
    std::vector<std::uint32_t> sectorBlocks(bool reload, std::vector<std::uint64_t>* offsets);
    // What loading a chain of big sectors puts into its zero-filled buffer:
    // sector after sector until the first one that starts past the end of the
    // data (whose index goes to firstMissing), a sector cut by the end as far
    // as it goes. The rest of the buffer stays zero and is not returned.
    Bytes loadedPrefix(std::span<const std::uint32_t> chain, std::optional<std::size_t>* firstMissing) const;
    std::uint32_t firstWordOfSector(std::uint64_t sector) const;
    // n bytes of the data from start, zeros where they end.
    void copyData(std::uint64_t start, std::uint8_t* out, std::uint64_t n) const;
    int bigShift() const { return std::countr_zero(bigSectorSize()); }
    int smallShift() const { return std::countr_zero(smallSectorSize()); }

    Bytes owned_;
    ByteView data_;
    int result_ = kCompoundOpened;
    std::optional<Fault> fault_;
    bool opened_ = false;
    std::uint64_t filesize_ = 0;
    std::vector<std::uint32_t> smallSectorArray_;
    // Entries read from master sectors by the last reload, as far as a table can use them.
    std::vector<std::uint32_t> bigSectorData_;
    DirectoryTree directoryTree_;
    Header header_;
    SectorAllocTable masterSectorAllocationTable_;
    SectorAllocTable smallSectorAllocationTable_;
};

}  // namespace tessivo
