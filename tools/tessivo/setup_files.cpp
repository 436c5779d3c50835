#include "setup_files.h"

#include <fstream>
#include <iostream>
#include <system_error>

#include "cli_io.h"
#include "tessivo/foundation/file_bytes.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBackupSuffix = ".tessivo-bak";

std::optional<std::string> readText(const fs::path& path) {
    Bytes bytes;
    std::string reason;
    if (!readWholeFile(path.string(), bytes, reason)) return std::nullopt;
    return std::string(bytes.begin(), bytes.end());
}

bool writeText(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    return !out.fail();
}

}  // namespace

std::optional<fs::path> runningProgram() {
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) {
        reportError("/proc/self/exe", "cannot tell where tessivo is installed: " + ec.message());
        return std::nullopt;
    }
    return exe;
}

bool updateSetupFile(const fs::path& target, const std::function<std::string(const std::string&)>& change) {
    std::error_code ec;
    const bool exists = fs::exists(target, ec);
    std::string before;
    if (exists) {
        auto text = readText(target);
        if (!text) {
            reportError(target.string(), "cannot read");
            return false;
        }
        before = std::move(*text);
    }
    const std::string after = change(before);
    if (after == before) {
        if (exists) std::cout << target.string() << ": unchanged\n";
        return true;
    }
    const fs::path backup = target.string() + kBackupSuffix;
    if (exists && !writeText(backup, before)) {
        reportError(backup.string(), "cannot write the backup copy");
        return false;
    }
    const fs::path temporary = target.string() + ".tessivo-new";
    bool written = writeText(temporary, after);
    if (written) {
        fs::rename(temporary, target, ec);
        written = !ec;
    }
    if (!written) {
        fs::remove(temporary, ec);
        reportError(target.string(), "cannot write");
        return false;
    }
    if (exists)
        std::cout << target.string() << ": updated (previous version in " << backup.string() << ")\n";
    else
        std::cout << target.string() << ": created\n";
    return true;
}

}  // namespace tessivo::cli
