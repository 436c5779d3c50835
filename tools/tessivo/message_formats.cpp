#include "message_formats.h"

#include <algorithm>
#include <array>

namespace tessivo::cli {
namespace {

constexpr std::array<std::uint8_t, 8> kCompoundSignature = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::array<std::uint8_t, 4> kTnefSignature = {0x78, 0x9F, 0x3E, 0x22};

template <std::size_t N> bool startsWith(ByteView data, const std::array<std::uint8_t, N>& signature) {
    return data.size() >= N && std::equal(signature.begin(), signature.end(), data.begin());
}

bool isCompound(ByteView data) { return startsWith(data, kCompoundSignature); }
bool isTnef(ByteView data) { return startsWith(data, kTnefSignature); }
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
