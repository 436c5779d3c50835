#include "tessivo/text/outlook_body.h"

#include <algorithm>
#include <optional>

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/importer/rich_body.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/text/body_decoding.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::text {
namespace {

const icu::UnicodeString kCompressedRtfBody(u"__substg1.0_10090102");
const icu::UnicodeString kSecondRtfBody(u"__substg1.0_10080102");
const icu::UnicodeString kHtmlBody(u"__substg1.0_10130102");
const icu::UnicodeString kUnicodeBody(u"__substg1.0_1000001F");
const icu::UnicodeString kEightBitBody(u"__substg1.0_1000001E");
const icu::UnicodeString kProperties(u"__properties_version1.0");

// The top-level property stream starts with a 32-byte header before its 16-byte entries.
constexpr std::size_t kTopLevelPropertyHeader = 32;
constexpr std::uint32_t kInternetCodePage = 0x3FDE;
constexpr std::uint32_t kMessageCodePage = 0x3FFD;
constexpr std::uint32_t kTypeInt32 = 0x0003;
// Zeros past the end of a cut file kept after a compressed RTF body: its
// last run of tokens takes at most 16 bytes after its control byte.
constexpr std::uint64_t kRtfTokenRunBytes = 16;

// The stream's bytes cut at its declared size; nothing for a missing or empty stream.
std::optional<Bytes> streamBytes(const Mole& mole, const icu::UnicodeString& name, std::uint64_t zeroTailKept = 0) {
    auto stream = mole.getStreamWithZeroTail(name);
    if (!stream) return std::nullopt;
    const Stream handle(mole.compoundDocument(), u"/" + name);
    const std::uint64_t declared = handle.fail() ? stream->bytes.size() : handle.size();
    Bytes bytes = std::move(stream->bytes);
    bytes.resize(std::min(declared, bytes.size() + std::min(stream->zeroTail, zeroTailKept)));
    if (bytes.empty()) return std::nullopt;
    return bytes;
}

std::optional<icu::UnicodeString> rtfText(const Mole& mole) {
    auto rtf = streamBytes(mole, kCompressedRtfBody, kRtfTokenRunBytes);
    if (!rtf) rtf = streamBytes(mole, kSecondRtfBody, kRtfTokenRunBytes);
    if (!rtf) return std::nullopt;
    return importer::rtfBodyText(*rtf);
}

}  // namespace

std::vector<std::uint32_t> messageCodePages(const Mole& mole) {
    std::vector<std::uint32_t> pages;
    const auto properties = mole.getStream(kProperties);
    if (!properties || properties->size() <= kTopLevelPropertyHeader) return pages;
    const ByteView entries = ByteView(*properties).subspan(kTopLevelPropertyHeader);
    for (const std::uint32_t tag : {kInternetCodePage, kMessageCodePage})
        if (const auto value = ReadMSG::getPropertyElement(tag, kTypeInt32, entries))
            if (const auto page = readU32le(*value, 0); page && *page != 0) pages.push_back(*page);
    return pages;
}

icu::UnicodeString outlookBodyText(const Mole& mole) {
    namespace clean = WindowsCodePageWangersNSStringAdditions;
    if (auto text = rtfText(mole); text && hasWords(*text)) return clean::trimTrailingNulls(*text);
    const std::vector<std::uint32_t> codePages = messageCodePages(mole);
    if (const auto html = streamBytes(mole, kHtmlBody))
        if (auto text = htmlText(*html, codePages); hasWords(text)) return text;
    if (const auto unicode = streamBytes(mole, kUnicodeBody)) {
        Bytes even = *unicode;
        even.resize(even.size() / 2 * 2);
        if (auto text = decode(even, encodings::UTF16LE); text && hasWords(*text)) return clean::trimTrailingNulls(*text);
    }
    if (const auto eightBit = streamBytes(mole, kEightBitBody))
        if (auto text = eightBitText(*eightBit, codePages); hasWords(text)) return text;
    return {};
}

}  // namespace tessivo::text
