// The reader object and the message dictionary: creation from data, the
// order in which the dictionary is assembled, the precedence among body,
// sender and date sources, the delivery time as text and the summary.
#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <typeinfo>

#include "tessivo/body/html_conversion.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/log.h"
#include "tessivo/foundation/text.h"
#include "tessivo/mime/email_addresses.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/msg/property_tags.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/data_decoding.h"
#include "tessivo/toolkit/date_strings.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/string_wangers.h"
#include "tessivo/toolkit/time_wangers.h"

namespace tessivo {

namespace {

using namespace msg;
namespace clean = WindowsCodePageWangersNSStringAdditions;

// Delivery times are written only from the first second after 1970 to the
// last second of 2099 (UTC).
constexpr std::int64_t kFirstDateSeconds = 1;
constexpr std::int64_t kLastDateSeconds = 4102444799;

const icu::UnicodeString kPrefix(kSubstgPrefix);

// Message class substrings, tested in order; the archive shortcut's class
// also contains "IPM.Note", so it is tested first.
enum class ClassKind { Plain, Contact, Appointment };
struct MessageClass {
    const char16_t* substring;
    const char16_t* type;
    ClassKind kind;
};
constexpr MessageClass kMessageClasses[] = {
    {u"IPM.StickyNote", u"Sticky", ClassKind::Plain},
    {u"IPM.Note.EnterpriseVault.Shortcut", u"Vault", ClassKind::Plain},
    {u"IPM.Contact", u"Contact", ClassKind::Contact},
    {u"IPM.Appointment", u"Calendar", ClassKind::Appointment},
    {u"IPM.Note", u"Email", ClassKind::Plain},
};
constexpr const char16_t* kOtherClassType = u"Email";

// The first line of text (up to its first line break).
icu::UnicodeString firstLine(const icu::UnicodeString& text) {
    static const icu::UnicodeSet* breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        auto* set = new icu::UnicodeSet(u"[\\u000A-\\u000D\\u0085\\u2028\\u2029]", status);
        set->freeze();
        return set;
    }();
    const std::int32_t end = breaks->span(text, 0, USET_SPAN_NOT_CONTAINED);
    return icu::UnicodeString(text, 0, end);
}

std::string exceptionName(const std::exception& e) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status),
                                                     &std::free);
    return status == 0 && name ? name.get() : typeid(e).name();
}

std::optional<ByteView> bytesOf(const Value* value) {
    if (const Bytes* bytes = value ? value->bytes() : nullptr) return ByteView(*bytes);
    return std::nullopt;
}

}  // namespace

std::optional<ReadMSG> ReadMSG::initWithData(ByteView data, int* moleResultCode, Bodies bodies) {
    if (data.empty()) {
        log("Error: Invalid or empty datastream in initWithData");
        return std::nullopt;
    }
    try {
        auto mole = Mole::initWithData(data, moleResultCode);
        if (!mole) {
            log("Error: Failed to initialize Mole reader");
            return std::nullopt;
        }
        ReadMSG reader(std::move(*mole));
        reader.bodies_ = bodies;
        Dictionary entries = reader.reader_->getOLEDictionary();
        reader.mailContent_ = reader.build(entries, &entries);
        return reader;
    } catch (const std::exception& e) {
        log("Exception in initWithData: %s - %s", exceptionName(e).c_str(), e.what());
        return std::nullopt;
    }
}

Dictionary ReadMSG::returnFullDictionary() const& { return withTranscribedBody(mailContent_); }

Dictionary ReadMSG::returnFullDictionary() && { return withTranscribedBody(std::move(mailContent_)); }

Dictionary ReadMSG::withTranscribedBody(Dictionary message) const {
    if (transcribedBody_) message.set(u"Body", Value(*transcribedBody_));
    return message;
}

const Value* ReadMSG::getContent(const icu::UnicodeString& key) const {
    const Value* value = mailContent_.get(key);
    return value && !value->isNull() ? value : nullptr;
}

ReadMSG& ReadMSG::buildDictionary(const Value&) { return *this; }

std::optional<Dictionary> ReadMSG::buildDictionaryForMessage(const Value* rawMessageEntries) {
    const Dictionary* entries = rawMessageEntries ? rawMessageEntries->dictionary() : nullptr;
    if (!entries) {
        log("Error: Invalid rawMessageEntries in buildDictionaryForMessage");
        return std::nullopt;
    }
    return buildDictionaryForMessage(*entries);
}

Dictionary ReadMSG::buildDictionaryForMessage(const Dictionary& entries) { return build(entries, nullptr); }

Dictionary ReadMSG::build(const Dictionary& entries, Dictionary* owned) {
    Dictionary message = buildHeaderForMessage(entries);
    message.set(u"To", Value(getRecipientsForMessage(entries)));
    const bool appointment = addMessageType(message, entries);

    const icu::UnicodeString subject = decodeElement(kSubject, kTypeUnicode, &entries);
    if (!subject.isEmpty()) message.set(u"Subject", Value(clean::zapGremlins(firstLine(subject))));
    if (bodies_ == Bodies::Read) addBodies(message, entries);
    message.set(u"Header", Value(fullHeader_));
    addDates(message, entries);
    addVoiceNote(message, entries, owned);
    addSender(message, entries);
    if (bodies_ == Bodies::Read) addHTMLFromOtherBodies(message);

    const Value* type = message.get(u"MessageType");
    if (type && type->string() && (*type->string() == u"Email" || *type->string() == u"Calendar")) {
        Array attachments = attachmentsOf(entries, owned);
        if (!attachments.empty()) message.set(u"AttachmentList", Value(std::move(attachments)));
    }
    if (appointment) enrichCalendarData(message);
    return message;
}

bool ReadMSG::addMessageType(Dictionary& message, const Dictionary& entries) {
    const icu::UnicodeString messageClass = decodeElement(kMessageClass, kTypeString8, &entries);
    if (messageClass.isEmpty()) return false;
    for (const auto& known : kMessageClasses) {
        if (!contains(messageClass, known.substring)) continue;
        message.set(u"MessageType", Value(known.type));
        const Dictionary fields = known.kind == ClassKind::Contact       ? buildContactsForMessage(entries)
                                  : known.kind == ClassKind::Appointment ? buildAppointmentForMessage(entries)
                                                                          : Dictionary();
        for (const auto& [key, value] : fields) message.set(key, value);
        return known.kind == ClassKind::Appointment;
    }
    message.set(u"MessageType", Value(kOtherClassType));
    return false;
}

void ReadMSG::addBodies(Dictionary& message, const Dictionary& entries) {
    const icu::UnicodeString body = decodeElement(kBody, kTypeUnicode, &entries);
    if (!body.isEmpty()) message.set(u"Body", Value(body));

    if (const Bytes* html = getDataFromRoot(kPrefix, kHtml, kTypeBinary, &entries)) {
        const auto text =
            DataWangersNSDataAdditions::getStringWithEncoding(*html, encodings::UTF8, u"buildDictionaryForMessage", 0);
        if (text && !text->isEmpty()) message.set(u"HTML", Value(*text));
    }

    const Bytes* compressed = getDataFromRoot(kPrefix, kRtfCompressed, kTypeBinary, &entries);
    if (!compressed) compressed = getDataFromRoot(kPrefix, kRtfSecondChoice, kTypeBinary, &entries);
    if (compressed && RTFWangers::typeIsRTF(compressed->data(), compressed->size())) {
        auto rtf = DataWangersNSDataAdditions::getRTFForData(*compressed);
        if (rtf && !rtf->empty())
            message.set(u"RTF", Value(RTFWangers::generateRTFColourTagsFromEmbeddedHTMLInRTF(std::move(*rtf))));
    }
}

void ReadMSG::addDates(Dictionary& message, const Dictionary& entries) {
    try {
        icu::UnicodeString date = getDateStringFromDictionary(&entries, kDatePattern);
        // The date-string method answers "-" rather than nothing, so this
        // fallback is reached only if that ever changes; it stays all the same.
        if (date.isEmpty()) {
            if (const Bytes* stamp = getDataFromRoot(kPrefix, kSubmissionId, kTypeBinary, &entries))
                date = formatDataAsDate(*stamp).value_or(icu::UnicodeString());
        }
        if (!date.isEmpty()) message.set(u"Date", Value(date));
        message.set(u"MIMEDate", Value(getDateStringFromDictionary(&entries, kMIMEDatePattern)));
    } catch (const std::exception& e) {
        log("Error extracting dates from message: %s", e.what());
        message.set(u"Date", Value(u"-"));
        message.set(u"MIMEDate", Value(u""));
    }
}

void ReadMSG::addVoiceNote(Dictionary& message, const Dictionary& entries, Dictionary* owned) {
    if (message.contains(u"Body")) return;
    icu::UnicodeString text = decodeElement(kVoiceNoteText, kTypeString8, &entries);
    if (text.isEmpty()) return;
    Array notes = voiceNotesOf(entries, owned);
    if (!notes.empty()) {
        message.set(u"AttachmentList", Value(std::move(notes)));
        message.set(u"MessageType", Value(u"VoiceNote"));
        text = StringWangers::localizedStringFor(u"VoiceNote", u"messages");
    }
    message.set(u"Body", Value(text));
}

void ReadMSG::addSender(Dictionary& message, const Dictionary& entries) {
    if (message.contains(u"From")) return;
    // The name falls back to 0x0042 only when the look-up yields no string
    // at all, which string decoding never does.
    const icu::UnicodeString name = decodeElement(kSenderName, kTypeUnicode, &entries);
    icu::UnicodeString address;
    for (std::uint32_t id : kSenderAddresses) {
        const icu::UnicodeString candidate = decodeElement(id, kTypeUnicode, &entries);
        if (!candidate.isEmpty() && clean::validateEmailAddress(candidate)) {
            address = candidate;
            break;
        }
    }
    message.set(u"From", Value(Array{Value(buildAddressFromTags(name, address))}));
}

void ReadMSG::addHTMLFromOtherBodies(Dictionary& message) {
    if (message.contains(u"HTML")) return;
    icu::UnicodeString text;
    const Value* body = message.get(u"Body");
    if (body && body->string() && !body->string()->isEmpty()) {
        text = *body->string();
    } else if (const Value* rtf = message.get(u"RTF"); rtf && rtf->bytes()) {
        text = DataWangersNSDataAdditions::stringFromRTFData(*rtf->bytes()).value_or(icu::UnicodeString());
    }
    if (!text.isEmpty() && clean::isHTML(text)) message.set(u"HTML", Value(text));
}

icu::UnicodeString ReadMSG::getDateStringFromDictionary(const Dictionary* entries, const icu::UnicodeString& format) {
    const icu::UnicodeString none(u"-");
    if (!entries || format.isEmpty()) return none;
    try {
        const auto value = getPropertyElement(kDeliveryTime, kTypeTime, bytesOf(entries->get(kPropertiesStream)));
        if (!value) return none;
        const auto ticks = static_cast<std::int64_t>(*readU64le(*value, 0));
        if (ticks < 1) return none;
        const std::int64_t seconds = TimeWangers::getUnixTimeFromWindowsTime(static_cast<std::uint64_t>(ticks));
        if (seconds < kFirstDateSeconds || seconds > kLastDateSeconds) return none;
        const auto text = convertDateToStringWithFormat(Date{static_cast<double>(seconds)}, format);
        return text && !text->isEmpty() ? *text : none;
    } catch (const std::exception& e) {
        log("Error in getDateStringFromDictionary - Exception: %s", e.what());
        return none;
    }
}

Dictionary ReadMSG::getSummaryForMessage(ByteView data) {
    auto summary = [](icu::UnicodeString subject, icu::UnicodeString body, icu::UnicodeString from,
                      icu::UnicodeString date, icu::UnicodeString mimeDate) {
        Dictionary d;
        d.set(u"Subject", Value(std::move(subject)));
        d.set(u"Body", Value(std::move(body)));
        d.set(u"From", Value(std::move(from)));
        d.set(u"Date", Value(std::move(date)));
        d.set(u"MIMEDate", Value(std::move(mimeDate)));
        return d;
    };
    const auto mole = Mole::initWithData(data);
    if (!mole) return summary(u"-", u"-", u"-", u"", u"");
    // Only the streams the summary reads (Mole adds the attachment storages).
    const std::vector<icu::UnicodeString> names = {
        kPrefix + getHexFromElement(kSubject, kTypeUnicode),     kPrefix + getHexFromElement(kSubject, kTypeString8),
        kPrefix + getHexFromElement(kBody, kTypeUnicode),        kPrefix + getHexFromElement(kBody, kTypeString8),
        kPrefix + getHexFromElement(kSenderName, kTypeUnicode),  kPrefix + getHexFromElement(kSenderName, kTypeString8),
        kPrefix + getHexFromElement(kSenderAddresses[0], kTypeUnicode),
        kPrefix + getHexFromElement(kSenderAddresses[0], kTypeString8),
        kPropertiesStream,
    };
    const Dictionary entries = mole->getOLEDictionaryWithContents(names);

    const icu::UnicodeString subject = decodeElement(kSubject, kTypeUnicode, &entries);
    const icu::UnicodeString body = decodeElement(kBody, kTypeUnicode, &entries);
    // The address is read and not validated; only the name is shown.
    const Dictionary from = buildAddressFromTags(decodeElement(kSenderName, kTypeUnicode, &entries),
                                                 decodeElement(kSenderAddresses[0], kTypeUnicode, &entries));
    const Value* name = from.get(u"Name");
    return summary(subject.isEmpty() ? icu::UnicodeString(u"-") : clean::zapGremlins(firstLine(subject)),
                   body.isEmpty() ? icu::UnicodeString(u"-") : body,
                   name && name->string() ? *name->string() : icu::UnicodeString(u"-"),
                   getDateStringFromDictionary(&entries, kSummaryDatePattern),
                   getDateStringFromDictionary(&entries, kMIMEDatePattern));
}

}  // namespace tessivo
