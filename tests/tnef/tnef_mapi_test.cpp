// MAPI property blocks: counts and their limits, value types, multi-valued
// and named properties, UTF-16 text, and the all-or-nothing rule.
#include <gtest/gtest.h>

#include "support/tnef_writer.h"
#include "tessivo/foundation/log.h"
#include "tessivo/tnef/tnef_mapi.h"

namespace tessivo {
namespace {

using namespace testing;

const MapiBlock::Guid kSet = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

struct Filled {
    Bytes block;  // the properties borrow it
    LoadedTNEF message;
    MAPIPropertyList list;
};
std::unique_ptr<Filled> fill(Bytes block) {
    auto f = std::make_unique<Filled>();
    f->block = std::move(block);
    TNEFFillMapi(f->message, f->block, f->list);
    return f;
}
std::unique_ptr<Filled> fill(const MapiBlock& block) { return fill(block.build()); }

Bytes value(const MAPIProperty& p) { return Bytes(p.value().begin(), p.value().end()); }

// A 16-byte binary property: lets a second property start with few bytes
// left while the block still holds 8 bytes per declared property.
const Bytes kFirst = cat({le32(0x00010102), le32(1), le32(4), Bytes(4, 0)});

TEST(TNEFFillMapiTest, ValueTypes) {
    MapiBlock block;
    block.property(0x00010002, Bytes{0x34, 0x12, 0xAA, 0xAA})  // 2 bytes kept of 4
        .long32(0x0E08, 0x01020304)
        .property(0x0E1B000B, Bytes{1, 0, 0, 0})
        .systime(0x0E06, 0x01D9C0DE12345678)
        .property(0x00420005, Bytes{1, 2, 3, 4, 5, 6, 7, 8})
        .string8(0x0037, "Subject")
        .binary(0x1009, Bytes{9, 8, 7})
        .property(0x00100001, Bytes{})  // no bytes at all
        .unicode(0x3001, "A\xC3\xA9");  // 41 00 E9 00 00 00
    LogCapture log;
    const auto f = fill(block);
    ASSERT_EQ(f->list.properties.size(), 9u);
    const auto& p = f->list.properties;
    EXPECT_EQ(value(p[0]), (Bytes{0x34, 0x12}));
    EXPECT_EQ(value(p[1]), (Bytes{4, 3, 2, 1}));
    EXPECT_EQ(value(p[3]), (Bytes{0x78, 0x56, 0x34, 0x12, 0xDE, 0xC0, 0xD9, 0x01}));
    EXPECT_EQ(value(p[5]), cStringOf("Subject"));
    EXPECT_EQ(value(p[6]), (Bytes{9, 8, 7}));
    EXPECT_EQ(p[7].valueData, nullptr);
    // UTF-16 text becomes UTF-8, one code unit at a time (the terminator included).
    EXPECT_EQ(value(p[8]), (Bytes{0x41, 0xC3, 0xA9, 0x00}));
    for (const MAPIProperty& q : p) {
        EXPECT_EQ(q.valueCount, 1u);
        EXPECT_FALSE(q.named);
    }
    EXPECT_EQ(GetProperty(f->list, 0x0037001E), &p[5]);
    EXPECT_EQ(GetProperty(f->list, 0x0037001F), nullptr);
    EXPECT_TRUE(log.lines().empty());
}

TEST(TNEFFillMapiTest, Utf16UnitsAreEncodedAlone) {
    TNEFTextStore store;
    // A surrogate pair comes out as two three-byte sequences, unpaired on purpose.
    const auto pair = makeUTF8(Bytes{0x3D, 0xD8, 0x00, 0xDE, 0xFF, 0x07}, store);
    ASSERT_TRUE(pair);
    EXPECT_EQ(Bytes(pair->begin(), pair->end()), (Bytes{0xED, 0xA0, 0xBD, 0xED, 0xB8, 0x80, 0xDF, 0xBF}));
    EXPECT_FALSE(makeUTF8(Bytes{0x41}, store));
    EXPECT_EQ(makeUTF8(Bytes{0x41, 0x00, 0x42}, store)->size(), 1u);  // an odd byte is ignored
    // Every conversion stays valid while the store lives, across chunks.
    std::vector<ByteView> views;
    for (int i = 0; i < 2000; ++i) views.push_back(*makeUTF8(Bytes{std::uint8_t('a' + i % 26), 0}, store));
    for (int i = 0; i < 2000; ++i) EXPECT_EQ(views[i][0], 'a' + i % 26);
    EXPECT_EQ(makeUTF8(Bytes(1 << 20, 0x41), store)->size(), std::size_t{3} << 19);  // U+4141, three bytes each
}

TEST(TNEFFillMapiTest, CountLimits) {
    LogCapture log;
    EXPECT_TRUE(fill(Bytes{1, 0, 0})->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Invalid parameters to TNEFFillMapi"});

    log.clear();
    EXPECT_TRUE(fill(cat({le32(10001), Bytes(80008, 0)}))->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Unreasonable property count: 10001"});

    // 10000 passes the count check; 8 * 10000 + 4 bytes are needed.
    log.clear();
    EXPECT_TRUE(fill(cat({le32(10000), Bytes(79999, 0)}))->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Insufficient data for 10000 properties (have 80003 bytes)"});
    log.clear();
    EXPECT_EQ(fill(cat({le32(10000), Bytes(80000, 0)}))->list.properties.size(), 10000u);  // type 0000: 4 bytes each
    EXPECT_TRUE(log.lines().empty());

    EXPECT_TRUE(fill(cat({le32(2), Bytes(8, 0)}))->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Insufficient data for 2 properties (have 12 bytes)"});

    log.clear();
    EXPECT_TRUE(fill(le32(0))->list.properties.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST(TNEFFillMapiTest, AllOrNothing) {
    // The second property is cut short: neither is kept.
    const Bytes whole = MapiBlock().long32(0x0E08, 7).string8(0x0037, "A longer subject").build();
    LogCapture log;
    EXPECT_TRUE(fill(Bytes(whole.begin(), whole.end() - 8))->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Buffer overrun detected - need 20 bytes but only 12 available"});

    log.clear();
    EXPECT_TRUE(fill(cat({le32(2), kFirst}))->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Buffer exhausted at property 1 of 2"});
    log.clear();
    EXPECT_TRUE(fill(cat({le32(2), kFirst, Bytes(2, 0)}))->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Insufficient data for property identifier"});

    // Once the declared properties are read, the rest of the block is ignored.
    log.clear();
    EXPECT_EQ(fill(cat({le32(2), le32(0x00010001), le32(0x00020001), Bytes(8, 0xEE)}))->list.properties.size(), 2u);
    EXPECT_TRUE(log.lines().empty());
}

TEST(TNEFFillMapiTest, RefusedValues) {
    struct Case {
        const char* name;
        Bytes block;
        std::string message;
    };
    const Case cases[] = {
        {"huge counted size", cat({le32(1), le32(0x10090102), le32(1), le32(0x6400001), Bytes(4, 0)}),
         "TNEF: Rejecting unreasonably large data size: 104857601"},
        {"counted size at the limit", cat({le32(1), le32(0x10090102), le32(1), le32(0x6400000), Bytes(4, 0)}),
         "TNEF: Buffer overrun detected - need 104857600 bytes but only 4 available"},
        {"no first size", cat({le32(2), kFirst, le32(0x10090102), Bytes(2, 0)}),
         "TNEF: Insufficient data for variable-length property first size"},
        {"no data size", cat({le32(2), kFirst, le32(0x10090102), le32(1), Bytes(2, 0)}),
         "TNEF: Insufficient data for variable-length property data size"},
        {"one byte of UTF-16", cat({le32(1), le32(0x3001001F), le32(1), le32(1), Bytes(4, 0x41)}),
         "TNEF: makeUTF8 failed to allocate 1 bytes"},
        {"short 16-bit value", cat({le32(2), kFirst, le32(0x00010002), Bytes(2, 0)}),
         "TNEF: Insufficient data for signed16Type"},
        {"short 32-bit value", cat({le32(2), kFirst, le32(0x00010003), Bytes(2, 0)}),
         "TNEF: Insufficient data for 32-bit type"},
        {"short 64-bit value", cat({le32(1), le32(0x0E060040), Bytes(4, 0)}), "TNEF: Insufficient data for 64-bit type"},
        {"short MV count", cat({le32(2), kFirst, le32(0x00011003), Bytes(2, 0)}), "TNEF: Insufficient data for MV count"},
        {"MV count 10001", cat({le32(1), le32(0x00011003), le32(10001)}),
         "TNEF: Unreasonable property count: 10001, aborting parse"},
        {"named without set", cat({le32(1), le32(0x80000003), Bytes(8, 0)}), "TNEF: Insufficient data for UUID"},
        {"named without name count", cat({le32(1), le32(0x80000003), Bytes(16, 0), Bytes(2, 0)}),
         "TNEF: Insufficient data for property length"},
        {"named without number", cat({le32(1), le32(0x80000003), Bytes(16, 0), le32(0)}),
         "TNEF: Insufficient data for type field"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LogCapture log;
        EXPECT_TRUE(fill(c.block)->list.properties.empty());
        EXPECT_EQ(log.lines(), std::vector<std::string>{c.message});
    }
}

TEST(TNEFFillMapiTest, UnknownTypeIsLoggedAndSkipped) {
    LogCapture log;
    const auto f = fill(cat({le32(2), le32(0x12340099), le32(0x0E080003), le32(7), Bytes(4, 0)}));
    ASSERT_EQ(f->list.properties.size(), 2u);
    EXPECT_EQ(f->list.properties[0].valueData, nullptr);
    EXPECT_EQ(value(f->list.properties[1]), le32(7));
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Unknown property type 0x0099 at property 0"});
}

TEST(TNEFFillMapiTest, MultiValuedProperties) {
    // Two values: the walk moves on after the first, and the bytes of the
    // second are read as the next property.
    auto f = fill(MapiBlock().multi(0x00010003, {le32(7), le32(0x00020003)}).raw(le32(42)).count(2));
    ASSERT_EQ(f->list.properties.size(), 2u);
    EXPECT_EQ(f->list.properties[0].tag, 0x00010003u);
    EXPECT_EQ(f->list.properties[0].valueCount, 2u);
    EXPECT_EQ(value(f->list.properties[0]), le32(7));
    EXPECT_EQ(f->list.properties[1].tag, 0x00020003u);
    EXPECT_EQ(value(f->list.properties[1]), le32(42));

    // More values take more steps than there are properties: nothing is kept.
    EXPECT_TRUE(fill(MapiBlock().multi(0x00010003, {le32(1), le32(2), le32(3)}).count(2))->list.properties.empty());
    EXPECT_TRUE(fill(MapiBlock().multi(0x0001001E, {cStringOf("a"), cStringOf("b"), cStringOf("c")}))
                    ->list.properties.empty());
    EXPECT_TRUE(fill(MapiBlock().multi(0x00010003, {le32(1)}, 10000).raw(Bytes(8, 0)).count(1))->list.properties.empty());

    // Counts of 0 and 1 stop at the end of their values.
    f = fill(MapiBlock().multi(0x00010003, {}).multi(0x00020102, {Bytes{5, 6, 7}}).long32(0x0003, 9));
    ASSERT_EQ(f->list.properties.size(), 3u);
    EXPECT_EQ(f->list.properties[0].valueCount, 0u);
    EXPECT_EQ(f->list.properties[0].valueData, nullptr);
    EXPECT_EQ(f->list.properties[1].tag, 0x00020102u);
    EXPECT_EQ(value(f->list.properties[1]), (Bytes{5, 6, 7}));
    EXPECT_EQ(value(f->list.properties[2]), le32(9));
}

TEST(TNEFFillMapiTest, NamedProperties) {
    LogCapture log;
    auto f = fill(MapiBlock()
                      .namedString(0x8005001E, kSet, "Keywords", cStringOf("kw"))
                      .namedNumber(0x8001001E, kSet, 0x8233, cStringOf("num"))
                      .namedNumber(0x80010003, kSet, 0x0037, le32(5)));
    ASSERT_EQ(f->list.properties.size(), 3u);
    const auto& p = f->list.properties;
    EXPECT_TRUE(p[0].named);
    EXPECT_EQ(p[0].nameCount, 1u);
    EXPECT_EQ(p[0].tag, 0x8005001Eu);
    EXPECT_EQ(value(p[0]), cStringOf("kw"));
    // A numeric name takes the place of the ID.
    EXPECT_EQ(p[1].tag, 0x8233001Eu);
    EXPECT_EQ(p[1].nameCount, 0u);
    EXPECT_EQ(p[2].tag, 0x00370003u);
    EXPECT_TRUE(p[2].named);
    // Named properties are not found by tag.
    EXPECT_EQ(GetProperty(f->list, 0x00370003), nullptr);
    EXPECT_TRUE(log.lines().empty());

    // A name length whose padding would overflow ends the names with a
    // message; a name that runs past the data ends them silently.
    f = fill(cat({le32(1), le32(0x80000003), Bytes(16, 0), le32(1), le32(0xFFFFFFFD)}));
    EXPECT_TRUE(f->list.properties.empty());
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"TNEF: Integer overflow in named property padding",
                                                     "TNEF: Insufficient data for 32-bit type"}));
    log.clear();
    f = fill(cat({le32(1), le32(0x80000003), Bytes(16, 0), le32(0xFFFFFFFF), le32(0x100)}));
    EXPECT_TRUE(f->list.properties.empty());
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TNEF: Insufficient data for 32-bit type"});
}

}  // namespace
}  // namespace tessivo
