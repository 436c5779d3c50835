// Recoll finds saved messages: a private Recoll configuration set up with
// `tessivo recoll-setup`, indexed by recollindex, queried with recollq.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "hosts/message_maker.h"
#include "hosts/run_command.h"
#include "support/bytes.h"
#include "support/corpus.h"
#include "support/lzfu_encoder.h"
#include "support/mime_builder.h"
#include "support/msg_writer.h"
#include "support/tnef_writer.h"
#include "tessivo/foundation/encoding.h"

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
    void TearDown() override {
        if (!root_.empty()) fs::remove_all(root_);
    }

    fs::path docs() const { return root_ / "docs"; }
    fs::path confDir() const { return root_ / "conf"; }
    std::string conf() const { return shellQuote(confDir().string()); }

    // Sets the configuration up with the given tessivo, to index docs().
    void setUp(const std::string& tessivo = TESSIVO_COMMAND) {
        const auto setup = runCommand(shellQuote(tessivo) + " recoll-setup --config " + conf());
        ASSERT_EQ(setup.status, 0) << setup.out;
        std::ofstream(confDir() / "recoll.conf", std::ios::app)
            << "topdirs = " << docs().string() << "\nnoaspell = 1\nloglevel = 4\nlogfilename = "
            << (root_ / "index.log").string() << "\n";
    }

    // Indexes docs() and returns the indexer's log.
    std::string index() {
        const auto run = runCommand("recollindex -c " + conf() + " 2>&1");
        EXPECT_EQ(run.status, 0) << run.out;
        std::stringstream log;
        log << std::ifstream(root_ / "index.log").rdbuf();
        return log.str();
    }

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
    setUp();
    const std::string log = index();

    for (const auto& [kind, word] : messages)
        EXPECT_EQ(query(word), url(docs() / (std::string(bodyKindName(kind)) + ".msg"))) << word;
    const std::string all = query("delivery");
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 4) << all;
    // A message without a body is indexed too, by its name.
    EXPECT_EQ(query("filename:nobody.msg"), url(docs() / "nobody.msg"));
    // One persistent handler per indexing thread, not one process per file.
    const std::string start = fs::canonical(TESSIVO_COMMAND).string() + " {recoll-handler}";
    std::size_t starts = 0;
    for (auto at = log.find(start); at != std::string::npos; at = log.find(start, at + 1)) ++starts;
    EXPECT_GE(starts, 1u) << log;
    EXPECT_LE(starts, 2u) << log;
}

// Words the importer's exact text loses: an 8-bit body in the message's
// Windows-1251 code page, and an attachment name on a message without a body.
TEST_F(RecollHostTest, FindsWordsOfEightBitBodiesAndOfBodilessMessages) {
    MsgWriter russian;
    russian.property(0x3FFD, 0x0003, 1251)
        .stream("__substg1.0_1000001E", *encode(icu::UnicodeString(u"Письмо отправлено автоматически"),
                                                encodings::Windows1251));
    ASSERT_TRUE(writeFile(docs() / "russian.msg", russian.build()));
    MsgWriter bodiless;
    bodiless.string8(0x001A, "IPM.Note").unicode(0x0037, "Scan");
    bodiless.addAttachment().unicode(0x3707, "invoice-narwhal.pdf").binary(0x3701, bytesOf("%PDF-"));
    ASSERT_TRUE(writeFile(docs() / "scan.msg", bodiless.build()));
    setUp();
    index();
    EXPECT_EQ(query("автоматически"), url(docs() / "russian.msg"));
    EXPECT_EQ(query("narwhal"), url(docs() / "scan.msg"));
}

TEST_F(RecollHostTest, FindsMessagesBySubjectSenderRecipientAndAttachment) {
    const MailFacts jane{
        .subject = "Quarterly walrus figures",
        .senderName = "Jane Roe",
        .senderAddress = "jane@example.com",
        .recipients = {{"Ann Lee", "ann@example.org"}},
        .deliveredAt = 1700000000,
        .attachmentNames = {"budget-forecast.xlsx"}};
    const MailFacts bob{
        .subject = "Lunch on Friday",
        .senderName = "Bob Stone",
        .senderAddress = "bob@example.net",
        .recipients = {{"Carl Moss", "carl@example.org"}},
        .deliveredAt = 1600000000,
        .attachmentNames = {"menu.pdf"}};
    ASSERT_TRUE(writeFile(docs() / "jane.msg", makeMailMessage(jane, "Numbers attached")));
    ASSERT_TRUE(writeFile(docs() / "bob.msg", makeMailMessage(bob, "Numbers later")));
    setUp();
    index();

    EXPECT_EQ(query("title:walrus"), url(docs() / "jane.msg"));
    EXPECT_EQ(query("title:numbers"), "");  // a body word, not a subject word
    EXPECT_EQ(query("author:jane"), url(docs() / "jane.msg"));
    EXPECT_EQ(query("author:stone"), url(docs() / "bob.msg"));
    EXPECT_EQ(query("recipient:carl"), url(docs() / "bob.msg"));
    EXPECT_EQ(query("attachment:forecast"), url(docs() / "jane.msg"));
    EXPECT_EQ(query("menu"), url(docs() / "bob.msg"));  // attachment names are plain words too
    // The result list shows the subject as the title and the delivery time as the date.
    const std::string fields = runCommand("recollq -c " + conf() + " -m walrus 2>/dev/null").out;
    EXPECT_NE(fields.find("title = Quarterly walrus figures"), std::string::npos) << fields;
    EXPECT_NE(fields.find("dmtime = 01700000000"), std::string::npos) << fields;
}

TEST_F(RecollHostTest, PstFilesStayWithRecollsOwnHandler) {
    ASSERT_TRUE(writeMessage(docs() / "note.msg", BodyKind::Html, "quince"));
    ASSERT_TRUE(writeFile(docs() / "mailbox.pst", Bytes{'!', 'B', 'D', 'N', 0, 0, 0, 0}));
    setUp();
    const std::string log = index();
    EXPECT_EQ(query("quince"), url(docs() / "note.msg"));
    // Recoll's PST handler is run for the mailbox (it may then miss its own helper program).
    std::istringstream lines(log);
    bool pstHandlerRun = false;
    for (std::string line; std::getline(lines, line);)
        pstHandlerRun = pstHandlerRun || (line.find("startExec") != std::string::npos &&
                                          line.find("/rclpst.py") != std::string::npos);
    EXPECT_TRUE(pstHandlerRun) << log;
}

// Recoll reads mail itself and hands each attachment to the handler of its
// type: a winmail.dat inside ordinary mail reaches tessivo's.
TEST_F(RecollHostTest, FindsTheTextOfWinmailDatInsideMail) {
    TnefWriter tnef;
    // Outlook stores the body of a winmail.dat as compressed RTF.
    const Bytes rtf = bytesOf("{\\rtf1\\ansi\\ansicpg1252 {\\fonttbl\\f0 Arial;}\\f0 The pangolin tally is attached.\\par}");
    tnef.subject("Barn owl census").mapi(MapiBlock().binary(0x1009, lzfuCompress(rtf)));
    tnef.attachment("tally.txt", bytesOf("counted"));
    MimePart mail = MimePart::multipart(
        "mixed", {MimePart::text("plain", "See the forwarded notes."),
                  MimePart::attachment("application/ms-tnef", "winmail.dat", tnef.build())});
    mail.header("From", "Ann <ann@example.com>").header("Subject", "Notes").header("Date", "Tue, 5 Mar 2024 10:00:00 +0000");
    ASSERT_TRUE(writeFile(docs() / "notes.eml", mail.bytes()));
    setUp();
    const std::string log = index();
    EXPECT_EQ(query("pangolin"), url(docs() / "notes.eml")) << log;
    EXPECT_EQ(query("forwarded"), url(docs() / "notes.eml"));
}

// `cmake --install` into a prefix of the user's, without root: the installed
// tessivo registers itself, wherever it is.
TEST_F(RecollHostTest, InstallWithoutRootIntoAnyPrefix) {
    const fs::path prefix = root_ / "my programs";
    const auto install = runCommand(shellQuote(CMAKE_COMMAND) + " --install " + shellQuote(TESSIVO_BUILD_DIR) +
                                    " --prefix " + shellQuote(prefix.string()) + " 2>&1");
    ASSERT_EQ(install.status, 0) << install.out;
    ASSERT_TRUE(fs::exists(prefix / "bin" / "tessivo"));
    ASSERT_TRUE(writeMessage(docs() / "a.msg", BodyKind::CompressedRtf, "nightingale"));
    setUp((prefix / "bin" / "tessivo").string());
    const std::string log = index();
    EXPECT_EQ(query("nightingale"), url(docs() / "a.msg"));
    EXPECT_NE(log.find(prefix.string() + "/bin/tessivo {recoll-handler}"), std::string::npos) << log;
}

}  // namespace
}  // namespace tessivo::testing
