#include "cli_io.h"

#include <cstdio>
#include <iostream>

#include "tessivo/foundation/file_bytes.h"

namespace tessivo::cli {

void reportError(std::string_view what, std::string_view reason) {
    std::cerr << "tessivo: " << what << ": " << reason << '\n';
}

std::optional<Bytes> openInput(const std::string& path) {
    Bytes bytes;
    std::string reason;
    if (!readWholeFile(path, bytes, reason)) {
        reportError(path, reason);
        return std::nullopt;
    }
    return bytes;
}

std::optional<Bytes> readAll(const std::string& pathOrDash) {
    if (pathOrDash.empty() || pathOrDash == "-") {
        Bytes out;
        unsigned char buf[65536];
        std::size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, stdin)) > 0) out.insert(out.end(), buf, buf + n);
        if (std::ferror(stdin)) {
            reportError("stdin", "read error");
            return std::nullopt;
        }
        return out;
    }
    return openInput(pathOrDash);
}

bool writeOut(ByteView bytes) {
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) return false;
    return std::fflush(stdout) == 0;
}

}  // namespace tessivo::cli
