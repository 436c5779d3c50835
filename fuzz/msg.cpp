// Whole .msg files through the message reader: the message dictionary, the
// summary, and the contact, appointment and calendar paths whatever the
// message class says, with the invariants their callers rely on.
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/foundation/log.h"
#include "tessivo/msg/read_msg.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tessivo;
    using fuzz::require;
    static const bool silenced = (silenceLog(), true);
    (void)silenced;
    const ByteView bytes(data, size);
    const icu::UnicodeString fileName(u"meeting 0930-1045.msg");

    if (auto reader = ReadMSG::initWithData(bytes)) {
        reader->setSourceFilename(fileName);
        reader->reEnrichCalendarDataIfNeeded();
        const Dictionary message = std::move(*reader).returnFullDictionary();
        // Every message has these, whatever the damage.
        require(message.contains(u"From") && message.contains(u"To") && message.contains(u"Header"));
        // An attachment's size is the size of its data.
        if (const Value* list = message.get(u"AttachmentList")) {
            for (const auto& item : *list->array()) {
                const Value* payload = item.dictionary()->get(u"data");
                require(!payload || payload->bytes()->size() == item.dictionary()->get(u"size")->toUInt64());
            }
        }
    }
    require(ReadMSG::getSummaryForMessage(bytes).size() == 5);

    if (const auto mole = Mole::initWithData(bytes)) {
        const Dictionary entries = mole->getOLEDictionary();
        // Contact fields are non-empty strings.
        for (const auto& [key, value] : ReadMSG::buildContactsForMessage(entries))
            require(value.string() && !value.string()->isEmpty());
        Dictionary item = ReadMSG::buildAppointmentForMessage(entries);
        ReadMSG reader;
        reader.setSourceFilename(fileName);
        reader.enrichCalendarData(item);
        for (const char16_t* key : {u"Start Time", u"End Time"})
            if (const Value* time = item.get(key)) require(time->is<Date>());
    }
    return 0;
}
