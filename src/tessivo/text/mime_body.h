// The body text of an Internet message as the MIME reader read it: the
// first text/plain part that is no attachment, else the first text/html one,
// each decoded by the charset its part declares.
//
//   const auto reader = MIMEReader::initWithData(data);
//   icu::UnicodeString body = mimeBodyText(reader->getDictionary(), reader->rawContentEncoding());
//
// The reader decodes the whole message with one guessed encoding. A part in
// base64 or quoted-printable is decoded again from the bytes it encodes; a
// part without transfer encoding is turned back into its bytes with the
// guessed encoding and decoded by its own charset, when the guess was a
// legacy (non-Unicode) encoding that gives the bytes back. A message that
// decodes as UTF-8 is taken as UTF-8 whatever its parts declare.
#pragma once

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/value.h"

namespace tessivo::text {

// messageEncoding is the one the reader decoded the whole message with.
icu::UnicodeString mimeBodyText(const Dictionary& mail, Encoding messageEncoding);

}  // namespace tessivo::text
