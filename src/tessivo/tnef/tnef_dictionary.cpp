// The message dictionary of a decoded TNEF structure.
#include <algorithm>
#include <cstring>
#include <string>

#include "tessivo/body/html_conversion.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/tnef/compressed_rtf.h"
#include "tessivo/tnef/limits.h"
#include "tessivo/tnef/tnef_decoder.h"
#include "tessivo/tnef/tnef_mapi.h"
#include "tessivo/toolkit/bit_wangers.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo {
namespace {

constexpr std::uint16_t kBinaryType = 0x0102;
constexpr std::uint16_t kString8Type = 0x001E;
constexpr std::uint16_t kSubjectId = 0x0037;
constexpr std::uint16_t kConversationTopicId = 0x0070;
constexpr std::uint32_t kLongFilenameTag = 0x3707001E;
constexpr std::uint32_t kDisplayNameTag = 0x3001001E;

// The bytes before the first zero byte, as C strings of the TNEF layer end.
ByteView upToNul(ByteView bytes) {
    const auto nul = std::find(bytes.begin(), bytes.end(), std::uint8_t{0});
    return bytes.first(static_cast<std::size_t>(nul - bytes.begin()));
}

// The bytes as a NUL-terminated string, for the C-string helpers.
std::string cString(ByteView bytes) {
    const ByteView text = upToNul(bytes);
    return std::string(text.begin(), text.end());
}

// The value of the first unnamed property with the tag, when it has values.
std::optional<ByteView> propertyValue(const MAPIPropertyList& list, std::uint32_t tag) {
    const MAPIProperty* p = GetProperty(list, tag);
    if (!p || p->valueCount == 0) return std::nullopt;
    return p->value();
}

std::optional<icu::UnicodeString> attachmentName(const TNEFAttachment& attachment) {
    ByteView chosen = attachment.title;
    if (auto v = propertyValue(attachment.mapi, kLongFilenameTag))
        chosen = *v;
    else if (auto v = propertyValue(attachment.mapi, kDisplayNameTag))
        chosen = *v;
    chosen = upToNul(chosen);
    return decode(chosen.first(std::min(chosen.size(), tnef::kMaxAttachmentNameBytes)), encodings::UTF8);
}

Dictionary attachmentDictionary(const TNEFAttachment& attachment) {
    Dictionary d;
    const auto size = static_cast<std::int32_t>(attachment.fileData.size());
    d.set(u"size", Value(size));
    d.set(u"sizeString", Value(BitWangers::formatSize(static_cast<std::uint64_t>(size))));
    d.set(u"data", Value(Bytes(attachment.fileData.begin(), attachment.fileData.end())));
    if (auto name = attachmentName(attachment)) d.set(u"name", Value(std::move(*name)));
    return d;
}

// A binary value: compressed RTF under "RTF", else HTML text under "HTML".
void addBinaryValue(Dictionary& d, ByteView value) {
    if (!value.empty() && RTFWangers::typeIsRTF(value.data(), value.size())) {
        if (auto rtf = tnef::decompressedRTF(value)) d.set(u"RTF", Value(std::move(*rtf)));
        return;
    }
    const std::string text = cString(value);
    if (typeIsHTML(text.c_str())) d.set(u"HTML", Value(StringWangers::stringFromCString(text.c_str())));
}

}  // namespace

Dictionary TNEFDecoder::buildTNEFDictionary(const LoadedTNEF& message) const {
    Dictionary d;
    if (!message.mapi.properties.empty()) d = buildMAPIDictionary(message.mapi);
    if (Array attachments = buildAttachmentList(message); !attachments.empty())
        d.set(u"AttachmentList", Value(std::move(attachments)));
    return d;
}

Array TNEFDecoder::buildAttachmentList(const LoadedTNEF& message) {
    Array attachments;
    for (const TNEFAttachment& attachment : message.attachments())
        if (!attachment.fileData.empty()) attachments.emplace_back(attachmentDictionary(attachment));
    return attachments;
}

Dictionary TNEFDecoder::buildMAPIDictionary(const MAPIPropertyList& list) const {
    Dictionary d;
    for (const MAPIProperty& p : list.properties) {
        // Only the subject and the conversation topic are looked at by ID; a
        // named property counts as ID 0.
        const std::uint16_t id = p.named ? 0 : static_cast<std::uint16_t>(p.tag >> 16);
        const ByteView value = p.value();
        if (!value.data()) continue;
        if (p.type() == kBinaryType) {
            addBinaryValue(d, value);
        } else if (p.type() == kString8Type && (id == kSubjectId || id == kConversationTopicId)) {
            if (auto subject = decode(upToNul(value), encodings::UTF8)) d.set(u"Subject", Value(std::move(*subject)));
        }
    }
    if (!message_.subject.empty())
        if (auto subject = decode(upToNul(message_.subject), encodings::UTF8))
            d.set(u"Subject", Value(std::move(*subject)));
    // "Date Sent" would become "Date" by way of the text "Y-M-D h:m:s +0000"
    // read back with convertStringToDate. None of its patterns takes a zone
    // after the seconds, so no date can come of it, and the conversion (the
    // costliest step of a decode, eleven date formats tried) is left out.
    // DateSentNeverBecomesADate in the tests holds the patterns to that.
    return d;
}

}  // namespace tessivo
