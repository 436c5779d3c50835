// The HTML kind of `tessivo decode`: HTML bytes to the text the importer indexes.
#include <string>

#include "decode_kinds.h"
#include "tessivo/body/html_conversion.h"
#include "tessivo/foundation/encoding.h"

namespace tessivo::cli {
namespace {

std::optional<Bytes> decodeHtml(ByteView input, std::string& reason) {
    // Bytes that are not UTF-8 give no text, as in the importer.
    const auto html = decode(input, encodings::UTF8);
    if (!html) {
        reason = "not UTF-8 text";
        return std::nullopt;
    }
    const std::string text = toUtf8(WindowsCodePageWangersNSStringAdditions::stringFromHTML(*html));
    return Bytes(text.begin(), text.end());
}

}  // namespace

std::vector<DecodeKind> htmlDecodeKinds() {
    return {
        {"html", "HTML bytes (UTF-8) to plain text as the importer indexes it, UTF-8 out", decodeHtml},
    };
}

}  // namespace tessivo::cli
