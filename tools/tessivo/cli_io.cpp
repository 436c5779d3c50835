#include "cli_io.h"

#include <cstdio>
#include <iostream>

#include "tessivo/foundation/file_bytes.h"

namespace tessivo::cli {

void reportError(std::string_view what, std::string_view reason) {
    std::cerr << "tessivo: " << what << ": " << reason << '\n';
}

bool readInput(const std::string& pathOrDash, Bytes& bytes, std::string& reason) {
    if (!pathOrDash.empty() && pathOrDash != "-") return readWholeFile(pathOrDash, bytes, reason);
    bytes.clear();
    unsigned char buf[65536];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, stdin)) > 0) bytes.insert(bytes.end(), buf, buf + n);
    if (!std::ferror(stdin)) return true;
    reason = "read error on standard input";
    return false;
}

std::optional<Bytes> readAll(const std::string& pathOrDash) {
    Bytes bytes;
    std::string reason;
    if (readInput(pathOrDash, bytes, reason)) return bytes;
    reportError(pathOrDash.empty() || pathOrDash == "-" ? "stdin" : pathOrDash, reason);
    return std::nullopt;
}

bool writeOut(ByteView bytes) {
    if (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) return false;
    return std::fflush(stdout) == 0;
}

}  // namespace tessivo::cli
