#include "tessivo/compound/mole.h"

#include <algorithm>
#include <exception>

#include "tessivo/compound/limits.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

namespace {

const icu::UnicodeString kEntryName(u"entryname");
const icu::UnicodeString kEntrySize(u"entrysize");
const icu::UnicodeString kObjectData(u"objectdata");
const icu::UnicodeString kChildEntry(u"childentry");
const icu::UnicodeString kAttachPrefix(u"__attach_version");
// Paths of storages with empty names gain one "/" per level; descent stops here.
const icu::UnicodeString kEmptyNameStop(u"/////");

// How many of the 16-byte pieces that cover [0, end) touch [from, to).
std::uint64_t piecesTouching(std::uint64_t from, std::uint64_t to, std::uint64_t end) {
    to = std::min(to, end);
    if (from >= to) return 0;
    return (to - 1) / compound::kStreamPieceBytes - from / compound::kStreamPieceBytes + 1;
}

// The flat and nested listings stop descending below the nesting bound.
ListingPlan::Descent withinNestingBound(const icu::UnicodeString&, int depth) {
    return depth > compound::kMaxNestingDepth ? ListingPlan::Descent::Stop : ListingPlan::Descent::Expand;
}

}  // namespace

Mole::Mole(std::unique_ptr<CompoundDocument> document) : compoundDocument_(std::move(document)) {}

std::optional<Mole> Mole::openDocument(std::unique_ptr<CompoundDocument> document, int* resultCode, Fault* fault) {
    document->open();
    const int code = document->result();
    if (resultCode) *resultCode = code;
    if (code != kCompoundOpened) {
        if (fault) *fault = document->fault().value_or(Fault{});
        return std::nullopt;
    }
    return Mole(std::move(document));
}

std::optional<Mole> Mole::initWithData(ByteView data, int* resultCode, Fault* fault) {
    auto document = std::make_unique<CompoundDocument>();
    document->initializeWithData(data);
    return openDocument(std::move(document), resultCode, fault);
}

std::optional<Mole> Mole::initWithOwnedData(Bytes data, int* resultCode, Fault* fault) {
    auto document = std::make_unique<CompoundDocument>();
    document->initializeWithOwnedData(std::move(data));
    return openDocument(std::move(document), resultCode, fault);
}

std::optional<Bytes> Mole::getStream(const icu::UnicodeString& path) const {
    auto stream = getStream(path, false);
    if (!stream) return std::nullopt;
    return std::move(stream->bytes);
}

std::optional<StreamWithZeroTail> Mole::getStreamWithZeroTail(const icu::UnicodeString& path) const {
    return getStream(path, true);
}

std::optional<StreamWithZeroTail> Mole::getStream(const icu::UnicodeString& path, bool countZeroTail) const {
    if (path.isEmpty()) {
        log("Error: Invalid stream name");
        return std::nullopt;
    }
    try {
        Stream stream(*compoundDocument_, path);
        if (stream.fail()) {
            log("Warning: Failed to initialize stream: %s", toUtf8(path).c_str());
            return std::nullopt;
        }
        return readStream(*stream.handler(), path, countZeroTail);
    } catch (const std::exception& e) {
        log("Exception reading stream %s: %s", toUtf8(path).c_str(), e.what());
        return std::nullopt;
    }
}

StreamWithZeroTail Mole::readStream(const StreamHandler& handler, const icu::UnicodeString& path,
                                    bool countZeroTail) const {
    // The stream is handed out as if read in 16-byte pieces, at most
    // 1,000,001 of them: the chain is copied in one pass and the messages
    // those pieces would log are logged once per piece.
    const std::uint64_t total = handler.chainBytes();
    const std::uint64_t length = std::min<std::uint64_t>(total, compound::kMaxStreamBytes);
    const std::uint64_t stored = countZeroTail ? std::min(length, handler.bytesInData()) : length;
    Bytes bytes;
    handler.appendPrefix(bytes, stored);
    if (handler.hasSectorFaults()) {
        const CompoundDocumentIO& io = *compoundDocument_->io();
        const std::uint64_t size = handler.sectorSize();
        const auto& chain = handler.sectorArray();
        for (std::uint64_t i = 0; i < chain.size() && i * size < length; ++i) {
            auto fault = io.smallSectorFault(chain[i]);
            if (!fault) continue;
            for (std::uint64_t n = piecesTouching(i * size, (i + 1) * size, length); n > 0; --n) fault->log();
        }
    }
    if (total >= compound::kMaxStreamBytes)
        log("Error: Maximum iterations exceeded reading stream: %s", toUtf8(path).c_str());
    return {std::move(bytes), length - stored};
}

Bytes Mole::readListedStream(const ListingPlan& plan, const ListingPlan::Item& item) const {
    const StreamHandler& stream = *item.child->stream;
    const bool cut = stream.chainBytes() >= compound::kMaxStreamBytes;
    return readStream(stream, cut ? plan.pathOf(item) : icu::UnicodeString(), false).bytes;
}

// The listings stand for a reader that looks each child's path up for every
// question it asks (is it a stream, is it a folder, what does it hold): a
// failed lookup logs its message once per question (twice, in every
// listing), and a stream's opening messages once per opening (once in the
// flat listing, twice in the others, which open it to test and to read).

Array Mole::getDirectory() {
    const ListingPlan plan(*compoundDocument_->io(), withinNestingBound);
    buildDirectory(plan, plan.root());
    return directoryArray_;
}

void Mole::buildDirectory(const ListingPlan& plan, const ListingPlan::Node& node) {
    for (const auto& item : node.items) {
        Dictionary record;
        record.set(kEntryName, Value(plan.pathOf(item)));
        if (item.child->stream) {
            item.child->stream->logOpening();
            record.set(kEntrySize, Value(static_cast<long long>(item.child->entry->size)));
        }
        if (!item.child->entry) item.child->logFailedLookup();
        directoryArray_.push_back(Value(std::move(record)));
        if (item.node) buildDirectory(plan, plan.node(*item.node));
    }
}

Array Mole::getOLEArray() const {
    const ListingPlan plan(*compoundDocument_->io(), withinNestingBound);
    return buildOLEArray(plan, plan.root());
}

Array Mole::buildOLEArray(const ListingPlan& plan, const ListingPlan::Node& node) const {
    Array list;
    for (const auto& item : node.items) {
        Dictionary record;
        if (item.child->stream) {
            item.child->logTestedAndReadOpenings();
            record.set(kEntryName, Value(*item.child->name));
            record.set(kObjectData, Value(readListedStream(plan, item)));
        }
        if (!item.child->entry) item.child->logFailedLookup();
        if (item.node) {
            record.set(kEntryName, Value(*item.child->name));
            record.set(kChildEntry, Value(buildOLEArray(plan, plan.node(*item.node))));
        }
        list.push_back(Value(std::move(record)));
    }
    return list;
}

Dictionary Mole::getOLEDictionary() const {
    const ListingPlan plan(*compoundDocument_->io(), [](const icu::UnicodeString& path, int depth) {
        if (path == kEmptyNameStop) return ListingPlan::Descent::Stop;
        return depth > compound::kMaxNestingDepth ? ListingPlan::Descent::StopLogged : ListingPlan::Descent::Expand;
    });
    return buildOLEDictionary(plan, plan.root());
}

Dictionary Mole::buildOLEDictionary(const ListingPlan& plan, const ListingPlan::Node& node) const {
    Dictionary dictionary;
    dictionary.reserve(node.items.size());
    if (node.descent == ListingPlan::Descent::StopLogged) log("Error: Maximum recursion depth exceeded in OLE structure");
    for (const auto& item : node.items) {
        try {
            if (item.child->stream) {
                item.child->logTestedAndReadOpenings();
                dictionary.set(*item.child->name, Value(readListedStream(plan, item)));
            }
            if (!item.child->entry) item.child->logFailedLookup();
            if (item.node) {
                Dictionary nested = buildOLEDictionary(plan, plan.node(*item.node));
                if (!nested.empty()) dictionary.set(*item.child->name, Value(std::move(nested)));
            }
        } catch (const std::exception& e) {
            log("Exception processing OLE entry %s: %s", toUtf8(*item.child->name).c_str(), e.what());
        }
    }
    return dictionary;
}

Dictionary Mole::getOLEDictionaryWithContents(const std::optional<std::vector<icu::UnicodeString>>& names) const {
    const auto taken = [&](const icu::UnicodeString& name) {
        if (!names) return true;
        const bool listed = std::find(names->begin(), names->end(), name) != names->end();
        const bool attachment = name.length() >= kAttachPrefix.length() + 1 && name.startsWith(kAttachPrefix);
        return listed || attachment;
    };
    const ListingPlan plan(*compoundDocument_->io(), withinNestingBound, taken);
    return buildFilteredOLEDictionary(plan, plan.root());
}

Dictionary Mole::buildFilteredOLEDictionary(const ListingPlan& plan, const ListingPlan::Node& node) const {
    Dictionary dictionary;
    for (const auto& item : node.items) {
        if (item.child->stream) {
            item.child->logTestedAndReadOpenings();
            dictionary.set(*item.child->name, Value(readListedStream(plan, item)));
        }
        if (!item.child->entry) item.child->logFailedLookup();
        if (item.node) dictionary.set(*item.child->name, Value(buildFilteredOLEDictionary(plan, plan.node(*item.node))));
    }
    return dictionary;
}

}  // namespace tessivo
