// libFuzzer harness for the MIME reader: reads arbitrary bytes as a message
// and checks the shape of what comes back.
#include <cstddef>
#include <cstdint>

#include "fuzz_helpers.h"
#include "tessivo/foundation/log.h"
#include "tessivo/mime/limits.h"
#include "tessivo/mime/mime_reader.h"

namespace {

using tessivo::Dictionary;
using tessivo::Value;
using tessivo::fuzz::require;

void checkPart(const Dictionary& part) {
    for (const char16_t* key : {u"content", u"uaContent", u"contentType", u"fileName", u"encodingType"})
        if (const Value* v = part.get(key)) require(v->string() != nullptr);
    for (const char16_t* key : {u"From", u"To", u"CC", u"BCC"})
        if (const Value* v = part.get(key))
            for (const Value& address : *v->array()) require(address.dictionary()->size() == 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = (tessivo::silenceLog(), true);
    (void)quiet;
    const auto reader = tessivo::MIMEReader::initWithData(tessivo::ByteView(data, size));
    require(reader.has_value());
    const Dictionary& mail = reader->getDictionary();
    checkPart(mail);
    if (const Value* parts = mail.get(u"MailContent")) {
        require(!parts->array()->empty() && parts->array()->size() <= tessivo::mime::kMaxParts);
        for (const Value& part : *parts->array()) checkPart(*part.dictionary());
    }
    return 0;
}
