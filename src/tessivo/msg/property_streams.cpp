// Property look-ups: stream names, string properties with their fallback,
// fixed-length values and times in property streams, the 8-byte header of
// sub-storages and the length-prefixed string lists of the named-property map.
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/msg/property_tags.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/data_decoding.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo {

namespace {

using namespace msg;

// Writes value in upper-case hexadecimal, at least four digits (as "%04X"),
// and answers how many: at most eight.
std::size_t putHex(char16_t* out, std::uint32_t value) {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    std::size_t digits = 4;
    while (digits < 8 && value >> (4 * digits) != 0) ++digits;
    for (std::size_t d = 0; d < digits; ++d) out[d] = kDigits[(value >> (4 * (digits - 1 - d))) & 0xF];
    return digits;
}

// A string list record: 32-bit byte length, the characters, two skipped bytes.
constexpr std::size_t kListLengthBytes = 4;
constexpr std::size_t kListTrailerBytes = 2;

}  // namespace

icu::UnicodeString ReadMSG::getHexFromElement(std::uint32_t element, std::uint32_t elementType) {
    if (element == 0 || elementType == 0) return {};
    char16_t text[16];
    const std::size_t typeAt = putHex(text, element);
    return icu::UnicodeString(text, static_cast<std::int32_t>(typeAt + putHex(text + typeAt, elementType)));
}

const Bytes* ReadMSG::getDataFromRoot(const icu::UnicodeString& root, std::uint32_t element,
                                      std::uint32_t elementType, const Dictionary* with) {
    if (!with) return nullptr;
    const icu::UnicodeString key = root + getHexFromElement(element, elementType);
    if (key.isEmpty()) return nullptr;
    const Value* value = with->get(key);
    const Bytes* bytes = value ? value->bytes() : nullptr;
    return bytes && !bytes->empty() ? bytes : nullptr;
}

icu::UnicodeString ReadMSG::decodeElement(std::uint32_t element, std::uint32_t elementType, const Dictionary* with) {
    if (!with) return {};
    const icu::UnicodeString prefix(kSubstgPrefix);
    const bool unicode = elementType == kTypeUnicode;
    Encoding encoding = unicode ? encodings::UTF16LE : encodings::ASCII;
    const Bytes* data = getDataFromRoot(prefix, element, elementType, with);
    if (!data) {
        encoding = unicode ? encodings::ASCII : encodings::UTF16LE;
        data = getDataFromRoot(prefix, element, unicode ? kTypeString8 : kTypeUnicode, with);
    }
    if (!data) return {};
    const auto text = DataWangersNSDataAdditions::getStringWithEncoding(*data, encoding);
    if (!text) return {};
    return WindowsCodePageWangersNSStringAdditions::zapGremlins(*text);
}

std::optional<Bytes> ReadMSG::getPropertyElement(std::uint32_t element, std::uint32_t elementType,
                                                 std::optional<ByteView> stream) {
    if (!stream || stream->size() < kPropertyEntryBytes) return std::nullopt;
    for (std::size_t at = 0; at <= stream->size() - kPropertyEntryBytes; at += kPropertyEntryBytes) {
        if (loadU16le(stream->data() + at) != elementType || loadU16le(stream->data() + at + 2) != element) continue;
        const auto value = stream->subspan(at + kPropertyValueOffset, kPropertyEntryBytes - kPropertyValueOffset);
        return Bytes(value.begin(), value.end());
    }
    return std::nullopt;
}

std::optional<Date> ReadMSG::getDateFromPropertyElement(std::uint32_t element, std::optional<ByteView> stream) {
    if (!stream || stream->size() <= kPropertyEntryBytes) return std::nullopt;
    // The last entry is never examined (offset < length - 16), deliberately.
    for (std::size_t at = 0; at < stream->size() - kPropertyEntryBytes; at += kPropertyEntryBytes) {
        if (loadU16le(stream->data() + at) != kTypeTime || loadU16le(stream->data() + at + 2) != element) continue;
        const std::uint64_t ticks = *readU64le(*stream, at + kPropertyValueOffset);
        return Date{static_cast<double>(TimeWangers::getUnixTimeFromWindowsTime(ticks))};
    }
    return std::nullopt;
}

std::optional<ByteView> ReadMSG::trimmedPropertyStreamFromEntry(const Dictionary* entry) {
    const Value* value = entry ? entry->get(kPropertiesStream) : nullptr;
    const Bytes* bytes = value ? value->bytes() : nullptr;
    if (!bytes || bytes->size() <= kSubStorageHeaderBytes) return std::nullopt;
    return ByteView(*bytes).subspan(kSubStorageHeaderBytes);
}

Array ReadMSG::generateStringStream(std::optional<ByteView> data) {
    Array names;
    if (!data || data->size() <= kListLengthBytes) return names;
    const std::uint64_t size = data->size();
    std::uint64_t lengthAt = 0;
    std::uint64_t textAt = kListLengthBytes;
    do {
        // textAt < size leaves the four length bytes at lengthAt inside the data.
        const std::uint64_t length = loadU32le(data->data() + lengthAt);
        Bytes characters;
        // A character that ends exactly at the end of the data is not copied.
        for (std::uint64_t k = 0; k < length && textAt + k + 2 < size; k += 2)
            characters.insert(characters.end(), data->begin() + textAt + k, data->begin() + textAt + k + 2);
        if (!characters.empty())
            if (auto name = decode(characters, encodings::UTF16LE); name && !name->isEmpty()) names.push_back(*name);
        // Records follow at a fixed step of length + 2, not rounded to 4 bytes.
        lengthAt = textAt + length + kListTrailerBytes;
        textAt = lengthAt + kListLengthBytes;
    } while (textAt < size);
    return names;
}

}  // namespace tessivo
