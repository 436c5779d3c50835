// MAPI property blocks of TNEF records: a count, then for each property its
// tag, the name of a named property, a value count for multi-valued ones and
// the values, each padded to four bytes.
//
//   tessivo::TNEFFillMapi(message, recordData, message.mapi);
//   if (const tessivo::MAPIProperty* p = tessivo::GetProperty(message.mapi, 0x0037001E))
//       use(p->value());
//
// A block decodes whole or not at all: any refusal leaves the list empty.
// Diagnostics are the "TNEF: ..." log lines.
#pragma once

#include <cstdint>
#include <optional>

#include "tessivo/foundation/value.h"
#include "tessivo/tnef/tnef_data.h"

namespace tessivo {

// Decodes the block in data into list, replacing what list held. Values of
// fixed types and counted bytes borrow data; UTF-16 text (type 001F) is
// converted into message's text store.
void TNEFFillMapi(LoadedTNEF& message, ByteView data, MAPIPropertyList& list);

// The first property of the list with this tag and the named flag 0, or null.
const MAPIProperty* GetProperty(const MAPIPropertyList& list, std::uint32_t tag);

// UTF-16LE code units as UTF-8, each unit encoded on its own (surrogate
// halves separately, deliberately unpaired), in store; the view excludes the
// terminating zero byte that follows. Nothing for fewer than 2 bytes. An odd
// last byte is ignored.
std::optional<ByteView> makeUTF8(ByteView utf16, TNEFTextStore& store);

}  // namespace tessivo
