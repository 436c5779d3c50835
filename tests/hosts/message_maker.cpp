#include "hosts/message_maker.h"

#include "support/bytes.h"
#include "support/cfb_writer.h"
#include "support/corpus.h"
#include "support/lzfu_encoder.h"
#include "support/mime_builder.h"
#include "support/msg_writer.h"
#include "support/tnef_writer.h"

namespace tessivo::testing {

std::string_view bodyKindName(BodyKind kind) {
    switch (kind) {
    case BodyKind::CompressedRtf: return "rtf";
    case BodyKind::Html: return "html";
    case BodyKind::UnicodeText: return "unicode";
    case BodyKind::AnsiText: return "ansi";
    }
    return "?";
}

Bytes makeMessage(BodyKind kind, std::string_view words) {
    const std::string text(words);
    CfbWriter writer;
    writer.addStream("__substg1.0_0037001F", utf16le("Message for the search hosts"));
    switch (kind) {
    case BodyKind::CompressedRtf:
        writer.addStream("__substg1.0_10090102",
                         lzfuCompress(bytesOf("{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0 Arial;}}\n"
                                              "\\f0\\fs20 " + text + "\\par\n}")));
        break;
    case BodyKind::Html:
        writer.addStream("__substg1.0_10130102",
                         bytesOf("<html><head><title>unused</title></head><body><p>" + text + "</p></body></html>"));
        break;
    case BodyKind::UnicodeText:
        writer.addStream("__substg1.0_1000001F", utf16le(text));
        break;
    case BodyKind::AnsiText:
        writer.addStream("__substg1.0_1000001E", bytesOf(text));
        break;
    }
    return writer.build().bytes;
}

Bytes makeMessageWithoutBody() {
    CfbWriter writer;
    writer.addStream("__substg1.0_0037001F", utf16le("Subject only"));
    return writer.build().bytes;
}

Bytes makeMailMessage(const MailFacts& facts, std::string_view words) {
    MsgWriter m;
    m.string8(0x001A, "IPM.Note");
    m.unicode(0x0037, facts.subject);
    m.unicode(0x0C1A, facts.senderName);
    m.unicode(0x0C1F, facts.senderAddress);
    m.property(0x0E06, 0x0040, fileTimeFromUnix(facts.deliveredAt));
    m.unicode(0x1000, words);
    for (const auto& [name, address] : facts.recipients) m.addRecipient().unicode(0x3001, name).unicode(0x3003, address);
    for (const auto& name : facts.attachmentNames) m.addAttachment().unicode(0x3707, name).binary(0x3701, bytesOf(name));
    return m.build();
}

Bytes makeMimeMessage(std::string_view words) {
    MimePart mail = MimePart::multipart(
        "mixed", {MimePart::text("plain", std::string(words)), MimePart::attachment("text/plain", "notes.txt", bytesOf("n"))});
    mail.header("Received", "by make_messages").header("From", "Ann <ann@example.org>").header("Subject", "Mail");
    return mail.bytes();
}

Bytes makeTnefMessage(std::string_view words) {
    MapiBlock props;
    props.binary(0x1009, lzfuCompress(bytesOf("{\\rtf1\\ansi " + std::string(words) + "\\par}")));
    TnefWriter writer;
    writer.subject("Winmail").mapi(props).attachment("notes.txt", bytesOf("n"));
    return writer.build();
}

bool writeMessage(const std::filesystem::path& path, BodyKind kind, std::string_view words) {
    return writeFile(path, makeMessage(kind, words));
}

}  // namespace tessivo::testing
