// The short summary of a MIME message, with the keys of the .msg summary;
// the parts, their bytes and names come from the mime library.
//
//   Dictionary summary = mimeSummary(reader->getDictionary());
#pragma once

#include "tessivo/foundation/value.h"
#include "tessivo/mime/mime_parts.h"

namespace tessivo::cli {

using mime::attachmentName;
using mime::decodeBase64Exactly;
using mime::decodeQuotedPrintableExactly;
using mime::messageLineBreak;
using mime::namedParts;
using mime::partBytes;

// "Subject" (encoded words decoded, first line), "Body" (the first
// text/plain part, decoded), "From" (the first sender's name, else address),
// "Date" and "MIMEDate" (the Date header written as the .msg summary writes
// dates); "-" for what is missing.
Dictionary mimeSummary(const Dictionary& mail);

}  // namespace tessivo::cli
