#include "tessivo/body/rtf_wangers.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "tessivo/body/limits.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"
#include "tessivo/foundation/zeroed_bytes.h"

namespace tessivo {
namespace {

constexpr std::size_t kDictionaryBytes = 4096;
constexpr std::size_t kDictionaryMask = kDictionaryBytes - 1;

// The dictionary's initial text, fixed by the compressed-RTF format.
constexpr char kInitialDictionary[] =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
    "\\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\r\n\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
constexpr std::size_t kInitialDictionaryBytes = sizeof(kInitialDictionary) - 1;
static_assert(kInitialDictionaryBytes == 207);

// The ring as it stands before the first token: the initial text, then zeros.
constexpr std::array<std::uint8_t, kDictionaryBytes> kRingStart = [] {
    std::array<std::uint8_t, kDictionaryBytes> ring{};
    for (std::size_t i = 0; i < kInitialDictionaryBytes; ++i) ring[i] = static_cast<std::uint8_t>(kInitialDictionary[i]);
    return ring;
}();

// The most a run of eight tokens reads after its control byte (eight
// two-byte references) and writes (eight references of 17 bytes).
constexpr std::size_t kMaxRunBytes = 16;
constexpr std::size_t kMaxRunOutput = 8 * 17;
// How far past its end a reference copied in eight-byte pieces may write.
constexpr std::size_t kCopySlack = 24 - 2;

constexpr std::size_t kRawSizeOffset = 4;
constexpr std::size_t kTypeOffset = 8;

}  // namespace

bool RTFWangers::typeIsRTF(const std::uint8_t* data, std::size_t length) {
    if (data == nullptr) {
        log("  ERROR: data is NULL");
        return false;
    }
    if (length < kTypeOffset + 4) return false;
    const auto type = loadU32le(data + kTypeOffset);
    return type == kCompressedType || type == kUncompressedType;
}

void RTFWangers::getRTFFromBuffer(const std::uint8_t* data, std::size_t size, std::uint32_t& returnSize,
                                  std::optional<Bytes>& returnData, Padding padding) {
    if (data == nullptr) {
        log("  ERROR: data is NULL");
        return;
    }
    if (size < body::kRtfHeaderBytes) {
        log("  ERROR: len < 16 (too small for RTF header)");
        return;
    }
    const std::uint32_t rawSize = loadU32le(data + kRawSizeOffset);
    const std::uint32_t type = loadU32le(data + kTypeOffset);
    returnSize = rawSize;

    if (type == kCompressedType) {
        const std::uint8_t* tokens = data + body::kRtfHeaderBytes;
        returnData = padding == Padding::ToRawSize ? decodeRTFSource(tokens, size - body::kRtfHeaderBytes, rawSize)
                                                   : decodeRTFSourceWithoutPadding(tokens, size - body::kRtfHeaderBytes, rawSize);
    } else if (type == kUncompressedType && returnData) {
        // Uncompressed bodies are copied from offset 4, not from the end of
        // the header; only a caller that passes a buffer gets them.
        returnData = initializeArrayWithEntryCount(rawSize, 1);
        if (!returnData) {
            log("  ERROR: Failed to allocate %zu bytes for output", static_cast<std::size_t>(rawSize));
            return;
        }
        const std::size_t available = std::min<std::size_t>(rawSize, size - kRawSizeOffset);
        if (available > 0) std::memcpy(returnData->data(), data + kRawSizeOffset, available);
    }
}

std::optional<Bytes> RTFWangers::decodeRTFSource(const std::uint8_t* source, std::size_t compressedSize,
                                                 std::uint32_t uncompressedSize) {
    auto output = initializeArrayWithEntryCount(uncompressedSize, 1);
    if (!output) {
        log("  ERROR: Failed to allocate %zu bytes for output", static_cast<std::size_t>(uncompressedSize));
        return std::nullopt;
    }
    decodeTokens(source, compressedSize, uncompressedSize, output->data());
    return output;
}

std::optional<Bytes> RTFWangers::decodeRTFSourceWithoutPadding(const std::uint8_t* source, std::size_t compressedSize,
                                                               std::uint32_t uncompressedSize) {
    if (uncompressedSize > body::kMaxOutputBytes) {
        log("  ERROR: Failed to allocate %zu bytes for output", static_cast<std::size_t>(uncompressedSize));
        return std::nullopt;
    }
    // The bytes the tokens write are the first ones of the padded output, so
    // decoding into exactly that many gives the same bytes.
    const std::size_t length = decodeTokens(source, compressedSize, uncompressedSize, nullptr);
    Bytes output(length);
    decodeTokens(source, compressedSize, length, output.data());
    return output;
}

std::size_t RTFWangers::decodeTokens(const std::uint8_t* source, std::size_t compressedSize,
                                     std::size_t uncompressedSize, std::uint8_t* out) {
    if (source == nullptr || compressedSize == 0) return 0;

    // The ring dictionary always holds the initial text followed by the
    // output so far, so the output itself serves as the dictionary: the byte
    // at ring offset r lies `distance` bytes back, where distance is r's
    // distance behind the write position. Only references reaching back
    // before the first output byte read the initial text.
    const std::size_t n = compressedSize;
    const std::size_t raw = uncompressedSize;
    std::size_t o = 0;
    std::size_t p = 0;
    // Copies one reference; false for the end marker (a reference to the
    // write position) or one that would cross the end of the output. With
    // room to spare, copies from at least eight bytes back move eight bytes
    // at a time and may write up to kCopySlack bytes past the reference,
    // bytes that later tokens overwrite or the end clears.
    const auto copyReference = [&](std::size_t q, bool roomy) {
        const std::size_t offset = (static_cast<std::size_t>(source[q]) << 4) | (source[q + 1] >> 4);
        const std::size_t length = (source[q + 1] & 15u) + 2;
        const std::size_t distance = (kInitialDictionaryBytes + o - offset) & kDictionaryMask;
        if (distance == 0 || length > raw - o) return false;
        if (!out) {
            o += length;
        } else if (distance > o) {
            for (std::size_t i = 0; i < length; ++i, ++o)
                out[o] = distance > o ? kRingStart[(offset + i) & kDictionaryMask] : out[o - distance];
        } else if (roomy && distance >= 8) {
            // Each eight-byte piece reads only bytes already written.
            std::uint8_t* to = out + o;
            std::memcpy(to, to - distance, 8);
            std::memcpy(to + 8, to + 8 - distance, 8);
            std::memcpy(to + 16, to + 16 - distance, 8);
            o += length;
        } else {
            // A copy from fewer bytes back than its length repeats them.
            for (std::size_t i = 0; i < length; ++i, ++o) out[o] = out[o - distance];
        }
        return true;
    };
    // Once the output is full no token can change anything, so the scan
    // stops there instead of walking the padding that streams carry.
    while (p < n && o < raw) {
        unsigned control = source[p];
        std::size_t q = p + 1;
        if (out && n - q >= kMaxRunBytes && raw - o >= kMaxRunOutput + kCopySlack) {
            // The whole run fits in both buffers: only the end marker can stop it.
            for (int token = 0; token < 8; ++token, control >>= 1) {
                if (control & 1) {
                    const bool copied = copyReference(q, true);
                    q += 2;
                    if (!copied) break;
                } else {
                    out[o++] = source[q++];
                }
            }
        } else {
            for (int token = 0; token < 8; ++token, control >>= 1) {
                if (control & 1) {
                    if (n - q < 2) break;
                    const bool copied = copyReference(q, false);
                    q += 2;
                    if (!copied) break;
                } else {
                    if (q >= n || o >= raw) break;
                    if (out) out[o] = source[q];
                    ++o;
                    ++q;
                }
            }
        }
        p = q;
    }
    // Bytes not decoded stay zero, including any written ahead by a copy.
    if (out && o < raw) std::memset(out + o, 0, std::min(raw - o, kCopySlack));
    return o;
}


std::uint64_t RTFWangers::convertToLongLong(const std::uint8_t* p) { return loadU32le(p); }

std::optional<Bytes> RTFWangers::initializeArrayWithEntryCount(std::size_t count, std::size_t size) {
    const auto total = checkedMul(count, size);
    if (!total || *total > body::kMaxOutputBytes) return std::nullopt;
    try {
        return zeroedBytes(*total);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

icu::UnicodeString RTFWangers::generateRTFColourTagsFromEmbeddedHTMLInRTF(const icu::UnicodeString& rtf) {
    return rtf;
}

Bytes RTFWangers::generateRTFColourTagsFromEmbeddedHTMLInRTF(Bytes rtf) { return rtf; }

}  // namespace tessivo
