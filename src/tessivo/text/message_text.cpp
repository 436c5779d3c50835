#include "tessivo/text/message_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <ctime>
#include <exception>

#include "tessivo/compound/mole.h"
#include "tessivo/foundation/file_bytes.h"
#include "tessivo/foundation/html_text.h"
#include "tessivo/mime/email_addresses.h"
#include "tessivo/mime/mime_parts.h"
#include "tessivo/mime/mime_reader.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/text/body_decoding.h"
#include "tessivo/text/outlook_body.h"
#include "tessivo/tnef/read_tnef.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::text {
namespace {

using importer::Outcome;

constexpr std::array<std::uint8_t, 8> kCompoundSignature = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::array<std::uint8_t, 4> kTnefSignature = {0x78, 0x9F, 0x3E, 0x22};

template <std::size_t N> bool startsWith(ByteView data, const std::array<std::uint8_t, N>& signature) {
    return data.size() >= N && std::equal(signature.begin(), signature.end(), data.begin());
}

MessageText withBody(Format format, importer::MessageMetadata facts, icu::UnicodeString body) {
    MessageText found;
    found.format = format;
    found.facts = std::move(facts);
    found.outcome = hasWords(body) ? Outcome::Text : Outcome::NoBody;
    if (found.outcome == Outcome::Text) found.body = std::move(body);
    return found;
}

MessageText notRead(Format format, Outcome outcome, std::string reason) {
    MessageText failed;
    failed.format = format;
    failed.outcome = outcome;
    failed.reason = std::move(reason);
    return failed;
}

MessageText outlookText(ByteView data) {
    int code = 0;
    Fault fault;
    const auto mole = Mole::initWithData(data, &code, &fault);
    if (!mole) return notRead(Format::Msg, Outcome::NotMessage, compoundOpenFailure(code, fault));
    icu::UnicodeString body = outlookBodyText(*mole);
    importer::MessageMetadata facts = importer::msgMetadata(data).value_or(importer::MessageMetadata{});
    return withBody(Format::Msg, std::move(facts), std::move(body));
}

const icu::UnicodeString* stringAt(const Dictionary& d, const char16_t* key) {
    const Value* value = d.get(key);
    return value ? value->string() : nullptr;
}

MessageText tnefText(ByteView data) {
    const auto reader = ReadTNEF::initWithData(data);
    if (!reader) return notRead(Format::Tnef, Outcome::NotMessage, "not a TNEF stream");
    const Dictionary& message = reader->returnFullDictionary();
    importer::MessageMetadata facts = importer::messageMetadata(message);
    for (auto& name : facts.attachmentNames) name = WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(name);
    icu::UnicodeString body;
    if (const auto* plain = stringAt(message, u"Body"); plain && hasWords(*plain)) {
        body = *plain;
    } else if (const auto* html = stringAt(message, u"HTML")) {
        std::string utf8;
        html->toUTF8String(utf8);
        body = htmlToPlainText(utf8).value_or(icu::UnicodeString());
    }
    return withBody(Format::Tnef, std::move(facts), WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(body));
}

// A part without a Content-Type is text/plain.
bool isPart(const Dictionary& part, const char16_t* format) {
    const auto* type = stringAt(part, u"contentType");
    const auto* subtype = stringAt(part, u"contentFormat");
    const bool typed = type && *type == u"text" && subtype && *subtype == format;
    const bool untypedPlain = !type && icu::UnicodeString(format) == u"plain";
    return (typed || untypedPlain) && part.contains(u"uaContent") && !part.contains(u"fileName");
}

// The charset parameter of the part whose body is body, read from the
// header block just before it in the message's text (the reader keeps only
// the parameter's name); "" when there is none.
std::string declaredCharset(const icu::UnicodeString& raw, std::u16string_view body) {
    const std::u16string_view text(raw.getBuffer(), static_cast<std::size_t>(raw.length()));
    const std::size_t bodyAt = body.empty() ? std::u16string_view::npos : text.find(body.substr(0, 200));
    if (bodyAt == std::u16string_view::npos) return {};
    const std::size_t headerEnd = text.rfind(u"\n\n", bodyAt);
    if (headerEnd == std::u16string_view::npos) return {};
    const std::size_t previous = headerEnd == 0 ? std::u16string_view::npos : text.rfind(u"\n\n", headerEnd - 1);
    const std::size_t headerStart = previous == std::u16string_view::npos ? 0 : previous + 2;
    std::string header;
    icu::UnicodeString(false, text.data() + headerStart, static_cast<std::int32_t>(headerEnd - headerStart)).toUTF8String(header);
    std::transform(header.begin(), header.end(), header.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::size_t at = header.find("charset=");
    if (at == std::string::npos) return {};
    std::size_t i = at + 8;
    while (i < header.size() && header[i] == '"') ++i;
    const std::size_t start = i;
    while (i < header.size() && (std::isalnum(static_cast<unsigned char>(header[i])) || header[i] == '-' || header[i] == '_')) ++i;
    return header.substr(start, i - start);
}

// The text of a part's body. The reader decoded the message's text as a
// whole, so a part without transfer encoding comes back as that text, and a
// part in base64 or quoted-printable as the bytes it encodes, decoded here
// by the charset it declares.
icu::UnicodeString partText(const Dictionary& mail, const Dictionary& part, bool html) {
    const Bytes bytes = mime::partBytes(part, "\n");
    const auto* encoding = stringAt(part, u"encodingType");
    std::optional<Encoding> charset = encodings::UTF8;
    if (encoding && *encoding != u"text") {
        const auto* raw = stringAt(mail, u"RawContentString");
        const auto* body = stringAt(part, u"uaContent");
        charset = raw && body && body->length() > 2
                      ? encodingOfCharset(declaredCharset(*raw, std::u16string_view(body->getBuffer() + 2, body->length() - 2)))
                      : std::nullopt;
    }
    if (html) return htmlText(bytes, {}, charset);
    if (charset)
        if (auto text = decode(bytes, *charset)) return WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(*text);
    return eightBitText(bytes, {});
}

// The first text/plain part that is no attachment, else the first text/html one.
icu::UnicodeString mimeBody(const Dictionary& mail) {
    std::vector<const Dictionary*> parts;
    if (const Value* list = mail.get(u"MailContent"); list && list->array())
        for (const Value& part : *list->array())
            if (part.dictionary()) parts.push_back(part.dictionary());
    parts.push_back(&mail);
    for (const bool html : {false, true})
        for (const Dictionary* part : parts)
            if (isPart(*part, html ? u"html" : u"plain"))
                if (icu::UnicodeString text = partText(mail, *part, html); hasWords(text)) return text;
    return {};
}

// Copies as the reader keeps them: "CC" as addresses, another spelling as the header's text.
std::vector<icu::UnicodeString> mimeCopies(const Dictionary& mail) {
    if (mail.contains(u"CC")) return {};  // messageMetadata has them
    for (const char16_t* key : {u"Cc", u"cc"})
        if (const auto* text = stringAt(mail, key)) {
            const Value list(processEmailAddresses(*text));
            return importer::addressTexts(&list);
        }
    return {};
}

// An Internet message starts with a header field ("Name: value") or an mbox "From " line.
bool startsLikeMessage(ByteView data) {
    std::size_t i = 0;
    while (i < data.size() && (data[i] == '\r' || data[i] == '\n')) ++i;
    if (data.size() - i >= 5 && std::equal(data.begin() + i, data.begin() + i + 5, "From ")) return true;
    const std::size_t nameStart = i;
    while (i < data.size() && data[i] > 0x20 && data[i] < 0x7F && data[i] != ':') ++i;
    return i > nameStart && i < data.size() && data[i] == ':';
}

MessageText mimeText(ByteView data) {
    if (!startsLikeMessage(data)) return notRead(Format::Mime, Outcome::NotMessage, "not a message: no header lines");
    const auto reader = MIMEReader::initWithData(data);
    if (!reader || reader->getDictionary().empty()) return notRead(Format::Mime, Outcome::NotMessage, "no message text");
    const Dictionary& mail = reader->getDictionary();
    importer::MessageMetadata facts = importer::messageMetadata(mail);
    if (const auto* subject = stringAt(mail, u"Subject")) {
        facts.title = WindowsCodePageWangersNSStringAdditions::decodeMimeHeader(*subject);
        if (const std::int32_t end = facts.title.indexOf(u'\n'); end >= 0) facts.title.truncate(end);
        facts.title.trim();
    }
    for (auto& copy : mimeCopies(mail)) facts.copies.push_back(std::move(copy));
    for (const Dictionary* part : mime::namedParts(mail))
        facts.attachmentNames.push_back(mime::attachmentName(*stringAt(*part, u"fileName")));
    return withBody(Format::Mime, std::move(facts), mimeBody(mail));
}

icu::UnicodeString joined(const std::vector<icu::UnicodeString>& items) {
    icu::UnicodeString text;
    for (const auto& item : items) {
        if (!text.isEmpty()) text += u", ";
        text += item;
    }
    return text;
}

icu::UnicodeString utcDate(Date date) {
    const std::time_t seconds = static_cast<std::time_t>(std::llround(date.secondsSince1970));
    std::tm parts{};
    if (!gmtime_r(&seconds, &parts)) return {};
    char text[40];
    const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
    return icu::UnicodeString::fromUTF8(std::string_view(text, length));
}

}  // namespace

const char* formatName(Format format) {
    switch (format) {
    case Format::Msg: return "msg";
    case Format::Tnef: return "tnef";
    case Format::Mime: return "mime";
    }
    return "mime";
}

bool hasCompoundSignature(ByteView data) { return startsWith(data, kCompoundSignature); }
bool hasTnefSignature(ByteView data) { return startsWith(data, kTnefSignature); }

Format detectFormat(ByteView data) {
    if (hasCompoundSignature(data)) return Format::Msg;
    if (hasTnefSignature(data)) return Format::Tnef;
    return Format::Mime;
}

icu::UnicodeString MessageText::headerBlock() const {
    icu::UnicodeString block;
    auto line = [&](const char16_t* label, const icu::UnicodeString& value) {
        if (!value.isEmpty()) block += icu::UnicodeString(label) + u": " + value + u"\n";
    };
    line(u"Subject", facts.title);
    line(u"From", facts.author);
    line(u"To", joined(facts.recipients));
    line(u"Cc", joined(facts.copies));
    if (facts.date) line(u"Date", utcDate(*facts.date));
    line(u"Attachments", joined(facts.attachmentNames));
    return block;
}

icu::UnicodeString MessageText::text() const {
    icu::UnicodeString block = headerBlock();
    if (block.isEmpty()) return body;
    if (!body.isEmpty()) block += u"\n" + body;
    return block;
}

MessageText messageText(ByteView fileBytes) {
    const Format format = detectFormat(fileBytes);
    try {
        if (fileBytes.empty()) return notRead(format, Outcome::NotMessage, "empty file");
        switch (format) {
        case Format::Msg: return outlookText(fileBytes);
        case Format::Tnef: return tnefText(fileBytes);
        case Format::Mime: return mimeText(fileBytes);
        }
    } catch (const std::exception& e) {
        return notRead(format, Outcome::NotMessage, e.what());
    }
    return notRead(format, Outcome::NotMessage, "unknown format");
}

MessageText messageText(const std::string& path, Bytes& buffer) {
    try {
        std::string reason;
        if (!readWholeFile(path, buffer, reason)) return notRead(Format::Mime, Outcome::Unreadable, "cannot open: " + reason);
        return messageText(buffer);
    } catch (const std::exception& e) {
        return notRead(Format::Mime, Outcome::Unreadable, e.what());
    }
}

}  // namespace tessivo::text
