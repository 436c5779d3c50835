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
#include "tessivo/foundation/log.h"
#include "tessivo/text/message_text.h"

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
    std::vector<icu::UnicodeString> recipients = facts.recipients;
    recipients.insert(recipients.end(), facts.copies.begin(), facts.copies.end());
    if (!recipients.empty()) answer.add("recipient", joined(recipients));
    if (facts.date) answer.add("modificationdate", std::to_string(std::llround(facts.date->secondsSince1970)));
    if (!facts.attachmentNames.empty()) answer.add("attachment", joined(facts.attachmentNames));
}

recoll::Answer fileError(const std::string& path, const std::string& reason) {
    reportError(path, reason);
    return recoll::Answer().add("Fileerror", "");
}

// The hosts' text of an Outlook message or TNEF stream (header lines, then
// the body) and the message's fields. A message without a usable body is
// indexed by its name, header lines and fields alone.
recoll::Answer messageAnswer(const std::string& path) {
    auto input = openMessageFile(path);
    if (const auto* reason = std::get_if<std::string>(&input)) return fileError(path, *reason);
    const MessageFile& file = std::get<MessageFile>(input);
    const text::MessageText found = text::messageText(file.bytes());
    if (found.format == text::Format::Mime)
        return fileError(path, "neither an Outlook message nor a TNEF stream (" + std::string(file.format().name) + ")");
    if (found.outcome != importer::Outcome::Text && found.outcome != importer::Outcome::NoBody)
        return fileError(path, found.reason);
    recoll::Answer answer;
    answer.add("Document", printableText(found.text()));
    addFields(answer, found.facts);
    return answer.add("Mimetype", "text/plain").add("Charset", "utf-8").add("Eofnext", "");
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
