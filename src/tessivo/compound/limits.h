// Fixed bounds of the compound document reader. Every walk, read and listing
// over untrusted bytes stops at one of these.
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

// Size of the block a stream handler caches when it is created.
constexpr std::size_t kStreamCacheBytes = 4096;

// Our own bounds, reached only by damaged documents:
//
// A table or directory read when opening may not hold more bytes than the
// document itself. A valid document keeps each of them in distinct sectors of
// the file; one that claims more must repeat sectors or run past the end of
// the data, and honouring it could ask for memory far beyond the file's size.
// Such a document is refused with result code 3.
//
// A listing (flat, nested or dictionary) visits at most
// kListingVisitsPerEntry entries per directory entry (at least
// kListingVisitsMinimum), and hands out at most kListingBytesPerFileByte
// stream bytes per byte of the document plus one whole stream. Paths that
// resolve to the same storage again (empty or repeated names) would otherwise
// make a listing grow without end. The flat and nested listings also stop
// descending below kMaxNestingDepth levels. A listing that reaches a bound
// ends with what it has.
constexpr std::uint64_t kListingVisitsPerEntry = 16;
constexpr std::uint64_t kListingVisitsMinimum = 1024;
constexpr std::uint64_t kListingBytesPerFileByte = 4;

}  // namespace tessivo::compound
