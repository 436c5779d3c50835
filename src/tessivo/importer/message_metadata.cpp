#include "tessivo/importer/message_metadata.h"

#include <algorithm>

#include "tessivo/foundation/date_format.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo::importer {
namespace {

// "-" and "" both mean that the reader found nothing.
bool known(const icu::UnicodeString* text) { return text && !text->isEmpty() && *text != u"-"; }

icu::UnicodeString addressText(const Value& address) {
    const Dictionary* d = address.dictionary();
    if (!d) return address.string() ? *address.string() : icu::UnicodeString();
    const icu::UnicodeString* name = d->string(u"Name");
    const icu::UnicodeString* mail = d->string(u"Address");
    if (!known(name)) return known(mail) ? *mail : icu::UnicodeString();
    if (!known(mail) || *name == *mail) return *name;
    return *name + u" <" + *mail + u">";
}

void appendAddresses(const Value* list, std::vector<icu::UnicodeString>& out) {
    if (!list || !list->array()) return;
    for (const Value& address : *list->array())
        if (icu::UnicodeString text = addressText(address); !text.isEmpty()) out.push_back(std::move(text));
}

// The readers write dates as text: "MIMEDate" with its zone offset; "Date"
// as the delivery time in the process time zone (with two spaces before the
// year in the full dictionary, one in summaries), or a header's raw date.
std::optional<Date> messageDate(const Dictionary& message) {
    if (const auto* mime = message.string(u"MIMEDate"); known(mime))
        if (auto date = TimeWangers::dateFromMIMEString(*mime)) return date;
    const auto* text = message.string(u"Date");
    if (!known(text)) return std::nullopt;
    for (const char16_t* pattern : {ReadMSG::kDatePattern, ReadMSG::kSummaryDatePattern})
        if (auto formatter = DateFormatter::withPattern(pattern))
            if (auto date = formatter->parse(*text)) return date;
    return TimeWangers::dateFromMIMEString(*text);
}

}  // namespace

std::vector<icu::UnicodeString> addressTexts(const Value* list) {
    std::vector<icu::UnicodeString> texts;
    appendAddresses(list, texts);
    return texts;
}

MessageMetadata messageMetadata(const Dictionary& message) {
    MessageMetadata facts;
    if (const auto* subject = message.string(u"Subject"); known(subject)) facts.title = *subject;
    if (const Value* from = message.get(u"From")) {
        std::vector<icu::UnicodeString> senders;
        appendAddresses(from, senders);
        if (senders.empty() && from->string()) senders.push_back(*from->string());
        if (!senders.empty() && senders.front() != u"-") facts.author = senders.front();
    }
    appendAddresses(message.get(u"To"), facts.recipients);
    if (facts.recipients.empty()) appendAddresses(message.get(u"TO"), facts.recipients);
    // A recipient table lists copies among the recipients; a header lists them apart.
    std::vector<icu::UnicodeString> copies;
    appendAddresses(message.get(u"CC"), copies);
    for (auto& copy : copies)
        if (std::find(facts.recipients.begin(), facts.recipients.end(), copy) == facts.recipients.end())
            facts.copies.push_back(std::move(copy));
    facts.date = messageDate(message);
    if (const Value* list = message.get(u"AttachmentList"); list && list->array())
        for (const Value& attachment : *list->array())
            if (const Dictionary* d = attachment.dictionary())
                if (const auto* name = d->string(u"name"); known(name)) facts.attachmentNames.push_back(*name);
    return facts;
}

std::optional<MessageMetadata> msgMetadata(ByteView fileBytes) {
    auto reader = ReadMSG::initWithData(fileBytes, nullptr, ReadMSG::Bodies::Skip);
    if (!reader) return std::nullopt;
    return messageMetadata(std::move(*reader).returnFullDictionary());
}

}  // namespace tessivo::importer
