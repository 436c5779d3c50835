#include "message_folders.h"

#include "attachment_saver.h"

namespace tessivo::cli {
namespace {

std::filesystem::path harmlessFolder(const std::filesystem::path& root, const std::string& relative) {
    std::filesystem::path folder = root;
    for (const auto& component : std::filesystem::path(relative))
        if (component != "/") folder /= AttachmentSaver::safeFileName(fromUtf8(component.string()));
    return folder;
}

void addProblem(std::string& problems, const std::string& problem) {
    problems += (problems.empty() ? "" : "; ") + problem;
}

}  // namespace

SavedAttachments saveIntoMessageFolder(const std::filesystem::path& root, const std::string& relative,
                                       const std::vector<MessageAttachment>& attachments) {
    SavedAttachments saved;
    bool any = false;
    for (const auto& attachment : attachments) any = any || attachment.data.has_value();
    if (!any) return saved;
    const std::filesystem::path folder = harmlessFolder(root, relative);
    auto opened = AttachmentSaver::open(folder);
    if (const auto* reason = std::get_if<std::string>(&opened)) {
        saved.problem = "cannot create " + folder.string() + ": " + *reason;
        return saved;
    }
    const AttachmentSaver& saver = std::get<AttachmentSaver>(opened);
    for (const auto& attachment : attachments) {
        if (!attachment.data) continue;
        auto written = saver.save(attachment.name, *attachment.data);
        if (const auto* reason = std::get_if<std::string>(&written)) {
            addProblem(saved.problem, "cannot save attachment: " + *reason);
            continue;
        }
        const std::string path = std::get<std::filesystem::path>(written).string();
        saved.paths.push_back(path);
        if (!attachment.incomplete.empty())
            addProblem(saved.problem, "attachment saved incomplete as " + path + ": " + attachment.incomplete);
    }
    return saved;
}

ReadResult<std::vector<MessageAttachment>> attachmentsOfMessage(ByteView bytes) {
    const MessageFormat& format = detectFormat(bytes);
    if (!format.reader) return notReadReason(format);
    return format.reader->attachments(bytes);
}

}  // namespace tessivo::cli
