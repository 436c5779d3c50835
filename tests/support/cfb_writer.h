// Builds compound documents for tests: valid ones of any sector size, and
// damaged ones by patching the result.
//
//   tessivo::testing::CfbWriter w;                      // 512-byte sectors
//   w.addStream("__substg1.0_1000001F", utf16le("Hello"));
//   w.addStorage("__recip_version1.0_#00000000");
//   w.addStream("__recip_version1.0_#00000000/__substg1.0_3001001F", utf16le("Ann"));
//   tessivo::testing::CfbImage doc = w.build();
//   doc.setFatEntry(doc.streamSectors("__substg1.0_1000001F")[0], 0);   // damage
//   use(doc.bytes);
//
// Paths are names separated by "/"; storages on the way are created. Children
// of a storage form a balanced binary search tree in directory-name order
// (shorter names first), or a chain of right links when asked.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/value.h"

namespace tessivo::testing {

// The special sector numbers the writer puts into its tables.
using compound::kDifSect;
using compound::kEndOfChain;
using compound::kFatSect;
using compound::kFreeSect;

// A built document and where its structures lie, for patching.
struct CfbImage {
    Bytes bytes;
    std::uint32_t sectorSize = 512;
    std::uint32_t miniSectorSize = 64;
    std::vector<std::uint32_t> fatSectors;
    std::vector<std::uint32_t> difatSectors;
    std::vector<std::uint32_t> directorySectors;
    std::vector<std::uint32_t> miniFatSectors;
    std::vector<std::uint32_t> miniStreamSectors;
    // Directory entry number of each path ("" is the root).
    std::map<std::string, std::uint32_t> entryIndex;
    // Sector chain of each stream (mini sectors for streams below the threshold).
    std::map<std::string, std::vector<std::uint32_t>> chains;

    std::size_t sectorOffset(std::uint32_t sector) const { return (std::size_t{sector} + 1) * sectorSize; }
    // Byte offset of directory entry index, or of field offset within it.
    std::size_t entryOffset(std::uint32_t index, std::size_t field = 0) const;
    std::size_t entryOffset(const std::string& path, std::size_t field = 0) const {
        return entryOffset(entryIndex.at(path), field);
    }
    const std::vector<std::uint32_t>& streamSectors(const std::string& path) const { return chains.at(path); }

    void setU8(std::size_t offset, std::uint8_t v);
    void setU16(std::size_t offset, std::uint16_t v);
    void setU32(std::size_t offset, std::uint32_t v);
    std::uint32_t u32(std::size_t offset) const;
    // Replaces the big-sector table entry of sector.
    void setFatEntry(std::uint32_t sector, std::uint32_t next);
    // Replaces the small-sector table entry of sector.
    void setMiniFatEntry(std::uint32_t sector, std::uint32_t next);
    // Replaces a 32-bit field of a directory entry (68 left, 72 right, 76 child, 116 start, 120 size).
    void setEntryField(const std::string& path, std::size_t field, std::uint32_t value) {
        setU32(entryOffset(path, field), value);
    }
};

class CfbWriter {
public:
    enum class TreeShape { Balanced, RightChain };
    struct Options {
        // Big sectors of 1 << sectorShift bytes (9 or 12 make standard files).
        unsigned sectorShift = 9;
        unsigned miniSectorShift = 6;
        std::uint32_t threshold = 4096;
        TreeShape treeShape = TreeShape::Balanced;
        // Big-sector table sectors beyond those needed, to reach master sectors in small files.
        std::uint32_t extraFatSectors = 0;
    };

    CfbWriter() : CfbWriter(Options{}) {}
    explicit CfbWriter(Options options) : options_(options) {}

    // Adds a stream; storages on its path are created.
    void addStream(std::string_view path, Bytes data);
    // Adds a storage (and those above it).
    void addStorage(std::string_view path);
    // Adds a child entry whose name may be empty; parent is a storage path ("" for the root).
    void addChild(std::string_view parent, std::string_view name, bool storage, Bytes data = {});
    // The same under the entry numbered parent (0 is the root; numbers count entries
    // in the order they were added); yields the new entry's number.
    std::size_t addChildOf(std::size_t parent, std::string_view name, bool storage, Bytes data = {});
    // Sets the modification time (a Windows file time) of an entry.
    void setModified(std::string_view path, std::uint64_t filetime);

    CfbImage build() const;

private:
    struct Node {
        std::string name;
        std::string path;
        bool storage = false;
        Bytes data;
        std::uint64_t modified = 0;
        std::vector<std::size_t> children;
    };
    std::size_t ensureStorage(std::string_view path);
    std::size_t find(std::string_view path) const;

    Options options_;
    std::vector<Node> nodes_{Node{"Root Entry", "", true, {}, 0, {}}};
};

// UTF-16LE bytes of ASCII or UTF-8 text.
Bytes utf16le(std::string_view text);

// n bytes of a pattern that differs between sectors and between seeds.
Bytes pattern(std::size_t n, std::uint8_t seed = 1);

}  // namespace tessivo::testing
