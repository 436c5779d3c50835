// Compressed RTF over raw bytes: header checks, decoding with and without
// the padding to the declared raw size, then the RTF reader and the
// HTML-in-RTF scan over what came out.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace {
// Padded decoding allocates the declared raw size (up to 128 MB); it is
// checked only where that stays within this many bytes per input byte, so
// that the fuzzer spends its time decoding rather than zeroing memory.
constexpr std::size_t kPaddedBytesPerInputByte = 64;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    static const bool quiet = (silenceLog(), true);
    (void)quiet;
    const ByteView input(data, size);
    const auto rtf = DataWangersNSDataAdditions::getRTFForDataWithoutPadding(input);
    const std::uint32_t rawSize = readU32le(input, 4).value_or(0);
    if (rtf) require(rtf->size() <= rawSize);

    if (rawSize <= kPaddedBytesPerInputByte * size + 4096) {
        // The padded body is the unpadded one followed by zeros, exactly raw-size bytes.
        const auto padded = DataWangersNSDataAdditions::getRTFForData(input);
        require(padded.has_value() == rtf.has_value());
        if (padded) {
            require(padded->size() == rawSize);
            require(std::equal(rtf->begin(), rtf->end(), padded->begin()));
            require(std::all_of(padded->begin() + static_cast<std::ptrdiff_t>(rtf->size()), padded->end(),
                                [](std::uint8_t b) { return b == 0; }));
        }
        std::uint32_t returnSize = 0;
        std::optional<Bytes> slot = Bytes{};
        RTFWangers::getRTFFromBuffer(data, size, returnSize, slot);
        if (slot && !slot->empty()) require(slot->size() == returnSize);
    }

    if (rtf) {
        DataWangersNSDataAdditions::stringFromRTFData(*rtf);
        RTFWangers::extractHTMLIfEncapsulated(*rtf);
    }
    return 0;
}
