// Input and error reporting helpers shared by the subcommands.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tessivo/foundation/value.h"

namespace tessivo::cli {

// Prints "tessivo: WHAT: REASON" on stderr.
void reportError(std::string_view what, std::string_view reason);

// The bytes of the named file, or nothing after reporting why it cannot be read.
std::optional<Bytes> openInput(const std::string& path);

// Reads all of standard input ("-" or no file) or the named file; reports
// failures and yields nothing.
std::optional<Bytes> readAll(const std::string& pathOrDash);

// Writes bytes to stdout; false when stdout fails.
bool writeOut(ByteView bytes);

}  // namespace tessivo::cli
