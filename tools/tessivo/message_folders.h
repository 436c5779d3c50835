// Archive mode's --attachments: every attachment of each message saved into
// a folder of its own, named after the message's path below the folder the
// walk started from.
//
//   auto saved = saveIntoMessageFolder("out", "2019/mar/budget.msg", attachments);
//   // out/2019/mar/budget.msg/plan.xlsx, ...; saved.paths lists them, saved.problem says what failed
//
// Each component of the message's path is made harmless as an attachment
// name is (AttachmentSaver), so nothing is written outside root; the folder
// is created only for a message with attachments. Files are never
// overwritten: equal names (two messages named alike in different folders
// given on the command line) get numbered names.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "message_formats.h"

namespace tessivo::cli {

struct SavedAttachments {
    nlohmann::ordered_json paths = nlohmann::ordered_json::array();  // the files written
    std::string problem;  // why an attachment was not saved, or saved incomplete; empty when all went well
};

SavedAttachments saveIntoMessageFolder(const std::filesystem::path& root, const std::string& relative,
                                       const std::vector<MessageAttachment>& attachments);

// The attachments of a message file's bytes through its format's reader.
ReadResult<std::vector<MessageAttachment>> attachmentsOfMessage(ByteView bytes);

}  // namespace tessivo::cli
