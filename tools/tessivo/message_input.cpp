#include "message_input.h"

#include <cstdio>
#include <optional>

namespace tessivo::cli {

MessageFile::MessageFile(std::variant<MappedFile, Bytes> content)
    : content_(std::move(content)), format_(&detectFormat(bytes())) {}

ByteView MessageFile::bytes() const {
    if (const auto* mapped = std::get_if<MappedFile>(&content_)) return mapped->bytes();
    return std::get<Bytes>(content_);
}

namespace {

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
    auto mapped = MappedFile::open(path);
    if (auto* reason = std::get_if<std::string>(&mapped)) return *reason;
    return nonEmpty(MessageFile(std::move(std::get<MappedFile>(mapped))));
}

const MessageReader* readerOrReason(const MessageFile& file, std::string& reason) {
    if (!file.format().reader) reason = notReadReason(file.format());
    return file.format().reader;
}

}  // namespace tessivo::cli
