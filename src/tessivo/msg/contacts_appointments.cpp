// The fields of contact and appointment messages: table-driven look-ups of
// direct properties and of named properties through the "Streams" map.
#include <array>
#include <string_view>

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/text.h"
#include "tessivo/msg/property_tags.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo {

namespace {

using namespace msg;

// IDs up to this one are read directly; later ones are numeric names.
constexpr std::uint32_t kLastDirectId = 0x8000;

struct ContactField {
    const char16_t* name;
    std::array<std::uint32_t, 4> ids;  // in the order they are tried; 0 ends a shorter list
};
constexpr std::array<ContactField, 32> kContactFields = {{
    {u"Company Name", {0x3A16}},
    {u"Contact Email 1", {0x801C, 0x8083, 0x8011, 0x802B}},
    {u"Contact Email 2", {0x8093}},
    {u"Contact Email 3", {0x80A4}},
    {u"Department", {0x3A18}},
    {u"Given Name", {0x3A06}},
    {u"Home City", {0x3A59}},
    {u"Home Country", {0x3A5A}},
    {u"Home Fax", {0x3A25}},
    {u"Home Phone", {0x3A09}},
    {u"Home Postcode", {0x3A5B}},
    {u"Home Province", {0x3A5C}},
    {u"Home Street", {0x3A5D}},
    {u"Homepage", {0x3A51}},
    {u"Initials", {0x3A0A}},
    {u"Middle Name", {0x3A44}},
    {u"Mobile Phone", {0x3A1C}},
    {u"Nickname", {0x3A4F}},
    {u"PO Box", {0x3A2B}},
    {u"Post Address", {0x3A15}},
    {u"Profession", {0x3A46}},
    {u"Spouse", {0x3A48}},
    {u"Surname", {0x3A11}},
    {u"Title", {0x3A17}},
    {u"Work City", {0x3A19}},
    {u"Work Country", {0x3A26}},
    {u"Work Fax", {0x3A24}},
    {u"Work Locality", {0x3A27}},
    {u"Work Phone", {0x3A08}},
    {u"Work Postcode", {0x3A2A}},
    {u"Work State", {0x3A28}},
    {u"Work Street", {0x3A29}},
}};
// Each line of a postal address after the first is indented by five tabs.
constexpr std::u16string_view kPostAddress = u"Post Address";
constexpr const char16_t* kPostAddressLineBreak = u"\n\t\t\t\t\t";

// Appointment fields by kind: the key and its numeric name. All of them,
// 0x0060 and 0x0061 included, go through the named-property map.
constexpr std::array<ReadMSG::AppointmentField, 9> kAppointmentStrings = {{
    {u"Location Text", 0x8208}, {u"Timezone Text", 0x8234}, {u"Show As", 0x8205},
    {u"Location", 0x8208}, {u"Label", 0x8214}, {u"Recurrence Data", 0x8216},
    {u"Recurrence Desc", 0x8232}, {u"Timezone", 0x8234}, {u"Reminder Minutes", 0x8501},
}};
constexpr std::array<ReadMSG::AppointmentField, 11> kAppointmentTimes = {{
    {u"Common Start", 0x8516}, {u"Reminder Set", 0x8503}, {u"Reminder Time", 0x8502},
    {u"UTC Start", 0x8268}, {u"UTC End", 0x8269}, {u"Start Time", 0x820D},
    {u"End Time", 0x820E}, {u"Recurrence Start", 0x8235}, {u"Recurrence End", 0x8236},
    {u"Appt Start Time", 0x0060}, {u"Appt End Time", 0x0061},
}};
constexpr std::array<ReadMSG::AppointmentField, 4> kAppointmentFlags = {{
    {u"All Day Flag", 0x8215}, {u"Reminder Flag", 0x8503}, {u"Alarm Flag", 0x851E}, {u"Recurrence Flag", 0x8223},
}};
constexpr std::array<ReadMSG::AppointmentField, 3> kAppointmentIntegers = {{
    {u"Reminder Minutes", 0x8501}, {u"Duration", 0x8213}, {u"Recurrence Type", 0x8231},
}};
constexpr std::array<const char16_t*, 5> kRecurrenceTypes = {u"None", u"Daily", u"Weekly", u"Monthly", u"Yearly"};
// Where times land: an end-list time goes to "Start Time" and a start-list
// time to "End Time" while those are free (crossed on purpose; the calendar
// time inference refines them afterwards).
constexpr std::array<const char16_t*, 3> kEndFields = {u"UTC End", u"End Time", u"Appt End Time"};
constexpr std::array<const char16_t*, 4> kStartFields = {u"Common Start", u"UTC Start", u"Start Time",
                                                         u"Appt Start Time"};
// The fixed-length look-up answers 8 bytes; an integer is stored from 9 on,
// so never. The guard stays as it always was.
constexpr std::size_t kMinIntegerBytes = 9;
constexpr std::size_t kMinFlagBytes = 2;

const icu::UnicodeString kPrefix(kSubstgPrefix);

template <std::size_t N>
bool listed(const std::array<const char16_t*, N>& list, const icu::UnicodeString& name) {
    for (const char16_t* item : list)
        if (name == item) return true;
    return false;
}

std::optional<ByteView> propertyStream(const Dictionary& entries) {
    const Value* v = entries.get(kPropertiesStream);
    if (const Bytes* bytes = v ? v->bytes() : nullptr) return ByteView(*bytes);
    return std::nullopt;
}

}  // namespace

Dictionary ReadMSG::buildContactsForMessage(const Dictionary& rawMessageEntries) {
    Dictionary contact;
    for (const ContactField& field : kContactFields) {
        for (std::uint32_t id : field.ids) {
            if (id == 0) break;
            icu::UnicodeString text;
            if (id <= kLastDirectId) {
                text = decodeElement(id, kTypeString8, &rawMessageEntries);
                if (field.name == kPostAddress) text = replaceAll(text, u"\n", kPostAddressLineBreak);
            } else {
                const auto streams = getNamedPropertiesForMessage(rawMessageEntries).Streams;
                if (const auto found = streams.find(id); found != streams.end())
                    text = decodeElement(found->second, kTypeUnicode, &rawMessageEntries);
            }
            if (!text.isEmpty()) {
                contact.set(field.name, Value(text));
                break;
            }
        }
    }
    return contact;
}

Dictionary ReadMSG::buildAppointmentDictionary(std::span<const AppointmentField> table,
                                               const Dictionary& rawMessageEntries) {
    const auto streams = getNamedPropertiesForMessage(rawMessageEntries).Streams;
    Dictionary resolved;
    for (const AppointmentField& field : table)
        if (const auto found = streams.find(field.value); found != streams.end())
            resolved.set(field.identifier, Value(found->second));
    return resolved;
}

Dictionary ReadMSG::buildAppointmentForMessage(const Dictionary& rawMessageEntries) {
    const std::optional<ByteView> properties = propertyStream(rawMessageEntries);
    const auto fixedValue = [&](const Value& streamId, std::uint32_t type) {
        return getPropertyElement(static_cast<std::uint32_t>(streamId.toUInt64()), type, properties);
    };
    Dictionary appointment;

    for (const auto& [name, streamId] : buildAppointmentDictionary(kAppointmentTimes, rawMessageEntries)) {
        const auto value = fixedValue(streamId, kTypeTime);
        const auto ticks = value ? readU64le(*value, 0) : std::nullopt;
        const auto date = ticks ? TimeWangers::dateFromMAPITime(*ticks) : std::nullopt;
        if (!date) continue;
        if (listed(kEndFields, name) && !appointment.contains(u"Start Time"))
            appointment.set(u"Start Time", Value(*date));
        else if (listed(kStartFields, name) && !appointment.contains(u"End Time"))
            appointment.set(u"End Time", Value(*date));
        else
            appointment.set(name, Value(*date));
    }

    for (const auto& [name, streamId] : buildAppointmentDictionary(kAppointmentFlags, rawMessageEntries)) {
        const auto value = fixedValue(streamId, kTypeBoolean);
        if (value && value->size() >= kMinFlagBytes) appointment.set(name, Value(unsigned{(*value)[0]}));
    }

    for (const auto& [name, streamId] : buildAppointmentDictionary(kAppointmentIntegers, rawMessageEntries)) {
        const auto value = fixedValue(streamId, kTypeInt32);
        if (!value || value->size() < kMinIntegerBytes) continue;
        const std::uint32_t number = *readU32le(*value, 0);
        if (name == u"Recurrence Type" && number < kRecurrenceTypes.size())
            appointment.set(name, Value(kRecurrenceTypes[number]));
        else
            appointment.set(name, Value(number));
    }

    for (const auto& [name, streamId] : buildAppointmentDictionary(kAppointmentStrings, rawMessageEntries)) {
        const icu::UnicodeString text =
            decodeElement(static_cast<std::uint32_t>(streamId.toUInt64()), kTypeString8, &rawMessageEntries);
        if (!text.isEmpty())
            appointment.set(name, Value(text));
        else if (const Bytes* html = getDataFromRoot(kPrefix, kHtml, kTypeBinary, &rawMessageEntries))
            appointment.set(name, Value(*html));  // a missing text holds the HTML body, as it always has
    }
    return appointment;
}

}  // namespace tessivo
