// The "msg" row of the format table: Outlook message files through ReadMSG.
//
// Attachments are saved with exactly their bytes: the dictionary's "data"
// holds a stream's whole sectors, so each is cut to the declared size of the
// stream it came from (0x3701 of its storage, or 0x6803 for a voice note).
// Data shorter than that size (a damaged document, or a stream past the
// reader's 16,000,016-byte cut) are saved as they are and said to be incomplete.
#include <algorithm>
#include <map>

#include "compound_cli.h"
#include "message_formats.h"
#include "tessivo/msg/read_msg.h"

namespace tessivo::cli {
namespace {

const icu::UnicodeString kAttachmentData(u"/__substg1.0_37010102");
const icu::UnicodeString kVoiceNoteData(u"/__substg1.0_68030102");

std::string unreadable(int moleResultCode) {
    return moleResultCode == kCompoundOpened ? "cannot be read as a message" : compoundResultReason(moleResultCode);
}

ReadResult<Dictionary> dictionaryOf(ByteView data, const std::string& fileName) {
    int code = kCompoundOpened;
    auto reader = ReadMSG::initWithData(data, &code);
    if (!reader) return unreadable(code);
    if (!fileName.empty()) {
        reader->setSourceFilename(fromUtf8(fileName));
        reader->reEnrichCalendarDataIfNeeded();
    }
    return std::move(*reader).returnFullDictionary();
}

ReadResult<Dictionary> summaryOf(ByteView data, const std::string&) {
    int code = kCompoundOpened;
    if (!Mole::initWithData(data, &code)) return unreadable(code);
    return ReadMSG::getSummaryForMessage(data);
}

// Declared sizes of the streams, by full path.
std::map<icu::UnicodeString, std::uint64_t> declaredSizes(Mole& mole) {
    std::map<icu::UnicodeString, std::uint64_t> sizes;
    for (const auto& record : mole.getDirectory()) {
        const Dictionary& entry = *record.dictionary();
        if (const Value* size = entry.get(u"entrysize"))
            sizes[*entry.get(u"entryname")->string()] = static_cast<std::uint64_t>(std::max<std::int64_t>(0, size->toInt64()));
    }
    return sizes;
}

MessageAttachment attachmentOf(Dictionary& attachment, std::optional<std::uint64_t> declaredSize) {
    MessageAttachment out;
    if (const Value* name = attachment.get(u"name"); name && name->string()) out.name = *name->string();
    if (const Value* type = attachment.get(u"mimeType"); type && type->string()) out.mimeType = *type->string();
    if (Value* data = attachment.get(u"data"); data && data->bytes()) {
        out.data = std::move(*data->as<Bytes>());
        if (declaredSize && *declaredSize < out.data->size()) out.data->resize(*declaredSize);
        if (declaredSize && *declaredSize > out.data->size())
            out.incomplete = "only " + std::to_string(out.data->size()) + " of its " + std::to_string(*declaredSize) +
                             " bytes could be read";
    }
    return out;
}

ReadResult<std::vector<MessageAttachment>> attachmentsOf(ByteView data) {
    int code = kCompoundOpened;
    auto mole = Mole::initWithData(data, &code);
    if (!mole) return unreadable(code);
    const Dictionary entries = mole->getOLEDictionary();
    ReadMSG reader;
    Dictionary message = reader.buildDictionaryForMessage(entries);

    // The streams the attachment list came from, in its order.
    std::vector<icu::UnicodeString> sources;
    const Value* type = message.get(u"MessageType");
    if (type && type->string() && *type->string() == u"VoiceNote") {
        sources.push_back(kVoiceNoteData);
    } else {
        for (const auto& storage : ReadMSG::attachmentStorageNames(entries)) sources.push_back(u"/" + storage + kAttachmentData);
    }
    const auto sizes = declaredSizes(*mole);
    std::vector<MessageAttachment> attachments;
    Value* list = message.get(u"AttachmentList");
    if (!list || !list->as<Array>()) return attachments;
    Array& items = *list->as<Array>();
    for (std::size_t i = 0; i < items.size(); ++i) {
        Dictionary* item = items[i].as<Dictionary>();
        if (!item) continue;
        std::optional<std::uint64_t> size;
        if (i < sources.size())
            if (auto found = sizes.find(sources[i]); found != sizes.end()) size = found->second;
        attachments.push_back(attachmentOf(*item, size));
    }
    return attachments;
}

}  // namespace

const MessageReader kMsgReader{dictionaryOf, summaryOf, attachmentsOf};

}  // namespace tessivo::cli
