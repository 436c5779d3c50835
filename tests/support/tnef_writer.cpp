#include "support/tnef_writer.h"

#include <numeric>

#include "support/cfb_writer.h"

namespace tessivo::testing {
namespace {

void putU16(Bytes& b, std::uint16_t v) {
    b.push_back(static_cast<std::uint8_t>(v));
    b.push_back(static_cast<std::uint8_t>(v >> 8));
}
void putU32(Bytes& b, std::uint32_t v) {
    putU16(b, static_cast<std::uint16_t>(v));
    putU16(b, static_cast<std::uint16_t>(v >> 16));
}
void append(Bytes& b, ByteView data) { b.insert(b.end(), data.begin(), data.end()); }
void padTo4(Bytes& b) {
    while (b.size() % 4) b.push_back(0);
}

bool counted(std::uint16_t type) { return type == 0x000D || type == 0x001E || type == 0x001F || type == 0x0102; }

}  // namespace

std::uint16_t tnefChecksum(ByteView data) {
    return static_cast<std::uint16_t>(std::accumulate(data.begin(), data.end(), 0u));
}

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }

Bytes cStringOf(std::string_view text) {
    Bytes b = bytesOf(text);
    b.push_back(0);
    return b;
}

Bytes le32(std::uint32_t value) {
    Bytes b;
    putU32(b, value);
    return b;
}

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts) append(out, p);
    return out;
}

void MapiBlock::value(std::uint32_t tag, ByteView v, bool single) {
    const auto type = static_cast<std::uint16_t>(tag & 0xFFFF);
    if (counted(type)) {
        if (single) putU32(body_, 1);
        putU32(body_, static_cast<std::uint32_t>(v.size()));
    }
    append(body_, v);
    padTo4(body_);
}

MapiBlock& MapiBlock::property(std::uint32_t tag, ByteView v) {
    putU32(body_, tag);
    value(tag, v, true);
    ++added_;
    return *this;
}

MapiBlock& MapiBlock::string8(std::uint16_t id, std::string_view text) {
    return property(std::uint32_t{id} << 16 | 0x001E, cStringOf(text));
}

MapiBlock& MapiBlock::unicode(std::uint16_t id, std::string_view text) {
    Bytes b = utf16le(text);
    b.insert(b.end(), {0, 0});
    return property(std::uint32_t{id} << 16 | 0x001F, b);
}

MapiBlock& MapiBlock::binary(std::uint16_t id, ByteView bytes) { return property(std::uint32_t{id} << 16 | 0x0102, bytes); }

MapiBlock& MapiBlock::long32(std::uint16_t id, std::uint32_t v) {
    Bytes b;
    putU32(b, v);
    return property(std::uint32_t{id} << 16 | 0x0003, b);
}

MapiBlock& MapiBlock::systime(std::uint16_t id, std::uint64_t fileTime) {
    Bytes b;
    putU32(b, static_cast<std::uint32_t>(fileTime));
    putU32(b, static_cast<std::uint32_t>(fileTime >> 32));
    return property(std::uint32_t{id} << 16 | 0x0040, b);
}

MapiBlock& MapiBlock::multi(std::uint32_t tag, const std::vector<Bytes>& values, std::optional<std::uint32_t> count) {
    putU32(body_, tag | 0x1000);
    putU32(body_, count.value_or(static_cast<std::uint32_t>(values.size())));
    for (const Bytes& v : values) value(tag & ~0x1000u, v, false);
    ++added_;
    return *this;
}

MapiBlock& MapiBlock::namedString(std::uint32_t tag, const Guid& set, std::string_view name, ByteView v) {
    putU32(body_, tag);
    append(body_, set);
    putU32(body_, 1);
    Bytes n = utf16le(name);
    n.insert(n.end(), {0, 0});
    putU32(body_, static_cast<std::uint32_t>(n.size()));
    append(body_, n);
    padTo4(body_);
    value(tag, v, true);
    ++added_;
    return *this;
}

MapiBlock& MapiBlock::namedNumber(std::uint32_t tag, const Guid& set, std::uint32_t number, ByteView v) {
    putU32(body_, tag);
    append(body_, set);
    putU32(body_, 0);
    putU32(body_, number);
    value(tag, v, true);
    ++added_;
    return *this;
}

MapiBlock& MapiBlock::raw(ByteView bytes) {
    append(body_, bytes);
    ++added_;
    return *this;
}

MapiBlock& MapiBlock::count(std::uint32_t declared) {
    declared_ = declared;
    return *this;
}

Bytes MapiBlock::build() const {
    Bytes b;
    putU32(b, declared_.value_or(added_));
    append(b, body_);
    return b;
}

Bytes tnefDate(std::uint16_t year, std::uint16_t month, std::uint16_t day, std::uint16_t hour, std::uint16_t minute,
               std::uint16_t second, std::uint16_t dayOfWeek) {
    Bytes b;
    for (std::uint16_t v : {year, month, day, hour, minute, second, dayOfWeek}) putU16(b, v);
    return b;
}

TnefWriter::TnefWriter(std::uint32_t signature, std::uint16_t key) {
    putU32(bytes_, signature);
    putU16(bytes_, key);
}

TnefWriter& TnefWriter::record(std::uint32_t id, ByteView data, std::optional<std::uint16_t> checksum,
                               std::uint8_t level) {
    header(id, static_cast<std::uint32_t>(data.size()), level);
    append(bytes_, data);
    putU16(bytes_, checksum.value_or(tnefChecksum(data)));
    return *this;
}

TnefWriter& TnefWriter::header(std::uint32_t id, std::uint32_t size, std::uint8_t level) {
    bytes_.push_back(level);
    putU32(bytes_, id);
    putU32(bytes_, size);
    return *this;
}

TnefWriter& TnefWriter::raw(ByteView bytes) {
    append(bytes_, bytes);
    return *this;
}

TnefWriter& TnefWriter::attachment(std::optional<std::string_view> title, std::optional<ByteView> data,
                                   const std::optional<MapiBlock>& properties) {
    record(kAttAttachRendData, Bytes(14, 0), {}, kAttachmentLevel);
    if (title) record(kAttAttachTitle, cStringOf(*title), {}, kAttachmentLevel);
    if (data) record(kAttAttachData, *data, {}, kAttachmentLevel);
    if (properties) record(kAttAttachment, properties->build(), {}, kAttachmentLevel);
    return *this;
}

}  // namespace tessivo::testing
