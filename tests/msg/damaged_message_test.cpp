// Damaged and hostile messages: every read ends, nothing crashes, and what
// can be read is read.
#include <random>

#include "msg_test_support.h"
#include "support/lzfu_encoder.h"

namespace tessivo {
namespace {

using testing::ascii;
using testing::MsgWriter;

// A message that reaches every part of the reader.
Bytes fullMessage() {
    MsgWriter m;
    m.unicode(0x007D, "From: a@example.com\r\nTo: b@example.com\r\nSubject: s\r\nX: y\r\n");
    m.string8(0x001A, "IPM.Note");
    m.unicode(0x0037, "Subject");
    m.unicode(0x1000, "Body text");
    m.binary(0x1013, ascii("<html><body>x</body></html>"));
    m.binary(0x1009, testing::lzfuCompress(ascii("{\\rtf1\\ansi hello}")));
    m.unicode(0x0C1A, "Sender");
    m.unicode(0x0065, "sender@example.com");
    m.property(0x0E06, 0x0040, testing::fileTimeFromUnix(1700000000));
    m.addRecipient().unicode(0x3001, "Ann").unicode(0x3003, "ann@example.com").property(0x0C15, 3, 1);
    m.addAttachment().unicode(0x3707, "big.bin").binary(0x3701, testing::pattern(9000)).property(0x3705, 3, 1);
    auto& inner = m.addAttachment().unicode(0x3001, "Inner").embeddedMessage();
    inner.unicode(0x0037, "Inner").addAttachment().unicode(0x3707, "x.txt").binary(0x3701, ascii("x"));
    m.nameIdStream(2, Bytes(32, 1));
    m.nameIdStream(3, testing::nameEntry(0x8005, 0, 0));
    return m.build();
}

void readEverything(ByteView data) {
    if (auto reader = ReadMSG::initWithData(data)) {
        reader->returnFullDictionary();
        if (auto mole = Mole::initWithData(data)) ReadMSG::getNamedPropertiesForMessage(mole->getOLEDictionary());
    }
    ReadMSG::getSummaryForMessage(data);
}

TEST(DamagedMessageTest, EveryCutAtASectorBoundary) {
    silenceLog();
    const Bytes file = fullMessage();
    for (std::size_t size = 0; size < file.size(); size += 512) {
        // An exact-size copy, so that the sanitizer sees every read past the end.
        const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
        readEverything(cut);
    }
}

TEST(DamagedMessageTest, RandomByteFlips) {
    silenceLog();
    const Bytes file = fullMessage();
    std::mt19937 random(20240305);
    for (int round = 0; round < 300; ++round) {
        Bytes damaged = file;
        for (int flips = 1 + round % 8; flips > 0; --flips)
            damaged[random() % damaged.size()] ^= static_cast<std::uint8_t>(1 + random() % 255);
        readEverything(damaged);
    }
}

TEST(DamagedMessageTest, DeeplyNestedAttachedMessagesEnd) {
    silenceLog();
    MsgWriter m;
    m.string8(0x001A, "IPM.Note");
    testing::MsgStorage* level = &m;
    for (int depth = 0; depth < 80; ++depth) {
        level->string8(0x001A, "IPM.Note");
        level = &level->addAttachment().unicode(0x3001, "inner").embeddedMessage();
    }
    const Bytes file = m.build();
    auto reader = ReadMSG::initWithData(file);
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->getContent(u"AttachmentList")->array()->size(), 1u);
}

TEST(DamagedMessageTest, HostileStreamShapesAreReadAsFarAsTheyGo) {
    MsgWriter m;
    // A header of many empty lines and one long continuation.
    m.unicode(0x007D, std::string(200000, '\n') + "Subject: a\n" + std::string(100000, 'b') + "\nX: y\n");
    m.string8(0x001A, "IPM.Note");
    // Property streams whose lengths are not whole entries.
    m.rawPropertyStream(Bytes(37, 0xFF));
    // An attachment "storage" that is a stream, and one with a 9-byte property stream.
    m.stream("__attach_version1.0_#0000000F", ascii("not a storage"));
    m.addAttachment().rawPropertyStream(Bytes(9, 5)).binary(0x3701, ascii("data"));
    const Dictionary d = testing::readMessage(m);
    // The long line continues the Subject.
    EXPECT_EQ(d.get(u"Subject")->string()->length(), 100002);
    const Array& list = *d.get(u"AttachmentList")->array();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_TRUE(list[0].dictionary()->contains(u"data"));
    EXPECT_FALSE(list[1].dictionary()->contains(u"data"));
}

}  // namespace
}  // namespace tessivo
