// The named-property map (__nameid_version1.0): property set GUIDs, string
// names and the mapping from numeric names to the IDs of their streams.
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/msg/property_tags.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/bit_wangers.h"

namespace tessivo {

namespace {

using namespace msg;

constexpr std::size_t kGuidBytes = 16;
constexpr std::size_t kNameEntryBytes = 8;
constexpr std::uint32_t kFirstNamedId = 0x8000;

void appendSwapped(Bytes& out, std::uint32_t word) {
    const std::uint32_t swapped = BitWangers::ByteSwap32BitNumber(word);
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<std::uint8_t>(swapped >> shift));
}

}  // namespace

ReadMSG::NamedProperties ReadMSG::getNamedPropertiesForMessage(const Dictionary& rawMessageEntries) {
    const Value* storage = rawMessageEntries.get(kNameIdStorage);
    const Dictionary* map = storage ? storage->dictionary() : nullptr;
    auto stream = [&](std::uint32_t id) -> std::optional<ByteView> {
        const Value* value = map ? map->get(generateKeyFromPrefix(kSubstgPrefix, id, kTypeBinary)) : nullptr;
        if (const Bytes* bytes = value ? value->bytes() : nullptr) return ByteView(*bytes);
        return std::nullopt;
    };
    return NamedProperties{calculateGuids(stream(kNameIdGuids)), generateStringStream(stream(kNameIdStrings)),
                           calculateEntryStreamIndexes(stream(kNameIdEntries))};
}

Array ReadMSG::calculateGuids(std::optional<ByteView> data) {
    Array guids;
    if (!data || data->size() <= kGuidBytes) return guids;
    // The next GUID is read only while it ends before the end of the data:
    // the last GUID of a whole number of them is never read, deliberately.
    for (std::size_t at = 0;; at += kGuidBytes) {
        Bytes guid;
        guid.reserve(kGuidBytes);
        appendSwapped(guid, loadU32le(data->data() + at));
        appendSwapped(guid, loadU32le(data->data() + at + 4));
        guid.insert(guid.end(), data->begin() + at + 8, data->begin() + at + kGuidBytes);
        guids.push_back(Value(std::move(guid)));
        if (at + 2 * kGuidBytes >= data->size()) break;
    }
    return guids;
}

std::map<std::uint32_t, std::uint32_t> ReadMSG::calculateEntryStreamIndexes(std::optional<ByteView> data) {
    std::map<std::uint32_t, std::uint32_t> streams;
    if (!data || data->size() <= kNameEntryBytes) return streams;
    // The stream ID is the entry's position, not its property index; the
    // last entry of a whole number of them is never mapped, deliberately.
    for (std::size_t at = 0;; at += kNameEntryBytes) {
        streams[loadU32le(data->data() + at)] = kFirstNamedId + static_cast<std::uint32_t>(at / kNameEntryBytes);
        if (at + 2 * kNameEntryBytes >= data->size()) break;
    }
    return streams;
}

icu::UnicodeString ReadMSG::generateKeyFromPrefix(const icu::UnicodeString& prefix, std::uint32_t element,
                                                  std::uint32_t elementType) {
    return prefix + getHexFromElement(element, elementType);
}

}  // namespace tessivo
