// Writes seed messages for the MIME reader fuzzer into a folder, made with
// the test builder: nested multiparts, attachments in both encodings, an
// attached message, both line ends, and the reader's odd corners.
//
//   make_mime_seeds build/fuzz-seeds/mime_reader
#include <filesystem>
#include <iostream>
#include <string>

#include "support/corpus.h"
#include "support/mime_builder.h"

namespace {

using tessivo::Bytes;
using tessivo::testing::MimePart;

void save(const std::filesystem::path& dir, const std::string& name, const std::string& text) {
    tessivo::testing::writeFile(dir / name, Bytes(text.begin(), text.end()));
}

MimePart rich() {
    MimePart inner = MimePart::text("plain", "Inner\n\nbody");
    inner.header("Received", "x").header("Subject", "Inner");
    MimePart mail = MimePart::multipart(
        "mixed",
        {MimePart::multipart("alternative", {MimePart::text("plain", "Hello"), MimePart::text("html", "<p>Hi</p>")}),
         MimePart::attachment("application/pdf", "Report.PDF", Bytes(200, 0xA5)),
         MimePart::attachment("text/plain", "q.txt", Bytes(90, '='), MimePart::Encoding::QuotedPrintable),
         MimePart::message(inner, "inner.eml")});
    mail.header("Received", "x")
        .header("From", "\"Doe, Jane\" <jane@example.com>")
        .header("To", "a@example.com, =?utf-8?Q?B=C3=A9?= <b@example.com>")
        .header("Subject", "Hello\n World");
    return mail;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: make_mime_seeds FOLDER\n";
        return 2;
    }
    const std::filesystem::path dir(argv[1]);
    save(dir, "rich-lf.eml", rich().build(MimePart::LineEnd::LF));
    save(dir, "rich-crlf.eml", rich().build(MimePart::LineEnd::CRLF));
    MimePart described = MimePart::leaf("image/png", Bytes(40, 1), MimePart::Encoding::Base64);
    described.header("Content-Description", "=?windows-1255?B?4ebg?=").header("Content-ID", "<Img@1>");
    save(dir, "described.eml", MimePart::multipart("related", {described}).header("Received", "x").build());
    save(dir, "repeated-boundary.eml",
         "Received: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\nX: 1\n--b\n--b--\n");
    save(dir, "boundary-in-line.eml",
         "Received: x\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\nsee x--by\n--b\nNote: a\n--b--\n");
    return 0;
}
