// `tessivo cat FILE PATH`: the bytes of one stream of a compound document, as
// the reader hands them out (whole sectors, so possibly more than the declared size).
#include <memory>

#include "cli_io.h"
#include "commands.h"
#include "compound_cli.h"

namespace tessivo::cli {
namespace {

struct CatOptions {
    std::string file;
    std::string path;
    bool verbose = false;
};

int runCat(const CatOptions& options) {
    auto input = openCompound(options.file, options.verbose);
    if (!input) return kExitBadInput;
    const auto bytes = input->mole.getStream(fromUtf8(options.path));
    if (!bytes) {
        reportError(options.file, "no such stream: " + options.path);
        return kExitBadInput;
    }
    if (!writeOut(*bytes)) {
        reportError("stdout", "write error");
        return kExitBadInput;
    }
    return kExitOk;
}

}  // namespace

void addCatCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<CatOptions>();
    auto* cmd = app.add_subcommand("cat", "write the bytes of one stream of a compound document (.msg) to stdout");
    cmd->add_option("FILE", options->file, "the compound document")->required();
    cmd->add_option("PATH", options->path, "the stream, e.g. __substg1.0_1000001F or /__recip_version1.0_#00000000/...")
        ->required();
    cmd->add_flag("-v,--verbose", options->verbose, "print the reader's diagnostics on stderr");
    cmd->callback([options, &status] { status = runCat(*options); });
}

}  // namespace tessivo::cli
