// Bytes of unknown encoding through the decoding chain and the cleaning
// operations, with the invariants their callers rely on.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "tessivo/toolkit/data_decoding.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/string_wangers.h"

namespace {
void require(bool condition) {
    if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using namespace tessivo::WindowsCodePageWangersNSStringAdditions;
    const ByteView bytes(data, size);

    // Latin-1 accepts every byte, so only empty input gives no string.
    const auto unknown = DataWangersNSDataAdditions::getStringWithUnknownEncoding(bytes);
    require(unknown.has_value() == (size != 0));

    const icu::UnicodeString fromData = StringWangers::stringFromNSData(bytes);
    require(size != 0 || fromData.isEmpty());

    const std::string cstring(reinterpret_cast<const char*>(data), size);
    const icu::UnicodeString fromC = StringWangers::stringFromCString(cstring.c_str());

    const icu::UnicodeString empty;
    for (const icu::UnicodeString* s : {unknown ? &*unknown : &empty, &fromData, &fromC}) {
        // Every cleaning step only removes or shortens.
        require(zapGremlins(*s).length() <= s->length());
        require(cleanString(*s).length() <= s->length());
        require(condenseWhitespace(*s).length() <= s->length());
        require(replaceDoubleNewline(*s).length() <= s->length());
        require(trimCharsInString(*s)->length() <= s->length());
        StringWangers::isValidDecodedString(*s);
        isValidNSStringWithStrictCheck(*s, false);
    }
    return 0;
}
