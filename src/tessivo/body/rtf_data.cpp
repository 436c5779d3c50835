#include "tessivo/body/rtf_data.h"

#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/rtf_text.h"

namespace tessivo::DataWangersNSDataAdditions {

namespace {

std::optional<Bytes> rtfForData(ByteView data, RTFWangers::Padding padding) {
    if (!RTFWangers::typeIsRTF(data.data(), data.size())) return std::nullopt;
    std::uint32_t rawSize = 0;
    std::optional<Bytes> rtf;
    RTFWangers::getRTFFromBuffer(data.data(), data.size(), rawSize, rtf, padding);
    return rtf;
}

}  // namespace

std::optional<Bytes> getRTFForData(ByteView data) { return rtfForData(data, RTFWangers::Padding::ToRawSize); }

std::optional<Bytes> getRTFForDataWithoutPadding(ByteView data) { return rtfForData(data, RTFWangers::Padding::None); }

std::optional<icu::UnicodeString> stringFromRTFData(ByteView data) { return rtfPlainText(data); }

std::optional<icu::UnicodeString> rtfStringFromData(ByteView data) {
    if (auto text = decode(data, encodings::UTF8)) return text;
    return decode(data, encodings::ISOLatin1);
}

std::optional<icu::UnicodeString> rtfAsPlainText(ByteView data) {
    auto text = decode(data, encodings::UTF8);
    if (!text) return std::nullopt;
    text->truncate(text->length() / 2);
    const std::string half = toUtf8(*text);
    return stringFromRTFData(asBytes(half));
}

}  // namespace tessivo::DataWangersNSDataAdditions
