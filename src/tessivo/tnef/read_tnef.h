// ReadTNEF: the message dictionary of a TNEF stream (winmail.dat), the same
// kind of dictionary the .msg reader answers.
//
//   if (auto reader = tessivo::ReadTNEF::initWithData(bytes)) {          // nothing unless 78 9F 3E 22 leads
//       const tessivo::Dictionary& message = reader->returnFullDictionary();
//       if (const tessivo::Value* list = reader->getContent(u"AttachmentList")) ...
//   }
//   auto summary = tessivo::ReadTNEF::getSummaryForMessage(bytes);     // "From", "Subject", "Body", "Date"
//
// Keys: "Subject", "Date", "RTF" (decompressed RTF bytes), "HTML", "Body" (the
// RTF's plain text), "From" (one address dictionary, raw scan only) and
// "AttachmentList" (dictionaries of "size", "sizeString", "data", "name";
// the raw scan gives "data" and "name" only). The decoded records are the
// first source; a stream whose records give nothing is scanned raw for
// known tags instead. Nothing borrows the input; nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

class ReadTNEF {
public:
    // Nothing for fewer than 4 bytes or another signature.
    static std::optional<ReadTNEF> initWithData(ByteView data);

    const Dictionary& returnFullDictionary() const { return mailContent_; }
    // The value for key, or null when it is missing.
    const Value* getContent(const icu::UnicodeString& key) const { return mailContent_.get(key); }
    // Does nothing: every reader of the library answers it.
    ReadTNEF& buildDictionary(const Dictionary&) { return *this; }

    // The "AttachmentList" of initWithData's dictionary (empty when it has
    // none, or for another signature). When the records hold attachments the
    // rest of the dictionary (bodies, subject, date) is not built.
    static Array getAttachmentListForMessage(ByteView data);

    // {"From", "Subject", "Body", "Date"} from the decoded records ("-" for
    // what is missing; "Body" left out when the RTF has no text); every field
    // "** Error Reading Message **" for another signature; nothing for fewer
    // than 4 bytes.
    static std::optional<Dictionary> getSummaryForMessage(ByteView data);

    // The raw scan: the first "MAPI Properties" record's block through
    // decodePropertyStream, then (unless ignoreAttachments) the attachments
    // of retrieveAttachments under "AttachmentList" when there are two or more.
    static void buildTNEFDictionary(Dictionary& dictionary, ByteView data, bool ignoreAttachments);
    // "HTML", "Subject", "From", "Date" and "RTF" from the first occurrence of
    // each known tag in a property block; always true.
    static bool decodePropertyStream(ByteView block, Dictionary& dictionary);
    // Pairs of "Attach Title" and "Attach Data" records found by search, as
    // {"data", "name"} dictionaries.
    static Array retrieveAttachments(ByteView data);

private:
    explicit ReadTNEF(Dictionary content) : mailContent_(std::move(content)) {}
    // The decoded records' dictionary; when it has no key, what the raw scan
    // finds, and scanned is set.
    static Dictionary decodedOrScanned(ByteView data, bool& scanned);
    Dictionary mailContent_;
};

}  // namespace tessivo
