// `tessivo dump [--data] FILE...` and `tessivo summary FILE...`: a message's
// full dictionary, or its short summary, as one JSON line per file:
//   {"path":...,"format":"msg","ok":true,"dictionary":{...}}   (summary: "summary")
//   {"path":...,"ok":false,"error":"..."}
// A file that cannot be read also gets a line on stderr; the run goes on.
// Folders are walked and files read in parallel as in archive mode
// (archive_run.h); dump can also save every attachment in a folder per message.
#include <algorithm>
#include <filesystem>
#include <memory>

#include "archive_run.h"
#include "cli_io.h"
#include "commands.h"
#include "dictionary_json.h"
#include "message_folders.h"
#include "message_input.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {
namespace {

using DictionaryOf = ReadResult<Dictionary> (*MessageReader::*)(ByteView, const std::string&);

struct DumpOptions {
    std::vector<std::string> files;
    bool data = false;
    bool verbose = false;
    ArchiveRun run;
    std::string attachments;  // folder to save attachments under; "" saves none
};

ArchiveLine fileLine(const ArchiveFile& path, DictionaryOf which, const char* key, const DumpOptions& options) {
    auto input = openMessageFile(path.path);
    if (auto* reason = std::get_if<std::string>(&input)) return failedLine(path.path, *reason);
    const MessageFile& file = std::get<MessageFile>(input);
    std::string reason;
    const MessageReader* reader = readerOrReason(file, reason);
    if (!reader) return failedLine(path.path, reason);
    const std::string fileName = path.path == "-" ? std::string() : std::filesystem::path(path.path).filename().string();
    auto read = (reader->*which)(file.bytes(), fileName);
    if (auto* failed = std::get_if<std::string>(&read)) return failedLine(path.path, *failed);
    nlohmann::ordered_json line;
    line["path"] = path.path;
    line["format"] = file.format().name;
    line["ok"] = true;
    line[key] = dictionaryJson(std::get<Dictionary>(read), JsonOptions{options.data});
    ArchiveLine out{{}, kExitOk, {}};
    if (!options.attachments.empty()) {
        auto attachments = reader->attachments(file.bytes());
        if (auto* failed = std::get_if<std::string>(&attachments)) {
            out.problem = "cannot read attachments: " + *failed;
        } else {
            SavedAttachments saved = saveIntoMessageFolder(options.attachments, path.relative,
                                                           std::get<std::vector<MessageAttachment>>(attachments));
            line["attachments"] = std::move(saved.paths);
            out.problem = std::move(saved.problem);
        }
        if (!out.problem.empty()) out.status = kExitBadInput;
    }
    out.json = jsonLine(line);
    return out;
}

int runDump(const DumpOptions& options, DictionaryOf which, const char* key) {
    if (!options.verbose) silenceLog();
    return runArchive(
        options.files, options.run, [&](const ArchiveFile& file) { return fileLine(file, which, key, options); },
        [](int a, int b) { return std::max(a, b); });
}

CLI::App* addDictionaryCommand(CLI::App& app, int& status, const char* name, const char* description,
                               DictionaryOf which, const char* key, std::shared_ptr<DumpOptions> options) {
    auto* cmd = app.add_subcommand(name, description);
    cmd->add_option("FILE", options->files,
                    "message files (.msg, .eml, or TNEF streams such as winmail.dat), or folders walked "
                    "recursively for .msg, .eml, .dat and .tnef files; \"-\" reads standard input")
        ->required();
    addJobsOption(*cmd, options->run);
    cmd->add_flag("-v,--verbose", options->verbose, "show the readers' diagnostics (damaged structures, missing streams)");
    cmd->callback([options, which, key, &status] { status = runDump(*options, which, key); });
    return cmd;
}

}  // namespace

void addDumpCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<DumpOptions>();
    auto* cmd = addDictionaryCommand(app, status, "dump", "the full message dictionary of each FILE, as JSON lines",
                                     &MessageReader::dictionary, "dictionary", options);
    cmd->add_flag("--data", options->data, "include the bytes of byte values as base64 (\"base64\" beside \"bytes\")");
    cmd->add_option("--attachments", options->attachments,
                    "save every attachment under DIR, in a folder per message named after its path below the "
                    "folder walked (e.g. DIR/2019/budget.msg/plan.xlsx); listed in the line's \"attachments\"")
        ->type_name("DIR");
    cmd->footer(
        "Prints one JSON object per file and line: {\"path\",\"format\",\"ok\":true,\"dictionary\"} or "
        "{\"path\",\"ok\":false,\"error\"}. The format is detected from the first bytes, never from the name. "
        "Keys keep the reader's order; address lists are arrays of {\"Name\",\"Address\"}; byte values "
        "(RTF, attachment data, metadata) are {\"bytes\":N}; dates are ISO 8601 text in UTC. Lines follow "
        "the sorted walk order; progress goes to stderr when it is a terminal.\n"
        "Exit status: 0 every file was read; 1 a file cannot be read, is not a message this build reads, or "
        "an attachment cannot be saved whole; 2 usage error.");
}

void addSummaryCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<DumpOptions>();
    auto* cmd = addDictionaryCommand(app, status, "summary",
                                     "a short summary (subject, sender, date, body) of each FILE, as JSON lines",
                                     &MessageReader::summary, "summary", options);
    cmd->footer(
        "Prints one JSON object per file and line: {\"path\",\"format\",\"ok\":true,\"summary\"} or "
        "{\"path\",\"ok\":false,\"error\"}. The format is detected from the first bytes, never from the name.\n"
        "Exit status: 0 every file was read; 1 a file cannot be read or is not a message this build reads; "
        "2 usage error.");
}

}  // namespace tessivo::cli
