// What desktop search shows and searches about a message besides its text:
// subject, sender, recipients, date and attachment names, taken from the
// message dictionary a reader builds.
//
//   if (auto facts = tessivo::importer::msgMetadata(fileBytes)) {
//       show(facts->title, facts->author);              // "Budget", "Jane Doe <jane@example.com>"
//       if (facts->date) sortBy(facts->date->secondsSince1970);
//   }
//
// Addresses read "Name <address>", or whichever of the two is known. The
// body text is not part of it: that stays the importer's choice.
#pragma once

#include <optional>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::importer {

struct MessageMetadata {
    icu::UnicodeString title;                    // the subject; "" when there is none
    icu::UnicodeString author;                   // the sender; "" when unknown
    std::vector<icu::UnicodeString> recipients;  // in the message's order
    std::vector<icu::UnicodeString> copies;      // Cc addresses not already among the recipients
    std::optional<Date> date;                    // delivery time, else the header's date
    std::vector<icu::UnicodeString> attachmentNames;
};

// The facts of a message dictionary ("Subject", "From", "To", else "TO" from
// the header when there is no recipient table, "CC", "MIMEDate" or "Date",
// "AttachmentList").
MessageMetadata messageMetadata(const Dictionary& message);

// Each address of an address list ("Name <address>", or whichever is known), in order.
std::vector<icu::UnicodeString> addressTexts(const Value* list);

// The facts of an Outlook message file's bytes, through ReadMSG; nothing
// when the bytes are not a compound document. Borrows the bytes during the call.
std::optional<MessageMetadata> msgMetadata(ByteView fileBytes);

}  // namespace tessivo::importer
