// The MIME kinds of `tessivo decode`: encoded-word header values,
// quoted-printable and base64 bodies.
#include <string>

#include "decode_kinds.h"
#include "tessivo/mime/base64.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/mime/quoted_printable.h"

namespace tessivo::cli {
namespace {

std::optional<Bytes> decodeHeader(ByteView input, std::string& reason) {
    const std::string text(input.begin(), input.end());
    const std::string decoded = toUtf8(WindowsCodePageWangersNSStringAdditions::decodeMimeHeader(fromUtf8(text)));
    return Bytes(decoded.begin(), decoded.end());
}

std::optional<Bytes> decodeQuotedPrintable(ByteView input, std::string& reason) {
    std::size_t length = 0;
    auto out = quoted_printable_decode(input, length, false);
    if (!out) {
        reason = "invalid quoted-printable";
        return std::nullopt;
    }
    out->resize(length);
    return out;
}

std::optional<Bytes> decodeBase64(ByteView input, std::string& reason) {
    const std::string text(input.begin(), input.end());
    auto out = decodeBase64IgnoringUnknownCharacters(text);
    if (!out) reason = "invalid base64";
    return out;
}

}  // namespace

std::vector<DecodeKind> mimeDecodeKinds() {
    return {
        {"mime-header", "header value with encoded words (=?charset?B|Q?...?=), UTF-8 in and out", decodeHeader},
        {"qp", "quoted-printable bytes (upper-case hex escapes only)", decodeQuotedPrintable},
        {"base64", "base64 bytes; characters outside the alphabet are ignored", decodeBase64},
    };
}

}  // namespace tessivo::cli
