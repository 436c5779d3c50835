// Builds Outlook message files (.msg) for tests on the compound document
// writer: substorage streams, property streams with their 32-byte (message),
// 8-byte (recipient, attachment) or 24-byte (attached message) headers,
// recipient and attachment storages, attached messages and a named-property map.
//
//   tessivo::testing::MsgWriter m;
//   m.unicode(0x0037, "Subject");                  // __substg1.0_0037001F
//   m.string8(0x001A, "IPM.Note");                 // __substg1.0_001A001E
//   m.property(0x0E06, 0x0040, filetime);          // an entry of __properties_version1.0
//   auto& r = m.addRecipient();
//   r.unicode(0x3001, "Ann");
//   r.unicode(0x3003, "ann@example.com");
//   auto& a = m.addAttachment();
//   a.unicode(0x3707, "a.pdf");
//   a.binary(0x3701, bytes);
//   auto& inner = m.addAttachment().embeddedMessage();   // method 5 and a 3701000D storage
//   m.unicode(m.named(0x8083), "ann@example.com");  // a named property, in the named-property map
//   tessivo::Bytes file = m.build();
//
// Streams are written as given; stream() adds one under any name (a damaged
// or surprising one). Nothing is checked: tests state the bytes they need.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "support/cfb_writer.h"
#include "tessivo/foundation/value.h"

namespace tessivo::testing {

// "__substg1.0_" + ID and type as eight upper-case hexadecimal digits.
std::string substgName(std::uint32_t id, std::uint32_t type);

// One 16-byte property stream entry: type, ID, flags, value.
Bytes propertyEntry(std::uint32_t id, std::uint32_t type, std::uint64_t value, std::uint32_t flags = 6);

// One record of the named-property string stream: length, UTF-16LE text, two bytes of padding.
Bytes nameStringRecord(std::string_view text);
// One 8-byte entry of the named-property entry stream.
Bytes nameEntry(std::uint32_t nameOrOffset, std::uint16_t kindAndGuid, std::uint16_t propertyIndex);

// A Windows file time (100 ns ticks since 1601) for seconds since 1970.
std::uint64_t fileTimeFromUnix(std::int64_t seconds);

class MsgStorage {
public:
    enum class Kind { Message, Recipient, Attachment, EmbeddedMessage };
    explicit MsgStorage(Kind kind) : kind_(kind) {}

    MsgStorage& unicode(std::uint32_t id, std::string_view text);   // 0x001F, UTF-16LE
    MsgStorage& string8(std::uint32_t id, std::string_view text);   // 0x001E, bytes as given
    MsgStorage& binary(std::uint32_t id, Bytes data);               // 0x0102
    MsgStorage& stream(std::string name, Bytes data);                // any name
    // A fixed-length property in the property stream.
    MsgStorage& property(std::uint32_t id, std::uint32_t type, std::uint64_t value);
    // Replaces the generated property stream by these bytes.
    MsgStorage& rawPropertyStream(Bytes bytes);

    MsgStorage& addRecipient();
    MsgStorage& addAttachment();
    // This attachment's attached message: method 5 and its storage.
    MsgStorage& embeddedMessage();
    // Named-property map streams of the message (IDs 2, 3, 4 with type 0x0102).
    MsgStorage& nameIdStream(std::uint32_t id, Bytes data);
    // The ID under which a numerically named property is stored: the map's
    // entry stream (written by build) names it at the next position, and the
    // ID is 0x8000 plus that position. A filler entry ends the stream, since
    // the reader never maps an entry stream's last entry.
    std::uint32_t named(std::uint32_t numericName);

    // Writes this storage's streams and storages below path ("" for the root).
    void writeTo(CfbWriter& writer, const std::string& path) const;

private:
    std::size_t headerBytes() const;

    Kind kind_;
    std::vector<std::pair<std::string, Bytes>> streams_;
    Bytes properties_;
    std::optional<Bytes> rawProperties_;
    std::vector<std::unique_ptr<MsgStorage>> recipients_;
    std::vector<std::unique_ptr<MsgStorage>> attachments_;
    std::unique_ptr<MsgStorage> embedded_;
    std::vector<std::pair<std::uint32_t, Bytes>> nameIds_;
    std::vector<std::uint32_t> numericNames_;
};

class MsgWriter : public MsgStorage {
public:
    MsgWriter() : MsgStorage(Kind::Message) {}
    Bytes build(CfbWriter::Options options = {}) const;
};

}  // namespace tessivo::testing
