// The RTF kinds of `tessivo decode`: compressed RTF, RTF to text and HTML
// carried inside RTF.
#include <string>

#include "decode_kinds.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"

namespace tessivo::cli {
namespace {

namespace data = DataWangersNSDataAdditions;

// The text as UTF-8 bytes, or nothing with why as the reason.
std::optional<Bytes> utf8OrReason(const std::optional<icu::UnicodeString>& text, const char* why,
                                  std::string& reason) {
    if (!text) {
        reason = why;
        return std::nullopt;
    }
    const std::string s = toUtf8(*text);
    return Bytes(s.begin(), s.end());
}

std::optional<Bytes> decodeLzfu(ByteView input, std::string& reason) {
    auto rtf = data::getRTFForData(input);
    if (!rtf) reason = "not compressed RTF (no \"LZFu\" header)";
    return rtf;
}

std::optional<Bytes> decodeRtf(ByteView input, std::string& reason) {
    return utf8OrReason(data::stringFromRTFData(input), "not RTF (does not begin \"{\\rtf\")", reason);
}

std::optional<Bytes> decodeHtmlInRtf(ByteView input, std::string& reason) {
    return utf8OrReason(RTFWangers::extractHTMLIfEncapsulated(input), "no HTML inside the RTF", reason);
}

}  // namespace

std::vector<DecodeKind> rtfDecodeKinds() {
    return {
        {"lzfu", "compressed RTF (a message's RTF body stream) to RTF bytes", decodeLzfu},
        {"rtf", "RTF to plain text, UTF-8 out", decodeRtf},
        {"html-in-rtf", "the HTML carried inside RTF made from HTML (\\fromhtml), UTF-8 out", decodeHtmlInRtf},
    };
}

}  // namespace tessivo::cli
