#include "text_command.h"

#include <memory>

#include "cli_io.h"
#include "commands.h"
#include "text_archive.h"
#include "tessivo/foundation/log.h"
#include "tessivo/text/message_text.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::cli {
namespace {

// Reports a file that gave no text on stderr.
void reportFailure(const std::string& path, const FileText& result) {
    if (result.outcome == importer::Outcome::NoBody)
        reportError(path, result.reason.empty() ? "no usable message body" : result.reason);
    else
        reportError(path, result.reason);
}

FileText exactText(const icu::UnicodeString& contentType, const std::string& path, Bytes& buffer) {
    if (!importer::acceptsContentType(contentType))
        return {importer::Outcome::NoBody, {}, "content type " + toUtf8(contentType) + " is not accepted by the importer", {}};
    const importer::Result result = importer::extractText(path, buffer);
    return {result.outcome, result.outcome == importer::Outcome::Text ? printableText(result.text) : std::string(),
            result.reason, {}};
}

FileText hostText(const std::string& path, Bytes& buffer) {
    const text::MessageText found = text::messageText(path, buffer);
    return {found.outcome, printableText(found.text()), found.reason, text::formatName(found.format)};
}

int runText(const TextOptions& options) {
    if (!options.verbose) silenceLog();
    const icu::UnicodeString contentType = fromUtf8(options.contentType);
    const bool several = options.files.size() > 1;
    int status = kExitOk;
    Bytes buffer;
    for (const auto& path : options.files) {
        const FileText result = textOfFile(options, contentType, path, buffer);
        status = worseStatus(status, exitStatusFor(result.outcome));
        if (result.outcome != importer::Outcome::Text) reportFailure(path, result);
        std::string out = result.text;
        if (result.outcome != importer::Outcome::Text && out.empty()) continue;
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

FileText textOfFile(const TextOptions& options, const icu::UnicodeString& contentType, const std::string& path,
                    Bytes& buffer) {
    return options.exact ? exactText(contentType, path, buffer) : hostText(path, buffer);
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
    auto* cmd = app.add_subcommand("text", "the searchable text of each message FILE (.msg, .eml, winmail.dat)");
    cmd->add_flag("--exact", options->exact,
                  "print exactly the text the macOS desktop-search importer stores for an Outlook message "
                  "(its body choice and decoding, no header lines)");
    cmd->add_option("--content-type", options->contentType,
                    "with --exact, the content type to import as; only com.orvanel.tessivo.msg and "
                    "com.orvanel.tessivopro.msg are accepted, any other gives no text (exit 3)")
        ->capture_default_str();
    cmd->add_flag("-v,--verbose", options->verbose, "show the readers' diagnostics (damaged structures, missing streams)");
    cmd->add_option("FILE", options->files, "message files (.msg, .eml, or TNEF streams such as winmail.dat); "
                                            "with --jsonl also folders")
        ->required();
    auto archive = std::make_shared<ArchiveOptions>();
    addArchiveOptions(*cmd, *archive);
    cmd->footer(
        "Prints each message's text as UTF-8: lines of its subject, sender, recipients, date and attachment "
        "names, a blank line, then its best body (for .msg: compressed RTF, HTML, Unicode or 8-bit text, "
        "decoded by the character set the message declares). The format is detected from the bytes. With "
        "several files each text follows a line \"==> FILE <==\".\n"
        "Exit status: 0 every file gave text; 1 a file cannot be read or is not a message; "
        "3 a message without a usable body (its header lines are still printed; with --exact, also an "
        "unaccepted content type); 2 usage error. With several failures, 1 wins over 3.");
    cmd->callback([options, archive, &status] {
        status = archive->jsonl ? runTextArchive(*options, *archive) : runText(*options);
    });
}

}  // namespace tessivo::cli
