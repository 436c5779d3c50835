// Helpers shared by the fuzz harnesses.
#pragma once

#include <cstdlib>

namespace tessivo::fuzz {

// Stops the run (a find) when an invariant does not hold.
inline void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace tessivo::fuzz
