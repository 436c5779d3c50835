// Access to the shared folder of real messages used by conformance tests.
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

Bytes readFile(const std::filesystem::path& path);

}  // namespace tessivo::testing
