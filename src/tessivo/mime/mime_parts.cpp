#include "tessivo/mime/mime_parts.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "tessivo/foundation/text.h"

namespace tessivo::mime {
namespace {

std::u16string_view viewOf(const icu::UnicodeString& s) {
    return {s.getBuffer(), static_cast<std::size_t>(s.length())};
}

// The body as the reader saw it, its lines joined with "\n": "uaContent"
// without the "\n" of the blank line that ends the headers and the "\n"
// that precedes the first body line.
std::u16string_view bodyOf(const Dictionary& part) {
    const icu::UnicodeString* text = part.string(u"uaContent");
    if (!text || text->length() < 2) return {};
    return viewOf(*text).substr(2);
}

void appendUtf8(Bytes& out, UChar32 c) {
    std::uint8_t buffer[U8_MAX_LENGTH];
    std::int32_t length = 0;
    U8_APPEND_UNSAFE(buffer, length, c);
    out.insert(out.end(), buffer, buffer + length);
}

// Text as UTF-8 with each "\n" written as lineBreak.
Bytes textBytes(std::u16string_view text, std::string_view lineBreak) {
    Bytes out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        UChar32 c;
        U16_NEXT(text.data(), i, text.size(), c);
        if (c == u'\n')
            out.insert(out.end(), lineBreak.begin(), lineBreak.end());
        else
            appendUtf8(out, c);
    }
    return out;
}

int base64Value(char16_t c) {
    if (c >= u'A' && c <= u'Z') return c - u'A';
    if (c >= u'a' && c <= u'z') return c - u'a' + 26;
    if (c >= u'0' && c <= u'9') return c - u'0' + 52;
    if (c == u'+') return 62;
    if (c == u'/') return 63;
    return -1;
}

int hexValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    return -1;
}

bool isBlank(char16_t c) { return c == u' ' || c == u'\t'; }

// One line of quoted-printable text; true when it ends in a soft line break.
bool decodeQuotedPrintableLine(std::u16string_view line, Bytes& out) {
    while (!line.empty() && isBlank(line.back())) line.remove_suffix(1);
    const bool soft = !line.empty() && line.back() == u'=';
    if (soft) line.remove_suffix(1);
    for (std::size_t i = 0; i < line.size();) {
        if (line[i] == u'=' && i + 2 < line.size()) {
            const int high = hexValue(line[i + 1]);
            const int low = hexValue(line[i + 2]);
            if (high >= 0 && low >= 0) {
                out.push_back(static_cast<std::uint8_t>(high << 4 | low));
                i += 3;
                continue;
            }
        }
        UChar32 c;
        U16_NEXT(line.data(), i, line.size(), c);
        appendUtf8(out, c);
    }
    return soft;
}

}  // namespace

std::vector<const Dictionary*> namedParts(const Dictionary& mail) {
    std::vector<const Dictionary*> parts;
    const Value* list = mail.get(u"MailContent");
    if (!list) {
        if (mail.contains(u"fileName")) parts.push_back(&mail);
        return parts;
    }
    for (const Value& part : *list->array())
        if (part.dictionary()->contains(u"fileName")) parts.push_back(part.dictionary());
    return parts;
}

std::string_view messageLineBreak(const Dictionary& mail) {
    const icu::UnicodeString* raw = mail.string(u"RawContentString");
    if (!raw) return "\n";
    const std::u16string_view text = viewOf(*raw);
    const std::size_t at = text.find_first_of(u"\r\n");
    return at != std::u16string_view::npos && text.substr(at, 2) == u"\r\n" ? "\r\n" : "\n";
}

Bytes partBytes(const Dictionary& part, std::string_view lineBreak) {
    const std::u16string_view body = bodyOf(part);
    const icu::UnicodeString* encoding = part.string(u"encodingType");
    if (encoding && *encoding == u"base64") return decodeBase64Exactly(body);
    if (encoding && *encoding == u"quoted-printable") return decodeQuotedPrintableExactly(body, lineBreak);
    return textBytes(body, lineBreak);
}

Bytes decodeBase64Exactly(std::u16string_view text) {
    Bytes out;
    out.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t group = 0;
    int count = 0;
    int padding = 0;
    for (const char16_t c : text) {
        const int value = base64Value(c);
        if (value >= 0) {
            group = group << 6 | static_cast<std::uint32_t>(value);
            padding = 0;
            if (++count == 4) {
                out.push_back(static_cast<std::uint8_t>(group >> 16));
                out.push_back(static_cast<std::uint8_t>(group >> 8));
                out.push_back(static_cast<std::uint8_t>(group));
                group = 0;
                count = 0;
            }
        } else if (c == u'=' && count >= 2 && count + ++padding >= 4) {
            break;
        }
    }
    if (count == 2) out.push_back(static_cast<std::uint8_t>(group >> 4));
    if (count == 3) {
        out.push_back(static_cast<std::uint8_t>(group >> 10));
        out.push_back(static_cast<std::uint8_t>(group >> 2));
    }
    return out;
}

Bytes decodeQuotedPrintableExactly(std::u16string_view text, std::string_view lineBreak) {
    Bytes out;
    out.reserve(text.size());
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find(u'\n', start);
        const bool last = end == std::u16string_view::npos;
        const bool soft = decodeQuotedPrintableLine(text.substr(start, last ? text.npos : end - start), out);
        if (last) break;
        if (!soft) out.insert(out.end(), lineBreak.begin(), lineBreak.end());
        start = end + 1;
    }
    return out;
}

icu::UnicodeString attachmentName(const icu::UnicodeString& fileName) {
    const std::u16string_view name = viewOf(fileName);
    auto isTokenCharacter = [](char16_t c) {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'-' ||
               c == u'_' || c == u'*';
    };
    for (std::size_t at = name.find(u';'); at != std::u16string_view::npos; at = name.find(u';', at + 1)) {
        // "; token=" starts a parameter; a ";" inside the name does not.
        std::size_t i = at + 1;
        while (i < name.size() && isBlank(name[i])) ++i;
        const std::size_t token = i;
        while (i < name.size() && isTokenCharacter(name[i])) ++i;
        if (i == token) continue;
        while (i < name.size() && isBlank(name[i])) ++i;
        if (i < name.size() && name[i] == u'=')
            return trim(icu::UnicodeString(fileName, 0, static_cast<std::int32_t>(at)), whitespaceAndNewlineSet());
    }
    return fileName;
}

}  // namespace tessivo::mime
