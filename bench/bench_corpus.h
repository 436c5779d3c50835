// The corpus messages the benchmarks read, sorted by path, with their sizes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tessivo::bench {

struct CorpusFile {
    std::string path;
    std::uintmax_t size;
};

// Every .msg file under TESSIVO_CORPUS_DIR; empty when there is no corpus.
inline std::vector<CorpusFile> corpusMessages() {
    std::vector<CorpusFile> out;
    std::error_code ec;
    for (const auto& e : std::filesystem::recursive_directory_iterator(TESSIVO_CORPUS_DIR, ec))
        if (e.is_regular_file() && e.path().extension() == ".msg") out.push_back({e.path().string(), e.file_size()});
    std::sort(out.begin(), out.end(), [](const auto& a, const auto& b) { return a.path < b.path; });
    return out;
}

inline std::int64_t totalBytes(const std::vector<CorpusFile>& files) {
    std::int64_t bytes = 0;
    for (const auto& f : files) bytes += static_cast<std::int64_t>(f.size);
    return bytes;
}

}  // namespace tessivo::bench
