#include "tessivo/foundation/file_bytes.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tessivo {

namespace {

constexpr std::size_t kUnsizedReadBytes = 1 << 16;

// Closes the descriptor when the read ends, whichever way.
struct Descriptor {
    int fd;
    ~Descriptor() {
        if (fd >= 0) ::close(fd);
    }
};

}  // namespace

bool readWholeFile(const std::string& path, Bytes& contents, std::string& reason) {
    const Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    struct stat st {};
    if (file.fd < 0 || ::fstat(file.fd, &st) != 0) {
        reason = std::strerror(errno);
        contents.clear();
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        reason = "is a directory";
        contents.clear();
        return false;
    }
    const bool sized = S_ISREG(st.st_mode);
    // Bytes of reused contents are overwritten where they are, so only
    // growth is zero-filled first.
    if (sized) contents.resize(static_cast<std::size_t>(st.st_size));
    std::size_t got = 0;
    for (;;) {
        if (sized && got == contents.size()) break;
        if (contents.size() == got) contents.resize(got + kUnsizedReadBytes);
        const ssize_t n = ::read(file.fd, contents.data() + got, contents.size() - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            reason = std::strerror(errno);
            contents.resize(got);
            return false;
        }
        if (n == 0) break;  // the end, or a file that shrank while it was read
        got += static_cast<std::size_t>(n);
    }
    contents.resize(got);
    return true;
}

}  // namespace tessivo
