// The message dictionary: creation, the transport header, message classes,
// subject, bodies and their precedence, dates, voice notes, the sender and
// the summary.
#include "msg_test_support.h"
#include "support/lzfu_encoder.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo {
namespace {

using testing::ascii;
using testing::MsgWriter;
using testing::readMessage;
using testing::text;

// 2024-03-05 14:07:09 UTC (tests run with TZ=UTC).
constexpr std::int64_t kDelivered = 1709647629;

std::vector<std::string> keysOf(const Dictionary& d) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : d) keys.push_back(toUtf8(key));
    return keys;
}

MsgWriter withHeader(std::string_view header) {
    MsgWriter m;
    m.unicode(0x007D, header);
    return m;
}

TEST(ReadMSGTest, CreationFailuresAreLogged) {
    LogCapture log;
    EXPECT_FALSE(ReadMSG::initWithData({}));
    EXPECT_TRUE(log.contains("Error: Invalid or empty datastream in initWithData"));
    int code = -1;
    EXPECT_FALSE(ReadMSG::initWithData(Bytes(1024, 0), &code));
    EXPECT_TRUE(log.contains("Error: Failed to initialize Mole reader"));
    EXPECT_EQ(code, 2);
}

TEST(ReadMSGTest, KeysComeInTheOrderTheyAreFirstWritten) {
    MsgWriter m;
    m.unicode(0x007D, "Date: Mon, 4 Mar 2024 10:00:00 +0000\r\nTo: a@example.com\r\nSubject: header\r\nX: y\r\n");
    m.string8(0x001A, "IPM.Note");
    m.unicode(0x0037, "Subject");
    m.unicode(0x1000, "Body");
    m.unicode(0x0C1A, "Ann");
    m.property(0x0E06, 0x0040, testing::fileTimeFromUnix(kDelivered));
    m.addAttachment().unicode(0x3707, "a.txt").binary(0x3701, ascii("data"));
    const Dictionary d = readMessage(m);
    EXPECT_EQ(keysOf(d), (std::vector<std::string>{"Date", "TO", "Subject", "To", "MessageType", "Body", "Header",
                                                   "MIMEDate", "From", "AttachmentList"}));
    EXPECT_EQ(text(d, u"Date"), "05 Mar  2024 at 14:07");
    EXPECT_EQ(text(d, u"MIMEDate"), "Tue, 5 Mar 2024 14:07:09 +0000");
    EXPECT_EQ(text(d, u"Subject"), "Subject");
}

TEST(ReadMSGTest, MessageWithoutTransportHeaders) {
    MsgWriter m;
    m.addRecipient().unicode(0x3001, "Ann").unicode(0x3003, "ann@example.com");
    const Dictionary d = readMessage(m);
    EXPECT_EQ(text(d, u"Header"), "");
    EXPECT_FALSE(d.contains(u"FROM"));
    EXPECT_FALSE(d.contains(u"TO"));
    EXPECT_FALSE(d.contains(u"MessageType"));
    EXPECT_EQ(*d.get(u"To"), Value(Array{Value(testing::address("Ann", "ann@example.com"))}));
    EXPECT_EQ(*readMessage(MsgWriter()).get(u"To"), Value(Array{}));
}

TEST(ReadMSGTest, HeaderLinesGiveAddressListsDateAndSubject) {
    const Dictionary d = readMessage(withHeader(
        "from: \"Doe, Jane\" <jane@example.com>\r\n"
        "Cc: bob@example.com,\r\n"
        "\tcarol@example.com\r\n"
        "BCC: dave@example.com\r\n"
        "Date: Mon, 4 Mar 2024 10:00:00 +0000\r\n"
        "Subject: =?iso-8859-1?Q?Caf=E9?=\r\n"
        "Received: by x\r\n"));
    EXPECT_EQ(*d.get(u"FROM"), Value(Array{Value(testing::address("Doe, Jane", "jane@example.com"))}));
    EXPECT_EQ(*d.get(u"CC"), Value(Array{Value(testing::address("", "bob@example.com")),
                                         Value(testing::address("", "carol@example.com"))}));
    EXPECT_TRUE(d.contains(u"BCC"));
    EXPECT_EQ(text(d, u"Subject"), "Caf\xC3\xA9");
    // The header's date is overwritten by "-": there is no delivery time.
    EXPECT_EQ(text(d, u"Date"), "-");
    EXPECT_EQ(keysOf(d).front(), "FROM");
    // Date and Subject are kept only as written; names that merely end like a kept one are not.
    EXPECT_FALSE(readMessage(withHeader("subject: lower\r\nX: y")).contains(u"Subject"));
    EXPECT_FALSE(readMessage(withHeader("Reply-To: a@example.com\r\nX-Original-From: b@example.com\r\nX: y"))
                     .contains(u"TO"));
}

TEST(ReadMSGTest, TheLastHeaderOfTheTextIsNeverStored) {
    EXPECT_FALSE(readMessage(withHeader("To: a@example.com\r\nSubject: last")).contains(u"Subject"));
    EXPECT_EQ(text(readMessage(withHeader("Subject: kept\r\nX-Other: 1")), u"Subject"), "kept");
    EXPECT_FALSE(readMessage(withHeader("Subject: kept\r\n")).contains(u"Subject"));
    // The trailing empty line is skipped, so the Subject is still pending at the end.
}

TEST(ReadMSGTest, FoldedLinesStartingWithASpaceAreDropped) {
    const Dictionary d = readMessage(withHeader("Subject: one\r\n two\r\n\tthree\r\nfour\r\nX: y\r\nZ: z"));
    EXPECT_EQ(text(d, u"Subject"), "one\n\tthree\r\nfour\r");
    // A first word that does not end with ":" continues the header before it.
    EXPECT_FALSE(readMessage(withHeader("From:a@example.com x\r\nX: y\r\nZ: z")).contains(u"FROM"));
}

TEST(ReadMSGTest, MessageClassesGiveTheMessageType) {
    const std::pair<const char*, const char*> cases[] = {
        {"IPM.Note", "Email"},
        {"IPM.Note.EnterpriseVault.Shortcut", "Vault"},
        {"IPM.Note.SMIME.MultipartSigned", "Email"},
        {"IPM.StickyNote", "Sticky"},
        {"IPM.Contact", "Contact"},
        {"IPM.Appointment", "Calendar"},
        {"REPORT.IPM.Note.NDR", "Email"},
        {"IPM.Post", "Email"},
        {"ipm.stickynote", "Email"},
    };
    for (const auto& [messageClass, type] : cases) {
        MsgWriter m;
        m.string8(0x001A, messageClass);
        EXPECT_EQ(text(readMessage(m), u"MessageType"), type) << messageClass;
    }
    MsgWriter unicodeClass;
    unicodeClass.unicode(0x001A, "IPM.StickyNote");
    EXPECT_EQ(text(readMessage(unicodeClass), u"MessageType"), "Sticky");
}

TEST(ReadMSGTest, SubjectKeepsItsFirstLineOnly) {
    MsgWriter m;
    m.unicode(0x0037, "First line\r\nsecond line");
    EXPECT_EQ(text(readMessage(m), u"Subject"), "First line");
    MsgWriter separator;
    separator.unicode(0x0037, "Up\xE2\x80\xA8there");
    EXPECT_EQ(text(readMessage(separator), u"Subject"), "Up");
}

TEST(ReadMSGTest, DeliveryTimesOutsideTheRangeGiveADash) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {4102444799, "31 Dec  2099 at 23:59"},
        {4102444800, "-"},
        {1, "01 Jan  1970 at 00:00"},
        {0, "-"},
        {-86400, "-"},
    };
    for (const auto& [seconds, expected] : cases) {
        MsgWriter m;
        m.property(0x0E06, 0x0040, testing::fileTimeFromUnix(seconds));
        const Dictionary d = readMessage(m);
        EXPECT_EQ(text(d, u"Date"), expected) << seconds;
        if (std::string(expected) == "-") {
            EXPECT_EQ(text(d, u"MIMEDate"), "-") << seconds;
        }
    }
    // The look-up scans the untrimmed stream: a time inside the 32-byte header is found too.
    Bytes header = testing::propertyEntry(0x0E06, 0x0040, testing::fileTimeFromUnix(kDelivered));
    header.resize(32, 0);
    MsgWriter inHeader;
    inHeader.rawPropertyStream(header);
    EXPECT_EQ(text(readMessage(inHeader), u"Date"), "05 Mar  2024 at 14:07");
}

TEST(ReadMSGTest, BodiesAndTheirFallbacks) {
    MsgWriter plain;
    plain.unicode(0x1000, "Just text");
    plain.binary(0x1013, ascii("<p>Caf\xC3\xA9</p>"));
    Dictionary d = readMessage(plain);
    EXPECT_EQ(text(d, u"Body"), "Just text");
    EXPECT_EQ(text(d, u"HTML"), "<p>Caf\xC3\xA9</p>");

    // A plain body that is HTML becomes the HTML body when there is none.
    const std::string page = "<html><body>Hello</body></html>";
    MsgWriter htmlBody;
    htmlBody.unicode(0x1000, page);
    d = readMessage(htmlBody);
    EXPECT_EQ(text(d, u"HTML"), page);
    EXPECT_EQ(text(d, u"Body"), page);

    MsgWriter notHtml;
    notHtml.unicode(0x1000, "<b>bold</b> but no page");
    EXPECT_FALSE(readMessage(notHtml).contains(u"HTML"));
}

TEST(ReadMSGTest, CompressedRtfIsDecompressedAndItsTextMayGiveHtml) {
    const std::string rtf = "{\\rtf1\\ansi <html><head></head><body>From RTF</body></html>}";
    MsgWriter m;
    m.binary(0x1009, testing::lzfuCompress(ascii(rtf)));
    Dictionary d = readMessage(m);
    ASSERT_TRUE(d.get(u"RTF") && d.get(u"RTF")->bytes());
    EXPECT_EQ(*d.get(u"RTF")->bytes(), ascii(rtf));
    EXPECT_EQ(text(d, u"HTML"), "<html><head></head><body>From RTF</body></html>");

    // 0x1008 is read when 0x1009 is missing; an uncompressed ("MELA") body gives no RTF.
    MsgWriter second;
    second.binary(0x1008, testing::lzfuCompress(ascii("{\\rtf1 x}")));
    EXPECT_EQ(*readMessage(second).get(u"RTF")->bytes(), ascii("{\\rtf1 x}"));
    MsgWriter mela;
    Bytes raw = testing::lzfuCompress(ascii("{\\rtf1 x}"));
    raw[8] = 'M', raw[9] = 'E', raw[10] = 'L', raw[11] = 'A';
    mela.binary(0x1009, raw);
    EXPECT_FALSE(readMessage(mela).contains(u"RTF"));
}

// The header facts of a message without the cost of its bodies: a compressed
// RTF body is padded to the raw size it declares, however few bytes it has.
TEST(ReadMSGTest, ReadingWithoutBodiesKeepsEverythingElse) {
    MsgWriter m;
    m.unicode(0x0037, "Quarterly figures");
    m.string8(0x001A, "IPM.Note");
    m.unicode(0x1000, "Plain body");
    Bytes rtf = testing::lzfuCompress(ascii("{\\rtf1 x}"));
    rtf[4] = 0, rtf[5] = 0, rtf[6] = 0x10, rtf[7] = 0;  // declares 1 MB
    m.binary(0x1009, rtf);
    const Bytes bytes = m.build();
    const Dictionary full = ReadMSG::initWithData(bytes)->returnFullDictionary();
    ASSERT_TRUE(full.get(u"RTF"));
    EXPECT_EQ(full.get(u"RTF")->bytes()->size(), 1u << 20);

    Dictionary skipped = ReadMSG::initWithData(bytes, nullptr, ReadMSG::Bodies::Skip)->returnFullDictionary();
    for (const char16_t* body : {u"Body", u"HTML", u"RTF"}) EXPECT_FALSE(skipped.contains(body));
    Dictionary rest = full;
    for (const char16_t* body : {u"Body", u"HTML", u"RTF"}) rest.erase(body);
    EXPECT_EQ(skipped, rest);
    EXPECT_EQ(text(skipped, u"Subject"), "Quarterly figures");
}

TEST(ReadMSGTest, VoiceNotes) {
    MsgWriter note;
    note.string8(0x001A, "IPM.Note");
    note.string8(0x8000, "Call me back");
    note.binary(0x6803, Bytes(100, 7));
    note.addAttachment().unicode(0x3707, "ignored.txt").binary(0x3701, ascii("x"));
    Dictionary d = readMessage(note);
    EXPECT_EQ(text(d, u"MessageType"), "VoiceNote");
    EXPECT_EQ(text(d, u"Body"), toUtf8(StringWangers::localizedStringFor(u"VoiceNote", u"messages")));
    const Array& list = *d.get(u"AttachmentList")->array();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(text(*list[0].dictionary(), u"name"), "Windows CE VoiceNote.wav");

    MsgWriter textOnly;
    textOnly.string8(0x001A, "IPM.Note");
    textOnly.string8(0x8000, "Call me back");
    d = readMessage(textOnly);
    EXPECT_EQ(text(d, u"Body"), "Call me back");
    EXPECT_EQ(text(d, u"MessageType"), "Email");

    // A message with a body ignores the voice note.
    MsgWriter withBody;
    withBody.unicode(0x1000, "Body").string8(0x8000, "Call").binary(0x6803, Bytes(10, 1));
    EXPECT_EQ(text(readMessage(withBody), u"Body"), "Body");
}

TEST(ReadMSGTest, TranscribedBodyReplacesBodyInACopy) {
    MsgWriter m;
    m.unicode(0x1000, "Original");
    const Bytes file = m.build();
    auto reader = ReadMSG::initWithData(file);
    ASSERT_TRUE(reader);
    reader->setTranscribedBody(icu::UnicodeString(u"Transcribed"));
    EXPECT_EQ(text(reader->returnFullDictionary(), u"Body"), "Transcribed");
    EXPECT_EQ(*reader->getContent(u"Body")->string(), u"Original");
    EXPECT_EQ(reader->getContent(u"Nothing"), nullptr);
    EXPECT_EQ(&reader->buildDictionary(Value()), &*reader);
    EXPECT_EQ(text(std::move(*reader).returnFullDictionary(), u"Body"), "Transcribed");
}

TEST(ReadMSGTest, SenderTakesTheFirstValidAddress) {
    MsgWriter m;
    m.unicode(0x0C1A, "Ann Lee");
    m.unicode(0x0065, "/O=EXCHANGE/OU=FIRST/CN=ANN");
    m.unicode(0x801C, "ann@example.com");
    m.unicode(0x5D01, "other@example.com");
    EXPECT_EQ(*readMessage(m).get(u"From"), Value(Array{Value(testing::address("Ann Lee", "ann@example.com"))}));

    MsgWriter nothing;
    EXPECT_EQ(*readMessage(nothing).get(u"From"), Value(Array{Value(testing::address("", ""))}));
    MsgWriter addressOnly;
    addressOnly.string8(0x0C1F, "bob@example.com");
    EXPECT_EQ(*readMessage(addressOnly).get(u"From"), Value(Array{Value(testing::address("", "bob@example.com"))}));
}

TEST(ReadMSGTest, AttachmentsOnlyForEmailAndCalendar) {
    for (const char* messageClass : {"IPM.Note", "IPM.Appointment", "IPM.StickyNote", "IPM.Contact", ""}) {
        MsgWriter m;
        if (*messageClass) m.string8(0x001A, messageClass);
        m.addAttachment().unicode(0x3707, "a.txt").binary(0x3701, ascii("x"));
        const bool listed = std::string(messageClass) == "IPM.Note" || std::string(messageClass) == "IPM.Appointment";
        EXPECT_EQ(readMessage(m).contains(u"AttachmentList"), listed) << messageClass;
    }
}

TEST(ReadMSGTest, SummaryReadsFiveKeys) {
    MsgWriter m;
    m.unicode(0x0037, "Hello\nworld");
    m.unicode(0x0C1A, "Ann");
    m.unicode(0x0065, "not an address");
    m.binary(0x1013, ascii("<p>html only</p>"));
    m.property(0x0E06, 0x0040, testing::fileTimeFromUnix(kDelivered));
    const Dictionary s = ReadMSG::getSummaryForMessage(m.build());
    EXPECT_EQ(keysOf(s), (std::vector<std::string>{"Subject", "Body", "From", "Date", "MIMEDate"}));
    EXPECT_EQ(text(s, u"Subject"), "Hello");
    EXPECT_EQ(text(s, u"Body"), "-");
    EXPECT_EQ(text(s, u"From"), "Ann");
    EXPECT_EQ(text(s, u"Date"), "05 Mar 2024 at 14:07");
    EXPECT_EQ(text(s, u"MIMEDate"), "Tue, 5 Mar 2024 14:07:09 +0000");

    const Dictionary failed = ReadMSG::getSummaryForMessage(ascii("not a message"));
    EXPECT_EQ(text(failed, u"Subject"), "-");
    EXPECT_EQ(text(failed, u"Body"), "-");
    EXPECT_EQ(text(failed, u"From"), "-");
    EXPECT_EQ(text(failed, u"Date"), "");
    EXPECT_EQ(text(failed, u"MIMEDate"), "");
    EXPECT_EQ(text(ReadMSG::getSummaryForMessage(MsgWriter().build()), u"Date"), "-");
}

}  // namespace
}  // namespace tessivo
