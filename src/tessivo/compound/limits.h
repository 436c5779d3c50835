// Fixed numbers of the compound document reader: sizes and special values of
// the format, and the bounds at which every walk, read and listing over
// untrusted bytes stops.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessivo::compound {

// Size of the file header; shorter data cannot be a compound document.
constexpr std::size_t kHeaderBytes = 512;
// Size of one directory entry.
constexpr std::size_t kDirectoryEntryBytes = 128;
// Header slots naming the first sectors of the big-sector table.
constexpr std::size_t kHeaderTableSectors = 109;
// Entries of a 512-byte master sector, used by the header check whatever the sector size.
constexpr std::uint64_t kMasterSectorEntries = 127;
// Streams declared smaller than this live in small sectors.
constexpr std::uint64_t kStreamThresholdBytes = 4096;

// Special sector numbers: table entries that name no sector.
constexpr std::uint32_t kFreeSect = 0xFFFFFFFF;    // unused; fills new table entries and unused header slots
constexpr std::uint32_t kEndOfChain = 0xFFFFFFFE;  // the last sector of a chain
constexpr std::uint32_t kFatSect = 0xFFFFFFFD;     // a sector that holds the big-sector table
constexpr std::uint32_t kDifSect = 0xFFFFFFFC;     // a master sector
// A chain ends at any of the three markers (and at any value past the table's end).
constexpr bool endsChain(std::uint64_t sector) { return sector >= kDifSect && sector <= kEndOfChain; }
// A directory link to no entry.
constexpr std::uint32_t kNoStream = 0xFFFFFFFF;
// Big sectors at or above this number cannot hold the small-sector area.
constexpr std::uint64_t kInvalidSmallAreaSector = 0x80000000;

// A sector chain is cut once it holds this many sectors.
constexpr std::uint64_t kMaxChainLengthSectors = 0x100000;
// Sibling trees are walked at most this many levels deep.
constexpr std::uint64_t kMaxTreeDepth = 1000;
// Nested dictionaries of storages stop below this many levels.
constexpr int kMaxNestingDepth = 100;

// Streams are handed out as if read in pieces of this size ...
constexpr std::size_t kStreamPieceBytes = 16;
// ... of which at most this many are read, so a stream is cut at 16,000,016 bytes.
constexpr std::size_t kMaxStreamPieces = 1000001;
constexpr std::size_t kMaxStreamBytes = kStreamPieceBytes * kMaxStreamPieces;
// A second bound on the bytes of one stream (100 MB); the piece bound always stops a read first.
constexpr std::uint64_t kStreamSizeLimitBytes = 0x6400000;

// Opening a stream reads (and logs the faults of) its first block of this size.
constexpr std::size_t kStreamFirstBlockBytes = 4096;

// Our own bounds, reached only by damaged documents:
//
// The big-sector table, and the parts of the small-sector table and of the
// directory that lie in the data, together may not hold more bytes than the
// document. A valid document, and a truncated one, keeps each of them in
// sectors of its own; one that claims more must read sectors twice, and
// honouring it could take memory far beyond the file's size. Such a document
// is refused with result code 3. (Sectors past the end of the data read as
// zeros; those zeros are computed, not stored.)
//
// A listing (flat, nested or dictionary) lists at most
// kListingVisitsPerEntry children per directory entry read from the data (at
// least kListingVisitsMinimum), and copies and builds at most
// kListingBytesPerFileByte bytes per byte of the document plus a slack of
// kListingSlackPerEntry bytes per directory entry read from the data, kept
// between kListingSlackMinimum and kListingSlackMaximum. Each stream costs
// its sector chain's bytes (the bytes a reader of it gets, zeros past the end
// of the data included), each record its path and kListingRecordBytes; the
// slack pays for the records of a sound document and for the zeros of a cut
// one. Paths that resolve to the same storage again (empty or repeated names)
// would otherwise make a listing grow without end. The listings also stop
// descending below kMaxNestingDepth levels. When a bound is reached, the
// repetitions and the deepest storages are cut first, and a stream that does
// not fit is left out (see listing_plan.h).
constexpr std::uint64_t kListingVisitsPerEntry = 2;
constexpr std::uint64_t kListingVisitsMinimum = 64;
constexpr std::uint64_t kListingBytesPerFileByte = 1;
constexpr std::uint64_t kListingSlackPerEntry = 512;
constexpr std::uint64_t kListingSlackMinimum = 1 << 18;
constexpr std::uint64_t kListingSlackMaximum = 1 << 24;
constexpr std::uint64_t kListingRecordBytes = 256;

}  // namespace tessivo::compound
