// The body of an Outlook message as searchable text.
//
//   if (auto mole = tessivo::Mole::initWithData(fileBytes))
//       icu::UnicodeString body = tessivo::text::outlookBodyText(*mole);   // "" when no body gives text
//
// Bodies are tried in the importer's order: compressed RTF, HTML, Unicode
// text, 8-bit text; the first that gives text other than white space wins.
// Each stream is cut at its declared size, so the slack of its last sector
// never reaches the text. HTML and 8-bit text are decoded by the message's
// code pages (internet code page 0x3FDE, then message code page 0x3FFD).
#pragma once

#include <cstdint>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/mole.h"

namespace tessivo::text {

// The message's code pages, 0x3FDE before 0x3FFD, those that are set.
std::vector<std::uint32_t> messageCodePages(const Mole& mole);

icu::UnicodeString outlookBodyText(const Mole& mole);

}  // namespace tessivo::text
