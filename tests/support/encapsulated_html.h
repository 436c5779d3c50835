// HTML rebuilt whole from RTF that encapsulates it ("\fromhtml"), for judging
// HTML converters on the corpus: the markup of the "{\*\htmltag}" groups and
// the text between them, less what "\htmlrtf" fences off, with "\'hh" (in
// the document's ANSI code page) and "\uN" escapes decoded.
// RTFWangers::extractHTMLFromEncapsulatedRTF keeps only the tag groups,
// which hold no body text.
//
//   icu::UnicodeString html = tessivo::testing::EncapsulatedHtml::extract(rtfText);
#pragma once

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/unistr.h>

#include "tessivo/foundation/encoding.h"

namespace tessivo::testing {

class EncapsulatedHtml {
public:
    // rtf: the decompressed RTF bytes as characters.
    static icu::UnicodeString extract(std::string_view rtf) {
        EncapsulatedHtml e(rtf);
        e.run();
        return e.out_;
    }

private:
    struct Group {
        bool skip = false;
        bool suppressed = false;
    };

    explicit EncapsulatedHtml(std::string_view rtf) : rtf_(rtf) { groups_.push_back({}); }

    bool emitting() const { return !groups_.back().skip && !groups_.back().suppressed; }

    void emit(char32_t c) {
        if (pendingSkip_ > 0) {
            --pendingSkip_;
            return;
        }
        if (emitting()) out_.append(static_cast<UChar32>(c));
    }

    void emitByte(std::uint8_t b) {
        if (pendingSkip_ > 0) {
            --pendingSkip_;
            return;
        }
        if (!emitting()) return;
        const std::uint8_t bytes[1] = {b};
        out_.append(decode(ByteView(bytes, 1), codePage_).value_or(u"\uFFFD"));
    }

    void run() {
        while (pos_ < rtf_.size()) {
            const char c = rtf_[pos_];
            if (c == '{') {
                ++pos_;
                Group inner = groups_.back();
                if (rtf_.compare(pos_, 10, "\\*\\htmltag") == 0) {
                    pos_ += 10;
                    while (pos_ < rtf_.size() && std::isdigit(static_cast<unsigned char>(rtf_[pos_]))) ++pos_;
                    if (pos_ < rtf_.size() && rtf_[pos_] == ' ') ++pos_;
                } else if (rtf_.compare(pos_, 2, "\\*") == 0 || startsWithWord({"fonttbl", "colortbl", "stylesheet", "info", "pict", "fldinst"})) {
                    inner.skip = true;
                }
                groups_.push_back(inner);
            } else if (c == '}') {
                ++pos_;
                if (groups_.size() > 1) groups_.pop_back();
            } else if (c == '\\') {
                controlWord();
            } else {
                ++pos_;
                if (c != '\r' && c != '\n') emit(static_cast<unsigned char>(c));
            }
        }
    }

    bool startsWithWord(std::initializer_list<std::string_view> words) const {
        for (std::string_view w : words)
            if (rtf_.compare(pos_, w.size() + 1, "\\" + std::string(w)) == 0) return true;
        return false;
    }

    void controlWord() {
        ++pos_;
        if (pos_ >= rtf_.size()) return;
        const char first = rtf_[pos_];
        if (!std::isalpha(static_cast<unsigned char>(first))) {
            ++pos_;
            if (first == '\'' && pos_ + 2 <= rtf_.size()) {
                emitByte(static_cast<std::uint8_t>(std::strtoul(std::string(rtf_.substr(pos_, 2)).c_str(), nullptr, 16)));
                pos_ += 2;
            } else if (first == '{' || first == '}' || first == '\\') {
                emit(static_cast<unsigned char>(first));
            } else if (first == '~') {
                emit(0xA0);
            } else if (first == '_') {
                emit('-');
            }
            return;
        }
        const std::size_t start = pos_;
        while (pos_ < rtf_.size() && std::isalpha(static_cast<unsigned char>(rtf_[pos_]))) ++pos_;
        const std::string word(rtf_.substr(start, pos_ - start));
        std::optional<long> parameter;
        const std::size_t numberStart = pos_;
        if (pos_ < rtf_.size() && rtf_[pos_] == '-') ++pos_;
        while (pos_ < rtf_.size() && std::isdigit(static_cast<unsigned char>(rtf_[pos_]))) ++pos_;
        if (pos_ > numberStart) parameter = std::strtol(std::string(rtf_.substr(numberStart, pos_ - numberStart)).c_str(), nullptr, 10);
        if (pos_ < rtf_.size() && rtf_[pos_] == ' ') ++pos_;

        if (word == "htmlrtf") groups_.back().suppressed = parameter.value_or(1) != 0;
        else if (word == "par" || word == "line") emit('\n');
        else if (word == "tab") emit('\t');
        else if (word == "uc") unicodeSkip_ = static_cast<int>(parameter.value_or(1));
        else if (word == "ansicpg") codePage_ = codePageEncoding(parameter.value_or(1252));
        else if (word == "lquote") emit(0x2018);
        else if (word == "rquote") emit(0x2019);
        else if (word == "ldblquote") emit(0x201C);
        else if (word == "rdblquote") emit(0x201D);
        else if (word == "bullet") emit(0x2022);
        else if (word == "endash") emit(0x2013);
        else if (word == "emdash") emit(0x2014);
        else if (word == "u" && parameter) {
            emit(static_cast<char32_t>(static_cast<std::uint16_t>(*parameter)));
            pendingSkip_ = unicodeSkip_;
        }
    }

    static Encoding codePageEncoding(long codePage) {
        switch (codePage) {
        case 1250: return encodings::Windows1250;
        case 1251: return encodings::Windows1251;
        case 1253: return encodings::Windows1253;
        case 1254: return encodings::Windows1254;
        default: return encodings::Windows1252;
        }
    }

    std::string_view rtf_;
    std::size_t pos_ = 0;
    std::vector<Group> groups_;
    icu::UnicodeString out_;
    Encoding codePage_ = encodings::Windows1252;
    int unicodeSkip_ = 1;
    int pendingSkip_ = 0;
};

}  // namespace tessivo::testing
