// The "mime" row of the format table: Internet messages (.eml, and whatever
// is neither a compound document nor TNEF) through MIMEReader.
//
// The dictionary is the reader's as it stands. Attachments are the parts
// that have a "fileName", each saved with exactly the bytes its body encodes
// (mime_parts.h).
#include "message_formats.h"
#include "mime_parts.h"
#include "tessivo/mime/mime_reader.h"

namespace tessivo::cli {
namespace {

ReadResult<Dictionary> read(ByteView data) {
    const auto reader = MIMEReader::initWithData(data);
    if (!reader || reader->getDictionary().empty()) return std::string("no message text");
    return reader->getDictionary();
}

ReadResult<Dictionary> dictionaryOf(ByteView data, const std::string&) { return read(data); }

ReadResult<Dictionary> summaryOf(ByteView data, const std::string&) {
    auto mail = read(data);
    if (auto* reason = std::get_if<std::string>(&mail)) return *reason;
    return mimeSummary(std::get<Dictionary>(mail));
}

ReadResult<std::vector<MessageAttachment>> attachmentsOf(ByteView data) {
    const auto reader = MIMEReader::initWithData(data);
    const Dictionary& mail = reader->getDictionary();
    const std::string_view lineBreak = messageLineBreak(mail);
    std::vector<MessageAttachment> attachments;
    for (const Dictionary* part : namedParts(mail)) {
        MessageAttachment attachment;
        attachment.name = attachmentName(*part->get(u"fileName")->string());
        attachment.data = partBytes(*part, lineBreak);
        const Value* type = part->get(u"contentType");
        const Value* format = part->get(u"contentFormat");
        if (type && format) attachment.mimeType = *type->string() + u"/" + *format->string();
        attachments.push_back(std::move(attachment));
    }
    return attachments;
}

}  // namespace

const MessageReader kMimeReader{dictionaryOf, summaryOf, attachmentsOf};

}  // namespace tessivo::cli
