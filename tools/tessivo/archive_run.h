// Archive mode: one JSON line for every message under some folders, made by
// several workers and written in the order the walk found the files.
//
//   ArchiveRun run{.jobs = 4};
//   int status = runArchive({"~/Mail", "old.msg"}, run, [](const ArchiveFile& file) {
//       return ArchiveLine{"{\"path\":...}", kExitOk, ""};
//   });
//
// Folders are walked recursively in sorted order (symbolic links are
// followed, each folder is visited once); files whose extension is one of
// kArchiveExtensions in any letter case are read, and a file named on the
// command line is always read. A folder that cannot be listed is reported
// on stderr and makes the status 1. Progress ("N of M files") is shown on
// stderr only when stderr is a terminal.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tessivo::cli {

// Message files walked in folders: Outlook messages, Internet messages and TNEF streams.
inline constexpr const char* kArchiveExtensions[] = {".msg", ".eml", ".dat", ".tnef"};

struct ArchiveFile {
    std::string path;      // as given, or the folder given joined with the path found in it
    std::string relative;  // the path below the folder given, or the file's name for a file given
};

// One file's result, made by a worker; lines hold no newline.
struct ArchiveLine {
    std::string json;
    int status = 0;
    std::string problem;  // reported on stderr, with the file's path, when not empty
};

struct ArchiveRun {
    unsigned jobs = 0;  // 0: one worker per core
};

// {"path","ok":false,"error"} with status 1, reported on stderr.
ArchiveLine failedLine(const std::string& path, const std::string& reason);

using LineMaker = std::function<ArchiveLine(const ArchiveFile& file)>;

// Adds --jobs to a command, storing into run.jobs.
CLI::Option* addJobsOption(CLI::App& command, ArchiveRun& run);

// Runs makeLine on every file the walk of paths finds, while the walk goes on
// (from several threads: it must be safe to call concurrently), and writes
// the lines to stdout in walk order; the worst of
// the lines' statuses by worse, 1 also for an unlistable folder or a write
// error on stdout.
int runArchive(const std::vector<std::string>& paths, const ArchiveRun& run, const LineMaker& makeLine,
               const std::function<int(int, int)>& worse);

}  // namespace tessivo::cli
