// `tessivo decode KIND [FILE]`: runs one of the body and transfer decoders
// over a file or standard input and writes the result to standard output.
#include <string>
#include <vector>

#include "cli_io.h"
#include "commands.h"
#include "decode_kinds.h"

namespace tessivo::cli {
namespace {

// Each decoder module contributes its kinds here, one line per module.
constexpr std::vector<DecodeKind> (*kKindSources[])() = {
    rtfDecodeKinds,
    htmlDecodeKinds,
    mimeDecodeKinds,
};

const std::vector<DecodeKind>& decodeKinds() {
    static const std::vector<DecodeKind> kinds = [] {
        std::vector<DecodeKind> all;
        for (auto source : kKindSources)
            for (auto& kind : source()) all.push_back(std::move(kind));
        return all;
    }();
    return kinds;
}

struct DecodeOptions {
    std::string kind;
    std::string file;
};

int runDecode(const DecodeOptions& options) {
    const DecodeKind* kind = nullptr;
    for (const auto& k : decodeKinds())
        if (k.name == options.kind) kind = &k;
    if (kind == nullptr) {
        reportError("decode", "unknown kind \"" + options.kind + "\" (see tessivo decode --help)");
        return kExitUsage;
    }
    const auto input = readAll(options.file);
    if (!input) return kExitBadInput;
    std::string reason;
    const auto output = kind->decode(*input, reason);
    if (!output) {
        const bool fromStdin = options.file.empty() || options.file == "-";
        reportError(fromStdin ? "stdin" : options.file, reason.empty() ? "cannot be decoded as " + kind->name : reason);
        return kExitBadInput;
    }
    if (!writeOut(*output)) {
        reportError("stdout", "write error");
        return kExitBadInput;
    }
    return kExitOk;
}

}  // namespace

void addDecodeCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<DecodeOptions>();
    auto* command = app.add_subcommand("decode", "Decode a body or transfer encoding from FILE (or stdin) to stdout.");
    command->add_option("KIND", options->kind, "What the input is; one of the kinds below")->required();
    command->add_option("FILE", options->file, "Input file; stdin when absent or \"-\"");
    std::string kinds = "Kinds:";
    for (const auto& k : decodeKinds()) {
        const std::size_t pad = k.name.size() < 14 ? 14 - k.name.size() : 1;
        kinds += "\n  " + k.name + std::string(pad, ' ') + k.description;
    }
    command->footer(kinds);
    command->callback([options, &status] { status = runDecode(*options); });
}

}  // namespace tessivo::cli
