#include "tessivo/foundation/rtf_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

namespace tessivo {
namespace {

constexpr int kDefaultCodePage = 1252;
// Deeper groups share their parent's state instead of growing the stack.
constexpr std::size_t kMaxGroupDepth = 4096;
// Font definitions kept per document; later ones fall back to the document's code page.
constexpr std::size_t kMaxFonts = 4096;
// Longest control word kept; longer words are read whole and ignored.
constexpr std::size_t kMaxWordLetters = 32;
constexpr std::size_t kMaxCachedCodePages = 64;
// Fallback characters skipped after "\uN" at most ("\ucN").
constexpr int kMaxFallbackChars = 16;

// ---- code pages -----------------------------------------------------------

// A converter for one Windows code page; single-byte pages also get a table
// so that the common one-byte escapes need no converter call.
struct CodePage {
    std::unique_ptr<UConverter, decltype(&ucnv_close)> converter{nullptr, &ucnv_close};
    bool singleByte = true;
    std::array<char16_t, 256> table{};
};

// Bytes a code page cannot map become U+FFFD (ICU's default is U+001A for
// some multi-byte pages).
void U_CALLCONV replacementCharacter(const void*, UConverterToUnicodeArgs* args, const char*, int32_t,
                                     UConverterCallbackReason reason, UErrorCode* status) {
    if (reason > UCNV_IRREGULAR) return;
    *status = U_ZERO_ERROR;
    const UChar replacement = 0xFFFD;
    ucnv_cbToUWriteUChars(args, &replacement, 1, 0, status);
}

std::unique_ptr<CodePage> openCodePage(int number) {
    auto page = std::make_unique<CodePage>();
    const std::string candidates[] = {number == 65001 ? "UTF-8" : "windows-" + std::to_string(number),
                                      "ibm-" + std::to_string(number), "windows-1252"};
    for (const auto& name : candidates) {
        UErrorCode status = U_ZERO_ERROR;
        page->converter.reset(ucnv_open(name.c_str(), &status));
        if (U_SUCCESS(status) && page->converter) break;
        page->converter.reset();
    }
    if (!page->converter) {
        // Without converter data bytes stand for themselves (ISO Latin 1).
        for (int b = 0; b < 256; ++b) page->table[b] = static_cast<char16_t>(b);
        return page;
    }
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(page->converter.get(), replacementCharacter, nullptr, nullptr, nullptr, &status);
    page->singleByte = ucnv_getMaxCharSize(page->converter.get()) == 1;
    if (page->singleByte) {
        for (int b = 0; b < 256; ++b) {
            const char byte = static_cast<char>(b);
            UChar unit[2];
            UErrorCode status = U_ZERO_ERROR;
            ucnv_reset(page->converter.get());
            const auto n = ucnv_toUChars(page->converter.get(), unit, 2, &byte, 1, &status);
            page->table[b] = U_SUCCESS(status) && n == 1 ? unit[0] : u'\uFFFD';
        }
    }
    return page;
}

CodePage& codePage(int number) {
    thread_local std::unordered_map<int, std::unique_ptr<CodePage>> cache;
    if (auto it = cache.find(number); it != cache.end()) return *it->second;
    if (cache.size() >= kMaxCachedCodePages) cache.clear();
    return *(cache[number] = openCodePage(number));
}

// The code page of a font character set ("\fcharsetN"); 0 for the document's.
int codePageOfCharset(int charset) {
    switch (charset) {
        case 77: return 10000;
        case 128: return 932;
        case 129: return 949;
        case 134: return 936;
        case 136: return 950;
        case 161: return 1253;
        case 162: return 1254;
        case 163: return 1258;
        case 177: return 1255;
        case 178: return 1256;
        case 186: return 1257;
        case 204: return 1251;
        case 222: return 874;
        case 238: return 1250;
        case 254: return 437;
        case 255: return 850;
        default: return 0;
    }
}

// ---- control words --------------------------------------------------------

enum class Action : std::uint8_t {
    Emit,            // a character
    SkipDestination, // a group that holds no text
    FontTable,
    Font,
    FontCharset,
    FontCodePage,
    DocumentCodePage,
    DefaultFont,
    Plain,
    Unicode,
    FallbackCount,
    Binary,
};

struct Keyword {
    Action action;
    char16_t character = 0;  // for Emit; for DocumentCodePage the fixed page when non-zero
};

struct KeywordEntry {
    std::string_view word;
    Keyword keyword;
};

constexpr KeywordEntry kKeywords[] = {
    {"par", {Action::Emit, u'\n'}},          {"line", {Action::Emit, u'\n'}},
    {"sect", {Action::Emit, u'\n'}},         {"row", {Action::Emit, u'\n'}},
    {"nestrow", {Action::Emit, u'\n'}},      {"tab", {Action::Emit, u'\t'}},
    {"cell", {Action::Emit, u'\t'}},         {"nestcell", {Action::Emit, u'\t'}},
    {"page", {Action::Emit, u'\f'}},         {"emdash", {Action::Emit, u'\u2014'}},
    {"endash", {Action::Emit, u'\u2013'}},   {"emspace", {Action::Emit, u'\u2003'}},
    {"enspace", {Action::Emit, u'\u2002'}},  {"qmspace", {Action::Emit, u'\u2005'}},
    {"bullet", {Action::Emit, u'\u2022'}},   {"lquote", {Action::Emit, u'\u2018'}},
    {"rquote", {Action::Emit, u'\u2019'}},   {"ldblquote", {Action::Emit, u'\u201C'}},
    {"rdblquote", {Action::Emit, u'\u201D'}}, {"zwj", {Action::Emit, u'\u200D'}},
    {"zwnj", {Action::Emit, u'\u200C'}},     {"zwbo", {Action::Emit, u'\u200B'}},
    {"ltrmark", {Action::Emit, u'\u200E'}},  {"rtlmark", {Action::Emit, u'\u200F'}},
    {"colortbl", {Action::SkipDestination}}, {"stylesheet", {Action::SkipDestination}},
    {"info", {Action::SkipDestination}},     {"pict", {Action::SkipDestination}},
    {"nonshppict", {Action::SkipDestination}}, {"header", {Action::SkipDestination}},
    {"headerl", {Action::SkipDestination}},  {"headerr", {Action::SkipDestination}},
    {"headerf", {Action::SkipDestination}},  {"footer", {Action::SkipDestination}},
    {"footerl", {Action::SkipDestination}},  {"footerr", {Action::SkipDestination}},
    {"footerf", {Action::SkipDestination}},  {"footnote", {Action::SkipDestination}},
    {"annotation", {Action::SkipDestination}}, {"fldinst", {Action::SkipDestination}},
    {"xe", {Action::SkipDestination}},       {"tc", {Action::SkipDestination}},
    {"txe", {Action::SkipDestination}},      {"rxe", {Action::SkipDestination}},
    {"revtbl", {Action::SkipDestination}},   {"filetbl", {Action::SkipDestination}},
    {"listtable", {Action::SkipDestination}}, {"listoverridetable", {Action::SkipDestination}},
    {"pn", {Action::SkipDestination}},       {"objdata", {Action::SkipDestination}},
    {"objclass", {Action::SkipDestination}}, {"objname", {Action::SkipDestination}},
    {"template", {Action::SkipDestination}}, {"rsidtbl", {Action::SkipDestination}},
    {"generator", {Action::SkipDestination}}, {"themedata", {Action::SkipDestination}},
    {"colorschememapping", {Action::SkipDestination}}, {"latentstyles", {Action::SkipDestination}},
    {"datastore", {Action::SkipDestination}}, {"xmlnstbl", {Action::SkipDestination}},
    {"pgdsctbl", {Action::SkipDestination}}, {"bkmkstart", {Action::SkipDestination}},
    {"bkmkend", {Action::SkipDestination}},  {"datafield", {Action::SkipDestination}},
    {"comment", {Action::SkipDestination}},  {"fonttbl", {Action::FontTable}},
    {"f", {Action::Font}},                   {"fcharset", {Action::FontCharset}},
    {"cpg", {Action::FontCodePage}},         {"ansicpg", {Action::DocumentCodePage}},
    {"ansi", {Action::DocumentCodePage, 1252}}, {"mac", {Action::DocumentCodePage, 10000}},
    {"pc", {Action::DocumentCodePage, 437}}, {"pca", {Action::DocumentCodePage, 850}},
    {"deff", {Action::DefaultFont}},         {"plain", {Action::Plain}},
    {"u", {Action::Unicode}},                {"uc", {Action::FallbackCount}},
    {"bin", {Action::Binary}},
};

// The control words by a cheap hash of their letters, open-addressed, so
// that the many words the reader ignores are rejected in a probe or two.
class KeywordTable {
public:
    static constexpr std::size_t kSlots = 512;

    constexpr KeywordTable() {
        for (std::size_t k = 0; k < std::size(kKeywords); ++k) {
            std::size_t slot = hash(kKeywords[k].word);
            while (slots_[slot] != 0) slot = (slot + 1) % kSlots;
            slots_[slot] = static_cast<std::uint8_t>(k + 1);
        }
    }

    const Keyword* find(std::string_view word) const {
        for (std::size_t slot = hash(word);; slot = (slot + 1) % kSlots) {
            const std::uint8_t k = slots_[slot];
            if (k == 0) return nullptr;
            if (kKeywords[k - 1].word == word) return &kKeywords[k - 1].keyword;
        }
    }

private:
    static constexpr std::size_t hash(std::string_view word) {
        std::size_t h = word.size();
        for (const char c : word) h = h * 31 + static_cast<std::uint8_t>(c);
        return h % kSlots;
    }

    std::array<std::uint8_t, kSlots> slots_{};
};

static_assert(std::size(kKeywords) < KeywordTable::kSlots / 4);
constexpr KeywordTable kKeywordTable;

// ---- the reader -----------------------------------------------------------

enum class Destination : std::uint8_t { Text, Skip, FontTable };

struct Group {
    Destination destination = Destination::Text;
    int font = -1;  // -1: the document's default font
    int fallbackCount = 1;
};

bool isLetter(std::uint8_t c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(std::uint8_t c) { return c >= '0' && c <= '9'; }
int hexValue(std::uint8_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
// Scanning for the next byte of a small set, eight bytes at a time: a byte of
// v ^ (c * kOnes) is zero where v holds c, and zeroBytes flags the lowest zero
// byte exactly (flags above it may be false, but only the lowest is used).
constexpr std::uint64_t kOnes = 0x0101010101010101;
constexpr std::uint64_t kHighs = 0x8080808080808080;
constexpr std::uint64_t zeroBytes(std::uint64_t x) { return (x - kOnes) & ~x & kHighs; }

template <std::uint8_t... Cs>
const std::uint8_t* findAny(const std::uint8_t* p, const std::uint8_t* end) {
    if constexpr (std::endian::native == std::endian::little) {
        for (; end - p >= 8; p += 8) {
            std::uint64_t v;
            std::memcpy(&v, p, sizeof v);
            if (const std::uint64_t hits = (zeroBytes(v ^ (kOnes * Cs)) | ...))
                return p + std::countr_zero(hits) / 8;
        }
    }
    while (p < end && ((*p != Cs) && ...)) ++p;
    return p;
}

// The next byte that matters inside a skipped group: a brace or backslash.
const std::uint8_t* findGroupSyntax(const std::uint8_t* p, const std::uint8_t* end) {
    return findAny<'{', '}', '\\'>(p, end);
}
// Bytes that end a run of ordinary text, by table: runs of text are short,
// and one lookup per byte beats both comparisons and wider scans there.
constexpr std::array<bool, 256> kEndsText = [] {
    std::array<bool, 256> ends{};
    for (const std::uint8_t c : {'{', '}', '\\', '\r', '\n', '\0'}) ends[c] = true;
    return ends;
}();
bool isSpecial(std::uint8_t c) { return kEndsText[c]; }

class Reader {
public:
    Reader(ByteView rtf, char16_t* out, std::size_t capacity)
        : p_(rtf.data()), end_(rtf.data() + rtf.size()), out_(out), capacity_(capacity) {
        stack_.reserve(64);
        pending_.reserve(256);
    }

    // Reads to the end of the document or of the bytes; the count of
    // characters written.
    std::size_t run() {
        while (p_ < end_ && !done_) {
            switch (*p_) {
                case '{': ++p_; openGroup(); break;
                case '}': ++p_; closeGroup(); break;
                case '\\': ++p_; control(); break;
                case '\r': case '\n': case 0: ++p_; break;
                default: text(); break;
            }
            if (cur_.destination == Destination::Skip && !done_) skipGroup();
        }
        flushBytes();
        return count_;
    }

private:
    void put(char16_t c) {
        if (count_ < capacity_) out_[count_++] = c;
    }

    // True (and one fewer to skip) while the fallback text of "\uN" is skipped.
    bool consumeFallback() {
        if (fallbackLeft_ == 0) return false;
        --fallbackLeft_;
        return true;
    }

    void openGroup() {
        flushBytes();
        fallbackLeft_ = 0;
        if (stack_.size() >= kMaxGroupDepth)
            ++overflow_;
        else
            stack_.push_back(cur_);
        // "{\*" opens a destination that readers not knowing it ignore.
        if (end_ - p_ >= 2 && p_[0] == '\\' && p_[1] == '*') {
            p_ += 2;
            cur_.destination = Destination::Skip;
        }
    }

    void closeGroup() {
        flushBytes();
        fallbackLeft_ = 0;
        if (overflow_ > 0) {
            --overflow_;
            return;
        }
        if (stack_.empty()) {
            done_ = true;
            return;
        }
        cur_ = stack_.back();
        stack_.pop_back();
        // The document ends with its outermost group.
        if (stack_.empty()) done_ = true;
    }

    // Consumes the rest of a group that holds no text, through its "}".
    // Only braces, escapes and "\bin" (whose data may hold braces) matter
    // here; every other byte is passed over.
    void skipGroup() {
        flushBytes();
        std::size_t depth = 0;
        const std::uint8_t* p = p_;
        while (p < end_) {
            p = findGroupSyntax(p, end_);
            if (p == end_) break;
            const std::uint8_t c = *p++;
            if (c == '{') {
                ++depth;
            } else if (c == '}') {
                if (depth == 0) {
                    p_ = p;
                    closeGroup();
                    return;
                }
                --depth;
            } else if (p < end_) {
                if (!isLetter(*p)) {
                    ++p;
                } else if (end_ - p > 3 && p[0] == 'b' && p[1] == 'i' && p[2] == 'n' && !isLetter(p[3])) {
                    p_ = p;
                    std::string_view word;
                    long number = 0;
                    bool hasNumber = false;
                    readWord(word, number, hasNumber);
                    if (hasNumber) skipBinary(number);
                    p = p_;
                }
            }
        }
        p_ = p;
    }

    void skipBinary(long count) {
        if (count <= 0) return;
        const auto left = static_cast<std::size_t>(end_ - p_);
        p_ += std::min(left, static_cast<std::size_t>(count));
    }

    // Reads a control word's letters, optional number and delimiting space.
    void readWord(std::string_view& word, long& number, bool& hasNumber) {
        const std::uint8_t* start = p_;
        while (p_ < end_ && isLetter(*p_)) ++p_;
        word = std::string_view(reinterpret_cast<const char*>(start), static_cast<std::size_t>(p_ - start));
        bool negative = false;
        if (p_ < end_ && *p_ == '-' && end_ - p_ >= 2 && isDigit(p_[1])) {
            negative = true;
            ++p_;
        }
        hasNumber = false;
        number = 0;
        while (p_ < end_ && isDigit(*p_)) {
            // Keep the value in range; RTF numbers are 16 or 32 bits.
            if (number < 100000000000L) number = number * 10 + (*p_ - '0');
            hasNumber = true;
            ++p_;
        }
        if (negative) number = -number;
        if (p_ < end_ && *p_ == ' ') ++p_;
    }

    void control() {
        if (p_ >= end_) return;
        const std::uint8_t c = *p_;
        if (isLetter(c)) {
            controlWord();
            return;
        }
        ++p_;
        if (c == '\'') {
            hexByte();
            return;
        }
        flushBytes();
        if (consumeFallback()) return;
        switch (c) {
            case '\\': case '{': case '}': emit(static_cast<char16_t>(c)); break;
            case '~': emit(u'\u00A0'); break;
            case '_': emit(u'\u2011'); break;
            case '\r': case '\n': emit(u'\n'); break;
            case '\t': emit(u'\t'); break;
            default: break;  // "\-" optional hyphen, "\:" and others show nothing
        }
    }

    void emit(char16_t c) {
        if (cur_.destination == Destination::Text) put(c);
    }

    void hexByte() {
        if (end_ - p_ < 2) {
            p_ = end_;
            return;
        }
        const int hi = hexValue(p_[0]);
        const int lo = hexValue(p_[1]);
        if (hi < 0 || lo < 0) return;
        p_ += 2;
        if (consumeFallback()) return;
        if (cur_.destination == Destination::Text) addByte(static_cast<std::uint8_t>(hi * 16 + lo));
    }

    void controlWord() {
        std::string_view word;
        long number = 0;
        bool hasNumber = false;
        readWord(word, number, hasNumber);
        if (word.size() > kMaxWordLetters) return;
        flushBytes();
        const Keyword* found = kKeywordTable.find(word);
        if (found == nullptr) {
            consumeFallback();
            return;
        }
        const Keyword k = *found;
        if (k.action == Action::Binary) {
            skipBinary(number);
            consumeFallback();
            return;
        }
        if (consumeFallback()) return;
        const int value = static_cast<int>(std::clamp<long>(number, std::numeric_limits<int>::min() / 2,
                                                            std::numeric_limits<int>::max() / 2));
        switch (k.action) {
            case Action::Emit: emit(k.character); break;
            case Action::SkipDestination: cur_.destination = Destination::Skip; break;
            case Action::FontTable: cur_.destination = Destination::FontTable; break;
            case Action::Font:
                if (cur_.destination == Destination::FontTable) {
                    fontBeingDefined_ = value;
                } else {
                    cur_.font = value;
                }
                break;
            case Action::FontCharset: defineFontCodePage(codePageOfCharset(value)); break;
            case Action::FontCodePage: defineFontCodePage(value); break;
            case Action::DocumentCodePage:
                if (k.character != 0)
                    documentCodePage_ = k.character;
                else if (value > 0)
                    documentCodePage_ = value;
                break;
            case Action::DefaultFont: defaultFont_ = value; break;
            case Action::Plain: cur_.font = -1; break;
            case Action::Unicode:
                if (cur_.destination == Destination::Text) put(static_cast<char16_t>(value < 0 ? value + 65536 : value));
                fallbackLeft_ = cur_.fallbackCount;
                break;
            case Action::FallbackCount: cur_.fallbackCount = std::clamp(value, 0, kMaxFallbackChars); break;
            case Action::Binary: break;
        }
    }

    void defineFontCodePage(int page) {
        if (cur_.destination != Destination::FontTable || fontBeingDefined_ < 0) return;
        if (fonts_.size() >= kMaxFonts && !fonts_.count(fontBeingDefined_)) return;
        if (page > 0) fonts_[fontBeingDefined_] = page;
    }

    int currentCodePage() const {
        const int font = cur_.font >= 0 ? cur_.font : defaultFont_;
        if (const auto it = fonts_.find(font); it != fonts_.end()) return it->second;
        return documentCodePage_;
    }

    // Ordinary text up to the next brace, backslash or line break.
    void text() {
        while (fallbackLeft_ > 0 && p_ < end_ && !isSpecial(*p_)) {
            ++p_;
            --fallbackLeft_;
        }
        const std::uint8_t* start = p_;
        const std::uint8_t* p = p_;
        std::uint8_t high = 0;
        while (p < end_ && !isSpecial(*p)) high |= *p++;
        p_ = p;
        if (cur_.destination != Destination::Text) return;
        // A run of ASCII outside a pending code-page run is copied as it is.
        if (high < 0x80 && pending_.empty() && static_cast<std::size_t>(p - start) <= capacity_ - count_) {
            char16_t* to = out_ + count_;
            for (const std::uint8_t* q = start; q < p; ++q) *to++ = *q;
            count_ += static_cast<std::size_t>(p - start);
            return;
        }
        for (const std::uint8_t* q = start; q < p; ++q) {
            const std::uint8_t b = *q;
            // Bytes above ASCII belong to the code page; so do ASCII bytes
            // inside a multi-byte run, where they can be trail bytes.
            if (b >= 0x80 || (!pending_.empty() && !runPage_->singleByte)) {
                addByte(b);
            } else {
                flushBytes();
                put(b);
            }
        }
    }

    void addByte(std::uint8_t b) {
        if (pending_.empty()) runPage_ = &codePage(currentCodePage());
        pending_.push_back(static_cast<char>(b));
    }

    // Decodes the pending run of code-page bytes.
    void flushBytes() {
        if (pending_.empty()) return;
        if (runPage_->singleByte) {
            for (const char b : pending_) put(runPage_->table[static_cast<std::uint8_t>(b)]);
        } else {
            UConverter* converter = runPage_->converter.get();
            ucnv_reset(converter);
            UChar* target = out_ + count_;
            const char* source = pending_.data();
            UErrorCode status = U_ZERO_ERROR;
            ucnv_toUnicode(converter, &target, out_ + capacity_, &source, pending_.data() + pending_.size(), nullptr,
                           true, &status);
            count_ = static_cast<std::size_t>(target - out_);
        }
        pending_.clear();
    }

    const std::uint8_t* p_;
    const std::uint8_t* end_;
    char16_t* out_;
    std::size_t capacity_;
    std::size_t count_ = 0;
    bool done_ = false;

    Group cur_;
    std::vector<Group> stack_;
    std::size_t overflow_ = 0;
    int fallbackLeft_ = 0;

    int documentCodePage_ = kDefaultCodePage;
    int defaultFont_ = -1;
    int fontBeingDefined_ = -1;
    std::unordered_map<int, int> fonts_;

    std::string pending_;
    const CodePage* runPage_ = nullptr;
};

// rtf without its trailing NUL bytes. A decompressed body padded to a declared
// raw size can end in hundreds of megabytes of them: compare a block at a time.
ByteView withoutTrailingNuls(ByteView rtf) {
    static constexpr std::array<std::uint8_t, 4096> kZeros{};
    std::size_t end = rtf.size();
    while (end >= kZeros.size() && std::memcmp(rtf.data() + end - kZeros.size(), kZeros.data(), kZeros.size()) == 0)
        end -= kZeros.size();
    while (end > 0 && rtf[end - 1] == 0) --end;
    return rtf.first(end);
}

}  // namespace

std::optional<icu::UnicodeString> rtfPlainText(ByteView rtf) {
    static constexpr std::string_view kSignature = "{\\rtf";
    if (rtf.size() < kSignature.size() || std::memcmp(rtf.data(), kSignature.data(), kSignature.size()) != 0)
        return std::nullopt;
    // NUL bytes are not text; decompressed bodies are often padded with them.
    rtf = withoutTrailingNuls(rtf);
    // Every character comes from at least one byte, so the input's length
    // bounds the text.
    if (rtf.size() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) return std::nullopt;
    const auto capacity = static_cast<std::int32_t>(rtf.size());
    icu::UnicodeString text;
    char16_t* buffer = text.getBuffer(capacity);
    if (buffer == nullptr) return std::nullopt;
    const auto length = static_cast<std::int32_t>(Reader(rtf, buffer, static_cast<std::size_t>(capacity)).run());
    text.releaseBuffer(length);
    // Markup-heavy documents leave most of the buffer unused; keep only the text.
    if (length < capacity / 2) return icu::UnicodeString(text.getBuffer(), length);
    return text;
}

}  // namespace tessivo
