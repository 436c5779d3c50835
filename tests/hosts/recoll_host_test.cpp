// Recoll finds saved messages by the words of their body: a private Recoll
// configuration set up with `tessivo recoll-setup`, indexed by recollindex,
// queried with recollq.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "hosts/message_maker.h"
#include "hosts/run_command.h"
#include "support/corpus.h"

namespace tessivo::testing {
namespace {

namespace fs = std::filesystem;

bool onPath(const std::string& program) {
    return runCommand("command -v " + program + " >/dev/null 2>&1").status == 0;
}

class RecollHostTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!onPath("recollindex") || !onPath("recollq")) GTEST_SKIP() << "Recoll is not installed (recollcmd)";
        root_ = freshScratchDir("recoll-host-test");
        fs::create_directories(docs());
    }
    void TearDown() override { fs::remove_all(root_); }

    fs::path docs() const { return root_ / "docs"; }
    std::string conf() const { return shellQuote((root_ / "conf").string()); }

    // The files Recoll finds for a query, as file:// URLs.
    std::string query(const std::string& words) {
        return runCommand("recollq -c " + conf() + " -b " + shellQuote(words) + " 2>/dev/null").out;
    }
    static std::string url(const fs::path& path) { return "file://" + path.string() + "\n"; }

    fs::path root_;
};

TEST_F(RecollHostTest, FindsEachMessageThroughItsOnlyBody) {
    const std::pair<BodyKind, const char*> messages[] = {{BodyKind::CompressedRtf, "marmalade"},
                                                         {BodyKind::Html, "pelican"},
                                                         {BodyKind::UnicodeText, "tangerine"},
                                                         {BodyKind::AnsiText, "obsidian"}};
    for (const auto& [kind, word] : messages)
        ASSERT_TRUE(writeMessage(docs() / (std::string(bodyKindName(kind)) + ".msg"), kind,
                                 std::string("Note about the ") + word + " delivery"));
    ASSERT_TRUE(writeFile(docs() / "nobody.msg", makeMessageWithoutBody()));

    const auto setup = runCommand(std::string(TESSIVO_COMMAND) + " recoll-setup --config " + conf() + " --from " +
                                  shellQuote(TESSIVO_RECOLL_FILES));
    ASSERT_EQ(setup.status, 0) << setup.out;
    std::ofstream(root_ / "conf" / "recoll.conf", std::ios::app)
        << "topdirs = " << docs().string() << "\nnoaspell = 1\nloglevel = 2\n";
    const auto index = runCommand("recollindex -c " + conf() + " 2>&1");
    ASSERT_EQ(index.status, 0) << index.out;

    for (const auto& [kind, word] : messages)
        EXPECT_EQ(query(word), url(docs() / (std::string(bodyKindName(kind)) + ".msg"))) << word;
    const std::string all = query("delivery");
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 4) << all;
    // A message without a body is indexed too, by its name.
    EXPECT_EQ(query("filename:nobody.msg"), url(docs() / "nobody.msg"));
}

}  // namespace
}  // namespace tessivo::testing
