// Helpers for tests that drive `tessivo` and the desktop-search hosts as a
// user would: running a command line, and a scratch folder of their own.
#pragma once

#include <filesystem>
#include <string>

namespace tessivo::testing {

struct CommandResult {
    int status = -1;  // exit status, or -1 when it did not exit normally
    std::string out;
};

CommandResult runCommand(const std::string& commandLine);

// text in single quotes for the shell.
std::string shellQuote(const std::string& text);

// An empty folder under the test temporary folder, named after name and this
// process, so that tests running in parallel never share one.
std::filesystem::path freshScratchDir(const std::string& name);

}  // namespace tessivo::testing
