// The "tnef" row of the format table: TNEF streams (winmail.dat) through ReadTNEF.
//
// Attachments are the message dictionary's "AttachmentList" with exactly
// their bytes. A name found by the raw scan keeps the NUL that ends it in the
// stream; trailing NULs are dropped here, so that "report.pdf\0" is saved as
// "report.pdf" and not made harmless into "report.pdf_".
#include "message_formats.h"
#include "tessivo/tnef/read_tnef.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::cli {
namespace {

const std::string kNotTnef = "not a TNEF stream";

ReadResult<Dictionary> dictionaryOf(ByteView data, const std::string&) {
    auto reader = ReadTNEF::initWithData(data);
    if (!reader) return kNotTnef;
    return reader->returnFullDictionary();
}

ReadResult<Dictionary> summaryOf(ByteView data, const std::string&) {
    auto summary = ReadTNEF::getSummaryForMessage(data);
    if (!summary) return kNotTnef;
    return std::move(*summary);
}

ReadResult<std::vector<MessageAttachment>> attachmentsOf(ByteView data) {
    std::vector<MessageAttachment> attachments;
    for (Value& item : ReadTNEF::getAttachmentListForMessage(data)) {
        Dictionary* attachment = item.as<Dictionary>();
        if (!attachment) continue;
        MessageAttachment out;
        if (const Value* name = attachment->get(u"name"); name && name->string())
            out.name = WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(*name->string());
        if (Value* bytes = attachment->get(u"data"); bytes && bytes->bytes()) out.data = std::move(*bytes->as<Bytes>());
        attachments.push_back(std::move(out));
    }
    return attachments;
}

}  // namespace

const MessageReader kTnefReader{dictionaryOf, summaryOf, attachmentsOf};

}  // namespace tessivo::cli
