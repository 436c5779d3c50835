#include "tessivo/compound/mole.h"

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

std::optional<Mole> Mole::openDocument(std::unique_ptr<CompoundDocument> document, int* resultCode) {
    document->open();
    const int code = document->result();
    if (resultCode) *resultCode = code;
    if (code != kCompoundOpened) return std::nullopt;
    return Mole(std::move(document));
}

std::optional<Mole> Mole::initWithData(ByteView data, int* resultCode) {
    auto document = std::make_unique<CompoundDocument>();
    document->initializeWithData(data);
    return openDocument(std::move(document), resultCode);
}

std::optional<Mole> Mole::initWithOwnedData(Bytes data, int* resultCode) {
    auto document = std::make_unique<CompoundDocument>();
    document->initializeWithOwnedData(std::move(data));
    return openDocument(std::move(document), resultCode);
}

Mole::Budget Mole::newBudget() const {
    const CompoundDocumentIO* io = compoundDocument_->io();
    return Budget{std::max(compound::kListingVisitsMinimum,
                           io->directoryTree().entryCount() * compound::kListingVisitsPerEntry),
                  io->data().size() * compound::kListingBytesPerFileByte + compound::kMaxStreamBytes};
}

std::optional<Bytes> Mole::getStream(const icu::UnicodeString& path) const { return getStream(path, nullptr); }

std::optional<Bytes> Mole::getStream(const icu::UnicodeString& path, Budget* budget) const {
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
        // The stream is handed out as if read in 16-byte pieces, at most
        // 1,000,001 of them: the chain is copied in one pass and the messages
        // those pieces would log are logged once per piece.
        const StreamHandler& handler = *stream.handler();
        const std::uint64_t total = handler.chainBytes();
        const std::uint64_t length = std::min<std::uint64_t>(total, compound::kMaxStreamBytes);
        if (budget && !budget->spend(0, length)) return std::nullopt;
        Bytes bytes(length);
        handler.copyPrefix(bytes.data(), length);
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
        return bytes;
    } catch (const std::exception& e) {
        log("Exception reading stream %s: %s", toUtf8(path).c_str(), e.what());
        return std::nullopt;
    }
}

Array Mole::getDirectory() {
    Budget budget = newBudget();
    buildDirectory(u"/", 0, budget);
    return directoryArray_;
}

void Mole::buildDirectory(const icu::UnicodeString& path, int depth, Budget& budget) {
    if (depth > compound::kMaxNestingDepth) return;
    for (const auto& name : compoundDocument_->entries(path)) {
        if (!budget.spend(1, 0)) return;
        const icu::UnicodeString fullPath = path + name;
        Dictionary record;
        record.set(kEntryName, Value(fullPath));
        Stream stream(*compoundDocument_, fullPath);
        if (!stream.fail()) record.set(kEntrySize, Value(static_cast<long long>(stream.size())));
        directoryArray_.push_back(Value(std::move(record)));
        if (compoundDocument_->isDirectory(fullPath)) buildDirectory(fullPath + u"/", depth + 1, budget);
    }
}

Array Mole::getOLEArray() const {
    Budget budget = newBudget();
    return buildOLEArray(u"/", 0, budget);
}

Array Mole::buildOLEArray(const icu::UnicodeString& path, int depth, Budget& budget) const {
    Array list;
    if (depth > compound::kMaxNestingDepth) return list;
    for (const auto& name : compoundDocument_->entries(path)) {
        if (!budget.spend(1, 0)) break;
        const icu::UnicodeString fullPath = path + name;
        Dictionary record;
        if (!Stream(*compoundDocument_, fullPath).fail()) {
            record.set(kEntryName, Value(name));
            if (auto bytes = getStream(fullPath, &budget)) record.set(kObjectData, Value(std::move(*bytes)));
        }
        if (compoundDocument_->isDirectory(fullPath)) {
            record.set(kEntryName, Value(name));
            record.set(kChildEntry, Value(buildOLEArray(fullPath + u"/", depth + 1, budget)));
        }
        list.push_back(Value(std::move(record)));
    }
    return list;
}

Dictionary Mole::getOLEDictionary() const {
    Budget budget = newBudget();
    return buildOLEDictionary(u"/", 0, budget);
}

Dictionary Mole::buildOLEDictionary(const icu::UnicodeString& path, int depth, Budget& budget) const {
    Dictionary dictionary;
    if (path == kEmptyNameStop) return dictionary;
    if (depth > compound::kMaxNestingDepth) {
        log("Error: Maximum recursion depth exceeded in OLE structure");
        return dictionary;
    }
    for (const auto& name : compoundDocument_->entries(path)) {
        if (!budget.spend(1, 0)) break;
        try {
            const icu::UnicodeString fullPath = path + name;
            if (!Stream(*compoundDocument_, fullPath).fail()) {
                if (auto bytes = getStream(fullPath, &budget)) dictionary.set(name, Value(std::move(*bytes)));
            }
            if (compoundDocument_->isDirectory(fullPath)) {
                Dictionary nested = buildOLEDictionary(fullPath + u"/", depth + 1, budget);
                if (!nested.empty()) dictionary.set(name, Value(std::move(nested)));
            }
        } catch (const std::exception& e) {
            log("Exception processing OLE entry %s: %s", toUtf8(name).c_str(), e.what());
        }
    }
    return dictionary;
}

Dictionary Mole::getOLEDictionaryWithContents(const std::optional<std::vector<icu::UnicodeString>>& names) const {
    Budget budget = newBudget();
    return buildOLEDictionary(u"/", names, 0, budget);
}

Dictionary Mole::buildOLEDictionary(const icu::UnicodeString& path,
                                    const std::optional<std::vector<icu::UnicodeString>>& names, int depth,
                                    Budget& budget) const {
    Dictionary dictionary;
    if (depth > compound::kMaxNestingDepth) return dictionary;
    for (const auto& name : compoundDocument_->entries(path)) {
        if (names) {
            const bool listed = std::find(names->begin(), names->end(), name) != names->end();
            const bool attachment = name.length() >= kAttachPrefix.length() + 1 && name.startsWith(kAttachPrefix);
            if (!listed && !attachment) continue;
        }
        if (!budget.spend(1, 0)) break;
        const icu::UnicodeString fullPath = path + name;
        if (!Stream(*compoundDocument_, fullPath).fail()) {
            if (auto bytes = getStream(fullPath, &budget)) dictionary.set(name, Value(std::move(*bytes)));
        }
        if (compoundDocument_->isDirectory(fullPath))
            dictionary.set(name, Value(buildOLEDictionary(fullPath + u"/", std::nullopt, depth + 1, budget)));
    }
    return dictionary;
}

}  // namespace tessivo
