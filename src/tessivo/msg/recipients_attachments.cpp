// Recipient and attachment storages, attached messages and voice notes.
#include <exception>

#include "tessivo/foundation/byte_reader.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/log.h"
#include "tessivo/foundation/text.h"
#include "tessivo/mime/email_addresses.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/msg/property_tags.h"
#include "tessivo/msg/read_msg.h"
#include "tessivo/toolkit/bit_wangers.h"
#include "tessivo/toolkit/data_decoding.h"
#include "tessivo/toolkit/string_cleaning.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo {

namespace {

using namespace msg;
namespace clean = WindowsCodePageWangersNSStringAdditions;
namespace data = DataWangersNSDataAdditions;

const icu::UnicodeString kPrefix(kSubstgPrefix);

// The root's storages whose names begin with prefix in any case, in the root's order.
std::vector<const Dictionary::Entry*> storagesOfKind(const Dictionary& root, const char16_t* prefix) {
    const icu::UnicodeString start(prefix);
    std::vector<const Dictionary::Entry*> storages;
    for (const auto& entry : root)
        if (entry.first.length() >= start.length() &&
            entry.first.caseCompare(0, start.length(), start, U_FOLD_CASE_DEFAULT) == 0)
            storages.push_back(&entry);
    return storages;
}

icu::UnicodeString unnamedName() { return StringWangers::localizedStringFor(u"unnamedName", u"messages"); }

// "size", "sizeString" and "data" of an attachment's bytes.
void setData(Dictionary& attachment, Bytes bytes) {
    attachment.set(u"size", Value(std::uint64_t{bytes.size()}));
    attachment.set(u"sizeString", Value(BitWangers::formatSize(bytes.size())));
    attachment.set(u"data", Value(std::move(bytes)));
}

// The bytes of binary property id found in a storage: moved out when owned
// is that storage's own dictionary, copied otherwise.
Bytes keep(const Bytes& bytes, Dictionary* owned, std::uint32_t id) {
    if (owned)
        if (Value* value = owned->get(kPrefix + ReadMSG::getHexFromElement(id, kTypeBinary)))
            if (Bytes* mine = value->as<Bytes>(); mine == &bytes) return std::move(*mine);
    return bytes;
}

// The address of a recipient: the first of its address properties that is
// present and valid. A present but invalid one gives "" and the search goes
// on; a missing one leaves no address, so only the last property tried
// decides between "" and none.
std::optional<icu::UnicodeString> recipientAddress(const Dictionary* entry, std::int64_t index) {
    std::optional<icu::UnicodeString> address;
    for (std::uint32_t id : kRecipientAddresses) {
        const Bytes* bytes = ReadMSG::getDataFromRoot(kPrefix, id, kTypeUnicode, entry);
        if (!bytes) {
            address.reset();
            continue;
        }
        const auto text = data::getStringWithEncoding(*bytes, encodings::UTF16LE, u"getRecipientsForMessage:inner", index);
        const icu::UnicodeString cleaned = text ? clean::zapGremlins(*text) : icu::UnicodeString();
        address = text && clean::validateEmailAddress(cleaned) ? cleaned : icu::UnicodeString();
        if (!address->isEmpty()) break;
    }
    return address;
}

bool hasPathExtension(const icu::UnicodeString& name) {
    std::int32_t end = name.length();
    while (end > 1 && name[end - 1] == u'/') --end;
    const std::int32_t slash = name.lastIndexOf(u'/', 0, end);
    const std::int32_t componentStart = slash < 0 ? 0 : slash + 1;
    const std::int32_t dot = name.lastIndexOf(u'.', componentStart, end - componentStart);
    return dot > componentStart && dot < end - 1;
}

}  // namespace

Array ReadMSG::getRecipientsForMessage(const Dictionary& rawMessageEntries) {
    Array recipients;
    std::int64_t index = 0;
    for (const auto* storage : storagesOfKind(rawMessageEntries, kRecipientStoragePrefix)) {
        const Dictionary* entry = storage->second.dictionary();
        const std::int64_t position = index++;
        const Bytes* nameBytes = getDataFromRoot(kPrefix, kRecipientName, kTypeUnicode, entry);
        if (!nameBytes) continue;
        const auto name =
            data::getStringWithEncoding(*nameBytes, encodings::UTF16LE, u"getRecipientsForMessage:outer", position);
        const auto address = recipientAddress(entry, position);
        if (name && address) recipients.push_back(Value(buildAddressFromTags(clean::zapGremlins(*name), *address)));
    }
    return recipients;
}

std::vector<icu::UnicodeString> ReadMSG::attachmentStorageNames(const Dictionary& rawMessageEntries) {
    std::vector<icu::UnicodeString> names;
    for (const auto* storage : storagesOfKind(rawMessageEntries, kAttachmentStoragePrefix))
        names.push_back(storage->first);
    return names;
}

Array ReadMSG::getAttachmentsForMessage(const Dictionary& rawMessageEntries) {
    return attachmentsOf(rawMessageEntries, nullptr);
}

Array ReadMSG::attachmentsOf(const Dictionary& entries, Dictionary* owned) {
    Array attachments;
    std::int64_t index = 0;
    for (const auto* storage : storagesOfKind(entries, kAttachmentStoragePrefix)) {
        Value* ownedStorage = owned ? owned->get(storage->first) : nullptr;
        Dictionary attachment =
            attachmentFor(storage->second, index++, ownedStorage ? ownedStorage->as<Dictionary>() : nullptr);
        if (attachment.contains(u"name")) attachments.push_back(Value(std::move(attachment)));
    }
    return attachments;
}

Dictionary ReadMSG::attachmentFor(const Value& storage, std::int64_t index, Dictionary* owned) {
    const Dictionary* entry = storage.dictionary();
    const std::uint32_t method = extractAttachMethodFromPropertyStream(trimmedPropertyStreamFromEntry(entry));
    icu::UnicodeString name = resolveAttachmentNameFromEntry(entry, kPrefix, index);

    Dictionary attachment;
    attachment.set(u"name", Value(name));
    const std::pair<const char16_t*, std::uint32_t> strings[] = {
        {u"mimeType", kAttachMimeTag},
        {u"attachDisposition", kAttachDisposition},
        {u"AttachContentLocation", kAttachContentLocation},
    };
    for (const auto& [key, id] : strings)
        if (auto text = extractStringForElement(id, entry, kPrefix, index)) attachment.set(key, Value(*text));
    if (auto contentId = extractStringForElement(kAttachContentId, entry, kPrefix, index))
        attachment.set(u"AttachContentID", Value(clean::zapGremlins(*contentId)));
    if (const Bytes* metaData = getDataFromRoot(kPrefix, kAttachMetaData, kTypeBinary, entry))
        attachment.set(u"attachmentMetaData", Value(*metaData));

    if (method != kAttachEmbeddedMessage) {
        const Bytes* bytes = getDataFromRoot(kPrefix, kAttachData, kTypeBinary, entry);
        if (!bytes) return attachment;
        // An unnamed attachment that holds a MIME message is named as one.
        if (name == unnamedName()) {
            const auto text = data::getStringWithEncoding(*bytes, encodings::UTF8);
            if (text && contains(*text, u"MIME-Version: 1.0")) attachment.set(u"name", Value(name + u".eml"));
        }
        setData(attachment, keep(*bytes, owned, kAttachData));
        return attachment;
    }
    const Value* embedded = entry ? entry->get(kPrefix + getHexFromElement(kAttachData, kTypeObject)) : nullptr;
    if (auto bytes = handleEmbeddedMessageAttachment(embedded, name, name)) {
        setData(attachment, std::move(*bytes));
        attachment.set(u"name", Value(ensureMsgExtensionForName(name, name)));
    }
    return attachment;
}

Array ReadMSG::retrieveVoiceNotesForMessage(const Dictionary& rawMessageEntries) {
    return voiceNotesOf(rawMessageEntries, nullptr);
}

Array ReadMSG::voiceNotesOf(const Dictionary& entries, Dictionary* owned) {
    const Bytes* bytes = getDataFromRoot(kPrefix, kVoiceNoteData, kTypeBinary, &entries);
    if (!bytes) return {};
    Dictionary note;
    note.set(u"name", Value(u"Windows CE VoiceNote.wav"));
    setData(note, keep(*bytes, owned, kVoiceNoteData));
    note.set(u"mimeType", Value(u"audio/wav"));
    return Array{Value(std::move(note))};
}

std::uint32_t ReadMSG::extractAttachMethodFromPropertyStream(std::optional<ByteView> stream) {
    try {
        const auto value = getPropertyElement(kAttachMethod, kTypeInt32, stream);
        return value ? readU32le(*value, 0).value_or(0) : 0;
    } catch (const std::exception& e) {
        log("Error extracting attach method: %s", e.what());
        return 0;
    }
}

icu::UnicodeString ReadMSG::resolveAttachmentNameFromEntry(const Dictionary* entry, const icu::UnicodeString& prefix,
                                                           std::int64_t index) {
    for (std::uint32_t id : kAttachNames) {
        auto name = extractStringForElement(id, entry, prefix, index);
        if (name && !name->isEmpty()) return *name;
    }
    return unnamedName();
}

std::optional<icu::UnicodeString> ReadMSG::extractStringForElement(std::uint32_t element, const Dictionary* entry,
                                                                   const icu::UnicodeString& prefix,
                                                                   std::int64_t index) {
    if (!entry) return std::nullopt;
    // A present 0x001F stream, even an empty one, hides the 0x001E one.
    const bool unicode = entry->contains(generateKeyFromPrefix(prefix, element, kTypeUnicode));
    const Bytes* bytes = getDataFromRoot(prefix, element, unicode ? kTypeUnicode : kTypeString8, entry);
    if (!bytes) return std::nullopt;
    return data::getStringWithEncoding(*bytes, unicode ? encodings::UTF16LE : encodings::ASCII,
                                       u"extractStringForElement", index);
}

std::optional<Bytes> ReadMSG::handleEmbeddedMessageAttachment(const Value* entry, const icu::UnicodeString&,
                                                              const icu::UnicodeString&) {
    const auto message = buildDictionaryForMessage(entry);
    if (!message) return std::nullopt;
    auto bytes = generateAttachedMessageData(*message);
    if (bytes && bytes->empty()) return std::nullopt;
    return bytes;
}

std::optional<Bytes> ReadMSG::generateAttachedMessageData(const Dictionary&) { return std::nullopt; }

icu::UnicodeString ReadMSG::ensureMsgExtensionForName(const std::optional<icu::UnicodeString>& name,
                                                      const icu::UnicodeString& fallback) {
    if (!name || name->isEmpty()) return fallback + u".msg";
    if (hasPathExtension(*name)) return *name;
    return *name + u".msg";
}

}  // namespace tessivo
