#include "compound_cli.h"

#include "cli_io.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {

const char* compoundResultReason(int code) {
    switch (code) {
    case kCompoundTooShort: return "too short for a compound document (fewer than 512 bytes)";
    case kCompoundBadSignature: return "wrong signature: not a compound document";
    case kCompoundInvalid: return "invalid header or damaged structure";
    case kCompoundNoComponent: return "empty file: not a compound document";
    default: return "cannot be opened as a compound document";
    }
}

std::optional<CompoundInput> openCompound(const std::string& path, bool verbose) {
    if (!verbose) silenceLog();
    auto file = openInput(path);
    if (!file) return std::nullopt;
    int code = kCompoundOpened;
    auto mole = Mole::initWithData(file->bytes(), &code);
    if (!mole) {
        reportError(path, compoundResultReason(code));
        return std::nullopt;
    }
    return CompoundInput{std::move(*file), std::move(*mole)};
}

}  // namespace tessivo::cli
