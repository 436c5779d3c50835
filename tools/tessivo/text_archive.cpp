#include "text_archive.h"

#include <nlohmann/json.hpp>

#include "commands.h"
#include "dictionary_json.h"
#include "message_folders.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {
namespace {

// Attachments are read again through the format's reader: the text does
// not keep their bytes, so a run without --attachments never holds them.
void addAttachments(nlohmann::ordered_json& line, ArchiveLine& out, const ArchiveOptions& archive,
                    const ArchiveFile& file, ByteView bytes) {
    auto read = attachmentsOfMessage(bytes);
    if (const auto* reason = std::get_if<std::string>(&read)) {
        out.problem = "cannot read attachments: " + *reason;
        out.status = kExitBadInput;
        return;
    }
    SavedAttachments saved =
        saveIntoMessageFolder(archive.attachments, file.relative, std::get<std::vector<MessageAttachment>>(read));
    line["attachments"] = std::move(saved.paths);
    if (!saved.problem.empty()) {
        out.problem = std::move(saved.problem);
        out.status = kExitBadInput;
    }
}

ArchiveLine textLine(const TextOptions& options, const ArchiveOptions& archive, const icu::UnicodeString& contentType,
                     const ArchiveFile& file) {
    // Each worker reads its files into one buffer that keeps its capacity:
    // allocating and freeing a buffer per file costs more in the kernel than the reading.
    thread_local Bytes buffer;
    const FileText result = textOfFile(options, contentType, file.path, buffer);
    nlohmann::ordered_json line;
    line["path"] = file.path;
    ArchiveLine out{{}, exitStatusFor(result.outcome), {}};
    if (result.outcome == importer::Outcome::NotMessage || result.outcome == importer::Outcome::Unreadable) {
        line["ok"] = false;
        line["error"] = result.reason;
    } else {
        if (!result.format.empty()) line["format"] = result.format;
        line["ok"] = true;
        line["text"] = result.text;
        if (!archive.attachments.empty() && result.reason.empty()) addAttachments(line, out, archive, file, buffer);
    }
    out.json = jsonLine(line);
    return out;
}

}  // namespace

void addArchiveOptions(CLI::App& textCommand, ArchiveOptions& options) {
    auto* jsonl = textCommand.add_flag(
        "--jsonl", options.jsonl,
        "archive mode: FILE may be a folder (walked recursively for .msg, .eml, .dat and .tnef files, in any "
        "letter case); one JSON object per file and line: {\"path\",\"format\",\"ok\":true,\"text\"} or "
        "{\"path\",\"ok\":false,\"error\"}; a message without a usable body gives ok true; lines follow the "
        "sorted walk order; progress on stderr when it is a terminal");
    addJobsOption(textCommand, options.run)->needs(jsonl);
    textCommand
        .add_option("--attachments", options.attachments,
                    "archive mode: save every attachment under DIR, in a folder per message named after its "
                    "path below the folder walked (e.g. DIR/2019/budget.msg/plan.xlsx); listed in the "
                    "line's \"attachments\"")
        ->type_name("DIR")
        ->needs(jsonl);
}

int runTextArchive(const TextOptions& options, const ArchiveOptions& archive) {
    if (!options.verbose) silenceLog();
    const icu::UnicodeString contentType = fromUtf8(options.contentType);
    return runArchive(
        options.files, archive.run,
        [&](const ArchiveFile& file) { return textLine(options, archive, contentType, file); }, worseStatus);
}

}  // namespace tessivo::cli
