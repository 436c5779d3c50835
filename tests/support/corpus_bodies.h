// The body streams of the corpus messages, read through Mole, for
// conformance tests and the text quality table.
//
//   for (const auto& m : tessivo::testing::corpusMessageBodies())
//       if (m.compressedRtf && m.plainText) compare(*m.compressedRtf, *m.plainText);
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

struct MessageBodies {
    std::filesystem::path path;
    std::optional<Bytes> compressedRtf;         // "__substg1.0_10090102", whole sectors
    std::optional<Bytes> html;                  // "__substg1.0_10130102"
    std::optional<icu::UnicodeString> plainText;  // "__substg1.0_1000001F" without its NUL padding
};

// Every corpus .msg that opens as a compound document, sorted by path;
// empty streams count as missing.
std::vector<MessageBodies> corpusMessageBodies();

}  // namespace tessivo::testing
