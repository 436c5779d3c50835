// The record layer: signature, record loop, checksums, limits, attribute
// handlers and the bounded reader, each with its log line.
#include <gtest/gtest.h>

#include <limits>

#include "support/tnef_writer.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/tnef_decoder.h"
#include "tessivo/tnef/tnef_memory.h"

namespace tessivo {
namespace {

using namespace testing;

constexpr const char* kNormalEnd = "ERROR: ReadMemory attempt to read 1 bytes but only 0 bytes available";

// Parses into a fresh structure; the stream must outlive it.
struct Parsed {
    LoadedTNEF message;
    std::uint32_t result = TNEFDecoder::kFailure;
};
std::unique_ptr<Parsed> parse(const Bytes& stream) {
    auto p = std::make_unique<Parsed>();
    p->result = TNEFDecoder::parseMemory(stream.data(), stream.size(), p->message);
    return p;
}

std::string text(ByteView v) { return std::string(v.begin(), v.end()); }

TEST(TNEFDecoderTest, SignatureDecides) {
    LogCapture log;
    EXPECT_FALSE(TNEFDecoder().processTNEF(TnefWriter(0x223E9F79).subject("x").build()));
    EXPECT_FALSE(TNEFDecoder().processTNEF(Bytes{0x78, 0x9F, 0x3E, 0x22, 0x01}));  // no room for the key
    EXPECT_FALSE(TNEFDecoder().processTNEF(Bytes{}));
    EXPECT_TRUE(log.contains("ERROR: ReadMemory called with invalid loadedTNEF structure"));

    // Signature and key alone: an empty structure, and an empty dictionary.
    log.clear();
    const auto empty = TNEFDecoder().processTNEF(TnefWriter().build());
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->empty());
    // The end of the stream is found by a header read that comes up short.
    EXPECT_EQ(log.lines(), std::vector<std::string>{kNormalEnd});
}

TEST(TNEFDecoderTest, RecordsOfKnownAttributesAreStored) {
    const Bytes stream = TnefWriter()
                             .record(kAttFrom, bytesOf("sender"))
                             .subject("first")
                             .subject("second")  // a later record replaces the earlier one
                             .record(kAttBody, bytesOf("body text"))
                             .record(kAttDateSent, tnefDate(2024, 2, 29, 13, 5, 9, 4))
                             .record(kAttDateStart, tnefDate(2024, 3, 1, 8, 0, 0))
                             .record(kAttDateEnd, Bytes{0x07, 0x00, 0x0C})  // short: missing fields stay 0
                             .record(kAttDateReceived, tnefDate(1999, 1, 1, 0, 0, 0))  // no table entry
                             .record(kAttTnefVersion, Bytes{0x00, 0x00, 0x01, 0x00})
                             .build();
    LogCapture log;
    const auto p = parse(stream);
    ASSERT_EQ(p->result, 0u);
    const LoadedTNEF& m = p->message;
    EXPECT_EQ(text(m.from), "sender");
    EXPECT_EQ(text(m.subject), std::string("second\0", 7));
    EXPECT_EQ(text(m.body), "body text");
    EXPECT_EQ(m.dateSent.year, 2024);
    EXPECT_EQ(m.dateSent.month, 2);
    EXPECT_EQ(m.dateSent.day, 29);
    EXPECT_EQ(m.dateSent.hour, 13);
    EXPECT_EQ(m.dateSent.minute, 5);
    EXPECT_EQ(m.dateSent.second, 9);
    EXPECT_EQ(m.dateSent.dayOfWeek, 4);
    EXPECT_EQ(m.dateStart.day, 1);
    EXPECT_EQ(m.dateEnd.year, 7);
    EXPECT_EQ(m.dateEnd.month, 0);
    // Views point into the stream: nothing was copied.
    EXPECT_GE(m.body.data(), stream.data());
    EXPECT_LT(m.body.data(), stream.data() + stream.size());
    EXPECT_EQ(log.lines(), std::vector<std::string>{kNormalEnd});
}

TEST(TNEFDecoderTest, MessageClassKeepsFiftyBytes) {
    const std::string longClass(60, 'C');
    auto p = parse(TnefWriter().messageClass("IPM.Note.Longer.Than.The.Next").messageClass("IPM.Note").build());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(p->message.messageClass.data())), "IPM.Note");
    // The field is not cleared between records: the tail of the longer class stays behind the NUL.
    EXPECT_EQ(p->message.messageClass[9], 'L');
    p = parse(TnefWriter().record(kAttMessageClass, bytesOf(longClass)).build());
    EXPECT_EQ(std::string(p->message.messageClass.begin(), p->message.messageClass.end()), std::string(50, 'C'));
}

TEST(TNEFDecoderTest, BadChecksumStopsAndSucceeds) {
    const Bytes stream = TnefWriter()
                             .subject("kept")
                             .record(kAttBody, bytesOf("dropped"), 0xBEEF)
                             .attachment("a.txt", bytesOf("also dropped"))
                             .build();
    LogCapture log;
    const auto p = parse(stream);
    EXPECT_EQ(p->result, 0u);
    EXPECT_EQ(text(p->message.subject), std::string("kept\0", 5));
    EXPECT_TRUE(p->message.body.empty());
    EXPECT_EQ(p->message.chain.size(), 1u);
    EXPECT_TRUE(log.lines().empty());  // no message for the checksum, and the end was not reached
    EXPECT_TRUE(TNEFDecoder().processTNEF(stream));
}

TEST(TNEFDecoderTest, ChecksumWrapsAtSixteenBits) {
    const Bytes data(300, 0xFF);  // 76500 = 0x12AD4
    EXPECT_EQ(tnefChecksum(data), 0x2AD4);
    EXPECT_EQ(parse(TnefWriter().record(kAttBody, data, 0x2AD4).build())->message.body.size(), 300u);
    EXPECT_TRUE(parse(TnefWriter().record(kAttBody, data, 0xFFFF).build())->message.body.empty());
}

TEST(TNEFDecoderTest, ZeroSizeRecordEndsTheStream) {
    const Bytes stream = TnefWriter().subject("before").record(kAttBody, Bytes{}).record(kAttFrom, bytesOf("x")).build();
    LogCapture log;
    const auto p = parse(stream);
    EXPECT_EQ(p->result, 0u);
    EXPECT_FALSE(p->message.subject.empty());
    EXPECT_TRUE(p->message.from.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST(TNEFDecoderTest, ChunkSizeLimit) {
    LogCapture log;
    // One byte over the limit fails before anything is read or allocated.
    auto p = parse(TnefWriter().subject("x").header(kAttBody, 104857601).build());
    EXPECT_EQ(p->result, TNEFDecoder::kFailure);
    EXPECT_EQ(log.lines(), std::vector<std::string>{
                               "TNEF chunk size 104857601 exceeds maximum allowed size 104857600 - file may be corrupted"});
    // At the limit the size is accepted, and the missing bytes fail the read.
    log.clear();
    p = parse(TnefWriter().header(kAttBody, 104857600).raw(Bytes(10, 1)).build());
    EXPECT_EQ(p->result, TNEFDecoder::kFailure);
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"ERROR: ReadMemory attempt to read 104857600 bytes but only 10 bytes available"});
    EXPECT_FALSE(TNEFDecoder().processTNEF(TnefWriter().header(kAttBody, 104857601).build()));
}

TEST(TNEFDecoderTest, TruncatedRecordsFail) {
    const Bytes whole = TnefWriter().subject("subject").build();
    LogCapture log;
    // Cut inside the data or the checksum: a short read fails the parse.
    for (std::size_t cut = 6 + 9; cut < whole.size(); ++cut)
        EXPECT_EQ(parse(Bytes(whole.begin(), whole.begin() + cut))->result, TNEFDecoder::kFailure) << cut;
    // Cut inside the header: the stream simply ends.
    for (std::size_t cut = 6; cut < 6 + 9; ++cut)
        EXPECT_EQ(parse(Bytes(whole.begin(), whole.begin() + cut))->result, 0u) << cut;
    EXPECT_TRUE(log.contains("ERROR: ReadMemory attempt to read 2 bytes but only 1 bytes available"));
    EXPECT_TRUE(log.contains("ERROR: ReadMemory attempt to read 4 bytes but only 2 bytes available"));
}

TEST(TNEFDecoderTest, AttachmentChain) {
    const Bytes stream = TnefWriter()
                             .record(kAttAttachTitle, cStringOf("orphan"))  // before any display record
                             .record(kAttAttachData, bytesOf("orphan data"))
                             .attachment("one.txt", bytesOf("1"))
                             .attachment("no data", std::nullopt)
                             .attachment("two.txt", bytesOf("22"), MapiBlock().string8(0x3707, "two-long.txt"))
                             .build();
    const auto p = parse(stream);
    ASSERT_EQ(p->result, 0u);
    const LoadedTNEF& m = p->message;
    EXPECT_EQ(text(m.chain.front().title), std::string("orphan\0", 7));
    EXPECT_EQ(text(m.chain.front().fileData), "orphan data");
    std::vector<std::string> titles;
    for (const TNEFAttachment& a : m.attachments()) titles.push_back(text(a.fileData));
    // The attachment without data was replaced by the next one: nothing could report it.
    EXPECT_EQ(titles, (std::vector<std::string>{"1", "22"}));
    ASSERT_EQ(m.chain.back().mapi.properties.size(), 1u);

    const auto d = TNEFDecoder().processTNEF(stream);
    ASSERT_TRUE(d);
    const Array& list = *d->get(u"AttachmentList")->array();
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(*list[0].dictionary()->get(u"name")->string(), u"one.txt");
    EXPECT_EQ(*list[1].dictionary()->get(u"name")->string(), u"two-long.txt");
}

TEST(TNEFDecoderTest, ReadMemoryRefusals) {
    LogCapture log;
    std::uint8_t out[8];
    const Bytes stream(6, 0);
    TNEFMemory io{stream.data(), stream.data(), stream.size()};
    EXPECT_EQ(ReadMemory(nullptr, 1, 1, out), 0u);
    EXPECT_EQ(ReadMemory(&io, 1, 0, out), 0u);
    EXPECT_EQ(ReadMemory(&io, 0, 1, out), 0u);
    EXPECT_EQ(ReadMemory(&io, std::numeric_limits<std::size_t>::max(), 2, out), 0u);
    EXPECT_EQ(ReadMemory(&io, 4, 2, out), 0u);
    EXPECT_EQ(ReadMemory(&io, 2, 3, out), 3u);
    EXPECT_EQ(ReadMemory(&io, 1, 1, out), 0u);
    TNEFMemory before{stream.data() + 1, stream.data(), stream.size()};
    EXPECT_EQ(ReadMemory(&before, 1, 1, out), 0u);
    TNEFMemory empty{};
    EXPECT_EQ(ReadMemory(&empty, 1, 1, out), 0u);
    ASSERT_EQ(log.lines().size(), 6u);
    EXPECT_TRUE(log.lines()[0].starts_with("ERROR: ReadMemory called with NULL pointer (IO="));
    EXPECT_EQ(log.lines()[1], "ERROR: ReadMemory size * count would overflow (18446744073709551615 * 2)");
    EXPECT_EQ(log.lines()[2], "ERROR: ReadMemory attempt to read 8 bytes but only 6 bytes available");
    EXPECT_EQ(log.lines()[3], "ERROR: ReadMemory attempt to read 1 bytes but only 0 bytes available");
    EXPECT_EQ(log.lines()[4], "ERROR: ReadMemory ptr is before dataStart");
    EXPECT_EQ(log.lines()[5], "ERROR: ReadMemory called with invalid loadedTNEF structure");
    EXPECT_EQ(GetMemory(&io), 0);
    EXPECT_EQ(io.ptr, io.dataStart);
}

}  // namespace
}  // namespace tessivo
