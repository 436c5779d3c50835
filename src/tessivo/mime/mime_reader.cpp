#include "tessivo/mime/mime_reader.h"

#include <string_view>
#include <unordered_map>
#include <utility>

#include <unicode/uniset.h>
#include <unicode/ustring.h>

#include "tessivo/foundation/text.h"
#include "tessivo/mime/email_addresses.h"
#include "tessivo/mime/limits.h"
#include "tessivo/mime/message_lines.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo {

using mime::BoundarySearch;
using mime::LineRange;
using mime::MessageLines;
using mime::Span;

namespace {

std::u16string_view viewOf(const icu::UnicodeString& s) {
    return {s.getBuffer(), static_cast<std::size_t>(s.length())};
}

icu::UnicodeString withoutQuotes(const icu::UnicodeString& s) { return replaceAll(s, u"\"", u""); }

// The stretch without white space and line breaks at either end.
Span trimmed(const MessageLines& text, Span s) {
    const icu::UnicodeSet& set = whitespaceAndNewlineSet();
    const char16_t* p = text.text().getBuffer() + s.start;
    const std::int32_t lead = set.span(p, s.length(), USET_SPAN_SIMPLE);
    const std::int32_t end = set.spanBack(p + lead, s.length() - lead, USET_SPAN_SIMPLE);
    return {s.start + lead, s.start + lead + end};
}

// The extension after the last "." of the last path component ("" for
// none, and for a name that only begins with a dot).
icu::UnicodeString pathExtension(const icu::UnicodeString& path) {
    std::int32_t end = path.length();
    while (end > 1 && path[end - 1] == u'/') --end;
    const std::int32_t component = path.lastIndexOf(u'/', 0, end) + 1;
    const std::int32_t dot = path.lastIndexOf(u'.', component, end - component);
    if (dot <= component) return {};
    return icu::UnicodeString(path, dot + 1, end - dot - 1);
}

// What setContentParameters keeps of a Content-Type value: the last
// boundary line, the last other piece as written, and which came first.
struct ContentParameters {
    std::optional<icu::UnicodeString> boundary;
    std::optional<icu::UnicodeString> type;
    bool boundaryFirst = false;
};

ContentParameters contentParameters(const icu::UnicodeString& value) {
    ContentParameters found;
    std::int32_t typeStart = 0;
    std::int32_t typeEnd = -1;
    for (std::int32_t start = 0;;) {
        std::int32_t end = value.indexOf(u';', start);
        if (end < 0) end = value.length();
        const std::int32_t equals = value.indexOf(u'=', start, end - start);
        if (equals >= 0 && equals + 1 < end &&
            MIMEReader::trimmedLower(value.tempSubString(start, equals - start)) == u"boundary") {
            if (!found.boundary && typeEnd < 0) found.boundaryFirst = true;
            found.boundary = icu::UnicodeString(u"--").append(
                trim(withoutQuotes(value.tempSubString(equals + 1, end - equals - 1)), whitespaceAndNewlineSet()));
        } else {
            typeStart = start;
            typeEnd = end;
        }
        if (end == value.length()) break;
        start = end + 1;
    }
    if (typeEnd >= 0) found.type = icu::UnicodeString(value, typeStart, typeEnd - typeStart);
    return found;
}

bool isHeader(const icu::UnicodeString& name, std::u16string_view lowerCaseName) {
    UErrorCode ec = U_ZERO_ERROR;
    return u_strCaseCompare(name.getBuffer(), name.length(), lowerCaseName.data(),
                            static_cast<std::int32_t>(lowerCaseName.size()), U_FOLD_CASE_DEFAULT, &ec) == 0;
}

// Text gathered from stretches of the message: neighbouring stretches merge,
// so a body read line by line is copied once, in one piece.
class TextBuilder {
public:
    explicit TextBuilder(const MessageLines& text) : text_(text) {}

    void append(Span s) {
        if (s.length() == 0) return;
        if (pending_.length() > 0 && pending_.end == s.start) {
            pending_.end = s.end;
            return;
        }
        flushPending();
        pending_ = s;
    }
    bool empty() const { return done_.isEmpty() && pending_.length() == 0; }
    void clear() {
        done_.remove();
        pending_ = {};
    }
    // The text gathered; the builder is empty afterwards.
    icu::UnicodeString take() {
        icu::UnicodeString out;
        if (done_.isEmpty()) {
            out.setTo(text_.text(), pending_.start, pending_.length());
        } else {
            flushPending();
            out = std::move(done_);
        }
        clear();
        return out;
    }

private:
    void flushPending() {
        if (pending_.length() > 0) done_.append(text_.text(), pending_.start, pending_.length());
        pending_ = {};
    }

    const MessageLines& text_;
    icu::UnicodeString done_;
    Span pending_;
};

}  // namespace

// One part being read: the state of one call of interpretMIME.
class MimePartReader {
public:
    MimePartReader(MIMEReader& reader, const MessageLines& text, Span span, int depth)
        : reader_(reader),
          text_(text),
          lines_(text.lines(span.start, span.end)),
          depth_(depth),
          value_(text),
          body_(text) {}

    Dictionary read(const std::optional<icu::UnicodeString>& stop, std::int64_t& index) {
        ++index;
        // The last line is never read.
        while (index < lines_.count() - 1) {
            const Span line = lines_.line(index);
            const std::u16string_view v = text_.view(line);
            if (stop && v == viewOf(*stop)) break;
            // Every line read starts after a "\n": line.start - 1 is that "\n".
            const Span withBreak{line.start - 1, line.end};
            if (v.empty()) {
                ++index;
                if (!inBody_) flushHeader();
                body_.append(withBreak);
                inBody_ = true;
            } else if (boundary_ && depth_ < mime::kMaxMultipartDepth && v == viewOf(*boundary_)) {
                splitMultipart(index);
                inBody_ = false;
                ++index;
            } else if (inBody_) {
                value_.append(withBreak);
                body_.append(withBreak);
                ++index;
            } else {
                readHeaderLine(line, v);
                ++index;
            }
        }
        if (!value_.empty()) {
            part_.set(u"content", Value(value_.take()));
            part_.set(u"uaContent", Value(body_.take()));
        }
        --index;
        return std::move(part_);
    }

private:
    struct SplitResult {
        std::size_t firstPart;
        std::size_t endPart;
        std::int64_t lineSum;
    };

    void readHeaderLine(Span line, std::u16string_view v) {
        if (v.front() == u' ' || v.front() == u'\t') {
            // A folded line: appended as it stands, to whatever the value holds.
            value_.append(line);
            return;
        }
        flushHeader();
        const std::size_t colon = v.find(u':');
        if (colon == std::u16string_view::npos) return;
        headerName_ = icu::UnicodeString(v.data(), static_cast<std::int32_t>(colon));
        value_.clear();
        value_.append(trimmed(text_, {line.start + static_cast<std::int32_t>(colon) + 1, line.end}));
    }

    void flushHeader() {
        if (!headerName_) return;
        const icu::UnicodeString name = std::move(*headerName_);
        headerName_.reset();
        storeHeader(name, value_.take());
    }

    void storeHeader(const icu::UnicodeString& name, const icu::UnicodeString& value) {
        if (isHeader(name, u"content-type")) {
            storeContentType(value);
        } else if (const std::u16string_view n = viewOf(name);
                   n == u"From" || n == u"To" || n == u"CC" || n == u"BCC") {
            part_.set(name, Value(processEmailAddresses(value)));
        } else if (isHeader(name, u"content-transfer-encoding")) {
            const icu::UnicodeString lower = toLower(value);
            part_.set(u"encodingType", lower.indexOf(u"base64") >= 0             ? u"base64"
                                       : lower.indexOf(u"quoted-printable") >= 0 ? u"quoted-printable"
                                                                                 : u"text");
        } else if (isHeader(name, u"content-description")) {
            if (!part_.contains(u"fileName")) storeDescribedFileName(value);
        } else if (isHeader(name, u"content-disposition")) {
            const icu::UnicodeString disposition = withoutQuotes(MIMEReader::trimmedLower(value));
            // Everything after "filename=", later parameters included.
            const std::int32_t at = disposition.indexOf(u"filename=");
            if (at >= 0) part_.set(u"fileName", Value(icu::UnicodeString(disposition, at + 9)));
        } else if (isHeader(name, u"content-id")) {
            const icu::UnicodeString id = MIMEReader::trimmedLower(value);
            part_.set(u"Content-Id", Value(replaceAll(replaceAll(id, u"<", u""), u">", u"")));
        } else {
            part_.set(name, Value(value));
        }
    }

    void storeContentType(const icu::UnicodeString& value) {
        boundary_ = contentParameters(value).boundary;

        std::int32_t firstEnd = value.indexOf(u';');
        if (firstEnd < 0) firstEnd = value.length();
        const icu::UnicodeString type(value, 0, firstEnd);
        const std::int32_t slash = type.indexOf(u'/');
        part_.set(u"contentType", Value(MIMEReader::trimmedLower(slash < 0 ? type : type.tempSubString(0, slash))));
        if (slash >= 0) {
            const std::int32_t slash2 = type.indexOf(u'/', slash + 1);
            const std::int32_t end = slash2 < 0 ? type.length() : slash2;
            part_.set(u"contentFormat",
                      Value(MIMEReader::trimmedLower(type.tempSubString(slash + 1, end - slash - 1))));
        }
        if (firstEnd == value.length()) return;
        std::int32_t secondEnd = value.indexOf(u';', firstEnd + 1);
        if (secondEnd < 0) secondEnd = value.length();
        const icu::UnicodeString parameter(value, firstEnd + 1, secondEnd - firstEnd - 1);
        const std::int32_t equals = parameter.indexOf(u'=');
        const icu::UnicodeString name =
            MIMEReader::trimmedLower(equals < 0 ? parameter : parameter.tempSubString(0, equals));
        part_.set(u"metaType", Value(name));
        // The parameter's name again, not its value: kept as the reader always did.
        if (equals >= 0)
            if (icu::UnicodeString metaData = withoutQuotes(name); !metaData.isEmpty())
                part_.set(u"metaData", Value(std::move(metaData)));
    }

    void storeDescribedFileName(const icu::UnicodeString& value) {
        icu::UnicodeString name =
            WindowsCodePageWangersNSStringAdditions::decodeCP1255B(withoutQuotes(MIMEReader::trimmedLower(value)));
        if (name.isEmpty()) {
            name = u"UndecodableFilename";
            if (const Value* format = part_.get(u"contentFormat")) name.append(u'.').append(*format->string());
        }
        part_.set(u"fileName", Value(std::move(name)));
    }

    // Splits the whole text of this part at every occurrence of the boundary
    // line and reads each piece after the first as a part of its own; index
    // advances by the sum of the pieces' final indexes. A boundary met again
    // in the same part gives the same pieces again, so they are read once
    // and their parts repeated.
    void splitMultipart(std::int64_t& index) {
        const icu::UnicodeString boundary = *boundary_;
        if (const auto done = splits_.find(boundary); done != splits_.end()) {
            for (std::size_t i = done->second.firstPart; i < done->second.endPart; ++i)
                reader_.appendPart(*reader_.globalContentArray_[i].dictionary());
            index += done->second.lineSum;
            return;
        }
        SplitResult result{reader_.globalContentArray_.size(), 0, 0};
        const BoundarySearch search(text_, viewOf(boundary));
        const Span whole = lines_.span();
        for (std::int32_t at = search.next(whole.start, whole.end); at >= 0;) {
            const std::int32_t start = at + boundary.length();
            const std::int32_t next = search.next(start, whole.end);
            std::int64_t pieceIndex = 0;
            Dictionary piece =
                reader_.interpret(text_, {start, next >= 0 ? next : whole.end}, std::nullopt, pieceIndex, depth_ + 1);
            if (!piece.empty()) reader_.appendPart(std::move(piece));
            result.lineSum += pieceIndex;
            at = next;
        }
        result.endPart = reader_.globalContentArray_.size();
        splits_.emplace(boundary, result);
        index += result.lineSum;
    }

    MIMEReader& reader_;
    const MessageLines& text_;
    const LineRange lines_;
    const int depth_;

    Dictionary part_;
    std::optional<icu::UnicodeString> boundary_;  // of the last Content-Type
    std::optional<icu::UnicodeString> headerName_;
    TextBuilder value_;
    TextBuilder body_;
    bool inBody_ = false;
    std::unordered_map<icu::UnicodeString, SplitResult, UnicodeStringHash> splits_;
};

std::optional<MIMEReader> MIMEReader::initWithData(std::optional<ByteView> data) {
    if (!data) return std::nullopt;
    MIMEReader reader;
    reader.mimeContentDictionary_ = reader.readMIMEMail(*data);
    return reader;
}

Dictionary MIMEReader::readMIMEMail(ByteView data) {
    DetectedText decoded = StringWangers::decodedWithEncoding(data);
    rawContentString_ = std::move(decoded.text);
    rawContentEncoding_ = decoded.encoding;
    if (rawContentString_.isEmpty()) return {};
    const MessageLines text(rawContentString_);
    std::int64_t index = 0;
    Dictionary mail = interpret(text, {0, text.length()}, std::nullopt, index, 0);
    if (!globalContentArray_.empty()) mail.set(u"MailContent", Value(globalContentArray_));
    mail.set(u"RawContentString", Value(rawContentString_));
    return mail;
}

std::optional<Dictionary> MIMEReader::interpretMIME(const std::vector<icu::UnicodeString>* lines,
                                                    const std::optional<icu::UnicodeString>& boundary,
                                                    std::size_t& index) {
    if (!lines) {
        ++index;
        return std::nullopt;
    }
    // From the last line on nothing is read and the index comes back as it was.
    if (index >= lines->size()) return Dictionary();
    const MessageLines text(join(*lines, u"\n"));
    auto at = static_cast<std::int64_t>(index);
    Dictionary part = interpret(text, {0, text.length()}, boundary, at, 0);
    index = static_cast<std::size_t>(at);
    return part;
}

Dictionary MIMEReader::interpret(const MessageLines& text, Span span, const std::optional<icu::UnicodeString>& stop,
                                 std::int64_t& index, int depth) {
    return MimePartReader(*this, text, span, depth).read(stop, index);
}

void MIMEReader::appendPart(Dictionary part) {
    if (globalContentArray_.size() >= mime::kMaxParts) return;
    // An attached message keeps its blank lines.
    if (const Value* fileName = part.get(u"fileName"))
        if (const Value* uaContent = part.get(u"uaContent");
            uaContent && equalsCaseInsensitive(pathExtension(*fileName->string()), u"eml"))
            part.set(u"content", Value(trim(*uaContent->string(), whitespaceAndNewlineSet())));
    globalContentArray_.emplace_back(std::move(part));
}

Dictionary MIMEReader::setContentParameters(const icu::UnicodeString& value) {
    const ContentParameters found = contentParameters(value);
    Dictionary parameters;
    if (found.type && !found.boundaryFirst) parameters.set(u"type", Value(*found.type));
    if (found.boundary) parameters.set(u"boundary", Value(*found.boundary));
    if (found.type && found.boundaryFirst) parameters.set(u"type", Value(*found.type));
    return parameters;
}

icu::UnicodeString MIMEReader::trimmedLower(const std::optional<icu::UnicodeString>& text) {
    if (!text || text->isEmpty()) return {};
    return toLower(trim(*text, whitespaceAndNewlineSet()));
}

}  // namespace tessivo
