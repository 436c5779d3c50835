// The directory of a compound document: its entries in load order, the
// children of a storage in tree order, and lookup by slash-separated path.
//
//   tessivo::DirectoryTree tree;
//   tree.loadEntries(directoryBytes, directoryBytes.size());
//   if (const auto* e = tree.findEntry(u"/__substg1.0_0037001F")) use(e->start, e->size);
//
// Entries borrow nothing from the bytes they were loaded from. A directory
// may be longer than the bytes it was loaded from: the entries past them are
// empty (all fields zero), computed rather than stored. Not safe for
// concurrent use: lookups borrow the tree's visited bitmap.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

// One directory entry as loaded.
struct DirectoryEntry {
    icu::UnicodeString name;
    // The type byte is not 0 (empty).
    bool valid = false;
    // The type byte is not 2 (stream): storages, the root and unknown types are folders.
    bool dir = false;
    std::uint64_t size = 0;
    std::uint64_t start = 0;
    std::uint64_t prev = 0;
    std::uint64_t next = 0;
    std::uint64_t child = 0;
    // Seconds since 1970-01-01 UTC of the modification time.
    std::int64_t time = 0;

    friend bool operator==(const DirectoryEntry&, const DirectoryEntry&) = default;
    // The entry as a dictionary with the keys "name", "valid", "dir", "size",
    // "start", "prev", "next", "child" and "time".
    Dictionary toDictionary() const;
};

// One search for a name among the children of a storage, and how it ended.
struct ChildLookup {
    enum class Ending { Found, Missing, TooDeep, Cycle };
    Ending ending = Ending::Missing;
    // The child found; for TooDeep and Cycle the node where the search stopped.
    std::uint64_t index = 0;
    // The node examined when the search ended at the first one.
    std::optional<std::uint64_t> closest;

    bool found() const { return ending == Ending::Found; }
    // Logs the message of a damaged tree; nothing for Found and Missing.
    void logEnding() const;
};

class DirectoryTree {
public:
    // Byte offsets of the fields within an entry.
    static constexpr std::size_t kNameOffset = 0;
    static constexpr std::size_t kNameBytes = 64;
    static constexpr std::size_t kNameLengthOffset = 64;
    static constexpr std::size_t kTypeOffset = 66;
    static constexpr std::size_t kPrevOffset = 68;
    static constexpr std::size_t kNextOffset = 72;
    static constexpr std::size_t kChildOffset = 76;
    static constexpr std::size_t kTimeOffset = 100;
    static constexpr std::size_t kStartOffset = 116;
    static constexpr std::size_t kSizeOffset = 120;

    void emptyAllocationTable();
    std::uint64_t entryCount() const { return entries_.size() + emptyTail_; }
    // Entries decoded from bytes, before the computed empty ones.
    std::uint64_t decodedEntryCount() const { return entries_.size(); }
    // The entry at index, or nullptr; borrowed until the next load.
    const DirectoryEntry* entry(std::uint64_t index) const;

    // Decodes size / 128 entries: those of bytes, then empty ones where bytes
    // end (an entry cut by the end keeps its bytes). True when at least one
    // was loaded. After an entry named "MsoDataStore", entries with empty
    // names are left out.
    bool loadEntries(ByteView bytes, std::uint64_t size);

    // The first index whose entry equals e, or -1.
    std::int64_t indexOf(const DirectoryEntry& e) const;
    // The lowest index whose children hold index, or -1.
    std::int64_t parent(std::uint64_t index) const;
    // Shorter names first, then case-sensitive comparison: -1, 0 or +1.
    static int compareDirectoryName(const icu::UnicodeString& a, const icu::UnicodeString& b);
    // The children of the storage at index in name order.
    std::vector<std::uint64_t> children(std::uint64_t index) const;
    // One child of a storage and what looking its name up from the storage finds.
    struct ResolvedChild {
        std::uint64_t index;
        ChildLookup lookup;
    };
    // The children of the storage at index in name order, each resolved from
    // the storage, or nullptr when there are more than most; borrowed until
    // the next call or load. Every listing asks this of the same storages:
    // results are remembered until they hold as many children as one
    // listing may look up.
    const std::vector<ResolvedChild>* resolvedChildren(std::uint64_t index, std::uint64_t most) const;
    // The entry at path ("/" is the root; empty components are skipped), or nullptr.
    const DirectoryEntry* findEntry(const icu::UnicodeString& path) const;
    // The same lookup yielding the index, or nothing.
    std::optional<std::uint64_t> findIndex(const icu::UnicodeString& path) const;
    // The index of the child of storage named name, or 0 when there is none.
    // closest becomes the last node examined when the search ends at the first one.
    std::uint64_t findChildWithIndex(std::uint64_t storage, const icu::UnicodeString& name,
                                     std::uint64_t& closest) const;
    // The path lookup of relativePath from the entry at storage, without
    // logging: the lookup of a component that failed, or the one that found
    // the last (a path without components finds storage itself).
    ChildLookup resolve(std::uint64_t storage, const icu::UnicodeString& relativePath) const;

    // Decodes one 128-byte entry.
    static DirectoryEntry decodeEntry(ByteView bytes);

private:
    ChildLookup lookupChild(std::uint64_t storage, const icu::UnicodeString& name) const;
    // The children of the storage at index in name order into out; true when
    // looking each of them up by its name finds that child: the sibling tree
    // is a search tree in name order, without repeats, whose entries are all
    // valid, named without "/" and within the depth bound.
    bool walkChildren(std::uint64_t index, std::vector<std::uint64_t>& out) const;
    void markVisited(std::uint64_t index) const;
    bool wasVisited(std::uint64_t index) const;
    void clearVisited() const;

    std::vector<DirectoryEntry> entries_;
    // Empty entries after the decoded ones.
    std::uint64_t emptyTail_ = 0;
    // One bit per decoded entry for the walk in progress, the bits set by it,
    // and the empty entries it has visited.
    mutable std::vector<std::uint64_t> visited_;
    mutable std::vector<std::uint64_t> visitedList_;
    mutable std::unordered_set<std::uint64_t> visitedEmpty_;
    mutable std::unordered_map<std::uint64_t, std::vector<ResolvedChild>> resolved_;
    mutable std::uint64_t resolvedCount_ = 0;
    // The last result that was not remembered.
    mutable std::vector<ResolvedChild> unkept_;
    // Reused by every walk of a sibling tree.
    struct WalkFrame {
        std::uint64_t node;
        std::uint64_t depth;
        int stage;
    };
    mutable std::vector<WalkFrame> walkStack_;
    mutable std::vector<std::uint64_t> childScratch_;
};

}  // namespace tessivo
