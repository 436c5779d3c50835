#include "tessivo/importer/importer.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "tessivo/compound/mole.h"
#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/file_bytes.h"
#include "tessivo/importer/rich_body.h"

namespace tessivo::importer {
namespace {

// The body streams, in the order they are tried.
const icu::UnicodeString kCompressedRtfBody(u"__substg1.0_10090102");
const icu::UnicodeString kSecondRtfBody(u"__substg1.0_10080102");  // read only when the first is missing or empty
const icu::UnicodeString kHtmlBody(u"__substg1.0_10130102");
const icu::UnicodeString kUnicodeBody(u"__substg1.0_1000001F");
const icu::UnicodeString kEightBitBody(u"__substg1.0_1000001E");
// The most bytes a run of compressed-RTF tokens takes after its control byte.
constexpr std::uint64_t kRtfTokenRunBytes = 16;

// A body's text, and the NUL characters that follow it: those the zero
// bytes of sectors past the end of a cut file decode to, counted rather
// than stored.
struct BodyText {
    icu::UnicodeString text;
    std::uint64_t trailingNuls = 0;
};

bool isEmpty(const StreamWithZeroTail& stream) { return stream.bytes.empty() && stream.zeroTail == 0; }

// A plain-text body decoded in encoding: the stored bytes decoded, each
// decoded unit of the zero tail a NUL; nothing when the decoding fails or
// gives an empty text.
std::optional<BodyText> plainText(const StreamWithZeroTail& stream, Encoding encoding, std::uint64_t bytesPerUnit) {
    auto text = decode(stream.bytes, encoding);
    if (!text || (text->isEmpty() && stream.zeroTail == 0)) return std::nullopt;
    return BodyText{std::move(*text), stream.zeroTail / bytesPerUnit};
}

// UTF-8 first; bytes that are not UTF-8 (or decode to nothing) as Windows-1252.
std::optional<BodyText> eightBitBodyText(const StreamWithZeroTail& stream) {
    if (auto text = plainText(stream, encodings::UTF8, 1)) return text;
    return plainText(stream, encodings::Windows1252, 1);
}

// The first body that yields text; an empty rich body does not stop the
// search. The zeros past the end of a cut file are not stored: they decode
// to NULs in plain-text bodies, and to nothing but trailing NULs, which the
// RTF reader drops, once they run past the last run of tokens (at most 16
// bytes) in a compressed RTF body, and the HTML reader drops them.
std::optional<BodyText> bestBodyText(const Mole& mole) {
    auto rtf = mole.getStreamWithZeroTail(kCompressedRtfBody);
    if (!rtf || isEmpty(*rtf)) rtf = mole.getStreamWithZeroTail(kSecondRtfBody);
    if (rtf) {
        rtf->bytes.resize(rtf->bytes.size() + std::min<std::uint64_t>(rtf->zeroTail, kRtfTokenRunBytes));
        if (auto text = rtfBodyText(rtf->bytes)) return BodyText{std::move(*text), 0};
    }
    if (auto html = mole.getStreamWithZeroTail(kHtmlBody))
        if (auto text = htmlBodyText(html->bytes, html->zeroTail)) return BodyText{std::move(*text), 0};
    if (auto plain = mole.getStreamWithZeroTail(kUnicodeBody); plain && !isEmpty(*plain))
        if (auto text = plainText(*plain, encodings::UTF16LE, 2)) return text;
    if (auto plain = mole.getStreamWithZeroTail(kEightBitBody); plain && !isEmpty(*plain))
        if (auto text = eightBitBodyText(*plain)) return text;
    return std::nullopt;
}

Result notMessage(std::string reason) { return Result{Outcome::NotMessage, {}, std::move(reason)}; }

}  // namespace

icu::UnicodeString Result::wholeText() const {
    icu::UnicodeString whole = text;
    for (std::uint64_t i = 0; i < trailingNuls; ++i) whole.append(u'\0');
    return whole;
}

namespace {

}  // namespace

bool acceptsContentType(const icu::UnicodeString& contentType) {
    return contentType == kContentTypeMsg || contentType == kContentTypeProMsg;
}

Result extractText(ByteView fileBytes) {
    try {
        if (fileBytes.empty()) return notMessage("empty file");
        int resultCode = 0;
        Fault fault;
        auto mole = Mole::initWithData(fileBytes, &resultCode, &fault);
        if (!mole) return notMessage(compoundOpenFailure(resultCode, fault));
        if (auto body = bestBodyText(*mole)) return Result{Outcome::Text, std::move(body->text), {}, body->trailingNuls};
        return Result{Outcome::NoBody, {}, {}};
    } catch (const std::exception& e) {
        return notMessage(e.what());
    }
}

Result extractText(const std::string& path) {
    Bytes contents;
    return extractText(path, contents);
}

Result extractText(const std::string& path, Bytes& contents) {
    try {
        std::string reason;
        if (!readWholeFile(path, contents, reason)) return Result{Outcome::Unreadable, {}, "cannot open: " + reason};
        return extractText(contents);
    } catch (const std::exception& e) {
        return Result{Outcome::Unreadable, {}, e.what()};
    }
}

bool importFile(const icu::UnicodeString& contentType, const std::string& path, Dictionary& attributes) {
    if (!acceptsContentType(contentType)) return false;
    Result result = extractText(path);
    if (result.outcome != Outcome::Text) return false;
    try {
        attributes.set(kMDItemTextContent, Value(result.wholeText()));
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

}  // namespace tessivo::importer
