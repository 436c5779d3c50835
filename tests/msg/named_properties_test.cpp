// The named-property map: GUIDs, string names and numeric names to stream IDs.
#include "msg_test_support.h"

namespace tessivo {
namespace {

using testing::nameEntry;

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

using Streams = std::map<std::uint32_t, std::uint32_t>;

TEST(NamedPropertiesTest, TheLastEntryOfTheStreamIsNeverMapped) {
    const Bytes three = joined({nameEntry(0x8005, 0, 0), nameEntry(0x8006, 2, 1), nameEntry(0x8007, 4, 2)});
    EXPECT_EQ(ReadMSG::calculateEntryStreamIndexes(ByteView(three)), (Streams{{0x8005, 0x8000}, {0x8006, 0x8001}}));
    // The stream ID is the position, not the entry's property index.
    const Bytes indexed = joined({nameEntry(0x10, 0, 9), nameEntry(0x20, 0, 9)});
    EXPECT_EQ(ReadMSG::calculateEntryStreamIndexes(ByteView(indexed)), (Streams{{0x10, 0x8000}}));
    EXPECT_TRUE(ReadMSG::calculateEntryStreamIndexes(ByteView(three).first(8)).empty());
    EXPECT_EQ(ReadMSG::calculateEntryStreamIndexes(ByteView(three).first(9)), (Streams{{0x8005, 0x8000}}));
    EXPECT_TRUE(ReadMSG::calculateEntryStreamIndexes(std::nullopt).empty());
}

TEST(NamedPropertiesTest, LaterEntriesWithTheSameNameWin) {
    // A string offset and a numeric name share one key space.
    const Bytes entries = joined({nameEntry(0x0C, 1, 0), nameEntry(0x0C, 4, 1), nameEntry(0x99, 0, 2)});
    EXPECT_EQ(ReadMSG::calculateEntryStreamIndexes(ByteView(entries)), (Streams{{0x0C, 0x8001}}));
}

TEST(NamedPropertiesTest, GuidsHaveTheirFirstTwoWordsSwapped) {
    Bytes guid(16);
    for (int i = 0; i < 16; ++i) guid[i] = static_cast<std::uint8_t>(i);
    const Bytes stream = joined({guid, guid, guid});
    const Array guids = ReadMSG::calculateGuids(ByteView(stream));
    ASSERT_EQ(guids.size(), 2u);
    EXPECT_EQ(*guids[0].bytes(), (Bytes{3, 2, 1, 0, 7, 6, 5, 4, 8, 9, 10, 11, 12, 13, 14, 15}));
    EXPECT_TRUE(ReadMSG::calculateGuids(ByteView(stream).first(16)).empty());
    EXPECT_EQ(ReadMSG::calculateGuids(ByteView(stream).first(17)).size(), 1u);
    EXPECT_TRUE(ReadMSG::calculateGuids(std::nullopt).empty());
}

TEST(NamedPropertiesTest, MapIsReadFromTheNameIdStorage) {
    testing::MsgWriter m;
    m.nameIdStream(2, Bytes(48, 0xAB));
    m.nameIdStream(3, joined({nameEntry(0x8208, 2, 0), nameEntry(0, 3, 1), nameEntry(0x8234, 2, 2)}));
    m.nameIdStream(4, joined({testing::nameStringRecord("Keywords")}));
    const Bytes file = m.build();
    const auto root = Mole::initWithData(file)->getOLEDictionary();
    const ReadMSG::NamedProperties map = ReadMSG::getNamedPropertiesForMessage(root);
    // The streams come as whole 64-byte small sectors: the zeros after the
    // written entries read as more entries named 0, the last of them winning,
    // and after 48 bytes of GUIDs comes a third (zero) GUID.
    EXPECT_EQ(map.GUID.size(), 3u);
    ASSERT_EQ(map.Strings.size(), 1u);
    EXPECT_EQ(*map.Strings[0].string(), u"Keywords");
    EXPECT_EQ(map.Streams, (Streams{{0x8208, 0x8000}, {0x8234, 0x8002}, {0, 0x8006}}));

    const ReadMSG::NamedProperties none = ReadMSG::getNamedPropertiesForMessage(Dictionary());
    EXPECT_TRUE(none.GUID.empty());
    EXPECT_TRUE(none.Strings.empty());
    EXPECT_TRUE(none.Streams.empty());
}

}  // namespace
}  // namespace tessivo
