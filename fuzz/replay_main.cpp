// Runs a fuzz harness over files and folders of saved inputs, so that every
// regression is replayed by the ordinary (and sanitizer) test builds.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tessivo/foundation/file_bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {
void replay(const std::filesystem::path& p, int& count) {
    tessivo::Bytes bytes;
    std::string reason;
    if (!tessivo::readWholeFile(p.string(), bytes, reason)) {
        std::fprintf(stderr, "%s: %s\n", p.c_str(), reason.c_str());
        std::exit(1);
    }
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++count;
}
}  // namespace

int main(int argc, char** argv) {
    int count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path p(argv[i]);
        std::error_code ec;
        if (std::filesystem::is_directory(p, ec)) {
            for (const auto& e : std::filesystem::recursive_directory_iterator(p))
                if (e.is_regular_file()) replay(e.path(), count);
        } else if (std::filesystem::exists(p, ec)) {
            replay(p, count);
        }
    }
    std::printf("replayed %d inputs\n", count);
    return 0;
}
