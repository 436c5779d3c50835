// The attribute table of the TNEF record loop: which records are decoded and
// the handler that stores each into the structure.
//
//   for (std::size_t i = 0; i < tessivo::kTNEFAttributes.size(); ++i)
//       if (tessivo::kTNEFAttributes[i].id == id && tessivo::kTNEFAttributes[i].handler(message, i, data) < 0)
//           return fail();
//
// Handlers store views of data (a record's bytes in the stream), so data must
// outlive the structure. Each returns 0, or -1 for a refused record.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "tessivo/foundation/value.h"
#include "tessivo/tnef/tnef_data.h"

namespace tessivo {

// A handler's arguments: the structure, the index of its table entry, the record's data.
using TNEFHandler = int (*)(LoadedTNEF& message, std::size_t index, ByteView data);

struct TNEFAttribute {
    std::uint32_t id;
    const char* name;  // for readers of the table; the parse does not use it
    TNEFHandler handler;
};

int TNEFFromHandler(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFSubjectHandler(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFBody(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFMessageClass(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFDateHandler(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFRendData(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFAttachmentFilename(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFAttachmentSave(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFMapiProperties(LoadedTNEF& message, std::size_t index, ByteView data);
int TNEFAttachmentMAPI(LoadedTNEF& message, std::size_t index, ByteView data);

// Searched in this order; an ID may match several entries.
inline constexpr std::array<TNEFAttribute, 12> kTNEFAttributes = {{
    {0x00008000, "From", TNEFFromHandler},
    {0x00018004, "Subject", TNEFSubjectHandler},
    {0x00038005, "Date Sent", TNEFDateHandler},
    {0x00078008, "Message Class", TNEFMessageClass},
    {0x0002800C, "Body", TNEFBody},
    {0x0006800F, "Attach Data", TNEFAttachmentSave},
    {0x00018010, "Attach Title", TNEFAttachmentFilename},
    {0x00069002, "Attachment Display info", TNEFRendData},
    {0x00069003, "MAPI Properties", TNEFMapiProperties},
    {0x00069005, "Attachment", TNEFAttachmentMAPI},
    {0x00030006, "Date Start", TNEFDateHandler},
    {0x00030007, "Date End", TNEFDateHandler},
}};

}  // namespace tessivo
