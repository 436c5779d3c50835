#include "tessivo/compound/listing_plan.h"

#include <algorithm>
#include <queue>

#include "tessivo/compound/limits.h"

namespace tessivo {

void ListingPlan::Child::logFailedLookup() const {
    lookup.logEnding();
    lookup.logEnding();
}

void ListingPlan::Child::logTestedAndReadOpenings() const {
    stream->logOpening();
    stream->logOpening();
}

bool ListingPlan::Queued::operator>(const Queued& other) const {
    if (repeats != other.repeats) return repeats > other.repeats;
    if (depth != other.depth) return depth > other.depth;
    return node > other.node;
}

ListingPlan::Budget ListingPlan::budgetFor(const CompoundDocumentIO& io) {
    const std::uint64_t entries = io.directoryTree().decodedEntryCount();
    const std::uint64_t visits = std::max(compound::kListingVisitsMinimum, entries * compound::kListingVisitsPerEntry);
    return {visits, visits,
            io.data().size() * compound::kListingBytesPerFileByte +
                std::clamp(entries * compound::kListingSlackPerEntry, compound::kListingSlackMinimum,
                           compound::kListingSlackMaximum)};
}

ListingPlan::ListingPlan(const CompoundDocumentIO& io, const DescentRule& descent, const RootFilter& rootFilter)
    : io_(io), budget_(budgetFor(io)) {
    nodes_.push_back(Node{0, u"/", 0, Descent::Expand, {}});
    parents_.push_back(0);
    std::priority_queue<Queued, std::vector<Queued>, std::greater<Queued>> queue;
    queue.push({0, 0, 0});
    std::vector<Queued> found;
    while (!queue.empty()) {
        const Queued next = queue.top();
        queue.pop();
        found.clear();
        const bool more = expand(next.node, next.repeats, descent, rootFilter, found);
        for (const Queued& q : found) queue.push(q);
        if (!more) break;
    }
}

bool ListingPlan::hasAncestor(std::size_t index, std::uint64_t storage) const {
    for (;;) {
        if (nodes_[index].storage == storage) return true;
        if (index == 0) return false;
        index = parents_[index];
    }
}

std::vector<ListingPlan::Child>* ListingPlan::childrenOf(std::uint64_t storage) {
    if (auto found = children_.find(storage); found != children_.end()) return &found->second;
    const DirectoryTree& tree = io_.directoryTree();
    const auto* resolved = tree.resolvedChildren(storage, budget_.lookups);
    if (!resolved) return nullptr;
    budget_.lookups -= resolved->size();
    const auto found = children_.try_emplace(storage).first;
    found->second.reserve(resolved->size());
    for (const auto& [index, lookup] : *resolved) {
        Child child{&tree.entry(index)->name, lookup, nullptr, std::nullopt};
        if (lookup.found()) child.entry = tree.entry(lookup.index);
        found->second.push_back(std::move(child));
    }
    return &found->second;
}

bool ListingPlan::expand(std::size_t index, std::uint64_t repeats, const DescentRule& descent,
                         const RootFilter& rootFilter, std::vector<Queued>& queue) {
    Node& node = nodes_[index];
    std::vector<Child>* children = childrenOf(node.storage);
    if (!children) return false;
    node.items.reserve(children->size());
    for (Child& child : *children) {
        if (index == 0 && rootFilter && !rootFilter(*child.name)) continue;
        Item item{&child, index, std::nullopt};
        const std::uint64_t pathLength = static_cast<std::uint64_t>(node.path.length()) + child.name->length();
        const std::uint64_t recordBytes = compound::kListingRecordBytes + 2 * pathLength;
        if (budget_.visits < 1 || budget_.bytes < recordBytes) return false;
        budget_.visits -= 1;
        budget_.bytes -= recordBytes;
        if (child.isStream()) {
            if (!child.stream) child.stream.emplace().initializeStreamHandler(io_, *child.entry, false);
            const std::uint64_t handedOut =
                std::min<std::uint64_t>(child.stream->chainBytes(), compound::kMaxStreamBytes);
            if (budget_.bytes < handedOut) {
                // A stream no item lists holds no memory.
                if (!child.listed) child.stream.reset();
                continue;
            }
            budget_.bytes -= handedOut;
            child.listed = true;
        }
        if (child.isFolder()) {
            const std::uint64_t storage = child.lookup.index;
            const bool repeated = hasAncestor(index, storage);
            const int depth = node.depth + 1;
            icu::UnicodeString path = pathOf(item).append(u'/');
            const Descent rule = descent(path, depth);
            item.node = nodes_.size();
            nodes_.push_back(Node{storage, std::move(path), depth, rule, {}});
            parents_.push_back(index);
            if (rule == Descent::Expand) queue.push_back({repeats + (repeated ? 1 : 0), depth, *item.node});
        }
        node.items.push_back(std::move(item));
    }
    return true;
}

}  // namespace tessivo
