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
#include "tessivo/text/mime_body.h"
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


MessageText tnefText(ByteView data) {
    const auto reader = ReadTNEF::initWithData(data);
    if (!reader) return notRead(Format::Tnef, Outcome::NotMessage, "not a TNEF stream");
    const Dictionary& message = reader->returnFullDictionary();
    importer::MessageMetadata facts = importer::messageMetadata(message);
    for (auto& name : facts.attachmentNames) name = WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(name);
    icu::UnicodeString body;
    if (const auto* plain = message.string(u"Body"); plain && hasWords(*plain)) {
        body = *plain;
    } else if (const auto* html = message.string(u"HTML")) {
        std::string utf8;
        html->toUTF8String(utf8);
        body = htmlToPlainText(utf8).value_or(icu::UnicodeString());
    }
    return withBody(Format::Tnef, std::move(facts), WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(body));
}

// Copies as the reader keeps them: "CC" as addresses, another spelling as the header's text.
std::vector<icu::UnicodeString> mimeCopies(const Dictionary& mail) {
    if (mail.contains(u"CC")) return {};  // messageMetadata has them
    for (const char16_t* key : {u"Cc", u"cc"})
        if (const auto* text = mail.string(key)) {
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

// The reader never reads a message's first line (an mbox "From " line in
// the files it was made for). A message that starts with a header field is
// read with a line break before it, so that the field is not lost.
Bytes withLineBefore(ByteView data) {
    const auto firstBreak = std::find(data.begin(), data.end(), '\n');
    const bool crlf = firstBreak != data.begin() && firstBreak != data.end() && *(firstBreak - 1) == '\r';
    Bytes out;
    out.reserve(data.size() + 2);
    if (crlf) out.push_back('\r');
    out.push_back('\n');
    out.insert(out.end(), data.begin(), data.end());
    return out;
}

// Whether the first line is a header field rather than an mbox "From " line or an empty line.
bool startsWithHeaderField(ByteView data) {
    constexpr std::string_view from = "From ";
    const bool mbox = data.size() >= from.size() && std::equal(from.begin(), from.end(), data.begin());
    return !data.empty() && data[0] != '\r' && data[0] != '\n' && !mbox;
}

MessageText mimeText(ByteView data) {
    if (!startsLikeMessage(data)) return notRead(Format::Mime, Outcome::NotMessage, "not a message: no header lines");
    const Bytes padded = startsWithHeaderField(data) ? withLineBefore(data) : Bytes();
    const ByteView readBytes = padded.empty() ? data : ByteView(padded);
    const auto reader = MIMEReader::initWithData(readBytes);
    if (!reader || reader->getDictionary().empty()) return notRead(Format::Mime, Outcome::NotMessage, "no message text");
    const Dictionary& mail = reader->getDictionary();
    importer::MessageMetadata facts = importer::messageMetadata(mail);
    if (const auto* subject = mail.string(u"Subject")) {
        facts.title = WindowsCodePageWangersNSStringAdditions::decodeMimeHeader(*subject);
        if (const std::int32_t end = facts.title.indexOf(u'\n'); end >= 0) facts.title.truncate(end);
        facts.title.trim();
    }
    for (auto& copy : mimeCopies(mail)) facts.copies.push_back(std::move(copy));
    for (const Dictionary* part : mime::namedParts(mail))
        facts.attachmentNames.push_back(mime::attachmentName(*part->string(u"fileName")));
    return withBody(Format::Mime, std::move(facts), mimeBodyText(mail, reader->rawContentEncoding()));
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
