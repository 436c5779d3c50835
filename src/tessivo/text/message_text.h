// One message file as searchable text, for the Linux hosts and the command
// line: the best body, decoded by what the message says about its character
// set, after a short block of its header facts, so that a search for the
// sender, a recipient or an attachment name finds the message.
//
//   tessivo::Bytes buffer;                        // kept from one file to the next
//   tessivo::text::MessageText found = tessivo::text::messageText("mail.msg", buffer);
//   if (found.outcome == tessivo::importer::Outcome::Text) index(found.text());
//
//   Subject: Budget
//   From: Jane Doe <jane@example.com>
//   To: Ann Lee <ann@example.org>
//   Cc: bob@example.net
//   Date: 2024-03-01 09:30:00 UTC
//   Attachments: plan.xlsx, notes.pdf
//
//   <the body>
//
// The format comes from the bytes: a compound document is an Outlook
// message, the TNEF signature a winmail.dat stream, anything else a MIME
// message. Outlook bodies are tried in the desktop-search importer's order
// (compressed RTF, HTML, Unicode, 8-bit) but each stream is cut at its
// declared size, 8-bit text is decoded by the message's code page and HTML
// by its declared charset. The importer's own exact text stays in
// importer.h. Nothing here throws; the bytes are borrowed for the call.
#pragma once

#include <string>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"
#include "tessivo/importer/importer.h"
#include "tessivo/importer/message_metadata.h"

namespace tessivo::text {

enum class Format { Msg, Tnef, Mime };

// "msg", "tnef" or "mime".
const char* formatName(Format format);

// Compound document signature D0 CF 11 E0 A1 B1 1A E1, TNEF signature
// 78 9F 3E 22, else MIME.
bool hasCompoundSignature(ByteView data);
bool hasTnefSignature(ByteView data);
Format detectFormat(ByteView data);

struct MessageText {
    // Text: body holds text. NoBody: the message was read but has no body
    // with text (its header facts may still be known). NotMessage and
    // Unreadable: reason says why.
    importer::Outcome outcome = importer::Outcome::NotMessage;
    Format format = Format::Mime;
    importer::MessageMetadata facts;
    icu::UnicodeString body;
    std::string reason;

    // The header lines of the facts that are known ("" when none is).
    icu::UnicodeString headerBlock() const;
    // The header block, a blank line and the body.
    icu::UnicodeString text() const;
};

// The text of a message held in memory (the file's whole bytes).
MessageText messageText(ByteView fileBytes);

// The text of the file at path, read whole into buffer (whose capacity a
// caller that reads many files keeps from one file to the next).
MessageText messageText(const std::string& path, Bytes& buffer);

}  // namespace tessivo::text
