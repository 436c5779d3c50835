// The RTF reader and the HTML-in-RTF scan over raw bytes.
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/rtf_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    const ByteView input(data, size);
    const auto text = rtfPlainText(input);
    // Every character comes from at least one input byte.
    if (text) require(static_cast<std::size_t>(text->length()) <= size);
    const auto html = RTFWangers::extractHTMLFromEncapsulatedRTF(input);
    if (html) require(!html->isEmpty());
    if (RTFWangers::isEncapsulatedHTML(input)) RTFWangers::extractHTMLIfEncapsulated(input);
    DataWangersNSDataAdditions::rtfAsPlainText(input);
    return 0;
}
