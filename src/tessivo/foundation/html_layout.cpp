#include "tessivo/foundation/html_layout.h"

#include <iterator>

namespace tessivo::html {
namespace {

// Sorted by name.
constexpr TagInfo kTags[] = {
    {"address", Kind::Block, kBlockFlags},      {"applet", Kind::Inline, kSpecial | kScope},
    {"area", Kind::Void, kSpecial},              {"article", Kind::Block, kBlockFlags},
    {"aside", Kind::Block, kBlockFlags},         {"base", Kind::Void, kSpecial},
    {"basefont", Kind::Void, kSpecial},          {"bgsound", Kind::Void, kSpecial},
    {"blockquote", Kind::Block, kBlockFlags},    {"body", Kind::Ignored, kSpecial},
    {"br", Kind::Br, kSpecial},                  {"button", Kind::Inline, kSpecial},
    {"caption", Kind::Caption, kSpecial | kScope}, {"center", Kind::Block, kBlockFlags},
    {"col", Kind::Void, kSpecial},               {"colgroup", Kind::Inline, kSpecial},
    {"datalist", Kind::Hidden, 0},               {"dd", Kind::DefinitionItem, kBlockFlags},
    {"details", Kind::Block, kBlockFlags},       {"dialog", Kind::Dialog, kBlockFlags},
    {"dir", Kind::List, kBlockFlags},            {"div", Kind::Block, kBlockFlags},
    {"dl", Kind::Block, kBlockFlags},            {"dt", Kind::DefinitionItem, kBlockFlags},
    {"embed", Kind::Void, kSpecial},             {"fieldset", Kind::Block, kBlockFlags},
    {"figcaption", Kind::Block, kBlockFlags},    {"figure", Kind::Block, kBlockFlags},
    {"footer", Kind::Block, kBlockFlags},        {"form", Kind::Block, kBlockFlags},
    {"frame", Kind::Void, kSpecial},             {"frameset", Kind::Hidden, kSpecial},
    {"h1", Kind::Heading, kBlockFlags},          {"h2", Kind::Heading, kBlockFlags},
    {"h3", Kind::Heading, kBlockFlags},          {"h4", Kind::Heading, kBlockFlags},
    {"h5", Kind::Heading, kBlockFlags},          {"h6", Kind::Heading, kBlockFlags},
    {"head", Kind::Ignored, kSpecial},           {"header", Kind::Block, kBlockFlags},
    {"hgroup", Kind::Block, kBlockFlags},        {"hr", Kind::Hr, kBlockFlags},
    {"html", Kind::Ignored, kSpecial | kScope | kTableScope},  {"iframe", Kind::RawHidden, kSpecial},
    {"image", Kind::Img, kSpecial},              {"img", Kind::Img, kSpecial},
    {"input", Kind::Void, kSpecial},             {"keygen", Kind::Void, kSpecial},
    {"legend", Kind::Block, 0},                  {"li", Kind::ListItem, kBlockFlags},
    {"link", Kind::Void, kSpecial},              {"listing", Kind::Pre, kBlockFlags},
    {"main", Kind::Block, kBlockFlags},          {"marquee", Kind::Inline, kSpecial | kScope},
    {"menu", Kind::List, kBlockFlags},           {"meta", Kind::Void, kSpecial},
    {"nav", Kind::Block, kBlockFlags},           {"noembed", Kind::RawHidden, kSpecial},
    {"noframes", Kind::RawHidden, kSpecial},     {"object", Kind::Inline, kSpecial | kScope},
    {"ol", Kind::OrderedList, kBlockFlags | kListScope},      {"optgroup", Kind::OptGroup, 0},
    {"option", Kind::Option, 0},                 {"p", Kind::Paragraph, kBlockFlags},
    {"param", Kind::Void, kSpecial},             {"plaintext", Kind::Plaintext, kBlockFlags},
    {"pre", Kind::Pre, kBlockFlags},             {"rp", Kind::Hidden, 0},
    {"script", Kind::RawHidden, kSpecial},       {"section", Kind::Block, kBlockFlags},
    {"source", Kind::Void, kSpecial},            {"style", Kind::RawHidden, kSpecial},
    {"summary", Kind::Block, kBlockFlags},       {"svg", Kind::Hidden, 0},
    {"table", Kind::Table, kBlockFlags | kScope | kTableScope}, {"tbody", Kind::RowGroup, kSpecial},
    {"td", Kind::Cell, kSpecial | kScope},       {"template", Kind::Hidden, kSpecial | kScope | kTableScope},
    {"textarea", Kind::Textarea, kSpecial},      {"tfoot", Kind::RowGroup, kSpecial},
    {"th", Kind::Cell, kSpecial | kScope},       {"thead", Kind::RowGroup, kSpecial},
    {"title", Kind::Title, kSpecial},            {"tr", Kind::Row, kSpecial},
    {"track", Kind::Void, kSpecial},             {"ul", Kind::List, kBlockFlags | kListScope},
    {"wbr", Kind::Void, kSpecial},               {"xmp", Kind::Xmp, kBlockFlags},
};

constexpr TagInfo kUnknownTag = {"", Kind::Inline, 0};

}  // namespace

const TagInfo& findTag(std::string_view name) {
    const auto* end = std::end(kTags);
    const auto* it = std::lower_bound(std::begin(kTags), end, name,
                                      [](const TagInfo& t, std::string_view n) { return t.name < n; });
    return (it != end && it->name == name) ? *it : kUnknownTag;
}

int lineBreaksOf(Kind kind) {
    switch (kind) {
    case Kind::Paragraph:
    case Kind::Heading:
        return 2;
    case Kind::Inline:
    case Kind::Img:
    case Kind::Void:
    case Kind::Br:
    case Kind::Cell:
    case Kind::RowGroup:
    case Kind::Textarea:
    case Kind::Ignored:
    case Kind::Hidden:
    case Kind::RawHidden:
    case Kind::Title:
        return 0;
    default:
        return 1;
    }
}

bool styleHidesElement(std::string_view style) {
    constexpr std::string_view kProperty = "display";
    for (std::size_t at = 0; at + kProperty.size() <= style.size(); ++at) {
        std::size_t i = at;
        std::size_t k = 0;
        while (k < kProperty.size() && lowerAscii(static_cast<unsigned char>(style[i])) == kProperty[k]) ++i, ++k;
        if (k < kProperty.size()) continue;
        // A whole property name: not the tail of "mso-display" and the like.
        if (at > 0) {
            const unsigned char before = static_cast<unsigned char>(style[at - 1]);
            if (before != ';' && before != '{' && before != '"' && before != '\'' && !isAsciiSpace(before)) continue;
        }
        while (i < style.size() && isAsciiSpace(static_cast<unsigned char>(style[i]))) ++i;
        if (i >= style.size() || style[i] != ':') continue;
        ++i;
        while (i < style.size() && isAsciiSpace(static_cast<unsigned char>(style[i]))) ++i;
        constexpr std::string_view kNone = "none";
        std::size_t n = 0;
        while (n < kNone.size() && i + n < style.size() && lowerAscii(static_cast<unsigned char>(style[i + n])) == kNone[n]) ++n;
        if (n < kNone.size()) continue;
        i += n;
        if (i == style.size() || !(isAsciiAlnum(static_cast<unsigned char>(style[i])) || style[i] == '-')) return true;
    }
    return false;
}

bool hidesItself(const TagInfo& info, const Attributes& attributes) {
    return attributes.hidden || (attributes.style && styleHidesElement(*attributes.style)) ||
           info.kind == Kind::Hidden || info.kind == Kind::RawHidden || info.kind == Kind::Title ||
           (info.kind == Kind::Dialog && !attributes.open);
}

void writeListMarker(Writer& writer, std::int64_t* orderedCounter, const Attributes& item) {
    if (!orderedCounter) {
        writer.marker("\u2022 ");
        return;
    }
    if (const auto value = parseInteger(item.value)) *orderedCounter = *value;
    const std::string marker = std::to_string(*orderedCounter) + ". ";
    *orderedCounter = std::min<std::int64_t>(*orderedCounter + 1, 0x7FFFFFFF);
    writer.marker(marker);
}

std::optional<std::int64_t> parseInteger(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    std::string_view s = *text;
    std::size_t i = 0;
    while (i < s.size() && isAsciiSpace(static_cast<unsigned char>(s[i]))) ++i;
    bool negative = false;
    if (i < s.size() && (s[i] == '-' || s[i] == '+')) negative = s[i++] == '-';
    if (i >= s.size() || !isAsciiDigit(static_cast<unsigned char>(s[i]))) return std::nullopt;
    std::int64_t value = 0;
    for (; i < s.size() && isAsciiDigit(static_cast<unsigned char>(s[i])); ++i)
        value = std::min<std::int64_t>(value * 10 + (s[i] - '0'), 0x7FFFFFFF);
    return negative ? -value : value;
}

}  // namespace tessivo::html
