// Saving attachments: hostile names stay inside the folder, nothing is
// overwritten, links are not followed, and the bytes are exact.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <set>

#include "attachment_saver.h"
#include "hosts/run_command.h"
#include "support/corpus.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

struct NameCase {
    icu::UnicodeString name;
    std::string safe;
};

TEST(AttachmentSaverTest, NamesAreMadeHarmless) {
    icu::UnicodeString withNul(u"a");
    withNul.append(char16_t{0});
    withNul.append(u"b\nc");
    const NameCase cases[] = {
        {u"report.pdf", "report.pdf"},
        {u"../../x", "_.._x"},
        {u"..", "attachment"},
        {u"/etc/x", "_etc_x"},
        {u"a\\..\\b", "a_.._b"},
        {u"C:\\Windows\\x.dll", "C__Windows_x.dll"},
        {u"CON", "_CON"},
        {u"con.txt", "_con.txt"},
        {u"lpt9 .log", "_lpt9 .log"},
        {u"CONSOLE", "CONSOLE"},
        {u"", "attachment"},
        {withNul, "a_b_c"},
        {u".bashrc", "bashrc"},
        {u" . hidden. ", "hidden"},
        {u"a\u0085b\u007fc", "a_b_c"},
        {u"r\u00e9sum\u00e9 \U0001F4C4.txt", "r\xC3\xA9sum\xC3\xA9 \xF0\x9F\x93\x84.txt"},
        {u"what?<x>|*\"", "what__x____"},
    };
    for (const auto& c : cases) EXPECT_EQ(AttachmentSaver::safeFileName(c.name), c.safe) << toUtf8(c.name);
}

TEST(AttachmentSaverTest, LongNamesAreShortenedKeepingTheExtension) {
    const std::string shortened = AttachmentSaver::safeFileName(icu::UnicodeString(std::u16string(300, u'x').c_str()) + u".pdf");
    EXPECT_EQ(shortened.size(), AttachmentSaver::kMaxNameBytes);
    EXPECT_EQ(shortened.substr(shortened.size() - 4), ".pdf");

    // Two-byte characters are never cut in half.
    const std::string accents = AttachmentSaver::safeFileName(icu::UnicodeString(std::u16string(200, u'\u00e9').c_str()));
    EXPECT_LE(accents.size(), AttachmentSaver::kMaxNameBytes);
    EXPECT_EQ(accents.size() % 2, 0u);

    // An "extension" longer than an extension is not kept apart.
    const std::string noExtension =
        AttachmentSaver::safeFileName(u"a." + icu::UnicodeString(std::u16string(300, u'y').c_str()));
    EXPECT_EQ(noExtension.size(), AttachmentSaver::kMaxNameBytes);
    EXPECT_EQ(noExtension.substr(0, 3), "a.y");
}

class AttachmentSaverFolderTest : public ::testing::Test {
protected:
    void SetUp() override {
        root_ = testing::freshScratchDir("attachment-saver-test");
        out_ = root_ / "out";
    }
    void TearDown() override { fs::remove_all(root_); }

    AttachmentSaver saver() {
        auto opened = AttachmentSaver::open(out_);
        EXPECT_TRUE(std::holds_alternative<AttachmentSaver>(opened));
        return std::move(std::get<AttachmentSaver>(opened));
    }
    static fs::path saved(const std::variant<fs::path, std::string>& result) {
        if (auto* reason = std::get_if<std::string>(&result)) ADD_FAILURE() << *reason;
        return std::get<fs::path>(result);
    }

    fs::path root_;
    fs::path out_;
};

TEST_F(AttachmentSaverFolderTest, EqualNamesBecomeDistinctFilesWithExactBytes) {
    const AttachmentSaver s = saver();
    const Bytes first{1, 2, 3};
    const Bytes second{4, 5};
    EXPECT_EQ(saved(s.save(u"a.txt", first)), out_ / "a.txt");
    EXPECT_EQ(saved(s.save(u"a.txt", second)), out_ / "a-2.txt");
    EXPECT_EQ(saved(s.save(u"../a.txt", Bytes{})), out_ / "_a.txt");
    EXPECT_EQ(saved(s.save(u"a.txt", Bytes{})), out_ / "a-3.txt");
    EXPECT_EQ(testing::readFile(out_ / "a.txt"), first);
    EXPECT_EQ(testing::readFile(out_ / "a-2.txt"), second);
    EXPECT_TRUE(fs::is_empty(out_ / "a-3.txt"));
}

TEST_F(AttachmentSaverFolderTest, ExistingFilesAndLinksAreLeftAlone) {
    const fs::path outside = root_ / "outside.txt";
    ASSERT_TRUE(testing::writeFile(outside, Bytes{'k', 'e', 'e', 'p'}));
    ASSERT_TRUE(testing::writeFile(out_ / "b.txt", Bytes{'o', 'l', 'd'}));
    fs::create_symlink(outside, out_ / "link.txt");
    fs::create_symlink(root_ / "missing.txt", out_ / "dangling.txt");

    const AttachmentSaver s = saver();
    EXPECT_EQ(saved(s.save(u"b.txt", Bytes{'n', 'e', 'w'})), out_ / "b-2.txt");
    EXPECT_EQ(saved(s.save(u"link.txt", Bytes{'n', 'e', 'w'})), out_ / "link-2.txt");
    EXPECT_EQ(saved(s.save(u"dangling.txt", Bytes{'n', 'e', 'w'})), out_ / "dangling-2.txt");

    EXPECT_EQ(testing::readFile(out_ / "b.txt"), (Bytes{'o', 'l', 'd'}));
    EXPECT_EQ(testing::readFile(outside), (Bytes{'k', 'e', 'e', 'p'}));
    EXPECT_FALSE(fs::exists(root_ / "missing.txt"));
}

TEST_F(AttachmentSaverFolderTest, FolderIsCreatedOrItsProblemReported) {
    out_ = root_ / "a" / "b";
    EXPECT_EQ(saved(saver().save(u"x", Bytes{1})), out_ / "x");

    ASSERT_TRUE(testing::writeFile(root_ / "file", Bytes{1}));
    auto refused = AttachmentSaver::open(root_ / "file");
    ASSERT_TRUE(std::holds_alternative<std::string>(refused));
    EXPECT_NE(std::get<std::string>(refused).find("cannot"), std::string::npos);
}

TEST_F(AttachmentSaverFolderTest, UnwritableFolderGivesAReason) {
    if (::geteuid() == 0) GTEST_SKIP() << "root writes into read-only folders";
    const AttachmentSaver s = saver();
    fs::permissions(out_, fs::perms::owner_read | fs::perms::owner_exec);
    auto result = s.save(u"x.txt", Bytes{1});
    fs::permissions(out_, fs::perms::owner_all);
    ASSERT_TRUE(std::holds_alternative<std::string>(result));
    EXPECT_EQ(std::get<std::string>(result), "x.txt: Permission denied");
}

}  // namespace
}  // namespace tessivo::cli
