#include "tessivo/importer/importer.h"

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
        if (auto text = bestBodyText(*mole)) return Result{Outcome::Text, std::move(*text), {}};
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
        attributes.set(kMDItemTextContent, Value(std::move(result.text)));
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

}  // namespace tessivo::importer
