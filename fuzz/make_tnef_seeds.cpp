// Writes seed streams for the TNEF fuzzers into a folder, made with the test
// writer: message records and property blocks of every value type, named and
// multi-valued properties, attachments with titles, data and properties,
// compressed RTF, and a stream only the raw scan can read.
//
//   make_tnef_seeds build/fuzz-seeds/tnef
#include <filesystem>
#include <iostream>

#include "support/corpus.h"
#include "support/lzfu_encoder.h"
#include "support/tnef_writer.h"

namespace {

using namespace tessivo::testing;
using tessivo::Bytes;

const Bytes kRtf = bytesOf("{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0 Arial;}}\\f0 Hello \\b world\\b0\\par}");

MapiBlock messageProperties() {
    return MapiBlock()
        .string8(0x0037, "Seed subject")
        .unicode(0x0042, "Ann Sender")
        .unicode(0x0065, "ann@example.com")
        .long32(0x0E08, 1234)
        .systime(0x3008, 0x01D9C0DE12345678)
        .binary(0x1009, lzfuCompress(kRtf))
        .namedString(0x8005001E, {1, 2, 3}, "Keywords", cStringOf("seed"))
        .namedNumber(0x80060003, {4, 5, 6}, 0x8233, le32(7));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_tnef_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path dir(argv[1]);
    const auto save = [&](const char* name, const Bytes& bytes) { return writeFile(dir / name, bytes); };

    TnefWriter message;
    message.subject("Seed subject")
        .messageClass("IPM.Note")
        .record(kAttDateSent, tnefDate(2024, 5, 17, 9, 30, 0, 5))
        .mapi(messageProperties())
        .attachment("one.txt", bytesOf("first attachment"), MapiBlock().string8(0x3707, "one-long.txt"))
        .attachment("two.bin", Bytes(300, 0xAB), MapiBlock().unicode(0x3707, "two.bin").binary(0x3701, Bytes(8, 1)));
    bool ok = save("message.tnef", message.build());

    TnefWriter html;
    html.mapi(MapiBlock().binary(0x1013, bytesOf("<html><body><p>Hi</p></body></html>")).string8(0x0070, "Topic"));
    ok &= save("html.tnef", html.build());

    TnefWriter multi;
    multi.mapi(MapiBlock()
                   .multi(0x00010003, {le32(7), le32(0x00020003)})
                   .raw(le32(42))
                   .multi(0x0003101E, {cStringOf("a"), cStringOf("b")})
                   .count(3));
    ok &= save("multi-valued.tnef", multi.build());

    // A bad checksum first: the records give nothing and the raw scan runs.
    TnefWriter scan;
    scan.record(kAttBody, bytesOf("x"), 0)
        .mapi(messageProperties())
        .attachment("a.txt", bytesOf("A"))
        .attachment("b.txt", bytesOf("B"));
    ok &= save("raw-scan.tnef", scan.build());

    TnefWriter orphan;
    orphan.record(kAttAttachTitle, cStringOf("early.txt")).record(kAttAttachData, bytesOf("early")).attachment("x", {});
    ok &= save("orphan-attachment.tnef", orphan.build());
    return ok ? 0 : 1;
}
