#include "message_formats.h"

#include "tessivo/text/message_text.h"

namespace tessivo::cli {
namespace {

bool isCompound(ByteView data) { return text::hasCompoundSignature(data); }
bool isTnef(ByteView data) { return text::hasTnefSignature(data); }
bool anyBytes(ByteView) { return true; }

const MessageFormat kFormats[] = {
    {"msg", isCompound, &kMsgReader},
    {"tnef", isTnef, &kTnefReader},
    {"mime", anyBytes, &kMimeReader},
};

}  // namespace

std::span<const MessageFormat> messageFormats() { return kFormats; }

const MessageFormat& detectFormat(ByteView data) {
    for (const auto& format : kFormats)
        if (format.hasSignature(data)) return format;
    return kFormats[std::size(kFormats) - 1];
}

std::string notReadReason(const MessageFormat& format) {
    return "not a message this build reads (" + std::string(format.name) + ")";
}

}  // namespace tessivo::cli
