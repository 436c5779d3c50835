// libFuzzer harness for the compound document reader: opens arbitrary bytes
// with Mole and reads everything a reader can ask for, as the hostile-input
// tests do.
#include <cstddef>
#include <cstdint>

#include "support/compound_walk.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = (tessivo::silenceLog(), true);
    (void)quiet;
    if (auto mole = tessivo::Mole::initWithData(tessivo::ByteView(data, size))) tessivo::testing::readEverything(*mole);
    return 0;
}
