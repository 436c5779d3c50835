// Helpers shared by the message reader tests: entry dictionaries stated
// inline, and messages read back through the whole reader.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "support/cfb_writer.h"
#include "support/msg_writer.h"
#include "tessivo/foundation/log.h"
#include "tessivo/msg/read_msg.h"

namespace tessivo::testing {

inline Bytes ascii(std::string_view text) { return Bytes(text.begin(), text.end()); }

// An entry dictionary of named streams.
inline Dictionary entries(std::initializer_list<std::pair<std::string, Bytes>> streams) {
    Dictionary d;
    for (const auto& [name, bytes] : streams) d.set(fromUtf8(name), Value(bytes));
    return d;
}

// The full dictionary of a written message; fails the test when it does not open.
inline Dictionary readMessage(const MsgWriter& writer) {
    const Bytes file = writer.build();
    auto reader = ReadMSG::initWithData(file);
    EXPECT_TRUE(reader.has_value());
    return reader ? reader->returnFullDictionary() : Dictionary();
}

// The string under key, or "<missing>" / "<not a string>".
inline std::string text(const Dictionary& d, const char16_t* key) {
    const Value* v = d.get(key);
    if (!v) return "<missing>";
    return v->string() ? toUtf8(*v->string()) : "<not a string>";
}

inline Dictionary address(std::string_view name, std::string_view mail) {
    Dictionary d;
    d.set(u"Name", Value(fromUtf8(name)));
    d.set(u"Address", Value(fromUtf8(mail)));
    return d;
}

}  // namespace tessivo::testing
