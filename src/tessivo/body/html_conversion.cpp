#include "tessivo/body/html_conversion.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/ustring.h>

#include "tessivo/foundation/encoding.h"
#include "tessivo/foundation/html_text.h"
#include "tessivo/foundation/log.h"
#include "tessivo/foundation/regex.h"
#include "tessivo/foundation/text.h"
#include "tessivo/foundation/value.h"
#include "tessivo/mime/mime_strings.h"
#include "tessivo/toolkit/string_wangers.h"

namespace tessivo::WindowsCodePageWangersNSStringAdditions {
namespace {

// Whether s[at, n) begins with marker (lower-case ASCII) in any case. The
// markers hold no "k" or "s", the only ASCII letters that other characters
// fold to, so comparing ASCII letters alone is comparing the folded texts.
bool markerAt(const char16_t* s, std::int32_t n, std::int32_t at, std::u16string_view marker) {
    if (n - at < static_cast<std::int32_t>(marker.size())) return false;
    for (std::size_t k = 0; k < marker.size(); ++k) {
        char16_t c = s[at + static_cast<std::int32_t>(k)];
        if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c + (u'a' - u'A'));
        if (c != marker[k]) return false;
    }
    return true;
}

// The text laid out by the HTML renderer; nothing when it cannot be encoded
// as UTF-8 or is not a usable document.
std::optional<icu::UnicodeString> importHTML(const icu::UnicodeString& html, std::uint64_t trailingNuls) {
    const auto bytes = encode(html, encodings::UTF8);
    if (!bytes) return std::nullopt;
    HtmlTextOptions options;
    options.trailingNuls = trailingNuls;
    return htmlToPlainText(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()), options);
}

// Replaces every match of pattern in text by the template; logs and leaves
// the text as it was when the pattern does not compile or replacing fails.
void replaceMatches(icu::UnicodeString& text, const CompiledPattern& pattern, const icu::UnicodeString& replacement,
                    const char* exceptionMessage) {
    if (text.isEmpty()) return;
    if (!pattern.regex) {
        log("Failed to create regex with pattern '%s': %s", toUtf8(pattern.source).c_str(), pattern.error.c_str());
        return;
    }
    try {
        text = pattern.regex->replaceAll(text, replacement);
    } catch (const std::exception& e) {
        log(exceptionMessage, e.what());
    }
}

constexpr const char* kCleanupException = "Exception during regex replacement in HTML cleanup: %s";
constexpr const char* kFallbackException = "Exception during regex replacement: %s";

struct Entity {
    const char16_t* name;
    char16_t value;
};

// Replaced in this order; "&amp;" first, so doubly escaped text is unescaped twice.
constexpr std::array<Entity, 16> kEntities = {{
    {u"&amp;", u'&'},      {u"&apos;", u'\''},    {u"&copy;", u'\u00A9'}, {u"&gt;", u'>'},
    {u"&hellip;", u'\u2026'}, {u"&ldquo;", u'\u201C'}, {u"&lsquo;", u'\u2018'}, {u"&lt;", u'<'},
    {u"&mdash;", u'\u2014'}, {u"&nbsp;", u' '},     {u"&ndash;", u'\u2013'}, {u"&quot;", u'"'},
    {u"&rdquo;", u'\u201D'}, {u"&reg;", u'\u00AE'}, {u"&rsquo;", u'\u2019'}, {u"&trade;", u'\u2122'},
}};

constexpr std::array<const char16_t*, 14> kBlockTags = {
    u"p", u"div", u"br", u"h1", u"h2", u"h3", u"h4", u"h5", u"h6", u"li", u"ul", u"ol", u"blockquote", u"pre",
};

// A signed 32-bit decimal as a number scanner reads it: white space around
// it, an optional sign, digits; out-of-range values saturate. Nothing unless
// the whole text is taken.
std::optional<std::int32_t> scanWholeInt32(const icu::UnicodeString& text) {
    const icu::UnicodeSet& skip = whitespaceAndNewlineSet();
    std::int32_t i = 0;
    const std::int32_t length = text.length();
    while (i < length && skip.contains(text.char32At(i))) i = text.moveIndex32(i, 1);
    bool negative = false;
    if (i < length && (text[i] == u'-' || text[i] == u'+')) negative = text[i++] == u'-';
    const std::int32_t digitsStart = i;
    std::int64_t value = 0;
    for (; i < length && text[i] >= u'0' && text[i] <= u'9'; ++i) value = std::min<std::int64_t>(value * 10 + (text[i] - u'0'), 0x80000000LL);
    if (i == digitsStart) return std::nullopt;
    while (i < length && skip.contains(text.char32At(i))) i = text.moveIndex32(i, 1);
    if (i != length) return std::nullopt;
    if (negative) return static_cast<std::int32_t>(-value);
    return static_cast<std::int32_t>(std::min<std::int64_t>(value, 0x7FFFFFFF));
}

icu::UnicodeString escapeMarkup(const icu::UnicodeString& text) {
    icu::UnicodeString s = replaceAll(text, u"&", u"&amp;");
    s = replaceAll(s, u"<", u"&lt;");
    s = replaceAll(s, u">", u"&gt;");
    s = replaceAll(s, u"\"", u"&quot;");
    return replaceAll(s, u"'", u"&#39;");
}

icu::UnicodeString columnText(std::int64_t column) {
    return icu::UnicodeString::fromUTF8(std::to_string(column));
}

}  // namespace

icu::UnicodeString stringFromHTML(const icu::UnicodeString& html) { return stringFromHTML(html, 0); }

icu::UnicodeString stringFromHTML(const icu::UnicodeString& html, std::uint64_t trailingNuls) {
    if (html.isEmpty() && trailingNuls == 0) return {};
    try {
        // Quoted-printable decoding may take the first two NULs into a "%"
        // escape that ends the text; the others pass every step unchanged.
        const std::uint64_t taken = std::min<std::uint64_t>(trailingNuls, 2);
        icu::UnicodeString withTaken = html;
        for (std::uint64_t i = 0; i < taken; ++i) withTaken.append(u'\0');
        icu::UnicodeString text = quotedPrintableDecodeWithEncoding(withTaken, encodings::UTF8).value_or(withTaken);
        text = replaceAll(text, u"</p>", u"\n\n", CaseInsensitive);
        text = replaceAll(text, u"</div>", u"\n", CaseInsensitive);
        static const CompiledPattern breaks(u"<br[^>]*>", Regex::CaseInsensitive);
        if (breaks.regex) text = breaks.regex->replaceAll(text, u"\n");
        return importHTML(text, trailingNuls - taken).value_or(icu::UnicodeString());
    } catch (const std::exception&) {
        return {};
    }
}

icu::UnicodeString stringByStrippingHTML(const icu::UnicodeString& html) {
    if (html.isEmpty()) return {};
    const auto bytes = encode(html, encodings::UTF8);
    if (!bytes) return {};
    std::optional<icu::UnicodeString> imported;
    try {
        imported = htmlToPlainText(std::string_view(reinterpret_cast<const char*>(bytes->data()), bytes->size()));
    } catch (const std::exception&) {
        imported.reset();
    }
    if (!imported) return stringByStrippingHTMLFallback(html);

    icu::UnicodeString text = *imported;
    static const CompiledPattern spaces(u"[ \t]+");
    static const CompiledPattern blankLines(u"\n{3,}");
    replaceMatches(text, spaces, u" ", kCleanupException);
    replaceMatches(text, blankLines, u"\n\n", kCleanupException);

    std::vector<icu::UnicodeString> lines = split(text, u"\n");
    for (auto& line : lines) line = trim(line, whitespaceSet());
    text = join(lines, u"\n");

    std::int32_t start = 0;
    while (start < text.length() && text[start] == u'\n') ++start;
    std::int32_t end = text.length();
    while (end > start && text[end - 1] == u'\n') --end;
    return icu::UnicodeString(text, start, end - start);
}

icu::UnicodeString stringByStrippingHTMLFallback(const icu::UnicodeString& html) {
    if (html.isEmpty()) return {};
    icu::UnicodeString text = html;
    static const CompiledPattern comments(u"<!--[\\s\\S]*?-->");
    static const CompiledPattern styles(u"<(style|script)[^>]*?>[\\s\\S]*?</\\1>", Regex::CaseInsensitive);
    static const std::vector<CompiledPattern> blockTags = [] {
        std::vector<CompiledPattern> patterns;
        for (const char16_t* tag : kBlockTags)
            patterns.emplace_back(u"</?" + icu::UnicodeString(tag) + u"[^>]*>", Regex::CaseInsensitive);
        return patterns;
    }();
    static const CompiledPattern tags(u"<[^>]+>");
    replaceMatches(text, comments, u"", kFallbackException);
    replaceMatches(text, styles, u"", kFallbackException);
    for (const CompiledPattern& blockTag : blockTags) replaceMatches(text, blockTag, u"\n", kFallbackException);
    replaceMatches(text, tags, u"", kFallbackException);
    for (const Entity& entity : kEntities) {
        if (text.isEmpty()) break;
        try {
            text = replaceAll(text, entity.name, icu::UnicodeString(entity.value), CaseInsensitive);
        } catch (const std::exception& e) {
            log("Exception during HTML entity replacement: %s", e.what());
        }
    }
    return text;
}

icu::UnicodeString decodeHTMLFormattingTags(const icu::UnicodeString& text) {
    icu::UnicodeString result = text;
    static const CompiledPattern escapes(u"&amp;(.*?);", Regex::CaseInsensitive);
    if (!escapes.regex) return result;
    for (const Regex::Match& match : escapes.regex->allMatches(text)) {
        if (match.groups.size() != 2) continue;
        icu::UnicodeString number = match.group(text, 1);
        number = replaceAll(number, u"#", u"");
        const auto value = scanWholeInt32(number);
        if (!value || *value < 1) continue;
        const icu::UnicodeString whole = match.group(text, 0);
        // The low 16 bits make the character: larger values wrap.
        const icu::UnicodeString character(static_cast<char16_t>(static_cast<std::uint32_t>(*value) & 0xFFFF));
        result = replaceAll(result, whole, character, CaseInsensitive);
    }
    return result;
}

bool isHTML(const icu::UnicodeString& text) {
    if (text.isEmpty()) return false;
    const icu::UnicodeString trimmed = trim(text, whitespaceAndNewlineSet());
    const std::int32_t length = trimmed.length();
    if (length < 13) return false;
    const char16_t* s = trimmed.getBuffer();
    // The last "</html>" must start after length - 20; below 20 characters
    // that bound wraps around as an unsigned number and is never met.
    if (length >= 20 && markerAt(s, length, 0, u"<html"))
        for (std::int32_t at = length - 19; at <= length - 7; ++at)
            if (markerAt(s, length, at, u"</html>")) return true;
    if (markerAt(s, length, 0, u"<!doctype")) return true;
    // One pass over the "<"s finds each of the three markers.
    bool head = false, body = false, html = false;
    for (const char16_t* p = u_memchr(s, u'<', length); p; p = u_memchr(p + 1, u'<', length - (p + 1 - s))) {
        const auto at = static_cast<std::int32_t>(p - s);
        head = head || markerAt(s, length, at, u"<head");
        body = body || markerAt(s, length, at, u"<body");
        html = html || markerAt(s, length, at, u"<html");
        if (head + body + html >= 2) return true;
    }
    return false;
}

icu::UnicodeString stringByConvertingToHTML(const icu::UnicodeString& text) {
    return stringByConvertingToHTMLWithWrapAtColumn(text, 0);
}

icu::UnicodeString stringByConvertingToHTMLWithWrapAtColumn(const icu::UnicodeString& text, std::int64_t column) {
    if (text.isEmpty()) return {};
    icu::UnicodeString s = escapeMarkup(text);
    s = replaceAll(s, u"\r\n", u"<br>");
    s = replaceAll(s, u"\n", u"<br>");
    s = replaceAll(s, u"\r", u"<br>");
    s = replaceAll(s, u"\t", u"&nbsp;&nbsp;&nbsp;&nbsp;");
    s = replaceAll(s, u"  ", u" &nbsp;");
    if (column < 1) return s;
    return u"<div style=\"max-width: " + columnText(column) +
           u"ch; word-wrap: break-word; overflow-wrap: break-word; white-space: pre-wrap;\">" + s + u"</div>";
}

icu::UnicodeString stringByConvertingToHTMLWithPreTag(const icu::UnicodeString& text) {
    return stringByConvertingToHTMLWithPreTagAndWrapAtColumn(text, 0);
}

icu::UnicodeString stringByConvertingToHTMLWithPreTagAndWrapAtColumn(const icu::UnicodeString& text,
                                                                    std::int64_t column) {
    if (text.isEmpty()) return u"<pre></pre>";
    const icu::UnicodeString s = escapeMarkup(text);
    if (column < 1) return u"<pre>" + s + u"</pre>";
    return u"<pre style=\"max-width: " + columnText(column) +
           u"ch; white-space: pre-wrap; word-wrap: break-word; overflow-wrap: break-word;\">" + s + u"</pre>";
}

}  // namespace tessivo::WindowsCodePageWangersNSStringAdditions

namespace tessivo {

bool typeIsHTML(const char* bytes) {
    if (bytes == nullptr) return false;
    return contains(toLower(StringWangers::stringFromCString(bytes)), u"<html");
}

}  // namespace tessivo
