// Header values through encoded-word decoding, the Hebrew shortcuts and the
// address helpers.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tessivo/mime/mime_strings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo::WindowsCodePageWangersNSStringAdditions;
    const icu::UnicodeString value =
        tessivo::fromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    decodeMimeHeader(value);
    decodeCP1255B(value);
    decodeCP1255FromMimeEncodedString(value);
    if (auto address = cleanEmailAddress(value)) buildEmailAddressURL(*address);
    return 0;
}
