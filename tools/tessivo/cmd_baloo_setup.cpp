// `tessivo baloo-setup`: makes KDE's file search (Baloo) read the text of
// Outlook .msg files through the KDE plug-in, including the messages Baloo
// indexed before, without their text; with --undo takes that back.
//
// Baloo chooses the plug-in by content type, so *.msg must be typed
// application/vnd.ms-outlook: the MIME package goes into the user's own MIME
// database ($XDG_DATA_HOME/mime), which every session reads whatever
// XDG_DATA_DIRS says. Messages Baloo already knows keep their old, textless
// entry until it forgets them: `balooctl index` alone only refreshes a known
// file's name and type (and drops its words), so each message is cleared and
// then indexed, which has baloo_file read it in full.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>
#include <system_error>

#include "cli_io.h"
#include "commands.h"
#include "host_files.h"
#include "run_program.h"
#include "setup_files.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMimePackageName = "tessivo-outlook-msg.xml";
constexpr const char* kPluginName = "kf5/kfilemetadata/tessivo_kfilemetadata.so";
// Files per balooctl call: keeps command lines far below the system's limit.
constexpr std::size_t kFilesPerCall = 200;

struct BalooSetupOptions {
    std::vector<std::string> folders;
    bool undo = false;
};

std::optional<fs::path> homeDir() {
    if (const char* home = std::getenv("HOME"); home && *home) return fs::path(home);
    return std::nullopt;
}

std::optional<fs::path> dataHome() {
    if (const char* dir = std::getenv("XDG_DATA_HOME"); dir && *dir) return fs::path(dir);
    if (auto home = homeDir()) return *home / ".local" / "share";
    return std::nullopt;
}

// Where Qt, and so Baloo, loads plug-ins from: QT_PLUGIN_PATH, then the
// system's Qt plug-in folder.
std::vector<fs::path> pluginCandidates() {
    std::vector<fs::path> candidates;
    if (const char* path = std::getenv("QT_PLUGIN_PATH"); path && *path) {
        std::istringstream dirs(path);
        for (std::string dir; std::getline(dirs, dir, ':');)
            if (!dir.empty()) candidates.push_back(fs::path(dir) / kPluginName);
    }
#ifdef TESSIVO_KDE_PLUGIN
    candidates.emplace_back(TESSIVO_KDE_PLUGIN);
#endif
    return candidates;
}

bool pluginInstalled() {
#ifndef TESSIVO_KDE_PLUGIN
    reportError("baloo-setup", "this tessivo was built without its KDE plug-in (KFileMetaData was missing)");
    return false;
#else
    std::string looked;
    for (const auto& candidate : pluginCandidates()) {
        std::error_code ec;
        if (fs::is_regular_file(candidate, ec)) return true;
        looked += (looked.empty() ? "" : ", ") + candidate.string();
    }
    reportError("baloo-setup", "the KDE plug-in is not installed (looked for " + looked +
                                   "); install it with: sudo cmake --install BUILD_DIR --component kde");
    return false;
#endif
}

// Registers (or with undo removes) the MIME package in the user's database.
bool updateMimeDatabase(const fs::path& mimeDir, bool undo) {
    const fs::path package = mimeDir / "packages" / kMimePackageName;
    std::error_code ec;
    bool changed = false;
    if (undo) {
        changed = fs::remove(package, ec);
        if (ec) {
            reportError(package.string(), ec.message());
            return false;
        }
        if (changed) std::cout << package.string() << ": removed\n";
    } else {
        fs::create_directories(package.parent_path(), ec);
        std::string before;
        if (!updateSetupFile(package, [&](const std::string& text) {
                before = text;
                return std::string(hostfiles::kKdeMimePackage);
            }))
            return false;
        changed = before != hostfiles::kKdeMimePackage || !fs::exists(mimeDir / "mime.cache", ec);
    }
    return !changed || runProgram({"update-mime-database", mimeDir.string()}, Output::Keep) == 0;
}

bool hasMsgExtension(const fs::path& path) {
    std::string ext = path.extension().string();
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext == ".msg";
}

// The .msg files under the folders, as Baloo sees them by default: hidden
// files and folders left out, symbolic links not followed.
std::vector<std::string> messageFiles(const std::vector<std::string>& folders) {
    std::vector<std::string> files;
    for (const auto& folder : folders) {
        std::error_code ec;
        fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied, ec), end;
        if (ec) reportError(folder, "cannot list folder: " + ec.message());
        for (; !ec && it != end; it.increment(ec)) {
            const fs::path& path = it->path();
            if (path.filename().string().starts_with('.')) {
                it.disable_recursion_pending();
                continue;
            }
            std::error_code typeError;
            if (hasMsgExtension(path) && it->is_regular_file(typeError)) files.push_back(path.string());
        }
    }
    return files;
}

// `balooctl COMMAND FILE...` over all files, a batch at a time.
bool balooctl(const std::string& command, const std::vector<std::string>& files) {
    for (std::size_t first = 0; first < files.size(); first += kFilesPerCall) {
        std::vector<std::string> argv{"balooctl", command};
        const std::size_t last = std::min(files.size(), first + kFilesPerCall);
        argv.insert(argv.end(), files.begin() + static_cast<std::ptrdiff_t>(first),
                    files.begin() + static_cast<std::ptrdiff_t>(last));
        const int status = runProgram(argv, Output::Discard);
        if (status != 0) {
            if (status > 0) reportError("balooctl " + command, "failed with exit status " + std::to_string(status));
            return false;
        }
    }
    return true;
}

int runBalooSetup(BalooSetupOptions options) {
    const auto data = dataHome();
    if (!data) {
        reportError("baloo-setup", "HOME is not set");
        return kExitUsage;
    }
    if (options.folders.empty()) options.folders.push_back(homeDir()->string());
    if (!options.undo && !pluginInstalled()) return kExitBadInput;
    if (!updateMimeDatabase(*data / "mime", options.undo)) return kExitBadInput;

    const auto files = messageFiles(options.folders);
    if (!balooctl("clear", files) || !balooctl("index", files)) return kExitBadInput;
    std::cout << files.size() << " message file" << (files.size() == 1 ? "" : "s") << " handed to Baloo again; "
              << (options.undo ? "it indexes them without their text"
                               : "baloo_file reads their text in the background (see balooctl status)")
              << ".\n";
    return kExitOk;
}

}  // namespace

void addBalooSetupCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<BalooSetupOptions>();
    auto* cmd = app.add_subcommand("baloo-setup", "make KDE's file search (Baloo) index Outlook .msg files through tessivo");
    cmd->add_option("FOLDER", options->folders, "where to look for messages Baloo knows already (default: your home folder)");
    cmd->add_flag("--undo", options->undo, "unregister the .msg type and index the messages without their text again");
    cmd->footer(
        "Checks that the KDE plug-in is installed, registers the type application/vnd.ms-outlook for *.msg "
        "in your MIME database ($XDG_DATA_HOME/mime, default ~/.local/share/mime), and has Baloo forget and "
        "index again every .msg file under the folders (hidden ones left out), so that messages it indexed "
        "before get their text too. Needs update-mime-database and balooctl; baloo_file does the reading "
        "while it runs. Running it again is harmless.");
    cmd->callback([options, &status] { status = runBalooSetup(*options); });
}

}  // namespace tessivo::cli
