// Archive mode of `tessivo text`: the text of every message under some
// folders, as JSON Lines.
//
//   tessivo text --jsonl --jobs 4 --attachments out/ ~/Mail/archive old.msg > texts.jsonl
//
// Folders are walked as archive_run.h says (.msg, .eml, .dat and .tnef files,
// read by their content); each file gives one line, in walk order:
//   {"path":"a/b.msg","format":"msg","ok":true,"text":"..."}   text found
//   {"path":"a/c.msg","format":"msg","ok":true,"text":"..."}   no usable body: the header lines, or ""
//   {"path":"a/d.msg","ok":false,"error":"..."}                unreadable, or not a message
// With --attachments DIR a line also has "attachments": the files saved
// under DIR in the message's own folder. A damaged file never stops the run.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "archive_run.h"
#include "text_command.h"

namespace tessivo::cli {

struct ArchiveOptions {
    bool jsonl = false;
    ArchiveRun run;
    std::string attachments;  // folder to save attachments under; "" saves none
};

// Adds --jsonl, --jobs and --attachments to the text command.
void addArchiveOptions(CLI::App& textCommand, ArchiveOptions& options);

// Runs archive mode over options.files, writing to stdout; returns the exit
// status `tessivo text` would give for the same files (1 also when a folder
// cannot be listed or an attachment cannot be saved).
int runTextArchive(const TextOptions& options, const ArchiveOptions& archive);

}  // namespace tessivo::cli
