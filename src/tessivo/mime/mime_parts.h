// The bodies and attachments of a MIME message as MIMEReader reads it: the
// parts with file names, the exact bytes each part encodes, a file name for it.
//
//   const Dictionary& mail = reader->getDictionary();
//   const std::string_view lineBreak = messageLineBreak(mail);
//   for (const Dictionary* part : namedParts(mail))
//       save(attachmentName(*part->get(u"fileName")->string()), partBytes(*part, lineBreak));
//
// The library's decoders keep byte-changing habits of their own (a length one
// short after a trailing line break, zero bytes from padding, upper-case hex
// only); saving decodes exactly what RFC 2045 says a part encodes instead.
// Pointers returned borrow from the dictionary given.
#pragma once

#include <string_view>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::mime {

// Every part dictionary with a "fileName", in the order of "MailContent";
// for a message without parts, the message itself when its headers name a
// file. (A multipart message can get a "fileName" of its own from the lines
// read after its parts; that is no attachment.)
std::vector<const Dictionary*> namedParts(const Dictionary& mail);

// "\r\n" when the message's first line break is CR LF, else "\n": the line
// break of text and quoted-printable parts as saved (the reader keeps "\n").
std::string_view messageLineBreak(const Dictionary& mail);

// The bytes a part's body encodes, by its "encodingType": base64 and
// quoted-printable decoded, text as UTF-8; lines end in lineBreak.
Bytes partBytes(const Dictionary& part, std::string_view lineBreak);

// Base64: characters outside the alphabet skipped, reading stops at the
// padding that ends a group; a last group of 2 or 3 characters gives 1 or 2
// bytes, a lone character nothing.
Bytes decodeBase64Exactly(std::u16string_view text);

// Quoted-printable: "=" and two hex digits of either case give a byte; "="
// at the end of a line (white space after it allowed) joins the lines; white
// space at the end of a line is dropped; other line ends become lineBreak;
// an "=" that starts nothing valid stays. Characters above U+007F are
// written in UTF-8.
Bytes decodeQuotedPrintableExactly(std::u16string_view text, std::string_view lineBreak);

// The file name of a part: the reader's lower-cased "fileName" without the
// Content-Disposition parameters it keeps after the name ("; size=...").
icu::UnicodeString attachmentName(const icu::UnicodeString& fileName);


}  // namespace tessivo::mime
