// The hosts' text of any file: .msg, TNEF and MIME bytes in, header lines
// and body out; a body found always holds words.
#include <cstddef>
#include <cstdint>

#include "tessivo/foundation/log.h"
#include "tessivo/text/body_decoding.h"
#include "tessivo/text/message_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool silenced = (tessivo::silenceLog(), true);
    (void)silenced;
    const auto found = tessivo::text::messageText(tessivo::ByteView(data, size));
    if (found.outcome == tessivo::importer::Outcome::Text && !tessivo::text::hasWords(found.body)) __builtin_trap();
    (void)found.text();
    return 0;
}
