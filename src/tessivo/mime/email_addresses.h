// Address lists of mail headers as address dictionaries: {"Name", "Address"},
// both strings, both "" when nothing is known.
//
//   tessivo::Array list = tessivo::processEmailAddresses(u"\"Doe, Jane\" <jane@example.com>, bob@example.com");
//   // [{"Name": "Doe, Jane", "Address": "jane@example.com"},
//   //  {"Name": "",          "Address": "bob@example.com"}]
//   tessivo::Dictionary one = tessivo::buildAddressFromTags(u"Ann", u"ann@example.com");
//
// A bare address gives Name "" (the address is not repeated as a name).
// Encoded words in display names are decoded. Nothing here throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo {

// One dictionary per address of a header value; empty for nil or "".
// LF, CR, form feed and TAB are removed, then every double space; the value
// is split at commas outside double quotes (a backslash escapes the next
// character), pieces trimmed, empty pieces skipped. When that yields nothing,
// and for values over kMaxQuotedSplitLength units, it splits at every comma.
// At most kMaxAddresses addresses.
Array processEmailAddresses(const std::optional<icu::UnicodeString>& value);

// Values longer than this are split at every comma, without quote tracking.
inline constexpr std::int32_t kMaxQuotedSplitLength = 50000;
// A value gives at most this many addresses; the rest of a longer list is
// not read (each address dictionary costs far more memory than its text).
inline constexpr std::size_t kMaxAddresses = 10000;

// One address piece: `Name <address>` (quotes and backslash escapes removed
// from the name), `address (Name)`, a bare address (containing "@"), or else
// a name alone with Address "".
Dictionary createEmailDictionary(const icu::UnicodeString& text);

// {"Name": name, "Address": address}; a part the caller does not have is "".
Dictionary buildAddressFromTags(const icu::UnicodeString& name, const icu::UnicodeString& address);

}  // namespace tessivo
