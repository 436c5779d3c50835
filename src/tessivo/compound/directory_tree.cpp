#include "tessivo/compound/directory_tree.h"

#include <unicode/stringpiece.h>
#include <unicode/utf8.h>

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

namespace {

constexpr std::uint8_t kTypeEmpty = 0;
constexpr std::uint8_t kTypeStream = 2;
constexpr std::int64_t kTicksPerSecond = 10000000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
// After an entry of this name, entries with empty names are left out.
const icu::UnicodeString kDataStoreName(u"MsoDataStore");

bool isWellFormedUtf8(const char* s, std::int32_t length) {
    std::int32_t i = 0;
    while (i < length) {
        UChar32 c;
        U8_NEXT(reinterpret_cast<const std::uint8_t*>(s), i, length, c);
        if (c < 0) return false;
    }
    return true;
}

// Names are taken as 8-bit text: the low byte of each UTF-16 unit up to the
// first NUL, without control characters, read as UTF-8. Bytes that are not
// UTF-8 give an empty name. ASCII names, the usual case, need no conversion.
icu::UnicodeString decodeName(ByteView bytes) {
    const std::uint64_t length = std::min<std::uint64_t>(readU16le(bytes, DirectoryTree::kNameLengthOffset).value_or(0),
                                                         DirectoryTree::kNameBytes);
    char collected[DirectoryTree::kNameBytes / 2];
    char16_t units[DirectoryTree::kNameBytes / 2];
    std::int32_t count = 0;
    bool ascii = true;
    for (std::uint64_t i = 0; i < length && i < bytes.size(); i += 2) {
        const std::uint8_t low = bytes[i];
        if (low == 0) break;
        if (low < 0x20) continue;
        ascii = ascii && low < 0x80;
        collected[count] = static_cast<char>(low);
        units[count] = low;
        ++count;
    }
    if (ascii) return icu::UnicodeString(units, count);
    if (!isWellFormedUtf8(collected, count)) return {};
    return icu::UnicodeString::fromUTF8(icu::StringPiece(collected, count));
}

}  // namespace

Dictionary DirectoryEntry::toDictionary() const {
    Dictionary d;
    d.set(u"name", Value(name));
    d.set(u"valid", Value(valid));
    d.set(u"dir", Value(dir));
    d.set(u"size", Value(static_cast<unsigned long long>(size)));
    d.set(u"start", Value(static_cast<unsigned long long>(start)));
    d.set(u"prev", Value(static_cast<unsigned long long>(prev)));
    d.set(u"next", Value(static_cast<unsigned long long>(next)));
    d.set(u"child", Value(static_cast<unsigned long long>(child)));
    d.set(u"time", Value(static_cast<long long>(time)));
    return d;
}

DirectoryEntry DirectoryTree::decodeEntry(ByteView bytes) {
    DirectoryEntry e;
    e.name = decodeName(bytes);
    const std::uint8_t type = bytes.size() > kTypeOffset ? bytes[kTypeOffset] : 0;
    e.valid = type != kTypeEmpty;
    e.dir = type != kTypeStream;
    e.prev = readU32le(bytes, kPrevOffset).value_or(0);
    e.next = readU32le(bytes, kNextOffset).value_or(0);
    e.child = readU32le(bytes, kChildOffset).value_or(0);
    // Signed quotient first, then the shift to 1970.
    const auto ticks = static_cast<std::int64_t>(readU64le(bytes, kTimeOffset).value_or(0));
    e.time = ticks / kTicksPerSecond - kSecondsFrom1601To1970;
    e.start = readU32le(bytes, kStartOffset).value_or(0);
    e.size = readU32le(bytes, kSizeOffset).value_or(0);
    return e;
}

bool DirectoryTree::loadEntries(ByteView bytes, std::uint64_t size) {
    emptyAllocationTable();
    visited_.clear();
    visitedList_.clear();
    const std::uint64_t count = std::min<std::uint64_t>(size, bytes.size()) / compound::kDirectoryEntryBytes;
    bool afterDataStore = false;
    entries_.reserve(count);
    for (std::uint64_t i = 0; i < count; ++i) {
        DirectoryEntry e = decodeEntry(bytes.subspan(i * compound::kDirectoryEntryBytes, compound::kDirectoryEntryBytes));
        if (afterDataStore && e.name.isEmpty()) continue;
        if (e.name == kDataStoreName) afterDataStore = true;
        entries_.push_back(std::move(e));
    }
    visited_.assign((entries_.size() + 63) / 64, 0);
    return !entries_.empty();
}

std::int64_t DirectoryTree::indexOf(const DirectoryEntry& e) const {
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (entries_[i] == e) return static_cast<std::int64_t>(i);
    return -1;
}

std::int64_t DirectoryTree::parent(std::uint64_t index) const {
    for (std::uint64_t i = 0; i < entries_.size(); ++i) {
        for (std::uint64_t c : children(i))
            if (c == index) return static_cast<std::int64_t>(i);
    }
    return -1;
}

int DirectoryTree::compareDirectoryName(const icu::UnicodeString& a, const icu::UnicodeString& b) {
    if (a.length() != b.length()) return a.length() < b.length() ? -1 : 1;
    const int8_t order = a.compare(b);
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

void DirectoryTree::markVisited(std::uint64_t index) const {
    visited_[index / 64] |= std::uint64_t{1} << (index % 64);
    visitedList_.push_back(index);
}

bool DirectoryTree::wasVisited(std::uint64_t index) const {
    return (visited_[index / 64] >> (index % 64)) & 1;
}

void DirectoryTree::clearVisited() const {
    for (std::uint64_t index : visitedList_) visited_[index / 64] &= ~(std::uint64_t{1} << (index % 64));
    visitedList_.clear();
}

std::vector<std::uint64_t> DirectoryTree::children(std::uint64_t index) const {
    std::vector<std::uint64_t> result;
    const DirectoryEntry* storage = entry(index);
    if (!storage || !storage->valid || storage->child >= entries_.size()) return result;

    // In-order walk with an explicit stack: left subtree, node, right subtree.
    struct Frame {
        std::uint64_t node;
        std::uint64_t depth;
        int stage;
    };
    std::vector<Frame> stack{{storage->child, 0, 0}};
    while (!stack.empty()) {
        Frame& f = stack.back();
        const std::uint64_t node = f.node;
        const std::uint64_t depth = f.depth;
        if (f.stage == 0) {
            if (depth > compound::kMaxTreeDepth) {
                log("OLE: Max tree depth exceeded at index %llu", static_cast<unsigned long long>(node));
                stack.pop_back();
                continue;
            }
            if (node >= entries_.size() || wasVisited(node)) {
                stack.pop_back();
                continue;
            }
            markVisited(node);
            f.stage = 1;
            if (entries_[node].prev != kNoSibling) stack.push_back({entries_[node].prev, depth + 1, 0});
        } else if (f.stage == 1) {
            result.push_back(node);
            f.stage = 2;
            if (entries_[node].next != kNoSibling) stack.push_back({entries_[node].next, depth + 1, 0});
        } else {
            stack.pop_back();
        }
    }
    clearVisited();
    return result;
}

std::uint64_t DirectoryTree::findChildWithIndex(std::uint64_t storage, const icu::UnicodeString& name,
                                                std::uint64_t& closest) const {
    const DirectoryEntry* s = entry(storage);
    if (!s || !s->valid || s->child >= entries_.size()) return 0;

    // Binary search down the sibling tree; 0 marks a missing link here, as the
    // root can never be a sibling.
    std::uint64_t node = s->child;
    std::uint64_t found = 0;
    for (std::uint64_t depth = 0;; ++depth) {
        if (depth > compound::kMaxTreeDepth) {
            log("OLE: Max tree depth exceeded in findSiblingInTree at index %llu", static_cast<unsigned long long>(node));
            break;
        }
        if (wasVisited(node)) {
            log("OLE: Cycle detected in findSiblingInTree at node %llu", static_cast<unsigned long long>(node));
            break;
        }
        markVisited(node);
        const DirectoryEntry& e = entries_[node];
        if (!e.valid) break;
        const int order = compareDirectoryName(e.name, name);
        if (order == 0) {
            found = node;
            break;
        }
        const std::uint64_t link = order > 0 ? e.prev : e.next;
        if (link == 0 || link >= entries_.size()) {
            // Each level searches with its own copy of closest.
            if (depth == 0) closest = node;
            break;
        }
        node = link;
    }
    clearVisited();
    return found;
}

std::optional<std::uint64_t> DirectoryTree::findIndex(const icu::UnicodeString& path) const {
    if (path.isEmpty() || entries_.empty()) return std::nullopt;
    std::uint64_t index = 0;
    std::int32_t begin = 0;
    while (begin <= path.length()) {
        std::int32_t end = path.indexOf(u'/', begin);
        if (end < 0) end = path.length();
        if (end > begin) {
            std::uint64_t closest = kNoSibling;
            index = findChildWithIndex(index, icu::UnicodeString(path, begin, end - begin), closest);
            if (index == 0) return std::nullopt;
        }
        begin = end + 1;
    }
    return index;
}

const DirectoryEntry* DirectoryTree::findEntry(const icu::UnicodeString& path) const {
    auto index = findIndex(path);
    return index ? entry(*index) : nullptr;
}

}  // namespace tessivo
