#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

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

TEST(RecollConfigTest, RemovingPutsReplacedDefinitionsBack) {
    const std::string user =
        "[index]\n"
        "application/vnd.ms-outlook = execm rclpst.py \\\n"
        "  ;charset=utf-8\n"
        "text/x-foo = exec foo\n";
    const std::string merged = mergeSettings(user, kMsgFilter);
    const auto isOurs = [](const Setting& s) { return s.line.find("/opt/rcltessivo") != std::string::npos; };
    EXPECT_EQ(removeSettings(merged, isOurs), user);
    // Merging again after removing gives the same text: a second setup changes nothing.
    EXPECT_EQ(mergeSettings(removeSettings(merged, isOurs), kMsgFilter), merged);
    // A replaced definition stays commented out while another one is in force.
    const std::string twice = mergeSettings(merged, parseSettings("[index]\napplication/vnd.ms-outlook = exec mine\n"));
    EXPECT_EQ(removeSettings(twice, isOurs), twice);
    // A replaced definition of the same name in another section is left alone.
    const std::string other = "[view]\n# (replaced by tessivo recoll-setup) application/vnd.ms-outlook = x\n" + merged;
    EXPECT_EQ(removeSettings(other, isOurs), "[view]\n# (replaced by tessivo recoll-setup) application/vnd.ms-outlook = x\n" + user);
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

    testing::CommandResult setup(const std::string& options = "") {
        return testing::runCommand(std::string(TESSIVO_COMMAND) + " recoll-setup --config " +
                                   testing::shellQuote(dir_.string()) + " " + options + " 2>&1");
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
    // The handler is this very tessivo, found where it runs, not where it was configured.
    EXPECT_NE(conf.find("application/x-outlook-msg = execm " +
                        std::filesystem::canonical(TESSIVO_COMMAND).string() + " recoll-handler"),
              std::string::npos)
        << conf;
    EXPECT_EQ(read(dir_ / "mimemap").find(".msg = application/x-outlook-msg"), 0u);
    EXPECT_NE(read(dir_ / "fields").find("attachment = XATTACH"), std::string::npos);
    EXPECT_NE(read(dir_ / "mimeview").find("application/x-outlook-msg = xdg-open %f"), std::string::npos);

    std::map<std::string, std::string> files;
    for (const char* name : {"mimemap", "mimeconf", "mimeview", "fields"}) files[name] = read(dir_ / name);
    auto second = setup();
    ASSERT_EQ(second.status, 0) << second.out;
    for (const auto& [name, text] : files) {
        EXPECT_EQ(read(dir_ / name), text) << name;
        EXPECT_NE(second.out.find(name + ": unchanged"), std::string::npos) << second.out;
    }
    EXPECT_EQ(read(dir_ / "mimeconf.tessivo-bak"), userConf);
}

TEST_F(RecollSetupCommandTest, UndoRestoresTheUsersDefinitions) {
    const std::string userMap = ".eml = message/rfc822\n.msg = text/plain\n";
    const std::string userConf = "[index]\ntext/x-foo = exec foo\n[categories]\nmessage = message/rfc822\n";
    std::ofstream(dir_ / "mimemap") << userMap;
    std::ofstream(dir_ / "mimeconf") << userConf;
    ASSERT_EQ(setup().status, 0);
    EXPECT_NE(read(dir_ / "mimeconf").find("# (replaced by tessivo recoll-setup) message = message/rfc822"),
              std::string::npos);

    const auto undo = setup("--undo");
    ASSERT_EQ(undo.status, 0) << undo.out;
    EXPECT_EQ(read(dir_ / "mimemap"), userMap);
    EXPECT_EQ(read(dir_ / "mimeconf"), userConf);
    EXPECT_EQ(read(dir_ / "mimeview"), "");  // created by the setup, left empty
    for (const char* name : {"mimemap", "mimeconf", "mimeview", "fields"})
        for (const auto& s : parseSettings(read(dir_ / name)))
            EXPECT_EQ(s.line.find("outlook-msg"), std::string::npos) << name << ": " << s.line;
    EXPECT_NE(setup("--undo").out.find("mimemap: unchanged"), std::string::npos);
}

TEST_F(RecollSetupCommandTest, ReplacesAnEarlierSetupThatTookThePstType) {
    // What earlier versions wrote: .msg typed as Recoll's PST type, and an exec script for it.
    std::ofstream(dir_ / "mimemap") << ".msg = application/vnd.ms-outlook\n";
    std::ofstream(dir_ / "mimeconf")
        << "[index]\n"
           "# (replaced by tessivo recoll-setup) application/vnd.ms-outlook = execm rclpst.py\n"
           "application/vnd.ms-outlook = exec /usr/local/share/tessivo/recoll/rcltessivo;mimetype=text/plain\n";
    ASSERT_EQ(setup().status, 0);
    const auto conf = parseSettings(read(dir_ / "mimeconf"));
    std::vector<std::string> pst;
    for (const auto& s : conf)
        if (s.name == "application/vnd.ms-outlook") pst.push_back(s.line);
    EXPECT_EQ(pst, std::vector<std::string>{"application/vnd.ms-outlook = execm rclpst.py"});
    const auto map = parseSettings(read(dir_ / "mimemap"));
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(map[0].line, ".msg = application/x-outlook-msg");
}

TEST_F(RecollSetupCommandTest, UnwritableFolderFails) {
    std::ofstream(dir_ / "file") << "x";
    const auto result = testing::runCommand(std::string(TESSIVO_COMMAND) + " recoll-setup --config " +
                                            testing::shellQuote((dir_ / "file" / "conf").string()) + " 2>&1");
    EXPECT_EQ(result.status, 1) << result.out;
    EXPECT_NE(result.out.find("file/conf"), std::string::npos) << result.out;
}

}  // namespace
}  // namespace tessivo::cli::recoll
