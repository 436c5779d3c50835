// Byte and bit helpers: little-endian loads, byte swaps and readable sizes.
//
//   std::uint32_t v = tessivo::BitWangers::readU32(p);              // p has 4 readable bytes
//   icu::UnicodeString s = tessivo::BitWangers::formatSize(1234567);  // u"1.2 MB"
//
// readU16/readU32 trust the caller to have checked the bounds; over untrusted
// bytes use the ByteView overloads, which give nullopt when short.
#pragma once

#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

class BitWangers {
public:
    BitWangers() = delete;

    static std::uint16_t readU16(const std::uint8_t* p);
    static std::uint32_t readU32(const std::uint8_t* p);
    static std::optional<std::uint16_t> readU16(ByteView data, std::size_t offset);
    static std::optional<std::uint32_t> readU32(ByteView data, std::size_t offset);
    static std::uint32_t ByteSwap32BitNumber(std::uint32_t value);
    // Decimal units: "0 bytes", "1 byte", "999 bytes", "1.2 KB", "12.3 MB", "123 GB".
    static icu::UnicodeString formatSize(std::uint64_t bytes);
};

}  // namespace tessivo
