#include "tessivo/tnef/compressed_rtf.h"

#include "tessivo/body/limits.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/byte_reader.h"

namespace tessivo::tnef {
namespace {
// A control byte and eight references of two bytes each decode to at most
// 8 * 17 bytes: eight bytes out for each byte in.
constexpr std::uint64_t kMaxExpansion = 8;
}  // namespace

std::optional<Bytes> decompressedRTF(ByteView value) {
    const auto rawSize = readU32le(value, 4);
    if (rawSize && value.size() >= body::kRtfHeaderBytes && readU32le(value, 8) == RTFWangers::kCompressedType) {
        const std::size_t compressed = value.size() - body::kRtfHeaderBytes;
        if (*rawSize > kMaxExpansion * compressed)
            return RTFWangers::decodeRTFSource(value.data() + body::kRtfHeaderBytes, compressed,
                                               static_cast<std::uint32_t>(kMaxExpansion * compressed));
    }
    std::uint32_t returnSize = 0;
    std::optional<Bytes> rtf;
    RTFWangers::getRTFFromBuffer(value.data(), value.size(), returnSize, rtf);
    return rtf;
}

}  // namespace tessivo::tnef
