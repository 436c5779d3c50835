// Input and error reporting helpers shared by the subcommands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tessivo/foundation/value.h"

namespace tessivo::cli {

// Prints "tessivo: WHAT: REASON" on stderr.
void reportError(std::string_view what, std::string_view reason);

// Replaces bytes with all of standard input ("-" or no name) or of the named
// file; false, with reason in words, when it cannot be read.
bool readInput(const std::string& pathOrDash, Bytes& bytes, std::string& reason);

// Reads all of standard input ("-" or no file) or the named file; reports
// failures and yields nothing.
std::optional<Bytes> readAll(const std::string& pathOrDash);

// Writes bytes to stdout; false when stdout fails.
bool writeOut(ByteView bytes);

}  // namespace tessivo::cli
