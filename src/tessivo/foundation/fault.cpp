#include "tessivo/foundation/fault.h"

namespace tessivo {

std::string Fault::describe() const {
    return structure + " " + field + " at byte " + std::to_string(offset) + ": expected " + expected + ", found " +
           found;
}

}  // namespace tessivo
