#include "support/corpus_bodies.h"

#include "support/corpus.h"
#include "tessivo/compound/mole.h"
#include "tessivo/foundation/log.h"

namespace tessivo::testing {
namespace {

std::optional<Bytes> stream(const Mole& mole, const char16_t* name) {
    auto bytes = mole.getStream(name);
    if (!bytes || bytes->empty()) return std::nullopt;
    return bytes;
}

}  // namespace

std::vector<MessageBodies> corpusMessageBodies() {
    std::vector<MessageBodies> out;
    for (const auto& path : corpusFiles(".msg")) {
        LogCapture quiet;  // missing streams are expected here
        const Bytes file = readFile(path);
        auto mole = Mole::initWithData(file);
        if (!mole) continue;
        MessageBodies m;
        m.path = path;
        m.compressedRtf = stream(*mole, u"__substg1.0_10090102");
        m.html = stream(*mole, u"__substg1.0_10130102");
        if (auto plain = stream(*mole, u"__substg1.0_1000001F")) {
            icu::UnicodeString text(reinterpret_cast<const char16_t*>(plain->data()),
                                    static_cast<std::int32_t>(plain->size() / 2));
            std::int32_t end = text.length();
            while (end > 0 && text[end - 1] == 0) --end;
            text.truncate(end);
            m.plainText = text;
        }
        out.push_back(std::move(m));
    }
    return out;
}

}  // namespace tessivo::testing
