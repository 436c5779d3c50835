#include "tessivo/toolkit/string_wangers.h"

#include <unordered_set>
#include <utility>

#include "tessivo/foundation/log.h"

namespace tessivo {
namespace {

// Units of a decoded string the validity test samples.
constexpr int32_t kValiditySampleUnits = 100;
// Share of U+FFFD in the sample that a valid string may have.
constexpr double kMaxReplacementShare = 0.2;
// Capacity hint for the name dictionary's helpers.
constexpr std::size_t kNameCapacity = 50;

Dictionary buildEncodingNames() {
    Dictionary names;
    const std::vector<Encoding>& list = availableEncodings();
    if (list.empty()) {
        log("Warning: availableStringEncodings returned NULL");
        return names;
    }
    std::unordered_set<Encoding> seen;
    seen.reserve(kNameCapacity);
    for (Encoding e : list) {
        const auto number = static_cast<unsigned long>(e);
        if (!seen.insert(e).second) {
            log("Warning: Duplicate encoding encountered: %lu", number);
            continue;
        }
        icu::UnicodeString name = encodingDisplayName(e);
        if (name.isEmpty()) name = fromUtf8("Unknown Encoding (" + std::to_string(number) + ")");
        icu::UnicodeString key = name;
        if (const Value* earlier = names.get(name)) {
            log("Warning: Duplicate localized name '%s' for encodings %s and %lu", toUtf8(name).c_str(),
                earlier->describe().c_str(), number);
            key = name + fromUtf8(" (" + std::to_string(number) + ")");
        }
        names.set(key, Value(static_cast<std::uint64_t>(e)));
    }
    return names;
}

}  // namespace

icu::UnicodeString StringWangers::stringFromNSData(const Value& object) {
    if (const icu::UnicodeString* s = object.string()) return *s;
    if (const Bytes* b = object.bytes()) return stringFromNSData(ByteView(*b));
    return {};
}

icu::UnicodeString StringWangers::stringFromNSData(ByteView bytes) { return decodedWithEncoding(bytes).text; }

DetectedText StringWangers::decodedWithEncoding(ByteView bytes) {
    if (bytes.empty()) return {};
    if (auto detected = detectEncoding(bytes, kSuggestedEncodings, false); detected && !detected->lossy)
        return std::move(*detected);
    for (Encoding e : kCandidateEncodings)
        if (auto s = decode(bytes, e); s && isValidDecodedString(*s)) return {e, std::move(*s)};
    if (auto s = decode(bytes, encodings::ISOLatin1)) return {encodings::ISOLatin1, std::move(*s)};
    return {};
}

bool StringWangers::isValidDecodedString(const icu::UnicodeString& text) {
    if (text.isEmpty()) return false;
    const int32_t sample = std::min(text.length(), kValiditySampleUnits);
    int32_t replacements = 0;
    for (int32_t i = 0; i < sample; ++i)
        if (text.charAt(i) == 0xFFFD) ++replacements;
    return replacements <= kMaxReplacementShare * sample;
}

icu::UnicodeString StringWangers::stringFromCString(const char* text) {
    if (!text) return {};
    const ByteView bytes = asBytes(text);
    for (Encoding e : kCStringEncodings)
        if (auto s = decode(bytes, e)) return std::move(*s);
    return {};
}

Dictionary StringWangers::getStringEncodingsForText() {
    static const Dictionary names = buildEncodingNames();
    return names;
}

bool StringWangers::utf16CStringIsTerminated(ByteView bytes) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        if (bytes[i] == 0 && bytes[i + 1] == 0) return true;
    return false;
}

icu::UnicodeString StringWangers::localizedStringFor(const icu::UnicodeString& key, const icu::UnicodeString& table) {
    // The English "messages" table; other languages would add tables here.
    static constexpr std::pair<const char16_t*, const char16_t*> kMessages[] = {
        {u"VoiceNote", u"Voice note: the message holds a recorded voice message."},
        {u"unnamedName", u"Untitled Attachment"},
    };
    if (table == u"messages") {
        for (const auto& [k, text] : kMessages) {
            if (key == k) return text;
        }
    }
    return key;
}

}  // namespace tessivo
