#include "tessivo/importer/importer.h"

#include <exception>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tessivo/compound/mole.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/mapped_file.h"
#include "tessivo/importer/rich_body.h"

namespace tessivo::importer {
namespace {

// The body streams, in the order they are tried.
const icu::UnicodeString kCompressedRtfBody(u"__substg1.0_10090102");
const icu::UnicodeString kSecondRtfBody(u"__substg1.0_10080102");  // read only when the first is missing or empty
const icu::UnicodeString kHtmlBody(u"__substg1.0_10130102");
const icu::UnicodeString kUnicodeBody(u"__substg1.0_1000001F");
const icu::UnicodeString kEightBitBody(u"__substg1.0_1000001E");

std::optional<icu::UnicodeString> nonEmpty(std::optional<icu::UnicodeString> text) {
    if (text && text->isEmpty()) return std::nullopt;
    return text;
}

std::optional<icu::UnicodeString> unicodeBodyText(ByteView bytes) {
    if (bytes.empty()) return std::nullopt;
    return nonEmpty(decode(bytes, encodings::UTF16LE));
}

// UTF-8 first; bytes that are not UTF-8 (or decode to nothing) as Windows-1252.
std::optional<icu::UnicodeString> eightBitBodyText(ByteView bytes) {
    if (bytes.empty()) return std::nullopt;
    if (auto text = nonEmpty(decode(bytes, encodings::UTF8))) return text;
    return nonEmpty(decode(bytes, encodings::Windows1252));
}

// The first body that yields text; an empty rich body does not stop the search.
std::optional<icu::UnicodeString> bestBodyText(const Mole& mole) {
    auto rtf = mole.getStream(kCompressedRtfBody);
    if (!rtf || rtf->empty()) rtf = mole.getStream(kSecondRtfBody);
    if (rtf)
        if (auto text = rtfBodyText(*rtf)) return text;
    if (auto html = mole.getStream(kHtmlBody))
        if (auto text = htmlBodyText(*html)) return text;
    if (auto plain = mole.getStream(kUnicodeBody))
        if (auto text = unicodeBodyText(*plain)) return text;
    if (auto plain = mole.getStream(kEightBitBody))
        if (auto text = eightBitBodyText(*plain)) return text;
    return std::nullopt;
}

Result notMessage(std::string reason) { return Result{Outcome::NotMessage, {}, std::move(reason)}; }

// Why a document did not open, from its result code.
std::string openFailureReason(int resultCode) {
    switch (resultCode) {
    case 1: return "not a compound document (shorter than its 512-byte header)";
    case 2: return "not a compound document (wrong signature)";
    default: return "damaged compound document";
    }
}

// Files up to this size are read into a reused buffer: mapping and
// unmapping a small file costs more in the kernel than copying it, while a
// larger one is cheaper mapped, as only the sectors used are touched.
constexpr std::size_t kReadWholeMaxBytes = 64 * 1024;

// A per-thread buffer that keeps its largest allocation for the next file.
struct ReadBuffer {
    std::unique_ptr<std::uint8_t[]> data;
    std::size_t capacity = 0;
};

// The whole of a small, non-empty regular file, read into the calling
// thread's buffer (valid until the thread's next read); nothing for anything
// else, which the mapping path then opens and explains.
std::optional<ByteView> readSmallFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    thread_local ReadBuffer buffer;
    std::optional<ByteView> bytes;
    struct stat st {};
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0 &&
        static_cast<std::uint64_t>(st.st_size) <= kReadWholeMaxBytes) {
        const auto size = static_cast<std::size_t>(st.st_size);
        if (buffer.capacity < size) {
            buffer.data = std::make_unique_for_overwrite<std::uint8_t[]>(size);
            buffer.capacity = size;
        }
        std::size_t got = 0;
        while (got < size) {
            const ssize_t n = ::read(fd, buffer.data.get() + got, size - got);
            if (n <= 0) break;
            got += static_cast<std::size_t>(n);
        }
        if (got == size) bytes = ByteView(buffer.data.get(), size);
    }
    ::close(fd);
    return bytes;
}

}  // namespace

bool acceptsContentType(const icu::UnicodeString& contentType) {
    return contentType == kContentTypeMsg || contentType == kContentTypeProMsg;
}

Result extractText(ByteView fileBytes) {
    try {
        if (fileBytes.empty()) return notMessage("empty file");
        int resultCode = 0;
        auto mole = Mole::initWithData(fileBytes, &resultCode);
        if (!mole) return notMessage(openFailureReason(resultCode));
        if (auto text = bestBodyText(*mole)) return Result{Outcome::Text, std::move(*text), {}};
        return Result{Outcome::NoBody, {}, {}};
    } catch (const std::exception& e) {
        return notMessage(e.what());
    }
}

Result extractText(const std::string& path) {
    try {
        if (auto bytes = readSmallFile(path)) return extractText(*bytes);
        auto file = MappedFile::open(path);
        if (auto* reason = std::get_if<std::string>(&file))
            return Result{Outcome::Unreadable, {}, "cannot open: " + *reason};
        return extractText(std::get<MappedFile>(file).bytes());
    } catch (const std::exception& e) {
        return Result{Outcome::Unreadable, {}, e.what()};
    }
}

bool importFile(const icu::UnicodeString& contentType, const std::string& path, Dictionary& attributes) {
    if (!acceptsContentType(contentType)) return false;
    Result result = extractText(path);
    if (result.outcome != Outcome::Text) return false;
    try {
        attributes.set(kMDItemTextContent, Value(std::move(result.text)));
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

}  // namespace tessivo::importer
