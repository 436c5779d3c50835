#include "tessivo/body/rtf_data.h"

#include "tessivo/body/rtf_wangers.h"
#include "tessivo/body/strict_text.h"

namespace tessivo::DataWangersNSDataAdditions {

std::optional<Bytes> getRTFForData(ByteView data) {
    if (!RTFWangers::typeIsRTF(data.data(), data.size())) return std::nullopt;
    std::uint32_t rawSize = 0;
    std::optional<Bytes> rtf;
    RTFWangers::getRTFFromBuffer(data.data(), data.size(), rawSize, rtf);
    return rtf;
}

std::optional<icu::UnicodeString> rtfStringFromData(ByteView data) {
    if (auto text = body::decodeStrict(data, "UTF-8")) return text;
    return body::decodeStrict(data, "ISO-8859-1");
}

}  // namespace tessivo::DataWangersNSDataAdditions
