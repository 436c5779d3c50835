// `tessivo ls FILE`: every storage and stream of a compound document, one a
// line in tree order: the full path, and for a stream a tab and its declared size.
#include <iostream>
#include <memory>

#include "commands.h"
#include "compound_cli.h"

namespace tessivo::cli {
namespace {

struct LsOptions {
    std::string file;
    bool verbose = false;
};

int runLs(const LsOptions& options) {
    auto input = openCompound(options.file, options.verbose);
    if (!input) return kExitBadInput;
    for (const auto& record : input->mole.getDirectory()) {
        const Dictionary& entry = *record.dictionary();
        std::cout << toUtf8(*entry.get(u"entryname")->string());
        if (const Value* size = entry.get(u"entrysize")) std::cout << '\t' << size->toInt64();
        std::cout << '\n';
    }
    std::cout << std::flush;
    return std::cout ? kExitOk : kExitBadInput;
}

}  // namespace

void addLsCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<LsOptions>();
    auto* cmd = app.add_subcommand(
        "ls", "list the storages and streams of a compound document (.msg): full path, and for a stream a tab and "
              "its declared size");
    cmd->add_option("FILE", options->file, "the compound document")->required();
    cmd->add_flag("-v,--verbose", options->verbose, "print the reader's diagnostics on stderr");
    cmd->callback([options, &status] { status = runLs(*options); });
}

}  // namespace tessivo::cli
