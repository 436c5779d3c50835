// Fixed values and bounds of the TNEF reader. Every record, property block
// and scan over untrusted bytes stops at one of these.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tessivo::tnef {

// The first four bytes of every stream (78 9F 3E 22).
constexpr std::uint32_t kSignature = 0x223E9F78;

// A record whose data is larger than this fails the parse (100 MB).
constexpr std::uint64_t kMaxChunkBytes = 0x6400000;
// A property block or a multi-valued property with this many entries or more is refused.
constexpr std::uint32_t kMaxPropertyCount = 10001;
// A counted property value of this many bytes or more ends its block.
constexpr std::uint64_t kMaxPropertyDataBytes = 0x6400001;

// Bytes of the message-class field; longer classes are cut.
constexpr std::size_t kMessageClassBytes = 50;
// Bytes of one date record: seven 16-bit fields.
constexpr std::size_t kDateRecordBytes = 14;
// Bytes of the property set of a named property.
constexpr std::size_t kPropertySetBytes = 16;

// An attachment name is cut to this many bytes before it is decoded.
constexpr std::size_t kMaxAttachmentNameBytes = 255;

// Windows file times of the raw scan are kept only from 1970-01-01 00:00:01
// to 2099-12-31 23:59:59 UTC (Unix seconds).
constexpr std::int64_t kFirstScanSecond = 1;
constexpr std::int64_t kLastScanSecond = 4102444799;

}  // namespace tessivo::tnef
