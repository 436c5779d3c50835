// `tessivo recoll-setup`: adds Tessivo's input handler for .msg files to a
// user's Recoll configuration.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <system_error>

#include "cli_io.h"
#include "commands.h"
#include "recoll_config.h"
#include "tessivo/foundation/file_bytes.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kConfigFiles[] = {"mimemap", "mimeconf"};
constexpr const char* kBackupSuffix = ".tessivo-bak";

struct RecollSetupOptions {
    std::string configDir;
    std::string fromDir;
};

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

std::optional<fs::path> defaultConfigDir() {
    if (const char* dir = std::getenv("RECOLL_CONFDIR"); dir && *dir) return fs::path(dir);
    if (const char* home = std::getenv("HOME"); home && *home) return fs::path(home) / ".recoll";
    return std::nullopt;
}

// Tessivo's Recoll files: share/tessivo/recoll beside the installed command,
// or in the build tree that holds this command.
std::vector<fs::path> candidateFromDirs() {
    std::error_code ec;
    const fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) return {};
    const fs::path rel = fs::path("share") / "tessivo" / "recoll";
    return {exe.parent_path().parent_path() / rel, exe.parent_path().parent_path().parent_path() / rel};
}

std::optional<fs::path> findFromDir(const std::string& option) {
    if (!option.empty()) return fs::path(option);
    std::error_code ec;
    std::string looked;
    for (const auto& dir : candidateFromDirs()) {
        if (fs::is_regular_file(dir / "mimeconf", ec)) return dir;
        looked += (looked.empty() ? "" : ", ") + dir.string();
    }
    reportError("recoll-setup", "cannot find Tessivo's Recoll files (looked in " + looked + "); name their folder with --from");
    return std::nullopt;
}

// Merges one fragment into the user's file of the same name; false on failure.
bool mergeFile(const fs::path& fragmentPath, const fs::path& target) {
    const auto fragment = readText(fragmentPath);
    if (!fragment) {
        reportError(fragmentPath.string(), "cannot read");
        return false;
    }
    const auto settings = recoll::parseSettings(*fragment);
    if (settings.empty()) {
        reportError(fragmentPath.string(), "holds no settings");
        return false;
    }
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
    const std::string after = recoll::mergeSettings(before, settings);
    if (exists && after == before) {
        std::cout << target.string() << ": already set up\n";
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

int runRecollSetup(const RecollSetupOptions& options) {
    const auto configDir = options.configDir.empty() ? defaultConfigDir() : fs::path(options.configDir);
    if (!configDir) {
        reportError("recoll-setup", "HOME is not set; name the configuration folder with --config");
        return kExitUsage;
    }
    const auto fromDir = findFromDir(options.fromDir);
    if (!fromDir) return kExitBadInput;
    std::error_code ec;
    fs::create_directories(*configDir, ec);
    if (ec) {
        reportError(configDir->string(), ec.message());
        return kExitBadInput;
    }
    bool ok = true;
    for (const char* name : kConfigFiles) ok = mergeFile(*fromDir / name, *configDir / name) && ok;
    if (!ok) return kExitBadInput;
    std::cout << "Recoll now indexes .msg files through tessivo; run recollindex"
              << (options.configDir.empty() ? "" : " -c " + configDir->string()) << " to update the index.\n";
    return kExitOk;
}

}  // namespace

void addRecollSetupCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<RecollSetupOptions>();
    auto* cmd = app.add_subcommand("recoll-setup", "make Recoll index the text of Outlook .msg files through tessivo");
    cmd->add_option("--config", options->configDir,
                    "Recoll configuration folder (default: $RECOLL_CONFDIR, else ~/.recoll); created when missing");
    cmd->add_option("--from", options->fromDir,
                    "folder holding Tessivo's Recoll files (default: share/tessivo/recoll beside the installed command)");
    cmd->footer(
        "Merges the entries of Tessivo's mimemap and mimeconf into the same files of the configuration folder: "
        "other settings stay as they are, an earlier definition for .msg files or application/vnd.ms-outlook "
        "is commented out, and a file that changes is first copied to FILE.tessivo-bak. Running it again "
        "changes nothing.");
    cmd->callback([options, &status] { status = runRecollSetup(*options); });
}

}  // namespace tessivo::cli
