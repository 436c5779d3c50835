// Opening a file as a compound document for the ls and cat commands.
//
//   auto doc = openCompound(path, verbose);
//   if (!doc) return kExitBadInput;      // one reason line is on stderr
//   doc->mole.getStream(u"__substg1.0_1000001F");
//
// Without verbose the reader's diagnostics are dropped for the rest of the
// run, so that a refused file costs exactly one line on stderr; with verbose
// they go to stderr as they come.
#pragma once

#include <optional>
#include <string>

#include "tessivo/compound/mole.h"

namespace tessivo::cli {

struct CompoundInput {
    // The file's bytes, which the Mole reads in place; declared first so that they outlive it.
    Bytes file;
    Mole mole;
};

// Reads and opens path, or reports why it cannot be read or opened (with the
// located fault) and yields nothing.
std::optional<CompoundInput> openCompound(const std::string& path, bool verbose);

}  // namespace tessivo::cli
