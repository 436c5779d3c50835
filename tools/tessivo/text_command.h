// `tessivo text`: the importer's text for each file, as the desktop-search
// service would index it. The per-file work and the exit-status rules are
// here so that other output modes of the same command share them.
#pragma once

#include <string>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/importer/importer.h"

namespace tessivo::cli {

// Exit status for a valid message without a usable body.
constexpr int kExitNoText = 3;

struct TextOptions {
    std::string contentType = "com.orvanel.tessivo.msg";
    std::vector<std::string> files;
    bool verbose = false;  // let the readers' diagnostics through to stderr
};

// The importer's result for one file; an unaccepted content type gives
// NoBody with a reason, without reading the file.
importer::Result textOfFile(const icu::UnicodeString& contentType, const std::string& path);

// 0 for text, 3 for no usable body, 1 for a file that cannot be read or is
// not a compound document.
int exitStatusFor(importer::Outcome outcome);

// The status to report when files ended with statuses a and b: 1 over 3 over 0.
int worseStatus(int a, int b);

// The text as UTF-8, without its trailing NUL characters.
std::string printableText(const icu::UnicodeString& text);

}  // namespace tessivo::cli
