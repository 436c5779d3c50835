// The whole importer path: file bytes in, body text out.
#include <cstddef>
#include <cstdint>

#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool silenced = (tessivo::silenceLog(), true);
    (void)silenced;
    const tessivo::importer::Result result = tessivo::importer::extractText(tessivo::ByteView(data, size));
    // A body of NULs alone is text too: the NULs are counted, not stored.
    if (result.outcome == tessivo::importer::Outcome::Text && result.text.isEmpty() && result.trailingNuls == 0)
        __builtin_trap();
    return 0;
}
