// The kinds of `tessivo decode KIND [FILE]`. Each decoder module contributes
// its kinds through one function below; cmd_decode.cpp collects them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::cli {

struct DecodeKind {
    std::string name;         // the KIND word, e.g. "lzfu"
    std::string description;  // one line for --help
    // Decodes input to output bytes; on failure yields nothing and sets reason
    // to a short explanation ("not compressed RTF", "invalid quoted-printable").
    std::function<std::optional<Bytes>(ByteView input, std::string& reason)> decode;
};

std::vector<DecodeKind> rtfDecodeKinds();
std::vector<DecodeKind> htmlDecodeKinds();
std::vector<DecodeKind> mimeDecodeKinds();

}  // namespace tessivo::cli
