// `tessivo text` as a user runs it: what reaches stdout and the exit status,
// with --exact (the importer's text) and without (the hosts' text).
#include <gtest/gtest.h>

#include <filesystem>

#include "hosts/message_maker.h"
#include "hosts/run_command.h"
#include "support/bytes.h"
#include "support/corpus.h"

namespace tessivo {
namespace {

namespace fs = std::filesystem;

class TextCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = testing::freshScratchDir("text-command-test");
        // The 8-bit body is NUL-padded to 64 bytes in the file.
        testing::writeMessage(dir_ / "hello.msg", testing::BodyKind::AnsiText, "hello");
        testing::writeFile(dir_ / "nobody.msg", testing::makeMessageWithoutBody());
        testing::writeFile(dir_ / "notes.txt", Bytes(1024, 'x'));
    }
    void TearDown() override { fs::remove_all(dir_); }

    std::string p(const std::string& name) const { return (dir_ / name).string(); }
    testing::CommandResult text(const std::string& args) {
        return testing::runCommand(std::string(TESSIVO_COMMAND) + " text " + args + " 2>/dev/null");
    }

    fs::path dir_;
};

TEST_F(TextCommandTest, OneFileGivesItsTextWithoutTrailingNuls) {
    const auto result = text("--exact " + testing::shellQuote(p("hello.msg")));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "hello");
}

TEST_F(TextCommandTest, SeveralFilesGetHeadersAndTheWorstStatus) {
    const auto mixed = text("--exact " + testing::shellQuote(p("hello.msg")) + " " + testing::shellQuote(p("nobody.msg")) +
                            " " + testing::shellQuote(p("hello.msg")));
    EXPECT_EQ(mixed.status, 3);
    const std::string block = "==> " + p("hello.msg") + " <==\nhello\n";
    EXPECT_EQ(mixed.out, block + block);

    EXPECT_EQ(text("--exact " + testing::shellQuote(p("nobody.msg")) + " " + testing::shellQuote(p("notes.txt"))).status, 1);
    EXPECT_EQ(text(testing::shellQuote(p("missing.msg")) + " " + testing::shellQuote(p("nobody.msg"))).status, 1);
    EXPECT_EQ(text("--exact " + testing::shellQuote(p("nobody.msg"))).out, "");
}

TEST_F(TextCommandTest, HostTextHasHeaderLinesAndKeepsThemWithoutABody) {
    const auto hello = text(testing::shellQuote(p("hello.msg")));
    EXPECT_EQ(hello.status, 0);
    EXPECT_EQ(hello.out, "Subject: Message for the search hosts\n\nhello");
    const auto nobody = text(testing::shellQuote(p("nobody.msg")));
    EXPECT_EQ(nobody.status, 3);
    EXPECT_EQ(nobody.out, "Subject: Subject only\n");
    // Any bytes that are no compound document or TNEF stream are read as an Internet message.
    testing::writeFile(dir_ / "note.eml", testing::bytesOf("Received: x\nSubject: Lunch\n\nAt noon?\n\n"));
    EXPECT_EQ(text(testing::shellQuote(p("note.eml"))).out, "Subject: Lunch\n\nAt noon?\n");
}

TEST_F(TextCommandTest, ContentTypeMustMatchExactly) {
    const std::string file = testing::shellQuote(p("hello.msg"));
    EXPECT_EQ(text("--exact --content-type com.orvanel.tessivopro.msg " + file).out, "hello");
    const auto refused = text("--exact --content-type com.orvanel.Tessivo.msg " + file);
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(text("").status, 2);
}

}  // namespace
}  // namespace tessivo
