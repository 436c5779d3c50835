// Mole: the one door through which the rest of the system reads a compound
// document. It opens a document from bytes, hands out whole streams by path
// and describes the storage tree as a flat list, a nested list or a nested
// dictionary of stream contents.
//
//   int code = 0;
//   tessivo::Fault fault;
//   auto mole = tessivo::Mole::initWithData(fileBytes, &code, &fault);   // borrows fileBytes
//   if (!mole) return refuse(code, fault.describe());                    // code 1..4
//   std::optional<tessivo::Bytes> body = mole->getStream(u"__substg1.0_1000001F");
//   tessivo::Dictionary all = mole->getOLEDictionary();
//
// Paths are icu::UnicodeString: names separated by "/", from the root "/";
// empty components are skipped, so "a/b", "/a/b" and "//a//b" are the same
// stream. Names compare case-sensitively.
//
// A stream comes back as whole sectors (its chain length times the sector
// size), not cut to its declared size, and is cut at 16,000,016 bytes.
// Listings are bounded in the work they do and the memory they build by the
// size of the document (see limits.h), however damaged its tree; where a
// bound cuts one, it keeps a storage's own children before the copies of the
// tree that a damaged directory repeats below it (see listing_plan.h).
// Diagnostics go to tessivo::log. A Mole is used by one thread at a time.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/compound_document.h"
#include "tessivo/compound/listing_plan.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

// A stream's bytes with the zeros that end it counted rather than stored:
// bytes followed by zeroTail zero bytes are the stream.
struct StreamWithZeroTail {
    Bytes bytes;
    std::uint64_t zeroTail = 0;
};

class Mole {
public:
    // Opens data in place: data must outlive the Mole and everything it hands
    // out borrows nothing from it. Nothing when the document does not open;
    // resultCode (when given) receives the document's result code: 0 opened,
    // 1 fewer than 512 bytes, 2 wrong signature, 3 invalid header or damaged
    // structure, 4 no reader (empty data); fault (when given) receives the
    // check that refused the document, located in the data.
    static std::optional<Mole> initWithData(ByteView data, int* resultCode = nullptr, Fault* fault = nullptr);
    // The same over a copy the Mole keeps.
    static std::optional<Mole> initWithOwnedData(Bytes data, int* resultCode = nullptr, Fault* fault = nullptr);

    // The bytes of the stream at path, or nothing for a storage or a missing path.
    std::optional<Bytes> getStream(const icu::UnicodeString& path) const;
    // getStream's result (and messages) with the sectors past the end of the
    // data, which read as zeros, counted rather than stored: for readers of
    // cut documents that need not hold those zeros.
    std::optional<StreamWithZeroTail> getStreamWithZeroTail(const icu::UnicodeString& path) const;
    // Every entry as {"entryname": full path, "entrysize": declared size (streams only)},
    // in tree order. Each call appends to the listing of the calls before it.
    Array getDirectory();
    // The tree as nested lists of {"entryname", "objectdata" | "childentry"}.
    Array getOLEArray() const;
    // The tree as nested dictionaries: stream name to bytes, storage name to
    // its dictionary; empty storages are left out.
    Dictionary getOLEDictionary() const;
    // The same, keeping at the top level only the given names and storages
    // whose names begin with "__attach_version"; everything below is kept,
    // empty storages included. Without names everything is kept.
    Dictionary getOLEDictionaryWithContents(const std::optional<std::vector<icu::UnicodeString>>& names) const;

    const CompoundDocument& compoundDocument() const { return *compoundDocument_; }

private:
    explicit Mole(std::unique_ptr<CompoundDocument> document);
    static std::optional<Mole> openDocument(std::unique_ptr<CompoundDocument> document, int* resultCode,
                                            Fault* fault);

    std::optional<StreamWithZeroTail> getStream(const icu::UnicodeString& path, bool countZeroTail) const;
    // A stream as getStream hands it out: copied in one pass, with the
    // messages its reading in 16-byte pieces logs; with countZeroTail, the
    // sectors past the end of the data are counted, not copied.
    StreamWithZeroTail readStream(const StreamHandler& handler, const icu::UnicodeString& path,
                                  bool countZeroTail = false) const;
    // A stream a listing lists, read as readStream reads it; its path is
    // built only for the message of a stream cut at the most bytes handed out.
    Bytes readListedStream(const ListingPlan& plan, const ListingPlan::Item& item) const;
    // The listings, built from their plans (see listing_plan.h).
    void buildDirectory(const ListingPlan& plan, const ListingPlan::Node& node);
    Array buildOLEArray(const ListingPlan& plan, const ListingPlan::Node& node) const;
    Dictionary buildOLEDictionary(const ListingPlan& plan, const ListingPlan::Node& node) const;
    Dictionary buildFilteredOLEDictionary(const ListingPlan& plan, const ListingPlan::Node& node) const;

    Array directoryArray_;
    std::unique_ptr<CompoundDocument> compoundDocument_;
};

}  // namespace tessivo
