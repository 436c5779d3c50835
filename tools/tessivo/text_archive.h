// Archive mode of `tessivo text`: the text of every message under some folders,
// as JSON Lines.
//
//   tessivo text --jsonl --jobs 4 ~/Mail/archive old.msg > texts.jsonl
//
// Folders are walked recursively in sorted order (symbolic links are
// followed, each folder is visited once); files whose extension is .msg in
// any letter case are read, and a file named on the command line is always
// read. Each file gives one line, in the order the walk found the files:
//   {"path":"a/b.msg","ok":true,"text":"..."}    a body was found
//   {"path":"a/c.msg","ok":true,"text":""}       a message without a usable body
//   {"path":"a/d.msg","ok":false,"error":"..."}  unreadable, or not a message
// A damaged file never stops the run.
#pragma once

#include <CLI/CLI.hpp>

#include "text_command.h"

namespace tessivo::cli {

struct ArchiveOptions {
    bool jsonl = false;
    unsigned jobs = 0;  // 0: one worker per core
};

// Adds --jsonl and --jobs to the text command.
void addArchiveOptions(CLI::App& textCommand, ArchiveOptions& options);

// Runs archive mode over options.files, writing to stdout; returns the exit
// status `tessivo text` would give for the same files (1 also when a folder
// cannot be listed).
int runArchive(const TextOptions& options, const ArchiveOptions& archive);

}  // namespace tessivo::cli
