#include "tessivo/tnef/tnef_memory.h"

#include <cstring>

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"

namespace tessivo {

int GetMemory(TNEFMemory* io) {
    io->ptr = io->dataStart;
    return 0;
}

const std::uint8_t* ClaimMemory(TNEFMemory* io, std::size_t size, std::size_t count) {
    if (size == 0 || count == 0) return nullptr;
    if (!io->dataStart || !io->ptr) {
        log("ERROR: ReadMemory called with invalid loadedTNEF structure");
        return nullptr;
    }
    const auto total = checkedMul(size, count);
    if (!total) {
        log("ERROR: ReadMemory size * count would overflow (%lu * %lu)", static_cast<unsigned long>(size),
            static_cast<unsigned long>(count));
        return nullptr;
    }
    if (io->ptr < io->dataStart) {
        log("ERROR: ReadMemory ptr is before dataStart");
        return nullptr;
    }
    const auto offset = static_cast<std::size_t>(io->ptr - io->dataStart);
    const std::size_t available = offset <= io->size ? io->size - offset : 0;
    if (*total > available) {
        log("ERROR: ReadMemory attempt to read %lu bytes but only %lu bytes available",
            static_cast<unsigned long>(*total), static_cast<unsigned long>(available));
        return nullptr;
    }
    const std::uint8_t* start = io->ptr;
    io->ptr += *total;
    return start;
}

std::size_t ReadMemory(TNEFMemory* io, std::size_t size, std::size_t count, void* dest) {
    if (!io || !dest) {
        log("ERROR: ReadMemory called with NULL pointer (IO=%p, dest=%p)", static_cast<void*>(io), dest);
        return 0;
    }
    const std::uint8_t* start = ClaimMemory(io, size, count);
    if (!start) return 0;
    std::memcpy(dest, start, size * count);
    return count;
}

}  // namespace tessivo
