#include "tessivo/importer/rich_body.h"

#include "tessivo/body/html_conversion.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/encoding.h"

namespace tessivo::importer {

std::optional<icu::UnicodeString> rtfBodyText(ByteView streamBytes) {
    if (streamBytes.empty() || !RTFWangers::typeIsRTF(streamBytes.data(), streamBytes.size())) return std::nullopt;
    // The zeros that pad the RTF to its declared size hold no text.
    const std::optional<Bytes> rtf = DataWangersNSDataAdditions::getRTFForDataWithoutPadding(streamBytes);
    if (!rtf || rtf->empty()) return std::nullopt;
    std::optional<icu::UnicodeString> text = DataWangersNSDataAdditions::stringFromRTFData(*rtf);
    if (!text || text->isEmpty()) return std::nullopt;
    return text;
}

std::optional<icu::UnicodeString> htmlBodyText(ByteView streamBytes, std::uint64_t zeroTail) {
    if (streamBytes.empty() && zeroTail == 0) return std::nullopt;
    // The zeros are NULs in UTF-8, which fails or not on the stored bytes alone.
    const std::optional<icu::UnicodeString> html = decode(streamBytes, encodings::UTF8);
    if (!html || (html->isEmpty() && zeroTail == 0)) return std::nullopt;
    icu::UnicodeString text = WindowsCodePageWangersNSStringAdditions::stringFromHTML(*html, zeroTail);
    if (text.isEmpty()) return std::nullopt;
    return text;
}

}  // namespace tessivo::importer
