// Running another program from a command and waiting for it.
//
//   int status = runProgram({"update-mime-database", dir}, Output::Discard);
//   if (status != 0) ...   // -1: it could not be started (reported on stderr)
#pragma once

#include <string>
#include <vector>

namespace tessivo::cli {

enum class Output { Keep, Discard };

// Runs argv[0] (looked up on PATH) with the given arguments, its stdout kept
// or discarded and its stderr kept, and returns its exit status; -1, with a
// message on stderr, when it cannot be started or does not exit normally.
int runProgram(const std::vector<std::string>& argv, Output output);

}  // namespace tessivo::cli
