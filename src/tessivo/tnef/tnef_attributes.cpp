#include "tessivo/tnef/tnef_attributes.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/tnef/limits.h"
#include "tessivo/tnef/tnef_mapi.h"

namespace tessivo {
namespace {

int storeView(ByteView& field, ByteView data) {
    if (data.empty()) return -1;
    field = data;
    return 0;
}

}  // namespace

int TNEFFromHandler(LoadedTNEF& message, std::size_t, ByteView data) { return storeView(message.from, data); }

int TNEFSubjectHandler(LoadedTNEF& message, std::size_t, ByteView data) { return storeView(message.subject, data); }

int TNEFBody(LoadedTNEF& message, std::size_t, ByteView data) { return storeView(message.body, data); }

int TNEFMessageClass(LoadedTNEF& message, std::size_t, ByteView data) {
    std::memcpy(message.messageClass.data(), data.data(), std::min(data.size(), message.messageClass.size()));
    return 0;
}

int TNEFDateHandler(LoadedTNEF& message, std::size_t index, ByteView data) {
    TNEFDate* date = nullptr;
    switch (kTNEFAttributes[index].id) {
    case 0x00038005: date = &message.dateSent; break;
    case 0x00030006: date = &message.dateStart; break;
    case 0x00030007: date = &message.dateEnd; break;
    default: return -1;
    }
    // Seven 16-bit fields; a record shorter than 14 bytes leaves the rest 0.
    std::uint16_t fields[tnef::kDateRecordBytes / 2] = {};
    for (std::size_t i = 0; i < std::size(fields); ++i) fields[i] = readU16le(data, 2 * i).value_or(0);
    *date = {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6]};
    return 0;
}

int TNEFRendData(LoadedTNEF& message, std::size_t, ByteView) {
    // An attachment left without file data is never reported and nothing can
    // reach it once the next one starts, so the new one takes its place.
    if (message.chain.size() > 1 && message.lastAttachment().fileData.empty())
        message.lastAttachment() = {};
    else
        message.chain.emplace_back();
    return 0;
}

int TNEFAttachmentFilename(LoadedTNEF& message, std::size_t, ByteView data) {
    return storeView(message.lastAttachment().title, data);
}

int TNEFAttachmentSave(LoadedTNEF& message, std::size_t, ByteView data) {
    return storeView(message.lastAttachment().fileData, data);
}

int TNEFMapiProperties(LoadedTNEF& message, std::size_t, ByteView data) {
    TNEFFillMapi(message, data, message.mapi);
    return 0;
}

int TNEFAttachmentMAPI(LoadedTNEF& message, std::size_t, ByteView data) {
    TNEFFillMapi(message, data, message.lastAttachment().mapi);
    return 0;
}

}  // namespace tessivo
