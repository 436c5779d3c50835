// The message dictionary of TNEF streams: from decoded records, from the raw
// scan when they give nothing, and the summary.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "support/lzfu_encoder.h"
#include "support/tnef_writer.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/read_tnef.h"
#include "tessivo/tnef/tnef_decoder.h"
#include "tessivo/toolkit/date_strings.h"

namespace tessivo {
namespace {

using namespace testing;

const Bytes kRtf = bytesOf("{\\rtf1\\ansi Hello {\\b world}\\par}");

Dictionary read(const Bytes& stream) {
    LogCapture quiet;
    auto reader = ReadTNEF::initWithData(stream);
    EXPECT_TRUE(reader);
    return reader ? reader->returnFullDictionary() : Dictionary{};
}

// Strings compared as UTF-8, so that failures print readably.
std::string str(const Dictionary& d, const char16_t* key) {
    const Value* v = d.get(key);
    return v && v->string() ? toUtf8(*v->string()) : "<none>";
}

std::vector<std::string> keys(const Dictionary& d) {
    std::vector<std::string> out;
    for (const auto& k : d.keys()) out.push_back(toUtf8(k));
    return out;
}

const Array& attachments(const Dictionary& d) {
    static const Array none;
    const Value* v = d.get(u"AttachmentList");
    return v && v->array() ? *v->array() : none;
}

// A stream whose records stop at a bad checksum right after the key, so
// that only the raw scan sees what follows.
TnefWriter scanOnly() {
    TnefWriter w;
    w.record(kAttBody, bytesOf("x"), 0);
    return w;
}


// A property the raw scan reads as a file time: the scan takes its length
// from the third word after the tag and the value from the fourth.
Bytes scannedTime(std::uint64_t fileTime) {
    Bytes b = le32(0x30080040);
    for (const Bytes& part : {le32(0), le32(8), le32(std::uint32_t(fileTime)), le32(std::uint32_t(fileTime >> 32))})
        b.insert(b.end(), part.begin(), part.end());
    return b;
}

TEST(ReadTNEFTest, NeedsTheSignature) {
    EXPECT_FALSE(ReadTNEF::initWithData(Bytes{0x78, 0x9F, 0x3E}));
    EXPECT_FALSE(ReadTNEF::initWithData(TnefWriter(0x12345678).subject("x").build()));
    EXPECT_FALSE(ReadTNEF::getSummaryForMessage(Bytes{0x78, 0x9F, 0x3E}));
    EXPECT_TRUE(ReadTNEF::getAttachmentListForMessage(TnefWriter(0x12345678).attachment("a", bytesOf("x")).build()).empty());
    const auto error = ReadTNEF::getSummaryForMessage(bytesOf("From: someone"));
    ASSERT_TRUE(error);
    EXPECT_EQ(keys(*error), (std::vector<std::string>{"Body", "From", "Subject"}));
    EXPECT_EQ(str(*error, u"From"), "** Error Reading Message **");
    // The signature alone opens, with nothing in it.
    EXPECT_TRUE(read(Bytes{0x78, 0x9F, 0x3E, 0x22}).empty());
}

TEST(ReadTNEFTest, DecodedMessage) {
    TnefWriter w;
    w.subject("Attribute subject")
        .record(kAttDateSent, tnefDate(2024, 5, 17, 9, 30, 0, 5))
        .mapi(MapiBlock().string8(0x0037, "Property subject").binary(0x1009, lzfuCompress(kRtf)).long32(0x0E08, 1234))
        .attachment("title.txt", bytesOf("first"), MapiBlock().string8(0x3707, "long name.txt"))
        .attachment("second.bin", Bytes(1500, 0xAB));
    const ReadTNEF reader = *ReadTNEF::initWithData(w.build());
    const Dictionary& d = reader.returnFullDictionary();
    EXPECT_EQ(Value(ReadTNEF::getAttachmentListForMessage(w.build())), *d.get(u"AttachmentList"));
    Dictionary decoded = *TNEFDecoder().processTNEF(w.build());
    ASSERT_TRUE(decoded.erase(u"AttachmentList"));
    EXPECT_EQ(*TNEFDecoder().processTNEF(w.build(), false), decoded);
    // "Date Sent" gives no "Date" (DateSentNeverBecomesADate).
    EXPECT_EQ(keys(d), (std::vector<std::string>{"Subject", "RTF", "AttachmentList", "Body"}));
    EXPECT_EQ(str(d, u"Subject"), "Attribute subject");
    EXPECT_EQ(*d.get(u"RTF")->bytes(), kRtf);
    EXPECT_EQ(str(d, u"Body"), "Hello world\n");
    EXPECT_EQ(reader.getContent(u"Subject"), d.get(u"Subject"));
    EXPECT_EQ(reader.getContent(u"MessageType"), nullptr);

    const Array& list = attachments(d);
    ASSERT_EQ(list.size(), 2u);
    const Dictionary& first = *list[0].dictionary();
    EXPECT_EQ(keys(first), (std::vector<std::string>{"size", "sizeString", "data", "name"}));
    EXPECT_EQ(first.get(u"size")->toInt64(), 5);
    EXPECT_EQ(str(first, u"sizeString"), "5 bytes");
    EXPECT_EQ(*first.get(u"data")->bytes(), bytesOf("first"));
    EXPECT_EQ(str(first, u"name"), "long name.txt");
    const Dictionary& second = *list[1].dictionary();
    EXPECT_EQ(str(second, u"name"), "second.bin");
    EXPECT_EQ(str(second, u"sizeString"), "1.5 KB");
}

// "Date Sent" is written "Y-M-D h:m:s +0000" and read back with the free
// date patterns, whole; the reader leaves that conversion out because no
// pattern takes the zone. Should a pattern ever take it, this fails.
TEST(ReadTNEFTest, DateSentNeverBecomesADate) {
    const std::array<int, 6> dates[] = {
        {2024, 5, 17, 9, 30, 0}, {1999, 12, 31, 23, 59, 59}, {2000, 2, 29, 12, 5, 7}, {0, 0, 0, 0, 0, 0},
        {65535, 65535, 65535, 65535, 65535, 65535},
    };
    for (const auto& [y, mo, d, h, mi, s] : dates) {
        char text[96];
        std::snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d +0000", y, mo, d, h, mi, s);
        EXPECT_FALSE(convertStringToDate(icu::UnicodeString(text, -1, US_INV))) << text;
    }
}

TEST(ReadTNEFTest, SubjectSources) {
    // The subject or the conversation topic; a named property is not either.
    const MapiBlock::Guid set{};
    auto d = read(TnefWriter().mapi(MapiBlock().string8(0x0070, "Topic")).build());
    EXPECT_EQ(str(d, u"Subject"), "Topic");
    d = read(TnefWriter().mapi(MapiBlock().string8(0x0037, "Subject").string8(0x0070, "Later topic")).build());
    EXPECT_EQ(str(d, u"Subject"), "Later topic");
    d = read(TnefWriter()
                 .mapi(MapiBlock().namedNumber(0x8000001E, set, 0x0037, cStringOf("named")).long32(0x0E08, 1))
                 .build());
    EXPECT_FALSE(d.contains(u"Subject"));
    // 8-bit text that is not UTF-8 is left out.
    d = read(TnefWriter().mapi(MapiBlock().property(0x0037001E, bytesOf("caf\xE9"))).build());
    EXPECT_FALSE(d.contains(u"Subject"));
    // Without message properties the attribute is not looked at either, and
    // a stream that gives no keys goes to the raw scan, which finds nothing.
    d = read(TnefWriter().subject("Only the attribute").build());
    EXPECT_TRUE(d.empty());
}

TEST(ReadTNEFTest, BinaryBodies) {
    const Bytes html = bytesOf("<html><body><p>Hi</p></body></html>");
    auto d = read(TnefWriter().mapi(MapiBlock().binary(0x1013, html)).build());
    EXPECT_EQ(str(d, u"HTML"), "<html><body><p>Hi</p></body></html>");
    // Uncompressed RTF is RTF all the same: it is not decompressed, and not taken as HTML.
    Bytes stored = lzfuStore(bytesOf("{\\rtf1 <html> x}"));
    d = read(TnefWriter().mapi(MapiBlock().binary(0x1009, stored).long32(0x0E08, 1)).build());
    EXPECT_TRUE(d.empty());
    // A declared raw size stands, zeros after the decoded text, up to what the
    // data can decode to (eight bytes per compressed byte); beyond that it is cut.
    Bytes body = lzfuCompress(kRtf);
    const std::size_t most = 8 * (body.size() - 16);
    for (const std::uint32_t declared : {std::uint32_t(kRtf.size() + 10), std::uint32_t(most), 100u << 20}) {
        for (int i = 0; i < 4; ++i) body[4 + i] = static_cast<std::uint8_t>(declared >> (8 * i));
        d = read(TnefWriter().mapi(MapiBlock().binary(0x1009, body)).build());
        EXPECT_EQ(d.get(u"RTF")->bytes()->size(), std::min<std::size_t>(declared, most)) << declared;
        EXPECT_EQ(str(d, u"Body"), "Hello world\n") << declared;
    }
    // Other binary values give nothing.
    d = read(TnefWriter().mapi(MapiBlock().binary(0x0FFF, Bytes{1, 2, 3})).subject("s").build());
    EXPECT_EQ(keys(d), std::vector<std::string>{"Subject"});
}

TEST(ReadTNEFTest, AttachmentNames) {
    const std::string longName(300, 'n');
    const std::string accentAt255 = std::string(254, 'a') + "\xC3\xA9";
    TnefWriter w;
    w.attachment("title only", bytesOf("1"))
        .attachment("title", bytesOf("2"), MapiBlock().string8(0x3001, "display").string8(0x3707, "long"))
        .attachment("title", bytesOf("3"), MapiBlock().string8(0x3001, "display"))
        .attachment(longName, bytesOf("4"))
        .attachment(accentAt255, bytesOf("5"))
        .attachment("bad \xFF", bytesOf("6"))
        .attachment(std::nullopt, bytesOf("7"))
        .attachment("no data", std::nullopt)
        .attachment(std::string_view("cut\0after", 9), bytesOf("8"));
    const Dictionary d = *TNEFDecoder().processTNEF(w.build());
    const Array& list = attachments(d);
    ASSERT_EQ(list.size(), 8u);
    std::vector<std::string> names;
    for (const Value& a : list) names.push_back(str(*a.dictionary(), u"name"));
    EXPECT_EQ(names, (std::vector<std::string>{"title only", "long", "display",
                                                      std::string(255, 'n'),
                                                      "<none>", "<none>", "", "cut"}));
}

TEST(ReadTNEFTest, AttachmentsOutsideTheChainAreLeftOut) {
    // Data before any display record belongs to the starting attachment, and
    // an attachment without data is not listed.
    const Bytes stream = TnefWriter()
                             .record(kAttAttachTitle, cStringOf("early.txt"))
                             .record(kAttAttachData, bytesOf("early"))
                             .attachment("empty.txt", std::nullopt, MapiBlock().string8(0x3707, "empty long.txt"))
                             .mapi(MapiBlock().string8(0x0037, "s"))
                             .build();
    const Dictionary d = read(stream);
    EXPECT_EQ(keys(d), std::vector<std::string>{"Subject"});
}

TEST(ReadTNEFTest, RawScanWhenRecordsGiveNothing) {
    const Bytes oneAttachment = scanOnly().attachment("a.txt", bytesOf("A")).build();
    EXPECT_TRUE(read(oneAttachment).empty());  // one attachment is deliberately not listed here

    const Bytes stream = scanOnly()
                             .mapi(MapiBlock()
                                       .property(0x0037001F, bytesOf("  \r\n "))  // blank: no subject
                                       .property(0x10130102, bytesOf("<p>html</p>"))
                                       .property(0x0C1A001F, bytesOf("Second name"))
                                       .property(0x0042001F, bytesOf("Ann Sender"))
                                       .property(0x801C001F, bytesOf("ann@example.com"))
                                       .property(0x10090102, lzfuCompress(kRtf))
                                       .raw(scannedTime(116444736000000000 + 86400ull * 10000000)))
                             .attachment("a.txt", bytesOf("A"))
                             .attachment("b.txt", bytesOf("B"))
                             .attachment(std::nullopt, bytesOf("no title: not paired"))
                             .build();
    const Dictionary d = read(stream);
    EXPECT_EQ(keys(d), (std::vector<std::string>{"HTML", "Date", "RTF", "From", "AttachmentList"}));
    EXPECT_EQ(str(d, u"HTML"), "<p>html</p>");
    EXPECT_EQ(str(d, u"Date"), "02 Jan 1970 at 00:00");
    EXPECT_EQ(*d.get(u"RTF")->bytes(), kRtf);
    const Dictionary& from = *d.get(u"From")->array()->at(0).dictionary();
    EXPECT_EQ(str(from, u"Name"), "Ann Sender");
    EXPECT_EQ(str(from, u"Address"), "ann@example.com");
    const Array& list = attachments(d);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(keys(*list[0].dictionary()), (std::vector<std::string>{"data", "name"}));
    EXPECT_EQ(str(*list[0].dictionary(), u"name"), std::string("a.txt\0", 6));
    EXPECT_EQ(*list[1].dictionary()->get("data")->bytes(), bytesOf("B"));

    EXPECT_EQ(Value(ReadTNEF::getAttachmentListForMessage(stream)), *d.get(u"AttachmentList"));
    EXPECT_TRUE(ReadTNEF::getAttachmentListForMessage(oneAttachment).empty());

    Dictionary ignored;
    ReadTNEF::buildTNEFDictionary(ignored, stream, true);
    EXPECT_FALSE(ignored.contains(u"AttachmentList"));
    EXPECT_TRUE(ignored.contains(u"From"));
}

TEST(ReadTNEFTest, RawScanSenderAndDates) {
    struct Case {
        const char* name;
        MapiBlock block;
        const char* fromName;  // null: no "From"
        const char* date;      // null: no "Date"
    };
    const Case cases[] = {
        {"address only", MapiBlock().property(0x0065001F, bytesOf("a@b.c")), "a@b.c", nullptr},
        {"name only", MapiBlock().property(0x0042001F, bytesOf("Ann")), nullptr, nullptr},
        {"first address wins", MapiBlock().property(0x0C1F001F, bytesOf("x@y.z")).property(0x0065001F, bytesOf("a@b.c")),
         "a@b.c", nullptr},
        {"time 0", MapiBlock().raw(scannedTime(0)), nullptr, nullptr},
        {"first second of 1970", MapiBlock().raw(scannedTime(116444736010000000)), nullptr, "01 Jan 1970 at 00:00"},
        {"last second of 2099", MapiBlock().raw(scannedTime(116444736000000000 + 4102444799ull * 10000000)), nullptr,
         "31 Dec 2099 at 23:59"},
        {"2100", MapiBlock().raw(scannedTime(116444736000000000 + 4102444800ull * 10000000)), nullptr, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Dictionary d;
        ReadTNEF::buildTNEFDictionary(d, scanOnly().mapi(c.block).build(), true);
        if (c.fromName)
            EXPECT_EQ(str(*d.get(u"From")->array()->at(0).dictionary(), u"Name"), c.fromName);
        else
            EXPECT_FALSE(d.contains(u"From"));
        if (c.date)
            EXPECT_EQ(str(d, u"Date"), c.date);
        else
            EXPECT_FALSE(d.contains(u"Date"));
    }
}

TEST(ReadTNEFTest, RawScanPairsTitlesWithTheDataAfterThem) {
    // Data before the first title, a title whose data is missing, a title
    // that is not text: the walk pairs each title with the next data record.
    const Bytes stream = scanOnly()
                             .record(kAttAttachData, bytesOf("D1"))
                             .record(kAttAttachTitle, bytesOf("T1"))
                             .record(kAttAttachData, bytesOf("D2"))
                             .record(kAttAttachTitle, Bytes{0xFF, 0xFE})
                             .record(kAttAttachData, bytesOf("D3"))
                             .record(kAttAttachTitle, bytesOf("T3"))
                             .build();
    const Array list = ReadTNEF::retrieveAttachments(stream);
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(str(*list[0].dictionary(), u"name"), "T1");
    EXPECT_EQ(*list[0].dictionary()->get("data")->bytes(), bytesOf("D2"));
    EXPECT_EQ(str(*list[1].dictionary(), u"name"), "Untitled Attachment");
    EXPECT_EQ(*list[1].dictionary()->get("data")->bytes(), bytesOf("D3"));
    // A size that runs past the end is cut there.
    Bytes cut = TnefWriter().header(kAttAttachTitle, 1000).raw(bytesOf("T")).header(kAttAttachData, 9).build();
    EXPECT_EQ(ReadTNEF::retrieveAttachments(cut).size(), 0u);
    cut = TnefWriter().header(kAttAttachTitle, 2).raw(bytesOf("T")).header(kAttAttachData, 9).raw(bytesOf("abc")).build();
    const Array one = ReadTNEF::retrieveAttachments(cut);
    ASSERT_EQ(one.size(), 1u);
    EXPECT_EQ(*one[0].dictionary()->get("data")->bytes(), bytesOf("abc"));
}

TEST(ReadTNEFTest, Summary) {
    const Bytes plain = TnefWriter().mapi(MapiBlock().string8(0x0037, "  Plain\x01 subject ")).build();
    auto s = *ReadTNEF::getSummaryForMessage(plain);
    EXPECT_EQ(keys(s), (std::vector<std::string>{"From", "Subject", "Body", "Date"}));
    EXPECT_EQ(str(s, u"From"), "-");
    EXPECT_EQ(str(s, u"Subject"), "Plain\x01 subject");
    EXPECT_EQ(str(s, u"Body"), "-");
    EXPECT_EQ(str(s, u"Date"), "-");

    s = *ReadTNEF::getSummaryForMessage(TnefWriter().mapi(MapiBlock().binary(0x1009, lzfuCompress(kRtf))).build());
    EXPECT_EQ(str(s, u"Subject"), "-");
    EXPECT_EQ(str(s, u"Body"), "Hello world");
    // RTF without text leaves "Body" out.
    s = *ReadTNEF::getSummaryForMessage(
        TnefWriter().mapi(MapiBlock().binary(0x1009, lzfuCompress(bytesOf("{\\rtf1 }")))).build());
    EXPECT_EQ(keys(s), (std::vector<std::string>{"From", "Subject", "Date"}));
    // A stream that does not parse is summarised as empty.
    s = *ReadTNEF::getSummaryForMessage(TnefWriter().header(kAttBody, 200).build());
    EXPECT_EQ(str(s, u"Subject"), "-");
}

}  // namespace
}  // namespace tessivo
