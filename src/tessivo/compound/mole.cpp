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

}  // namespace

// One child of a storage as a listing meets it. A listing looks each child up
// once by its path, where the reader it stands for looks the path up for
// every question it asks (is it a stream, is it a folder, what does it hold):
// a failed lookup logs its message once per question (twice, in every
// listing), and a stream's opening messages once per opening (once in the
// flat listing, twice in the others, which open it to test and to read).
struct Mole::Child {
    const icu::UnicodeString& name;
    // The parent's path followed by the name.
    icu::UnicodeString path;
    // The name looked up from the parent.
    ChildLookup lookup;
    // The entry found, or nullptr.
    const DirectoryEntry* entry = nullptr;
    // The opened stream of a stream entry.
    std::unique_ptr<StreamHandler> stream;

    bool isFolder() const { return entry && entry->dir; }
    void logFailedLookup() const {
        lookup.logEnding();
        lookup.logEnding();
    }
};

bool Mole::Budget::spend(std::uint64_t visitCount, std::uint64_t byteCount) {
    if (visits < visitCount || bytes < byteCount) {
        visits = 0;
        bytes = 0;
        return false;
    }
    visits -= visitCount;
    bytes -= byteCount;
    return true;
}

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

Mole::Budget Mole::newBudget() const {
    const CompoundDocumentIO* io = compoundDocument_->io();
    return Budget{std::max(compound::kListingVisitsMinimum,
                           io->directoryTree().decodedEntryCount() * compound::kListingVisitsPerEntry),
                  io->data().size() * compound::kListingBytesPerFileByte + compound::kListingBytesSlack};
}

template <class Take, class Visit>
void Mole::forEachChild(std::uint64_t storage, const icu::UnicodeString& path, Budget& budget, Take&& take,
                        Visit&& visit) const {
    const CompoundDocumentIO& io = *compoundDocument_->io();
    const DirectoryTree& tree = io.directoryTree();
    for (std::uint64_t index : tree.children(storage)) {
        const icu::UnicodeString& name = tree.entry(index)->name;
        if (!take(name)) continue;
        Child child{name, path + name, tree.resolve(storage, name), nullptr, nullptr};
        if (!budget.spend(1, compound::kListingRecordBytes + 2 * static_cast<std::uint64_t>(child.path.length())))
            return;
        if (child.lookup.found()) child.entry = tree.entry(child.lookup.index);
        if (child.entry && !child.entry->dir) {
            child.stream = io.streamHandler(*child.entry);
            const std::uint64_t handedOut = std::min<std::uint64_t>(child.stream->chainBytes(), compound::kMaxStreamBytes);
            if (!budget.spend(0, handedOut)) return;
        }
        visit(child);
    }
}

template <class Visit>
void Mole::forEachChild(std::uint64_t storage, const icu::UnicodeString& path, Budget& budget, Visit&& visit) const {
    forEachChild(storage, path, budget, [](const icu::UnicodeString&) { return true; }, visit);
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
    if (handler.usesSmallSectors()) {
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

Array Mole::getDirectory() {
    Budget budget = newBudget();
    buildDirectory(0, u"/", 0, budget);
    return directoryArray_;
}

void Mole::buildDirectory(std::uint64_t storage, const icu::UnicodeString& path, int depth, Budget& budget) {
    if (depth > compound::kMaxNestingDepth) return;
    forEachChild(storage, path, budget, [&](const Child& child) {
        Dictionary record;
        record.set(kEntryName, Value(child.path));
        if (child.stream) record.set(kEntrySize, Value(static_cast<long long>(child.entry->size)));
        if (!child.entry) child.logFailedLookup();
        directoryArray_.push_back(Value(std::move(record)));
        if (child.isFolder()) buildDirectory(child.lookup.index, child.path + u"/", depth + 1, budget);
    });
}

Array Mole::getOLEArray() const {
    Budget budget = newBudget();
    return buildOLEArray(0, u"/", 0, budget);
}

Array Mole::buildOLEArray(std::uint64_t storage, const icu::UnicodeString& path, int depth, Budget& budget) const {
    Array list;
    if (depth > compound::kMaxNestingDepth) return list;
    forEachChild(storage, path, budget, [&](const Child& child) {
        Dictionary record;
        if (child.stream) {
            child.stream->logOpening();
            record.set(kEntryName, Value(child.name));
            record.set(kObjectData, Value(readStream(*child.stream, child.path).bytes));
        }
        if (!child.entry) child.logFailedLookup();
        if (child.isFolder()) {
            record.set(kEntryName, Value(child.name));
            record.set(kChildEntry, Value(buildOLEArray(child.lookup.index, child.path + u"/", depth + 1, budget)));
        }
        list.push_back(Value(std::move(record)));
    });
    return list;
}

Dictionary Mole::getOLEDictionary() const {
    Budget budget = newBudget();
    return buildOLEDictionary(0, u"/", 0, budget);
}

Dictionary Mole::buildOLEDictionary(std::uint64_t storage, const icu::UnicodeString& path, int depth,
                                    Budget& budget) const {
    Dictionary dictionary;
    if (path == kEmptyNameStop) return dictionary;
    if (depth > compound::kMaxNestingDepth) {
        log("Error: Maximum recursion depth exceeded in OLE structure");
        return dictionary;
    }
    forEachChild(storage, path, budget, [&](const Child& child) {
        try {
            if (child.stream) {
                child.stream->logOpening();
                dictionary.set(child.name, Value(readStream(*child.stream, child.path).bytes));
            }
            if (!child.entry) child.logFailedLookup();
            if (child.isFolder()) {
                Dictionary nested = buildOLEDictionary(child.lookup.index, child.path + u"/", depth + 1, budget);
                if (!nested.empty()) dictionary.set(child.name, Value(std::move(nested)));
            }
        } catch (const std::exception& e) {
            log("Exception processing OLE entry %s: %s", toUtf8(child.name).c_str(), e.what());
        }
    });
    return dictionary;
}

Dictionary Mole::getOLEDictionaryWithContents(const std::optional<std::vector<icu::UnicodeString>>& names) const {
    Budget budget = newBudget();
    return buildOLEDictionary(0, u"/", names, 0, budget);
}

Dictionary Mole::buildOLEDictionary(std::uint64_t storage, const icu::UnicodeString& path,
                                    const std::optional<std::vector<icu::UnicodeString>>& names, int depth,
                                    Budget& budget) const {
    Dictionary dictionary;
    if (depth > compound::kMaxNestingDepth) return dictionary;
    const auto taken = [&](const icu::UnicodeString& name) {
        if (!names) return true;
        const bool listed = std::find(names->begin(), names->end(), name) != names->end();
        const bool attachment = name.length() >= kAttachPrefix.length() + 1 && name.startsWith(kAttachPrefix);
        return listed || attachment;
    };
    forEachChild(storage, path, budget, taken, [&](const Child& child) {
        if (child.stream) {
            child.stream->logOpening();
            dictionary.set(child.name, Value(readStream(*child.stream, child.path).bytes));
        }
        if (!child.entry) child.logFailedLookup();
        if (child.isFolder())
            dictionary.set(child.name,
                           Value(buildOLEDictionary(child.lookup.index, child.path + u"/", std::nullopt, depth + 1, budget)));
    });
    return dictionary;
}

}  // namespace tessivo
