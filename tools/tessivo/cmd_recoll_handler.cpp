// `tessivo recoll-handler`: Recoll's persistent input handler for Outlook
// messages and TNEF streams (winmail.dat, which Recoll meets as mail
// attachments of type application/ms-tnef), named by the "execm" entries
// that `tessivo recoll-setup` writes. The indexer starts it once and hands
// it every file over stdin, so a folder of messages costs one process
// start, not one per file.
#include <cmath>
#include <exception>
#include <iostream>
#include <memory>
#include <variant>

#include "cli_io.h"
#include "commands.h"
#include "message_input.h"
#include "recoll_execm.h"
#include "text_command.h"
#include "tessivo/body/html_conversion.h"
#include "tessivo/body/rtf_data.h"
#include "tessivo/foundation/log.h"
#include "tessivo/importer/message_metadata.h"
#include "tessivo/tnef/read_tnef.h"

namespace tessivo::cli {
namespace {

std::string joined(const std::vector<icu::UnicodeString>& items) {
    std::string text;
    for (const auto& item : items) text += (text.empty() ? "" : ", ") + toUtf8(item);
    return text;
}

// The fields Recoll's handlers set for mail: title, author and recipient are
// searchable as title:, author: and recipient:, modificationdate (Unix
// seconds) becomes the document's date; attachment is defined by the
// fields file that recoll-setup writes.
void addFields(recoll::Answer& answer, const importer::MessageMetadata& facts) {
    if (!facts.title.isEmpty()) answer.add("title", toUtf8(facts.title));
    if (!facts.author.isEmpty()) answer.add("author", toUtf8(facts.author));
    if (!facts.recipients.empty()) answer.add("recipient", joined(facts.recipients));
    if (facts.date) answer.add("modificationdate", std::to_string(std::llround(facts.date->secondsSince1970)));
    if (!facts.attachmentNames.empty()) answer.add("attachment", joined(facts.attachmentNames));
}

recoll::Answer fileError(const std::string& path, const std::string& reason) {
    reportError(path, reason);
    return recoll::Answer().add("Fileerror", "");
}

recoll::Answer textAnswer(const icu::UnicodeString& text, const importer::MessageMetadata& facts) {
    recoll::Answer answer;
    answer.add("Document", printableText(text));
    addFields(answer, facts);
    return answer.add("Mimetype", "text/plain").add("Charset", "utf-8").add("Eofnext", "");
}

// An Outlook message: the importer's body text and the message's fields. A
// message without a usable body is indexed by its name and fields alone.
recoll::Answer msgAnswer(const std::string& path, ByteView bytes) {
    const importer::Result result = importer::extractText(bytes);
    if (result.outcome != importer::Outcome::Text && result.outcome != importer::Outcome::NoBody)
        return fileError(path, result.reason);
    const icu::UnicodeString text = result.outcome == importer::Outcome::Text ? result.text : icu::UnicodeString();
    return textAnswer(text, importer::msgMetadata(bytes).value_or(importer::MessageMetadata{}));
}

// The text of a TNEF message dictionary: its plain body, else its RTF body,
// else its HTML body as text.
icu::UnicodeString tnefBodyText(const Dictionary& message) {
    if (const Value* body = message.get(u"Body"); body && body->string() && !body->string()->isEmpty())
        return *body->string();
    if (const Value* rtf = message.get(u"RTF"); rtf && rtf->bytes())
        if (auto text = DataWangersNSDataAdditions::stringFromRTFData(*rtf->bytes())) return *text;
    if (const Value* html = message.get(u"HTML"); html && html->string()) return WindowsCodePageWangersNSStringAdditions::stringFromHTML(*html->string());
    return {};
}

// A TNEF stream: its body and fields, as far as the reader decodes them.
recoll::Answer tnefAnswer(ByteView bytes) {
    const std::optional<ReadTNEF> reader = ReadTNEF::initWithData(bytes);
    if (!reader) return textAnswer({}, {});
    const Dictionary& message = reader->returnFullDictionary();
    return textAnswer(tnefBodyText(message), importer::messageMetadata(message));
}

// Each file holds one document, the message itself (empty internal path).
recoll::Answer messageAnswer(const std::string& path) {
    auto input = openMessageFile(path);
    if (const auto* reason = std::get_if<std::string>(&input)) return fileError(path, *reason);
    const MessageFile& file = std::get<MessageFile>(input);
    const std::string_view format = file.format().name;
    if (format == "msg") return msgAnswer(path, file.bytes());
    if (format == "tnef") return tnefAnswer(file.bytes());
    return fileError(path, "neither an Outlook message nor a TNEF stream (" + std::string(format) + ")");
}

// Nothing that goes wrong with one file ends the handler.
recoll::Answer answerOrFailure(const std::string& path) {
    try {
        return messageAnswer(path);
    } catch (const std::exception& e) {
        return fileError(path, e.what());
    }
}

int runRecollHandler() {
    silenceLog();
    std::ios::sync_with_stdio(false);
    recoll::ExecmReader reader(std::cin);
    recoll::Request request;
    bool fileDone = true;  // the current file's one document has been sent
    std::string path;
    for (;;) {
        switch (reader.next(request)) {
        case recoll::ReadStatus::End: return kExitOk;
        case recoll::ReadStatus::Malformed: reportError("recoll-handler", reader.error()); return kExitBadInput;
        case recoll::ReadStatus::Request: break;
        }
        if (const auto& name = request["filename"]; !name.empty()) {
            path = name;
            fileDone = false;
        }
        recoll::Answer answer;
        if (!request["ipath"].empty())
            answer.add("Subdocerror", "");  // messages hold no inner documents
        else if (fileDone)
            answer.add("Eofnow", "");
        else
            answer = answerOrFailure(path);
        fileDone = true;
        if (!recoll::writeAnswer(std::cout, answer)) {
            reportError("stdout", "write error");
            return kExitBadInput;
        }
    }
}

}  // namespace

void addRecollHandlerCommand(CLI::App& app, int& status) {
    auto* cmd = app.add_subcommand("recoll-handler", "Recoll's input handler for .msg files and winmail.dat (started by recollindex)");
    cmd->group("");  // not listed: Recoll runs it, people do not
    cmd->footer("Speaks Recoll's execm protocol on stdin and stdout; `tessivo recoll-setup` names it in mimeconf.");
    cmd->callback([&status] { status = runRecollHandler(); });
}

}  // namespace tessivo::cli
