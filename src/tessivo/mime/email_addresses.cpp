// Address lists of mail headers into address dictionaries.
#include "tessivo/mime/email_addresses.h"

#include <vector>

#include "tessivo/foundation/text.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo {
namespace {

// Adds a piece, trimmed, unless it is empty or the list is full.
void addPiece(std::vector<icu::UnicodeString>& pieces, const icu::UnicodeString& piece) {
    if (pieces.size() >= kMaxAddresses) return;
    icu::UnicodeString t = trim(piece, whitespaceAndNewlineSet());
    if (!t.isEmpty()) pieces.push_back(std::move(t));
}

// Pieces between commas that stand outside double quotes.
std::vector<icu::UnicodeString> splitOutsideQuotes(const icu::UnicodeString& value) {
    std::vector<icu::UnicodeString> pieces;
    icu::UnicodeString current;
    bool quoted = false;
    for (std::int32_t i = 0; i < value.length() && pieces.size() < kMaxAddresses; ++i) {
        const char16_t c = value[i];
        if (c == u'\\' && i + 1 < value.length()) {
            current.append(c).append(value[++i]);
        } else if (c == u'"') {
            quoted = !quoted;
            current.append(c);
        } else if (c == u',' && !quoted) {
            addPiece(pieces, current);
            current.remove();
        } else {
            current.append(c);
        }
    }
    addPiece(pieces, current);
    return pieces;
}

// Pieces between all commas.
std::vector<icu::UnicodeString> splitAtCommas(const icu::UnicodeString& value) {
    std::vector<icu::UnicodeString> pieces;
    std::int32_t start = 0;
    for (std::int32_t at = value.indexOf(u','); at >= 0 && pieces.size() < kMaxAddresses;
         at = value.indexOf(u',', start)) {
        addPiece(pieces, value.tempSubString(start, at - start));
        start = at + 1;
    }
    addPiece(pieces, value.tempSubString(start));
    return pieces;
}

// A display name without its surrounding quotes and backslash escapes, its
// encoded words decoded.
icu::UnicodeString cleanDisplayName(const icu::UnicodeString& text) {
    icu::UnicodeString name = trim(text, whitespaceAndNewlineSet());
    if (name.length() >= 2 && name[0] == u'"' && name[name.length() - 1] == u'"') {
        name = icu::UnicodeString(name, 1, name.length() - 2);
    }
    icu::UnicodeString unescaped;
    for (std::int32_t i = 0; i < name.length(); ++i) {
        if (name[i] == u'\\' && i + 1 < name.length()) ++i;
        unescaped.append(name[i]);
    }
    return trim(WindowsCodePageWangersNSStringAdditions::decodeMimeHeader(unescaped), whitespaceAndNewlineSet());
}

}  // namespace

Array processEmailAddresses(const std::optional<icu::UnicodeString>& value) {
    Array list;
    if (!value || value->isEmpty()) return list;
    static const icu::UnicodeSet kBreaks = [] {
        icu::UnicodeSet set;
        set.add(u'\n').add(u'\r').add(u'\f').add(u'\t');
        set.freeze();
        return set;
    }();
    icu::UnicodeString text = removeCharacters(*value, kBreaks);
    text = replaceAll(text, u"  ", u"");

    std::vector<icu::UnicodeString> pieces;
    if (text.length() <= kMaxQuotedSplitLength) pieces = splitOutsideQuotes(text);
    if (pieces.empty()) pieces = splitAtCommas(text);
    list.reserve(pieces.size());
    for (const icu::UnicodeString& piece : pieces) list.emplace_back(createEmailDictionary(piece));
    return list;
}

Dictionary createEmailDictionary(const icu::UnicodeString& text) {
    const icu::UnicodeString piece = trim(text, whitespaceAndNewlineSet());
    const std::int32_t open = piece.lastIndexOf(u'<');
    const std::int32_t close = open >= 0 ? piece.indexOf(u'>', open) : -1;
    if (open >= 0 && close > open) {
        const icu::UnicodeString address = trim(icu::UnicodeString(piece, open + 1, close - open - 1),
                                                whitespaceAndNewlineSet());
        return buildAddressFromTags(cleanDisplayName(icu::UnicodeString(piece, 0, open)), address);
    }
    // "address (Name)": the comment form older mail programs write.
    const std::int32_t paren = piece.indexOf(u'(');
    if (paren > 0 && piece.endsWith(u")") && piece.tempSubString(0, paren).indexOf(u'@') >= 0) {
        const icu::UnicodeString address = trim(icu::UnicodeString(piece, 0, paren), whitespaceAndNewlineSet());
        return buildAddressFromTags(cleanDisplayName(icu::UnicodeString(piece, paren + 1, piece.length() - paren - 2)),
                                    address);
    }
    if (piece.indexOf(u'@') >= 0 && piece.indexOf(u' ') < 0 && piece.indexOf(u'"') < 0) {
        return buildAddressFromTags(u"", piece);
    }
    return buildAddressFromTags(cleanDisplayName(piece), u"");
}

Dictionary buildAddressFromTags(const icu::UnicodeString& name, const icu::UnicodeString& address) {
    // An empty name with an address, and neither, both come out as given:
    // "" is a name, never a missing one.
    Dictionary d;
    d.set(u"Name", Value(name));
    d.set(u"Address", Value(address));
    return d;
}

}  // namespace tessivo
