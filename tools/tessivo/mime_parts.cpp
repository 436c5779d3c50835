#include "mime_parts.h"

#include "tessivo/mime/mime_strings.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/date_strings.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/string_wangers.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo::cli {

Dictionary mimeSummary(const Dictionary& mail) {
    namespace text = WindowsCodePageWangersNSStringAdditions;
    auto orDash = [](icu::UnicodeString s) { return Value(s.isEmpty() ? icu::UnicodeString(u"-") : std::move(s)); };
    Dictionary summary;

    icu::UnicodeString subject;
    if (const icu::UnicodeString* raw = mail.string(u"Subject")) {
        subject = text::decodeMimeHeader(*raw);
        if (const std::int32_t end = subject.indexOf(u'\n'); end >= 0) subject.truncate(end);
        subject = text::zapGremlins(subject);
    }
    summary.set(u"Subject", orDash(std::move(subject)));

    icu::UnicodeString body;
    std::vector<const Dictionary*> candidates;
    if (const Value* list = mail.get(u"MailContent"))
        for (const Value& part : *list->array()) candidates.push_back(part.dictionary());
    candidates.push_back(&mail);
    for (const Dictionary* part : candidates) {
        const icu::UnicodeString* type = part->string(u"contentType");
        const icu::UnicodeString* format = part->string(u"contentFormat");
        if (!type || *type != u"text" || !format || *format != u"plain" || !part->contains(u"uaContent")) continue;
        body = text::zapGremlins(StringWangers::stringFromNSData(partBytes(*part, "\n")));
        break;
    }
    summary.set(u"Body", orDash(std::move(body)));

    icu::UnicodeString from;
    if (const Value* list = mail.get(u"From"); list && list->array() && !list->array()->empty()) {
        const Dictionary& first = *list->array()->front().dictionary();
        from = *first.string(u"Name");
        if (from.isEmpty()) from = *first.string(u"Address");
    }
    summary.set(u"From", orDash(std::move(from)));

    const std::optional<Date> date = TimeWangers::dateFromMIMEString(
        mail.string(u"Date") ? std::optional(*mail.string(u"Date")) : std::nullopt);
    for (const auto& [key, pattern] :
         {std::pair{u"Date", ReadMSG::kSummaryDatePattern}, std::pair{u"MIMEDate", ReadMSG::kMIMEDatePattern}}) {
        const auto written = date ? convertDateToStringWithFormat(*date, pattern) : std::nullopt;
        summary.set(key, orDash(written.value_or(icu::UnicodeString())));
    }
    return summary;
}

}  // namespace tessivo::cli
