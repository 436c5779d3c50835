// Lays out gumbo's HTML5 tree with the same rules as the one-pass reader:
// a depth-first walk with an explicit stack, so that deep trees cost no
// native stack.
#include <memory>
#include <vector>

#include <gumbo.h>

#include "tessivo/foundation/html_layout.h"

namespace tessivo::html {
namespace {

struct Frame {
    const GumboNode* node;
    unsigned next;  // the next child to visit
    Kind kind;
    bool hidden;  // the element or one of its ancestors is not shown
    bool pre;
    std::int64_t counter;  // next number of an ordered list; cells begun in a row
};

const GumboVector* childrenOf(const GumboNode* node) {
    if (node->type == GUMBO_NODE_DOCUMENT) return &node->v.document.children;
    if (node->type == GUMBO_NODE_ELEMENT || node->type == GUMBO_NODE_TEMPLATE) return &node->v.element.children;
    return nullptr;
}

const TagInfo& tagOf(const GumboElement& element) {
    if (element.tag != GUMBO_TAG_UNKNOWN) return findTag(gumbo_normalized_tagname(element.tag));
    // gumbo knows no "dialog" and the like: look the written name up.
    GumboStringPiece name = element.original_tag;
    gumbo_tag_from_original_text(&name);
    char lower[16];
    if (name.length > sizeof lower) return findTag("");
    for (std::size_t i = 0; i < name.length; ++i) lower[i] = static_cast<char>(lowerAscii(static_cast<unsigned char>(name.data[i])));
    return findTag(std::string_view(lower, name.length));
}

// Attribute values are gumbo's, with references decoded; they live as long as the tree.
Attributes attributesOf(const GumboElement& element) {
    auto get = [&element](const char* name) -> std::optional<std::string_view> {
        const GumboAttribute* attribute = gumbo_get_attribute(&element.attributes, name);
        if (!attribute) return std::nullopt;
        return std::string_view(attribute->value);
    };
    Attributes a;
    a.style = get("style");
    a.alt = get("alt");
    a.start = get("start");
    a.value = get("value");
    a.hidden = get("hidden").has_value();
    a.open = get("open").has_value();
    return a;
}

class TreeLayout {
public:
    TreeLayout(const HtmlTextOptions& options, std::size_t reserve) : options_(options), writer_(reserve) {
        stack_.reserve(64);
    }

    std::string& run(const GumboNode* document) {
        stack_.push_back({document, 0, Kind::Ignored, false, false, 0});
        while (!stack_.empty()) {
            const GumboVector* children = childrenOf(stack_.back().node);
            if (stack_.back().next < children->length) {
                visit(static_cast<const GumboNode*>(children->data[stack_.back().next++]));
            } else {
                close(stack_.back());
                stack_.pop_back();
            }
        }
        return writer_.text();
    }

private:
    void visit(const GumboNode* node) {
        switch (node->type) {
        case GUMBO_NODE_ELEMENT:
        case GUMBO_NODE_TEMPLATE:
            open(node);
            return;
        case GUMBO_NODE_TEXT:
        case GUMBO_NODE_WHITESPACE:
        case GUMBO_NODE_CDATA:
            text(node->v.text.text);
            return;
        default:
            return;
        }
    }

    void open(const GumboNode* node) {
        const GumboElement& element = node->v.element;
        const TagInfo& info = tagOf(element);
        const bool parentHidden = stack_.back().hidden;
        const Attributes attributes = attributesOf(element);
        switch (info.kind) {
        case Kind::Br:
            if (!parentHidden) writer_.lineBreak();
            return;
        case Kind::Hr:
            if (!parentHidden) writer_.requestLineBreaks(1);
            return;
        case Kind::Img:
            if (options_.imageAltText && !parentHidden && attributes.alt && !hidesItself(info, attributes))
                altText(*attributes.alt);
            return;
        case Kind::Void:
            return;
        default:
            break;
        }
        const bool ownHidden = hidesItself(info, attributes);
        const bool pre = keepsWhiteSpace(info.kind);
        const std::int64_t counter = info.kind == Kind::OrderedList ? parseInteger(attributes.start).value_or(1) : 0;
        stack_.push_back({node, 0, info.kind, parentHidden || ownHidden, stack_.back().pre || pre, counter});
        if (parentHidden || ownHidden) return;
        if (info.kind == Kind::Row) writer_.beginLine();
        else if (info.kind == Kind::Cell) startCell();
        else if (const int breaks = lineBreaksOf(info.kind)) writer_.requestLineBreaks(breaks);
        if (info.kind == Kind::ListItem) listMarker(attributes);
    }

    void close(const Frame& frame) {
        if (frame.hidden) return;
        if (frame.kind == Kind::Row || frame.kind == Kind::Table) writer_.endRow();
        else if (frame.kind == Kind::ListItem || frame.kind == Kind::DefinitionItem) writer_.endItem();
        else if (const int breaks = lineBreaksOf(frame.kind)) writer_.requestLineBreaks(breaks);
    }

    // The frame of the nearest open element of one of `kinds`, searching no
    // further than an element of kind `boundary`.
    Frame* nearest(std::initializer_list<Kind> kinds, std::optional<Kind> boundary) {
        for (std::size_t k = stack_.size() - 1; k-- > 0;) {
            for (Kind kind : kinds)
                if (stack_[k].kind == kind) return &stack_[k];
            if (boundary && stack_[k].kind == *boundary) return nullptr;
        }
        return nullptr;
    }

    void startCell() {
        Frame* row = nearest({Kind::Row}, Kind::Table);
        if (row && row->counter++ > 0) writer_.cellSeparator();
    }

    void listMarker(const Attributes& attributes) {
        Frame* list = nearest({Kind::List, Kind::OrderedList}, std::nullopt);
        writeListMarker(writer_, list && list->kind == Kind::OrderedList ? &list->counter : nullptr, attributes);
    }

    void text(std::string_view text) {
        const Frame& frame = stack_.back();
        if (frame.hidden || text.empty()) return;
        if (frame.pre) writer_.verbatim(text);
        else collapsed(text);
    }

    // White space collapses; everything else is shown as it stands.
    void collapsed(std::string_view text) {
        std::size_t i = 0;
        while (i < text.size()) {
            if (isAsciiSpace(static_cast<unsigned char>(text[i]))) {
                writer_.space();
                ++i;
                continue;
            }
            const std::size_t start = i;
            while (i < text.size() && !isAsciiSpace(static_cast<unsigned char>(text[i]))) ++i;
            writer_.content(text.substr(start, i - start));
        }
    }

    void altText(std::string_view alt) {
        collapsed(alt);
        if (!alt.empty()) writer_.space();
    }

    const HtmlTextOptions& options_;
    Writer writer_;
    std::vector<Frame> stack_;
};

struct OutputDeleter {
    void operator()(GumboOutput* output) const { gumbo_destroy_output(&kGumboDefaultOptions, output); }
};

}  // namespace

std::string layOutTree(std::string_view utf8, const HtmlTextOptions& options) {
    GumboOptions parse = kGumboDefaultOptions;
    parse.max_errors = 0;  // the parse errors are not wanted; recording them costs time
    const std::unique_ptr<GumboOutput, OutputDeleter> output(gumbo_parse_with_options(&parse, utf8.data(), utf8.size()));
    if (!output) return {};
    TreeLayout layout(options, utf8.size() / 2 + 16);
    return std::move(layout.run(output->document));
}

}  // namespace tessivo::html
