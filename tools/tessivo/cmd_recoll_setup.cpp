// `tessivo recoll-setup`: adds Tessivo's input handler for .msg files to a
// user's Recoll configuration, or with --undo takes it out again.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>

#include "cli_io.h"
#include "commands.h"
#include "host_files.h"
#include "recoll_config.h"
#include "setup_files.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

struct RecollSetupOptions {
    std::string configDir;
    bool undo = false;
};

struct ConfigFile {
    const char* name;
    std::string_view fragment;
};

const ConfigFile kConfigFiles[] = {{"mimemap", hostfiles::kRecollMimemap},
                                   {"mimeconf", hostfiles::kRecollMimeconf},
                                   {"mimeview", hostfiles::kRecollMimeview},
                                   {"fields", hostfiles::kRecollFields}};

// Stands for the handler command in the mimeconf fragment.
constexpr std::string_view kCommandPlaceholder = "{tessivo}";
// The content type Tessivo gives .msg files in Recoll.
constexpr std::string_view kMessageType = "application/x-outlook-msg";

std::optional<fs::path> defaultConfigDir() {
    if (const char* dir = std::getenv("RECOLL_CONFDIR"); dir && *dir) return fs::path(dir);
    if (const char* home = std::getenv("HOME"); home && *home) return fs::path(home) / ".recoll";
    return std::nullopt;
}

// The running tessivo as Recoll's command splitter reads it: double quotes
// around a path with blanks or quotes, backslash before " and \ inside them.
std::string commandWord(const std::string& path) {
    if (path.find_first_of(" \t\"'\\") == std::string::npos) return path;
    std::string word = "\"";
    for (char c : path) {
        if (c == '"' || c == '\\') word += '\\';
        word += c;
    }
    return word + '"';
}

std::string withCommand(std::string_view fragment, const std::string& command) {
    std::string text(fragment);
    for (auto at = text.find(kCommandPlaceholder); at != std::string::npos;
         at = text.find(kCommandPlaceholder, at + command.size()))
        text.replace(at, kCommandPlaceholder.size(), command);
    return text;
}

// Settings some version of recoll-setup wrote: those of the current
// fragments, whatever names Tessivo's content type or runs its handler (the
// tessivo command may have moved), and the handler script and .msg type of
// earlier versions, which took the type Recoll's PST handler needs.
bool isTessivoSetting(const recoll::Setting& setting, const std::vector<recoll::Setting>& current) {
    for (const auto& s : current)
        if (s.section == setting.section && s.name == setting.name && s.line == setting.line) return true;
    const std::string& line = setting.line;
    return line.find(kMessageType) != std::string::npos || line.find("rcltessivo") != std::string::npos ||
           (setting.section == "index" && line.ends_with(" recoll-handler")) ||
           (setting.section.empty() && line == ".msg = application/vnd.ms-outlook");
}

int runRecollSetup(const RecollSetupOptions& options) {
    const auto configDir = options.configDir.empty() ? defaultConfigDir() : fs::path(options.configDir);
    if (!configDir) {
        reportError("recoll-setup", "HOME is not set; name the configuration folder with --config");
        return kExitUsage;
    }
    const auto program = runningProgram();
    if (!program) return kExitBadInput;
    std::error_code ec;
    if (!options.undo) fs::create_directories(*configDir, ec);
    if (ec) {
        reportError(configDir->string(), ec.message());
        return kExitBadInput;
    }
    bool ok = true;
    for (const auto& file : kConfigFiles) {
        const auto settings = recoll::parseSettings(withCommand(file.fragment, commandWord(program->string())));
        const auto isOurs = [&](const recoll::Setting& s) { return isTessivoSetting(s, settings); };
        ok = updateSetupFile(*configDir / file.name, [&](const std::string& text) {
                 const std::string without = recoll::removeSettings(text, isOurs);
                 return options.undo ? without : recoll::mergeSettings(without, settings);
             }) && ok;
    }
    if (!ok) return kExitBadInput;
    const std::string indexCommand = "recollindex" + (options.configDir.empty() ? "" : " -c " + configDir->string());
    if (options.undo)
        std::cout << "Recoll's configuration no longer names tessivo; run " << indexCommand << " to update the index.\n";
    else
        std::cout << "Recoll now indexes .msg files through " << program->string() << "; run " << indexCommand
                  << " to update the index.\n";
    return kExitOk;
}

}  // namespace

void addRecollSetupCommand(CLI::App& app, int& status) {
    auto options = std::make_shared<RecollSetupOptions>();
    auto* cmd = app.add_subcommand("recoll-setup", "make Recoll index Outlook .msg files through tessivo");
    cmd->add_option("--config", options->configDir,
                    "Recoll configuration folder (default: $RECOLL_CONFDIR, else ~/.recoll); created when missing");
    cmd->add_flag("--undo", options->undo, "take tessivo's settings out of the configuration again");
    cmd->footer(
        "Merges Tessivo's entries into mimemap, mimeconf, mimeview and fields in the configuration folder: "
        ".msg files get the content type application/x-outlook-msg (so that .pst files stay with Recoll's "
        "own handler) and are read by this tessivo command as a persistent handler, with subject, sender, "
        "recipients, date and attachment names as the fields title, author, recipient, the document date "
        "and attachment. Other settings stay as they are; an earlier "
        "definition of the same names is commented out, and a file that changes is first copied to "
        "FILE.tessivo-bak. Running it again changes nothing; run it again after moving tessivo. "
        "--undo removes the entries and puts the commented-out definitions back.");
    cmd->callback([options, &status] { status = runRecollSetup(*options); });
}

}  // namespace tessivo::cli
