#include "support/corpus.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "tessivo/foundation/file_bytes.h"

namespace tessivo::testing {

std::optional<std::filesystem::path> corpusDir() {
    const char* env = std::getenv("TESSIVO_CORPUS");
    if (!env || !*env) return std::nullopt;
    std::filesystem::path dir(env);
    std::error_code ec;
    if (!std::filesystem::is_directory(dir, ec)) return std::nullopt;
    return dir;
}

std::vector<std::filesystem::path> corpusFiles(const std::string& extension) {
    std::vector<std::filesystem::path> out;
    auto dir = corpusDir();
    if (!dir) return out;
    for (const auto& e : std::filesystem::recursive_directory_iterator(*dir))
        if (e.is_regular_file() && e.path().extension() == extension) out.push_back(e.path());
    std::sort(out.begin(), out.end());
    return out;
}

Bytes readFile(const std::filesystem::path& path) {
    Bytes bytes;
    std::string reason;
    readWholeFile(path.string(), bytes, reason);
    return bytes;
}

bool writeFile(const std::filesystem::path& path, ByteView bytes) {
    std::error_code ec;
    if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path(), ec);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    return !out.fail();
}

}  // namespace tessivo::testing
