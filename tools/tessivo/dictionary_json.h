// The one rendering of the readers' dictionaries as JSON: dump, summary and
// every later presentation of a message dictionary go through it.
//
//   nlohmann::ordered_json j = dictionaryJson(dictionary, JsonOptions{.data = false});
//   std::cout << jsonLine(j) << '\n';
//
// Keys keep their insertion order. Strings become UTF-8 JSON strings (an
// unpaired surrogate, which UTF-8 cannot carry, becomes U+FFFD); booleans,
// integers and doubles stay booleans and numbers (a double that is not
// finite becomes null, as JSON has no such number); null is null; a Date is
// ISO 8601 text in UTC ("2024-01-31T10:00:00Z", with milliseconds when it
// has a fraction; null when it cannot be written); bytes are {"bytes":N}, with data also
// {"bytes":N,"base64":"..."}; arrays and dictionaries nest.
#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "tessivo/foundation/value.h"

namespace tessivo::cli {

struct JsonOptions {
    bool data = false;  // write the base64 text of byte values
};

nlohmann::ordered_json valueJson(const Value& value, const JsonOptions& options);
nlohmann::ordered_json dictionaryJson(const Dictionary& dictionary, const JsonOptions& options);

// A date as ISO 8601 text in UTC: "yyyy-MM-ddTHH:mm:ssZ", ".SSS" before the Z
// when the date has a fraction of a second; years outside 0 to 9999 are
// written with a sign and at least six digits ("+012345-...", "-000001-...").
// The proleptic Gregorian calendar throughout. Nothing for a date that is not
// finite or lies more than 10^15 seconds (some 31 million years) from 1970.
std::optional<std::string> isoDateText(Date date);

// The JSON on one line, without a trailing newline. Invalid UTF-8 (from a
// file name) becomes U+FFFD rather than an error.
std::string jsonLine(const nlohmann::ordered_json& json);

}  // namespace tessivo::cli
