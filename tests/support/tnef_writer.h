// Builds TNEF streams (winmail.dat) for tests, record by record, so that a
// test states the bytes it feeds the reader.
//
//   using namespace tessivo::testing;
//   MapiBlock props;
//   props.string8(0x0037, "Hello").binary(0x1009, lzfuCompress(rtf)).unicode(0x3001, "Ann");
//   TnefWriter w;
//   w.subject("Hello").mapi(props);
//   w.attachment("a.txt", bytesOf("data"), MapiBlock().string8(0x3707, "long name.txt"));
//   w.record(kAttSubject, bytesOf("x"), kBadChecksum);     // a damaged record
//   tessivo::Bytes stream = w.build();
//
// Records carry their correct checksum unless one is given. Strings written
// by the attribute helpers end with a NUL byte, as Outlook writes them.
#pragma once

#include <array>
#include <initializer_list>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

// Attribute IDs.
constexpr std::uint32_t kAttFrom = 0x00008000;
constexpr std::uint32_t kAttSubject = 0x00018004;
constexpr std::uint32_t kAttDateSent = 0x00038005;
constexpr std::uint32_t kAttDateReceived = 0x00038006;
constexpr std::uint32_t kAttMessageClass = 0x00078008;
constexpr std::uint32_t kAttBody = 0x0002800C;
constexpr std::uint32_t kAttAttachData = 0x0006800F;
constexpr std::uint32_t kAttAttachTitle = 0x00018010;
constexpr std::uint32_t kAttAttachRendData = 0x00069002;
constexpr std::uint32_t kAttMapiProps = 0x00069003;
constexpr std::uint32_t kAttAttachment = 0x00069005;
constexpr std::uint32_t kAttDateStart = 0x00030006;
constexpr std::uint32_t kAttDateEnd = 0x00030007;
constexpr std::uint32_t kAttTnefVersion = 0x00089006;

// The sum of the bytes modulo 65536, as a record stores it.
std::uint16_t tnefChecksum(ByteView data);

Bytes bytesOf(std::string_view text);
// text followed by a NUL byte.
Bytes cStringOf(std::string_view text);
// A 32-bit little-endian value.
Bytes le32(std::uint32_t value);
// The parts one after another.
Bytes cat(std::initializer_list<Bytes> parts);

// A MAPI property block: the count (of the properties added, unless set),
// then each property as written. Values are padded to four bytes.
class MapiBlock {
public:
    using Guid = std::array<std::uint8_t, 16>;

    // A single value under a full tag (type in the low 16 bits): types 0002
    // (2 bytes, padded), 0003/0004/000A/000B (4), 0005/0006/0007/0014/0040
    // (8) take the value as it is; 000D/001E/001F/0102 write a value count
    // of 1, the size and the padded bytes; other types write value as it is.
    MapiBlock& property(std::uint32_t tag, ByteView value);
    MapiBlock& string8(std::uint16_t id, std::string_view text);   // 001E, NUL-terminated
    MapiBlock& unicode(std::uint16_t id, std::string_view text);   // 001F, UTF-16LE, NUL-terminated
    MapiBlock& binary(std::uint16_t id, ByteView bytes);           // 0102
    MapiBlock& long32(std::uint16_t id, std::uint32_t value);      // 0003
    MapiBlock& systime(std::uint16_t id, std::uint64_t fileTime);  // 0040
    // A multi-valued property: the tag with 0x1000 set, the count, then each
    // value (fixed types as they are, counted ones as size and padded bytes).
    MapiBlock& multi(std::uint32_t tag, const std::vector<Bytes>& values, std::optional<std::uint32_t> count = {});
    // A named property (ID 0x8000 and up): property set, then either one
    // string name (UTF-16LE) or a numeric name, then the value as property() writes it.
    MapiBlock& namedString(std::uint32_t tag, const Guid& set, std::string_view name, ByteView value);
    MapiBlock& namedNumber(std::uint32_t tag, const Guid& set, std::uint32_t number, ByteView value);
    // Bytes written as they are, counted as one property.
    MapiBlock& raw(ByteView bytes);
    // Overrides the declared count.
    MapiBlock& count(std::uint32_t declared);

    std::uint32_t added() const { return added_; }
    Bytes build() const;

private:
    void value(std::uint32_t tag, ByteView value, bool single);
    Bytes body_;
    std::uint32_t added_ = 0;
    std::optional<std::uint32_t> declared_;
};

// A date record: year, month, day, hour, minute, second, day of week.
Bytes tnefDate(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour, std::uint16_t minute,
               std::uint16_t second, std::uint16_t dayOfWeek = 0);

class TnefWriter {
public:
    static constexpr std::uint8_t kMessageLevel = 1;
    static constexpr std::uint8_t kAttachmentLevel = 2;

    static constexpr std::uint32_t kSignature = 0x223E9F78;

    // A stream that starts with the signature and the key.
    explicit TnefWriter(std::uint32_t signature = kSignature, std::uint16_t key = 0x0001);

    // One record: level, ID, size, data, checksum (correct unless given).
    TnefWriter& record(std::uint32_t id, ByteView data, std::optional<std::uint16_t> checksum = {},
                       std::uint8_t level = kMessageLevel);
    // A record header declaring size bytes, with nothing after it.
    TnefWriter& header(std::uint32_t id, std::uint32_t size, std::uint8_t level = kMessageLevel);
    TnefWriter& raw(ByteView bytes);

    TnefWriter& subject(std::string_view text) { return record(kAttSubject, cStringOf(text)); }
    TnefWriter& messageClass(std::string_view text) { return record(kAttMessageClass, cStringOf(text)); }
    TnefWriter& mapi(const MapiBlock& block) { return record(kAttMapiProps, block.build()); }
    // An attachment: its display record, title, data and properties, each when given.
    TnefWriter& attachment(std::optional<std::string_view> title, std::optional<ByteView> data,
                           const std::optional<MapiBlock>& properties = {});

    std::size_t size() const { return bytes_.size(); }
    const Bytes& build() const { return bytes_; }

private:
    Bytes bytes_;
};

}  // namespace tessivo::testing
