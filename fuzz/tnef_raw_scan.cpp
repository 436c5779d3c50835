// The raw scan of the TNEF reader alone: tags found by search anywhere in
// the bytes, with no signature, record or checksum to get past.
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/read_tnef.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    static const bool silenced = (silenceLog(), true);
    (void)silenced;
    const ByteView bytes(data, size);
    Dictionary scanned;
    ReadTNEF::buildTNEFDictionary(scanned, bytes, false);
    if (const Value* list = scanned.get(u"AttachmentList")) require(list->array()->size() >= 2);
    Dictionary block;
    require(ReadTNEF::decodePropertyStream(bytes, block));
    std::size_t total = 0;
    for (const Value& a : ReadTNEF::retrieveAttachments(bytes)) total += a.dictionary()->get(u"data")->bytes()->size();
    // Each attachment's data lies behind the one before it.
    require(total <= size);
    return 0;
}
