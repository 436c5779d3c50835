// A straightforward reading of a stream in 16-byte pieces, the way the
// behaviour is defined, to check the one-pass reader against.
#pragma once

#include <optional>

#include "tessivo/compound/compound_document.h"
#include "tessivo/compound/limits.h"
#include "tessivo/foundation/log.h"

namespace tessivo::testing {

inline std::optional<Bytes> referenceGetStream(const CompoundDocument& document, const icu::UnicodeString& path) {
    if (path.isEmpty()) {
        log("Error: Invalid stream name");
        return std::nullopt;
    }
    Stream stream(document, path);
    if (stream.fail()) {
        log("Warning: Failed to initialize stream: %s", toUtf8(path).c_str());
        return std::nullopt;
    }
    Bytes out;
    std::uint64_t total = 0;
    for (std::size_t piece = 0;; ++piece) {
        if (piece == compound::kMaxStreamPieces) {
            log("Error: Maximum iterations exceeded reading stream: %s", toUtf8(path).c_str());
            break;
        }
        std::uint8_t buffer[compound::kStreamPieceBytes];
        const std::uint64_t n = stream.read(buffer, sizeof buffer);
        out.insert(out.end(), buffer, buffer + n);
        total += n;
        if (total > compound::kStreamSizeLimitBytes) break;
        if (n < sizeof buffer) break;
    }
    return out;
}

}  // namespace tessivo::testing
