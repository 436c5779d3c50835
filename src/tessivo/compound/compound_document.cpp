#include "tessivo/compound/compound_document.h"

#include "tessivo/foundation/log.h"

namespace tessivo {

void CompoundDocument::initializeWithData(ByteView data) {
    if (data.empty()) {
        log("Error: Cannot initialize CompoundDocument with nil or empty data");
        return;
    }
    io_ = std::make_unique<CompoundDocumentIO>(data);
}

void CompoundDocument::initializeWithOwnedData(Bytes data) {
    if (data.empty()) {
        log("Error: Cannot initialize CompoundDocument with nil or empty data");
        return;
    }
    io_ = std::make_unique<CompoundDocumentIO>(std::move(data));
}

bool CompoundDocument::open() {
    if (!io_) {
        log("Error: CompoundDocumentIO (io) is nil in open");
        return false;
    }
    return io_->open();
}

int CompoundDocument::result() const {
    if (!io_) {
        log("Error: CompoundDocumentIO (io) is nil in result");
        return kCompoundNoComponent;
    }
    return io_->result();
}

std::optional<Fault> CompoundDocument::fault() const {
    if (!io_) return Fault{"data", "length", 0, "at least 512 bytes", "0 bytes"};
    return io_->fault();
}

std::vector<icu::UnicodeString> CompoundDocument::entries(const icu::UnicodeString& path) const {
    std::vector<icu::UnicodeString> names;
    if (!io_) {
        log("Error: CompoundDocumentIO (io) is nil in entries:");
        return names;
    }
    const DirectoryTree& tree = io_->directoryTree();
    // Entries equal in every field have the same children, so the index found
    // by the lookup serves as well as the first equal one.
    const auto index = tree.findIndex(path);
    if (!index || !tree.entry(*index)->dir) return names;
    for (std::uint64_t child : tree.children(*index)) names.push_back(tree.entry(child)->name);
    return names;
}

bool CompoundDocument::isDirectory(const icu::UnicodeString& path) const {
    if (!io_) {
        log("Error: CompoundDocumentIO (io) is nil in isDirectory:");
        return false;
    }
    const DirectoryEntry* e = io_->directoryTree().findEntry(path);
    return e && e->dir;
}

Stream::Stream(const CompoundDocument& document, const icu::UnicodeString& path) {
    if (!document.io()) {
        log("Error: CompoundDocument->io is nil in Stream initialize");
        return;
    }
    io_ = document.io()->streamHandler(path);
}

std::uint64_t Stream::size() const {
    if (!io_) {
        log("Error: StreamHandler (io) or entry is nil in size");
        return 0;
    }
    return io_->entry().size;
}

std::uint64_t Stream::read(std::uint8_t* buffer, std::uint64_t length) { return io_ ? io_->read(buffer, length) : 0; }

}  // namespace tessivo
