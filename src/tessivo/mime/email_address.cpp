// E-mail address checks and mailto: URLs.
#include <string>

#include "tessivo/foundation/regex.h"
#include "tessivo/foundation/text.h"
#include "tessivo/mime/mime_strings.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

// RFC 5322 addr-spec: a dot-atom or quoted local part, then a dotted domain
// name or a bracketed address literal.
constexpr char16_t kAddressPattern[] =
    uR"re((?:[a-z0-9!#$%\&'*+/=?\^_`{|}~-]+(?:\.[a-z0-9!#$%\&'*+/=?\^_`{|}~-]+)*|"(?:[\x01-\x08\x0b\x0c\x0e-\x1f\x21\x23-\x5b\x5d-\x7f]|\\[\x01-\x09\x0b\x0c\x0e-\x7f])*")@(?:(?:[a-z0-9](?:[a-z0-9-]*[a-z0-9])?\.)+[a-z0-9](?:[a-z0-9-]*[a-z0-9])?|\[(?:(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)\.){3}(?:25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?|[a-z0-9-]*[a-z0-9]:(?:[\x01-\x08\x0b\x0c\x0e-\x1f\x21-\x5a\x53-\x7f]|\\[\x01-\x09\x0b\x0c\x0e-\x7f])+)\]))re";

// Characters a URL carries as they are: RFC 3986 unreserved and reserved.
bool isUrlCharacter(char c) {
    static constexpr std::string_view kPunctuation = "-._~:/?#[]@!$&'()*+,;=";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kPunctuation.find(c) != std::string_view::npos;
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

bool validateEmailAddress(const icu::UnicodeString& text) {
    static const std::optional<Regex> re = Regex::compile(kAddressPattern, Regex::CaseInsensitive);
    return re && re->matchesWhole(text);
}

std::optional<icu::UnicodeString> cleanEmailAddress(const icu::UnicodeString& text) {
    icu::UnicodeString address(text);
    const std::int32_t open = text.indexOf(u'<');
    if (open >= 0) {
        const std::int32_t close = text.indexOf(u'>');
        address = close > open ? icu::UnicodeString(text, open + 1, close - open - 1) : icu::UnicodeString();
    }
    address = trim(address, whitespaceAndNewlineSet());
    if (!validateEmailAddress(address)) return std::nullopt;
    return address;
}

std::optional<icu::UnicodeString> buildEmailAddressURL(const icu::UnicodeString& address) {
    if (!validateEmailAddress(address)) return std::nullopt;
    // Characters a URL cannot hold (space, quotes, braces, controls) are
    // percent-encoded, as the platform's URL constructor does; a "%" that
    // already starts an escape is kept.
    static constexpr char kHex[] = "0123456789ABCDEF";
    const std::string utf8 = toUtf8(address);
    std::string url = "mailto:";
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const bool escape = c == '%' && i + 2 < utf8.size() && isHexDigit(utf8[i + 1]) && isHexDigit(utf8[i + 2]);
        if (isUrlCharacter(c) || escape) {
            url += c;
        } else {
            const auto b = static_cast<unsigned char>(c);
            url += '%';
            url += kHex[b >> 4];
            url += kHex[b & 0x0F];
        }
    }
    return icu::UnicodeString::fromUTF8(url);
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions
