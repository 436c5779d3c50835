// What one listing of a compound document's tree shows, chosen before the
// listing is built.
//
//   tessivo::ListingPlan plan(io, [](const icu::UnicodeString&, int depth) {
//       return depth > 100 ? tessivo::ListingPlan::Descent::Stop : tessivo::ListingPlan::Descent::Expand;
//   });
//   for (const auto& item : plan.root().items) ...   // then plan.node(*item.node) for a folder
//
// A listing walks the tree from the root as the reader it stands for does:
// each child of a storage is looked up by its name from the storage, and a
// folder is listed again below its own path. On a damaged tree that walk can
// repeat itself without end (a child that resolves to its own storage or to
// a storage above it), so a listing spends a budget (see limits.h): the
// lookups of each storage's children, a visit and a record's bytes for each
// child, a stream's handed-out bytes for each stream. When the budget runs
// out, what is left out is what lies inside the most repetitions of storages
// already being listed, then what lies deepest: the plan takes storages in
// that order, each with all its children, so the streams of a message are
// never crowded out by the copies of its own tree that a damaged directory
// hangs below it. A stream whose bytes no longer fit is left out and the plan
// goes on with cheaper children; the plan ends when a storage's lookups or a
// child's visit or record no longer fit.
//
// Streams are opened without messages; the listing logs what their opening
// logs where the walk it stands for opens them. Items borrow the reader's
// directory entries: the reader must outlive the plan.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/compound_document_io.h"
#include "tessivo/compound/directory_tree.h"
#include "tessivo/compound/stream_handler.h"

namespace tessivo {

class ListingPlan {
public:
    // Whether a listing lists the children of a storage it meets at a path
    // and depth: Stop and StopLogged list none, StopLogged with the message
    // the listing logs there.
    enum class Descent { Expand, Stop, StopLogged };
    using DescentRule = std::function<Descent(const icu::UnicodeString& path, int depth)>;
    // Which children of the root a listing takes (every child without one).
    using RootFilter = std::function<bool(const icu::UnicodeString& name)>;

    // One child of a storage: what looking its name up from the storage
    // finds. Met again wherever the listing meets the storage again, it is
    // looked up and opened once.
    struct Child {
        const icu::UnicodeString* name = nullptr;
        ChildLookup lookup;
        // The entry found, or nullptr.
        const DirectoryEntry* entry = nullptr;
        // The stream of a stream entry, opened without messages while an item lists it.
        std::optional<StreamHandler> stream;
        bool listed = false;

        bool isFolder() const { return entry && entry->dir; }
        bool isStream() const { return entry && !entry->dir; }
        // What a lookup that failed logs for each question asked of the path (two).
        void logFailedLookup() const;
        // What a stream opened to be tested and then to be read logs (its opening, twice).
        void logTestedAndReadOpenings() const;
    };

    // A child as the listing meets it at one path (see pathOf).
    struct Item {
        const Child* child = nullptr;
        // The node that lists it.
        std::size_t parent = 0;
        // The storage of a folder entry.
        std::optional<std::size_t> node;
    };

    // A storage as the listing meets it: at a path ending in "/", with the
    // children the plan took, in tree order.
    struct Node {
        std::uint64_t storage = 0;
        icu::UnicodeString path;
        int depth = 0;
        Descent descent = Descent::Expand;
        std::vector<Item> items;
    };

    ListingPlan(const CompoundDocumentIO& io, const DescentRule& descent, const RootFilter& rootFilter = nullptr);

    // What a listing of io may look up (children of the storages it lists,
    // each storage once), list (records) and copy and build (bytes).
    struct Budget {
        std::uint64_t lookups;
        std::uint64_t visits;
        std::uint64_t bytes;
    };
    static Budget budgetFor(const CompoundDocumentIO& io);

    const Node& root() const { return nodes_.front(); }
    const Node& node(std::size_t index) const { return nodes_[index]; }
    // Where an item is met: its storage's path followed by its name.
    icu::UnicodeString pathOf(const Item& item) const { return nodes_[item.parent].path + *item.child->name; }

private:
    struct Queued {
        // Repetitions of storages above it, depth, order met: least first.
        std::uint64_t repeats;
        int depth;
        std::size_t node;
        bool operator>(const Queued& other) const;
    };

    // Takes the children of a node while the budget lasts; false once it has run out.
    bool expand(std::size_t index, std::uint64_t repeats, const DescentRule& descent, const RootFilter& rootFilter,
                std::vector<Queued>& queue);
    bool hasAncestor(std::size_t index, std::uint64_t storage) const;
    // The children of the storage at index, looked up on first use; nullptr
    // once the lookups no longer fit.
    std::vector<Child>* childrenOf(std::uint64_t storage);

    const CompoundDocumentIO& io_;
    Budget budget_;
    // Stable under growth: items refer to nodes by index, expansion reads its node while adding more.
    std::deque<Node> nodes_;
    std::vector<std::size_t> parents_;
    std::unordered_map<std::uint64_t, std::vector<Child>> children_;
};

}  // namespace tessivo
