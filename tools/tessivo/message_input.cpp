#include "message_input.h"

#include "cli_io.h"

namespace tessivo::cli {

MessageFile::MessageFile(Bytes content) : content_(std::move(content)), format_(&detectFormat(content_)) {}

ByteView MessageFile::bytes() const { return content_; }

std::variant<MessageFile, std::string> openMessageFile(const std::string& path) {
    Bytes bytes;
    std::string reason;
    if (!readInput(path, bytes, reason)) return reason;
    if (bytes.empty()) return std::string("empty file: not a message");
    return MessageFile(std::move(bytes));
}

const MessageReader* readerOrReason(const MessageFile& file, std::string& reason) {
    if (!file.format().reader) reason = notReadReason(file.format());
    return file.format().reader;
}

}  // namespace tessivo::cli
