// Merging settings into a Recoll configuration file (mimemap, mimeconf) without
// disturbing what the user has there.
//
//   auto wanted = recoll::parseSettings(fragmentText);
//   std::string merged = recoll::mergeSettings(userText, wanted);
//   if (merged != userText) { back up, then write merged; }
//   std::string undone = recoll::removeSettings(merged, isMine);
//
// Recoll's files are lines of "name = value" under optional "[section]"
// headers; '#' starts a comment; a line ending in '\' continues on the next.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tessivo::cli::recoll {

struct Setting {
    std::string section;  // "" for the top level
    std::string name;     // trimmed
    std::string line;     // the whole definition, continuation lines joined by '\n'
};

// The settings of a file, in order.
std::vector<Setting> parseSettings(std::string_view text);

// text with each setting in force. A setting already defined the same way
// (as the last definition of its name in its section) is left alone; earlier
// definitions of the same name are commented out, with a note, and the
// setting is put where the last one stood; a new name goes at the top of its
// section (before the first section header for top-level names), and a new
// section at the end. Merging the same settings twice changes nothing.
std::string mergeSettings(std::string_view text, const std::vector<Setting>& settings);

// text without the definitions for which isOurs is true. Definitions that
// mergeSettings commented out are put back in force when their name is left
// without a definition in their section. Removing, then merging the same
// settings again, gives back a merged text unchanged.
std::string removeSettings(std::string_view text, const std::function<bool(const Setting&)>& isOurs);

}  // namespace tessivo::cli::recoll
