#include "tessivo/tnef/read_tnef.h"

#include "tessivo/body/rtf_data.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/tnef/limits.h"
#include "tessivo/tnef/tnef_decoder.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo {
namespace {

bool hasSignature(ByteView data) { return readU32le(data, 0) == tnef::kSignature; }

const Bytes* rtfOf(const Dictionary& d) {
    const Value* rtf = d.get(u"RTF");
    return rtf ? rtf->bytes() : nullptr;
}

}  // namespace

Dictionary ReadTNEF::decodedOrScanned(ByteView data, bool& scanned) {
    Dictionary content = TNEFDecoder().processTNEF(data).value_or(Dictionary{});
    scanned = content.empty();
    if (scanned) buildTNEFDictionary(content, data, false);
    return content;
}

std::optional<ReadTNEF> ReadTNEF::initWithData(ByteView data) {
    if (!hasSignature(data)) return std::nullopt;
    bool scanned = false;
    Dictionary content = decodedOrScanned(data, scanned);
    if (const Bytes* rtf = rtfOf(content); rtf && !scanned)
        if (auto text = DataWangersNSDataAdditions::stringFromRTFData(*rtf)) content.set(u"Body", Value(std::move(*text)));
    return ReadTNEF(std::move(content));
}

Array ReadTNEF::getAttachmentListForMessage(ByteView data) {
    if (!hasSignature(data)) return {};
    LoadedTNEF message;
    // Attachments make the decoded dictionary non-empty, so no raw scan
    // follows: they are the list, whatever the rest of the records say.
    if (TNEFDecoder::parseMemory(data.data(), data.size(), message) == 0)
        if (Array list = TNEFDecoder::buildAttachmentList(message); !list.empty()) return list;
    bool scanned = false;
    Dictionary content = decodedOrScanned(data, scanned);
    Value* list = content.get(u"AttachmentList");
    return list && list->array() ? std::move(*list->as<Array>()) : Array{};
}

std::optional<Dictionary> ReadTNEF::getSummaryForMessage(ByteView data) {
    if (data.size() < 4) return std::nullopt;
    Dictionary summary;
    if (!hasSignature(data)) {
        for (const char16_t* key : {u"Body", u"From", u"Subject"}) summary.set(key, Value(u"** Error Reading Message **"));
        return summary;
    }
    const Dictionary decoded = TNEFDecoder().processTNEF(data, false).value_or(Dictionary{});
    for (const char16_t* key : {u"From", u"Subject"}) {
        const icu::UnicodeString* text = decoded.string(key);
        summary.set(key, text ? Value(WindowsCodePageWangersNSStringAdditions::zapGremlins(*text)) : Value(u"-"));
    }
    if (const Bytes* rtf = rtfOf(decoded)) {
        auto text = DataWangersNSDataAdditions::stringFromRTFData(*rtf);
        if (text && !text->isEmpty())
            summary.set(u"Body", Value(WindowsCodePageWangersNSStringAdditions::zapGremlins(*text)));
    } else {
        summary.set(u"Body", Value(u"-"));
    }
    summary.set(u"Date", Value(u"-"));
    return summary;
}

}  // namespace tessivo
