// Writes examples/sample.msg: a small Outlook message with a subject, the
// same body three ways (compressed RTF, HTML and plain text, as Outlook
// stores them), a property stream and one recipient, built with the
// project's compound document and compressed-RTF writers.
//
//   make_sample OUTPUT.msg
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string_view>

#include "support/cfb_writer.h"
#include "support/lzfu_encoder.h"

namespace {

using tessivo::Bytes;

Bytes bytesOf(std::string_view text) { return Bytes(text.begin(), text.end()); }
using tessivo::testing::utf16le;

void putU32(Bytes& b, std::size_t offset, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[offset + i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// A fixed-length property: tag, flags (readable and writable), value.
void addProperty(Bytes& stream, std::uint32_t tag, std::uint32_t value) {
    const std::size_t at = stream.size();
    stream.resize(at + 16, 0);
    putU32(stream, at, tag);
    putU32(stream, at + 4, 0x00000006);
    putU32(stream, at + 8, value);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_sample OUTPUT.msg\n";
        return 2;
    }
    tessivo::testing::CfbWriter w;
    w.addStream("__substg1.0_001A001F", utf16le("IPM.Note"));
    w.addStream("__substg1.0_0037001F", utf16le("Lunch on Friday?"));
    w.addStream("__substg1.0_0C1A001F", utf16le("Maya Lindqvist"));
    w.addStream("__substg1.0_1000001F",
                utf16le("Hi Sam,\r\n\r\nAre you free for lunch on Friday? The new noodle place on Harbour Street "
                        "opens at noon and I would love to try it.\r\n\r\nSee you soon,\r\nMaya\r\n"));
    w.addStream("__substg1.0_10130102",
                bytesOf("<html><head><meta charset=\"utf-8\"></head><body><p>Hi Sam,</p>"
                        "<p>Are you free for lunch on <b>Friday</b>? The new noodle place on Harbour Street "
                        "opens at noon and I would love to try it.</p><p>See you soon,<br>Maya</p></body></html>"));
    w.addStream("__substg1.0_10090102",
                tessivo::testing::lzfuCompress(bytesOf(
                    "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss Calibri;}}\\f0\\fs22 "
                    "Hi Sam,\\par\\par Are you free for lunch on {\\b Friday}? The new noodle place on Harbour "
                    "Street opens at noon and I would love to try it.\\par\\par See you soon,\\line Maya\\par}")));

    // The message's property stream: a 32-byte header (one recipient, no
    // attachments), then message flags (read) and importance (normal).
    Bytes properties(32, 0);
    putU32(properties, 8, 1);
    putU32(properties, 16, 1);
    addProperty(properties, 0x0E070003, 0x00000001);
    addProperty(properties, 0x00170003, 0x00000001);
    w.addStream("__properties_version1.0", properties);

    const std::string recipient = "__recip_version1.0_#00000000";
    w.addStream(recipient + "/__substg1.0_3001001F", utf16le("Sam Okafor"));
    w.addStream(recipient + "/__substg1.0_3003001F", utf16le("sam.okafor@example.org"));
    Bytes recipientProperties(8, 0);
    addProperty(recipientProperties, 0x0C150003, 0x00000001);
    w.addStream(recipient + "/__properties_version1.0", recipientProperties);

    const Bytes bytes = w.build().bytes;
    std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        std::cerr << "make_sample: cannot write " << argv[1] << "\n";
        return 1;
    }
    return 0;
}
