// The in-memory form of a decoded TNEF stream: the message's own fields, its
// MAPI property list and the chain of attachments.
//
//   tessivo::LoadedTNEF message;
//   if (tessivo::TNEFDecoder::parseMemory(bytes.data(), bytes.size(), message) == 0) {
//       for (const tessivo::TNEFAttachment& a : message.attachments())   // in order
//           save(a.title, a.fileData);
//   }
//
// Ownership: every byte view in a LoadedTNEF borrows either the stream it was
// parsed from (which must outlive it) or the structure's own text store (UTF-8
// made from UTF-16 values). The structure owns its property arrays and the
// store; clearing or destroying it releases everything at once.
//
// Kept small on purpose, since hostile streams repeat records by the
// thousand: nothing is copied out of the stream, a property keeps only its
// first value, and records that no attribute fills (date received, the
// attachments' own dates and rendering data) have no fields.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <memory>
#include <span>
#include <vector>

#include "tessivo/foundation/value.h"
#include "tessivo/tnef/limits.h"

namespace tessivo {

// A date record as stored: seven 16-bit fields.
struct TNEFDate {
    std::uint16_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, dayOfWeek = 0;
};

// One property of a MAPI property list.
struct MAPIProperty {
    std::uint32_t tag = 0;         // low 16 bits the type, high 16 bits the ID
    std::uint16_t valueCount = 0;  // declared values; below kMaxPropertyCount
    bool named = false;            // a named property (its ID was 0x8000 or above)
    std::uint32_t nameCount = 0;   // names of a named property; their bytes are skipped, not kept
    // The first value (no data for empty values and fixed types without
    // bytes). Further values of a multi-valued property are decoded and
    // dropped: each costs a step of the walk, so a list that decodes to its
    // end never holds a property with more than one.
    std::uint32_t valueSize = 0;
    const std::uint8_t* valueData = nullptr;

    ByteView value() const { return {valueData, valueSize}; }
    std::uint16_t type() const { return static_cast<std::uint16_t>(tag & 0xFFFF); }
};

struct MAPIPropertyList {
    std::vector<MAPIProperty> properties;
};

struct TNEFAttachment {
    ByteView title;
    ByteView fileData;
    MAPIPropertyList mapi;
};

// UTF-8 text made while decoding, kept for the structure's lifetime. Chunks
// never move, so views into them stay valid.
class TNEFTextStore {
public:
    // n zeroed bytes.
    std::span<std::uint8_t> allocate(std::size_t n);

private:
    std::vector<std::unique_ptr<std::uint8_t[]>> chunks_;
    std::size_t used_ = 0;
    std::size_t capacity_ = 0;
};

// The in-memory reader: where the stream starts, how far it has been read, its size.
struct TNEFMemory {
    const std::uint8_t* dataStart = nullptr;
    const std::uint8_t* ptr = nullptr;
    std::size_t size = 0;
};

// A decoded stream (zeroed before each parse).
struct LoadedTNEF {
    ByteView from;
    ByteView subject;
    TNEFDate dateSent;
    std::array<std::uint8_t, tnef::kMessageClassBytes> messageClass{};  // not necessarily terminated
    ByteView body;
    // The chain: element 0 is the starting attachment, which only heads it
    // (records before the first "Attachment Display info" land there); the
    // real attachments follow in order.
    std::deque<TNEFAttachment> chain = std::deque<TNEFAttachment>(1);
    MAPIPropertyList mapi;
    TNEFDate dateStart;
    TNEFDate dateEnd;
    TNEFTextStore text;
    TNEFMemory memory;

    // The real attachments, without the starting one.
    struct Attachments {
        std::deque<TNEFAttachment>::const_iterator first, last;
        auto begin() const { return first; }
        auto end() const { return last; }
    };
    Attachments attachments() const { return {std::next(chain.begin()), chain.end()}; }
    TNEFAttachment& lastAttachment() { return chain.back(); }
};

}  // namespace tessivo
