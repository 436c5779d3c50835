// Writes a message with attachments of the given total size in MiB (and a
// body and a recipient), for measuring memory on large files. Attachments
// hold at most 15 MiB each, below the 16,000,016 bytes at which the reader
// cuts a stream, so that every byte is read.
//
//   make_large_msg OUTPUT.msg 48
#include <algorithm>
#include <cstdlib>
#include <string>
#include <fstream>
#include <iostream>

#include "support/msg_writer.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: make_large_msg OUTPUT.msg MIB\n";
        return 2;
    }
    constexpr std::size_t kMaxAttachmentBytes = 15 << 20;
    std::size_t bytes = std::strtoull(argv[2], nullptr, 10) << 20;
    tessivo::testing::MsgWriter m;
    m.string8(0x001A, "IPM.Note");
    m.unicode(0x0037, "Large attachment");
    m.unicode(0x1000, "See the attached archive.");
    m.addRecipient().unicode(0x3001, "Ann").unicode(0x3003, "ann@example.com");
    for (int part = 1; bytes > 0; ++part) {
        const std::size_t size = std::min(bytes, kMaxAttachmentBytes);
        m.addAttachment()
            .unicode(0x3707, "part" + std::to_string(part) + ".bin")
            .binary(0x3701, tessivo::testing::pattern(size, static_cast<std::uint8_t>(part)));
        bytes -= size;
    }
    const tessivo::Bytes file = m.build({.sectorShift = 12});
    std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
    return out ? 0 : 1;
}
