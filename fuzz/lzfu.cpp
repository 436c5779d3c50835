// Compressed RTF over raw bytes: header checks, decoding into both result
// slots, then the RTF reader and the HTML-in-RTF scan over what came out.
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    static const bool quiet = (silenceLog(), true);
    (void)quiet;
    const ByteView input(data, size);
    const auto rtf = DataWangersNSDataAdditions::getRTFForData(input);
    // A decoded body always has exactly the declared raw size.
    if (rtf) require(rtf->size() == readU32le(input, 4).value_or(0));

    std::uint32_t rawSize = 0;
    std::optional<Bytes> slot = Bytes{};
    RTFWangers::getRTFFromBuffer(data, size, rawSize, slot);
    if (slot && !slot->empty()) require(slot->size() == rawSize);

    if (rtf) {
        DataWangersNSDataAdditions::stringFromRTFData(*rtf);
        RTFWangers::extractHTMLIfEncapsulated(*rtf);
    }
    return 0;
}
