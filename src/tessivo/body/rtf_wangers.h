// Compressed RTF (the "LZFu" format of message bodies) and HTML carried
// inside RTF.
//
//   if (tessivo::RTFWangers::typeIsRTF(stream.data(), stream.size())) {
//       std::uint32_t rawSize = 0;
//       std::optional<tessivo::Bytes> rtf;
//       tessivo::RTFWangers::getRTFFromBuffer(stream.data(), stream.size(), rawSize, rtf);
//       if (rtf) { ... }                        // exactly rawSize bytes
//   }
//   auto html = tessivo::RTFWangers::extractHTMLIfEncapsulated(*rtf);
//
// A compressed body is a 16-byte little-endian header (compressed size, raw
// size, type "LZFu" or "MELA", CRC) followed by LZ77 tokens over a 4096-byte
// ring dictionary. Faults are logged with two leading spaces ("  ERROR: ...");
// nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

class RTFWangers {
public:
    static constexpr std::uint32_t kCompressedType = 0x75465A4C;    // "LZFu"
    static constexpr std::uint32_t kUncompressedType = 0x414C454D;  // "MELA"

    // True when bytes 8..11 hold "LZFu" or "MELA". A null pointer logs
    // "  ERROR: data is NULL"; fewer than 12 bytes are not compressed RTF.
    static bool typeIsRTF(const std::uint8_t* data, std::size_t length);

    // Whether a decoded body is padded with zeros to its declared raw size.
    enum class Padding { ToRawSize, None };

    // Stores the raw size of the header in returnSize. "LZFu" data replace
    // returnData with the decoded body (rawSize bytes; without padding, only
    // the decoded ones). "MELA" data replace returnData only when it already
    // holds a buffer: rawSize bytes from offset 4 of the input (zero where
    // the input ends). Other types leave returnData alone. Null data and
    // inputs shorter than the header are logged and leave both outputs alone.
    static void getRTFFromBuffer(const std::uint8_t* data, std::size_t size, std::uint32_t& returnSize,
                                 std::optional<Bytes>& returnData, Padding padding = Padding::ToRawSize);

    // Decodes compressedSize bytes of tokens (the data after the header) into
    // a zero-filled buffer of exactly uncompressedSize bytes; undecoded bytes
    // stay zero. An end marker ends only its run of eight tokens. Nothing
    // (and a log line) when the buffer cannot be allocated.
    static std::optional<Bytes> decodeRTFSource(const std::uint8_t* source, std::size_t compressedSize,
                                                std::uint32_t uncompressedSize);

    // The bytes decodeRTFSource decodes, without the zeros that pad them to
    // uncompressedSize: what a reader of the text needs, allocated at the size
    // the tokens produce rather than the size the header declares. Nothing
    // (and the same log line) where decodeRTFSource refuses the size.
    static std::optional<Bytes> decodeRTFSourceWithoutPadding(const std::uint8_t* source, std::size_t compressedSize,
                                                              std::uint32_t uncompressedSize);

    // The unsigned 32-bit little-endian value at p (4 readable bytes).
    static std::uint64_t convertToLongLong(const std::uint8_t* p);

    // A zero-filled buffer of count * size bytes, or nothing when the product
    // overflows or exceeds the decoders' allocation limit.
    static std::optional<Bytes> initializeArrayWithEntryCount(std::size_t count, std::size_t size);

    // True when the first 500 bytes (at least 50 in all) are ASCII and
    // contain "\fromhtml".
    static bool isEncapsulatedHTML(ByteView rtf);

    // The concatenated text of the "{\*\htmltag...}" groups, without control
    // words, "\htmlrtf" ... "\htmlrtf0" stretches, CR and LF. Escapes such as
    // "\'e9" are not decoded. Nothing when the bytes are neither UTF-8 nor
    // Windows-1252 text or no HTML text was found.
    static std::optional<icu::UnicodeString> extractHTMLFromEncapsulatedRTF(ByteView rtf);

    // extractHTMLFromEncapsulatedRTF when isEncapsulatedHTML holds, else nothing.
    static std::optional<icu::UnicodeString> extractHTMLIfEncapsulated(ByteView rtf);

    // Colour tags are not rebuilt: answers rtf unchanged.
    static icu::UnicodeString generateRTFColourTagsFromEmbeddedHTMLInRTF(const icu::UnicodeString& rtf);
    // The same over decompressed RTF bytes (RTF text in Latin-1, as every
    // byte is a character): answers rtf unchanged, without a copy as text,
    // and without a copy of the bytes when the caller moves them in.
    static Bytes generateRTFColourTagsFromEmbeddedHTMLInRTF(Bytes rtf);

private:
    // Decodes the tokens into out, which holds uncompressedSize bytes and is
    // zero from the write position on; returns the bytes written. With out
    // null, only counts them.
    static std::size_t decodeTokens(const std::uint8_t* source, std::size_t compressedSize,
                                    std::size_t uncompressedSize, std::uint8_t* out);
};

}  // namespace tessivo
