// ReadMSG: an Outlook message file (.msg) as one flat message dictionary.
//
//   auto reader = tessivo::ReadMSG::initWithData(fileBytes);    // borrows fileBytes while it lives
//   if (!reader) return;                                          // the reason is logged
//   tessivo::Dictionary message = reader->returnFullDictionary();
//   if (const tessivo::Value* subject = reader->getContent(u"Subject")) show(*subject->string());
//   tessivo::Dictionary brief = tessivo::ReadMSG::getSummaryForMessage(fileBytes);   // five keys only
//
// The message dictionary, keys in the order they are first written:
//   "FROM", "TO", "CC", "BCC"  address lists parsed from the transport header
//   "Date", "Subject"          from the transport header, replaced by better sources below
//   "To"                       the recipients (array of {"Name", "Address"})
//   "MessageType"              "Email", "Sticky", "Vault", "Contact", "Calendar" or "VoiceNote";
//                              absent when the message class is empty
//   contact, appointment keys  the item's own fields (buildContactsForMessage,
//                              buildAppointmentForMessage), and for a calendar
//                              item "Organizer", "Duration" and inferred times
//   "Subject"                  first line of property 0x0037
//   "Body", "HTML"             plain and HTML bodies (strings)
//   "RTF"                      the decompressed RTF body (bytes)
//   "Header"                   the transport header text, "" when there is none
//   "Date"                     delivery time "dd MMM  yyyy 'at' HH:mm", or "-"
//   "MIMEDate"                 delivery time "E, d MMM yyyy HH:mm:ss Z", or "-"
//   "AttachmentList"           attachment dictionaries: "name", "mimeType", "attachDisposition",
//                              "AttachContentLocation", "AttachContentID", "attachmentMetaData"
//                              (bytes), "size", "sizeString", "data" (bytes)
//   "From"                     one address dictionary for the sender
// Times are written in the process time zone (TZ).
//
// The reader works on entry dictionaries, Mole's nested dictionaries of a
// storage: stream name to its bytes (whole sectors, not cut to the declared
// size), sub-storage name to its own entry dictionary. A missing key, a null
// value and empty bytes all mean that a property is absent. Look-ups that
// return a pointer or a view borrow from the dictionary or bytes given.
//
// Damaged input never stops a build: a broken property leaves its key out.
// Diagnostics go to tessivo::log; nothing throws. A reader (and Mole's
// nested dictionaries) is used by one thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/compound/mole.h"
#include "tessivo/foundation/value.h"

namespace tessivo {

class ReadMSG {
public:
    // The delivery-time patterns of the message dictionary and the summary.
    static constexpr const char16_t* kDatePattern = u"dd MMM  yyyy 'at' HH:mm";
    static constexpr const char16_t* kSummaryDatePattern = u"dd MMM yyyy 'at' HH:mm";
    static constexpr const char16_t* kMIMEDatePattern = u"E, d MMM yyyy HH:mm:ss Z";

    // A reader without a message, for building dictionaries from entry
    // dictionaries the caller already has.
    ReadMSG() = default;

    // Which bodies the message dictionary gets: all of them, or none ("Body",
    // "HTML" and "RTF" left out) for callers that want only the header facts
    // (names, addresses, dates, attachments) and not the cost of decoding
    // bodies, such as a compressed RTF body padded to the raw size it declares.
    enum class Bodies { Read, Skip };
    // Opens data with Mole and builds the message dictionary; nothing when
    // the data are empty or not a compound document (logged). data must
    // outlive the reader. moleResultCode, when given, receives Mole's result
    // code (0 when the document opened).
    static std::optional<ReadMSG> initWithData(ByteView data, int* moleResultCode = nullptr,
                                               Bodies bodies = Bodies::Read);

    // The message dictionary; with a transcribed body, a copy whose "Body" is
    // it. From a reader that is done with (std::move(reader).returnFullDictionary())
    // the dictionary is moved out instead of copied.
    Dictionary returnFullDictionary() const&;
    Dictionary returnFullDictionary() &&;
    // The value under key, or nullptr when missing or null; borrowed from the reader.
    const Value* getContent(const icu::UnicodeString& key) const;
    // Does nothing: all readers of the library answer it.
    ReadMSG& buildDictionary(const Value& ignored);

    // The message dictionary of a root entry dictionary; nothing (logged)
    // when the argument is missing or not a dictionary.
    std::optional<Dictionary> buildDictionaryForMessage(const Value* rawMessageEntries);
    Dictionary buildDictionaryForMessage(const Dictionary& rawMessageEntries);
    // Reads and parses the transport header (0x007D), keeps its text as the
    // reader's full header and answers "FROM", "TO", "CC", "BCC", "Date" and
    // "Subject" from its lines. The last header of the text is never stored.
    Dictionary buildHeaderForMessage(const Dictionary& rawMessageEntries);
    // The delivery time (0x0E06) written with format, or "-" when it is
    // missing, before 1970-01-01 00:00:01 or after 2099 (UTC).
    static icu::UnicodeString getDateStringFromDictionary(const Dictionary* entries, const icu::UnicodeString& format);
    // "Subject", "Body", "From" (the sender's name), "Date", "MIMEDate" of a
    // whole message file, without building its dictionary; "-" and "" where
    // nothing is found, and for data that do not open.
    static Dictionary getSummaryForMessage(ByteView data);

    // A body supplied from outside (a transcription of a voice note) that
    // replaces "Body" in returnFullDictionary.
    const std::optional<icu::UnicodeString>& transcribedBody() const { return transcribedBody_; }
    void setTranscribedBody(std::optional<icu::UnicodeString> text) { transcribedBody_ = std::move(text); }
    // The name of the file the message came from (appointment times).
    const std::optional<icu::UnicodeString>& sourceFilename() const { return sourceFilename_; }
    void setSourceFilename(std::optional<icu::UnicodeString> name) { sourceFilename_ = std::move(name); }

    // --- Property streams ---

    // ID and type as eight upper-case hexadecimal digits ("0037001F"); "" when either is 0.
    static icu::UnicodeString getHexFromElement(std::uint32_t element, std::uint32_t elementType);
    // The non-empty bytes stored under root + hex text in with, or nullptr.
    static const Bytes* getDataFromRoot(const icu::UnicodeString& root, std::uint32_t element,
                                        std::uint32_t elementType, const Dictionary* with);
    // A string property, trying the other string type (0x001E / 0x001F) when
    // the asked one is absent; 0x001E is read as ASCII, 0x001F as UTF-16LE,
    // both with the toolkit's fallbacks and cleaning. "" when absent.
    static icu::UnicodeString decodeElement(std::uint32_t element, std::uint32_t elementType, const Dictionary* with);
    // The 8-byte value field of the first 16-byte entry of stream whose type
    // and ID match, the last entry included; nothing when none does.
    static std::optional<Bytes> getPropertyElement(std::uint32_t element, std::uint32_t elementType,
                                                   std::optional<ByteView> stream);
    // The time (type 0x0040) with that ID, in whole seconds; the last entry
    // of the stream is never examined.
    static std::optional<Date> getDateFromPropertyElement(std::uint32_t element, std::optional<ByteView> stream);
    // A recipient's or attachment's property stream without its 8-byte
    // header; nothing when it has fewer than 9 bytes.
    static std::optional<ByteView> trimmedPropertyStreamFromEntry(const Dictionary* entry);
    // The non-empty names of a list of records (32-bit byte length, UTF-16LE
    // characters, two skipped bytes), in order.
    static Array generateStringStream(std::optional<ByteView> data);

    // --- Named properties ---

    // The map of __nameid_version1.0, under the names of its keys.
    struct NamedProperties {
        Array GUID;                                   // 16-byte GUIDs, first two words byte-swapped
        Array Strings;                                // names of the string stream
        std::map<std::uint32_t, std::uint32_t> Streams;  // numeric name -> stream ID (0x8000 + position)
    };
    static NamedProperties getNamedPropertiesForMessage(const Dictionary& rawMessageEntries);
    // Every GUID but the last of a stream whose length is a multiple of 16.
    static Array calculateGuids(std::optional<ByteView> data);
    // Every entry but the last of a stream whose length is a multiple of 8; a
    // later entry with the same first field wins.
    static std::map<std::uint32_t, std::uint32_t> calculateEntryStreamIndexes(std::optional<ByteView> data);
    static icu::UnicodeString generateKeyFromPrefix(const icu::UnicodeString& prefix, std::uint32_t element,
                                                    std::uint32_t elementType);

    // --- Recipients and attachments ---

    // The recipient storages ("__recip...", any case) with a Unicode name
    // and an address property, as address dictionaries, in storage order.
    static Array getRecipientsForMessage(const Dictionary& rawMessageEntries);
    // The attachment storages ("__attach...", any case) as attachment
    // dictionaries, in storage order; attached messages have no data.
    Array getAttachmentsForMessage(const Dictionary& rawMessageEntries);
    // The root keys getAttachmentsForMessage reads, in its order: its
    // answer's n-th dictionary comes from the n-th of these storages.
    static std::vector<icu::UnicodeString> attachmentStorageNames(const Dictionary& rawMessageEntries);
    // One "Windows CE VoiceNote.wav" attachment from the root stream 0x6803, or none.
    static Array retrieveVoiceNotesForMessage(const Dictionary& rawMessageEntries);
    // Property 0x3705 of a trimmed property stream; 0 when absent.
    static std::uint32_t extractAttachMethodFromPropertyStream(std::optional<ByteView> stream);
    // The first non-empty of 0x3707, 0x3704, 0x3001, else the "unnamedName" text.
    static icu::UnicodeString resolveAttachmentNameFromEntry(const Dictionary* entry, const icu::UnicodeString& prefix,
                                                             std::int64_t index);
    // The 0x001F stream when it exists (even empty), else the 0x001E one, decoded; nothing when that is empty.
    static std::optional<icu::UnicodeString> extractStringForElement(std::uint32_t element, const Dictionary* entry,
                                                                     const icu::UnicodeString& prefix,
                                                                     std::int64_t index);
    // Builds the attached message's dictionary and answers its bytes as a
    // file, which are never made: always nothing.
    std::optional<Bytes> handleEmbeddedMessageAttachment(const Value* entry, const icu::UnicodeString& name,
                                                         const icu::UnicodeString& displayName);
    static std::optional<Bytes> generateAttachedMessageData(const Dictionary& message);
    // name when it has an extension, else name + ".msg"; fallback + ".msg" for no name.
    static icu::UnicodeString ensureMsgExtensionForName(const std::optional<icu::UnicodeString>& name,
                                                        const icu::UnicodeString& fallback);

    // --- Contacts and appointments ---

    // The non-empty fields of a contact ("Company Name", "Contact Email 1",
    // ... "Work Street"), all strings, from direct properties and, for the
    // e-mail addresses, named properties read as Unicode.
    static Dictionary buildContactsForMessage(const Dictionary& rawMessageEntries);
    // A wanted named property: the key for its result and its numeric name.
    struct AppointmentField {
        const char16_t* identifier;
        std::uint32_t value;
    };
    // Field name to stream ID (an unsigned number) for each field of table
    // whose numeric name the named-property map has, in the table's order.
    static Dictionary buildAppointmentDictionary(std::span<const AppointmentField> table,
                                                 const Dictionary& rawMessageEntries);
    // The fields of an appointment: times (Dates; an end time lands under
    // "Start Time" and a start time under "End Time" while those are free),
    // flags (0 or 1 from the first byte), integers (never: the look-up gives
    // 8 bytes and 9 are asked for) and strings (8-bit, else the HTML body's
    // bytes). Nothing without a named-property map.
    static Dictionary buildAppointmentForMessage(const Dictionary& rawMessageEntries);
    // Refines a calendar item's times in place (see calendar_inference.h):
    // "Start Time" from "DateObject" and "Organizer" from "From" when they are
    // missing; then, unless "Start Time" has a time of day, start, end and
    // duration from the first of "Recurrence Desc", sourceFilename and
    // "Subject" (a range, else meal words) that gives any. Keys are only set.
    void enrichCalendarData(Dictionary& message) const;
    // For a caller that sets sourceFilename after reading: refines the
    // message dictionary of a "Calendar" message once more with the file name.
    void reEnrichCalendarDataIfNeeded();

private:
    explicit ReadMSG(Mole reader) : reader_(std::move(reader)) {}

    Dictionary withTranscribedBody(Dictionary message) const;

    // The build reads entries; when owned is entries itself, the reader
    // owns them and moves attachment and voice-note data out of them
    // instead of copying (the same results, without a second copy of the
    // largest streams).
    Dictionary build(const Dictionary& entries, Dictionary* owned);
    // Message class, type-specific fields and "MessageType"; true for an appointment.
    bool addMessageType(Dictionary& message, const Dictionary& entries);
    static void addBodies(Dictionary& message, const Dictionary& entries);
    static void addDates(Dictionary& message, const Dictionary& entries);
    static void addVoiceNote(Dictionary& message, const Dictionary& entries, Dictionary* owned);
    static void addSender(Dictionary& message, const Dictionary& entries);
    static void addHTMLFromOtherBodies(Dictionary& message);
    Array attachmentsOf(const Dictionary& entries, Dictionary* owned);
    static Array voiceNotesOf(const Dictionary& entries, Dictionary* owned);
    Dictionary attachmentFor(const Value& storage, std::int64_t index, Dictionary* owned);

    Dictionary mailContent_;
    Bodies bodies_ = Bodies::Read;
    icu::UnicodeString fullHeader_;
    std::optional<Mole> reader_;
    std::optional<icu::UnicodeString> transcribedBody_;
    std::optional<icu::UnicodeString> sourceFilename_;
};

}  // namespace tessivo
