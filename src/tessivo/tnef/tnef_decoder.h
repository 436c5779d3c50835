// TNEFDecoder: parses a TNEF stream (winmail.dat) into a LoadedTNEF and turns
// that into a message dictionary.
//
//   tessivo::TNEFDecoder decoder;
//   std::optional<tessivo::Dictionary> d = decoder.processTNEF(bytes);   // nothing when the parse fails
//   // d: "Subject", "RTF", "HTML", "Date", "AttachmentList" as the stream has them
//
// A stream is the signature 0x223E9F78, a 2-byte key, then records: a level
// byte, a 32-bit attribute ID, a 32-bit size, the data and a 16-bit sum of
// the data bytes. Known attributes are stored through the attribute table;
// the first record whose checksum does not match ends the parse with success
// (deliberately lenient). Diagnostics go to tessivo::log. A decoder is used by
// one thread at a time; nothing is kept between calls of processTNEF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "tessivo/foundation/value.h"
#include "tessivo/tnef/tnef_data.h"

namespace tessivo {

class TNEFDecoder {
public:
    static constexpr std::uint32_t kFailure = 0xFFFFFFFF;

    // Parses data into the decoder's structure and builds the dictionary from
    // it; nothing when the parse fails. The structure is released either way.
    // Without attachments the dictionary lacks only "AttachmentList" (a
    // summary needs none, and a stream may hold thousands).
    std::optional<Dictionary> processTNEF(ByteView data, bool attachments = true);

    // Points message's reader at size bytes of data (borrowed for message's
    // lifetime) and parses them: 0 on success, kFailure otherwise.
    static std::uint32_t parseMemory(const std::uint8_t* data, std::size_t size, LoadedTNEF& message);
    // The record loop over message's reader: 0 or kFailure.
    static std::uint32_t parseTNEFData(LoadedTNEF& message);
    // One record header: the level byte (ignored), attribute ID and data size; 0 or -1.
    static int GetTNEFHeader(LoadedTNEF& message, std::uint32_t& type, std::uint32_t& size);
    // size bytes of the stream, borrowed, and their sum modulo 65536 in checksum when given; 0 or -1.
    static int readTNEFData(LoadedTNEF& message, ByteView& data, std::size_t size, std::uint16_t* checksum);

    // The message dictionary of a decoded structure: the entries of
    // buildMAPIDictionary when the message has properties, then
    // buildAttachmentList under "AttachmentList" when it is not empty.
    Dictionary buildTNEFDictionary(const LoadedTNEF& message) const;
    // The attachments that have file data, as {"size", "sizeString", "data", "name"}.
    static Array buildAttachmentList(const LoadedTNEF& message);
    // "RTF" and "HTML" from binary values, "Subject" from the subject or
    // conversation topic, overridden by the decoder's "Subject" attribute.
    // Its "Date Sent" attribute never reads as a date (see the .cpp).
    Dictionary buildMAPIDictionary(const MAPIPropertyList& list) const;

    // Releases everything the structure holds and zeroes it.
    static void freeTNEFData(LoadedTNEF& message);

private:
    LoadedTNEF message_;
};

}  // namespace tessivo
