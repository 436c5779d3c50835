// The importer: a message file's best body as searchable text.
//
//   tessivo::Dictionary attributes;
//   if (tessivo::importer::importFile(u"com.orvanel.tessivo.msg", "/path/mail.msg", attributes))
//       use(*attributes.get(tessivo::importer::kMDItemTextContent)->string());
//
// Bodies are tried in a fixed order (compressed RTF, HTML, UTF-16 text, 8-bit
// text); the first non-empty text wins and is stored exactly as decoded.
#pragma once

#include <cstdint>
#include <string>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::importer {

// The attribute key under which the text is stored.
inline const icu::UnicodeString kMDItemTextContent(u"kMDItemTextContent");

// The two content types the importer accepts (compared exactly).
inline const icu::UnicodeString kContentTypeMsg(u"com.orvanel.tessivo.msg");
inline const icu::UnicodeString kContentTypeProMsg(u"com.orvanel.tessivopro.msg");

// True for exactly one of the two accepted content types (letter case counts).
bool acceptsContentType(const icu::UnicodeString& contentType);

// Stores the text of the file at path under kMDItemTextContent and returns
// true; returns false, setting nothing, for an unaccepted content type, an
// unreadable, empty or damaged file, or a message without a usable body.
bool importFile(const icu::UnicodeString& contentType, const std::string& path, Dictionary& attributes);

// What became of one file, for callers that must tell failures apart
// (the command line and the desktop-search hosts).
enum class Outcome {
    Text,              // text holds the body text (non-empty)
    NoBody,            // a compound document without a usable body
    NotMessage,        // not a compound document, or one that does not open; reason says why
    Unreadable,        // the file could not be read; reason says why
};

struct Result {
    Outcome outcome = Outcome::Unreadable;
    icu::UnicodeString text;
    std::string reason;  // for NotMessage and Unreadable: "cannot open: No such file or directory", ...
    // NUL characters that end the body's text but are not in text: what the
    // zeros of sectors past the end of a cut file decode to in a plain-text
    // body, counted so that they need no memory. Callers that drop trailing
    // NULs (the command line, the hosts) ignore them.
    std::uint64_t trailingNuls = 0;

    // text followed by its trailing NULs: the text importFile stores.
    icu::UnicodeString wholeText() const;
};

// The same selection as importFile for the file at path, reporting why nothing was found.
// The file is read whole into memory (never mapped), so a file that changes
// while it is read gives what it held, never a crash.
Result extractText(const std::string& path);
// The same, reading the file into contents (whose capacity a caller that
// reads many files keeps from one file to the next).
Result extractText(const std::string& path, Bytes& contents);

// The body text of a message held in memory (the file's whole bytes).
Result extractText(ByteView fileBytes);

}  // namespace tessivo::importer
