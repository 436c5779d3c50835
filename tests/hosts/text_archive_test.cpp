#include <filesystem>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "hosts/message_maker.h"
#include "hosts/run_command.h"
#include "support/corpus.h"
#include "support/shrinking_file.h"

namespace tessivo {
namespace {

namespace fs = std::filesystem;

class TextArchiveTest : public ::testing::Test {
protected:
    void SetUp() override { dir_ = testing::freshScratchDir("text-archive-test"); }
    void TearDown() override { fs::remove_all(dir_); }

    std::string p(const std::string& relative) const { return (dir_ / relative).string(); }

    // The JSON lines of `tessivo text --jsonl ARGS`, each parsed.
    std::vector<nlohmann::json> archive(const std::string& args, int& status) {
        auto result = testing::runCommand(std::string(TESSIVO_COMMAND) + " text --jsonl " + args);
        status = result.status;
        std::vector<nlohmann::json> lines;
        std::istringstream in(result.out);
        for (std::string line; std::getline(in, line);) {
            auto parsed = nlohmann::json::parse(line, nullptr, false);
            EXPECT_FALSE(parsed.is_discarded()) << "not JSON: " << line;
            lines.push_back(std::move(parsed));
        }
        return lines;
    }

    fs::path dir_;
};

TEST_F(TextArchiveTest, WalkIsSortedRecursiveAndCaseInsensitive) {
    for (const char* name : {"b/Z.MSG", "b/a.msg", "b/notes.txt", "b/sub/m.Msg", "a.msg", "b/msg", "c.msg.txt",
                             "b/w.Eml", "b/winmail.dat", "b/sub/x.TNEF", "b/y.emlx"})
        testing::writeFile(dir_ / name, Bytes{1});
    fs::create_directory_symlink(dir_ / "b", dir_ / "b/sub/loop");  // a cycle back to b
    fs::create_symlink(dir_ / "missing", dir_ / "b/broken.msg");     // reported, not skipped
    fs::create_directories(dir_ / "empty.msg");                      // a folder, walked not read

    int status = 0;
    const auto lines = archive(testing::shellQuote(dir_.string()) + " " + testing::shellQuote(p("b/notes.txt")) +
                                   " " + testing::shellQuote(p("absent.dat")) + " 2>/dev/null",
                               status);
    std::vector<std::string> paths;
    for (const auto& line : lines) {
        paths.push_back(line["path"]);
        EXPECT_EQ(line["ok"], false);  // none of them is a message
    }
    const std::vector<std::string> expected = {p("a.msg"),          p("b/Z.MSG"),      p("b/a.msg"),
                                               p("b/broken.msg"),   p("b/sub/m.Msg"),  p("b/sub/x.TNEF"),
                                               p("b/w.Eml"),        p("b/winmail.dat"), p("b/notes.txt"),
                                               p("absent.dat")};
    EXPECT_EQ(paths, expected);
    EXPECT_EQ(status, 1);
}

TEST_F(TextArchiveTest, LinesFollowWalkOrderWithEveryOutcome) {
    using testing::BodyKind;
    // Enough messages that workers finish out of order and run ahead of the
    // output by more than they may keep.
    for (int i = 0; i < 150; ++i) {
        const BodyKind kind = testing::kAllBodyKinds[i % 4];
        ASSERT_TRUE(testing::writeMessage(dir_ / "mail" / ("m" + std::to_string(100 + i) + ".msg"), kind,
                                          "word" + std::to_string(i)));
    }
    testing::writeFile(dir_ / "mail/nobody.msg", testing::makeMessageWithoutBody());
    Bytes truncated = testing::makeMessage(BodyKind::Html, "lost");
    truncated.resize(300);
    testing::writeFile(dir_ / "mail/truncated.msg", truncated);
    testing::writeFile(dir_ / "mail/text.msg", Bytes{'h', 'i'});

    int status = 0;
    const auto lines = archive("--jobs 3 " + testing::shellQuote(dir_.string()), status);
    ASSERT_EQ(lines.size(), 153u);
    for (int i = 0; i < 150; ++i) {
        const auto& line = lines[i];
        EXPECT_EQ(line["path"], p("mail/m" + std::to_string(100 + i) + ".msg"));
        EXPECT_EQ(line["ok"], true) << line.dump();
        EXPECT_NE(line.value("text", "").find("word" + std::to_string(i)), std::string::npos) << line.dump();
        EXPECT_FALSE(line.contains("error"));
    }
    EXPECT_EQ(lines[150]["path"], p("mail/nobody.msg"));
    EXPECT_EQ(lines[150]["ok"], true);
    EXPECT_EQ(lines[150]["text"], "Subject: Subject only\n");
    for (std::size_t i : {151u, 152u}) {  // text.msg, truncated.msg
        EXPECT_EQ(lines[i]["ok"], false) << lines[i].dump();
        EXPECT_FALSE(lines[i].value("error", "").empty());
        EXPECT_FALSE(lines[i].contains("text"));
    }
    EXPECT_EQ(status, 1);
}

TEST_F(TextArchiveTest, ExitStatusMatchesTextCommand) {
    ASSERT_TRUE(testing::writeMessage(dir_ / "good.msg", testing::BodyKind::UnicodeText, "fine"));
    testing::writeFile(dir_ / "empty/nobody.msg", testing::makeMessageWithoutBody());

    int status = -1;
    EXPECT_EQ(archive(testing::shellQuote(p("good.msg")), status).size(), 1u);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(archive("--jobs 1 " + testing::shellQuote(dir_.string()), status).size(), 2u);
    EXPECT_EQ(status, 3);
    const auto lines = archive(testing::shellQuote(p("absent.msg")) + " 2>/dev/null", status);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["ok"], false);
    EXPECT_EQ(status, 1);
}

// Messages that another process cuts short and writes again during the run:
// the run goes to its end with a line for each, text (whole, or as far as
// it was read) or a reason.
TEST_F(TextArchiveTest, FilesShrinkingDuringTheRun) {
    std::string words;
    for (int i = 0; i < 100000; ++i) words += "heron ";
    const Bytes message = testing::makeMessage(testing::BodyKind::UnicodeText, words);
    ASSERT_GT(message.size(), 1u << 20);
    std::vector<std::unique_ptr<testing::ShrinkingFile>> files;
    for (int i = 0; i < 3; ++i)
        files.push_back(std::make_unique<testing::ShrinkingFile>(dir_ / ("m" + std::to_string(i) + ".msg"), message));
    for (int run = 0; run < 5; ++run) {
        int status = -1;
        const auto lines = archive("--jobs 2 " + testing::shellQuote(dir_.string()) + " 2>/dev/null", status);
        EXPECT_TRUE(status == 0 || status == 1 || status == 3) << "status " << status;
        ASSERT_EQ(lines.size(), 3u);
        for (const auto& line : lines) {
            if (line["ok"] == true) {
                // The header lines, then the body as far as it was read.
                const std::string text = line.value("text", "");
                const std::string header = "Subject: Message for the search hosts\n";
                EXPECT_TRUE(text == "" || text == header || text.rfind(header + "\nheron ", 0) == 0)
                    << text.substr(0, 80);
            }
            else
                EXPECT_FALSE(line.value("error", "").empty()) << line.dump();
        }
    }
}

}  // namespace
}  // namespace tessivo
