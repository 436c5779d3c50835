// libFuzzer harness for the compound document reader: opens arbitrary bytes
// with Mole and walks everything a reader can ask for.
#include <cstddef>
#include <cstdint>

#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = (tessivo::silenceLog(), true);
    (void)quiet;
    auto mole = tessivo::Mole::initWithData(tessivo::ByteView(data, size));
    if (!mole) return 0;
    mole->getOLEDictionary();
    mole->getOLEArray();
    mole->getOLEDictionaryWithContents(std::vector<icu::UnicodeString>{u"__substg1.0_1000001F"});
    for (const auto& record : mole->getDirectory())
        mole->getStream(*record.dictionary()->get(u"entryname")->string());
    return 0;
}
