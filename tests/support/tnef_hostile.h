// Hostile TNEF streams for the memory test and the benchmark: what they
// declare (record sizes, property and value counts, names) is far more than
// what they hold, or they repeat tiny records by the thousand.
//
//   for (const auto& [name, bytes] : tessivo::testing::hostileTnefStreams(2 << 20)) read(bytes);
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

struct HostileStream {
    std::string name;
    Bytes bytes;
};

// Streams of about targetBytes each (the attachment chains of half that).
std::vector<HostileStream> hostileTnefStreams(std::size_t targetBytes);

}  // namespace tessivo::testing
