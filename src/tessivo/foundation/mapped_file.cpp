#include "tessivo/foundation/mapped_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tessivo {

std::variant<MappedFile, std::string> MappedFile::open(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::string(std::strerror(errno));
    struct stat st {};
    if (::fstat(fd, &st) != 0) {
        std::string reason = std::strerror(errno);
        ::close(fd);
        return reason;
    }
    if (S_ISDIR(st.st_mode)) {
        ::close(fd);
        return std::string("is a directory");
    }
    const auto size = static_cast<std::size_t>(st.st_size);
    if (size == 0) {
        ::close(fd);
        return MappedFile(nullptr, 0);
    }
    void* p = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
    const int mapErrno = errno;
    ::close(fd);
    if (p == MAP_FAILED) return std::string(std::strerror(mapErrno));
    return MappedFile(static_cast<const std::uint8_t*>(p), size);
}

MappedFile::MappedFile(MappedFile&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

MappedFile& MappedFile::operator=(MappedFile&& other) noexcept {
    if (this != &other) {
        release();
        data_ = std::exchange(other.data_, nullptr);
        size_ = std::exchange(other.size_, 0);
    }
    return *this;
}

MappedFile::~MappedFile() { release(); }

void MappedFile::release() {
    if (data_) ::munmap(const_cast<std::uint8_t*>(data_), size_);
    data_ = nullptr;
    size_ = 0;
}

}  // namespace tessivo
