// `tessivo text` as a user runs it: what reaches stdout and the exit status.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "hosts/run_command.h"
#include "support/cfb_writer.h"

namespace tessivo {
namespace {

namespace fs = std::filesystem;

class TextCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = testing::freshScratchDir("text-command-test");
        testing::CfbWriter hello;
        hello.addStream("__substg1.0_1000001E", Bytes{'h', 'e', 'l', 'l', 'o'});  // NUL-padded to 64 bytes
        write("hello.msg", hello.build().bytes);
        testing::CfbWriter noBody;
        noBody.addStream("__substg1.0_0037001F", testing::utf16le("Subject only"));
        write("nobody.msg", noBody.build().bytes);
        write("notes.txt", Bytes(1024, 'x'));
    }
    void TearDown() override { fs::remove_all(dir_); }

    void write(const std::string& name, const Bytes& bytes) {
        std::ofstream(dir_ / name, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                           static_cast<std::streamsize>(bytes.size()));
    }
    std::string p(const std::string& name) const { return (dir_ / name).string(); }
    testing::CommandResult text(const std::string& args) {
        return testing::runCommand(std::string(TESSIVO_COMMAND) + " text " + args + " 2>/dev/null");
    }

    fs::path dir_;
};

TEST_F(TextCommandTest, OneFileGivesItsTextWithoutTrailingNuls) {
    const auto result = text(testing::shellQuote(p("hello.msg")));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "hello");
}

TEST_F(TextCommandTest, SeveralFilesGetHeadersAndTheWorstStatus) {
    const auto mixed = text(testing::shellQuote(p("hello.msg")) + " " + testing::shellQuote(p("nobody.msg")) + " " +
                            testing::shellQuote(p("hello.msg")));
    EXPECT_EQ(mixed.status, 3);
    const std::string block = "==> " + p("hello.msg") + " <==\nhello\n";
    EXPECT_EQ(mixed.out, block + block);

    EXPECT_EQ(text(testing::shellQuote(p("nobody.msg")) + " " + testing::shellQuote(p("notes.txt"))).status, 1);
    EXPECT_EQ(text(testing::shellQuote(p("missing.msg")) + " " + testing::shellQuote(p("nobody.msg"))).status, 1);
    EXPECT_EQ(text(testing::shellQuote(p("nobody.msg"))).out, "");
}

TEST_F(TextCommandTest, ContentTypeMustMatchExactly) {
    const std::string file = testing::shellQuote(p("hello.msg"));
    EXPECT_EQ(text("--content-type com.orvanel.tessivopro.msg " + file).out, "hello");
    const auto refused = text("--content-type com.orvanel.Tessivo.msg " + file);
    EXPECT_EQ(refused.status, 3);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(text("").status, 2);
}

}  // namespace
}  // namespace tessivo
