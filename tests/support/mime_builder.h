// Builds MIME messages as text, so that tests state the message they read:
// headers (a "\n" inside a value folds it), text parts, attachments in
// base64 or quoted-printable, attached messages, multipart/mixed and
// /alternative nested to any depth, with LF or CR LF line ends.
//
//   using tessivo::testing::MimePart;
//   MimePart mail = MimePart::multipart("mixed", {
//       MimePart::multipart("alternative", {MimePart::text("plain", "Hello"), MimePart::text("html", "<p>Hello</p>")}),
//       MimePart::attachment("application/pdf", "Report.PDF", pdfBytes),                // base64
//       MimePart::message(MimePart::text("plain", "Inner").header("Subject", "Inner"), "inner.eml"),
//   });
//   mail.header("Received", "by test").header("Subject", "Hello\n World");
//   std::string eml = mail.build(MimePart::LineEnd::CRLF);
//
// Boundaries are "=_b1_", "=_b2_", ... in the order written (none occurs
// inside another). A part is written as its headers in the order given, then Content-Type,
// Content-Transfer-Encoding and Content-Disposition, a blank line and the
// body. The reader never reads the first line of a message: tests that need
// every header start with a throwaway one (such as Received).
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tessivo/foundation/value.h"

namespace tessivo::testing {

class MimePart {
public:
    enum class Encoding { None, Base64, QuotedPrintable };
    enum class LineEnd { LF, CRLF };

    // text/SUBTYPE; charset=CHARSET, the text as it stands.
    static MimePart text(const std::string& subtype, const std::string& text, const std::string& charset = "utf-8");
    // A leaf of any type whose body is bytes, written in the given encoding.
    static MimePart leaf(const std::string& contentType, Bytes body, Encoding encoding);
    // An attachment: Content-Type TYPE; name="NAME", Content-Disposition
    // attachment; filename="NAME", the bytes in base64 unless told otherwise.
    static MimePart attachment(const std::string& contentType, const std::string& fileName, Bytes body,
                               Encoding encoding = Encoding::Base64);
    // message/rfc822 holding another message; with a file name, an attachment.
    static MimePart message(MimePart inner, const std::string& fileName = "");
    // multipart/SUBTYPE holding the parts, with a boundary of its own.
    static MimePart multipart(const std::string& subtype, std::vector<MimePart> parts);

    MimePart& header(const std::string& name, const std::string& value);
    // Replaces the Content-Type value (for a multipart, "; boundary=..." follows).
    MimePart& contentType(const std::string& value);
    MimePart& encoding(Encoding e);
    MimePart& disposition(const std::string& value);
    MimePart& boundary(const std::string& value);
    // Text before the first boundary line and after the closing one.
    MimePart& preamble(const std::string& text);
    MimePart& epilogue(const std::string& text);

    std::string build(LineEnd lineEnd = LineEnd::LF) const;
    Bytes bytes(LineEnd lineEnd = LineEnd::LF) const;

    // The body encodings the builder writes, as text with "\n" line ends.
    static std::string base64Lines(const Bytes& body);
    static std::string quotedPrintable(const Bytes& body);

private:
    MimePart() = default;
    // Writes the part with "\n" line ends; boundaries are numbered from next.
    void write(std::string& out, int& next) const;

    std::vector<std::pair<std::string, std::string>> headers_;
    std::string contentType_;
    std::string disposition_;
    Encoding encoding_ = Encoding::None;
    Bytes body_;
    // The parts of a multipart, or the one message that a message part holds.
    std::vector<MimePart> parts_;
    bool multipart_ = false;
    std::string boundary_;
    std::string preamble_;
    std::string epilogue_;
};

// What MIMEReader reads from text, given to it as an exact-size heap copy
// so that a read past the end is caught.
Dictionary readMime(const std::string& text);

}  // namespace tessivo::testing
