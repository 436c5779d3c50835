// What the setup commands of the desktop-search hosts share: the path of the
// running tessivo (the handler they register), and changing one of the
// user's configuration files safely.
//
//   auto program = runningProgram();                 // reports and yields nothing on failure
//   updateSetupFile(dir / "mimemap", [](const std::string& text) { return text + ".msg = x\n"; });
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tessivo::cli {

// The absolute path of the running executable (symbolic links resolved);
// reports the failure and yields nothing when the system does not say.
std::optional<std::filesystem::path> runningProgram();

// Gives change the file's text ("" when it does not exist) and writes back
// what it returns when that differs: a file that existed is first copied to
// FILE.tessivo-bak, and the new text replaces it in one rename. Prints one
// line saying what happened (nothing for a missing file that stays empty).
// False, with a message on stderr, when the file cannot be read or written.
bool updateSetupFile(const std::filesystem::path& target, const std::function<std::string(const std::string&)>& change);

}  // namespace tessivo::cli
