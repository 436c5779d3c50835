#include "compound_cli.h"

#include "cli_io.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {

std::optional<CompoundInput> openCompound(const std::string& path, bool verbose) {
    if (!verbose) silenceLog();
    auto file = readAll(path);
    if (!file) return std::nullopt;
    int code = kCompoundOpened;
    Fault fault;
    // Moving the bytes into the result keeps their buffer where the Mole reads it.
    auto mole = Mole::initWithData(*file, &code, &fault);
    if (!mole) {
        reportError(path, compoundOpenFailure(code, fault));
        return std::nullopt;
    }
    return CompoundInput{std::move(*file), std::move(*mole)};
}

}  // namespace tessivo::cli
