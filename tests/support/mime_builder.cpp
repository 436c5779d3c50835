#include "support/mime_builder.h"

#include "tessivo/mime/mime_reader.h"

namespace tessivo::testing {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kHex[] = "0123456789ABCDEF";
// Encoded lines are at most this long, as RFC 2045 asks.
constexpr std::size_t kLineLength = 76;

Bytes bytesOf(const std::string& s) { return Bytes(s.begin(), s.end()); }

}  // namespace

MimePart MimePart::text(const std::string& subtype, const std::string& text, const std::string& charset) {
    MimePart p;
    p.contentType_ = "text/" + subtype + "; charset=" + charset;
    p.body_ = bytesOf(text);
    return p;
}

MimePart MimePart::leaf(const std::string& contentType, Bytes body, Encoding encoding) {
    MimePart p;
    p.contentType_ = contentType;
    p.body_ = std::move(body);
    p.encoding_ = encoding;
    return p;
}

MimePart MimePart::attachment(const std::string& contentType, const std::string& fileName, Bytes body,
                              Encoding encoding) {
    MimePart p = leaf(contentType + "; name=\"" + fileName + "\"", std::move(body), encoding);
    p.disposition_ = "attachment; filename=\"" + fileName + "\"";
    return p;
}

MimePart MimePart::message(MimePart inner, const std::string& fileName) {
    MimePart p;
    p.contentType_ = "message/rfc822";
    p.parts_.push_back(std::move(inner));
    if (!fileName.empty()) p.disposition_ = "attachment; filename=\"" + fileName + "\"";
    return p;
}

MimePart MimePart::multipart(const std::string& subtype, std::vector<MimePart> parts) {
    MimePart p;
    p.contentType_ = "multipart/" + subtype;
    p.parts_ = std::move(parts);
    p.multipart_ = true;
    return p;
}

MimePart& MimePart::header(const std::string& name, const std::string& value) {
    headers_.emplace_back(name, value);
    return *this;
}

MimePart& MimePart::contentType(const std::string& value) {
    contentType_ = value;
    return *this;
}

MimePart& MimePart::encoding(Encoding e) {
    encoding_ = e;
    return *this;
}

MimePart& MimePart::disposition(const std::string& value) {
    disposition_ = value;
    return *this;
}

MimePart& MimePart::boundary(const std::string& value) {
    boundary_ = value;
    return *this;
}

MimePart& MimePart::preamble(const std::string& text) {
    preamble_ = text;
    return *this;
}

MimePart& MimePart::epilogue(const std::string& text) {
    epilogue_ = text;
    return *this;
}

std::string MimePart::base64Lines(const Bytes& body) {
    std::string out;
    std::size_t column = 0;
    for (std::size_t i = 0; i < body.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, body.size() - i);
        const std::uint32_t group = body[i] << 16 | (n > 1 ? body[i + 1] << 8 : 0) | (n > 2 ? body[i + 2] : 0);
        if (column == kLineLength) {
            out += '\n';
            column = 0;
        }
        for (std::size_t k = 0; k < 4; ++k) out += k <= n ? kAlphabet[(group >> (18 - 6 * k)) & 0x3F] : '=';
        column += 4;
    }
    return out;
}

std::string MimePart::quotedPrintable(const Bytes& body) {
    std::string out;
    std::size_t column = 0;
    for (std::size_t i = 0; i < body.size(); ++i) {
        const std::uint8_t b = body[i];
        if (b == '\n') {
            out += '\n';
            column = 0;
            continue;
        }
        const bool beforeLineEnd = i + 1 == body.size() || body[i + 1] == '\n';
        const bool literal = (b >= 33 && b <= 126 && b != '=') || ((b == ' ' || b == '\t') && !beforeLineEnd);
        std::string piece =
            literal ? std::string(1, static_cast<char>(b)) : std::string{'=', kHex[b >> 4], kHex[b & 0x0F]};
        if (column + piece.size() > kLineLength - 1) {
            out += "=\n";
            column = 0;
        }
        out += piece;
        column += piece.size();
    }
    return out;
}

void MimePart::write(std::string& out, int& next) const {
    for (const auto& [name, value] : headers_) out += name + ": " + value + "\n";
    const std::string boundary = !multipart_          ? ""
                                 : !boundary_.empty() ? boundary_
                                                      : "=_b" + std::to_string(next++) + "_";
    if (multipart_)
        out += "Content-Type: " + contentType_ + "; boundary=\"" + boundary + "\"\n";
    else if (!contentType_.empty())
        out += "Content-Type: " + contentType_ + "\n";
    if (encoding_ != Encoding::None)
        out += std::string("Content-Transfer-Encoding: ") +
               (encoding_ == Encoding::Base64 ? "base64" : "quoted-printable") + "\n";
    if (!disposition_.empty()) out += "Content-Disposition: " + disposition_ + "\n";
    out += "\n";
    if (!multipart_ && !parts_.empty()) {
        parts_.front().write(out, next);
        return;
    }
    if (!multipart_) {
        switch (encoding_) {
            case Encoding::None: out.append(body_.begin(), body_.end()); break;
            case Encoding::Base64: out += base64Lines(body_); break;
            case Encoding::QuotedPrintable: out += quotedPrintable(body_); break;
        }
        return;
    }
    if (!preamble_.empty()) out += preamble_ + "\n";
    for (const MimePart& part : parts_) {
        out += "--" + boundary + "\n";
        part.write(out, next);
        out += "\n";
    }
    out += "--" + boundary + "--\n" + epilogue_;
}

std::string MimePart::build(LineEnd lineEnd) const {
    std::string text;
    int next = 1;
    write(text, next);
    if (text.empty() || text.back() != '\n') text += '\n';
    if (lineEnd == LineEnd::LF) return text;
    std::string crlf;
    crlf.reserve(text.size() + text.size() / 32);
    for (const char c : text) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    return crlf;
}

Bytes MimePart::bytes(LineEnd lineEnd) const { return bytesOf(build(lineEnd)); }

Dictionary readMime(const std::string& text) {
    const Bytes bytes = bytesOf(text);
    return MIMEReader::initWithData(ByteView(bytes))->getDictionary();
}

}  // namespace tessivo::testing
