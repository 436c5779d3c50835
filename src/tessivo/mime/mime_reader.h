// MIMEReader: an Internet mail message (.eml) into a dictionary of its
// top-level headers and body, with a flat list of the dictionaries of all its
// MIME parts. Bodies stay text: transfer encodings and encoded words are not
// decoded; each part says how ("encodingType", the charset parameter).
//
//   auto reader = tessivo::MIMEReader::initWithData(fileBytes);   // copies what it keeps
//   const tessivo::Dictionary& mail = reader->getDictionary();
//   mail.get(u"Subject");                  // the header's value as written (the first line is never read)
//   mail.get(u"From");                     // [{"Name": ..., "Address": ...}, ...]
//   for (const tessivo::Value& part : *mail.get(u"MailContent")->array()) {
//       const tessivo::Dictionary& d = *part.dictionary();
//       d.get(u"contentType"); d.get(u"encodingType"); d.get(u"fileName"); d.get(u"content");
//   }
//
// Keys of a part dictionary (the top-level one included): every header under
// its name as written, its value unfolded and trimmed but not decoded, except
// that "From", "To", "CC", "BCC" hold address dictionaries, and Content-Type,
// -Transfer-Encoding, -Description, -Disposition and -ID become "contentType",
// "contentFormat", "metaType", "metaData" (the first parameter's name, not its
// value), "encodingType" ("base64", "quoted-printable" or "text"), "fileName"
// (lower-cased) and "Content-Id"; "content" (the body's non-blank lines, each
// after a "\n") and "uaContent" (the body with its blank lines). The top level
// adds "MailContent" (every part, inner parts before the part holding them)
// and "RawContentString" (the whole decoded message).
//
// The reading follows a fixed line-by-line procedure, quirks included: the
// first line of the message and of each part, and the last line, are never
// read; a multipart body is split at every occurrence of its boundary line in
// the whole text of the part; after the split, reading resumes at an index
// advanced by the line counts of the pieces. Nothing throws; damaged input
// gives a partial dictionary. A reader is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

namespace mime {
class MessageLines;
struct Span;
}  // namespace mime

class MIMEReader {
public:
    // Reads data; nothing for a missing buffer. Empty or undecodable bytes
    // give a reader whose dictionary is empty.
    static std::optional<MIMEReader> initWithData(std::optional<ByteView> data);

    // The dictionary read by initWithData.
    const Dictionary& getDictionary() const { return mimeContentDictionary_; }

    // Reads a whole message: its text (decoded by StringWangers::stringFromNSData)
    // split into lines, read as one part; "MailContent" and "RawContentString"
    // added. Empty when the bytes give no text. Parts found are appended to
    // the reader's part list, which earlier calls may already have filled.
    Dictionary readMIMEMail(ByteView data);

    // Reads one part from lines, beginning after the line at index and
    // stopping before the last line, or at a line equal to boundary when one
    // is given. index ends on the last line read. Nothing when lines is null.
    // The lines are read as their text joined with "\n": a line that holds a
    // line break itself is read as the lines it breaks into.
    std::optional<Dictionary> interpretMIME(const std::vector<icu::UnicodeString>* lines,
                                            const std::optional<icu::UnicodeString>& boundary, std::size_t& index);

    // The parameters of a Content-Type value: "boundary" ("--" and the value,
    // unquoted and trimmed) and "type" (the last other parameter as written).
    static Dictionary setContentParameters(const icu::UnicodeString& value);

    // Trimmed of white space and line breaks, lower-cased; "" for nothing.
    static icu::UnicodeString trimmedLower(const std::optional<icu::UnicodeString>& text);

    // Every part read so far, in the order the parts finished.
    const Array& globalContentArray() const { return globalContentArray_; }
    // The decoded text of the last message read.
    const icu::UnicodeString& rawContentString() const { return rawContentString_; }
    // The encoding that text was decoded from (0 when there was none).
    Encoding rawContentEncoding() const { return rawContentEncoding_; }

private:
    MIMEReader() = default;
    Dictionary interpret(const mime::MessageLines& text, mime::Span span, const std::optional<icu::UnicodeString>& stop,
                         std::int64_t& index, int depth);
    void appendPart(Dictionary part);

    friend class MimePartReader;

    Dictionary mimeContentDictionary_;
    Array globalContentArray_;
    icu::UnicodeString rawContentString_;
    Encoding rawContentEncoding_ = 0;
};

}  // namespace tessivo
