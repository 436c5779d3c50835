#include "tessivo/tnef/tnef_decoder.h"

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/limits.h"
#include "tessivo/tnef/tnef_attributes.h"
#include "tessivo/tnef/tnef_memory.h"

namespace tessivo {
namespace {

template <std::size_t N> bool readBytes(LoadedTNEF& message, std::uint8_t (&out)[N]) {
    return ReadMemory(&message.memory, N, 1, out) == 1;
}

}  // namespace

std::optional<Dictionary> TNEFDecoder::processTNEF(ByteView data, bool attachments) {
    freeTNEFData(message_);
    std::optional<Dictionary> result;
    if (parseMemory(data.data(), data.size(), message_) == 0) {
        if (attachments)
            result = buildTNEFDictionary(message_);
        else
            result = message_.mapi.properties.empty() ? Dictionary{} : buildMAPIDictionary(message_.mapi);
    }
    freeTNEFData(message_);
    return result;
}

std::uint32_t TNEFDecoder::parseMemory(const std::uint8_t* data, std::size_t size, LoadedTNEF& message) {
    message.memory = {data, data, size};
    return parseTNEFData(message);
}

std::uint32_t TNEFDecoder::parseTNEFData(LoadedTNEF& message) {
    if (GetMemory(&message.memory) != 0) return kFailure;
    std::uint8_t signature[4];
    if (!readBytes(message, signature) || loadU32le(signature) != tnef::kSignature) return kFailure;
    std::uint8_t key[2];
    if (!readBytes(message, key)) return kFailure;

    for (;;) {
        std::uint32_t id = 0;
        std::uint32_t size = 0;
        // The stream ends where no further header can be read.
        if (GetTNEFHeader(message, id, size) != 0 || size == 0) return 0;
        if (size > tnef::kMaxChunkBytes) {
            log("TNEF chunk size %lu exceeds maximum allowed size %lu - file may be corrupted",
                static_cast<unsigned long>(size), static_cast<unsigned long>(tnef::kMaxChunkBytes));
            return kFailure;
        }
        ByteView data;
        std::uint16_t checksum = 0;
        if (readTNEFData(message, data, size, &checksum) != 0) return kFailure;
        std::uint8_t stored[2];
        if (!readBytes(message, stored)) return kFailure;
        // A damaged record ends the stream: what came before it stands.
        if (loadU16le(stored) != checksum) return 0;
        for (std::size_t i = 0; i < kTNEFAttributes.size(); ++i)
            if (kTNEFAttributes[i].id == id && kTNEFAttributes[i].handler(message, i, data) < 0) return kFailure;
    }
}

int TNEFDecoder::GetTNEFHeader(LoadedTNEF& message, std::uint32_t& type, std::uint32_t& size) {
    std::uint8_t level[1];
    std::uint8_t id[4];
    std::uint8_t length[4];
    if (!readBytes(message, level) || !readBytes(message, id) || !readBytes(message, length)) return -1;
    type = loadU32le(id);
    size = loadU32le(length);
    return 0;
}

int TNEFDecoder::readTNEFData(LoadedTNEF& message, ByteView& data, std::size_t size, std::uint16_t* checksum) {
    const std::uint8_t* start = ClaimMemory(&message.memory, 1, size);
    if (!start) return -1;
    data = ByteView(start, size);
    if (checksum) {
        // Sixteen-bit lanes that wrap as the checksum does: the loop vectorises.
        std::uint16_t sum = 0;
        for (const std::uint8_t b : data) sum = static_cast<std::uint16_t>(sum + b);
        *checksum = sum;
    }
    return 0;
}

void TNEFDecoder::freeTNEFData(LoadedTNEF& message) { message = LoadedTNEF{}; }

}  // namespace tessivo
