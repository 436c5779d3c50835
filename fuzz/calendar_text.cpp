// Free text through the date detector and the calendar time inference:
// subjects, recurrence descriptions and file names as any bytes may spell them.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz_helpers.h"
#include "tessivo/foundation/date_detector.h"
#include "tessivo/msg/calendar_inference.h"
#include "tessivo/msg/read_msg.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    const icu::UnicodeString text = fromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
    const Date base{1709596800};

    // The mention lies inside the text.
    if (const auto found = detectFirstDate(text, base))
        require(found->start >= 0 && found->length > 0 && found->start + found->length <= text.length());

    for (const auto& times : {parseTimeFromRecurrence(text, base), parseTimeFromSubject(text, base),
                              parseTimeFromFilename(text, base), inferTimeFromKeywords(text, base)})
        if (times) require(times->endTime.has_value() == times->duration.has_value());

    // A calendar item at midnight keeps every key it had.
    Dictionary item;
    item.set(u"Start Time", base);
    item.set(u"Subject", text);
    item.set(u"Recurrence Desc", text.length() % 2 ? text : icu::UnicodeString());
    ReadMSG reader;
    reader.setSourceFilename(text);
    reader.enrichCalendarData(item);
    require(item.contains(u"Start Time") && item.contains(u"Subject") && item.contains(u"Recurrence Desc"));
    return 0;
}
