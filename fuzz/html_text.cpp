// HTML to text over raw bytes: the renderer alone, then the string operations
// built on it, with the invariants their callers rely on.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_helpers.h"
#include "tessivo/body/html_conversion.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/html_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using namespace tessivo::WindowsCodePageWangersNSStringAdditions;
    using fuzz::require;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto html = decode(ByteView(data, size), encodings::UTF8);
    const auto plain = htmlToPlainText(bytes);
    const auto withAlt = htmlToPlainText(bytes, {.imageAltText = true});
    const auto fromTree = htmlToPlainText(bytes, {.buildTree = true});
    // A document exactly when the bytes are UTF-8, whichever reading; alt text only adds.
    require(plain.has_value() == html.has_value());
    require(withAlt.has_value() == html.has_value());
    require(fromTree.has_value() == html.has_value());
    if (!html) return 0;
    require(withAlt->length() >= plain->length());

    stringFromHTML(*html);
    const icu::UnicodeString tidy = stringByStrippingHTML(*html);
    require(!tidy.startsWith(u"\n") && !tidy.endsWith(u"\n"));
    if (size <= 4096) stringByStrippingHTMLFallback(*html);
    decodeHTMLFormattingTags(*html);
    isHTML(*html);
    stringByConvertingToHTMLWithWrapAtColumn(*html, 80);
    stringByConvertingToHTMLWithPreTag(*html);
    return 0;
}
