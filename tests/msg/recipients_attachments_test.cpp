// Recipients and attachments: which storages are listed, under which names,
// with which data; attached messages and voice notes.
#include "msg_test_support.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo {
namespace {

using testing::ascii;
using testing::MsgWriter;
using testing::readMessage;
using testing::text;

Array recipientsOf(const MsgWriter& m) {
    const Bytes file = m.build();
    return ReadMSG::getRecipientsForMessage(Mole::initWithData(file)->getOLEDictionary());
}

Array attachmentsOf(const MsgWriter& m) {
    const Dictionary message = readMessage(m);
    const Value* list = message.get(u"AttachmentList");
    return list && list->array() ? *list->array() : Array{};
}

MsgWriter email() {
    MsgWriter m;
    m.string8(0x001A, "IPM.Note");
    return m;
}

std::string unnamed() { return toUtf8(StringWangers::localizedStringFor(u"unnamedName", u"messages")); }

TEST(RecipientsTest, AnInvalidFirstAddressNeedsASecondProperty) {
    MsgWriter invalidOnly;
    invalidOnly.addRecipient().unicode(0x3001, "Ann").unicode(0x3003, "/O=EXCHANGE/CN=ANN");
    EXPECT_TRUE(recipientsOf(invalidOnly).empty());

    MsgWriter withSmtp;
    withSmtp.addRecipient().unicode(0x3001, "Ann").unicode(0x3003, "/O=EXCHANGE/CN=ANN").unicode(0x39FE, "also bad");
    EXPECT_EQ(recipientsOf(withSmtp), (Array{Value(testing::address("Ann", ""))}));

    MsgWriter smtpValid;
    smtpValid.addRecipient().unicode(0x3001, "Ann").unicode(0x3003, "/O=X").unicode(0x39FE, "ann@example.com");
    EXPECT_EQ(recipientsOf(smtpValid), (Array{Value(testing::address("Ann", "ann@example.com"))}));
}

TEST(RecipientsTest, NameMustBeUnicode) {
    MsgWriter eightBit;
    eightBit.addRecipient().string8(0x3001, "Ann").unicode(0x3003, "ann@example.com");
    EXPECT_TRUE(recipientsOf(eightBit).empty());
    MsgWriter eightBitAddress;
    eightBitAddress.addRecipient().unicode(0x3001, "Ann").string8(0x3003, "ann@example.com");
    EXPECT_TRUE(recipientsOf(eightBitAddress).empty());
}

TEST(RecipientsTest, StorageOrderAndAnyCase) {
    MsgWriter m;
    m.addRecipient().unicode(0x3001, "First").unicode(0x3003, "first@example.com");
    m.addRecipient().unicode(0x3001, "Second").unicode(0x3003, "second@example.com");
    // Longer names come later in a storage.
    m.stream("__RECIP_version1.0_#000000002/__substg1.0_3001001F", testing::utf16le("Third"));
    m.stream("__RECIP_version1.0_#000000002/__substg1.0_3003001F", testing::utf16le("third@example.com"));
    // A stream with a recipient's name is no storage and gives nothing.
    m.stream("__recipient_notes", ascii("x"));
    const Array list = recipientsOf(m);
    ASSERT_EQ(list.size(), 3u);
    EXPECT_EQ(text(*list[0].dictionary(), u"Name"), "First");
    EXPECT_EQ(text(*list[1].dictionary(), u"Name"), "Second");
    EXPECT_EQ(text(*list[2].dictionary(), u"Name"), "Third");
}

TEST(AttachmentsTest, KeysFromTheAttachmentStorage) {
    MsgWriter m = email();
    m.addAttachment()
        .unicode(0x3707, "report.pdf")
        .unicode(0x370E, "application/pdf")
        .unicode(0x3716, "attachment")
        .unicode(0x3713, "http://example.com/r")
        .unicode(0x3712, "%3Cid@x%3E")
        .binary(0x370F, Bytes{1, 2})
        .binary(0x3701, testing::pattern(5000));
    const Array list = attachmentsOf(m);
    ASSERT_EQ(list.size(), 1u);
    const Dictionary& a = *list[0].dictionary();
    std::vector<std::string> keys;
    for (const auto& [key, value] : a) keys.push_back(toUtf8(key));
    EXPECT_EQ(keys, (std::vector<std::string>{"name", "mimeType", "attachDisposition", "AttachContentLocation",
                                              "AttachContentID", "attachmentMetaData", "size", "sizeString", "data"}));
    EXPECT_EQ(text(a, u"name"), "report.pdf");
    EXPECT_EQ(text(a, u"AttachContentID"), "<id@x>");
    // The data are the stream as the stream layer hands it out: whole 512-byte sectors.
    EXPECT_EQ(a.get(u"data")->bytes()->size(), 5120u);
    EXPECT_EQ(a.get(u"size")->toUInt64(), 5120u);
    EXPECT_EQ(text(a, u"sizeString"), "5.1 KB");
    EXPECT_TRUE(std::equal(a.get(u"data")->bytes()->begin(), a.get(u"data")->bytes()->begin() + 5000,
                           testing::pattern(5000).begin()));
}

TEST(AttachmentsTest, NamePropertiesInOrderAndTheUnnamedText) {
    MsgWriter m = email();
    m.addAttachment().unicode(0x3704, "SHORT.PDF").unicode(0x3001, "Display").binary(0x3701, ascii("a"));
    m.addAttachment().unicode(0x3001, "Display").binary(0x3701, ascii("b"));
    m.addAttachment().binary(0x3701, ascii("c"));
    m.addAttachment().binary(0x3701, ascii("From: a\r\nMIME-Version: 1.0\r\n\r\nbody"));
    // An empty Unicode name hides the 8-bit one.
    m.addAttachment().unicode(0x3707, "").string8(0x3707, "hidden.txt").binary(0x3701, ascii("e"));
    m.addAttachment().string8(0x3707, "eight.txt").binary(0x3701, ascii("f"));
    const Array list = attachmentsOf(m);
    ASSERT_EQ(list.size(), 6u);
    EXPECT_EQ(text(*list[0].dictionary(), u"name"), "SHORT.PDF");
    EXPECT_EQ(text(*list[1].dictionary(), u"name"), "Display");
    EXPECT_EQ(text(*list[2].dictionary(), u"name"), unnamed());
    EXPECT_EQ(text(*list[3].dictionary(), u"name"), unnamed() + ".eml");
    EXPECT_EQ(text(*list[4].dictionary(), u"name"), unnamed());
    EXPECT_EQ(text(*list[5].dictionary(), u"name"), "eight.txt");
}

TEST(AttachmentsTest, AttachedMessagesAreListedWithoutData) {
    MsgWriter m = email();
    auto& inner = m.addAttachment().unicode(0x3001, "Inner mail").embeddedMessage();
    inner.unicode(0x0037, "Inner subject").unicode(0x1000, "Inner body");
    inner.addAttachment().unicode(0x3707, "deep.txt").binary(0x3701, ascii("deep"));
    const Array list = attachmentsOf(m);
    ASSERT_EQ(list.size(), 1u);
    const Dictionary& a = *list[0].dictionary();
    EXPECT_EQ(text(a, u"name"), "Inner mail");
    EXPECT_FALSE(a.contains(u"data"));
    EXPECT_FALSE(a.contains(u"size"));
    EXPECT_FALSE(a.contains(u"sizeString"));

    // Method 5 without the message's storage: its dictionary cannot be built.
    LogCapture log;
    MsgWriter missing = email();
    missing.addAttachment().unicode(0x3707, "lost.msg").property(0x3705, 0x0003, 5);
    EXPECT_EQ(attachmentsOf(missing).size(), 1u);
    EXPECT_TRUE(log.contains("Error: Invalid rawMessageEntries in buildDictionaryForMessage"));
}

TEST(AttachmentsTest, AttachMethodComesFromTheTrimmedPropertyStream) {
    // Method 5 inside the 8-byte header is not seen: the data are read.
    Bytes header = testing::propertyEntry(0x3705, 0x0003, 5);
    header.resize(8);
    MsgWriter m = email();
    m.addAttachment().unicode(0x3707, "a.bin").rawPropertyStream(header).binary(0x3701, ascii("x"));
    EXPECT_TRUE(attachmentsOf(m)[0].dictionary()->contains(u"data"));
    EXPECT_EQ(ReadMSG::extractAttachMethodFromPropertyStream(std::nullopt), 0u);
}

TEST(AttachmentsTest, MsgExtension) {
    EXPECT_EQ(ReadMSG::ensureMsgExtensionForName(icu::UnicodeString(u"mail.eml"), u"x"), u"mail.eml");
    EXPECT_EQ(ReadMSG::ensureMsgExtensionForName(icu::UnicodeString(u"Inner mail"), u"x"), u"Inner mail.msg");
    EXPECT_EQ(ReadMSG::ensureMsgExtensionForName(icu::UnicodeString(u""), u"Fallback"), u"Fallback.msg");
    EXPECT_EQ(ReadMSG::ensureMsgExtensionForName(std::nullopt, u"Fallback"), u"Fallback.msg");
    EXPECT_EQ(ReadMSG::ensureMsgExtensionForName(icu::UnicodeString(u"v1.2/notes"), u"x"), u"v1.2/notes.msg");
    EXPECT_EQ(ReadMSG::ensureMsgExtensionForName(icu::UnicodeString(u"trailing."), u"x"), u"trailing..msg");
    EXPECT_FALSE(ReadMSG::generateAttachedMessageData(Dictionary()));
}

TEST(AttachmentsTest, VoiceNoteAttachment) {
    MsgWriter m;
    m.binary(0x6803, Bytes(10, 9));
    const Array notes = ReadMSG::retrieveVoiceNotesForMessage(Mole::initWithData(m.build())->getOLEDictionary());
    ASSERT_EQ(notes.size(), 1u);
    const Dictionary& note = *notes[0].dictionary();
    EXPECT_EQ(text(note, u"name"), "Windows CE VoiceNote.wav");
    EXPECT_EQ(text(note, u"mimeType"), "audio/wav");
    EXPECT_EQ(note.get(u"size")->toUInt64(), 64u);
    EXPECT_TRUE(ReadMSG::retrieveVoiceNotesForMessage(Dictionary()).empty());
}

TEST(AttachmentsTest, StorageNamesMatchTheAttachmentList) {
    MsgWriter m = email();
    m.addAttachment().unicode(0x3707, "a");
    m.addAttachment().unicode(0x3707, "b");
    const Bytes file = m.build();
    const Dictionary root = Mole::initWithData(file)->getOLEDictionary();
    const auto names = ReadMSG::attachmentStorageNames(root);
    EXPECT_EQ(names, (std::vector<icu::UnicodeString>{u"__attach_version1.0_#00000000", u"__attach_version1.0_#00000001"}));
    ReadMSG reader;
    EXPECT_EQ(reader.getAttachmentsForMessage(root).size(), names.size());
}

}  // namespace
}  // namespace tessivo
