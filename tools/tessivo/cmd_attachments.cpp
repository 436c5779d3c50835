// `tessivo attachments [--list] [--out DIR] FILE...`: every attachment of
// each message, listed as JSON lines or saved into DIR through the
// attachment saver, which prints nothing but decides every file name.
#include <exception>
#include <iostream>
#include <memory>

#include "attachment_saver.h"
#include "cli_io.h"
#include "commands.h"
#include "dictionary_json.h"
#include "message_input.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {
namespace {

struct AttachmentsOptions {
    std::vector<std::string> files;
    std::string out = ".";
    bool list = false;
    bool verbose = false;
};

ReadResult<std::vector<MessageAttachment>> attachmentsOf(const std::string& path, std::string_view& format) {
    auto input = openMessageFile(path);
    if (auto* reason = std::get_if<std::string>(&input)) return *reason;
    const MessageFile& file = std::get<MessageFile>(input);
    std::string reason;
    const MessageReader* reader = readerOrReason(file, reason);
    if (!reader) return reason;
    format = file.format().name;
    return reader->attachments(file.bytes());
}

nlohmann::ordered_json listEntry(const MessageAttachment& attachment) {
    nlohmann::ordered_json entry;
    entry["name"] = toUtf8(attachment.name);
    entry["size"] = attachment.data ? nlohmann::ordered_json(attachment.data->size()) : nullptr;
    entry["mimeType"] = attachment.mimeType ? nlohmann::ordered_json(toUtf8(*attachment.mimeType)) : nullptr;
    if (!attachment.incomplete.empty()) entry["incomplete"] = attachment.incomplete;
    return entry;
}

bool print(const std::string& line) {
    std::string text = line + '\n';
    return writeOut(asBytes(text));
}

// One file's attachments saved, each path printed; false when one could not
// be saved or was saved incomplete.
bool saveAll(const std::string& path, const std::vector<MessageAttachment>& attachments,
             const AttachmentSaver& saver, bool& writeFailed) {
    bool ok = true;
    for (const auto& attachment : attachments) {
        if (!attachment.data) continue;
        auto written = saver.save(attachment.name, *attachment.data);
        if (auto* reason = std::get_if<std::string>(&written)) {
            reportError(path, "cannot save attachment: " + *reason);
            ok = false;
            continue;
        }
        const std::string saved = std::get<std::filesystem::path>(written).string();
        if (!attachment.incomplete.empty()) {
            reportError(path, "attachment saved incomplete as " + saved + ": " + attachment.incomplete);
            ok = false;
        }
        if (!print(saved)) {
            writeFailed = true;
            return false;
        }
    }
    return ok;
}

int runAttachments(const AttachmentsOptions& options) {
    if (!options.verbose) silenceLog();
    std::optional<AttachmentSaver> saver;
    if (!options.list) {
        auto opened = AttachmentSaver::open(options.out);
        if (auto* reason = std::get_if<std::string>(&opened)) {
            reportError(options.out, *reason);
            return kExitBadInput;
        }
        saver.emplace(std::move(std::get<AttachmentSaver>(opened)));
    }
    int status = kExitOk;
    bool writeFailed = false;
    for (const auto& path : options.files) {
        std::string_view format;
        ReadResult<std::vector<MessageAttachment>> read;
        try {
            read = attachmentsOf(path, format);
        } catch (const std::exception& e) {
            read = std::string(e.what());
        }
        nlohmann::ordered_json line;
        line["path"] = path;
        if (auto* reason = std::get_if<std::string>(&read)) {
            reportError(path, *reason);
            status = kExitBadInput;
            if (!options.list) continue;
            line["ok"] = false;
            line["error"] = *reason;
        } else if (options.list) {
            line["format"] = format;
            line["ok"] = true;
            line["attachments"] = nlohmann::ordered_json::array();
            for (const auto& attachment : std::get<std::vector<MessageAttachment>>(read))
                line["attachments"].push_back(listEntry(attachment));
        } else {
            if (!saveAll(path, std::get<std::vector<MessageAttachment>>(read), *saver, writeFailed)) status = kExitBadInput;
            if (writeFailed) break;
            continue;
        }
        if (!print(jsonLine(line))) {
            writeFailed = true;
            break;
        }
    }
    if (writeFailed) {
        reportError("stdout", "write error");
        return kExitBadInput;
    }
    return status;
}

}  // namespace

void addAttachmentsCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<AttachmentsOptions>();
    auto* cmd = app.add_subcommand("attachments", "list or save the attachments of each FILE");
    auto* list = cmd->add_flag("--list", options->list,
                               "list instead of saving: one JSON object per file and line, "
                               "{\"path\",\"format\",\"ok\":true,\"attachments\":[{\"name\",\"size\",\"mimeType\"}]}, "
                               "with \"incomplete\" (the reason) for an attachment whose bytes cannot all be read");
    cmd->add_option("--out", options->out, "folder to save into, created when missing")
        ->capture_default_str()
        ->excludes(list);
    cmd->add_option("FILE", options->files,
                    "message files (.msg, .eml, or TNEF streams such as winmail.dat); \"-\" reads standard input")
        ->required();
    cmd->add_flag("-v,--verbose", options->verbose, "show the readers' diagnostics (damaged structures, missing streams)");
    cmd->footer(
        "Saves every attachment that has data into the folder and prints each saved file's path, one a line. "
        "Names from the message never leave the folder: separators, \"..\", drive letters, control characters "
        "and device names are made harmless, leading dots dropped, long names shortened keeping the extension. "
        "An existing file is never overwritten and a symbolic link is never followed: the next free name "
        "\"name-2.ext\", \"name-3.ext\", ... is used instead. The bytes saved are exactly the attachment's; "
        "for a MIME message, every part with a file name, its body decoded from base64 or quoted-printable.\n"
        "An attachment whose bytes cannot all be read (a damaged file) is saved as far as it goes and "
        "reported on stderr.\n"
        "Exit status: 0 every file was read and every attachment saved whole; 1 a file cannot be read, is "
        "not a message this build reads, or an attachment cannot be saved whole; 2 usage error.");
    cmd->callback([options, &status] { status = runAttachments(*options); });
}

}  // namespace tessivo::cli
