#include "support/msg_writer.h"

#include <cstdio>

#include "tessivo/foundation/file_time.h"

namespace tessivo::testing {

namespace {

constexpr std::uint32_t kTypeInt32 = 0x0003;
constexpr std::uint32_t kTypeString8 = 0x001E;
constexpr std::uint32_t kTypeUnicode = 0x001F;
constexpr std::uint32_t kTypeBinary = 0x0102;
// The entry stream of the named-property map, and the GUID index of the
// first property set of the GUID stream (0 to 2 are the predefined sets).
constexpr std::uint32_t kNameIdEntries = 0x0003;
constexpr std::uint16_t kFirstGuidIndex = 3;

void appendLE(Bytes& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

std::string numbered(const char* prefix, std::size_t n) {
    char name[64];
    std::snprintf(name, sizeof name, "%s%08zX", prefix, n);
    return name;
}

}  // namespace

std::string substgName(std::uint32_t id, std::uint32_t type) {
    char name[32];
    std::snprintf(name, sizeof name, "__substg1.0_%04X%04X", id, type);
    return name;
}

Bytes propertyEntry(std::uint32_t id, std::uint32_t type, std::uint64_t value, std::uint32_t flags) {
    Bytes entry;
    appendLE(entry, type, 2);
    appendLE(entry, id, 2);
    appendLE(entry, flags, 4);
    appendLE(entry, value, 8);
    return entry;
}

Bytes nameStringRecord(std::string_view text) {
    const Bytes characters = utf16le(text);
    Bytes record;
    appendLE(record, characters.size(), 4);
    record.insert(record.end(), characters.begin(), characters.end());
    appendLE(record, 0, 2);
    return record;
}

Bytes nameEntry(std::uint32_t nameOrOffset, std::uint16_t kindAndGuid, std::uint16_t propertyIndex) {
    Bytes entry;
    appendLE(entry, nameOrOffset, 4);
    appendLE(entry, kindAndGuid, 2);
    appendLE(entry, propertyIndex, 2);
    return entry;
}

std::uint64_t fileTimeFromUnix(std::int64_t seconds) {
    return static_cast<std::uint64_t>(seconds + kWindowsEpochSeconds) * kTicksPerSecond;
}

MsgStorage& MsgStorage::unicode(std::uint32_t id, std::string_view text) {
    return stream(substgName(id, kTypeUnicode), utf16le(text));
}

MsgStorage& MsgStorage::string8(std::uint32_t id, std::string_view text) {
    return stream(substgName(id, kTypeString8), Bytes(text.begin(), text.end()));
}

MsgStorage& MsgStorage::binary(std::uint32_t id, Bytes data) { return stream(substgName(id, kTypeBinary), std::move(data)); }

MsgStorage& MsgStorage::stream(std::string name, Bytes data) {
    streams_.emplace_back(std::move(name), std::move(data));
    return *this;
}

MsgStorage& MsgStorage::property(std::uint32_t id, std::uint32_t type, std::uint64_t value) {
    const Bytes entry = propertyEntry(id, type, value);
    properties_.insert(properties_.end(), entry.begin(), entry.end());
    return *this;
}

MsgStorage& MsgStorage::rawPropertyStream(Bytes bytes) {
    rawProperties_ = std::move(bytes);
    return *this;
}

MsgStorage& MsgStorage::addRecipient() { return *recipients_.emplace_back(std::make_unique<MsgStorage>(Kind::Recipient)); }

MsgStorage& MsgStorage::addAttachment() {
    return *attachments_.emplace_back(std::make_unique<MsgStorage>(Kind::Attachment));
}

MsgStorage& MsgStorage::embeddedMessage() {
    property(0x3705, kTypeInt32, 5);
    embedded_ = std::make_unique<MsgStorage>(Kind::EmbeddedMessage);
    return *embedded_;
}

MsgStorage& MsgStorage::nameIdStream(std::uint32_t id, Bytes data) {
    nameIds_.emplace_back(id, std::move(data));
    return *this;
}

std::uint32_t MsgStorage::named(std::uint32_t numericName) {
    std::size_t position = 0;
    while (position < numericNames_.size() && numericNames_[position] != numericName) ++position;
    if (position == numericNames_.size()) numericNames_.push_back(numericName);
    return 0x8000 + static_cast<std::uint32_t>(position);
}

std::size_t MsgStorage::headerBytes() const {
    switch (kind_) {
    case Kind::Message: return 32;
    case Kind::EmbeddedMessage: return 24;
    default: return 8;
    }
}

void MsgStorage::writeTo(CfbWriter& writer, const std::string& path) const {
    const std::string prefix = path.empty() ? "" : path + "/";
    for (const auto& [name, data] : streams_) writer.addStream(prefix + name, data);
    if (rawProperties_) {
        writer.addStream(prefix + "__properties_version1.0", *rawProperties_);
    } else if (!properties_.empty() || kind_ == Kind::Message) {
        // The header's counts are not read by the reader; the message header
        // gives its recipient and attachment counts as Outlook does.
        Bytes stream(headerBytes(), 0);
        if (kind_ == Kind::Message || kind_ == Kind::EmbeddedMessage) {
            stream[8] = static_cast<std::uint8_t>(recipients_.size());
            stream[12] = static_cast<std::uint8_t>(attachments_.size());
        }
        stream.insert(stream.end(), properties_.begin(), properties_.end());
        writer.addStream(prefix + "__properties_version1.0", stream);
    }
    for (std::size_t i = 0; i < recipients_.size(); ++i)
        recipients_[i]->writeTo(writer, prefix + numbered("__recip_version1.0_#", i));
    for (std::size_t i = 0; i < attachments_.size(); ++i)
        attachments_[i]->writeTo(writer, prefix + numbered("__attach_version1.0_#", i));
    if (embedded_) embedded_->writeTo(writer, prefix + substgName(0x3701, 0x000D));
    std::vector<std::pair<std::uint32_t, Bytes>> nameIds = nameIds_;
    if (!numericNames_.empty()) {
        Bytes entries;
        for (std::size_t i = 0; i <= numericNames_.size(); ++i) {
            // Numeric names of the first property set; the last entry is the filler.
            const std::uint32_t name = i < numericNames_.size() ? numericNames_[i] : 0;
            const Bytes entry = nameEntry(name, kFirstGuidIndex << 1, static_cast<std::uint16_t>(i));
            entries.insert(entries.end(), entry.begin(), entry.end());
        }
        nameIds.emplace_back(kNameIdEntries, std::move(entries));
    }
    if (!nameIds.empty()) writer.addStorage(prefix + "__nameid_version1.0");
    for (const auto& [id, data] : nameIds) writer.addStream(prefix + "__nameid_version1.0/" + substgName(id, kTypeBinary), data);
}

Bytes MsgWriter::build(CfbWriter::Options options) const {
    CfbWriter writer(options);
    writeTo(writer, "");
    return writer.build().bytes;
}

}  // namespace tessivo::testing
