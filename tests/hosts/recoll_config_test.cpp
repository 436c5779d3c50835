#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "hosts/run_command.h"
#include "support/corpus.h"
#include "recoll_config.h"

namespace tessivo::cli::recoll {
namespace {

const std::vector<Setting> kMsgType = parseSettings(".msg = application/vnd.ms-outlook\n");
const std::vector<Setting> kMsgFilter =
    parseSettings("[index]\napplication/vnd.ms-outlook = exec /opt/rcltessivo;mimetype=text/plain\n");

TEST(RecollConfigTest, ParsesSectionsCommentsAndContinuations) {
    const auto settings = parseSettings(
        "# comment = not a setting\n"
        "top = 1\n"
        " [index] \n"
        "a/b = exec x \\\n"
        "   ;charset=utf-8\n"
        "no equals sign here\n"
        "[icons]\n"
        "c = d\n");
    ASSERT_EQ(settings.size(), 3u);
    EXPECT_EQ(settings[0].section, "");
    EXPECT_EQ(settings[0].name, "top");
    EXPECT_EQ(settings[1].section, "index");
    EXPECT_EQ(settings[1].name, "a/b");
    EXPECT_EQ(settings[1].line, "a/b = exec x \\\n;charset=utf-8");
    EXPECT_EQ(settings[2].section, "icons");
}

TEST(RecollConfigTest, CreatesMissingContent) {
    EXPECT_EQ(mergeSettings("", kMsgType), ".msg = application/vnd.ms-outlook\n");
    EXPECT_EQ(mergeSettings("", kMsgFilter), "[index]\napplication/vnd.ms-outlook = exec /opt/rcltessivo;mimetype=text/plain\n");
}

TEST(RecollConfigTest, KeepsOtherSettingsAndAddsToExistingSection) {
    const std::string user =
        "# my settings\n"
        "[index]\n"
        "text/x-foo = exec foo\n"
        "\n"
        "[icons]\n"
        "application/vnd.ms-outlook = document\n";
    EXPECT_EQ(mergeSettings(user, kMsgFilter),
              "# my settings\n"
              "[index]\n"
              "application/vnd.ms-outlook = exec /opt/rcltessivo;mimetype=text/plain\n"
              "text/x-foo = exec foo\n"
              "\n"
              "[icons]\n"
              "application/vnd.ms-outlook = document\n");
}

TEST(RecollConfigTest, TopLevelSettingGoesBeforeFirstSection) {
    EXPECT_EQ(mergeSettings(".eml = message/rfc822\n[view]\nx = y\n", kMsgType),
              ".eml = message/rfc822\n.msg = application/vnd.ms-outlook\n[view]\nx = y\n");
    EXPECT_EQ(mergeSettings("[index]\nx = y", kMsgFilter).find("[index]\napplication/vnd.ms-outlook"), 0u);
}

TEST(RecollConfigTest, CommentsOutEarlierDefinitionsIncludingContinuations) {
    const std::string user =
        "[index]\n"
        "application/vnd.ms-outlook = execm rclpst.py \\\n"
        "  ;charset=utf-8\n"
        "text/x-foo = exec foo\n"
        "application/vnd.ms-outlook = exec other\n";
    const std::string merged = mergeSettings(user, kMsgFilter);
    EXPECT_EQ(merged,
              "[index]\n"
              "# (replaced by tessivo recoll-setup) application/vnd.ms-outlook = execm rclpst.py \\\n"
              "#   ;charset=utf-8\n"
              "text/x-foo = exec foo\n"
              "# (replaced by tessivo recoll-setup) application/vnd.ms-outlook = exec other\n"
              "application/vnd.ms-outlook = exec /opt/rcltessivo;mimetype=text/plain\n");
    // Only the new definition is left in force.
    int inForce = 0;
    for (const auto& s : parseSettings(merged)) inForce += s.name == "application/vnd.ms-outlook";
    EXPECT_EQ(inForce, 1);
}

TEST(RecollConfigTest, MergingTwiceChangesNothing) {
    for (const std::string user : {"", "[index]\nx = y\n", "[index]\napplication/vnd.ms-outlook = exec old\n",
                                   ".msg = text/plain\n.eml = message/rfc822"}) {
        const std::string once = mergeSettings(mergeSettings(user, kMsgType), kMsgFilter);
        EXPECT_EQ(mergeSettings(mergeSettings(once, kMsgType), kMsgFilter), once) << user;
    }
    // A file already set up is returned byte for byte, even without a final newline.
    const std::string done = "[index]\napplication/vnd.ms-outlook = exec /opt/rcltessivo;mimetype=text/plain";
    EXPECT_EQ(mergeSettings(done, kMsgFilter), done);
}

// The command itself, on a configuration folder that already has settings.
class RecollSetupCommandTest : public ::testing::Test {
protected:
    void SetUp() override { dir_ = testing::freshScratchDir("recoll-setup-test"); }
    void TearDown() override { std::filesystem::remove_all(dir_); }

    static std::string read(const std::filesystem::path& path) {
        const Bytes bytes = testing::readFile(path);
        return std::string(bytes.begin(), bytes.end());
    }

    testing::CommandResult setup(const std::string& from = TESSIVO_RECOLL_FILES) {
        return testing::runCommand(std::string(TESSIVO_COMMAND) + " recoll-setup --config " +
                                   testing::shellQuote(dir_.string()) + " --from " + testing::shellQuote(from) + " 2>&1");
    }

    std::filesystem::path dir_;
};

TEST_F(RecollSetupCommandTest, MergesBacksUpAndIsIdempotent) {
    const std::string userConf = "[index]\ntext/x-foo = exec foo\n";
    std::ofstream(dir_ / "mimeconf") << userConf;

    auto first = setup();
    ASSERT_EQ(first.status, 0) << first.out;
    EXPECT_EQ(read(dir_ / "mimeconf.tessivo-bak"), userConf);
    EXPECT_FALSE(std::filesystem::exists(dir_ / "mimemap.tessivo-bak"));  // created, nothing to back up
    const std::string conf = read(dir_ / "mimeconf");
    EXPECT_NE(conf.find("text/x-foo = exec foo"), std::string::npos);
    EXPECT_NE(conf.find("application/vnd.ms-outlook = exec "), std::string::npos);
    EXPECT_NE(read(dir_ / "mimemap").find(".msg = application/vnd.ms-outlook"), std::string::npos);

    const std::string map = read(dir_ / "mimemap");
    auto second = setup();
    ASSERT_EQ(second.status, 0) << second.out;
    EXPECT_NE(second.out.find("already set up"), std::string::npos);
    EXPECT_EQ(read(dir_ / "mimeconf"), conf);
    EXPECT_EQ(read(dir_ / "mimemap"), map);
    EXPECT_EQ(read(dir_ / "mimeconf.tessivo-bak"), userConf);
}

TEST_F(RecollSetupCommandTest, MissingFilesFolderFails) {
    EXPECT_EQ(setup((dir_ / "nowhere").string()).status, 1);
    EXPECT_FALSE(std::filesystem::exists(dir_ / "mimeconf"));
}

}  // namespace
}  // namespace tessivo::cli::recoll
