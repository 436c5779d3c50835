// The facade over a compound document reader, and named stream handles.
//
//   tessivo::CompoundDocument doc;
//   doc.initializeWithData(bytes);          // borrows bytes
//   doc.open();
//   if (doc.result() == 0) {
//       tessivo::Stream s(doc, u"/__substg1.0_0037001F");
//       if (!s.fail()) n = s.read(buf, sizeof buf);
//   }
//
// Paths are UTF-16 strings of slash-separated names ("/" is the root).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/compound_document_io.h"
#include "tessivo/compound/stream_handler.h"

namespace tessivo {

class CompoundDocument {
public:
    // Creates a reader over data, which must outlive the document; empty data
    // logs an error and leaves no reader.
    void initializeWithData(ByteView data);
    // The same, keeping its own copy of the bytes.
    void initializeWithOwnedData(Bytes data);
    bool open();
    // The reader's result code, or 4 without a reader.
    int result() const;
    // Why the document did not open (the reader's fault, or the missing data
    // when there is no reader); nothing once it has opened.
    std::optional<Fault> fault() const;
    // Names of the children of the folder at path, in tree order; empty for a stream or a missing path.
    std::vector<icu::UnicodeString> entries(const icu::UnicodeString& path) const;
    bool isDirectory(const icu::UnicodeString& path) const;

    // The reader, or nullptr.
    const CompoundDocumentIO* io() const { return io_.get(); }

private:
    std::unique_ptr<CompoundDocumentIO> io_;
};

class Stream {
public:
    // Opens the stream at path of document; a missing stream leaves it failed.
    Stream(const CompoundDocument& document, const icu::UnicodeString& path);

    bool fail() const { return !io_ || io_->fail(); }
    // The declared size, or 0 without a handler.
    std::uint64_t size() const;
    // Reads on from the current position; 0 without a handler.
    std::uint64_t read(std::uint8_t* buffer, std::uint64_t length);
    // The handler, or nullptr; owned by the stream.
    const StreamHandler* handler() const { return io_.get(); }

private:
    std::unique_ptr<StreamHandler> io_;
};

}  // namespace tessivo
