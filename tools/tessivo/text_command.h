// `tessivo text`: each message's searchable text, as the Linux search hosts
// index it, or with --exact the desktop-search importer's text byte for
// byte. The per-file work and the exit-status rules are here so that the
// archive mode of the same command shares them.
#pragma once

#include <string>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"
#include "tessivo/importer/importer.h"

namespace tessivo::cli {

// Exit status for a valid message without a usable body.
constexpr int kExitNoText = 3;

struct TextOptions {
    std::string contentType = "com.orvanel.tessivo.msg";
    std::vector<std::string> files;
    bool exact = false;    // the importer's text instead of the hosts' text
    bool verbose = false;  // let the readers' diagnostics through to stderr
};

// One file's text as printed: UTF-8 without trailing NULs.
struct FileText {
    importer::Outcome outcome = importer::Outcome::Unreadable;
    std::string text;     // with NoBody, the header block alone (the hosts' text) or ""
    std::string reason;   // for NotMessage, Unreadable and an unaccepted content type
    std::string format;   // "msg", "tnef", "mime"; "" with --exact
};

// The text of the file at path, read into buffer (whose capacity a caller
// that reads many files keeps). With --exact an unaccepted content type
// gives NoBody with a reason, without reading the file.
FileText textOfFile(const TextOptions& options, const icu::UnicodeString& contentType, const std::string& path,
                    Bytes& buffer);

// 0 for text, 3 for no usable body, 1 for a file that cannot be read or is
// not a message.
int exitStatusFor(importer::Outcome outcome);

// The status to report when files ended with statuses a and b: 1 over 3 over 0.
int worseStatus(int a, int b);

// The text as UTF-8, without its trailing NUL characters.
std::string printableText(const icu::UnicodeString& text);

}  // namespace tessivo::cli
