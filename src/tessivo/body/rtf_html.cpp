// HTML carried inside RTF ("\fromhtml"): recognition and extraction.
#include <algorithm>

#include "tessivo/body/rtf_wangers.h"
#include "tessivo/foundation/encoding.h"

namespace tessivo {
namespace {

constexpr std::size_t kMinimumEncapsulatedBytes = 50;
constexpr std::size_t kHeaderScanBytes = 500;

bool isAsciiLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// The extraction scan over the decoded RTF text.
class HTMLExtractor {
public:
    explicit HTMLExtractor(const icu::UnicodeString& text) : s_(text.getBuffer()), n_(text.length()) {}

    icu::UnicodeString run() {
        while (i_ < n_) {
            switch (s_[i_]) {
                case u'\\': backslash(); break;
                case u'}': closeGroup(); break;
                case u'{': openGroup(); break;
                default: character(); break;
            }
        }
        return out_;
    }

private:
    bool startsWith(std::int32_t at, std::u16string_view word) const {
        return at >= 0 && n_ - at >= static_cast<std::int32_t>(word.size()) &&
               std::equal(word.begin(), word.end(), s_ + at);
    }

    void backslash() {
        // "\htmlrtf" fences RTF-only material, inside or outside tag groups.
        if (i_ + 8 < n_) {
            if (startsWith(i_, u"\\htmlrtf0")) {
                i_ += 9;
                suppressed_ = false;
                return;
            }
            if (startsWith(i_, u"\\htmlrtf")) {
                i_ += s_[i_ + 8] == u' ' ? 9 : 8;
                suppressed_ = true;
                return;
            }
        }
        ++i_;
        if (!inTag_) return;
        // Inside a tag group a control word, its number and one delimiting
        // space are dropped; a backslash followed by anything else is
        // dropped alone, so "\'e9" stays "'e9".
        bool dropped = false;
        while (i_ < n_ && isAsciiLetter(s_[i_])) {
            ++i_;
            dropped = true;
        }
        if (i_ < n_ && (s_[i_] == u'-' || isDigit(s_[i_]))) {
            if (s_[i_] == u'-') ++i_;
            while (i_ < n_ && isDigit(s_[i_])) ++i_;
            dropped = true;
        }
        if (dropped && i_ < n_ && s_[i_] == u' ') ++i_;
    }

    void closeGroup() {
        if (depth_ == tagDepth_) inTag_ = false;
        --depth_;
        ++i_;
    }

    void openGroup() {
        ++depth_;
        if (i_ + 12 < n_ && startsWith(i_, u"{\\*\\htmltag")) {
            i_ += 11;
            while (i_ < n_ && isDigit(s_[i_])) ++i_;
            if (i_ < n_ && s_[i_] == u' ') ++i_;
            inTag_ = true;
            tagDepth_ = depth_;
        } else {
            ++i_;
        }
    }

    void character() {
        const char16_t c = s_[i_++];
        if (inTag_ && !suppressed_ && c != u'\r' && c != u'\n') out_.append(c);
    }

    const char16_t* s_;
    std::int32_t n_;
    std::int32_t i_ = 0;
    std::int64_t depth_ = 0;
    std::int64_t tagDepth_ = 0;
    bool inTag_ = false;
    bool suppressed_ = false;
    icu::UnicodeString out_;
};

}  // namespace

bool RTFWangers::isEncapsulatedHTML(ByteView rtf) {
    if (rtf.size() < kMinimumEncapsulatedBytes) return false;
    const auto head = rtf.first(std::min(rtf.size(), kHeaderScanBytes));
    if (std::any_of(head.begin(), head.end(), [](std::uint8_t b) { return b > 0x7F; })) return false;
    const std::string_view text(reinterpret_cast<const char*>(head.data()), head.size());
    return text.find("\\fromhtml") != std::string_view::npos;
}

std::optional<icu::UnicodeString> RTFWangers::extractHTMLFromEncapsulatedRTF(ByteView rtf) {
    auto text = decode(rtf, encodings::UTF8);
    if (!text) text = decode(rtf, encodings::Windows1252);
    if (!text) return std::nullopt;
    auto html = HTMLExtractor(*text).run();
    if (html.isEmpty()) return std::nullopt;
    return html;
}

std::optional<icu::UnicodeString> RTFWangers::extractHTMLIfEncapsulated(ByteView rtf) {
    if (!isEncapsulatedHTML(rtf)) return std::nullopt;
    return extractHTMLFromEncapsulatedRTF(rtf);
}

}  // namespace tessivo
