// Recoll's persistent-handler protocol: the framing on its own, and
// `tessivo recoll-handler` answering a stream of requests as recollindex
// sends them.
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "hosts/message_maker.h"
#include "hosts/run_command.h"
#include "recoll_execm.h"
#include "support/corpus.h"

namespace tessivo::cli::recoll {
namespace {

namespace fs = std::filesystem;

std::string element(const std::string& name, const std::string& data) {
    return name + ": " + std::to_string(data.size()) + "\n" + data;
}

TEST(ExecmReaderTest, ReadsRequestsUntilTheIndexerCloses) {
    const std::string binary("a\nb\0c", 5);
    std::istringstream in(element("filename", "/tmp/x y.msg") + element("Mimetype", "application/x-outlook-msg") +
                          "\n" + "ipath 5\n" + binary + element("filename", "") + "\n");
    ExecmReader reader(in);
    Request request;
    ASSERT_EQ(reader.next(request), ReadStatus::Request);
    EXPECT_EQ(request, (Request{{"filename", "/tmp/x y.msg"}, {"mimetype", "application/x-outlook-msg"}}));
    ASSERT_EQ(reader.next(request), ReadStatus::Request);  // no colon, data with a newline and a NUL
    EXPECT_EQ(request, (Request{{"ipath", binary}, {"filename", ""}}));
    EXPECT_EQ(reader.next(request), ReadStatus::End);
}

TEST(ExecmReaderTest, RejectsBrokenFraming) {
    const std::pair<std::string, std::string> cases[] = {
        {element("filename", "abc").substr(0, 14), "input ended inside element \"filename\""},
        {element("filename", "abc"), "input ended inside a request"},
        {"filename: 3x\nabc\n", "bad element line \"filename: 3x\""},
        {"filename\n", "bad element line \"filename\""},
        {" 3\nabc\n", "bad element line \" 3\""},
        {"filename: 99999999\n", "element of 99999999 bytes"},
    };
    for (const auto& [input, message] : cases) {
        std::istringstream in(input);
        ExecmReader reader(in);
        Request request;
        EXPECT_EQ(reader.next(request), ReadStatus::Malformed) << input;
        EXPECT_EQ(reader.error(), message) << input;
    }
    std::string many;
    for (int i = 0; i < 40; ++i) many += element("p" + std::to_string(i), "x");
    std::istringstream in(many + "\n");
    ExecmReader reader(in);
    Request request;
    EXPECT_EQ(reader.next(request), ReadStatus::Malformed);
}

TEST(ExecmWriterTest, FramesEachElementAndEndsWithAnEmptyLine) {
    std::ostringstream out;
    ASSERT_TRUE(writeAnswer(out, Answer().add("Document", "line one\nline two").add("Eofnext", "")));
    EXPECT_EQ(out.str(), "Document: 17\nline one\nline twoEofnext: 0\n\n");
}

// The handler program, fed a file of requests.
class RecollHandlerTest : public ::testing::Test {
protected:
    void SetUp() override { dir_ = testing::freshScratchDir("recoll-handler-test"); }
    void TearDown() override { fs::remove_all(dir_); }

    // The answers to the requests, read back with the same framing.
    std::vector<Request> answers(const std::string& requests, int expectedStatus = 0) {
        EXPECT_TRUE(testing::writeFile(dir_ / "requests", Bytes(requests.begin(), requests.end())));
        const auto run = testing::runCommand(std::string(TESSIVO_COMMAND) + " recoll-handler < " +
                                             testing::shellQuote((dir_ / "requests").string()) + " 2>/dev/null");
        EXPECT_EQ(run.status, expectedStatus);
        std::istringstream in(run.out);
        ExecmReader reader(in);
        std::vector<Request> all;
        Request answer;
        while (reader.next(answer) == ReadStatus::Request) all.push_back(answer);
        EXPECT_EQ(reader.next(answer), ReadStatus::End) << reader.error();
        return all;
    }

    std::string fileRequest(const std::string& name) {
        return element("filename", (dir_ / name).string()) + element("mimetype", "application/x-outlook-msg") + "\n";
    }

    fs::path dir_;
};

TEST_F(RecollHandlerTest, AnswersEveryKindOfFileInOneProcess) {
    ASSERT_TRUE(testing::writeMessage(dir_ / "a.msg", testing::BodyKind::Html, "Dear Ann, the walrus"));
    ASSERT_TRUE(testing::writeFile(dir_ / "nobody.msg", testing::makeMessageWithoutBody()));
    ASSERT_TRUE(testing::writeFile(dir_ / "text.msg", Bytes{'h', 'i'}));
    const std::string nextDocument = element("filename", "") + "\n";

    const auto all = answers(fileRequest("a.msg") + nextDocument + fileRequest("nobody.msg") +
                             fileRequest("text.msg") + fileRequest("missing.msg") + fileRequest("a.msg"));
    ASSERT_EQ(all.size(), 6u);
    const Request text{{"document", "Subject: Message for the search hosts\n\nDear Ann, the walrus"},
                       {"title", "Message for the search hosts"},
                       {"mimetype", "text/plain"},
                       {"charset", "utf-8"},
                       {"eofnext", ""}};
    EXPECT_EQ(all[0], text);
    EXPECT_EQ(all[1], (Request{{"eofnow", ""}}));  // one document per file
    EXPECT_EQ(all[2].at("document"), "Subject: Subject only\n");  // indexed by name and subject, not failed
    EXPECT_EQ(all[2].at("title"), "Subject only");
    EXPECT_EQ(all[3], (Request{{"fileerror", ""}}));
    EXPECT_EQ(all[4], (Request{{"fileerror", ""}}));
    EXPECT_EQ(all[5], text);  // the same file again, as for a preview
}

TEST_F(RecollHandlerTest, GivesSubjectSenderRecipientsDateAndAttachmentsAsFields) {
    const testing::MailFacts facts{
        .subject = "Quarterly figures",
        .senderName = "Jane Roe",
        .senderAddress = "jane@example.com",
        .recipients = {{"Ann Lee", "ann@example.org"}, {"bob@example.net", "bob@example.net"}},
        .deliveredAt = 1700000000,
        .attachmentNames = {"budget plan.xlsx", "Отчёт.pdf"}};
    ASSERT_TRUE(testing::writeFile(dir_ / "mail.msg", testing::makeMailMessage(facts, "The numbers are in")));
    const auto all = answers(fileRequest("mail.msg"));
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0], (Request{{"document",
                                "Subject: Quarterly figures\nFrom: Jane Roe <jane@example.com>\n"
                                "To: Ann Lee <ann@example.org>, bob@example.net\nDate: 2023-11-14 22:13:20 UTC\n"
                                "Attachments: budget plan.xlsx, Отчёт.pdf\n\nThe numbers are in"},
                               {"title", "Quarterly figures"},
                               {"author", "Jane Roe <jane@example.com>"},
                               {"recipient", "Ann Lee <ann@example.org>, bob@example.net"},
                               {"modificationdate", "1700000000"},
                               {"attachment", "budget plan.xlsx, Отчёт.pdf"},
                               {"mimetype", "text/plain"},
                               {"charset", "utf-8"},
                               {"eofnext", ""}}));
}

TEST_F(RecollHandlerTest, InnerDocumentsDoNotExist) {
    ASSERT_TRUE(testing::writeMessage(dir_ / "a.msg", testing::BodyKind::UnicodeText, "otter"));
    const auto all = answers(element("filename", (dir_ / "a.msg").string()) + element("ipath", "1") + "\n");
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0], (Request{{"subdocerror", ""}}));
}

TEST_F(RecollHandlerTest, BrokenRequestEndsTheHandler) {
    ASSERT_TRUE(testing::writeMessage(dir_ / "a.msg", testing::BodyKind::AnsiText, "badger"));
    const auto all = answers(fileRequest("a.msg") + "filename: lots\n", 1);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].at("document"), "Subject: Message for the search hosts\n\nbadger");
}

}  // namespace
}  // namespace tessivo::cli::recoll
