// `tessivo recoll-handler`: Recoll's persistent input handler for Outlook
// messages, named by the "execm" entry that `tessivo recoll-setup` writes.
// The indexer starts it once and hands it every message over stdin, so a
// folder of messages costs one process start, not one per file.
#include <exception>
#include <iostream>
#include <memory>

#include "cli_io.h"
#include "commands.h"
#include "recoll_execm.h"
#include "text_command.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {
namespace {

// Each file holds one document, the message itself (empty internal path).
recoll::Answer messageAnswer(const std::string& path) {
    recoll::Answer answer;
    importer::Result result;
    try {
        result = importer::extractText(path);
    } catch (const std::exception& e) {
        result = importer::Result{importer::Outcome::Unreadable, {}, e.what()};
    }
    switch (result.outcome) {
    case importer::Outcome::Text: answer.add("Document", printableText(result.text)); break;
    case importer::Outcome::NoBody: answer.add("Document", ""); break;  // indexed by its name alone
    case importer::Outcome::NotMessage:
    case importer::Outcome::Unreadable:
        reportError(path, result.reason);
        return answer.add("Fileerror", "");
    }
    return answer.add("Mimetype", "text/plain").add("Charset", "utf-8").add("Eofnext", "");
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
            answer = messageAnswer(path);
        fileDone = true;
        if (!recoll::writeAnswer(std::cout, answer)) {
            reportError("stdout", "write error");
            return kExitBadInput;
        }
    }
}

}  // namespace

void addRecollHandlerCommand(CLI::App& app, int& status) {
    auto* cmd = app.add_subcommand("recoll-handler", "Recoll's input handler for .msg files (started by recollindex)");
    cmd->group("");  // not listed: Recoll runs it, people do not
    cmd->footer("Speaks Recoll's execm protocol on stdin and stdout; `tessivo recoll-setup` names it in mimeconf.");
    cmd->callback([&status] { status = runRecollHandler(); });
}

}  // namespace tessivo::cli
