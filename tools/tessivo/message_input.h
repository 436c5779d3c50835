// A message file as the dump, summary and attachments commands read it:
// the whole file (or standard input for "-") and its detected format.
//
//   auto input = openMessageFile(path);
//   if (auto* reason = std::get_if<std::string>(&input)) report(*reason);
//   const MessageFile& file = std::get<MessageFile>(input);
//   if (const MessageReader* reader = readerOrReason(file, reason)) reader->dictionary(file.bytes());
#pragma once

#include <string>
#include <variant>

#include "message_formats.h"

namespace tessivo::cli {

class MessageFile {
public:
    explicit MessageFile(Bytes content);

    ByteView bytes() const;
    const MessageFormat& format() const { return *format_; }

private:
    Bytes content_;
    const MessageFormat* format_;
};

// Reads path ("-": standard input); the reason in words when it cannot be
// read or is empty.
std::variant<MessageFile, std::string> openMessageFile(const std::string& path);

// The reader of the file's format; null, with reason set, when this build
// has none.
const MessageReader* readerOrReason(const MessageFile& file, std::string& reason);

}  // namespace tessivo::cli
