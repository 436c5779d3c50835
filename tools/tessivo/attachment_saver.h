// Saving attachments to disk: the only code that turns a name taken from a
// message into a path, and the only one that decides what is safe.
//
//   auto saver = AttachmentSaver::open("out");            // creates out/ when missing
//   if (auto* s = std::get_if<AttachmentSaver>(&saver)) {
//       auto written = s->save(u"../../report.pdf", bytes);   // out/_.._report.pdf
//       if (auto* path = std::get_if<std::filesystem::path>(&written)) std::cout << path->string() << '\n';
//   }
//
// A name never leaves the folder: separators of both kinds, drive colons and
// the other characters Windows refuses, control characters (NUL, newline,
// C1) become "_"; leading dots and spaces and trailing dots and spaces are
// dropped; device names (CON, NUL, COM1, ...) get a leading "_"; an empty
// name becomes "attachment"; a name over kMaxNameBytes bytes of UTF-8 is
// shortened, keeping its extension. Files are created with
// O_CREAT|O_EXCL|O_NOFOLLOW relative to the folder, so an existing file is
// never overwritten and a symbolic link in the folder is never followed:
// the next free name "stem-2.ext", "stem-3.ext", ... is taken instead, so
// equal names give distinct files.
#pragma once

#include <filesystem>
#include <string>
#include <variant>

#include <unicode/unistr.h>

#include "tessivo/foundation/value.h"

namespace tessivo::cli {

class AttachmentSaver {
public:
    // Longest file name written, in bytes, leaving room for a numbered suffix
    // below the usual 255-byte limit of file systems.
    static constexpr std::size_t kMaxNameBytes = 240;
    // Longest ending after the last "." kept as an extension when shortening.
    static constexpr std::size_t kMaxExtensionBytes = 32;
    // Numbered names tried for one name before giving up.
    static constexpr unsigned kMaxSuffix = 100000;

    // Opens the folder, creating it (and the folders above it) when missing;
    // the reason in words when that fails.
    static std::variant<AttachmentSaver, std::string> open(const std::filesystem::path& folder);

    AttachmentSaver(AttachmentSaver&& other) noexcept;
    AttachmentSaver& operator=(AttachmentSaver&& other) noexcept;
    AttachmentSaver(const AttachmentSaver&) = delete;
    AttachmentSaver& operator=(const AttachmentSaver&) = delete;
    ~AttachmentSaver();

    // Writes bytes to a new file in the folder named after name; the path
    // written (folder / file name), or the reason nothing was written.
    std::variant<std::filesystem::path, std::string> save(const icu::UnicodeString& name, ByteView bytes) const;

    // The harmless UTF-8 file name save starts from.
    static std::string safeFileName(const icu::UnicodeString& name);

private:
    AttachmentSaver(int folderFd, std::filesystem::path folder) : folderFd_(folderFd), folder_(std::move(folder)) {}

    int folderFd_ = -1;
    std::filesystem::path folder_;
};

}  // namespace tessivo::cli
