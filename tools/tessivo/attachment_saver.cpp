#include "attachment_saver.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

namespace tessivo::cli {
namespace {

constexpr std::string_view kEmptyName = "attachment";
// Windows refuses these in file names; a drive letter's colon is among them.
constexpr std::u16string_view kRefused = u"/\\:*?\"<>|";
// Names Windows opens as devices, with or without an extension.
constexpr std::array<std::string_view, 24> kDeviceNames = {
    "CON",  "PRN",  "AUX",  "NUL",  "COM0", "COM1", "COM2", "COM3", "COM4",   "COM5",   "COM6", "COM7",
    "COM8", "COM9", "LPT0", "LPT1", "LPT2", "LPT3", "LPT4", "LPT5", "LPT6", "LPT7", "LPT8", "LPT9"};

bool harmful(UChar32 c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || (c <= 0xFFFF && kRefused.find(static_cast<char16_t>(c)) !=
                                                                          std::u16string_view::npos);
}

bool isDeviceName(std::string_view name) {
    std::string stem(name.substr(0, name.find('.')));
    while (!stem.empty() && stem.back() == ' ') stem.pop_back();
    std::transform(stem.begin(), stem.end(), stem.begin(), [](unsigned char c) { return std::toupper(c); });
    return std::find(kDeviceNames.begin(), kDeviceNames.end(), stem) != kDeviceNames.end() || stem == "CONIN$" ||
           stem == "CONOUT$";
}

// The length of the longest prefix of text, at most limit bytes, that ends
// on a UTF-8 character boundary.
std::size_t utf8Prefix(std::string_view text, std::size_t limit) {
    if (text.size() <= limit) return text.size();
    std::size_t n = limit;
    while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) --n;
    return n;
}

// Splits at the last "." that starts a short extension (not at the start).
std::pair<std::string, std::string> stemAndExtension(const std::string& name) {
    const auto dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0 || name.size() - dot > AttachmentSaver::kMaxExtensionBytes)
        return {name, ""};
    return {name.substr(0, dot), name.substr(dot)};
}

std::string shortened(const std::string& name) {
    if (name.size() <= AttachmentSaver::kMaxNameBytes) return name;
    auto [stem, extension] = stemAndExtension(name);
    stem.resize(utf8Prefix(stem, AttachmentSaver::kMaxNameBytes - extension.size()));
    return stem + extension;
}

std::string numbered(const std::string& name, unsigned n) {
    auto [stem, extension] = stemAndExtension(name);
    return stem + "-" + std::to_string(n) + extension;
}

bool writeAll(int fd, ByteView bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

std::string AttachmentSaver::safeFileName(const icu::UnicodeString& name) {
    icu::UnicodeString clean;
    for (std::int32_t i = 0; i < name.length();) {
        const UChar32 c = name.char32At(i);
        clean.append(harmful(c) ? UChar32{'_'} : c);
        i += U16_LENGTH(c);
    }
    std::int32_t start = 0;
    std::int32_t end = clean.length();
    while (start < end && (clean[start] == u'.' || clean[start] == u' ')) ++start;
    while (end > start && (clean[end - 1] == u'.' || clean[end - 1] == u' ')) --end;
    std::string text = toUtf8(icu::UnicodeString(clean, start, end - start));
    if (text.empty()) return std::string(kEmptyName);
    if (isDeviceName(text)) text.insert(0, "_");
    return shortened(text);
}

std::variant<AttachmentSaver, std::string> AttachmentSaver::open(const std::filesystem::path& folder) {
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) return "cannot create folder: " + ec.message();
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return std::string("cannot open folder: ") + std::strerror(errno);
    return AttachmentSaver(fd, folder);
}

AttachmentSaver::AttachmentSaver(AttachmentSaver&& other) noexcept
    : folderFd_(std::exchange(other.folderFd_, -1)), folder_(std::move(other.folder_)) {}

AttachmentSaver& AttachmentSaver::operator=(AttachmentSaver&& other) noexcept {
    if (this != &other) {
        if (folderFd_ >= 0) ::close(folderFd_);
        folderFd_ = std::exchange(other.folderFd_, -1);
        folder_ = std::move(other.folder_);
    }
    return *this;
}

AttachmentSaver::~AttachmentSaver() {
    if (folderFd_ >= 0) ::close(folderFd_);
}

std::variant<std::filesystem::path, std::string> AttachmentSaver::save(const icu::UnicodeString& name,
                                                                       ByteView bytes) const {
    const std::string base = safeFileName(name);
    for (unsigned n = 1; n <= kMaxSuffix; ++n) {
        const std::string file = n == 1 ? base : numbered(base, n);
        const int fd = ::openat(folderFd_, file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
        if (fd < 0 && errno == EEXIST) continue;
        if (fd < 0) return file + ": " + std::strerror(errno);
        const bool written = writeAll(fd, bytes);
        const int writeErrno = errno;
        if (::close(fd) != 0 || !written) {
            ::unlinkat(folderFd_, file.c_str(), 0);
            return file + ": " + std::strerror(written ? errno : writeErrno);
        }
        return folder_ / file;
    }
    return base + ": no free name (" + std::to_string(kMaxSuffix) + " files of that name exist)";
}

}  // namespace tessivo::cli
