#include "message_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>

namespace tessivo::cli {

MessageFile::MessageFile(Bytes content) : content_(std::move(content)), format_(&detectFormat(content_)) {}

namespace {

// The bytes of the file at path, or the reason (strerror text, "is a
// directory"). A regular file is read up to the size it had when opened,
// anything else to its end.
std::variant<Bytes, std::string> readFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::string(std::strerror(errno));
    struct stat st {};
    std::variant<Bytes, std::string> result = std::string();
    if (::fstat(fd, &st) != 0) {
        result = std::string(std::strerror(errno));
    } else if (S_ISDIR(st.st_mode)) {
        result = std::string("is a directory");
    } else {
        const bool regular = S_ISREG(st.st_mode);
        Bytes bytes(regular ? static_cast<std::size_t>(st.st_size) : 65536);
        std::size_t got = 0;
        while (!regular || got < bytes.size()) {
            if (got == bytes.size()) bytes.resize(2 * got);
            const ssize_t n = ::read(fd, bytes.data() + got, bytes.size() - got);
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) result = std::string(std::strerror(errno));
            if (n <= 0) break;
            got += static_cast<std::size_t>(n);
        }
        bytes.resize(got);
        if (std::get<std::string>(result).empty()) result = std::move(bytes);
    }
    ::close(fd);
    return result;
}

std::optional<Bytes> readStandardInput() {
    Bytes bytes;
    unsigned char buffer[65536];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, stdin)) > 0) bytes.insert(bytes.end(), buffer, buffer + n);
    if (std::ferror(stdin)) return std::nullopt;
    return bytes;
}

std::variant<MessageFile, std::string> nonEmpty(MessageFile file) {
    if (file.bytes().empty()) return std::string("empty file: not a message");
    return file;
}

}  // namespace

std::variant<MessageFile, std::string> openMessageFile(const std::string& path) {
    if (path == "-") {
        auto bytes = readStandardInput();
        if (!bytes) return std::string("read error on standard input");
        return nonEmpty(MessageFile(std::move(*bytes)));
    }
    auto bytes = readFile(path);
    if (auto* reason = std::get_if<std::string>(&bytes)) return *reason;
    return nonEmpty(MessageFile(std::move(std::get<Bytes>(bytes))));
}

const MessageReader* readerOrReason(const MessageFile& file, std::string& reason) {
    if (!file.format().reader) reason = notReadReason(file.format());
    return file.format().reader;
}

}  // namespace tessivo::cli
