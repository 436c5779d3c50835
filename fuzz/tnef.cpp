// The TNEF reader over raw bytes: the full dictionary (records, property
// blocks, attachments, or the raw scan) and the summary, with the
// invariants their callers rely on.
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/read_tnef.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    static const bool silenced = (silenceLog(), true);
    (void)silenced;
    const ByteView bytes(data, size);
    const bool signature = size >= 4 && data[0] == 0x78 && data[1] == 0x9F && data[2] == 0x3E && data[3] == 0x22;
    const auto reader = ReadTNEF::initWithData(bytes);
    require(reader.has_value() == signature);
    if (reader) {
        const Dictionary& d = reader->returnFullDictionary();
        // Plain text comes only from RTF.
        require(!d.contains(u"Body") || d.contains(u"RTF"));
        if (const Value* list = d.get(u"AttachmentList")) {
            for (const Value& a : *list->array()) {
                const Dictionary& attachment = *a.dictionary();
                const Bytes& content = *attachment.get(u"data")->bytes();
                if (const Value* n = attachment.get(u"size"))
                    require(static_cast<std::size_t>(n->toInt64()) == content.size() && !content.empty());
                require(content.size() <= size);
            }
        }
    }
    const auto summary = ReadTNEF::getSummaryForMessage(bytes);
    require(summary.has_value() == (size >= 4));
    return 0;
}
