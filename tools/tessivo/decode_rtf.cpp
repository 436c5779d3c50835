// The RTF kinds of `tessivo decode`: compressed RTF, RTF to text and HTML
// carried inside RTF.
#include <string>

#include "decode_kinds.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"

namespace tessivo::cli {
namespace {

namespace data = DataWangersNSDataAdditions;

Bytes utf8Bytes(const icu::UnicodeString& text) {
    const std::string s = toUtf8(text);
    return Bytes(s.begin(), s.end());
}

std::optional<Bytes> decodeLzfu(ByteView input, std::string& reason) {
    auto rtf = data::getRTFForData(input);
    if (!rtf) reason = "not compressed RTF (no \"LZFu\" header)";
    return rtf;
}

std::optional<Bytes> decodeRtf(ByteView input, std::string& reason) {
    const auto text = data::stringFromRTFData(input);
    if (!text) {
        reason = "not RTF (does not begin \"{\\rtf\")";
        return std::nullopt;
    }
    return utf8Bytes(*text);
}

std::optional<Bytes> decodeHtmlInRtf(ByteView input, std::string& reason) {
    const auto html = RTFWangers::extractHTMLIfEncapsulated(input);
    if (!html) {
        reason = "no HTML inside the RTF";
        return std::nullopt;
    }
    return utf8Bytes(*html);
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
