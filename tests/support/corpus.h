// Access to the shared folder of real messages used by conformance tests,
// and whole-file reads and writes.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

// The corpus folder named by TESSIVO_CORPUS, when it exists.
std::optional<std::filesystem::path> corpusDir();

// Every file under the corpus with the given extension (".msg"), sorted.
std::vector<std::filesystem::path> corpusFiles(const std::string& extension);

// The file's bytes; empty when it cannot be read.
Bytes readFile(const std::filesystem::path& path);

// Writes bytes to path, creating the folders above it; false when that fails.
bool writeFile(const std::filesystem::path& path, ByteView bytes);

}  // namespace tessivo::testing
