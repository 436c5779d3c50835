#include "tessivo/toolkit/data_search.h"

#include <cstring>

namespace tessivo::DataWangersNSDataAdditions {

std::optional<std::size_t> searchForBytes(ByteView data, const std::uint8_t* bytes, std::size_t numberOfBytes) {
    if (numberOfBytes == 0 || !bytes || data.empty()) return std::nullopt;
    const void* at = memmem(data.data(), data.size(), bytes, numberOfBytes);
    if (!at) return std::nullopt;
    return static_cast<std::size_t>(static_cast<const std::uint8_t*>(at) - data.data());
}

}  // namespace tessivo::DataWangersNSDataAdditions
