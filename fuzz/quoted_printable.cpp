// Transfer decodings over raw bytes: quoted-printable and the base64 decoders,
// with the invariants their callers rely on.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_helpers.h"
#include "tessivo/mime/base64.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/mime/quoted_printable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    const ByteView input(data, size);
    for (const bool underscoreIsSpace : {false, true}) {
        std::size_t length = 0;
        if (const auto out = quoted_printable_decode(input, length, underscoreIsSpace)) {
            require(length <= size && out->size() == length + 1 && out->back() == 0);
        }
    }
    const std::string text(reinterpret_cast<const char*>(data), size);
    require(NewBase64Decode(text.data(), text.size()).size() <= (size + 3) / 4 * 3);
    require(base64_decode(text.c_str()).has_value());
    if (const auto strict = decodeBase64IgnoringUnknownCharacters(text)) {
        require(NewBase64Encode(*strict, false).size() <= size);
    }
    const icu::UnicodeString unicode = fromUtf8(text);
    WindowsCodePageWangersNSStringAdditions::quotedPrintableDecodeWithEncoding(unicode, encodings::Windows1252);
    WindowsCodePageWangersNSStringAdditions::base64DecodeWithEncoding(unicode, encodings::UTF8);
    return 0;
}
