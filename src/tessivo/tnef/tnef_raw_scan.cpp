// The raw scan of ReadTNEF: known attribute and property tags found by
// searching the bytes, for streams whose records decode to nothing.
// Checksums and record order are not looked at.
#include <algorithm>
#include <array>

#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/text.h"
#include "tessivo/mime/email_addresses.h"
#include "tessivo/tnef/compressed_rtf.h"
#include "tessivo/tnef/limits.h"
#include "tessivo/tnef/read_tnef.h"
#include "tessivo/toolkit/data_search.h"
#include "tessivo/toolkit/date_strings.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo {
namespace {

using DataWangersNSDataAdditions::searchForBytes;

constexpr std::uint32_t kMapiPropertiesId = 0x00069003;
constexpr std::uint32_t kAttachTitleId = 0x00018010;
constexpr std::uint32_t kAttachDataId = 0x0006800F;

std::array<std::uint8_t, 4> tagBytes(std::uint32_t tag) {
    return {static_cast<std::uint8_t>(tag), static_cast<std::uint8_t>(tag >> 8), static_cast<std::uint8_t>(tag >> 16),
            static_cast<std::uint8_t>(tag >> 24)};
}

std::optional<std::size_t> find(ByteView data, std::uint32_t tag) {
    const auto bytes = tagBytes(tag);
    return searchForBytes(data, bytes.data(), bytes.size());
}

// The bytes after a 32-bit length at lengthAt, as many as it says, cut at the end of data.
ByteView lengthPrefixed(ByteView data, std::size_t lengthAt) {
    const std::size_t start = std::min(lengthAt + 4, data.size());
    const std::uint64_t length = readU32le(data, lengthAt).value_or(0);
    return data.subspan(start, static_cast<std::size_t>(std::min<std::uint64_t>(length, data.size() - start)));
}

bool blank(const icu::UnicodeString& text) { return trim(text, whitespaceAndNewlineSet()).isEmpty(); }

std::optional<icu::UnicodeString> scanDate(ByteView value) {
    const auto ticks = readU64le(value, 0);
    if (!ticks) return std::nullopt;
    const std::int64_t seconds = TimeWangers::getUnixTimeFromWindowsTime(*ticks);
    if (seconds < tnef::kFirstScanSecond || seconds > tnef::kLastScanSecond) return std::nullopt;
    return convertDateToStringWithFormat(Date{static_cast<double>(seconds)}, u"dd MMM yyyy 'at' HH:mm");
}

// Decompressed RTF through the colour-tag generator.
std::optional<Bytes> scanRTF(ByteView value) {
    if (!RTFWangers::typeIsRTF(value.data(), value.size())) return std::nullopt;
    auto rtf = tnef::decompressedRTF(value);
    if (!rtf || rtf->empty()) return std::nullopt;
    return RTFWangers::generateRTFColourTagsFromEmbeddedHTMLInRTF(std::move(*rtf));
}

icu::UnicodeString attachmentTitle(ByteView value) {
    auto title = decode(value, encodings::UTF8);
    if (!title) title = decode(value, encodings::ASCII);
    if (!title || title->isEmpty()) return u"Untitled Attachment";
    return std::move(*title);
}

// The first occurrence of a tag at or after a position. The walk over the
// attachments only moves forward, so each answer is remembered until the
// position passes it: every byte is searched at most once per tag.
class ForwardSearch {
public:
    ForwardSearch(ByteView data, std::uint32_t tag) : data_(data), tag_(tag) {}

    std::optional<std::size_t> from(std::size_t position) {
        if (searched_ && position >= start_ && (!found_ || position <= *found_)) return found_;
        searched_ = true;
        start_ = position;
        const auto at = find(data_.subspan(position), tag_);
        found_ = at ? std::optional(position + *at) : std::nullopt;
        return found_;
    }

private:
    ByteView data_;
    std::uint32_t tag_;
    bool searched_ = false;
    std::size_t start_ = 0;
    std::optional<std::size_t> found_;
};

}  // namespace

void ReadTNEF::buildTNEFDictionary(Dictionary& dictionary, ByteView data, bool ignoreAttachments) {
    if (const auto p = find(data, kMapiPropertiesId); p && data.size() - *p >= 8)
        decodePropertyStream(lengthPrefixed(data, *p + 4), dictionary);
    if (ignoreAttachments) return;
    Array attachments = retrieveAttachments(data);
    // A single attachment is deliberately not listed on this path.
    if (attachments.size() >= 2) dictionary.set(u"AttachmentList", Value(std::move(attachments)));
}

bool ReadTNEF::decodePropertyStream(ByteView block, Dictionary& dictionary) {
    enum Use { kHTML, kSubject, kName, kAddress, kDate, kRTF };
    static constexpr std::pair<std::uint32_t, Use> kTags[] = {
        {0x10130102, kHTML},    {0x0037001F, kSubject}, {0x0042001F, kName}, {0x0C1A001F, kName},
        {0x0065001F, kAddress}, {0x0C1F001F, kAddress}, {0x801C001F, kAddress}, {0x30080040, kDate},
        {0x10090102, kRTF},
    };
    std::optional<icu::UnicodeString> name;
    std::optional<icu::UnicodeString> address;
    for (const auto& [tag, use] : kTags) {
        const auto q = find(block, tag);
        if (!q || block.size() - *q < 12) continue;
        const ByteView value = lengthPrefixed(block, *q + 8);
        switch (use) {
        case kHTML:
            if (auto html = decode(value, encodings::UTF8); html && !html->isEmpty())
                dictionary.set(u"HTML", Value(std::move(*html)));
            break;
        case kSubject:
            if (auto subject = decode(value, encodings::UTF8); subject && !blank(*subject))
                dictionary.set(u"Subject", Value(std::move(*subject)));
            break;
        case kName:
            if (!name) name = decode(value, encodings::UTF8);
            break;
        case kAddress:
            if (!address) address = decode(value, encodings::UTF8);
            break;
        case kDate:
            if (auto date = scanDate(value)) dictionary.set(u"Date", Value(std::move(*date)));
            break;
        case kRTF:
            if (auto rtf = scanRTF(value)) dictionary.set(u"RTF", Value(std::move(*rtf)));
            break;
        }
    }
    if (!name || name->isEmpty()) name = address;
    if (!name || !address || blank(*name) || blank(*address)) return true;
    dictionary.set(u"From", Value(Array{Value(buildAddressFromTags(*name, *address))}));
    return true;
}

Array ReadTNEF::retrieveAttachments(ByteView data) {
    Array attachments;
    ForwardSearch titles(data, kAttachTitleId);
    ForwardSearch contents(data, kAttachDataId);
    std::size_t position = 0;
    // After each record found, the search goes on behind its data.
    const auto take = [&](std::size_t at) {
        const ByteView value = lengthPrefixed(data, at + 4);
        position = static_cast<std::size_t>(value.data() - data.data()) + value.size();
        return value;
    };
    for (;;) {
        std::optional<icu::UnicodeString> name;
        std::optional<Bytes> content;
        const auto title = titles.from(position);
        if (title) name = attachmentTitle(take(*title));
        const auto found = contents.from(position);
        if (found) {
            const ByteView value = take(*found);
            content = Bytes(value.begin(), value.end());
        }
        if (!title && !found) return attachments;
        if (name && content) {
            Dictionary attachment;
            attachment.set(u"data", Value(std::move(*content)));
            attachment.set(u"name", Value(std::move(*name)));
            attachments.emplace_back(std::move(attachment));
        }
    }
}

}  // namespace tessivo
