#include "support/shrinking_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace tessivo::testing {

namespace {

void writeWhole(int fd, const Bytes& contents) {
    std::size_t done = 0;
    while (done < contents.size()) {
        const ssize_t n = ::pwrite(fd, contents.data() + done, contents.size() - done, static_cast<off_t>(done));
        if (n <= 0) return;
        done += static_cast<std::size_t>(n);
    }
}

}  // namespace

ShrinkingFile::ShrinkingFile(std::filesystem::path path, Bytes contents)
    : path_(std::move(path)), contents_(std::move(contents)) {
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd >= 0) {
        writeWhole(fd, contents_);
        ::close(fd);
    }
    thread_ = std::thread([this] { run(); });
}

ShrinkingFile::~ShrinkingFile() {
    stop_ = true;
    thread_.join();
}

void ShrinkingFile::run() {
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) return;
    // Cut to an eighth, to one sector and to nothing in turn, writing the
    // whole file again after each cut.
    const off_t cuts[] = {static_cast<off_t>(contents_.size() / 8), 512, 0};
    for (unsigned round = 0; !stop_; ++round) {
        if (::ftruncate(fd, cuts[round % 3]) != 0) break;
        std::this_thread::yield();
        writeWhole(fd, contents_);
        ++rounds_;
    }
    ::close(fd);
}

}  // namespace tessivo::testing
