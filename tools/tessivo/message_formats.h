// The message formats the command line reads, detected in one place from a
// file's first bytes, cheapest test first:
//
//   "msg"   compound document signature D0 CF 11 E0 A1 B1 1A E1
//   "tnef"  TNEF signature 78 9F 3E 22 (0x223E9F78 little-endian) at offset 0
//   "mime"  anything else
//
//   const MessageFormat& format = detectFormat(bytes);
//   if (!format.reader) fail(notReadReason(format));
//   auto read = format.reader->dictionary(bytes, "budget.msg");   // Dictionary, or the reason in words
//
// Each format's reader is one row of functions over the whole file's bytes;
// a format whose reader this build does not have keeps its signature (so
// that it is never mistaken for another format) and a null reader. Readers
// borrow the bytes only during the call; what they return is their own.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::cli {

// A value, or the reason in words why there is none.
template <class T> using ReadResult = std::variant<T, std::string>;

// One attachment as the command line lists and saves it.
struct MessageAttachment {
    icu::UnicodeString name;
    // The attachment's exact bytes; nothing for one listed without data
    // (an attached message the reader does not turn into bytes).
    std::optional<Bytes> data;
    std::optional<icu::UnicodeString> mimeType;
    // Why data are incomplete (a damaged or cut stream); empty when they are whole.
    std::string incomplete;
};

struct MessageReader {
    // The reader's full message dictionary. fileName is the file's name
    // without its folders ("" for standard input): an Outlook calendar item
    // without a time of day takes its times from it ("meeting 0930-1045.msg").
    ReadResult<Dictionary> (*dictionary)(ByteView data, const std::string& fileName);
    // The reader's short summary dictionary (fileName as for dictionary).
    ReadResult<Dictionary> (*summary)(ByteView data, const std::string& fileName);
    // Every attachment of the message, in the message's order.
    ReadResult<std::vector<MessageAttachment>> (*attachments)(ByteView data);
};

struct MessageFormat {
    std::string_view name;
    // Whether the first bytes of a file belong to this format.
    bool (*hasSignature)(ByteView data);
    // Null when this build does not read the format.
    const MessageReader* reader;
};

// Every format, in the order detection tests them; the last one takes any bytes.
std::span<const MessageFormat> messageFormats();

// The format of a file's bytes.
const MessageFormat& detectFormat(ByteView data);

// Why a file of a format without a reader is refused.
std::string notReadReason(const MessageFormat& format);

// The readers of the formats this build reads, one file each (msg_format.cpp, ...).
extern const MessageReader kMsgReader;
extern const MessageReader kTnefReader;
extern const MessageReader kMimeReader;

}  // namespace tessivo::cli
