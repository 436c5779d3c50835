#include "tessivo/toolkit/bit_wangers.h"

#include <cstdio>

#include "tessivo/foundation/byte_reader.h"

namespace tessivo {

std::uint16_t BitWangers::readU16(const std::uint8_t* p) { return loadU16le(p); }

std::uint32_t BitWangers::readU32(const std::uint8_t* p) { return loadU32le(p); }

std::optional<std::uint16_t> BitWangers::readU16(ByteView data, std::size_t offset) { return readU16le(data, offset); }

std::optional<std::uint32_t> BitWangers::readU32(ByteView data, std::size_t offset) { return readU32le(data, offset); }

std::uint32_t BitWangers::ByteSwap32BitNumber(std::uint32_t value) { return __builtin_bswap32(value); }

icu::UnicodeString BitWangers::formatSize(std::uint64_t bytes) {
    static constexpr const char* kUnits[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    char buffer[32];
    if (bytes < 1000) {
        std::snprintf(buffer, sizeof buffer, "%llu %s", static_cast<unsigned long long>(bytes),
                      bytes == 1 ? "byte" : "bytes");
        return icu::UnicodeString(buffer, -1, US_INV);
    }
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    value /= 1000.0;
    // Round first so that 999.96 KB reads as 1 MB rather than 1000.0 KB.
    while (unit + 1 < std::size(kUnits) && value >= 999.95) {
        value /= 1000.0;
        ++unit;
    }
    if (value < 99.95)
        std::snprintf(buffer, sizeof buffer, "%.1f %s", value, kUnits[unit]);
    else
        std::snprintf(buffer, sizeof buffer, "%.0f %s", value, kUnits[unit]);
    return icu::UnicodeString(buffer, -1, US_INV);
}

}  // namespace tessivo
