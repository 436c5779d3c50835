// The transport header (0x007D): its text is kept whole, and the address
// lists, date and subject are taken from its lines.
#include "tessivo/foundation/text.h"
#include "tessivo/mime/email_addresses.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/msg/property_tags.h"
#include "tessivo/msg/read_msg.h"

namespace tessivo {

namespace {

// The key a header named name is kept under: "FROM", "TO", "CC" or "BCC"
// for those names in any case, "Date" and "Subject" as written; empty for
// any other header, which is not kept.
icu::UnicodeString keyFor(const icu::UnicodeString& name) {
    // Upper-casing never shortens a text: a name longer than "Subject" is none of these.
    if (name.length() > 7) return {};
    const icu::UnicodeString upper = toUpper(name);
    if (upper == u"FROM" || upper == u"TO" || upper == u"CC" || upper == u"BCC") return upper;
    if (name == u"Date" || name == u"Subject") return name;
    return {};
}

// Stores one finished header under its key.
void storeHeader(Dictionary& header, const icu::UnicodeString& key, const icu::UnicodeString& value) {
    if (key == u"Date")
        header.set(u"Date", Value(value));
    else if (key == u"Subject")
        header.set(u"Subject", Value(WindowsCodePageWangersNSStringAdditions::decodeMimeHeader(value)));
    else
        header.set(key, Value(processEmailAddresses(value)));
}

}  // namespace

Dictionary ReadMSG::buildHeaderForMessage(const Dictionary& rawMessageEntries) {
    fullHeader_ = decodeElement(msg::kTransportHeaders, msg::kTypeUnicode, &rawMessageEntries);
    Dictionary header;
    // The key and text of the header being read; the text of a header that
    // is not kept is never gathered.
    icu::UnicodeString key;
    icu::UnicodeString value;
    const std::int32_t length = fullHeader_.length();
    for (std::int32_t start = 0; start <= length;) {
        std::int32_t end = fullHeader_.indexOf(u'\n', start);
        if (end < 0) end = length;
        // Borrowed from the header text, not copied.
        const icu::UnicodeString line = fullHeader_.tempSubString(start, end - start);
        start = end + 1;
        // A line that begins with a space (or is empty) has no first word and is skipped.
        std::int32_t space = line.indexOf(u' ');
        if (space < 0) space = line.length();
        if (space == 0) continue;
        // The first word, trimmed, ends with ":" where a header begins.
        const std::int32_t wordEnd = whitespaceAndNewlineSet().spanBack(line.getBuffer(), space, USET_SPAN_SIMPLE);
        if (wordEnd == 0 || line[wordEnd - 1] != u':') {
            if (!key.isEmpty()) value.append(u'\n').append(line);
            continue;
        }
        if (!key.isEmpty() && !value.isEmpty()) storeHeader(header, key, value);
        const std::int32_t colon = line.indexOf(u':');
        key = keyFor(line.tempSubString(0, colon));
        value = key.isEmpty() ? icu::UnicodeString() : trim(line.tempSubString(colon + 1), whitespaceAndNewlineSet());
    }
    // The header still pending here, the last of the text, is deliberately not stored.
    return header;
}

}  // namespace tessivo
