// Damaged and hostile messages must never crash, hang or run away with
// memory: every prefix of a built message, byte flips, boundaries that never
// close, deep nesting, huge header lines and boundaries met over and over.
// Timing is not asserted; the CTest timeout and the sanitizer build catch
// hangs and faults.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/mime_builder.h"
#include "tessivo/foundation/log.h"
#include "tessivo/mime/limits.h"
#include "tessivo/mime/mime_reader.h"

namespace tessivo {
namespace {

using testing::MimePart;
using testing::readMime;

std::size_t partCount(const Dictionary& mail) {
    const Value* parts = mail.get(u"MailContent");
    return parts ? parts->array()->size() : 0;
}

MimePart richMessage() {
    MimePart inner = MimePart::text("plain", "Inner body\n\nwith a gap");
    inner.header("Received", "by inner").header("Subject", "Inner");
    MimePart mail = MimePart::multipart(
        "mixed", {MimePart::multipart("alternative", {MimePart::text("plain", "Hello\n\nWorld"),
                                                      MimePart::text("html", "<p>caf\xC3\xA9</p>")}),
                  MimePart::attachment("application/pdf", "Report.PDF", Bytes(300, 0xA5)),
                  MimePart::attachment("text/plain", "notes.txt", Bytes(120, 'q'), MimePart::Encoding::QuotedPrintable),
                  MimePart::message(inner, "inner.eml")});
    mail.header("Received", "by test")
        .header("From", "\"Doe, Jane\" <jane@example.com>")
        .header("Subject", "Hi\n there");
    return mail;
}

TEST(MimeReaderHostileTest, EveryPrefixOfBuiltMessages) {
    for (const auto lineEnd : {MimePart::LineEnd::LF, MimePart::LineEnd::CRLF}) {
        const std::string text = richMessage().build(lineEnd);
        for (std::size_t cut = 0; cut <= text.size(); ++cut) readMime(text.substr(0, cut));
    }
}

TEST(MimeReaderHostileTest, RandomByteFlips) {
    const std::string text = richMessage().build(MimePart::LineEnd::CRLF);
    std::mt19937 random(1313);
    const char interesting[] = {'\r', '\n', '-', ':', ';', '=', '"', ' ', '\t', '\0', '\x85', '\xE2'};
    for (int round = 0; round < 300; ++round) {
        std::string damaged = text;
        for (int flips = 0; flips < 8; ++flips) {
            const std::size_t at = random() % damaged.size();
            damaged[at] = round % 2 ? interesting[random() % sizeof interesting] : static_cast<char>(random());
        }
        readMime(damaged);
    }
}

TEST(MimeReaderHostileTest, BoundariesThatNeverClose) {
    // No closing line, no line after the boundary, the boundary as the very last bytes.
    const std::string head = "Received: x\nContent-Type: multipart/mixed; boundary=b1\n\n";
    const Dictionary open = readMime(head + "--b1\nContent-Type: text/plain\n\nHello\nWorld\n");
    ASSERT_EQ(partCount(open), 1u);
    EXPECT_EQ(*open.get(u"MailContent")->array()->front().dictionary()->get(u"content")->string(), u"\nHello\nWorld");
    readMime(head + "--b1");
    readMime(head + "--b1\n");
    readMime(head + "--b1\nContent-Type: multipart/mixed; boundary=b2\n\n--b2\nContent-Type: text/plain\n\nx\n--b2");
}

TEST(MimeReaderHostileTest, TenThousandNestedMultiparts) {
    constexpr int kLevels = 10000;
    std::string text = "Received: x\n";
    // Boundaries b0x, b1x, ...: none occurs inside another.
    auto boundary = [](int level) { return "b" + std::to_string(level) + "x"; };
    for (int level = 0; level < kLevels; ++level)
        text += "Content-Type: multipart/mixed; boundary=" + boundary(level) + "\n\n--" + boundary(level) + "\n";
    text += "Content-Type: text/plain\n\nDeep inside\n";
    for (int level = kLevels - 1; level >= 0; --level) text += "--" + boundary(level) + "--\n";
    const Dictionary mail = readMime(text);
    // Splitting stops at the depth limit; the part there keeps the rest as its text.
    EXPECT_EQ(partCount(mail), static_cast<std::size_t>(mime::kMaxMultipartDepth));
    const Dictionary& deepest = *mail.get(u"MailContent")->array()->front().dictionary();
    EXPECT_NE(deepest.get(u"content")->string()->indexOf(u"Deep inside"), -1);
}

// A value of size units made of piece repeated.
std::string repeated(const std::string& piece, std::size_t size) {
    std::string s;
    s.reserve(size + piece.size());
    while (s.size() < size) s += piece;
    return s;
}

TEST(MimeReaderHostileTest, SixteenMegabyteHeaderLines) {
    constexpr std::size_t kHuge = 16 << 20;
    LogCapture quiet;
    const Dictionary plain = readMime("Received: x\nSubject: " + std::string(kHuge, 'a') + "\n\nbody\n");
    EXPECT_EQ(plain.get(u"Subject")->string()->length(), static_cast<std::int32_t>(kHuge));
    // Encoded-word markers without an end: a backtracking search would take
    // quadratic time over the display name.
    const Dictionary from = readMime("Received: x\nFrom: " + repeated("=?utf-8?Q?a?==?", kHuge) + "\n\nbody\n");
    EXPECT_EQ(from.get(u"From")->array()->size(), 1u);
}

TEST(MimeReaderHostileTest, MegabyteLinesOfEveryHeaderKind) {
    // Each header the reader treats on its own, with a value made to hurt it.
    constexpr std::size_t kLarge = 1 << 20;
    const std::pair<const char*, std::string> cases[] = {
        {"To", repeated("a,", kLarge)},
        {"CC", repeated("\"=?utf-8?B?", kLarge)},
        {"Content-Type", repeated(";", kLarge)},
        {"Content-Type", "multipart/mixed; boundary=" + repeated("-", kLarge)},
        {"Content-Transfer-Encoding", repeated("base6", kLarge)},
        {"Content-Description", repeated("=?windows-1255?B?", kLarge)},
        {"Content-Disposition", repeated("filename=", kLarge)},
        {"Content-ID", repeated("<", kLarge)},
    };
    for (const auto& [name, value] : cases) {
        SCOPED_TRACE(name);
        LogCapture quiet;
        EXPECT_FALSE(readMime(std::string("Received: x\n") + name + ": " + value + "\n\nbody\n").empty());
    }
}

TEST(MimeReaderHostileTest, BoundaryMetAgainAndAgain) {
    // After a split the reading resumes inside the pieces; a boundary line
    // met again gives the same parts again, up to the limit of kept parts.
    std::string text = "Received: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\nX: y\n";
    for (int i = 0; i < 400000; ++i) text += "--b\n";
    const Dictionary mail = readMime(text);
    EXPECT_EQ(partCount(mail), mime::kMaxParts);
}

TEST(MimeReaderHostileTest, ManyPartsAndLongBoundaries) {
    // Long runs of dashes that almost match the boundary, then real parts.
    const std::string dashes(100000, '-');
    std::string text = "Received: x\nContent-Type: multipart/mixed; boundary=" + dashes + "x\n\n";
    for (int i = 0; i < 50; ++i) text += dashes + "\n";
    for (int i = 0; i < 20; ++i) text += "--" + dashes + "x\nA: b\n\n";
    readMime(text);
}

}  // namespace
}  // namespace tessivo
