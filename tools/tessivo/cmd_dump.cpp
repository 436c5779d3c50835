// `tessivo dump [--data] FILE...` and `tessivo summary FILE...`: a message's
// full dictionary, or its short summary, as one JSON line per file:
//   {"path":...,"format":"msg","ok":true,"dictionary":{...}}   (summary: "summary")
//   {"path":...,"ok":false,"error":"..."}
// A file that cannot be read also gets a line on stderr; the run goes on.
#include <exception>
#include <memory>

#include "cli_io.h"
#include "commands.h"
#include "dictionary_json.h"
#include "message_input.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {
namespace {

using DictionaryOf = ReadResult<Dictionary> (*MessageReader::*)(ByteView);

struct DumpOptions {
    std::vector<std::string> files;
    bool data = false;
    bool verbose = false;
};

nlohmann::ordered_json failureLine(const std::string& path, const std::string& reason) {
    reportError(path, reason);
    nlohmann::ordered_json line;
    line["path"] = path;
    line["ok"] = false;
    line["error"] = reason;
    return line;
}

nlohmann::ordered_json fileLine(const std::string& path, DictionaryOf which, const char* key,
                                const JsonOptions& json) {
    auto input = openMessageFile(path);
    if (auto* reason = std::get_if<std::string>(&input)) return failureLine(path, *reason);
    const MessageFile& file = std::get<MessageFile>(input);
    std::string reason;
    const MessageReader* reader = readerOrReason(file, reason);
    if (!reader) return failureLine(path, reason);
    auto read = (reader->*which)(file.bytes());
    if (auto* failed = std::get_if<std::string>(&read)) return failureLine(path, *failed);
    nlohmann::ordered_json line;
    line["path"] = path;
    line["format"] = file.format().name;
    line["ok"] = true;
    line[key] = dictionaryJson(std::get<Dictionary>(read), json);
    return line;
}

int runDump(const DumpOptions& options, DictionaryOf which, const char* key) {
    if (!options.verbose) silenceLog();
    const JsonOptions json{options.data};
    int status = kExitOk;
    for (const auto& path : options.files) {
        nlohmann::ordered_json line;
        try {
            line = fileLine(path, which, key, json);
        } catch (const std::exception& e) {
            line = failureLine(path, e.what());
        }
        if (!line["ok"].get<bool>()) status = kExitBadInput;
        std::string text = jsonLine(line);
        text += '\n';
        if (!writeOut(asBytes(text))) {
            reportError("stdout", "write error");
            return kExitBadInput;
        }
    }
    return status;
}

CLI::App* addDictionaryCommand(CLI::App& app, int& status, const char* name, const char* description,
                               DictionaryOf which, const char* key, std::shared_ptr<DumpOptions> options) {
    auto* cmd = app.add_subcommand(name, description);
    cmd->add_option("FILE", options->files,
                    "message files (.msg, .eml, or TNEF streams such as winmail.dat); \"-\" reads standard input")
        ->required();
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
    cmd->footer(
        "Prints one JSON object per file and line: {\"path\",\"format\",\"ok\":true,\"dictionary\"} or "
        "{\"path\",\"ok\":false,\"error\"}. The format is detected from the first bytes, never from the name. "
        "Keys keep the reader's order; address lists are arrays of {\"Name\",\"Address\"}; byte values "
        "(RTF, attachment data, metadata) are {\"bytes\":N}; dates are ISO 8601 text in UTC.\n"
        "Exit status: 0 every file was read; 1 a file cannot be read or is not a message this build reads; "
        "2 usage error.");
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
