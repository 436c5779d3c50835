// A file that shrinks under whoever reads it: while a ShrinkingFile lives, a
// thread of its own writes the contents to the file and cuts it short again,
// over and over, so that a reader meets the file whole, cut, or in between.
//
//   tessivo::testing::ShrinkingFile file(dir / "a.msg", messageBytes);
//   for (int i = 0; i < 50; ++i) readAndCheck(file.path());
//
// The file is left whole when the ShrinkingFile ends.
#pragma once

#include <atomic>
#include <filesystem>
#include <thread>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

class ShrinkingFile {
public:
    ShrinkingFile(std::filesystem::path path, Bytes contents);
    ShrinkingFile(const ShrinkingFile&) = delete;
    ShrinkingFile& operator=(const ShrinkingFile&) = delete;
    ~ShrinkingFile();

    const std::filesystem::path& path() const { return path_; }
    // Rounds of writing and cutting done so far.
    unsigned rounds() const { return rounds_; }

private:
    void run();

    std::filesystem::path path_;
    Bytes contents_;
    std::atomic<bool> stop_{false};
    std::atomic<unsigned> rounds_{0};
    std::thread thread_;
};

}  // namespace tessivo::testing
