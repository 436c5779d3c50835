#include "tessivo/body/strict_text.h"

#include <limits>
#include <memory>

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

namespace tessivo::body {

std::optional<icu::UnicodeString> decodeStrict(ByteView bytes, const char* charset) {
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(charset, &status), &ucnv_close);
    if (U_FAILURE(status)) return std::nullopt;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    if (U_FAILURE(status)) return std::nullopt;
    icu::UnicodeString text(reinterpret_cast<const char*>(bytes.data()), static_cast<std::int32_t>(bytes.size()),
                            converter.get(), status);
    if (U_FAILURE(status) || text.isBogus()) return std::nullopt;
    return text;
}

}  // namespace tessivo::body
