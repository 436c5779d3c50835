#include "tessivo/text/mime_body.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tessivo/mime/mime_parts.h"
#include "tessivo/text/body_decoding.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::text {
namespace {

// A part without a Content-Type is text/plain.
bool isPart(const Dictionary& part, const char16_t* format) {
    const auto* type = part.string(u"contentType");
    const auto* subtype = part.string(u"contentFormat");
    const bool typed = type && *type == u"text" && subtype && *subtype == format;
    const bool untypedPlain = !type && icu::UnicodeString(format) == u"plain";
    return (typed || untypedPlain) && part.contains(u"uaContent") && !part.contains(u"fileName");
}

// Where the blank line before position at starts ("\n\n" or "\n\r\n": the
// reader's text keeps the message's line breaks), or npos.
std::size_t blankLineBefore(std::u16string_view text, std::size_t at) {
    const std::size_t lf = text.rfind(u"\n\n", at);
    const std::size_t crlf = text.rfind(u"\n\r\n", at);
    if (lf == std::u16string_view::npos) return crlf;
    if (crlf == std::u16string_view::npos) return lf;
    return std::max(lf, crlf);
}

// The charset parameter of the part whose body is body, read from the
// header block just before it in the message's text (the reader keeps only
// the parameter's name); "" when there is none.
std::string declaredCharset(const icu::UnicodeString& raw, std::u16string_view body) {
    const std::u16string_view text(raw.getBuffer(), static_cast<std::size_t>(raw.length()));
    const std::size_t bodyAt = body.empty() ? std::u16string_view::npos : text.find(body.substr(0, 200));
    if (bodyAt == std::u16string_view::npos) return {};
    const std::size_t headerEnd = blankLineBefore(text, bodyAt);
    if (headerEnd == std::u16string_view::npos) return {};
    const std::size_t previous = headerEnd == 0 ? std::u16string_view::npos : blankLineBefore(text, headerEnd - 1);
    const std::size_t headerStart = previous == std::u16string_view::npos ? 0 : previous + 2;
    std::string header;
    icu::UnicodeString(false, text.data() + headerStart, static_cast<std::int32_t>(headerEnd - headerStart)).toUTF8String(header);
    std::transform(header.begin(), header.end(), header.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::size_t at = header.rfind("charset=");
    if (at == std::string::npos) return {};
    std::size_t i = at + 8;
    while (i < header.size() && header[i] == '"') ++i;
    const std::size_t start = i;
    while (i < header.size() && (std::isalnum(static_cast<unsigned char>(header[i])) || header[i] == '-' || header[i] == '_')) ++i;
    return header.substr(start, i - start);
}

bool isUnicode(Encoding e) {
    using namespace encodings;
    return e == UTF8 || e == UTF16 || e == UTF16BE || e == UTF16LE || e == UTF32 || e == UTF32BE || e == UTF32LE;
}

bool isAscii(ByteView bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b < 0x80; });
}

struct PartBytes {
    Bytes bytes;
    std::optional<Encoding> charset;
};

// A part's bytes and the charset to read them by. Base64 and
// quoted-printable parts give the bytes they encode; a part without
// transfer encoding gives its text as UTF-8, or its bytes in the file when
// the message was read with a legacy encoding and the part declares a
// charset of its own.
PartBytes bytesOfPart(const Dictionary& mail, const Dictionary& part, Encoding whole) {
    PartBytes out{mime::partBytes(part, "\n"), encodings::UTF8};
    const auto* encoding = part.string(u"encodingType");
    const bool transferEncoded = encoding && *encoding != u"text";
    if (!transferEncoded && (isAscii(out.bytes) || isUnicode(whole))) return out;
    const auto* raw = mail.string(u"RawContentString");
    const auto* body = part.string(u"uaContent");
    const std::optional<Encoding> declared =
        raw && body && body->length() > 2
            ? encodingOfCharset(declaredCharset(*raw, std::u16string_view(body->getBuffer() + 2, body->length() - 2)))
            : std::nullopt;
    if (transferEncoded) {
        out.charset = declared;
    } else if (declared && !isUnicode(*declared)) {
        const std::string_view utf8(reinterpret_cast<const char*>(out.bytes.data()), out.bytes.size());
        if (auto bytes = encode(icu::UnicodeString::fromUTF8(utf8), whole)) out = {std::move(*bytes), declared};
    }
    return out;
}

icu::UnicodeString partText(const Dictionary& mail, const Dictionary& part, bool html, Encoding whole) {
    const PartBytes part8 = bytesOfPart(mail, part, whole);
    if (html) return htmlText(part8.bytes, {}, part8.charset);
    if (part8.charset)
        if (auto text = decode(part8.bytes, *part8.charset)) return WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(*text);
    return eightBitText(part8.bytes, {});
}

}  // namespace

icu::UnicodeString mimeBodyText(const Dictionary& mail, Encoding messageEncoding) {
    std::vector<const Dictionary*> parts;
    if (const Value* list = mail.get(u"MailContent"); list && list->array())
        for (const Value& part : *list->array())
            if (part.dictionary()) parts.push_back(part.dictionary());
    parts.push_back(&mail);
    for (const bool html : {false, true})
        for (const Dictionary* part : parts)
            if (isPart(*part, html ? u"html" : u"plain"))
                if (icu::UnicodeString text = partText(mail, *part, html, messageEncoding); hasWords(text)) return text;
    return {};
}

}  // namespace tessivo::text
