// Writes seed messages for the msg fuzzer into a folder, made with the test
// writer: an e-mail with recipients and attachments (also in 4096-byte
// sectors), one with an attached message, a voice note, a contact and an
// appointment with their named-property maps.
//
//   make_msg_seeds build/fuzz-seeds/msg
#include <filesystem>
#include <iostream>

#include "support/corpus.h"
#include "support/msg_writer.h"

namespace {

using tessivo::Bytes;
using tessivo::testing::fileTimeFromUnix;
using tessivo::testing::MsgWriter;

MsgWriter emailWriter() {
    MsgWriter m;
    m.unicode(0x007D, "From: a@example.com\r\nTo: b@example.com\r\nSubject: s\r\nDate: Mon, 4 Mar 2024 10:00:00 +0000\r\n");
    m.string8(0x001A, "IPM.Note");
    m.unicode(0x0037, "Quarterly report");
    m.unicode(0x1000, "See attached.");
    m.unicode(0x0C1A, "Ann");
    m.unicode(0x0065, "ann@example.com");
    m.property(0x0E06, 0x0040, fileTimeFromUnix(1709546400));
    m.addRecipient().unicode(0x3001, "Bob").unicode(0x3003, "bob@example.com");
    m.addAttachment().unicode(0x3707, "a.txt").binary(0x3701, Bytes(100, 'a'));
    return m;
}

Bytes embedded() {
    MsgWriter m = emailWriter();
    auto& inner = m.addAttachment().unicode(0x3001, "Inner").embeddedMessage();
    inner.unicode(0x0037, "Inner").addAttachment().binary(0x3701, Bytes{'M', 'I', 'M', 'E'});
    return m.build();
}

Bytes voiceNote() {
    MsgWriter m;
    m.string8(0x001A, "IPM.Note").string8(0x8000, "Voice").binary(0x6803, Bytes(300, 1));
    return m.build();
}

Bytes contact() {
    MsgWriter m;
    m.string8(0x001A, "IPM.Contact");
    m.string8(0x3A06, "Ann");
    m.string8(0x3A11, "Example");
    m.string8(0x3A15, "1 Main Street\nSpringfield");
    m.unicode(m.named(0x801C), "ann@example.com");
    m.unicode(m.named(0x8093), "ann@home.example");
    return m.build();
}

Bytes appointment() {
    MsgWriter m;
    m.string8(0x001A, "IPM.Appointment");
    m.unicode(0x0037, "Lunch 25:00-26:00");
    m.binary(0x1013, Bytes{'<', 'p', '>', 'x'});
    m.property(m.named(0x820D), 0x0040, fileTimeFromUnix(1709596800));
    m.property(m.named(0x820E), 0x0040, fileTimeFromUnix(1709600400));
    m.property(m.named(0x8215), 0x000B, 1);
    m.property(m.named(0x8213), 0x0003, 60);
    m.string8(m.named(0x8232), "Occurs every Tuesday effective 3/5/2024 from 10:00 AM to 11:30 AM.");
    m.named(0x8208);
    return m.build();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_msg_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path dir(argv[1]);
    std::filesystem::create_directories(dir);
    const bool written = tessivo::testing::writeFile(dir / "email.msg", emailWriter().build()) &&
                         tessivo::testing::writeFile(dir / "email-4096.msg", emailWriter().build({.sectorShift = 12})) &&
                         tessivo::testing::writeFile(dir / "embedded.msg", embedded()) &&
                         tessivo::testing::writeFile(dir / "voice.msg", voiceNote()) &&
                         tessivo::testing::writeFile(dir / "contact.msg", contact()) &&
                         tessivo::testing::writeFile(dir / "appointment.msg", appointment());
    if (!written) std::cerr << "make_msg_seeds: cannot write into " << dir << "\n";
    return written ? 0 : 1;
}
