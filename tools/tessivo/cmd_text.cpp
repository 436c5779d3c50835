#include "text_command.h"

#include <memory>

#include "cli_io.h"
#include "commands.h"
#include "text_archive.h"
#include "tessivo/foundation/log.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::cli {
namespace {

// Reports a file that gave no text on stderr; nothing goes to stdout for it.
void reportFailure(const std::string& path, const importer::Result& result) {
    if (result.outcome == importer::Outcome::NoBody)
        reportError(path, result.reason.empty() ? "no usable message body" : result.reason);
    else
        reportError(path, result.reason);
}

int runText(const TextOptions& options) {
    if (!options.verbose) silenceLog();
    const icu::UnicodeString contentType = fromUtf8(options.contentType);
    const bool several = options.files.size() > 1;
    int status = kExitOk;
    for (const auto& path : options.files) {
        const importer::Result result = textOfFile(contentType, path);
        status = worseStatus(status, exitStatusFor(result.outcome));
        if (result.outcome != importer::Outcome::Text) {
            reportFailure(path, result);
            continue;
        }
        std::string out = printableText(result.text);
        if (several) {
            out.insert(0, "==> " + path + " <==\n");
            if (out.back() != '\n') out.push_back('\n');
        }
        if (!writeOut(asBytes(out))) {
            reportError("stdout", "write error");
            return kExitBadInput;
        }
    }
    return status;
}

}  // namespace

importer::Result textOfFile(const icu::UnicodeString& contentType, const std::string& path) {
    if (!importer::acceptsContentType(contentType))
        return importer::Result{importer::Outcome::NoBody, {},
                                "content type " + toUtf8(contentType) + " is not accepted by the importer"};
    return importer::extractText(path);
}

int exitStatusFor(importer::Outcome outcome) {
    switch (outcome) {
    case importer::Outcome::Text: return kExitOk;
    case importer::Outcome::NoBody: return kExitNoText;
    case importer::Outcome::NotMessage:
    case importer::Outcome::Unreadable: return kExitBadInput;
    }
    return kExitBadInput;
}

int worseStatus(int a, int b) {
    auto rank = [](int s) { return s == kExitBadInput ? 2 : s == kExitNoText ? 1 : 0; };
    return rank(b) > rank(a) ? b : a;
}

std::string printableText(const icu::UnicodeString& text) {
    return toUtf8(WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(text));
}

void addTextCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<TextOptions>();
    auto* cmd = app.add_subcommand("text", "the body text the desktop-search importer indexes, for each FILE");
    cmd->add_option("--content-type", options->contentType,
                    "content type to import as; only com.orvanel.tessivo.msg and com.orvanel.tessivopro.msg "
                    "are accepted, any other gives no text (exit 3)")
        ->capture_default_str();
    cmd->add_flag("-v,--verbose", options->verbose, "show the readers' diagnostics (damaged structures, missing streams)");
    cmd->add_option("FILE", options->files, "Outlook message files (.msg); with --jsonl also folders")->required();
    auto archive = std::make_shared<ArchiveOptions>();
    addArchiveOptions(*cmd, *archive);
    cmd->footer(
        "Prints each file's text as UTF-8, without trailing NUL characters; with several files each text "
        "follows a line \"==> FILE <==\".\n"
        "Exit status: 0 every file gave text; 1 a file cannot be read or is not a compound document; "
        "3 a message without a usable body (or an unaccepted content type); 2 usage error. "
        "With several failures, 1 wins over 3.");
    cmd->callback([options, archive, &status] {
        status = archive->jsonl ? runArchive(*options, *archive) : runText(*options);
    });
}

}  // namespace tessivo::cli
