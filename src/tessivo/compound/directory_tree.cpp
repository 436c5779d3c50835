#include "tessivo/compound/directory_tree.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <unicode/stringpiece.h>

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/file_time.h"
#include "tessivo/foundation/log.h"
#include "tessivo/foundation/text.h"

namespace tessivo {

namespace {

constexpr std::uint8_t kTypeEmpty = 0;
constexpr std::uint8_t kTypeStream = 2;
// After an entry of this name, entries with empty names are left out.
const icu::UnicodeString kDataStoreName(u"MsoDataStore");

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
    if (!isValidUtf8(std::string_view(collected, count))) return {};
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
    e.time = unixTimeFromFileTime(readU64le(bytes, kTimeOffset).value_or(0));
    e.start = readU32le(bytes, kStartOffset).value_or(0);
    e.size = readU32le(bytes, kSizeOffset).value_or(0);
    return e;
}

void DirectoryTree::emptyAllocationTable() {
    entries_.clear();
    emptyTail_ = 0;
}

const DirectoryEntry* DirectoryTree::entry(std::uint64_t index) const {
    // Every entry past the decoded ones is the entry of 128 zero bytes.
    static const DirectoryEntry kEmptyEntry = decodeEntry(std::array<std::uint8_t, compound::kDirectoryEntryBytes>{});
    if (index < entries_.size()) return &entries_[index];
    return index < entryCount() ? &kEmptyEntry : nullptr;
}

bool DirectoryTree::loadEntries(ByteView bytes, std::uint64_t size) {
    emptyAllocationTable();
    resolved_.clear();
    resolvedCount_ = 0;
    visited_.clear();
    visitedList_.clear();
    visitedEmpty_.clear();
    const std::uint64_t count = size / compound::kDirectoryEntryBytes;
    // Whole entries of bytes, and an entry cut by their end.
    const std::uint64_t decoded =
        std::min<std::uint64_t>(count, (bytes.size() + compound::kDirectoryEntryBytes - 1) / compound::kDirectoryEntryBytes);
    bool afterDataStore = false;
    entries_.reserve(decoded);
    for (std::uint64_t i = 0; i < decoded; ++i) {
        std::array<std::uint8_t, compound::kDirectoryEntryBytes> raw{};
        const ByteView rest = bytes.subspan(i * compound::kDirectoryEntryBytes);
        std::copy_n(rest.begin(), std::min(rest.size(), raw.size()), raw.begin());
        DirectoryEntry e = decodeEntry(raw);
        if (afterDataStore && e.name.isEmpty()) continue;
        if (e.name == kDataStoreName) afterDataStore = true;
        entries_.push_back(std::move(e));
    }
    // The empty entries have empty names: after "MsoDataStore" none of them is kept.
    emptyTail_ = afterDataStore ? 0 : count - decoded;
    visited_.assign((entries_.size() + 63) / 64, 0);
    return entryCount() > 0;
}

std::int64_t DirectoryTree::indexOf(const DirectoryEntry& e) const {
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (entries_[i] == e) return static_cast<std::int64_t>(i);
    if (emptyTail_ > 0 && *entry(entries_.size()) == e) return static_cast<std::int64_t>(entries_.size());
    return -1;
}

std::int64_t DirectoryTree::parent(std::uint64_t index) const {
    // Empty entries are not valid storages and have no children.
    for (std::uint64_t i = 0; i < entries_.size(); ++i) {
        for (std::uint64_t c : children(i))
            if (c == index) return static_cast<std::int64_t>(i);
    }
    return -1;
}

int DirectoryTree::compareDirectoryName(const icu::UnicodeString& a, const icu::UnicodeString& b) {
    if (a.length() != b.length()) return a.length() < b.length() ? -1 : 1;
    // Code unit order, as UnicodeString::compare, without its call per comparison.
    const int order = std::u16string_view(a.getBuffer(), static_cast<std::size_t>(a.length()))
                          .compare(std::u16string_view(b.getBuffer(), static_cast<std::size_t>(b.length())));
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

void DirectoryTree::markVisited(std::uint64_t index) const {
    if (index >= entries_.size()) {
        visitedEmpty_.insert(index);
        return;
    }
    visited_[index / 64] |= std::uint64_t{1} << (index % 64);
    visitedList_.push_back(index);
}

bool DirectoryTree::wasVisited(std::uint64_t index) const {
    if (index >= entries_.size()) return visitedEmpty_.count(index) != 0;
    return (visited_[index / 64] >> (index % 64)) & 1;
}

void DirectoryTree::clearVisited() const {
    for (std::uint64_t index : visitedList_) visited_[index / 64] &= ~(std::uint64_t{1} << (index % 64));
    visitedList_.clear();
    visitedEmpty_.clear();
}

std::vector<std::uint64_t> DirectoryTree::children(std::uint64_t index) const {
    std::vector<std::uint64_t> result;
    walkChildren(index, result);
    return result;
}

bool DirectoryTree::walkChildren(std::uint64_t index, std::vector<std::uint64_t>& out) const {
    out.clear();
    const DirectoryEntry* storage = entry(index);
    if (!storage || !storage->valid || storage->child >= entryCount()) return false;

    // In-order walk with an explicit stack: left subtree, node, right
    // subtree. The tree is healthy while every node met is new, within the
    // depth bound, valid, named without "/", not 0 below the first, and
    // named after the node before it: in-order, that is a search tree.
    bool healthy = true;
    const icu::UnicodeString* before = nullptr;
    walkStack_.assign(1, {storage->child, 0, 0});
    while (!walkStack_.empty()) {
        WalkFrame& f = walkStack_.back();
        const std::uint64_t node = f.node;
        const std::uint64_t depth = f.depth;
        if (f.stage == 0) {
            if (depth > compound::kMaxTreeDepth) {
                log("OLE: Max tree depth exceeded at index %llu", static_cast<unsigned long long>(node));
                healthy = false;
                walkStack_.pop_back();
                continue;
            }
            if (node >= entryCount() || wasVisited(node)) {
                healthy = false;
                walkStack_.pop_back();
                continue;
            }
            markVisited(node);
            const DirectoryEntry& e = *entry(node);
            // A path lookup finds the storage itself for an empty name and
            // splits a name at "/"; a search takes a link to 0 for a missing one.
            healthy = healthy && e.valid && !e.name.isEmpty() && e.name.indexOf(u'/') < 0 && (node != 0 || depth == 0);
            f.stage = 1;
            if (e.prev != compound::kNoStream) walkStack_.push_back({e.prev, depth + 1, 0});
        } else if (f.stage == 1) {
            out.push_back(node);
            const icu::UnicodeString& name = entry(node)->name;
            healthy = healthy && (!before || compareDirectoryName(*before, name) < 0);
            before = &name;
            f.stage = 2;
            const std::uint64_t next = entry(node)->next;
            if (next != compound::kNoStream) walkStack_.push_back({next, depth + 1, 0});
        } else {
            walkStack_.pop_back();
        }
    }
    clearVisited();
    return healthy;
}

void ChildLookup::logEnding() const {
    if (ending == Ending::TooDeep)
        log("OLE: Max tree depth exceeded in findSiblingInTree at index %llu", static_cast<unsigned long long>(index));
    else if (ending == Ending::Cycle)
        log("OLE: Cycle detected in findSiblingInTree at node %llu", static_cast<unsigned long long>(index));
}

const std::vector<DirectoryTree::ResolvedChild>* DirectoryTree::resolvedChildren(std::uint64_t index,
                                                                                std::uint64_t most) const {
    if (const auto found = resolved_.find(index); found != resolved_.end())
        return found->second.size() > most ? nullptr : &found->second;
    const bool healthy = walkChildren(index, childScratch_);
    if (childScratch_.size() > most) return nullptr;
    const std::uint64_t kept =
        std::max(compound::kListingVisitsMinimum, decodedEntryCount() * compound::kListingVisitsPerEntry);
    const bool keep = resolvedCount_ + childScratch_.size() <= kept;
    std::vector<ResolvedChild>& result = keep ? resolved_[index] : unkept_;
    result.clear();
    result.reserve(childScratch_.size());
    // A healthy tree needs no search per child; a damaged one is searched as a reader would.
    for (const std::uint64_t child : childScratch_)
        result.push_back({child, healthy ? ChildLookup{ChildLookup::Ending::Found, child, std::nullopt}
                                         : resolve(index, entry(child)->name)});
    if (keep) resolvedCount_ += result.size();
    return &result;
}

ChildLookup DirectoryTree::lookupChild(std::uint64_t storage, const icu::UnicodeString& name) const {
    ChildLookup result;
    const DirectoryEntry* s = entry(storage);
    if (!s || !s->valid || s->child >= entryCount()) return result;

    // Binary search down the sibling tree; 0 marks a missing link here, as the
    // root can never be a sibling.
    std::uint64_t node = s->child;
    for (std::uint64_t depth = 0;; ++depth) {
        if (depth > compound::kMaxTreeDepth) {
            result = {ChildLookup::Ending::TooDeep, node, result.closest};
            break;
        }
        if (wasVisited(node)) {
            result = {ChildLookup::Ending::Cycle, node, result.closest};
            break;
        }
        markVisited(node);
        const DirectoryEntry& e = *entry(node);
        if (!e.valid) break;
        const int order = compareDirectoryName(e.name, name);
        if (order == 0) {
            result = {ChildLookup::Ending::Found, node, result.closest};
            break;
        }
        const std::uint64_t link = order > 0 ? e.prev : e.next;
        if (link == 0 || link >= entryCount()) {
            // Each level searches with its own copy of closest.
            if (depth == 0) result.closest = node;
            break;
        }
        node = link;
    }
    clearVisited();
    return result;
}

std::uint64_t DirectoryTree::findChildWithIndex(std::uint64_t storage, const icu::UnicodeString& name,
                                                std::uint64_t& closest) const {
    ChildLookup lookup = lookupChild(storage, name);
    lookup.logEnding();
    if (lookup.closest) closest = *lookup.closest;
    return lookup.found() ? lookup.index : 0;
}

ChildLookup DirectoryTree::resolve(std::uint64_t storage, const icu::UnicodeString& relativePath) const {
    ChildLookup lookup{ChildLookup::Ending::Found, storage, std::nullopt};
    // A plain name, what listings ask for, needs no splitting.
    if (!relativePath.isEmpty() && relativePath.indexOf(u'/') < 0) return lookupChild(storage, relativePath);
    std::int32_t begin = 0;
    while (begin <= relativePath.length()) {
        std::int32_t end = relativePath.indexOf(u'/', begin);
        if (end < 0) end = relativePath.length();
        if (end > begin) {
            lookup = lookupChild(lookup.index, icu::UnicodeString(relativePath, begin, end - begin));
            if (!lookup.found()) return lookup;
        }
        begin = end + 1;
    }
    return lookup;
}

std::optional<std::uint64_t> DirectoryTree::findIndex(const icu::UnicodeString& path) const {
    if (path.isEmpty() || entryCount() == 0) return std::nullopt;
    const ChildLookup lookup = resolve(0, path);
    lookup.logEnding();
    if (!lookup.found()) return std::nullopt;
    return lookup.index;
}

const DirectoryEntry* DirectoryTree::findEntry(const icu::UnicodeString& path) const {
    auto index = findIndex(path);
    return index ? entry(*index) : nullptr;
}

}  // namespace tessivo
