// The subcommands of the tessivo command line. Each add* function adds one
// subcommand to app; when it runs, its callback stores the exit status in status.
//
// Exit statuses shared by all commands: 0 success, 1 unreadable or undecodable
// input (one line on stderr naming the file and the reason), 2 usage error.
#pragma once

#include <CLI/CLI.hpp>

namespace tessivo::cli {

constexpr int kExitOk = 0;
constexpr int kExitBadInput = 1;
constexpr int kExitUsage = 2;

void addRecollSetupCommand(CLI::App& app, int& status);
void addRecollHandlerCommand(CLI::App& app, int& status);
void addBalooSetupCommand(CLI::App& app, int& status);
void addDecodeCommand(CLI::App& app, int& status);
void addLsCommand(CLI::App& app, int& status);
void addCatCommand(CLI::App& app, int& status);

void addTextCommand(CLI::App& app, int& status);

void addDumpCommand(CLI::App& app, int& status);
void addSummaryCommand(CLI::App& app, int& status);
void addAttachmentsCommand(CLI::App& app, int& status);

}  // namespace tessivo::cli
