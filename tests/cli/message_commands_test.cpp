// `tessivo dump`, `summary` and `attachments` as a user runs them: JSON lines
// on stdout, reasons on stderr, exit statuses, and attachment files on disk.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "hosts/run_command.h"
#include "support/corpus.h"
#include "support/lzfu_encoder.h"
#include "support/mime_builder.h"
#include "support/msg_writer.h"
#include "support/tnef_writer.h"
#include "tessivo/mime/base64.h"

namespace tessivo {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

Bytes ascii(std::string_view text) { return Bytes(text.begin(), text.end()); }

class MessageCommandsTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = testing::freshScratchDir("message-commands-test");
        testing::MsgWriter m;
        m.string8(0x001A, "IPM.Note");
        m.unicode(0x0037, "Quarterly report");
        m.unicode(0x1000, "See attached.");
        m.addRecipient().unicode(0x3001, "Doe, Jane").unicode(0x3003, "jane@example.com");
        m.addAttachment().unicode(0x3707, "report.pdf").unicode(0x370E, "application/pdf").binary(0x3701, payload());
        m.addAttachment().unicode(0x3001, "Forwarded").embeddedMessage().unicode(0x0037, "Inner");
        ASSERT_TRUE(testing::writeFile(p("mail.msg"), m.build()));
        ASSERT_TRUE(testing::writeFile(p("mail.eml"), mimeMessage().bytes(testing::MimePart::LineEnd::CRLF)));
        ASSERT_TRUE(testing::writeFile(p("winmail.dat"), Bytes{0x78, 0x9F, 0x3E, 0x22, 0x00, 0x00}));
        ASSERT_TRUE(testing::writeFile(p("empty.msg"), Bytes{}));
        ASSERT_TRUE(testing::writeFile(p("broken.msg"), Bytes{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1}));
    }
    void TearDown() override { fs::remove_all(dir_); }

    // 5000 bytes: the stream holds ten 512-byte sectors, 5120 bytes.
    static Bytes payload() { return testing::pattern(5000, 3); }
    static Bytes notes() { return ascii("one\n\ntwo = 2\n"); }

    static testing::MimePart mimeMessage() {
        using testing::MimePart;
        MimePart mail = MimePart::multipart(
            "mixed", {MimePart::text("plain", "See attached."),
                      MimePart::attachment("application/pdf", "Report.PDF", payload()),
                      MimePart::attachment("text/plain", "notes.txt", notes(), MimePart::Encoding::QuotedPrintable),
                      MimePart::attachment("text/plain", "../../escape.txt", ascii("x"))});
        mail.header("Received", "by test")
            .header("From", "Ann <ann@example.com>")
            .header("Subject", "Quarterly report");
        return mail;
    }

    std::string p(const std::string& name) const { return (dir_ / name).string(); }
    // Runs tessivo with args; stderr goes to a file read into err.
    testing::CommandResult run(const std::string& args, std::vector<std::string>* err = nullptr) {
        const fs::path errFile = dir_ / "stderr.txt";
        auto result = testing::runCommand(std::string(TESSIVO_COMMAND) + " " + args + " 2>" +
                                          testing::shellQuote(errFile.string()));
        if (err) {
            err->clear();
            std::istringstream lines(std::string(reinterpret_cast<const char*>(testing::readFile(errFile).data()),
                                                 testing::readFile(errFile).size()));
            for (std::string line; std::getline(lines, line);) err->push_back(line);
        }
        return result;
    }
    static std::vector<ordered_json> jsonLines(const std::string& out) {
        std::vector<ordered_json> lines;
        std::istringstream in(out);
        for (std::string line; std::getline(in, line);) lines.push_back(ordered_json::parse(line));
        return lines;
    }

    fs::path dir_;
};

TEST_F(MessageCommandsTest, DumpWritesOneJsonLinePerFile) {
    std::vector<std::string> err;
    const auto result = run("dump " + testing::shellQuote(p("mail.msg")), &err);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(err.empty());
    const auto lines = jsonLines(result.out);
    ASSERT_EQ(lines.size(), 1u);
    const ordered_json& line = lines[0];
    std::vector<std::string> keys;
    for (auto it = line.begin(); it != line.end(); ++it) keys.push_back(it.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"path", "format", "ok", "dictionary"}));
    EXPECT_EQ(line["format"], "msg");
    const ordered_json& d = line["dictionary"];
    EXPECT_EQ(d["Subject"], "Quarterly report");
    EXPECT_EQ(d["To"], ordered_json::parse(R"([{"Name":"Doe, Jane","Address":"jane@example.com"}])"));
    EXPECT_EQ(d["AttachmentList"][0]["data"], ordered_json::parse(R"({"bytes":5120})"));
    EXPECT_EQ(d["AttachmentList"][0]["size"], 5120);
    EXPECT_FALSE(d["AttachmentList"][1].contains("data"));
    EXPECT_EQ(d["AttachmentList"][1]["name"], "Forwarded");
}

TEST_F(MessageCommandsTest, DumpShowsContactAndAppointmentFields) {
    testing::MsgWriter contact;
    contact.string8(0x001A, "IPM.Contact");
    contact.string8(0x3A06, "Jane");
    contact.unicode(contact.named(0x8083), "jane@example.com");
    ASSERT_TRUE(testing::writeFile(p("contact.msg"), contact.build()));
    testing::MsgWriter lunch;
    lunch.string8(0x001A, "IPM.Appointment");
    lunch.unicode(0x0037, "Lunch 25:00-26:00");
    lunch.property(lunch.named(0x820E), 0x0040, testing::fileTimeFromUnix(1709596800));  // 2024-03-05 00:00 UTC
    lunch.property(lunch.named(0x8215), 0x000B, 1);
    lunch.string8(lunch.named(0x8208), "Canteen");
    ASSERT_TRUE(testing::writeFile(p("lunch.msg"), lunch.build()));

    const auto lines = jsonLines(run("dump " + testing::shellQuote(p("contact.msg")) + " " +
                                     testing::shellQuote(p("lunch.msg"))).out);
    ASSERT_EQ(lines.size(), 2u);
    const ordered_json& c = lines[0]["dictionary"];
    EXPECT_EQ(c["MessageType"], "Contact");
    EXPECT_EQ(c["Given Name"], "Jane");
    EXPECT_EQ(c["Contact Email 1"], "jane@example.com");
    // Dates as ISO 8601 text in UTC.
    const ordered_json& a = lines[1]["dictionary"];
    EXPECT_EQ(a["MessageType"], "Calendar");
    EXPECT_EQ(a["Start Time"], "2024-03-05T12:00:00Z");
    EXPECT_EQ(a["End Time"], "2024-03-05T14:00:00Z");
    EXPECT_EQ(a["Duration"], 120);
    EXPECT_EQ(a["All Day Flag"], 1);
    EXPECT_EQ(a["Location"], "Canteen");

    // A calendar item without a time of day takes its times from the file's name.
    testing::MsgWriter planning;
    planning.string8(0x001A, "IPM.Appointment");
    planning.unicode(0x0037, "Planning");
    planning.property(planning.named(0x820E), 0x0040, testing::fileTimeFromUnix(1709596800));
    ASSERT_TRUE(testing::writeFile(p("meeting 0930-1045.msg"), planning.build()));
    const auto named = jsonLines(run("dump " + testing::shellQuote(p("meeting 0930-1045.msg"))).out);
    ASSERT_EQ(named.size(), 1u);
    EXPECT_EQ(named[0]["dictionary"]["Start Time"], "2024-03-05T09:30:00Z");
    EXPECT_EQ(named[0]["dictionary"]["Duration"], 75);
}

TEST_F(MessageCommandsTest, DumpWithDataCarriesTheBytes) {
    const auto lines = jsonLines(run("dump --data " + testing::shellQuote(p("mail.msg"))).out);
    ASSERT_EQ(lines.size(), 1u);
    const std::string base64 = lines[0]["dictionary"]["AttachmentList"][0]["data"]["base64"];
    Bytes decoded = NewBase64Decode(base64.data(), base64.size());
    ASSERT_EQ(decoded.size(), 5120u);
    decoded.resize(5000);
    EXPECT_EQ(decoded, payload());
}

TEST_F(MessageCommandsTest, UnreadableFilesGiveFailureLinesAndStatusOne) {
    std::vector<std::string> err;
    // A folder is walked: its empty message stands where the folder was named.
    fs::create_directory(dir_ / "folder.msg");
    testing::writeFile(dir_ / "folder.msg/inner.eml", Bytes{});
    const std::string files = testing::shellQuote(p("empty.msg")) + " " + testing::shellQuote(p("folder.msg")) + " " +
                              testing::shellQuote(p("missing.msg")) + " " + testing::shellQuote(p("broken.msg")) + " " +
                              testing::shellQuote(p("mail.msg"));
    for (const char* command : {"dump", "summary"}) {
        const auto result = run(std::string(command) + " " + files, &err);
        EXPECT_EQ(result.status, 1) << command;
        const auto lines = jsonLines(result.out);
        ASSERT_EQ(lines.size(), 5u) << command;
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(lines[i]["ok"], false) << command << i;
            EXPECT_EQ(lines[i].size(), 3u) << command << i;
        }
        EXPECT_EQ(lines[0]["error"], "empty file: not a message");
        EXPECT_EQ(lines[1]["path"], p("folder.msg/inner.eml"));
        EXPECT_EQ(lines[1]["error"], "empty file: not a message");
        EXPECT_EQ(lines[3]["error"], "too short for a compound document (fewer than 512 bytes)");
        EXPECT_EQ(lines[4]["ok"], true);
        ASSERT_EQ(err.size(), 4u) << command;
        for (int i = 0; i < 4; ++i) EXPECT_EQ(err[i].rfind("tessivo: " + lines[i]["path"].get<std::string>() + ": ", 0), 0u);
    }
}

// Archive runs: a folder of every format walked in sorted order, read in
// parallel, each message's attachments saved in a folder of its own below
// the one given, whose name comes from the message's path made harmless.
TEST_F(MessageCommandsTest, FoldersAreWalkedAndAttachmentsSavedPerMessage) {
    fs::create_directories(dir_ / "archive/2019");
    fs::copy_file(p("mail.msg"), dir_ / "archive/2019/mail.msg");
    fs::copy_file(p("mail.eml"), dir_ / "archive/mail.eml");
    fs::copy_file(p("winmail.dat"), dir_ / "archive/winmail.DAT");
    testing::writeFile(dir_ / "archive/notes.txt", ascii("not walked"));
    const std::string out = p("out");
    for (const char* command : {"dump --jobs 2", "text --jsonl --jobs 2"}) {
        fs::remove_all(out);
        const auto result = run(std::string(command) + " --attachments " + testing::shellQuote(out) + " " +
                                testing::shellQuote(p("archive")));
        const auto lines = jsonLines(result.out);
        ASSERT_EQ(lines.size(), 3u) << command;
        EXPECT_EQ(lines[0]["path"], p("archive/2019/mail.msg"));
        EXPECT_EQ(lines[1]["path"], p("archive/mail.eml"));
        EXPECT_EQ(lines[2]["path"], p("archive/winmail.DAT"));
        EXPECT_EQ(lines[0]["format"], "msg");
        EXPECT_EQ(lines[1]["format"], "mime");
        EXPECT_EQ(lines[0]["attachments"], ordered_json::array({out + "/2019/mail.msg/report.pdf"})) << command;
        EXPECT_EQ(lines[1]["attachments"].size(), 3u) << command;
        EXPECT_EQ(testing::readFile(out + "/2019/mail.msg/report.pdf"), payload());
        EXPECT_TRUE(fs::exists(out + "/mail.eml/notes.txt")) << command;
        EXPECT_TRUE(fs::exists(out + "/mail.eml/_.._escape.txt")) << command;
        EXPECT_FALSE(fs::exists(dir_ / "escape.txt"));
        // The TNEF stream holds no body: text says so in its status.
        EXPECT_EQ(result.status, std::string(command).rfind("dump", 0) == 0 ? 0 : 3) << command;
    }
}

TEST_F(MessageCommandsTest, SummaryHasFiveKeys) {
    const auto lines = jsonLines(run("summary " + testing::shellQuote(p("mail.msg"))).out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["summary"],
              ordered_json::parse(R"({"Subject":"Quarterly report","Body":"See attached.","From":"","Date":"-","MIMEDate":"-"})"));
}

TEST_F(MessageCommandsTest, AttachmentsAreListedAndSavedWithExactBytes) {
    const auto listed = jsonLines(run("attachments --list " + testing::shellQuote(p("mail.msg"))).out);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["attachments"],
              ordered_json::parse(R"([{"name":"report.pdf","size":5000,"mimeType":"application/pdf"},)"
                                  R"({"name":"Forwarded","size":null,"mimeType":null}])"));

    const fs::path out = dir_ / "out";
    const auto saved = run("attachments --out " + testing::shellQuote(out.string()) + " " +
                           testing::shellQuote(p("mail.msg")) + " " + testing::shellQuote(p("mail.msg")));
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.out, (out / "report.pdf").string() + "\n" + (out / "report-2.pdf").string() + "\n");
    EXPECT_EQ(testing::readFile(out / "report.pdf"), payload());
    EXPECT_EQ(testing::readFile(out / "report-2.pdf"), payload());
}

TEST_F(MessageCommandsTest, VoiceNoteIsSavedWithItsExactBytes) {
    testing::MsgWriter m;
    m.string8(0x001A, "IPM.Note").string8(0x8000, "Voice message").binary(0x6803, testing::pattern(700, 5));
    ASSERT_TRUE(testing::writeFile(p("voice.msg"), m.build()));
    const fs::path out = dir_ / "voice";
    const auto saved = run("attachments --out " + testing::shellQuote(out.string()) + " " + testing::shellQuote(p("voice.msg")));
    EXPECT_EQ(saved.out, (out / "Windows CE VoiceNote.wav").string() + "\n");
    EXPECT_EQ(testing::readFile(out / "Windows CE VoiceNote.wav"), testing::pattern(700, 5));
}

TEST_F(MessageCommandsTest, AttachmentsThatCannotBeReadWholeAreSavedAndReported) {
    testing::MsgWriter m;
    m.string8(0x001A, "IPM.Note");
    m.addAttachment().unicode(0x3707, "short.bin").binary(0x3701, payload());
    testing::CfbWriter writer;
    m.writeTo(writer, "");
    testing::CfbImage image = writer.build();
    // The directory declares more bytes than the stream's ten sectors hold.
    image.setEntryField("__attach_version1.0_#00000000/" + testing::substgName(0x3701, 0x0102), 120, 8000);
    ASSERT_TRUE(testing::writeFile(p("short.msg"), image.bytes));

    std::vector<std::string> err;
    const fs::path out = dir_ / "short";
    const auto saved = run("attachments --out " + testing::shellQuote(out.string()) + " " + testing::shellQuote(p("short.msg")), &err);
    EXPECT_EQ(saved.status, 1);
    EXPECT_EQ(saved.out, (out / "short.bin").string() + "\n");
    EXPECT_EQ(testing::readFile(out / "short.bin").size(), 5120u);
    ASSERT_EQ(err.size(), 1u);
    EXPECT_NE(err[0].find("only 5120 of its 8000 bytes could be read"), std::string::npos) << err[0];

    const auto listed = jsonLines(run("attachments --list " + testing::shellQuote(p("short.msg"))).out);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["attachments"][0]["incomplete"], "only 5120 of its 8000 bytes could be read");
}

TEST_F(MessageCommandsTest, MimeMessagesGoThroughTheSameCommands) {
    const std::string eml = testing::shellQuote(p("mail.eml"));
    const auto dumped = jsonLines(run("dump " + eml).out);
    ASSERT_EQ(dumped.size(), 1u);
    EXPECT_EQ(dumped[0]["format"], "mime");
    EXPECT_EQ(dumped[0]["dictionary"]["Subject"], "Quarterly report");
    EXPECT_EQ(dumped[0]["dictionary"]["From"], ordered_json::parse(R"([{"Name":"Ann","Address":"ann@example.com"}])"));
    EXPECT_EQ(dumped[0]["dictionary"]["MailContent"].size(), 4u);

    const auto summary = jsonLines(run("summary " + eml).out);
    ASSERT_EQ(summary.size(), 1u);
    EXPECT_EQ(summary[0]["summary"], ordered_json::parse(R"({"Subject":"Quarterly report","Body":"See attached.",)"
                                                         R"("From":"Ann","Date":"-","MIMEDate":"-"})"));

    const auto listed = jsonLines(run("attachments --list " + eml).out);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["attachments"],
              ordered_json::parse(R"([{"name":"report.pdf","size":5000,"mimeType":"application/pdf"},)"
                                  R"({"name":"notes.txt","size":16,"mimeType":"text/plain"},)"
                                  R"({"name":"../../escape.txt","size":1,"mimeType":"text/plain"}])"));
    // Saved decoded exactly; quoted-printable lines end as the message's do.
    const fs::path out = dir_ / "eml-out";
    const auto saved = run("attachments --out " + testing::shellQuote(out.string()) + " " + eml);
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.out, (out / "report.pdf").string() + "\n" + (out / "notes.txt").string() + "\n" +
                             (out / "_.._escape.txt").string() + "\n");
    EXPECT_EQ(testing::readFile(out / "report.pdf"), payload());
    EXPECT_EQ(testing::readFile(out / "notes.txt"), ascii("one\r\n\r\ntwo = 2\r\n"));
    EXPECT_EQ(testing::readFile(out / "_.._escape.txt"), ascii("x"));
}

TEST_F(MessageCommandsTest, HostileAttachmentNamesStayInsideTheFolder) {
    std::string nulAndNewline("a");
    nulAndNewline += '\0';
    nulAndNewline += "b\nc.txt";
    const std::vector<std::string> names = {"../../x", "/etc/x", "a\\..\\b", "CON", "", std::string(300, 'n') + ".txt",
                                            nulAndNewline, "same.txt", "same.txt", ".hidden"};
    testing::MsgWriter m;
    m.string8(0x001A, "IPM.Note");
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto& a = m.addAttachment();
        a.stream(testing::substgName(0x3707, 0x001F), testing::utf16le(names[i]));
        a.binary(0x3701, Bytes(10 + i, static_cast<std::uint8_t>(i)));
    }
    ASSERT_TRUE(testing::writeFile(p("hostile.msg"), m.build()));
    const fs::path out = dir_ / "deep" / "out";
    fs::create_directories(out);
    ASSERT_TRUE(testing::writeFile(out / "same.txt", ascii("keep me")));
    fs::create_symlink(dir_ / "victim.txt", out / "_etc_x");

    const auto result = run("attachments --out " + testing::shellQuote(out.string()) + " " +
                            testing::shellQuote(p("hostile.msg")));
    EXPECT_EQ(result.status, 0);
    std::vector<std::string> printed;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);) printed.push_back(line);
    ASSERT_EQ(printed.size(), names.size());

    std::set<fs::path> files;
    for (std::size_t i = 0; i < printed.size(); ++i) {
        const fs::path path(printed[i]);
        EXPECT_EQ(path.parent_path(), out) << printed[i];
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path))) << printed[i];
        EXPECT_LE(path.filename().string().size(), 255u);
        EXPECT_EQ(testing::readFile(path), Bytes(10 + i, static_cast<std::uint8_t>(i))) << printed[i];
        files.insert(path);
    }
    EXPECT_EQ(files.size(), names.size());
    EXPECT_EQ(testing::readFile(out / "same.txt"), ascii("keep me"));
    EXPECT_FALSE(fs::exists(dir_ / "victim.txt"));
    EXPECT_EQ(fs::path(printed[5]).extension(), ".txt");
    // Nothing appeared anywhere else.
    const std::set<std::string> fixtures = {"mail.msg",   "mail.eml",    "winmail.dat", "empty.msg",
                                            "broken.msg", "hostile.msg", "stderr.txt"};
    for (const auto& entry : fs::recursive_directory_iterator(dir_)) {
        if (entry.is_directory() || entry.path().parent_path() == out) continue;
        EXPECT_TRUE(fixtures.count(entry.path().filename().string())) << entry.path();
    }
}

TEST_F(MessageCommandsTest, TnefStreamsThroughTheSameCommands) {
    const Bytes rtf = ascii("{\\rtf1\\ansi Plain {\\b text}\\par}");
    testing::TnefWriter w;
    w.subject("Winmail subject")
        .mapi(testing::MapiBlock().string8(0x0037, "Winmail subject").binary(0x1009, testing::lzfuCompress(rtf)))
        .attachment("REPORT~1.PDF", payload(), testing::MapiBlock().string8(0x3707, "report.pdf"))
        .attachment("../../escape.txt", ascii("inside"));
    ASSERT_TRUE(testing::writeFile(p("winmail.dat"), w.build()));

    auto lines = jsonLines(run("dump " + testing::shellQuote(p("winmail.dat"))).out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["format"], "tnef");
    EXPECT_EQ(lines[0]["ok"], true);
    const ordered_json& d = lines[0]["dictionary"];
    EXPECT_EQ(d["Subject"], "Winmail subject");
    EXPECT_EQ(d["RTF"], ordered_json::parse(R"({"bytes":)" + std::to_string(rtf.size()) + "}"));
    EXPECT_EQ(d["Body"], "Plain text\n");
    EXPECT_EQ(d["AttachmentList"][0],
              ordered_json::parse(R"({"size":5000,"sizeString":"5.0 KB","data":{"bytes":5000},"name":"report.pdf"})"));

    lines = jsonLines(run("summary " + testing::shellQuote(p("winmail.dat"))).out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["summary"],
              ordered_json::parse(R"({"From":"-","Subject":"Winmail subject","Body":"Plain text","Date":"-"})"));

    lines = jsonLines(run("attachments --list " + testing::shellQuote(p("winmail.dat"))).out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["attachments"], ordered_json::parse(R"([{"name":"report.pdf","size":5000,"mimeType":null},)"
                                                           R"({"name":"../../escape.txt","size":6,"mimeType":null}])"));
    const fs::path out = dir_ / "tnef-out";
    const auto saved = run("attachments --out " + testing::shellQuote(out.string()) + " " +
                           testing::shellQuote(p("winmail.dat")));
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.out, (out / "report.pdf").string() + "\n" + (out / "_.._escape.txt").string() + "\n");
    EXPECT_EQ(testing::readFile(out / "report.pdf"), payload());
}

TEST_F(MessageCommandsTest, TnefNamesFromTheRawScanLoseTheirTerminator) {
    // A damaged first record: only the raw scan finds the two attachments,
    // whose names end with the NUL the stream stores.
    testing::TnefWriter w;
    w.record(testing::kAttBody, ascii("x"), 0).attachment("a.txt", ascii("A")).attachment("a.txt", ascii("B"));
    ASSERT_TRUE(testing::writeFile(p("scanned.dat"), w.build()));
    const fs::path out = dir_ / "scanned";
    const auto saved = run("attachments --out " + testing::shellQuote(out.string()) + " " +
                           testing::shellQuote(p("scanned.dat")));
    EXPECT_EQ(saved.status, 0);
    EXPECT_EQ(saved.out, (out / "a.txt").string() + "\n" + (out / "a-2.txt").string() + "\n");
    EXPECT_EQ(testing::readFile(out / "a-2.txt"), ascii("B"));
    // A stream that does not parse still reads, as what the scan finds.
    testing::TnefWriter lying;
    lying.subject("s").header(testing::kAttBody, 200000000);
    ASSERT_TRUE(testing::writeFile(p("lying.dat"), lying.build()));
    const auto lines = jsonLines(run("dump " + testing::shellQuote(p("lying.dat"))).out);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0]["ok"], true);
    EXPECT_EQ(lines[0]["dictionary"], ordered_json::object());
}

TEST_F(MessageCommandsTest, HelpAndUsage) {
    for (const char* command : {"dump", "summary", "attachments"}) {
        const auto help = run(std::string(command) + " --help");
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_NE(help.out.find("Exit status"), std::string::npos) << command;
        EXPECT_EQ(run(command).status, 2) << command;
    }
    EXPECT_EQ(run("attachments --list --out x " + testing::shellQuote(p("mail.msg"))).status, 2);
}

}  // namespace
}  // namespace tessivo
